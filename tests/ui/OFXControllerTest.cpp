#include "app/ui/MainWindow.h"
#include "exchange/QIFImport.h"
#include "exchange/ui/OFXController.h"
#include "exchange/ui/QIFController.h"
#include "store/ManagedObjectContext.h"
#include "support/TempLedger.h"
#include "views/ui/AccountController.h"
#include "views/ui/AccountOnlineController.h"
#include "views/ui/SourceController.h"

#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QMessageBox>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;

namespace {

QString dataPath(const char* name)
{
    return QStringLiteral(QUILLFEN_TEST_DATA_DIR "/") + QString::fromLatin1(name);
}

class OFXControllerTest : public ::testing::Test {
protected:
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    ManagedObject* account = nullptr;
    std::unique_ptr<MainWindow> window;

    void SetUp() override
    {
        AccountOnlineController::setPreferredBrowser(AccountOnlineController::Browser::External);
        account = ledger.addAccount(QStringLiteral("Checking"));
        ASSERT_TRUE(ledger.delegate().saveAction());
        window = std::make_unique<MainWindow>(ledger.delegate());
        window->setupSourceList();
    }

    QString accountID() const { return account->valueForKey(u"vault_uniqueID").toString(); }
};

} // namespace

TEST_F(OFXControllerTest, StatementOpensTheSheetUncheckedAndImportsWhatIsChecked)
{
    QIFController* sheet = window->qifController();
    ASSERT_TRUE(window->ofxController()->loadImportOFXPanelWithQIFFile(dataPath("ofx/sgml-checking.ofx"), account));
    ASSERT_TRUE(sheet->sheet()->isVisible());
    EXPECT_FALSE(sheet->datePanel()->isVisible()); // a statement's dates need no question
    EXPECT_EQ(sheet->vaultID(), accountID());
    const auto& records = sheet->importCore().QIFTransactions();
    ASSERT_EQ(records.size(), 3u);
    for (const ValueDictionary& record : records)
        EXPECT_FALSE(QIFImport::shouldImport(record));

    sheet->checkAll();
    sheet->done();
    std::vector<ManagedObject*> made = ledger.delegate().fetchObjectsWithEntityName(
        QStringLiteral("TransEntity"), QStringLiteral("trans_QIFUniqueID"), Value(QStringLiteral("2024013100003")));
    ASSERT_EQ(made.size(), 1u);
    EXPECT_EQ(made.front()->valueForKey(u"trans_title").toString(), QStringLiteral("CITY WATER & SEWER"));
    EXPECT_EQ(made.front()->valueForKey(u"trans_accountID").toString(), accountID());
    EXPECT_FLOAT_EQ(float(made.front()->valueForKey(u"trans_amount").toDouble()), -120.5f);
}

TEST_F(OFXControllerTest, UnreadableStatementShowsWhyAndOpensNoSheet)
{
    EXPECT_FALSE(window->ofxController()->loadImportOFXPanelWithQIFFile(dataPath("ofx/latin1.ofx"), account));
    auto* alert = window->findChild<QMessageBox*>(QStringLiteral("ofxAlert"));
    ASSERT_NE(alert, nullptr);
    EXPECT_EQ(alert->text(), QStringLiteral("The statement is not UTF-8 text (at position 82)"));
    alert->close();
    EXPECT_FALSE(window->qifController()->sheet() && window->qifController()->sheet()->isVisible());
}

TEST_F(OFXControllerTest, DownloadedStatementsTakeTheImportTheirExtensionNames)
{
    ASSERT_TRUE(window->sourceController()->selectControllerWithID(accountID()));
    AccountOnlineController* online = window->findChild<AccountController*>()->onlineController();
    online->setupOnlinePane(account);
    // The same file under an upper-case .QFX name is a statement too.
    const QString upper = QDir::temp().filePath(QStringLiteral("quillfen-ofx-test.QFX"));
    QFile::remove(upper);
    ASSERT_TRUE(QFile::copy(dataPath("ofx/two-statements.ofx"), upper));
    online->importStatementFile(upper);
    QFile::remove(upper);
    QIFController* sheet = window->qifController();
    ASSERT_TRUE(sheet->sheet()->isVisible());
    EXPECT_EQ(sheet->importCore().QIFTransactions().size(), 1u);
    EXPECT_EQ(sheet->vaultID(), accountID());
    sheet->cancel();

    // A QIF download asks for the order of its dates first.
    online->importStatementFile(dataPath("qif/day-first.qif"));
    EXPECT_TRUE(sheet->datePanel()->isVisible());
    sheet->dateFormatPanelCancel();
}
