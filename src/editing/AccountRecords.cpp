#include "editing/AccountRecords.h"

#include "common/QFNSStringCategory.h"
#include "store/ManagedObjectContext.h"
#include "store/RecordEnvironment.h"
#include "store/VaultLibrary.h"

namespace qf {

namespace {

void storeDetails(ManagedObject& account, const AccountDetails& details)
{
    account.setValueForKey(u"vault_title", Value(details.title));
    account.setValueForKey(u"vault_accountBankName", Value(details.bankName.isNull() ? QStringLiteral("") : details.bankName));
    account.setValueForKey(u"vault_accountURL", Value(QFNSStringCategory::makeHTTPURL(details.url.isNull() ? QStringLiteral("") : details.url)));
    account.setValueForKey(u"vault_accountType", Value(details.accountType));
    account.setValueForKey(u"vault_accountInitialAmount", Value(details.initialAmount));
}

} // namespace

ManagedObject* AccountRecords::insertDeposit(ManagedObjectContext& context, const RecordEnvironment& environment,
                                             const ManagedObject& account, const QString& title, double amount)
{
    ManagedObject* deposit = context.insertNewObject(ManagedObjectModel::shared().trans());
    deposit->setValueForKey(u"trans_title", Value(QStringLiteral("Initial Deposit (%1)").arg(title)));
    deposit->setValueForKey(u"trans_date", Value::date(environment.now()));
    deposit->setValueForKey(u"trans_accountID", account.valueForKey(u"vault_uniqueID"));
    deposit->setValueForKey(u"trans_amount", Value(amount));
    deposit->setValueForKey(u"trans_uniqueID", Value(environment.createUniqueID()));
    deposit->setValueForKey(u"trans_isInitalAccountAmount", Value::boolean(true));
    return deposit;
}

ManagedObject* AccountRecords::createAccount(ManagedObjectContext& context, const RecordEnvironment& environment,
                                             const AccountDetails& details)
{
    ManagedObject* account = VaultLibrary::insertVault(context, environment, VaultType::Account, details.title);
    storeDetails(*account, details);
    if (!details.number.isEmpty())
        account->setValueForKey(u"vault_accountNumber", Value(details.number));
    if (details.initialAmount != 0)
        insertDeposit(context, environment, *account, details.title, details.initialAmount);
    return account;
}

ManagedObject* AccountRecords::fetchDepositTransWithAccountID(const ManagedObjectContext& context,
                                                              const QString& accountID)
{
    const EntityDescription& trans = ManagedObjectModel::shared().trans();
    const int flag = trans.indexOfAttribute(u"trans_isInitalAccountAmount");
    const int account = trans.indexOfAttribute(u"trans_accountID");
    const SharedString wanted = SharedString::fromQString(accountID);
    for (ManagedObject* t : context.objects(trans)) {
        if (t->primitiveValue(flag).toBool() && t->primitiveValue(account).string() == wanted)
            return t;
    }
    return nullptr;
}

bool AccountRecords::saveEditAccountInfo(ManagedObjectContext& context, const RecordEnvironment& environment,
                                         ManagedObject& account, const AccountDetails& details)
{
    if (!QFNSStringCategory::isValidString(details.title))
        return false;
    storeDetails(account, details);
    account.setValueForKey(u"vault_accountNumber", Value(details.number.isNull() ? QStringLiteral("") : details.number));
    if (details.initialAmount == 0)
        return true;
    ManagedObject* deposit =
        fetchDepositTransWithAccountID(context, account.valueForKey(u"vault_uniqueID").toString());
    if (!deposit) {
        insertDeposit(context, environment, account, details.title, details.initialAmount);
        return true;
    }
    deposit->setValueForKey(u"trans_amount", Value(details.initialAmount));
    if (deposit->valueForKey(u"trans_uniqueID").toString().isEmpty())
        deposit->setValueForKey(u"trans_uniqueID", Value(environment.createUniqueID()));
    return true;
}

} // namespace qf
