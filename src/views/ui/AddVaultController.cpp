#include "views/ui/AddVaultController.h"

#include "app/Quillfen_AppDelegate.h"
#include "common/AmountFormatter.h"
#include "common/QFNSStringCategory.h"
#include "editing/AccountRecords.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "views/ui/IconLibrary.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

namespace qf {

namespace {

const QString kTypes[] = {VaultType::Account, VaultType::Budget, VaultType::Playlist, VaultType::SmartPlaylist};

QWidget* page(QWidget* parent, QFormLayout** form)
{
    auto* widget = new QWidget(parent);
    *form = new QFormLayout(widget);
    (*form)->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    return widget;
}

} // namespace

AddVaultController::AddVaultController(Quillfen_AppDelegate& delegate, QWidget* parent)
    : QDialog(parent), m_delegate(delegate), m_tabs(new QTabWidget(this)), m_accountName(new QLineEdit(this)),
      m_bankName(new QLineEdit(this)), m_accountType(new QComboBox(this)), m_url(new QLineEdit(this)),
      m_initialAmount(new QLineEdit(this)), m_budgetName(new QLineEdit(this)), m_folderName(new QLineEdit(this)),
      m_folderShare(new QCheckBox(tr("Share this folder on the network"), this)), m_smartName(new QLineEdit(this)),
      m_smartShare(new QCheckBox(tr("Share this folder on the network"), this))
{
    setWindowTitle(tr("New Item"));
    m_accountName->setObjectName(QStringLiteral("accountName"));
    m_budgetName->setObjectName(QStringLiteral("budgetName"));
    m_folderName->setObjectName(QStringLiteral("folderName"));
    m_smartName->setObjectName(QStringLiteral("smartName"));
    setWindowModality(Qt::WindowModal);
    QFormLayout* form = nullptr;

    QWidget* account = page(this, &form);
    form->addRow(tr("Name:"), m_accountName);
    form->addRow(tr("Bank:"), m_bankName);
    for (const char* type : {"Checking", "Savings", "Credit", "Online"})
        m_accountType->addItem(quillfenIcon(QString::fromLatin1(type) + QStringLiteral("_Small_Icon")),
                               tr(type), QString::fromLatin1(type));
    form->addRow(tr("Type:"), m_accountType);
    m_url->setPlaceholderText(tr("www.yourbank.com"));
    form->addRow(tr("Web site:"), m_url);
    m_initialAmount->setPlaceholderText(delegate.amountFormatter().format(0));
    form->addRow(tr("Opening balance:"), m_initialAmount);
    // The amount is shown as currency once the user leaves the field.
    connect(m_initialAmount, &QLineEdit::editingFinished, this, [this] {
        if (!m_initialAmount->text().isEmpty())
            m_initialAmount->setText(m_delegate.amountFormatter().format(
                m_delegate.amountFormatter().parseOrLeadingNumber(m_initialAmount->text())));
    });
    m_tabs->addTab(account, quillfenIcon(QStringLiteral("Checking_Small_Icon")), tr("Account"));

    QWidget* budget = page(this, &form);
    form->addRow(tr("Name:"), m_budgetName);
    m_tabs->addTab(budget, quillfenIcon(QStringLiteral("Budget_Small_Icon")), tr("Budget"));

    QWidget* folder = page(this, &form);
    form->addRow(tr("Name:"), m_folderName);
    form->addRow(QString(), m_folderShare);
    m_tabs->addTab(folder, quillfenIcon(QStringLiteral("Folder_Small_Icon")), tr("Folder"));

    QWidget* smart = page(this, &form);
    form->addRow(tr("Name:"), m_smartName);
    form->addRow(QString(), m_smartShare);
    m_tabs->addTab(smart, quillfenIcon(QStringLiteral("SmartFolder_Small_Icon")), tr("Smart Folder"));

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Ok)->setText(tr("Continue"));
    connect(buttons, &QDialogButtonBox::accepted, this, &AddVaultController::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &AddVaultController::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_tabs);
    layout->addWidget(buttons);
    resize(420, 260);
}

QLineEdit* AddVaultController::nameField(int tab) const
{
    switch (tab) {
    case 0:
        return m_accountName;
    case 1:
        return m_budgetName;
    case 2:
        return m_folderName;
    default:
        return m_smartName;
    }
}

void AddVaultController::showForType(const QString& vaultType)
{
    for (QLineEdit* field : {m_accountName, m_bankName, m_url, m_initialAmount, m_budgetName, m_folderName, m_smartName})
        field->clear();
    m_folderShare->setChecked(false);
    m_smartShare->setChecked(false);
    m_accountType->setCurrentIndex(0);
    m_created = nullptr;
    for (int tab = 0; tab < 4; ++tab) {
        if (kTypes[tab] == vaultType)
            m_tabs->setCurrentIndex(tab);
    }
    nameField(m_tabs->currentIndex())->setFocus();
}

void AddVaultController::accept()
{
    const int tab = m_tabs->currentIndex();
    const QString name = nameField(tab)->text().trimmed();
    if (!QFNSStringCategory::isValidString(name)) {
        QApplication::beep();
        nameField(tab)->setFocus();
        return;
    }
    m_created = createVaultObjectWithType(kTypes[tab], name);
    QDialog::accept();
}

ManagedObject* AddVaultController::createVaultObjectWithType(const QString& type, const QString& title)
{
    ManagedObjectContext& context = *m_delegate.managedObjectContext();
    if (type == VaultType::Account) {
        AccountDetails details;
        details.title = title;
        details.bankName = m_bankName->text();
        details.accountType = m_accountType->currentData().toString();
        details.url = m_url->text().trimmed();
        details.initialAmount = m_delegate.amountFormatter().parseOrLeadingNumber(m_initialAmount->text());
        return AccountRecords::createAccount(context, m_delegate, details);
    }
    ManagedObject* vault = VaultLibrary::insertVault(context, m_delegate, type, title);
    if (type == VaultType::Playlist)
        vault->setValueForKey(u"vault_shouldPublish", Value::boolean(m_folderShare->isChecked()));
    else if (type == VaultType::SmartPlaylist)
        vault->setValueForKey(u"vault_shouldPublish", Value::boolean(m_smartShare->isChecked()));
    return vault;
}

} // namespace qf
