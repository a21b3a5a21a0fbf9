#include "planning/BudgetLines.h"

#include "common/AmountFormatter.h"
#include "store/BudgetManagedObject.h"
#include "store/ManagedObjectContext.h"
#include "store/RecordEnvironment.h"

#include <algorithm>

namespace qf {

namespace {

QString text(const ManagedObject& record, QStringView key)
{
    return record.valueForKey(key).toString();
}

void sortByTags(std::vector<ManagedObject*>& lines)
{
    std::stable_sort(lines.begin(), lines.end(), [](const ManagedObject* a, const ManagedObject* b) {
        return text(*a, u"budget_tags").compare(text(*b, u"budget_tags"), Qt::CaseInsensitive) < 0;
    });
}

std::vector<ManagedObject*> linesOf(const ManagedObjectContext& context, const QString& vaultID)
{
    std::vector<ManagedObject*> found;
    if (vaultID.isEmpty())
        return found;
    for (ManagedObject* line : context.objects(ManagedObjectModel::shared().budget())) {
        if (text(*line, u"budget_vaultID") == vaultID)
            found.push_back(line);
    }
    return found;
}

std::optional<BudgetEditProblem> checkRows(const std::vector<BudgetLineDraft>& rows, const QString& direction)
{
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].tags.trimmed().isEmpty())
            return BudgetEditProblem{BudgetEditProblem::Tags, direction, static_cast<int>(i)};
        // The line stores a single-precision limit; what rounds to 0 there is 0.
        if (static_cast<float>(rows[i].limit) == 0.0f)
            return BudgetEditProblem{BudgetEditProblem::Limit, direction, static_cast<int>(i)};
    }
    return std::nullopt;
}

} // namespace

const QStringList& BudgetLines::intervals()
{
    static const QStringList names{QStringLiteral("Daily"), QStringLiteral("Weekly"), QStringLiteral("Bi-Weekly"),
                                   QStringLiteral("Monthly"), QStringLiteral("Yearly")};
    return names;
}

const QStringList& BudgetLines::periods()
{
    static const QStringList names{QStringLiteral("This Month"), QStringLiteral("Last Month"),
                                   QStringLiteral("This Year"), QStringLiteral("Last Year")};
    return names;
}

QString BudgetLines::period(const ManagedObject& budget)
{
    const QString stored = text(budget, u"vault_budgetDateRange");
    return stored.isEmpty() ? periods().front() : stored;
}

std::vector<ManagedObject*> BudgetLines::lines(const ManagedObjectContext& context, const ManagedObject& budget,
                                               const QString& direction)
{
    std::vector<ManagedObject*> found = linesOf(context, text(budget, u"vault_uniqueID"));
    std::erase_if(found, [&](const ManagedObject* line) { return text(*line, u"budget_direction") != direction; });
    sortByTags(found);
    return found;
}

std::vector<BudgetLineDraft> BudgetLines::editRows(const ManagedObjectContext& context, const ManagedObject& budget)
{
    std::vector<BudgetLineDraft> rows;
    for (const QString direction : {QStringLiteral("Incoming"), QStringLiteral("Outgoing")}) {
        for (const ManagedObject* line : lines(context, budget, direction)) {
            BudgetLineDraft row;
            row.uniqueID = text(*line, u"budget_uniqueID");
            row.direction = direction;
            row.tags = text(*line, u"budget_tags");
            row.limit = line->valueForKey(u"budget_limitAmount").toDouble();
            row.interval = text(*line, u"budget_dateRange");
            rows.push_back(row);
        }
    }
    return rows;
}

BudgetLineDraft BudgetLines::newRow(const RecordEnvironment& environment, const QString& direction)
{
    BudgetLineDraft row;
    row.uniqueID = environment.createUniqueID();
    row.direction = direction;
    return row;
}

std::optional<BudgetEditProblem> BudgetLines::finishEditing(ManagedObjectContext& context, ManagedObject& budget,
                                                            const QString& name,
                                                            const std::vector<BudgetLineDraft>& incoming,
                                                            const std::vector<BudgetLineDraft>& outgoing)
{
    if (name.trimmed().isEmpty())
        return BudgetEditProblem{BudgetEditProblem::Name, {}, -1};
    budget.setValueForKey(u"vault_title", Value(name));
    if (auto problem = checkRows(incoming, QStringLiteral("Incoming")))
        return problem;
    if (auto problem = checkRows(outgoing, QStringLiteral("Outgoing")))
        return problem;

    const QString vaultID = text(budget, u"vault_uniqueID");
    for (ManagedObject* line : linesOf(context, vaultID))
        context.deleteObject(line);
    int made = 0;
    for (const auto* rows : {&incoming, &outgoing}) {
        const QString direction = rows == &incoming ? QStringLiteral("Incoming") : QStringLiteral("Outgoing");
        for (const BudgetLineDraft& row : *rows) {
            ManagedObject* line = context.insertNewObject(ManagedObjectModel::shared().budget());
            line->setValueForKey(u"budget_vaultID", Value(vaultID));
            line->setValueForKey(u"budget_direction", Value(direction));
            line->setValueForKey(u"budget_tags", Value(row.tags));
            line->setValueForKey(u"budget_limitAmount", Value(static_cast<double>(static_cast<float>(row.limit))));
            line->setValueForKey(u"budget_dateRange", Value(row.interval));
            line->setValueForKey(u"budget_uniqueID", Value(row.uniqueID));
            ++made;
        }
    }
    if (made == 0)
        return BudgetEditProblem{BudgetEditProblem::NoLines, {}, -1};
    return std::nullopt;
}

double BudgetLines::readLimit(const QString& text, const AmountFormatter& amounts)
{
    return amounts.parseOrLeadingNumber(text);
}

Predicate BudgetLines::transactionsPredicate(const ManagedObject& line)
{
    const auto* budgetLine = dynamic_cast<const BudgetManagedObject*>(&line);
    if (!budgetLine)
        return {};
    std::optional<BudgetManagedObject::MatchFilter> filter = budgetLine->matchFilter();
    if (!filter)
        return {};
    filter->format += QStringLiteral(" AND trans_direction == %@");
    filter->arguments.push_back(line.valueForKey(u"budget_direction"));
    auto parsed = Predicate::parse(filter->format, filter->arguments);
    return parsed ? *parsed : Predicate();
}

} // namespace qf
