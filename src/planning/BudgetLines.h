#pragma once

#include "common/Predicate.h"

#include <QString>
#include <optional>
#include <vector>

namespace qf {

class AmountFormatter;
class ManagedObject;
class ManagedObjectContext;
class RecordEnvironment;

// One row of a budget's edit view: what becomes one budget line on save.
struct BudgetLineDraft {
    QString uniqueID;
    QString direction; // "Incoming" or "Outgoing"
    QString tags;      // joined with ", "
    double limit = 0;
    QString interval = QStringLiteral("Monthly"); // "Daily", "Weekly", "Bi-Weekly", "Monthly", "Yearly"
};

// Why a save of the edit view stopped: the field to mark. For a row, which
// direction's list and where in it.
struct BudgetEditProblem {
    enum Field { Name, Tags, Limit, NoLines };
    Field field = Name;
    QString direction;
    int row = -1;
};

// A budget's lines and the save of its edit view, without the screen.
class BudgetLines {
public:
    static const QStringList& intervals();
    static const QStringList& periods();
    // The stored reporting period; "This Month" when none is stored.
    static QString period(const ManagedObject& budget);

    // The budget's lines of one direction, by tags ignoring case.
    static std::vector<ManagedObject*> lines(const ManagedObjectContext& context, const ManagedObject& budget,
                                             const QString& direction);
    // The rows the edit view opens with: every stored line, incoming first,
    // each direction by tags; a missing limit reads 0.
    static std::vector<BudgetLineDraft> editRows(const ManagedObjectContext& context, const ManagedObject& budget);
    // A fresh row with a new identifier.
    static BudgetLineDraft newRow(const RecordEnvironment& environment, const QString& direction);

    // The edit view's Done: the name is stored first, then every incoming
    // row and every outgoing row is checked (tags not empty, limit not 0) and
    // the first bad one stops the save with nothing more changed. Otherwise
    // all lines are replaced by one per row. With no rows, the lines are gone
    // and the answer is NoLines, as the edit view stays open.
    static std::optional<BudgetEditProblem> finishEditing(ManagedObjectContext& context, ManagedObject& budget,
                                                          const QString& name,
                                                          const std::vector<BudgetLineDraft>& incoming,
                                                          const std::vector<BudgetLineDraft>& outgoing);

    // A limit as the edit row reads it: the amount formatter's reading, else
    // the number the text starts with.
    static double readLimit(const QString& text, const AmountFormatter& amounts);

    // The transactions that make up a line's actual amount in its budget's
    // period, as one predicate a transaction list can show: null when the
    // line has no tags or the period no bounds (its actual amount is then 0).
    static Predicate transactionsPredicate(const ManagedObject& line);
};

} // namespace qf
