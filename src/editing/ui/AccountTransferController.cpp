#include "editing/ui/AccountTransferController.h"

#include "app/Quillfen_AppDelegate.h"
#include "app/SoundPlayer.h"
#include "common/AmountFormatter.h"
#include "editing/ui/AccountPopup.h"
#include "store/ManagedObject.h"
#include "views/ui/LibraryController.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace qf {

AccountTransferController::AccountTransferController(Quillfen_AppDelegate& delegate, LibraryController* list,
                                                     QWidget* parent)
    : QDialog(parent), m_delegate(delegate), m_transfer(delegate), m_list(list), m_from(new QComboBox(this)), m_to(new QComboBox(this)),
      m_amount(new QLineEdit(this))
{
    setWindowTitle(tr("Transfer"));
    setWindowModality(Qt::WindowModal);
    m_from->setObjectName(QStringLiteral("fromAccount"));
    m_to->setObjectName(QStringLiteral("toAccount"));
    m_amount->setObjectName(QStringLiteral("amount"));

    auto* heading = new QLabel(tr("<b>Transfer Between Accounts</b>"), this);
    auto* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->addRow(tr("From:"), m_from);
    form->addRow(tr("To:"), m_to);
    form->addRow(tr("Amount:"), m_amount);

    connect(m_from, &QComboBox::activated, this, [this](int index) { m_transfer.fromAccounts().selectIndex(index); });
    connect(m_to, &QComboBox::activated, this, [this](int index) { m_transfer.toAccounts().selectIndex(index); });
    connect(m_amount, &QLineEdit::editingFinished, this, &AccountTransferController::amountDidEndEditing);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Ok)->setText(tr("Transfer"));
    connect(buttons, &QDialogButtonBox::accepted, this, &AccountTransferController::transfer);
    connect(buttons, &QDialogButtonBox::rejected, this, &AccountTransferController::cancel);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(heading);
    layout->addLayout(form);
    layout->addWidget(buttons);
    setMinimumWidth(360);
}

void AccountTransferController::loadTransferPanelWithVaultObject(ManagedObject* vault)
{
    m_transfer.loadTransferPanelWithVaultObject(vault);
    fillAccountPopup(*m_from, m_transfer.fromAccounts());
    fillAccountPopup(*m_to, m_transfer.toAccounts());
    m_amount->clear();
    m_amount->setPlaceholderText(m_delegate.amountFormatter().format(0));
    m_amount->setFocus();
    open();
}

void AccountTransferController::amountDidEndEditing()
{
    if (m_amount->text().isEmpty())
        return;
    m_transfer.setAmountText(m_amount->text());
    m_transfer.amountDidEndEditing();
    m_amount->setText(m_transfer.amountText());
}

ManagedObject* AccountTransferController::transfer()
{
    m_transfer.setAmountText(m_amount->text());
    const std::optional<AccountTransfer::Records> records = m_transfer.transfer();
    if (!records) {
        SoundPlayer::shared().beep();
        return nullptr;
    }
    const QString depositID = records->deposit->valueForKey(u"trans_uniqueID").toString();
    if (m_list)
        m_list->refresh();
    accept();
    if (m_list)
        m_list->selectTransactionWithID(depositID);
    return records->deposit;
}

} // namespace qf
