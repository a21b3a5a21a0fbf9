#include "exchange/CSVExportController.h"

#include "store/ManagedObject.h"
#include "store/RecordEnvironment.h"

#include <QSaveFile>
#include <QStringEncoder>

namespace qf {

namespace {

QString quotedWhenComma(const QString& field)
{
    return field.contains(QLatin1Char(',')) ? QLatin1Char('"') + field + QLatin1Char('"') : field;
}

} // namespace

QString CSVExportController::CSVLineWithObject(const ManagedObject& transaction, const RecordEnvironment& formats)
{
    const Value date = transaction.valueForKey(u"trans_date");
    const Value amount = transaction.valueForKey(u"trans_amount");
    const QString dateText = date.isNull() ? QString() : formats.formatShortDate(date.toDate());
    const QString amountText = amount.isNull() ? QString() : formats.formatAmount(amount.toDouble());
    return quotedWhenComma(transaction.valueForKey(u"trans_title").toString()) + QLatin1Char(',') + dateText +
           QLatin1Char(',') + quotedWhenComma(amountText) + QLatin1Char('\n');
}

QString CSVExportController::CSVStringWithTransObjects(const std::vector<ManagedObject*>& transactions,
                                                       const RecordEnvironment& formats)
{
    QString text = QStringLiteral("Title,Date,Amount\n");
    text.reserve(text.size() + static_cast<qsizetype>(transactions.size()) * 48);
    for (const ManagedObject* transaction : transactions)
        text += CSVLineWithObject(*transaction, formats);
    return text;
}

Status CSVExportController::exportCSVWithPath(const QString& path, const std::vector<ManagedObject*>& transactions,
                                              const RecordEnvironment& formats)
{
    // Little-endian whatever the machine, so the same ledger gives the same bytes.
    QStringEncoder encoder(QStringConverter::Utf16LE, QStringConverter::Flag::WriteBom);
    const QByteArray bytes = encoder.encode(CSVStringWithTransObjects(transactions, formats));
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return Status::failure(QStringLiteral("Cannot write \"%1\": %2").arg(path, file.errorString()));
    if (file.write(bytes) != bytes.size() || !file.commit())
        return Status::failure(QStringLiteral("Cannot write \"%1\": %2").arg(path, file.errorString()));
    return Status::ok();
}

} // namespace qf
