#include "app/ui/MainWindow.h"
#include "editing/AccountRecords.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "support/EventWait.h"
#include "support/FileBytes.h"
#include "support/TempLedger.h"
#include "views/ui/AccountController.h"
#include "views/ui/AccountOnlineController.h"
#include "views/ui/LibraryController.h"
#include "views/ui/SourceController.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTimer>
#include <QToolButton>
#include <QUrl>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace qf;
using qf::test::TempLedger;
using qf::test::readFile;
using qf::test::writeFile;

namespace {

// The statements a controller handed on, with the account of each.
struct Handed {
    std::vector<std::pair<QString, ManagedObject*>> calls;
    template <class Sender>
    explicit Handed(Sender* sender)
    {
        QObject::connect(sender, &Sender::statementDownloaded, sender,
                         [this](const QString& path, ManagedObject* vault) { calls.emplace_back(path, vault); });
    }
};

class AccountOnlineControllerTest : public ::testing::Test {
protected:
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* account = nullptr;
    QTemporaryDir downloads;

    void SetUp() override
    {
        AccountOnlineController::setPreferredBrowser(AccountOnlineController::Browser::External);
        AccountDetails details;
        details.title = QStringLiteral("Everyday");
        details.bankName = QStringLiteral("Harbor Bank");
        details.accountType = QStringLiteral("Checking");
        details.url = QStringLiteral("bank.example/login");
        account = AccountRecords::createAccount(context, ledger.delegate(), details);
        ASSERT_TRUE(ledger.delegate().saveAction());
    }

    QString statementFile(const char* name)
    {
        const QString path = downloads.filePath(QLatin1String(name));
        EXPECT_TRUE(writeFile(path, "OFXHEADER:100\n\n<OFX>\n"));
        return path;
    }
};

} // namespace

TEST_F(AccountOnlineControllerTest, WithoutEmbeddedBrowserOffersTheSiteAndAnImport)
{
    AccountOnlineController online(AccountOnlineController::Browser::External);
    EXPECT_FALSE(online.embedsBrowser());
    online.setupOnlinePane(account);
    auto* open = online.findChild<QPushButton*>(QStringLiteral("openInBrowser"));
    ASSERT_NE(open, nullptr);
    ASSERT_NE(online.findChild<QPushButton*>(QStringLiteral("importDownloaded")), nullptr);
    EXPECT_TRUE(open->isEnabled());
    EXPECT_EQ(online.findChild<QLabel*>(QStringLiteral("onlineAddress"))->text(), QStringLiteral("http://bank.example/login"));

    // An account without an address says how to add one and opens nothing.
    account->setValueForKey(u"vault_accountURL", Value(QString()));
    online.setupOnlinePane(account);
    EXPECT_FALSE(open->isEnabled());
    EXPECT_TRUE(online.findChild<QLabel*>(QStringLiteral("onlineAddress"))->text().contains(QStringLiteral("no web address")));

    // Statement files go on with the account, whatever the case of their
    // extension; anything else does not.
    Handed handed(&online);
    online.importStatementFile(QStringLiteral("/tmp/March.QFX"));
    online.importStatementFile(QStringLiteral("/tmp/March.qif"));
    online.importStatementFile(QStringLiteral("/tmp/March.pdf"));
    ASSERT_EQ(handed.calls.size(), 2u);
    EXPECT_EQ(handed.calls[0].first, QStringLiteral("/tmp/March.QFX"));
    EXPECT_EQ(handed.calls[0].second, account);
    EXPECT_EQ(handed.calls[1].first, QStringLiteral("/tmp/March.qif"));
}

TEST_F(AccountOnlineControllerTest, ImportDownloadedFileHandsOnTheChosenFile)
{
    AccountOnlineController online(AccountOnlineController::Browser::External);
    online.setupOnlinePane(account);
    online.show();
    const QString path = statementFile("statement.ofx");
    Handed handed(&online);
    bool answered = false;
    QTimer::singleShot(0, [&] {
        auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        dialog->setDirectory(downloads.path());
        dialog->selectFile(path);
        answered = true;
        static_cast<QDialog*>(dialog)->accept();
    });
    online.findChild<QPushButton*>(QStringLiteral("importDownloaded"))->click();
    EXPECT_TRUE(answered);
    ASSERT_EQ(handed.calls.size(), 1u);
    EXPECT_EQ(handed.calls[0].first, path);
    EXPECT_EQ(handed.calls[0].second, account);

    // Cancelling the dialog hands on nothing.
    QTimer::singleShot(0, [] {
        if (auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget()))
            dialog->reject();
    });
    online.findChild<QPushButton*>(QStringLiteral("importDownloaded"))->click();
    EXPECT_EQ(handed.calls.size(), 1u);
}

TEST_F(AccountOnlineControllerTest, TabsSwitchTheViewAndAreRememberedWithoutUndo)
{
    MainWindow window(ledger.delegate());
    window.setupSourceList();
    const QString id = account->valueForKey(u"vault_uniqueID").toString();
    ASSERT_TRUE(window.sourceController()->selectControllerWithID(id));
    auto* pane = window.findChild<AccountController*>();
    auto* views = window.libraryController()->parentWidget();
    ASSERT_NE(qobject_cast<QStackedWidget*>(views), nullptr);
    auto current = [views] { return static_cast<QStackedWidget*>(views)->currentWidget(); };
    EXPECT_EQ(current(), window.libraryController());
    EXPECT_EQ(pane->selectedTab(), QStringLiteral("Transactions"));
    context.processPendingChanges();
    context.undoManager().removeAllActions();
    pane->findChild<QToolButton*>(QStringLiteral("onlineTab"))->click();
    context.processPendingChanges();
    EXPECT_EQ(current(), pane->onlineView());
    EXPECT_EQ(pane->parentWidget(), pane->onlineView()); // the details stay above the tab
    EXPECT_EQ(window.libraryController()->infoPane(), nullptr);
    EXPECT_EQ(account->valueForKey(u"vault_tabSelected").toString(), QStringLiteral("Online"));
    EXPECT_FALSE(context.undoManager().canUndo());
    // Editing the address above the tab shows the new one.
    pane->editAccountInfo();
    pane->findChild<QLineEdit*>(QStringLiteral("accountURL"))->setText(QStringLiteral("harbor.example"));
    ASSERT_TRUE(pane->saveEditAccountInfo());
    EXPECT_EQ(pane->onlineController()->findChild<QLabel*>(QStringLiteral("onlineAddress"))->text(),
              QStringLiteral("http://harbor.example"));

    // Another vault and back: the account reopens on its last tab.
    ManagedObject* library = ledger.delegate().fetchVaultObjectsWithType(VaultType::MasterVault).front();
    ASSERT_TRUE(window.sourceController()->selectControllerWithID(library->valueForKey(u"vault_uniqueID").toString()));
    ASSERT_TRUE(window.sourceController()->selectControllerWithID(id));
    EXPECT_EQ(current(), pane->onlineView());

    pane->findChild<QToolButton*>(QStringLiteral("transactionsTab"))->click();
    EXPECT_EQ(current(), window.libraryController());
    EXPECT_EQ(window.libraryController()->infoPane(), pane);
    EXPECT_TRUE(pane->isVisibleTo(&window));
    EXPECT_EQ(account->valueForKey(u"vault_tabSelected").toString(), QStringLiteral("Transactions"));
}

TEST_F(AccountOnlineControllerTest, EmbeddedBrowserSavesAStatementOverAnOlderOneAndHandsItOn)
{
    if (!AccountOnlineController::canEmbedBrowser())
        GTEST_SKIP() << "built without Qt WebEngine";
    // The renderer refuses to run as root inside its sandbox.
    if (geteuid() == 0)
        qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    QTemporaryDir site;
    ASSERT_TRUE(writeFile(site.filePath(QStringLiteral("March.QFX")),
                          "OFXHEADER:100\n\n<OFX><BANKTRANLIST><STMTTRN><NAME>NEW</STMTTRN></BANKTRANLIST></OFX>\n"));
    const QString page = site.filePath(QStringLiteral("bank.html"));
    ASSERT_TRUE(writeFile(page, "<html><head><title>Harbor Online</title></head><body><a id=s href=\"March.QFX\" "
                                "download>March</a><script>window.onload = () => "
                                "document.getElementById('s').click();</script></body></html>"));
    account->setValueForKey(u"vault_accountURL", Value(QUrl::fromLocalFile(page).toString()));
    const QString older = downloads.filePath(QStringLiteral("March.QFX"));
    ASSERT_TRUE(writeFile(older, "older download"));

    QWidget window;
    window.setWindowTitle(QStringLiteral("Quillfen"));
    auto* online = new AccountOnlineController(AccountOnlineController::Browser::Embedded, &window);
    online->setDownloadFolder(downloads.path());
    Handed handed(online);
    window.show();
    online->setupOnlinePane(account);
    ASSERT_TRUE(qf::test::waitUntil([&] { return !handed.calls.empty(); }, 60000));
    ASSERT_EQ(handed.calls.size(), 1u);
    EXPECT_EQ(handed.calls[0].first, older);
    EXPECT_EQ(handed.calls[0].second, account);
    EXPECT_TRUE(readFile(older).contains("<NAME>NEW"));
    // The window is titled after the bank's page while the tab is shown.
    EXPECT_EQ(window.windowTitle(), QStringLiteral("Harbor Online"));
    online->hide();
    EXPECT_EQ(window.windowTitle(), QStringLiteral("Quillfen"));
}
