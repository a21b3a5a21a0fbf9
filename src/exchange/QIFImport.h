#pragma once

#include "common/Result.h"
#include "common/Value.h"

#include <QByteArray>
#include <QString>
#include <memory>
#include <optional>
#include <vector>

namespace qf {

class ManagedObject;
class ManagedObjectContext;
class QFQIFParser;
class RecordEnvironment;

// Everything of an import that needs no window: the file read as 7-bit
// ASCII, the records the parser gives under the date pattern the user
// confirmed, their check marks, the choice of the target account, and the
// transactions made from the checked records. The QIF sheet and
// quillfen-cli drive it; the OFX route hands in its own records.
//
// A record is a dictionary with the parser's keys plus "shouldImport" (the
// check mark) and "QIFUniqueID". Only "Payee", "Date", "Amount", "Memo" and
// "QIFUniqueID" reach the ledger; the other keys are for showing.
class QIFImport {
public:
    QIFImport();
    ~QIFImport();
    QIFImport(const QIFImport&) = delete;
    QIFImport& operator=(const QIFImport&) = delete;

    // The bytes as text when every one is below 0x80; else an error naming
    // the first other byte and its offset (the error's position).
    static Result<QString> asciiText(const QByteArray& bytes);
    static Result<QString> readAsciiFile(const QString& path);

    // Reads the file into the parser. On failure the parser keeps what it had.
    Status loadQIFFile(const QString& path);
    QFQIFParser& parser() { return *m_parser; }
    // The sample date the user is asked about; none when the file has no
    // record with both a date and a readable amount.
    std::optional<QString> dateFormatString() const;

    // Reads the records with the pattern; each is checked and gets its
    // QIFUniqueID. Replaces the records held before.
    void prepareQIFTransactions(const QString& dateFormat);
    // Records from elsewhere (the OFX route), kept as they are: without a
    // "shouldImport" key they start unchecked.
    void setQIFTransactions(std::vector<ValueDictionary> records) { m_records = std::move(records); }
    std::vector<ValueDictionary>& QIFTransactions() { return m_records; }
    const std::vector<ValueDictionary>& QIFTransactions() const { return m_records; }
    void checkAll() { setAllShouldImport(true); }
    void uncheckAll() { setAllShouldImport(false); }
    static bool shouldImport(const ValueDictionary& record);
    static void setShouldImport(ValueDictionary& record, bool on);

    // Payee, ":" and the date as "2008-01-05 00:00:00 -0500" in the local
    // zone; "(null)" stands for a missing payee or date.
    static QString uniqueIDForRecord(const ValueDictionary& record);
    static QString dateDescription(AbsoluteTime date);

    // The accounts the target pop-up offers after "Import to Library", in
    // store order.
    static std::vector<ManagedObject*> targetAccounts(const ManagedObjectContext& context);
    // The target an import begun on this vault starts with: the vault when
    // it is an account, else none (the library).
    static ManagedObject* targetForSelectedVault(ManagedObject* selected);
    // The filter of the target's existing transactions ("%@" its identifier).
    static QString transPredicateFormat();
    // The target's cleared transactions, oldest first.
    static std::vector<ManagedObject*> clearedTransactions(const RecordEnvironment& environment,
                                                           const QString& accountID);

    // One new transaction per checked record, in the order given, in the
    // account (empty: the library, no account). The caller saves.
    static std::vector<ManagedObject*> insertTransactions(ManagedObjectContext& context,
                                                          const RecordEnvironment& environment,
                                                          const std::vector<ValueDictionary>& records,
                                                          const QString& accountID);

private:
    void setAllShouldImport(bool on);

    std::unique_ptr<QFQIFParser> m_parser;
    std::vector<ValueDictionary> m_records;
};

} // namespace qf
