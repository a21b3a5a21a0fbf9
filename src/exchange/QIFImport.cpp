#include "exchange/QIFImport.h"

#include "common/AbsoluteTime.h"
#include "editing/TransactionRecords.h"
#include "exchange/ImportRecordKeys.h"
#include "exchange/QFQIFParser.h"
#include "store/ManagedObjectContext.h"
#include "store/RecordEnvironment.h"
#include "store/VaultLibrary.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <unordered_map>

namespace qf {

namespace {

QString nullWord()
{
    return QStringLiteral("(null)");
}

QString payeeText(const ValueDictionary& record)
{
    const auto payee = record.find(ImportKey::Payee);
    return payee == record.end() ? nullWord() : payee->second.toString();
}

} // namespace

QIFImport::QIFImport() : m_parser(std::make_unique<QFQIFParser>()) {}

QIFImport::~QIFImport() = default;

Result<QString> QIFImport::asciiText(const QByteArray& bytes)
{
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.constData());
    const auto* found = std::find_if(data, data + bytes.size(), [](unsigned char c) { return c >= 0x80; });
    if (found != data + bytes.size()) {
        const int offset = int(found - data);
        return Result<QString>::failure(
            QStringLiteral("not 7-bit ASCII text: byte 0x%1 at offset %2")
                .arg(QString::number(*found, 16).toUpper())
                .arg(offset),
            offset);
    }
    return QString::fromLatin1(bytes);
}

Result<QString> QIFImport::readAsciiFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return Result<QString>::failure(QStringLiteral("cannot read \"%1\": %2").arg(path, file.errorString()));
    Result<QString> text = asciiText(file.readAll());
    if (!text)
        return Result<QString>::failure(
            QStringLiteral("\"%1\" is %2").arg(QFileInfo(path).fileName(), text.error().message),
            text.error().position);
    return text;
}

Status QIFImport::loadQIFFile(const QString& path)
{
    Result<QString> text = readAsciiFile(path);
    if (!text)
        return Status(text.error());
    m_parser->setQifString(*text);
    return Status::ok();
}

std::optional<QString> QIFImport::dateFormatString() const
{
    return m_parser->dateFormatString();
}

bool QIFImport::shouldImport(const ValueDictionary& record)
{
    const auto found = record.find(ImportKey::ShouldImport);
    return found != record.end() && found->second.toBool();
}

void QIFImport::setShouldImport(ValueDictionary& record, bool on)
{
    record.insert_or_assign(ImportKey::ShouldImport, Value::boolean(on));
}

void QIFImport::setAllShouldImport(bool on)
{
    for (ValueDictionary& record : m_records)
        setShouldImport(record, on);
}

QString QIFImport::dateDescription(AbsoluteTime date)
{
    const QDateTime local = dateTimeFromAbsoluteTime(date);
    const int offset = local.offsetFromUtc();
    const int minutes = std::abs(offset) / 60;
    return local.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss ")) + QLatin1Char(offset < 0 ? '-' : '+') +
           QStringLiteral("%1%2").arg(minutes / 60, 2, 10, QLatin1Char('0')).arg(minutes % 60, 2, 10, QLatin1Char('0'));
}

QString QIFImport::uniqueIDForRecord(const ValueDictionary& record)
{
    const auto date = record.find(ImportKey::Date);
    return payeeText(record) + QLatin1Char(':') +
           (date == record.end() ? nullWord() : dateDescription(date->second.toDate()));
}

void QIFImport::prepareQIFTransactions(const QString& dateFormat)
{
    m_parser->setNewDateFormat(dateFormat);
    m_records = m_parser->listOfTransactions();
    // Statements hold many records per day; describe each day once. The
    // parser gives every record a date.
    std::unordered_map<AbsoluteTime, QString> descriptions;
    for (ValueDictionary& record : m_records) {
        const AbsoluteTime date = record[ImportKey::Date].toDate();
        auto described = descriptions.find(date);
        if (described == descriptions.end())
            described = descriptions.emplace(date, dateDescription(date)).first;
        record.insert_or_assign(ImportKey::QIFUniqueID, Value(payeeText(record) + QLatin1Char(':') + described->second));
        setShouldImport(record, true);
    }
}

std::vector<ManagedObject*> QIFImport::targetAccounts(const ManagedObjectContext& context)
{
    return VaultLibrary::vaultsOfType(context, VaultType::Account);
}

ManagedObject* QIFImport::targetForSelectedVault(ManagedObject* selected)
{
    if (selected && selected->valueForKey(u"vault_type").toString() == VaultType::Account)
        return selected;
    return nullptr;
}

QString QIFImport::transPredicateFormat()
{
    return QStringLiteral("trans_accountID == %@ AND trans_isPending == NO");
}

std::vector<ManagedObject*> QIFImport::clearedTransactions(const RecordEnvironment& environment,
                                                           const QString& accountID)
{
    std::vector<ManagedObject*> found =
        environment.fetch(QStringLiteral("TransEntity"), transPredicateFormat(), {Value(accountID)});
    std::stable_sort(found.begin(), found.end(), [](const ManagedObject* a, const ManagedObject* b) {
        return a->valueForKey(u"trans_date").toDate() < b->valueForKey(u"trans_date").toDate();
    });
    return found;
}

std::vector<ManagedObject*> QIFImport::insertTransactions(ManagedObjectContext& context,
                                                          const RecordEnvironment& environment,
                                                          const std::vector<ValueDictionary>& records,
                                                          const QString& accountID)
{
    static const std::pair<QString, QString> kept[] = {
        {ImportKey::Payee, QStringLiteral("trans_title")},
        {ImportKey::Date, QStringLiteral("trans_date")},
        {ImportKey::Amount, QStringLiteral("trans_amount")},
        {ImportKey::Memo, QStringLiteral("trans_notes")},
        {ImportKey::QIFUniqueID, QStringLiteral("trans_QIFUniqueID")},
    };
    std::vector<ManagedObject*> inserted;
    for (const ValueDictionary& record : records) {
        if (!shouldImport(record))
            continue;
        ValueDictionary values;
        for (const auto& [from, to] : kept) {
            if (auto found = record.find(from); found != record.end())
                values.emplace(to, found->second);
        }
        if (!accountID.isEmpty())
            values.emplace(QStringLiteral("trans_accountID"), Value(accountID));
        values.emplace(QStringLiteral("trans_reoccurrence"), Value(QStringLiteral("Never")));
        inserted.push_back(TransactionRecords::insertWithValues(context, environment, values));
    }
    return inserted;
}

} // namespace qf
