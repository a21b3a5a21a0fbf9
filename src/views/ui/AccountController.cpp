#include "views/ui/AccountController.h"

#include "app/Quillfen_AppDelegate.h"
#include "common/AmountFormatter.h"
#include "editing/AccountRecords.h"
#include "store/ManagedObjectContext.h"
#include "views/SourceListRows.h"
#include "views/TransactionQuery.h"
#include "views/ui/AccountOnlineController.h"
#include "views/ui/IconLibrary.h"
#include "views/ui/InfoPaneInternal.h"
#include "views/ui/LibraryController.h"

#include <QApplication>
#include <QButtonGroup>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QShortcut>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

namespace qf {

namespace {

const char* const kAccountTypes[] = {QT_TRANSLATE_NOOP("qf::AccountController", "Checking"),
                                     QT_TRANSLATE_NOOP("qf::AccountController", "Savings"),
                                     QT_TRANSLATE_NOOP("qf::AccountController", "Credit"),
                                     QT_TRANSLATE_NOOP("qf::AccountController", "Online")};
const char* const kTabs[] = {QT_TRANSLATE_NOOP("qf::AccountController", "Transactions"),
                             QT_TRANSLATE_NOOP("qf::AccountController", "Online")};
const QString kTransactionsTab = QStringLiteral("Transactions");
const QString kOnlineTab = QStringLiteral("Online");
constexpr int kIconSize = 32;
constexpr int kIconGap = 10;

// The icon of a stored account type; a type of older files that has no
// drawing of its own gets the one of "Online", as in the source list.
QIcon typeIcon(const QString& accountType, const char* size)
{
    QIcon icon = quillfenIcon(accountType + QLatin1Char('_') + QLatin1String(size) + QStringLiteral("_Icon"));
    return icon.isNull() ? quillfenIcon(QStringLiteral("Online_") + QLatin1String(size) + QStringLiteral("_Icon")) : icon;
}

// "http://bank.example/" reads as "bank.example".
QString shownAddress(QString url)
{
    for (const char* scheme : {"http://", "https://"}) {
        if (url.startsWith(QLatin1String(scheme), Qt::CaseInsensitive))
            url = url.mid(int(qstrlen(scheme)));
    }
    if (url.endsWith(QLatin1Char('/')))
        url.chop(1);
    return url;
}

} // namespace

AccountController::AccountController(Quillfen_AppDelegate& delegate, LibraryController& library, QWidget* parent)
    : QFrame(parent), m_delegate(delegate), m_library(library), m_pages(new QStackedWidget(this)),
      m_online(new AccountOnlineController), m_onlineView(new QWidget), m_onlineLayout(new QVBoxLayout(m_onlineView))
{
    setObjectName(QStringLiteral("accountPane"));
    // The online view holds this pane while its tab is shown, so it cannot
    // be this pane's child.
    m_onlineView->setObjectName(QStringLiteral("accountOnlineView"));
    m_onlineLayout->setContentsMargins(6, 6, 6, 6);
    m_onlineLayout->setSpacing(6);
    m_onlineLayout->addWidget(m_online, 1);
    m_onlineView->hide();
    connect(m_online, &AccountOnlineController::statementDownloaded, this, &AccountController::statementDownloaded);
    m_infoPage = buildInfoPage();
    m_editPage = buildEditPage();
    infopane::setupPages(this, m_pages, m_infoPage, m_editPage);

    // The list refreshes after every change of the store and of its filters;
    // the balance and the details follow it.
    connect(&m_library, &LibraryController::balancesChanged, this, [this] {
        if (isShown())
            refreshInfoPanel();
    });
}

AccountController::~AccountController()
{
    // Once the window has taken the online view, the window deletes it (and
    // with it this pane while the online tab is shown).
    if (m_onlineView && !m_onlineView->parent()) {
        if (parentWidget() == m_onlineView)
            setParent(nullptr);
        delete m_onlineView;
    }
}

QWidget* AccountController::buildTabButtons(QWidget* parent)
{
    auto* tabs = new QWidget(parent);
    auto* layout = new QHBoxLayout(tabs);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_tabs = new QButtonGroup(this);
    for (const char* tab : kTabs) {
        auto* button = new QToolButton(tabs);
        button->setText(tr(tab));
        button->setCheckable(true);
        button->setObjectName(QString::fromLatin1(tab).toLower() + QStringLiteral("Tab"));
        const QString name = QString::fromLatin1(tab);
        connect(button, &QToolButton::clicked, this, [this, name] { changePane(name); });
        m_tabs->addButton(button);
        layout->addWidget(button);
    }
    return tabs;
}

QWidget* AccountController::buildInfoPage()
{
    auto* page = new QWidget(this);
    m_icon = new QLabel(page);
    m_icon->setFixedSize(kIconSize, kIconSize);
    m_title = infopane::titleLabel(page);
    m_title->setObjectName(QStringLiteral("accountTitle"));
    auto* edit = new QPushButton(quillfenIcon(QStringLiteral("edit")), tr("Edit"), page);
    edit->setObjectName(QStringLiteral("editAccount"));
    edit->setToolTip(tr("Edit the account's details"));
    connect(edit, &QPushButton::clicked, this, &AccountController::editAccountInfo);

    m_bank = infopane::valueLabel(page, "bankLabel");
    m_type = infopane::valueLabel(page, "typeLabel");
    m_typeIcon = new QLabel(page);
    m_typeIcon->setFixedSize(16, 16);
    m_number = infopane::valueLabel(page, "numberLabel");
    m_url = infopane::valueLabel(page, "urlLabel");
    m_url->setTextInteractionFlags(Qt::TextBrowserInteraction);
    m_url->setOpenExternalLinks(true);
    m_opening = infopane::valueLabel(page, "openingLabel");
    m_balance = infopane::titleLabel(page);
    m_balance->setObjectName(QStringLiteral("balanceLabel"));
    m_balance->setAlignment(Qt::AlignRight | Qt::AlignVCenter);

    auto* type = new QHBoxLayout;
    type->setSpacing(4);
    type->addWidget(m_typeIcon);
    type->addWidget(m_type, 1);

    // Two groups of details side by side, each as wide as its longest value.
    auto* grid = new QGridLayout;
    grid->setContentsMargins(0, 4, 0, 0);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(3);
    grid->addWidget(infopane::nameLabel(tr("Bank:"), page), 0, 0);
    grid->addWidget(m_bank, 0, 1);
    grid->addWidget(infopane::nameLabel(tr("Type:"), page), 1, 0);
    grid->addLayout(type, 1, 1);
    grid->addWidget(infopane::nameLabel(tr("Number:"), page), 2, 0);
    grid->addWidget(m_number, 2, 1);
    grid->addWidget(infopane::nameLabel(tr("Opening balance:"), page), 0, 3);
    grid->addWidget(m_opening, 0, 4);
    grid->addWidget(infopane::nameLabel(tr("Web site:"), page), 1, 3);
    grid->addWidget(m_url, 1, 4);
    grid->setColumnMinimumWidth(2, 28);
    grid->setColumnStretch(5, 1);

    auto* details = new QVBoxLayout;
    details->setSpacing(2);
    details->addWidget(m_title);
    details->addLayout(grid);

    // The balance stands apart at the right, where the eye looks for a total.
    auto* caption = infopane::nameLabel(tr("Balance"), page);
    auto* balance = new QVBoxLayout;
    balance->setSpacing(0);
    balance->addWidget(caption);
    balance->addWidget(m_balance);
    balance->addStretch();

    auto* layout = new QHBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(kIconGap);
    layout->addWidget(m_icon, 0, Qt::AlignTop);
    layout->addLayout(details, 1);
    layout->addSpacing(12);
    layout->addLayout(balance);
    layout->addSpacing(4);
    auto* actions = new QVBoxLayout;
    actions->setSpacing(6);
    actions->addWidget(buildTabButtons(page), 0, Qt::AlignRight);
    actions->addWidget(edit, 0, Qt::AlignRight);
    actions->addStretch();
    layout->addLayout(actions);
    return page;
}

QWidget* AccountController::buildEditPage()
{
    auto* page = new QWidget(this);
    auto field = [page](const char* objectName) {
        auto* edit = new QLineEdit(page);
        edit->setObjectName(QString::fromLatin1(objectName));
        return edit;
    };
    m_nameField = field("accountName");
    m_bankField = field("bankName");
    m_numberField = field("accountNumber");
    m_urlField = field("accountURL");
    m_urlField->setPlaceholderText(tr("www.yourbank.com"));
    m_amountField = field("initialAmount");
    m_amountField->setPlaceholderText(m_delegate.amountFormatter().format(0));
    m_amountField->setAlignment(Qt::AlignRight);
    m_typeMenu = new QComboBox(page);
    m_typeMenu->setObjectName(QStringLiteral("accountType"));
    for (const char* type : kAccountTypes)
        m_typeMenu->addItem(typeIcon(QString::fromLatin1(type), "Small"), tr(type), QString::fromLatin1(type));
    // The amount reads as currency once the user leaves the field.
    connect(m_amountField, &QLineEdit::editingFinished, this, [this] {
        const AmountFormatter& amounts = m_delegate.amountFormatter();
        if (!m_amountField->text().isEmpty())
            m_amountField->setText(amounts.format(amounts.parseOrLeadingNumber(m_amountField->text())));
    });
    for (QLineEdit* edit : {m_nameField, m_bankField, m_numberField, m_urlField, m_amountField})
        connect(edit, &QLineEdit::returnPressed, this, &AccountController::saveEditAccountInfo);

    QLabel* heading = infopane::editHeading(tr("Edit Account"), page);
    QGridLayout* grid = infopane::editGrid();
    grid->addWidget(infopane::nameLabel(tr("Name:"), page), 0, 0);
    grid->addWidget(m_nameField, 0, 1);
    grid->addWidget(infopane::nameLabel(tr("Bank:"), page), 1, 0);
    grid->addWidget(m_bankField, 1, 1);
    grid->addWidget(infopane::nameLabel(tr("Number:"), page), 2, 0);
    grid->addWidget(m_numberField, 2, 1);
    grid->addWidget(infopane::nameLabel(tr("Type:"), page), 0, 3);
    grid->addWidget(m_typeMenu, 0, 4);
    grid->addWidget(infopane::nameLabel(tr("Web site:"), page), 1, 3);
    grid->addWidget(m_urlField, 1, 4);
    grid->addWidget(infopane::nameLabel(tr("Opening balance:"), page), 2, 3);
    grid->addWidget(m_amountField, 2, 4);
    grid->setColumnMinimumWidth(2, 16);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(4, 1);

    infopane::finishEditPage(page, heading, grid, this, [this] { cancelEditAccountInfo(); }, [this] { saveEditAccountInfo(); });
    return page;
}

QWidget* AccountController::prepareMainViewWithVaultObject(ManagedObject* account)
{
    m_vault = account;
    m_library.prepareWithVaultObject(account);
    if (!account)
        return &m_library;
    QString tab = account->valueForKey(u"vault_tabSelected").toString();
    if (tab != kOnlineTab && tab != kTransactionsTab) {
        // An account that never chose a tab stores the first one, which
        // records nothing to undo.
        tab = kTransactionsTab;
        UndoManager& undo = m_delegate.managedObjectContext()->undoManager();
        undo.disableUndoRegistration();
        account->setValueForKey(u"vault_tabSelected", Value(tab));
        undo.enableUndoRegistration();
    }
    infopane::showPage(m_pages, m_infoPage);
    refreshInfoPanel();
    return showTab(tab);
}

void AccountController::changePane(const QString& tab)
{
    if (!m_vault || (tab != kOnlineTab && tab != kTransactionsTab))
        return;
    if (m_vault->valueForKey(u"vault_tabSelected").toString() != tab) {
        // Which tab is looked at is no edit of the ledger.
        UndoManager& undo = m_delegate.managedObjectContext()->undoManager();
        undo.disableUndoRegistration();
        m_vault->setValueForKey(u"vault_tabSelected", Value(tab));
        undo.enableUndoRegistration();
    }
    Q_EMIT mainViewChanged(showTab(tab));
}

QString AccountController::selectedTab() const
{
    return m_vault ? m_vault->valueForKey(u"vault_tabSelected").toString() : QString();
}

QWidget* AccountController::showTab(const QString& tab)
{
    const bool online = tab == kOnlineTab;
    m_tabs->buttons().at(online ? 1 : 0)->setChecked(true);
    if (online) {
        m_library.setInfoPane(nullptr);
        m_onlineLayout->insertWidget(0, this);
        show();
        m_online->setupOnlinePane(m_vault);
        return m_onlineView;
    }
    if (parentWidget() == m_onlineView)
        m_onlineLayout->removeWidget(this);
    m_library.setInfoPane(this);
    refreshInfoPanel();
    return &m_library;
}

bool AccountController::isShown() const
{
    return m_vault && m_library.vault() == m_vault && m_library.infoPane() == this;
}

bool AccountController::isEditing() const
{
    return m_pages->currentWidget() == m_editPage;
}

void AccountController::refreshInfoPanel()
{
    if (!m_vault)
        return;
    const ManagedObject& a = *m_vault;
    const AmountFormatter& amounts = m_delegate.amountFormatter();
    const QString accountType = a.valueForKey(u"vault_accountType").toString();
    m_icon->setPixmap(quillfenIcon(SourceListRows::iconKind(a) + QStringLiteral("_Large_Icon"))
                          .pixmap(kIconSize, kIconSize));
    m_title->setText(a.valueForKey(u"vault_title").toString());
    m_bank->setText(infopane::orDash(a.valueForKey(u"vault_accountBankName").toString()));
    m_typeIcon->setPixmap(typeIcon(accountType, "Small").pixmap(16, 16));
    m_typeIcon->setVisible(!accountType.isEmpty());
    m_type->setText(infopane::orDash(accountType.isEmpty() ? QString() : tr(qPrintable(accountType))));
    m_number->setText(infopane::orDash(a.valueForKey(u"vault_accountNumber").toString()));
    const QString url = a.valueForKey(u"vault_accountURL").toString();
    m_url->setText(url.isEmpty() ? infopane::orDash(url)
                                 : QStringLiteral("<a href=\"%1\">%2</a>")
                                       .arg(url.toHtmlEscaped(), shownAddress(url).toHtmlEscaped()));
    m_url->setToolTip(url);
    m_opening->setText(amounts.format(a.valueForKey(u"vault_accountInitialAmount").toDouble()));

    // The account's own transactions and the bills from or to it, whatever
    // the list's filters; summed unsorted, as this runs after every refresh.
    const QString id = a.valueForKey(u"vault_uniqueID").toString();
    const Predicate scope = TransactionQuery::accountPredicates(id).all;
    std::vector<ManagedObject*> own;
    for (ManagedObject* t : m_indexes.accounts.candidates(*m_delegate.managedObjectContext(), id)) {
        if (scope.evaluate(*t))
            own.push_back(t);
    }
    const Balances balance = TransactionQuery::balances(own);
    m_balance->setText(amounts.format(balance.total));
    QPalette p = m_balance->palette();
    p.setColor(QPalette::WindowText, balance.total < 0 ? QColor(0xB9, 0x1C, 0x1C) : palette().color(QPalette::WindowText));
    m_balance->setPalette(p);
}

void AccountController::editAccountInfo()
{
    if (!m_vault)
        return;
    const ManagedObject& a = *m_vault;
    m_nameField->setText(a.valueForKey(u"vault_title").toString());
    m_bankField->setText(a.valueForKey(u"vault_accountBankName").toString());
    m_numberField->setText(a.valueForKey(u"vault_accountNumber").toString());
    m_urlField->setText(a.valueForKey(u"vault_accountURL").toString());
    m_amountField->setText(m_delegate.amountFormatter().format(a.valueForKey(u"vault_accountInitialAmount").toDouble()));
    // A type the menu lacks (from an older file) is offered as it is, so
    // saving the other details does not change it.
    const QString accountType = a.valueForKey(u"vault_accountType").toString();
    int index = m_typeMenu->findData(accountType);
    if (index < 0 && !accountType.isEmpty()) {
        m_typeMenu->addItem(typeIcon(accountType, "Small"), accountType, accountType);
        index = m_typeMenu->count() - 1;
    }
    m_typeMenu->setCurrentIndex(std::max(index, 0));
    infopane::showPage(m_pages, m_editPage);
    m_nameField->setFocus();
    m_nameField->selectAll();
}

bool AccountController::saveEditAccountInfo()
{
    if (!m_vault || !isEditing())
        return false;
    AccountDetails details;
    details.title = m_nameField->text().trimmed();
    details.bankName = m_bankField->text();
    details.accountType = m_typeMenu->currentData().toString();
    details.url = m_urlField->text().trimmed();
    details.number = m_numberField->text();
    details.initialAmount = m_delegate.amountFormatter().parseOrLeadingNumber(m_amountField->text());
    if (!AccountRecords::saveEditAccountInfo(*m_delegate.managedObjectContext(), m_delegate, *m_vault, details)) {
        QApplication::beep();
        m_nameField->setFocus();
        return false;
    }
    infopane::showPage(m_pages, m_infoPage);
    // The new opening deposit, if one was made, belongs in the list.
    m_library.refresh();
    refreshInfoPanel();
    // A new web address shows at once on the online tab.
    if (parentWidget() == m_onlineView)
        m_online->setupOnlinePane(m_vault);
    return true;
}

void AccountController::cancelEditAccountInfo()
{
    infopane::showPage(m_pages, m_infoPage);
    refreshInfoPanel();
}

} // namespace qf
