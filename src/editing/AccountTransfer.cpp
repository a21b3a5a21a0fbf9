#include "editing/AccountTransfer.h"

#include "app/Quillfen_AppDelegate.h"
#include "common/AmountFormatter.h"
#include "common/DateFormatter.h"
#include "common/QFNSStringCategory.h"
#include "store/ManagedObject.h"
#include "store/VaultLibrary.h"

#include <cmath>

namespace qf {

AccountTransfer::AccountTransfer(Quillfen_AppDelegate& delegate)
    : m_delegate(delegate)
{
}

void AccountTransfer::loadTransferPanelWithVaultObject(ManagedObject* vault)
{
    m_vault = vault;
    setupAccountButton(m_from);
    setupAccountButton(m_to);
    m_amountText.clear();
}

void AccountTransfer::setupAccountButton(AccountSelector& selector)
{
    selector = AccountSelector(m_delegate.fetchVaultObjectsWithType(VaultType::Account));
    // The preselection always lands on the "from" selector, whichever one is
    // being filled; "to" therefore stays on "None".
    m_from.selectNone();
    if (!m_vault)
        return;
    const QString vaultID = m_vault->valueForKey(u"vault_uniqueID").toString();
    if (vaultID.isNull())
        return;
    if (!m_from.selectID(vaultID))
        m_vault->setValueForKey(u"vault_uniqueID", Value());
}

void AccountTransfer::amountDidEndEditing()
{
    m_amountText = m_delegate.amountFormatter().format(amountFloat());
}

float AccountTransfer::amountFloat() const
{
    return float(m_delegate.amountFormatter().parseOrLeadingNumber(m_amountText));
}

QString AccountTransfer::dateString() const
{
    return m_delegate.shortDateFormatter().format(m_delegate.now());
}

std::optional<AccountTransfer::Records> AccountTransfer::transfer()
{
    const QString fromID = m_from.selectedID();
    const QString toID = m_to.selectedID();
    const float amount = amountFloat();
    if (!QFNSStringCategory::isValidString(fromID) || !QFNSStringCategory::isValidString(toID) || !(amount > 0))
        return std::nullopt;

    const QString date = dateString();
    Records records;
    records.withdrawal = insertTransaction(QStringLiteral("Transfer Withdrawal (%1)").arg(date), fromID,
                                           double(-amount));
    records.deposit = insertTransaction(QStringLiteral("Transfer Deposit (%1)").arg(date), toID, double(amount));
    return records;
}

ManagedObject* AccountTransfer::insertTransaction(const QString& title, const QString& accountID, double amount)
{
    ManagedObjectContext& context = *m_delegate.managedObjectContext();
    ManagedObject* record = context.insertNewObject(ManagedObjectModel::shared().trans());
    record->setValueForKey(u"trans_title", Value(title));
    record->setValueForKey(u"trans_uniqueID", Value(m_delegate.createUniqueID()));
    record->setValueForKey(u"trans_date", Value::date(m_delegate.now()));
    record->setValueForKey(u"trans_isPending", Value::boolean(true));
    record->setValueForKey(u"trans_accountID", Value(accountID));
    record->setValueForKey(u"trans_amount", Value(amount));
    return record;
}

} // namespace qf
