#include "ImportTarget.h"

#include "app/Quillfen_AppDelegate.h"
#include "exchange/QIFImport.h"

namespace qf::cli {

Result<QString> importTargetAccountID(Quillfen_AppDelegate& delegate, const CommandLine& line)
{
    const QString option = QStringLiteral("account");
    if (!line.has(option))
        return QString();
    const QString name = line.value(option);
    ManagedObject* vault = delegate.fetchVaultObjectWithID(name);
    if (!vault)
        vault = delegate.fetchVaultObjectWithName(name);
    if (!QIFImport::targetForSelectedVault(vault))
        return Result<QString>::failure(QStringLiteral("no account \"%1\"").arg(name));
    return vault->valueForKey(u"vault_uniqueID").toString();
}

} // namespace qf::cli
