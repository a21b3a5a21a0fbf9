#include "app/ui/PreferencesController.h"

#include "app/DatabasePassword.h"
#include "app/Quillfen_AppDelegate.h"
#include "app/UserDefaults.h"
#include "app/ui/ErrorController.h"
#include "app/ui/LocalePicker.h"
#include "common/AmountFormatter.h"
#include "common/DateFormatter.h"
#include "views/ui/IconLibrary.h"

#include <QActionGroup>
#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QToolBar>
#include <QVBoxLayout>

namespace qf {

namespace {

// See LockPanelController: the keychain returns at most 1023 bytes.
constexpr int kPasswordMaxLength = 255;

QLabel* hintLabel(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setWordWrap(true);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

QLineEdit* passwordField(const QString& objectName, QWidget* parent)
{
    auto* field = new QLineEdit(parent);
    field->setObjectName(objectName);
    field->setEchoMode(QLineEdit::Password);
    field->setMaxLength(kPasswordMaxLength);
    field->setPlaceholderText(QObject::tr("Password"));
    field->setFixedWidth(240);
    return field;
}

} // namespace

PreferencesController::PreferencesController(Quillfen_AppDelegate& delegate, QWidget* parent)
    : QMainWindow(parent, Qt::Window), m_delegate(delegate), m_passwords(UserDefaults::standard()),
      m_panes(new QStackedWidget(this)), m_paneActions(new QActionGroup(this))
{
    setWindowTitle(tr("Preferences"));
    setObjectName(QStringLiteral("preferences"));
    // The tool bar's own menu would let the user hide it.
    setContextMenuPolicy(Qt::PreventContextMenu);

    QToolBar* bar = addToolBar(tr("Panes"));
    m_toolBar = bar;
    bar->setMovable(false);
    bar->setFloatable(false);
    bar->toggleViewAction()->setVisible(false);
    bar->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    bar->setIconSize(QSize(32, 32));
    struct PaneEntry {
        QString title;
        QString icon;
        int tag;
    };
    const PaneEntry entries[] = {{tr("General"), QStringLiteral("quillfen"), GeneralPane},
                                 {tr("Sharing"), QStringLiteral("share"), SharingPane},
                                 {tr("Database"), QStringLiteral("lock-closed"), DatabasePane}};
    for (const PaneEntry& entry : entries) {
        QAction* action = bar->addAction(quillfenIcon(entry.icon), entry.title);
        action->setCheckable(true);
        action->setData(entry.tag);
        m_paneActions->addAction(action);
        connect(action, &QAction::triggered, this, [this, tag = entry.tag] { changePane(tag); });
    }

    // Stack order follows the tags, so a tag is its page's index.
    m_panes->insertWidget(GeneralPane, buildGeneralPane());
    m_panes->insertWidget(DatabasePane, buildDatabasePane());
    m_panes->insertWidget(SharingPane, buildSharingPane());
    setCentralWidget(m_panes);
    connect(&UserDefaults::standard(), &UserDefaults::defaultsChanged, this, &PreferencesController::defaultsChanged);
    resize(560, 0);
    changePane(GeneralPane);
}

QCheckBox* PreferencesController::defaultsCheckBox(const QString& key, const QString& title, QWidget* parent)
{
    auto* box = new QCheckBox(title, parent);
    box->setObjectName(key);
    box->setChecked(UserDefaults::standard().boolForKey(key));
    connect(box, &QCheckBox::clicked, this, [key](bool on) { UserDefaults::standard().setValue(key, on); });
    return box;
}

QWidget* PreferencesController::buildGeneralPane()
{
    auto* pane = new QWidget(this);
    m_locale = new LocalePicker(pane);
    m_locale->setCurrentIdentifier(UserDefaults::standard().stringForKey(DefaultsKey::LocaleIdentifier));
    m_locale->setMinimumHeight(170);
    m_sample = new QLabel(pane);
    m_sample->setObjectName(QStringLiteral("localeSample"));
    m_sample->setForegroundRole(QPalette::PlaceholderText);
    updateSample();
    connect(m_locale, &LocalePicker::localeChosen, this, &PreferencesController::localeChosen);

    m_iconSize = new QComboBox(pane);
    m_iconSize->setObjectName(DefaultsKey::SourceSize);
    m_iconSize->addItem(tr("Large"), QStringLiteral("Large"));
    m_iconSize->addItem(tr("Small"), QStringLiteral("Small"));
    m_iconSize->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    defaultsChanged(DefaultsKey::SourceSize);
    connect(m_iconSize, &QComboBox::activated, this, [this](int index) {
        UserDefaults::standard().setValue(DefaultsKey::SourceSize, m_iconSize->itemData(index));
    });

    auto* form = new QFormLayout(pane);
    form->setContentsMargins(20, 16, 20, 16);
    form->setVerticalSpacing(10);
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignTop);
    form->addRow(tr("Region:"), m_locale);
    form->addRow(QString(), m_sample);
    form->addRow(tr("Sidebar icons:"), m_iconSize);
    form->addRow(QString(), defaultsCheckBox(DefaultsKey::ShouldUseAnimation, tr("Animate view changes"), pane));
    form->addRow(tr("Contacts folder:"), buildContactsFolderRow(pane));
    form->addRow(QString(), hintLabel(tr("Payees are completed from the address cards (.vcf) in this folder."), pane));
    return pane;
}

QLayout* PreferencesController::buildContactsFolderRow(QWidget* pane)
{
    m_contactsFolder = new QLineEdit(pane);
    m_contactsFolder->setObjectName(DefaultsKey::ContactsFolder);
    m_contactsFolder->setText(UserDefaults::standard().stringForKey(DefaultsKey::ContactsFolder));
    // A typed path counts once the field is left; an emptied one means the default folder.
    connect(m_contactsFolder, &QLineEdit::editingFinished, this, [this] {
        const QString typed = m_contactsFolder->text().trimmed();
        UserDefaults& defaults = UserDefaults::standard();
        if (typed.isEmpty())
            defaults.removeObjectForKey(DefaultsKey::ContactsFolder);
        else if (typed != defaults.stringForKey(DefaultsKey::ContactsFolder))
            defaults.setValue(DefaultsKey::ContactsFolder, typed);
        m_contactsFolder->setText(defaults.stringForKey(DefaultsKey::ContactsFolder));
    });
    auto* choose = new QPushButton(tr("Choose…"), pane);
    choose->setObjectName(QStringLiteral("chooseContactsFolder"));
    connect(choose, &QPushButton::clicked, this, &PreferencesController::chooseContactsFolder);
    auto* row = new QHBoxLayout;
    row->addWidget(m_contactsFolder, 1);
    row->addWidget(choose);
    return row;
}

void PreferencesController::chooseContactsFolder()
{
    const QString chosen = QFileDialog::getExistingDirectory(this, tr("Contacts Folder"), m_contactsFolder->text());
    if (chosen.isEmpty())
        return;
    UserDefaults::standard().setValue(DefaultsKey::ContactsFolder, chosen);
    m_contactsFolder->setText(chosen);
}

QWidget* PreferencesController::buildSharingPane()
{
    auto* pane = new QWidget(this);
    m_requireSharingPassword = new QCheckBox(tr("Require a password:"), pane);
    m_requireSharingPassword->setObjectName(QStringLiteral("requireSharingPassword"));
    m_sharingPassword = passwordField(QStringLiteral("sharingPassword"), pane);
    const bool required = m_passwords.sharingPasswordRequired();
    m_requireSharingPassword->setChecked(required);
    m_sharingPassword->setEnabled(required);
    m_sharingPassword->setText(UserDefaults::standard().stringForKey(DefaultsKey::SharePassword));

    connect(m_requireSharingPassword, &QCheckBox::clicked, this, &PreferencesController::requireSharingPassword);
    connect(m_sharingPassword, &QLineEdit::returnPressed, this, &PreferencesController::validateSharingPassword);
    connect(m_sharingPassword, &QLineEdit::textEdited, this, [this] { m_passwords.sharingPasswordEdited(); });
    // Leaving a filled field keeps what was typed; only Return or closing
    // the window complains about an empty one.
    connect(m_sharingPassword, &QLineEdit::editingFinished, this, [this] {
        if (!m_passwords.sharingPasswordSettled() && !m_sharingPassword->text().isEmpty())
            (void)m_passwords.validateSharingPassword(m_sharingPassword->text());
    });

    auto* passwordRow = new QHBoxLayout;
    passwordRow->addWidget(m_requireSharingPassword);
    passwordRow->addWidget(m_sharingPassword);
    passwordRow->addStretch(1);

    auto* layout = new QVBoxLayout(pane);
    layout->setContentsMargins(20, 16, 20, 16);
    layout->setSpacing(10);
    layout->addWidget(defaultsCheckBox(DefaultsKey::ShouldShare, tr("Share my folders on the local network"), pane));
    layout->addWidget(hintLabel(tr("Folders marked as shared are offered to other copies of Quillfen nearby."), pane));
    layout->addSpacing(6);
    layout->addWidget(defaultsCheckBox(DefaultsKey::ShouldFindShares, tr("Look for shared folders"), pane));
    layout->addWidget(hintLabel(tr("Folders that other copies share appear under SHARING in the sidebar."), pane));
    layout->addSpacing(6);
    layout->addLayout(passwordRow);
    layout->addWidget(hintLabel(tr("Others must give this password to open your shared folders. "
                                   "Press Return to set it."),
                                pane));
    layout->addStretch(1);
    return pane;
}

QWidget* PreferencesController::buildDatabasePane()
{
    auto* pane = new QWidget(this);
    m_encryptDatabase = new QCheckBox(tr("Lock the ledger with a password at start"), pane);
    m_encryptDatabase->setObjectName(DefaultsKey::ShouldEncryptDatabase);
    m_encryptDatabase->setChecked(m_passwords.databaseEncrypted());
    m_databasePassword = passwordField(QStringLiteral("databasePassword"), pane);
    m_databasePassword->setEnabled(m_passwords.databaseEncrypted());

    connect(m_encryptDatabase, &QCheckBox::clicked, this, &PreferencesController::encryptDatabase);
    connect(m_databasePassword, &QLineEdit::returnPressed, this, &PreferencesController::validateDatabasePassword);
    connect(m_databasePassword, &QLineEdit::textEdited, this, [this] { m_passwords.databasePasswordEdited(); });
    connect(m_databasePassword, &QLineEdit::editingFinished, this, [this] {
        if (!m_passwords.databasePasswordSettled() && !m_databasePassword->text().isEmpty())
            (void)m_passwords.validateDatabasePassword(m_databasePassword->text());
    });

    auto* form = new QFormLayout;
    form->addRow(tr("Password:"), m_databasePassword);
    auto* layout = new QVBoxLayout(pane);
    layout->setContentsMargins(20, 16, 20, 16);
    layout->setSpacing(10);
    layout->addWidget(m_encryptDatabase);
    layout->addLayout(form);
    layout->addWidget(hintLabel(tr("Quillfen asks for this password each time it starts. "
                                   "File \u25B8 Lock Database locks the window at once. "
                                   "The password is kept in your keyring."),
                                pane));

    // Desktop search: the records it reads, kept beside the ledger.
    auto* search = new QLabel(tr("Desktop search"), pane);
    QFont bold = search->font();
    bold.setBold(true);
    search->setFont(bold);
    auto* reindex = new QPushButton(tr("Re-index"), pane);
    reindex->setObjectName(QStringLiteral("reindexButton"));
    m_reindexResult = new QLabel(pane);
    m_reindexResult->setObjectName(QStringLiteral("reindexResult"));
    m_reindexResult->setForegroundRole(QPalette::PlaceholderText);
    connect(reindex, &QPushButton::clicked, this, &PreferencesController::reindexSpotlight);
    auto* reindexRow = new QHBoxLayout;
    reindexRow->addWidget(reindex);
    reindexRow->addWidget(m_reindexResult, 1);
    layout->addSpacing(12);
    layout->addWidget(search);
    layout->addWidget(defaultsCheckBox(DefaultsKey::EnableSpotlightIndexing,
                                       tr("Make transactions findable when Quillfen starts"), pane));
    layout->addLayout(reindexRow);
    layout->addWidget(hintLabel(tr("Re-index writes every transaction's search record again and removes those of "
                                   "deleted transactions."),
                                pane));
    layout->addStretch(1);
    return pane;
}

void PreferencesController::reindexSpotlight()
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const int written = m_delegate.reindexTransactions();
    QApplication::restoreOverrideCursor();
    m_reindexResult->setText(written == 1 ? tr("1 transaction indexed.") : tr("%1 transactions indexed.").arg(written));
}

void PreferencesController::changePane(int tag)
{
    if (tag < GeneralPane || tag > SharingPane)
        return;
    if (tag == DatabasePane && !m_databasePaneShown) {
        m_databasePaneShown = true;
        if (const std::optional<QString> stored = DatabasePassword::read(); stored && !stored->isNull())
            m_databasePassword->setText(*stored);
    }
    m_currentTag = tag;
    // Each pane gets the height it needs: hidden panes must not count.
    for (int i = 0; i < m_panes->count(); ++i)
        m_panes->widget(i)->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    m_panes->widget(tag)->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    m_panes->setCurrentIndex(tag);
    // Wrapped hints make a pane's plain size hint tall and narrow; ask for
    // the height at the window's width instead.
    QWidget* page = m_panes->widget(tag);
    const int paneHeight = page->hasHeightForWidth() ? page->heightForWidth(width()) : page->sizeHint().height();
    resize(width(), m_toolBar->sizeHint().height() + paneHeight);
    for (QAction* action : m_paneActions->actions()) {
        if (action->data().toInt() == tag) {
            action->setChecked(true);
            setWindowTitle(action->text());
        }
    }
}

void PreferencesController::requireSharingPassword(bool ticked)
{
    m_passwords.requireSharingPassword(ticked);
    m_sharingPassword->setEnabled(ticked);
    if (ticked) {
        m_sharingPassword->setFocus();
    } else {
        m_sharingPassword->clear();
        ErrorController::sharedInstance().closeErrorPanel();
    }
}

void PreferencesController::validateSharingPassword()
{
    if (m_passwords.validateSharingPassword(m_sharingPassword->text()) == PasswordFeedback::Beep)
        refuse(m_sharingPassword, SharingPane);
}

void PreferencesController::encryptDatabase(bool ticked)
{
    m_passwords.encryptDatabase(ticked);
    m_databasePassword->setEnabled(ticked);
    if (ticked) {
        m_databasePassword->setFocus();
    } else {
        // The stored password is gone; its text must not come back on close.
        m_databasePassword->clear();
        ErrorController::sharedInstance().closeErrorPanel();
    }
}

void PreferencesController::validateDatabasePassword()
{
    if (m_passwords.validateDatabasePassword(m_databasePassword->text()) == PasswordFeedback::Beep)
        refuse(m_databasePassword, DatabasePane);
}

bool PreferencesController::windowShouldClose()
{
    if (m_passwords.windowShouldClose(m_databasePassword->text(), m_sharingPassword->text()))
        return true;
    if (!m_passwords.databasePasswordSettled())
        refuse(m_databasePassword, DatabasePane);
    else
        refuse(m_sharingPassword, SharingPane);
    return false;
}

void PreferencesController::refuse(QLineEdit* field, int tag)
{
    QApplication::beep();
    changePane(tag);
    field->setFocus();
    if (isVisible())
        ErrorController::sharedInstance().displayErrorFromField(field);
}

void PreferencesController::closeEvent(QCloseEvent* event)
{
    if (!windowShouldClose()) {
        event->ignore();
        return;
    }
    ErrorController::sharedInstance().closeErrorPanel();
    event->accept();
}

void PreferencesController::localeChosen(const QString& identifier)
{
    UserDefaults::standard().setValue(DefaultsKey::LocaleIdentifier, identifier);
    UserDefaults::standard().synchronize();
    m_delegate.localePreferenceChanged();
    updateSample();
    Q_EMIT localePreferenceChanged();
}

void PreferencesController::updateSample()
{
    // Noon of 31 December 2024, as the ledger stores dates.
    const AbsoluteTime sampleDate = 757339200.0;
    m_sample->setText(tr("Amounts look like %1, dates like %2 and %3.")
                          .arg(m_delegate.amountFormatter().format(-1234.56),
                               m_delegate.shortDateFormatter().format(sampleDate),
                               m_delegate.longDateFormatter().format(sampleDate)));
}

void PreferencesController::defaultsChanged(const QString& key)
{
    if (key == DefaultsKey::SourceSize) {
        const int index = m_iconSize->findData(UserDefaults::standard().stringForKey(DefaultsKey::SourceSize));
        m_iconSize->setCurrentIndex(index < 0 ? 0 : index);
    } else if (key == DefaultsKey::ShouldEncryptDatabase && m_encryptDatabase) {
        // The lock command turns locking off when it finds no password.
        const bool on = UserDefaults::standard().boolForKey(key);
        m_encryptDatabase->setChecked(on);
        m_databasePassword->setEnabled(on);
    } else if (auto* box = findChild<QCheckBox*>(key)) {
        box->setChecked(UserDefaults::standard().boolForKey(key));
    }
}

} // namespace qf
