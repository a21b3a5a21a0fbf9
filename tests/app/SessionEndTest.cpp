#include "app/UserDefaults.h"
#include "store/ManagedObjectContext.h"
#include "support/CliRun.h"
#include "support/FileBytes.h"
#include "support/TempLedger.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <csignal>
#include <cstring>
#include <sqlite3.h>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;
using qf::test::readFile;
using qf::test::writeFile;

namespace {

// The probe program as a process of this test: the app's delegate and
// session-end handling on a ledger, with unsaved changes. Stopped by its PID
// should a failing test leave it running.
class Probe {
public:
    Probe(const QString& home, const QStringList& arguments)
    {
        m_process.setProcessEnvironment(qf::test::environmentWithHome(home));
        m_process.start(QStringLiteral(QUILLFEN_SESSION_PROBE_PATH), arguments);
    }
    ~Probe()
    {
        if (m_process.state() != QProcess::NotRunning) {
            ::kill(static_cast<pid_t>(m_process.processId()), SIGKILL);
            m_process.waitForFinished(5000);
        }
    }

    bool waitUntilReady()
    {
        QElapsedTimer timer;
        timer.start();
        while (!m_output.contains("ready\n") && timer.elapsed() < 30000 && m_process.state() != QProcess::NotRunning) {
            m_process.waitForReadyRead(500);
            m_output += m_process.readAllStandardOutput();
        }
        return m_output.contains("ready\n");
    }
    bool send(int signalNumber) { return ::kill(static_cast<pid_t>(m_process.processId()), signalNumber) == 0; }
    // "exit N", or how it ended otherwise.
    QString waitForEnd()
    {
        if (!m_process.waitForFinished(30000))
            return QStringLiteral("still running");
        if (m_process.exitStatus() != QProcess::NormalExit)
            return QStringLiteral("crashed");
        return QStringLiteral("exit %1").arg(m_process.exitCode());
    }
    QString errors() { return QString::fromUtf8(m_process.readAllStandardError()); }

private:
    QProcess m_process;
    QByteArray m_output;
};

// Another program's trigger on the store that makes every save fail at once,
// removed again when this goes: a fault no file permission can cause for root.
class SaveRefusal {
public:
    explicit SaveRefusal(const QString& path)
    {
        if (sqlite3_open_v2(QFile::encodeName(path).constData(), &m_db, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK)
            m_held = sqlite3_exec(m_db,
                                  "CREATE TRIGGER refuse_saves BEFORE INSERT ON QuillfenMetadata "
                                  "BEGIN SELECT RAISE(ABORT, 'refused'); END",
                                  nullptr, nullptr, nullptr)
                     == SQLITE_OK;
    }
    ~SaveRefusal()
    {
        if (m_held)
            sqlite3_exec(m_db, "DROP TRIGGER refuse_saves", nullptr, nullptr, nullptr);
        sqlite3_close(m_db);
    }
    bool isHeld() const { return m_held; }

private:
    sqlite3* m_db = nullptr;
    bool m_held = false;
};

QString transactionTitles(TempLedger& ledger)
{
    QStringList titles;
    for (ManagedObject* t : ledger.delegate().fetchAllTransObjects())
        titles << t->valueForKey(u"trans_title").toString();
    titles.sort();
    return titles.join(QStringLiteral(", "));
}

QString uniqueIDOf(ManagedObject* record)
{
    return record->valueForKey(u"trans_uniqueID").toString();
}

} // namespace

TEST(SessionEnd, EachSignalRemovesDeletedAttachmentsSavesAndExitsCleanly)
{
    for (int signalNumber : {SIGTERM, SIGINT, SIGHUP}) {
        SCOPED_TRACE(strsignal(signalNumber));
        TempLedger ledger;
        QTemporaryDir home;
        ledger.launch();
        const QString goneID = uniqueIDOf(ledger.addTransaction(QStringLiteral("Gone"), -5));
        ledger.addTransaction(QStringLiteral("Kept"), -7);
        ASSERT_TRUE(ledger.delegate().saveAction());
        const QString attachments = ledger.folder() + QStringLiteral("/Attachments/") + goneID;
        ASSERT_TRUE(writeFile(attachments + QStringLiteral("/receipt.pdf"), "%PDF"));

        Probe probe(home.path(), {QStringLiteral("--data-dir"), ledger.folder(), QStringLiteral("--add"),
                                  QStringLiteral("Added"), QStringLiteral("--delete"), goneID});
        ASSERT_TRUE(probe.waitUntilReady()) << qPrintable(probe.errors());
        ASSERT_TRUE(probe.send(signalNumber));
        EXPECT_EQ(probe.waitForEnd(), QStringLiteral("exit 0")) << qPrintable(probe.errors());
        EXPECT_FALSE(QFileInfo::exists(attachments));
        EXPECT_FALSE(QFileInfo::exists(ledger.delegate().recoveryFilePath()));

        ledger.reopen();
        ledger.launch();
        EXPECT_EQ(transactionTitles(ledger), QStringLiteral("Added, Kept"));
    }
}

TEST(SessionEnd, AFailedSaveKeepsTheChangesAndTheNextStartAppliesThem)
{
    TempLedger ledger;
    QTemporaryDir home;
    ledger.launch();
    const QString rentID = uniqueIDOf(ledger.addTransaction(QStringLiteral("Rent"), -800));
    ASSERT_TRUE(ledger.delegate().saveAction());
    const QByteArray savedStore = readFile(ledger.storePath());

    Probe probe(home.path(), {QStringLiteral("--data-dir"), ledger.folder(), QStringLiteral("--add"),
                              QStringLiteral("Added"), QStringLiteral("--delete"), rentID});
    ASSERT_TRUE(probe.waitUntilReady()) << qPrintable(probe.errors());
    {
        SaveRefusal refusal(ledger.storePath());
        ASSERT_TRUE(refusal.isHeld());
        ASSERT_TRUE(probe.send(SIGTERM));
        EXPECT_EQ(probe.waitForEnd(), QStringLiteral("exit 0"));
    }
    EXPECT_TRUE(probe.errors().contains(QStringLiteral("kept in")));

    ledger.reopen();
    ledger.launch();
    EXPECT_EQ(transactionTitles(ledger), QStringLiteral("Rent"));
    ASSERT_TRUE(ledger.delegate().hasRecoveryFile());
    Result<UnsavedChanges> recovered = ledger.delegate().readRecoveryFile();
    ASSERT_TRUE(recovered) << qPrintable(recovered.message());
    EXPECT_EQ(recovered->count(RecordChange::Kind::Insert), 1);
    EXPECT_EQ(recovered->count(RecordChange::Kind::Delete), 1);

    Result<ApplyReport> applied = ledger.delegate().applyRecoveredChanges(*recovered);
    ASSERT_TRUE(applied) << qPrintable(applied.message());
    EXPECT_EQ(applied->applied, 2);
    EXPECT_EQ(applied->notFound, 0);
    EXPECT_FALSE(QFileInfo::exists(ledger.delegate().recoveryFilePath()));
    EXPECT_FALSE(ledger.context().hasChanges());

    ledger.reopen();
    ledger.launch();
    EXPECT_EQ(transactionTitles(ledger), QStringLiteral("Added"));
    EXPECT_NE(readFile(ledger.storePath()), savedStore);
}

TEST(SessionEnd, UnattendedQuitNeverKeepsTheExampleStore)
{
    TempLedger ledger;
    UserDefaults::standard().setVolatileValue(DefaultsKey::UseExampleStore, true);
    ledger.launch();
    ledger.addTransaction(QStringLiteral("Not kept"), -1);
    EXPECT_TRUE(ledger.delegate().terminateUnattended());
    EXPECT_FALSE(QFileInfo::exists(ledger.delegate().recoveryFilePath()));
    EXPECT_FALSE(UserDefaults::standard().boolForKey(DefaultsKey::UseExampleStore));
}

TEST(SessionEnd, CommitDataSavesWithoutEndingAndTheEndRunsOnce)
{
    TempLedger ledger;
    ledger.launch();
    ledger.addTransaction(QStringLiteral("Committed"), -1);
    EXPECT_TRUE(ledger.delegate().commitData());
    EXPECT_FALSE(ledger.context().hasChanges());

    // The session went on: a later change is saved at its end.
    ledger.addTransaction(QStringLiteral("At the end"), -2);
    EXPECT_TRUE(ledger.delegate().terminateUnattended());
    EXPECT_FALSE(ledger.context().hasChanges());

    // The quit that follows a window's own quit steps (aboutToQuit) does not
    // run them again: its user may have chosen to quit without saving.
    ledger.addTransaction(QStringLiteral("After the end"), -3);
    EXPECT_TRUE(ledger.delegate().terminateUnattended());
    EXPECT_TRUE(ledger.context().hasChanges());
    ledger.reopen();
    ledger.launch();
    EXPECT_EQ(transactionTitles(ledger), QStringLiteral("At the end, Committed"));
}
