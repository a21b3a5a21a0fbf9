#include "editing/TransactionRecords.h"

#include "common/Predicate.h"
#include "planning/Recurrence.h"
#include "store/ManagedObjectContext.h"
#include "store/RecordEnvironment.h"

#include <QSet>
#include <cmath>

namespace qf {

namespace {

const EntityDescription& trans()
{
    return ManagedObjectModel::shared().trans();
}

void set(ManagedObject* record, QStringView key, const Value& value)
{
    record->setValue(trans().indexOfAttribute(key), value);
}

} // namespace

double TransactionRecords::signedAmount(double amount, const std::optional<QString>& type)
{
    if (!type)
        return amount;
    if (*type == QLatin1String("Incoming"))
        return std::fabs(amount);
    if (*type == QLatin1String("Outgoing"))
        return -std::fabs(amount);
    return amount;
}

QString TransactionRecords::keywordString(const QStringList& tags)
{
    QStringList kept;
    for (const QString& tag : tags) {
        if (!tag.trimmed().isEmpty())
            kept.append(tag.trimmed());
    }
    return kept.join(QStringLiteral(", "));
}

QStringList TransactionRecords::tagsFromTypedText(const QString& text)
{
    QStringList tags;
    for (const QString& piece : text.split(QLatin1Char(','))) {
        const QString tag = piece.trimmed();
        if (!tag.isEmpty())
            tags.append(tag);
    }
    return tags;
}

QStringList TransactionRecords::hintsForKey(const std::vector<ManagedObject*>& transactions, QStringView key,
                                            const QString& text, qsizetype partialWordStart)
{
    return hintsAmong(distinctTexts(transactions, key), text, partialWordStart);
}

QStringList TransactionRecords::distinctTexts(const std::vector<ManagedObject*>& transactions, QStringView key)
{
    QStringList texts;
    QSet<QString> seen;
    for (ManagedObject* record : transactions) {
        const Value value = record->valueForKey(key);
        if (!value.isString())
            continue;
        const QString text = value.toString();
        if (!seen.contains(text)) {
            seen.insert(text);
            texts.append(text);
        }
    }
    return texts;
}

QStringList TransactionRecords::hintsAmong(const QStringList& values, const QString& text, qsizetype partialWordStart)
{
    const Result<Predicate> wanted =
        Predicate::parse(u"SELF beginswith[cd] %@ AND SELF != %@", {Value(text), Value(text)});
    if (!wanted)
        return {};
    QStringList hints;
    for (const QString& value : values) {
        if (wanted->evaluate(Value(value)))
            hints.append(value.mid(partialWordStart));
    }
    return hints;
}

ManagedObject* TransactionRecords::insert(ManagedObjectContext& context, const RecordEnvironment& environment,
                                          const TransactionDraft& draft)
{
    ManagedObject* record = context.insertNewObject(trans());
    set(record, u"trans_date", Value::date(draft.date));
    set(record, u"trans_uniqueID", Value(environment.createUniqueID()));
    // Empty fields are written as empty texts, like the form writes them.
    set(record, u"trans_title", Value(draft.title.isNull() ? QStringLiteral("") : draft.title));
    set(record, u"trans_from", Value(draft.from.isNull() ? QStringLiteral("") : draft.from));
    set(record, u"trans_to", Value(draft.to.isNull() ? QStringLiteral("") : draft.to));
    set(record, u"trans_notes", Value(draft.notes.isNull() ? QStringLiteral("") : draft.notes));
    set(record, u"trans_dateModified", Value::date(environment.now()));
    set(record, u"trans_amount", Value(signedAmount(draft.amount, draft.type)));
    set(record, u"trans_keywords", Value(keywordString(draft.tags)));
    if (!draft.accountID.isEmpty())
        set(record, u"trans_accountID", Value(draft.accountID));
    set(record, u"trans_setiCalEvent", Value::boolean(false));
    set(record, u"trans_isPending", Value::boolean(draft.pending || draft.upcoming));
    set(record, u"trans_isUpcoming", Value::boolean(draft.upcoming));
    set(record, u"trans_reoccurrence", Value(draft.repeat));
    if (!draft.listIDs.isEmpty())
        set(record, u"trans_listIDs", Value(draft.listIDs));
    return record;
}

ManagedObject* TransactionRecords::insertWithValues(ManagedObjectContext& context, const RecordEnvironment& environment,
                                                    const ValueDictionary& values)
{
    ManagedObject* record = context.insertNewObject(trans());
    for (const auto& [key, value] : values)
        record->setValueForKey(key, value);
    set(record, u"trans_uniqueID", Value(environment.createUniqueID()));
    return record;
}

ManagedObject* TransactionRecords::insertPending(ManagedObjectContext& context, const RecordEnvironment& environment,
                                                 const ValueDictionary& values, AbsoluteTime date)
{
    ManagedObject* record = insertWithValues(context, environment, values);
    set(record, u"trans_isPending", Value::boolean(true));
    set(record, u"trans_date", Value::date(date));
    return record;
}

ManagedObject* TransactionRecords::findPendingTransactionWithPaidID(const ManagedObjectContext& context,
                                                                   const QString& uniqueID)
{
    const int paidREF = trans().indexOfAttribute(u"trans_paidREFID");
    const SharedString wanted = SharedString::fromQString(uniqueID);
    for (ManagedObject* other : context.objects(trans())) {
        if (other->primitiveValue(paidREF).string() == wanted)
            return other;
    }
    return nullptr;
}

ManagedObject* TransactionRecords::insertNextOccurrence(ManagedObjectContext& context,
                                                        const RecordEnvironment& environment, ManagedObject& record,
                                                        AbsoluteTime due)
{
    ManagedObject* copy = context.insertNewObject(trans());
    // A record never written (the example ledger is not saved) has no
    // committed values; its current ones stand in.
    const bool stored = !record.isInserted();
    for (int i = 0; i < trans().attributeCount(); ++i)
        copy->setValue(i, stored ? record.committedValue(i) : record.primitiveValue(i));
    set(copy, u"trans_uniqueID", Value(environment.createUniqueID()));
    set(copy, u"trans_date", Value::date(due));
    set(copy, u"trans_isUpcoming", Value::boolean(true));
    set(copy, u"trans_paidREFID", record.valueForKey(u"trans_uniqueID"));
    set(&record, u"trans_pendingREFID", copy->valueForKey(u"trans_uniqueID"));
    return copy;
}

std::optional<AbsoluteTime> TransactionRecords::nextOccurrenceDue(const ManagedObject& record, const QString& repeat)
{
    // A missing date would read as the reference date and put a copy in 2001.
    const Value date = record.valueForKey(u"trans_date");
    if (date.isNull())
        return std::nullopt;
    return Recurrence::nextDueDate(date.toDate(), repeat);
}

ManagedObject* TransactionRecords::scheduleNextOccurrence(ManagedObjectContext& context,
                                                          const RecordEnvironment& environment, ManagedObject& record,
                                                          const QString& repeat)
{
    const std::optional<AbsoluteTime> due = nextOccurrenceDue(record, repeat);
    if (!due)
        return nullptr;
    const QString uniqueID = record.valueForKey(u"trans_uniqueID").toString();
    if (ManagedObject* existing = findPendingTransactionWithPaidID(context, uniqueID)) {
        set(existing, u"trans_reoccurrence", record.valueForKey(u"trans_reoccurrence"));
        return nullptr;
    }
    return insertNextOccurrence(context, environment, record, *due);
}

} // namespace qf
