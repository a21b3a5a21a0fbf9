#include "app/SoundPlayer.h"
#include "app/UserDefaults.h"
#include "app/ui/ErrorController.h"
#include "app/ui/LocalePicker.h"
#include "app/ui/LockPanelController.h"
#include "app/ui/MainWindow.h"
#include "app/ui/PreferencesController.h"
#include "editing/ContactBook.h"
#include "support/EventWait.h"
#include "support/ModalAnswer.h"
#include "support/TempLedger.h"
#include "sync/PasswordFileStore.h"
#include "sync/ZRKeychain.h"
#include "ui/WidgetTestSupport.h"
#include "views/ui/LibraryController.h"
#include "views/ui/SourceController.h"
#include "views/ui/TransactionTableModel.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QStatusBar>
#include <QTableView>
#include <QTemporaryDir>
#include <QToolBar>
#include <QToolButton>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::menuAction;
using qf::test::RecordingPlayer;
using qf::test::TempLedger;
using qf::test::answerNextModal;
using qf::test::waitUntil;
namespace Db = DatabasePasswordItem;

namespace {

class PreferencesAndLockTest : public ::testing::Test {
protected:
    QTemporaryDir keychainDir;
    TempLedger ledger;
    QStringList played;

    void SetUp() override
    {
        ZRKeychain::useStores(nullptr, std::make_unique<PasswordFileStore>(keychainDir.path()));
        SoundPlayer::setShared(std::make_unique<RecordingPlayer>(played));
        ledger.launch();
        ledger.addTransaction(QStringLiteral("Rent"), -950, QStringLiteral("home"));
        clearKeys();
    }
    void TearDown() override
    {
        clearKeys();
        SoundPlayer::setShared(nullptr);
        ZRKeychain::useDefaultStores();
    }
    static void clearKeys()
    {
        for (const QString& key : {DefaultsKey::SharePassword, DefaultsKey::ShouldEncryptDatabase,
                                   DefaultsKey::ShouldUseAnimation, DefaultsKey::ShouldShare,
                                   DefaultsKey::ContactsFolder})
            UserDefaults::standard().removeObjectForKey(key);
        UserDefaults::standard().synchronize();
    }
    static void storePassword(const QString& password)
    {
        ASSERT_TRUE(ZRKeychain::addKeychainItem(Db::itemName, Db::itemKind, Db::username, password));
    }
    static int items() { return ZRKeychain::checkForExistanceOfKeychainItem(Db::itemName, Db::itemKind, Db::username); }
};

} // namespace

TEST_F(PreferencesAndLockTest, ToolbarHasThreeFixedPanesInOrderWithTheirTags)
{
    MainWindow window(ledger.delegate());
    QAction* open = menuAction(window, QStringLiteral("&Edit"), QStringLiteral("Preferences…"));
    ASSERT_NE(open, nullptr);
    EXPECT_TRUE(open->shortcuts().contains(QKeySequence(Qt::CTRL | Qt::Key_Comma)));
    open->trigger();
    auto* preferences = window.findChild<PreferencesController*>();
    ASSERT_NE(preferences, nullptr);
    EXPECT_TRUE(preferences->isVisible());
    EXPECT_EQ(window.openPreferences(), preferences) << "one window, kept";

    QList<QToolBar*> bars = preferences->findChildren<QToolBar*>();
    ASSERT_EQ(bars.size(), 1);
    QToolBar* bar = bars.front();
    QStringList panes;
    for (QAction* action : bar->actions()) {
        panes << QStringLiteral("%1=%2").arg(action->text()).arg(action->data().toInt());
        EXPECT_FALSE(action->icon().isNull()) << action->text().toStdString();
    }
    EXPECT_EQ(panes, QStringList({QStringLiteral("General=0"), QStringLiteral("Sharing=2"), QStringLiteral("Database=1")}));

    bar->actions().at(1)->trigger();
    EXPECT_EQ(preferences->currentPaneTag(), PreferencesController::SharingPane);
    EXPECT_TRUE(preferences->findChild<QCheckBox*>(DefaultsKey::ShouldShare)->isVisible());
    EXPECT_FALSE(preferences->findChild<QCheckBox*>(DefaultsKey::ShouldUseAnimation)->isVisible());
    // An untouched window closes.
    EXPECT_TRUE(preferences->close());
}

TEST_F(PreferencesAndLockTest, SwitchesWriteTheDefaultsAndFollowChangesMadeElsewhere)
{
    MainWindow window(ledger.delegate());
    PreferencesController* preferences = window.openPreferences();
    auto* share = preferences->findChild<QCheckBox*>(DefaultsKey::ShouldShare);
    ASSERT_TRUE(share->isChecked());
    share->click();
    EXPECT_FALSE(UserDefaults::standard().boolForKey(DefaultsKey::ShouldShare));
    auto* animate = preferences->findChild<QCheckBox*>(DefaultsKey::ShouldUseAnimation);
    animate->click();
    EXPECT_FALSE(UserDefaults::standard().boolForKey(DefaultsKey::ShouldUseAnimation));

    auto* size = preferences->findChild<QComboBox*>(DefaultsKey::SourceSize);
    const QString before = UserDefaults::standard().stringForKey(DefaultsKey::SourceSize);
    window.sourceController()->toggleVaultIconSize();
    EXPECT_EQ(size->currentData().toString(), UserDefaults::standard().stringForKey(DefaultsKey::SourceSize));
    size->setCurrentIndex(size->findData(before));
    Q_EMIT size->activated(size->currentIndex());
    EXPECT_EQ(UserDefaults::standard().stringForKey(DefaultsKey::SourceSize), before);
    UserDefaults::standard().removeObjectForKey(DefaultsKey::SourceSize);
}

TEST_F(PreferencesAndLockTest, SharingPasswordBoxAndField)
{
    UserDefaults::standard().setValue(DefaultsKey::SharePassword, QStringLiteral("earlier"));
    MainWindow window(ledger.delegate());
    PreferencesController* preferences = window.openPreferences();
    preferences->changePane(PreferencesController::SharingPane);
    auto* box = preferences->findChild<QCheckBox*>(QStringLiteral("requireSharingPassword"));
    auto* field = preferences->findChild<QLineEdit*>(QStringLiteral("sharingPassword"));
    ASSERT_TRUE(box->isChecked());
    EXPECT_TRUE(field->isEnabled());
    EXPECT_EQ(field->text(), QStringLiteral("earlier"));

    // Unticking clears the stored password, though one was set.
    box->click();
    EXPECT_EQ(UserDefaults::standard().stringForKey(DefaultsKey::SharePassword), QString());
    EXPECT_FALSE(field->isEnabled());

    // Ticked with an empty field: Return refuses and marks the field; closing is refused.
    box->click();
    Q_EMIT field->returnPressed();
    EXPECT_EQ(ErrorController::sharedInstance().field(), field);
    EXPECT_FALSE(preferences->close());
    field->setText(QStringLiteral("hunter2"));
    Q_EMIT field->returnPressed();
    EXPECT_EQ(UserDefaults::standard().stringForKey(DefaultsKey::SharePassword), QStringLiteral("hunter2"));
    EXPECT_TRUE(preferences->close());
}

TEST_F(PreferencesAndLockTest, DatabasePaneFillsFromTheKeychainAndRefusesToCloseWithoutAPassword)
{
    storePassword(QStringLiteral("vault key"));
    UserDefaults::standard().setValue(DefaultsKey::ShouldEncryptDatabase, true);
    MainWindow window(ledger.delegate());
    PreferencesController* preferences = window.openPreferences();
    auto* encrypt = preferences->findChild<QCheckBox*>(DefaultsKey::ShouldEncryptDatabase);
    auto* field = preferences->findChild<QLineEdit*>(QStringLiteral("databasePassword"));
    EXPECT_TRUE(field->text().isEmpty()) << "read only when the pane is first chosen";
    preferences->changePane(PreferencesController::DatabasePane);
    EXPECT_TRUE(encrypt->isChecked());
    EXPECT_EQ(field->text(), QStringLiteral("vault key"));
    EXPECT_EQ(field->echoMode(), QLineEdit::Password);

    // Unticking removes the item; ticking again without typing keeps the window open.
    encrypt->click();
    EXPECT_EQ(items(), 0);
    encrypt->click();
    preferences->changePane(PreferencesController::GeneralPane);
    EXPECT_FALSE(preferences->close());
    EXPECT_EQ(preferences->currentPaneTag(), PreferencesController::DatabasePane) << "the refusal shows the field";
    EXPECT_EQ(items(), 0);

    field->setText(QStringLiteral("new key"));
    EXPECT_TRUE(preferences->close()) << "closing validates the typed password";
    EXPECT_EQ(ZRKeychain::getPasswordFromKeychainItem(Db::itemName, Db::itemKind, Db::username),
              QStringLiteral("new key"));
}

TEST_F(PreferencesAndLockTest, ChoosingALocaleReformatsTheMainWindow)
{
    const QVariant stored = UserDefaults::standard().value(DefaultsKey::LocaleIdentifier);
    MainWindow window(ledger.delegate());
    window.setupSourceList();
    QAbstractItemModel* table = window.libraryController()->tableView()->model();
    ASSERT_EQ(table->rowCount(), 1);
    const QString dollars = table->index(0, TransactionTableModel::AmountColumn).data().toString();
    EXPECT_TRUE(dollars.contains(QLatin1Char('$'))) << dollars.toStdString();

    PreferencesController* preferences = window.openPreferences();
    auto* picker = preferences->findChild<LocalePicker*>();
    ASSERT_NE(picker, nullptr);
    EXPECT_EQ(picker->currentIdentifier(), QStringLiteral("en_US"));
    const int all = picker->visibleCount();
    picker->searchField()->setText(QStringLiteral("GERMANY"));
    EXPECT_GE(picker->visibleCount(), 1);
    EXPECT_LT(picker->visibleCount(), 10);
    picker->searchField()->setText(QStringLiteral("de_CH"));
    EXPECT_EQ(picker->visibleCount(), 1) << "identifiers are searched too";
    picker->searchField()->clear();
    EXPECT_EQ(picker->visibleCount(), all);
    EXPECT_EQ(UserDefaults::standard().stringForKey(DefaultsKey::LocaleIdentifier), QStringLiteral("en_US"))
        << "searching alone changes nothing";

    int announced = 0;
    QObject::connect(preferences, &PreferencesController::localePreferenceChanged, [&] { ++announced; });
    ASSERT_TRUE(picker->chooseIdentifier(QStringLiteral("de_DE")));
    EXPECT_EQ(announced, 1);
    EXPECT_EQ(UserDefaults::standard().stringForKey(DefaultsKey::LocaleIdentifier), QStringLiteral("de_DE"));
    const QString euros = table->index(0, TransactionTableModel::AmountColumn).data().toString();
    EXPECT_TRUE(euros.contains(QStringLiteral("€"))) << euros.toStdString();
    EXPECT_TRUE(preferences->findChild<QLabel*>(QStringLiteral("localeSample"))->text().contains(QStringLiteral("€")));

    UserDefaults::standard().setValue(DefaultsKey::LocaleIdentifier, stored);
    UserDefaults::standard().setVolatileValue(DefaultsKey::LocaleIdentifier, QStringLiteral("en_US"));
    ledger.delegate().localePreferenceChanged();
}

TEST_F(PreferencesAndLockTest, LockCoversTheWindowAndUnlocksOnlyWithThePassword)
{
    UserDefaults::standard().setValue(DefaultsKey::ShouldUseAnimation, false);
    MainWindow window(ledger.delegate());
    window.setupSourceList();
    window.show();
    QAction* lockAction = menuAction(window, QStringLiteral("&File"), QStringLiteral("Lock Database"));
    ASSERT_NE(lockAction, nullptr);
    QMenu* file = window.menuBar()->actions().front()->menu();

    // No password: the command is off, and locking turns encryption off instead.
    UserDefaults::standard().setValue(DefaultsKey::ShouldEncryptDatabase, true);
    Q_EMIT file->aboutToShow();
    EXPECT_FALSE(lockAction->isEnabled());
    LockPanelController* lock = window.lockPanel();
    lock->lockDatabase();
    EXPECT_FALSE(lock->databaseLocked());
    EXPECT_FALSE(UserDefaults::standard().boolForKey(DefaultsKey::ShouldEncryptDatabase));
    EXPECT_TRUE(played.isEmpty());

    storePassword(QStringLiteral("s3cret"));
    Q_EMIT file->aboutToShow();
    ASSERT_TRUE(lockAction->isEnabled());
    PreferencesController* preferences = window.openPreferences();
    lockAction->trigger();
    EXPECT_FALSE(preferences->isVisible()) << "its password field would open the lock";
    ASSERT_TRUE(lock->databaseLocked());
    EXPECT_EQ(played, QStringList{QStringLiteral("lockClosing")});
    EXPECT_TRUE(lock->panel()->isVisible());
    EXPECT_EQ(lock->panel()->geometry().bottom(), window.rect().bottom());
    EXPECT_GE(lock->panel()->geometry().top(), window.menuBar()->geometry().bottom());
    EXPECT_FALSE(window.centralWidget()->isEnabled());
    EXPECT_FALSE(window.statusBar()->isEnabled());
    // Only Quit is left among the menu commands.
    QStringList enabled;
    for (QAction* top : window.menuBar()->actions()) {
        for (QAction* action : top->menu()->actions()) {
            if (!action->isSeparator() && action->isEnabled())
                enabled << action->text();
        }
    }
    EXPECT_EQ(enabled, QStringList{QStringLiteral("Quit")});

    // A wrong password leaves it locked and is cleared.
    lock->passwordField()->setText(QStringLiteral("S3cret"));
    Q_EMIT lock->passwordField()->returnPressed();
    EXPECT_TRUE(lock->databaseLocked());
    EXPECT_TRUE(lock->passwordField()->text().isEmpty());
    EXPECT_TRUE(lock->isShaking());

    lock->passwordField()->setText(QStringLiteral("s3cret"));
    Q_EMIT lock->passwordField()->returnPressed();
    EXPECT_FALSE(lock->databaseLocked());
    EXPECT_EQ(played, QStringList({QStringLiteral("lockClosing"), QStringLiteral("lockOpening")}));
    EXPECT_FALSE(lock->panel()->isVisible());
    EXPECT_TRUE(window.centralWidget()->isEnabled());
    EXPECT_TRUE(menuAction(window, QStringLiteral("&Edit"), QStringLiteral("Preferences…"))->isEnabled());
    EXPECT_TRUE(lock->passwordField()->text().isEmpty()) << "the password is not left in the field";
}

TEST_F(PreferencesAndLockTest, AnimatedLockFadesInAndOut)
{
    UserDefaults::standard().setValue(DefaultsKey::ShouldUseAnimation, true);
    storePassword(QStringLiteral("pw"));
    MainWindow window(ledger.delegate());
    window.show();
    LockPanelController* lock = window.lockPanel();
    lock->setAnimationDuration(40);
    lock->lockDatabase();
    EXPECT_TRUE(lock->isTransitionRunning());
    EXPECT_TRUE(lock->panel()->isVisible());
    ASSERT_TRUE(waitUntil([&] { return !lock->isTransitionRunning(); }));
    lock->lockDatabase(); // already locked: no second sound
    EXPECT_EQ(played, QStringList{QStringLiteral("lockClosing")});

    lock->passwordField()->setText(QStringLiteral("pw"));
    lock->unlockDatabase();
    EXPECT_FALSE(lock->databaseLocked());
    EXPECT_TRUE(lock->panel()->isVisible()) << "still fading out";
    ASSERT_TRUE(waitUntil([&] { return !lock->panel()->isVisible(); }));
    EXPECT_TRUE(window.centralWidget()->isEnabled());
}

TEST_F(PreferencesAndLockTest, LockedBeforeTheWindowFirstShows)
{
    storePassword(QStringLiteral("pw"));
    MainWindow window(ledger.delegate());
    window.setupSourceList();
    window.lockPanel()->lockDatabase();
    EXPECT_FALSE(window.lockPanel()->isTransitionRunning()) << "nothing to fade while hidden";
    window.resize(900, 600);
    window.show();
    ASSERT_TRUE(waitUntil([&] { return window.lockPanel()->panel()->isVisible(); }));
    EXPECT_EQ(window.lockPanel()->panel()->width(), window.width());
    EXPECT_EQ(window.lockPanel()->panel()->geometry().bottom(), window.rect().bottom());
    EXPECT_GT(window.lockPanel()->panel()->y(), 0) << "the menu bar stays reachable";
}

TEST_F(PreferencesAndLockTest, ContactsFolderIsChosenInTheGeneralPaneAndEmptyMeansTheDefault)
{
    MainWindow window(ledger.delegate());
    PreferencesController* preferences = window.openPreferences();
    auto* field = preferences->findChild<QLineEdit*>(DefaultsKey::ContactsFolder);
    ASSERT_NE(field, nullptr);
    EXPECT_TRUE(field->isVisible());
    EXPECT_EQ(field->text(), ContactBook::defaultFolder());

    const QString chosen = QStringLiteral(QUILLFEN_TEST_DATA_DIR "/contacts/sub");
    answerNextModal([&](QWidget* modal) {
        auto* dialog = qobject_cast<QFileDialog*>(modal);
        ASSERT_NE(dialog, nullptr);
        dialog->setDirectory(QStringLiteral(QUILLFEN_TEST_DATA_DIR "/contacts"));
        dialog->selectFile(QStringLiteral("sub"));
        QMetaObject::invokeMethod(dialog, "accept");
    });
    preferences->findChild<QPushButton*>(QStringLiteral("chooseContactsFolder"))->click();
    EXPECT_EQ(UserDefaults::standard().stringForKey(DefaultsKey::ContactsFolder), chosen);
    EXPECT_EQ(field->text(), chosen);
    EXPECT_EQ(ContactBook::chosenFolder(), chosen);

    field->setText(QStringLiteral("  "));
    Q_EMIT field->editingFinished();
    EXPECT_FALSE(UserDefaults::standard().contains(DefaultsKey::ContactsFolder));
    EXPECT_EQ(field->text(), ContactBook::defaultFolder());
    EXPECT_EQ(ContactBook::chosenFolder(), ContactBook::defaultFolder());
}
