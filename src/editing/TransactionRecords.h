#pragma once

#include "common/Value.h"

#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

namespace qf {

class ManagedObject;
class ManagedObjectContext;
class RecordEnvironment;

// A new transaction as the editor's form would describe it.
struct TransactionDraft {
    QString title;
    double amount = 0;
    // "Incoming" or "Outgoing" forces the sign as the editor's type selector
    // does; none keeps the amount's own sign.
    std::optional<QString> type;
    AbsoluteTime date = 0;
    QString accountID; // empty: no account
    QString listIDs;   // the folder defaults of the view it was added in
    QStringList tags;
    QString notes;
    QString from;
    QString to;
    bool pending = false;
    bool upcoming = false;
    QString repeat = QStringLiteral("Never");
};

// Writing transactions the way the editor does, for callers without a form.
class TransactionRecords {
public:
    // The amount with the sign of the type: "Incoming" positive, "Outgoing" negative.
    static double signedAmount(double amount, const std::optional<QString>& type);
    // Tags joined by ", " in the order given, empty ones dropped.
    static QString keywordString(const QStringList& tags);
    // The tags of a typed tag line: split at commas, typed with or without
    // blanks, blanks trimmed, empty tokens dropped.
    static QStringList tagsFromTypedText(const QString& text);

    // Earlier values of the key (trans_title) among the transactions that
    // begin with the text, ignoring case and diacritics, other than the text
    // itself, each from partialWordStart on; first-seen order, each once.
    static QStringList hintsForKey(const std::vector<ManagedObject*>& transactions, QStringView key,
                                   const QString& text, qsizetype partialWordStart);
    // Its two halves, for callers that keep the values while the user types:
    // every text value of the key, each once, in first-seen order; and the
    // hints among such values.
    static QStringList distinctTexts(const std::vector<ManagedObject*>& transactions, QStringView key);
    static QStringList hintsAmong(const QStringList& values, const QString& text, qsizetype partialWordStart);

    static ManagedObject* insert(ManagedObjectContext& context, const RecordEnvironment& environment,
                                 const TransactionDraft& draft);

    // When the upcoming copy of a repeat falls due: one interval after the
    // record's date. None when the record has no date or the title names no
    // interval; then nothing is scheduled.
    static std::optional<AbsoluteTime> nextOccurrenceDue(const ManagedObject& record, const QString& repeat);
    // The upcoming copy a repeat setting schedules, due on nextOccurrenceDue().
    // When a copy made from this record exists, only its repeat value is
    // brought up to date and null is returned; null too, with nothing
    // changed, when there is no due date.
    static ManagedObject* scheduleNextOccurrence(ManagedObjectContext& context, const RecordEnvironment& environment,
                                                 ManagedObject& record, const QString& repeat);
    // The first transaction whose trans_paidREFID is the unique ID: the
    // upcoming copy a repeat made of that transaction. Null when none.
    static ManagedObject* findPendingTransactionWithPaidID(const ManagedObjectContext& context,
                                                           const QString& uniqueID);
    // The upcoming copy itself, made from the record's committed values (its
    // current ones while it was never saved) and due on the given date; the record points at it by trans_pendingREFID.
    static ManagedObject* insertNextOccurrence(ManagedObjectContext& context, const RecordEnvironment& environment,
                                               ManagedObject& record, AbsoluteTime due);

    // A transaction made from handed-in values: the values of stored keys
    // are written, then a new identifier. Keys that are not stored are
    // ignored; every other attribute stays unset.
    static ManagedObject* insertWithValues(ManagedObjectContext& context, const RecordEnvironment& environment,
                                           const ValueDictionary& values);

    // A pending transaction made from handed-in values (the pending sheet):
    // the values of stored keys are written, then trans_isPending YES, the
    // date picked and a new identifier. Keys that are not stored are ignored.
    static ManagedObject* insertPending(ManagedObjectContext& context, const RecordEnvironment& environment,
                                        const ValueDictionary& values, AbsoluteTime date);
};

} // namespace qf
