#include "app/Quillfen_AppDelegate.h"
#include "app/SearchIndex.h"
#include "app/ui/DatabaseBackup.h"
#include "app/ui/MainWindow.h"
#include "app/ui/PreferencesController.h"
#include "store/ManagedObjectContext.h"
#include "support/ModalAnswer.h"
#include "support/TempLedger.h"

#include <QDialog>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::answerNextModal;
using qf::test::TempLedger;

namespace {

// The next message box, passing over the progress sheet shown meanwhile.
void answerNextMessage(const std::function<void(QMessageBox*)>& answer)
{
    answerNextModal([answer](QWidget* modal) {
        if (auto* box = qobject_cast<QMessageBox*>(modal))
            answer(box);
        else
            answerNextMessage(answer);
    });
}

class DatabaseBackupTest : public ::testing::Test {
protected:
    TempLedger ledger;
    ManagedObjectContext& context = ledger.launch();
    std::unique_ptr<MainWindow> window;
    int restarts = 0;

    void SetUp() override
    {
        ledger.addTransaction(QStringLiteral("Coffee"), -3);
        ASSERT_TRUE(ledger.delegate().saveAction());
        window = std::make_unique<MainWindow>(ledger.delegate());
        window->databaseBackup()->setRestartHandler([this] { ++restarts; });
    }

    QString package() const { return ledger.folder() + QStringLiteral("-copy.quillfenbackup"); }

    static void press(QWidget* alert, const QString& title)
    {
        for (QAbstractButton* button : static_cast<QMessageBox*>(alert)->buttons()) {
            if (button->text() == title)
                button->click();
        }
    }
};

} // namespace

TEST_F(DatabaseBackupTest, ExportThenImportAsksFirstAndRestartsOnlyAfterAReplacement)
{
    DatabaseBackup& backup = *window->databaseBackup();
    ASSERT_TRUE(backup.exportTo(package()).isOk());
    EXPECT_TRUE(QFile::exists(package() + QStringLiteral("/Quillfen.1ccdb")));
    EXPECT_FALSE(backup.progressPanel()->isVisible());

    QString question;
    answerNextModal([&](QWidget* alert) {
        question = static_cast<QMessageBox*>(alert)->informativeText();
        press(alert, QStringLiteral("No"));
    });
    EXPECT_EQ(backup.importFrom(package()), DatabaseBackup::ImportOutcome::Declined);
    EXPECT_EQ(question, "Importing a previous database will overwrite your current database. Are you sure you want "
                        "to perform this action?");
    EXPECT_EQ(restarts, 0);

    // A folder that is no package: the message, and the ledger stays.
    const QString plain = ledger.folder() + QStringLiteral("-plain");
    ASSERT_TRUE(QDir().mkpath(plain));
    QString refusal;
    answerNextModal([&](QWidget* alert) {
        press(alert, QStringLiteral("Yes"));
        answerNextMessage([&](QMessageBox* error) {
            refusal = error->text();
            error->accept();
        });
    });
    EXPECT_EQ(backup.importFrom(plain), DatabaseBackup::ImportOutcome::Failed);
    EXPECT_TRUE(refusal.contains(QStringLiteral("not a Quillfen database package"))) << qPrintable(refusal);
    EXPECT_EQ(restarts, 0);
    EXPECT_TRUE(QFile::exists(ledger.storePath()));

    answerNextModal([&](QWidget* alert) { press(alert, QStringLiteral("Yes")); });
    EXPECT_EQ(backup.importFrom(package()), DatabaseBackup::ImportOutcome::Imported);
    EXPECT_EQ(restarts, 1);
    EXPECT_TRUE(QFile::exists(ledger.storePath()));
}

TEST_F(DatabaseBackupTest, ReindexFromPreferencesRewritesEveryRecordAndDropsStaleOnes)
{
    const QString stale = SearchIndex::folder() + QStringLiteral("/gone.quillfenTransItem");
    QFile file(stale);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    PreferencesController* preferences = window->openPreferences();
    preferences->changePane(PreferencesController::DatabasePane);
    auto* button = preferences->findChild<QPushButton*>(QStringLiteral("reindexButton"));
    ASSERT_NE(button, nullptr);
    button->click();
    EXPECT_EQ(preferences->findChild<QLabel*>(QStringLiteral("reindexResult"))->text(), "1 transaction indexed.");
    EXPECT_FALSE(QFile::exists(stale));
    EXPECT_EQ(SearchIndex::indexedIdentifiers().size(), 1);
    preferences->close();
}
