#pragma once

#include <QString>

namespace qf {

// The keys of an import record: what the QIF and OFX readers fill in and
// the import sheet turns into transactions.
namespace ImportKey {
inline const QString Date = QStringLiteral("Date");
inline const QString Amount = QStringLiteral("Amount");
inline const QString ClearedStatus = QStringLiteral("Cleared Status");
inline const QString ReferenceNumber = QStringLiteral("Reference Number");
inline const QString Payee = QStringLiteral("Payee");
inline const QString Memo = QStringLiteral("Memo");
inline const QString Address = QStringLiteral("Address");
inline const QString Category = QStringLiteral("Category");
inline const QString CategorySplit = QStringLiteral("Category Split");
inline const QString DollarAmountSplit = QStringLiteral("Dollar Amount Split");
inline const QString ShouldImport = QStringLiteral("shouldImport");
inline const QString QIFUniqueID = QStringLiteral("QIFUniqueID");
} // namespace ImportKey

} // namespace qf
