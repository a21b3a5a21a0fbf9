// Several processes on one ledger: quillfen-cli runs beside another
// quillfen-cli, beside a long-lived context, and is killed mid-command.
// Whatever a process reported must be in the file afterwards.

#include "CliFixture.h"
#include "store/ManagedObjectContext.h"
#include "store/SqliteStore.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QThread>
#include <iostream>
#include <map>
#include <random>
#include <set>
#include <signal.h>

using namespace qf;
using namespace qf::test;

namespace {

const EntityDescription& transEntity() { return ManagedObjectModel::shared().trans(); }

// The ledger's transactions as "id|title|notes", straight from the file.
std::map<QString, QString> fileContents(const QString& storePath)
{
    std::map<QString, QString> rows;
    auto store = SqliteStore::open(storePath, SqliteStore::Mode::MustExist);
    EXPECT_TRUE(store.isOk()) << store.message().toStdString();
    if (!store)
        return rows;
    ManagedObjectContext context(std::move(*store));
    EXPECT_TRUE(context.load().isOk());
    for (ManagedObject* t : context.objects(transEntity()))
        rows[t->valueForKey(u"trans_uniqueID").toString()] =
            t->valueForKey(u"trans_title").toString() + QLatin1Char('|') + t->valueForKey(u"trans_notes").toString();
    return rows;
}

std::map<QString, QString> contextContents(ManagedObjectContext& context)
{
    std::map<QString, QString> rows;
    for (ManagedObject* t : context.objects(transEntity()))
        rows[t->valueForKey(u"trans_uniqueID").toString()] =
            t->valueForKey(u"trans_title").toString() + QLatin1Char('|') + t->valueForKey(u"trans_notes").toString();
    return rows;
}

// quillfen-cli started without waiting, in the fixture's home.
class CliProcess {
public:
    CliProcess(const QString& home, const QString& dataDir) : m_home(home), m_dataDir(dataDir) {}

    void start(const QStringList& arguments)
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("HOME"), m_home);
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), m_home + QStringLiteral("/config"));
        m_process.setProcessEnvironment(env);
        m_process.start(QStringLiteral(QUILLFEN_CLI_PATH),
                        QStringList{QStringLiteral("--data-dir"), m_dataDir, QStringLiteral("--locale"),
                                    QStringLiteral("en_US")}
                            + arguments);
        m_arguments = arguments;
    }
    CliRun finish()
    {
        m_process.waitForFinished(120000);
        const bool crashed = m_process.exitStatus() != QProcess::NormalExit;
        return {crashed ? -1 : m_process.exitCode(), QString::fromUtf8(m_process.readAllStandardOutput()),
                QString::fromUtf8(m_process.readAllStandardError())};
    }
    // Without an event loop QProcess learns of the end only when asked to wait.
    bool isRunning()
    {
        m_process.waitForFinished(0);
        return m_process.state() != QProcess::NotRunning;
    }
    qint64 pid() const { return m_process.processId(); }
    const QStringList& arguments() const { return m_arguments; }

private:
    QString m_home, m_dataDir;
    QProcess m_process;
    QStringList m_arguments;
};

// One scripted process's edits, and what it was told succeeded.
class Lane {
public:
    Lane(QString name, QString sharedKey, const std::vector<QString>& shared)
        : m_name(std::move(name)), m_sharedKey(std::move(sharedKey)), m_shared(shared)
    {
    }

    // Adds, edits of its own records, edits of one key of the shared
    // records, and deletions, in a fixed mix.
    QStringList command(int step)
    {
        const QString value = QStringLiteral("%1-%2").arg(m_name).arg(step);
        m_pending = {};
        switch (m_ids.empty() ? 0 : step % 6) {
        case 3:
            m_pending = {Op::Set, m_ids[static_cast<std::size_t>(step) % m_ids.size()], QStringLiteral("trans_notes"), value};
            break;
        case 4:
            m_pending = {Op::Set, m_shared[static_cast<std::size_t>(step / 6) % m_shared.size()], m_sharedKey, value};
            break;
        case 5:
            m_pending = {Op::Delete, m_ids.back(), {}, {}};
            break;
        default:
            m_pending = {Op::Add, {}, QStringLiteral("trans_title"), value};
            return {QStringLiteral("add"), QStringLiteral("--title"), value, QStringLiteral("--amount"),
                    QString::number(step + 1)};
        }
        if (m_pending.op == Op::Delete)
            return {QStringLiteral("delete"), m_pending.id};
        return {QStringLiteral("set"), m_pending.id, m_pending.key, m_pending.value};
    }

    // Takes in what the command reported; only a success counts.
    void reported(const CliRun& run)
    {
        if (run.exitCode != 0) {
            m_failures << QStringLiteral("%1 exit %2: %3").arg(m_name).arg(run.exitCode).arg(run.err.trimmed());
            return;
        }
        switch (m_pending.op) {
        case Op::Add: {
            const QString id = run.out.trimmed();
            m_ids.push_back(id);
            m_expected[id] = {m_pending.value, QString()};
            break;
        }
        case Op::Set: {
            auto& [title, notes] = m_expected[m_pending.id];
            (m_pending.key == QLatin1String("trans_title") ? title : notes) = m_pending.value;
            break;
        }
        case Op::Delete:
            m_ids.pop_back();
            m_expected.erase(m_pending.id);
            m_deleted.insert(m_pending.id);
            break;
        }
    }

    const QStringList& failures() const { return m_failures; }
    const std::set<QString>& deleted() const { return m_deleted; }
    // Expected (title, notes) of this lane's records, and of the keys it set on shared ones.
    const std::map<QString, std::pair<QString, QString>>& expected() const { return m_expected; }
    std::size_t liveCount() const { return m_ids.size(); }

private:
    enum class Op { Add, Set, Delete };
    struct Pending {
        Op op = Op::Add;
        QString id, key, value;
    };
    QString m_name, m_sharedKey;
    std::vector<QString> m_shared;
    std::vector<QString> m_ids;
    std::map<QString, std::pair<QString, QString>> m_expected;
    std::set<QString> m_deleted;
    QStringList m_failures;
    Pending m_pending;
};

class SharedLedger : public Cli {
protected:
    QString storePath() const { return dataDir() + QStringLiteral("/Quillfen.1ccdb"); }

    std::vector<QString> addShared(int count)
    {
        std::vector<QString> ids;
        for (int i = 0; i < count; ++i)
            ids.push_back(add({QStringLiteral("--title"), QStringLiteral("Shared %1").arg(i), QStringLiteral("--amount"),
                               QStringLiteral("10")}));
        return ids;
    }
};

} // namespace

TEST_F(SharedLedger, TwoScriptsAtOnceLoseNothingTheyReported)
{
    const std::vector<QString> shared = addShared(4);
    // Both lanes change the shared records, each its own key of them.
    Lane a(QStringLiteral("A"), QStringLiteral("trans_title"), shared);
    Lane b(QStringLiteral("B"), QStringLiteral("trans_notes"), shared);
    constexpr int kSteps = 200;
    for (int step = 0; step < kSteps; ++step) {
        CliProcess first(home.path(), dataDir()), second(home.path(), dataDir());
        first.start(a.command(step));
        second.start(b.command(step));
        a.reported(first.finish());
        b.reported(second.finish());
    }
    EXPECT_TRUE(a.failures().isEmpty()) << a.failures().join('\n').toStdString();
    EXPECT_TRUE(b.failures().isEmpty()) << b.failures().join('\n').toStdString();

    const std::map<QString, QString> found = fileContents(storePath());
    std::map<QString, QString> wanted;
    for (const QString& id : shared) {
        const auto title = a.expected().count(id) ? a.expected().at(id).first : QString();
        const auto notes = b.expected().count(id) ? b.expected().at(id).second : QString();
        ASSERT_FALSE(title.isEmpty());
        ASSERT_FALSE(notes.isEmpty());
        wanted[id] = title + QLatin1Char('|') + notes;
    }
    for (const Lane* lane : {&a, &b}) {
        for (const auto& [id, values] : lane->expected()) {
            if (std::find(shared.begin(), shared.end(), id) == shared.end())
                wanted[id] = values.first + QLatin1Char('|') + values.second;
        }
        for (const QString& id : lane->deleted())
            EXPECT_EQ(found.count(id), 0u) << id.toStdString();
    }
    EXPECT_GE(a.liveCount() + b.liveCount(), 100u);
    EXPECT_EQ(found, wanted);
}

TEST_F(SharedLedger, ALongLivedContextMergesAScriptsSavesAndSavesAgain)
{
    const std::vector<QString> shared = addShared(3);
    auto store = SqliteStore::open(storePath(), SqliteStore::Mode::MustExist);
    ASSERT_TRUE(store.isOk()) << store.message().toStdString();
    ManagedObjectContext window(std::move(*store));
    ASSERT_TRUE(window.load());
    auto byID = [&](const QString& id) -> ManagedObject* {
        for (ManagedObject* t : window.objects(transEntity())) {
            if (t->valueForKey(u"trans_uniqueID").toString() == id)
                return t;
        }
        return nullptr;
    };

    // The script sets the shared records' notes; this side their titles and
    // its own records, saving often and merging whenever the file changed.
    Lane script(QStringLiteral("S"), QStringLiteral("trans_notes"), shared);
    std::map<QString, QString> ownTitles;
    std::vector<ManagedObject*> own;
    int step = 0, edits = 0, merges = 0;
    CliProcess cli(home.path(), dataDir());
    cli.start(script.command(step));
    while (step < 60 && edits < 3000) {
        if (!cli.isRunning()) {
            script.reported(cli.finish());
            if (++step < 60)
                cli.start(script.command(step));
        }
        const QString value = QStringLiteral("W-%1").arg(edits);
        if (edits % 3 == 0 || own.empty()) {
            ManagedObject* t = window.insertNewObject(transEntity());
            t->setValueForKey(u"trans_uniqueID", Value(value));
            t->setValueForKey(u"trans_title", Value(value));
            own.push_back(t);
        } else if (edits % 3 == 1) {
            ManagedObject* t = byID(shared[static_cast<std::size_t>(edits) % shared.size()]);
            ASSERT_TRUE(t);
            t->setValueForKey(u"trans_title", Value(value));
            ownTitles[shared[static_cast<std::size_t>(edits) % shared.size()]] = value;
        } else {
            window.deleteObject(own.back());
            own.pop_back();
        }
        ++edits;
        QThread::msleep(10); // a person's pace, and room for the script's saves
        const Status saved = window.save();
        ASSERT_TRUE(saved.isOk()) << saved.message().toStdString();
        if (window.hasChangedElsewhere()) {
            ASSERT_TRUE(window.mergeChangesFromStore());
            ++merges;
        }
    }
    EXPECT_TRUE(script.failures().isEmpty()) << script.failures().join('\n').toStdString();
    ASSERT_EQ(step, 60) << edits << " edits";
    EXPECT_GT(merges, 0);

    // After a last merge this side holds exactly what the file holds...
    if (window.hasChangedElsewhere())
        ASSERT_TRUE(window.mergeChangesFromStore());
    EXPECT_FALSE(window.hasChanges());
    const std::map<QString, QString> found = fileContents(storePath());
    EXPECT_EQ(contextContents(window), found);
    // ...which has both sides' changes.
    for (const auto& [id, values] : script.expected()) {
        ASSERT_EQ(found.count(id), 1u) << id.toStdString();
        const QString expectedTitle = ownTitles.count(id) ? ownTitles.at(id) : values.first;
        if (!expectedTitle.isEmpty())
            EXPECT_TRUE(found.at(id).startsWith(expectedTitle + '|')) << found.at(id).toStdString();
        EXPECT_TRUE(found.at(id).endsWith('|' + values.second)) << found.at(id).toStdString();
    }
    for (ManagedObject* t : own)
        EXPECT_EQ(found.count(t->valueForKey(u"trans_uniqueID").toString()), 1u);
    for (const QString& id : script.deleted())
        EXPECT_EQ(found.count(id), 0u);
}

TEST_F(SharedLedger, KilledAddsLoseNoPrintedID)
{
    // Kills land anywhere from start-up to the last byte printed: the delays
    // scale with how long one add takes on this machine right now.
    add({QStringLiteral("--title"), QStringLiteral("First"), QStringLiteral("--amount"), QStringLiteral("1")});
    QElapsedTimer timer;
    timer.start();
    add({QStringLiteral("--title"), QStringLiteral("Second"), QStringLiteral("--amount"), QStringLiteral("1")});
    const int addMs = std::max<int>(20, static_cast<int>(timer.elapsed()));
    std::mt19937 random(20261124);
    std::uniform_int_distribution<int> delayMs(addMs / 10, addMs * 6 / 5);
    QStringList printed;
    int killed = 0, runs = 0;
    // Both outcomes must occur often enough for the check to mean anything.
    while (runs < 120 && (runs < 40 || killed < 15 || printed.size() < 5)) {
        CliProcess cli(home.path(), dataDir());
        cli.start({QStringLiteral("add"), QStringLiteral("--title"), QStringLiteral("Kill %1").arg(runs),
                   QStringLiteral("--amount"), QStringLiteral("2")});
        ++runs;
        QThread::msleep(static_cast<unsigned long>(delayMs(random)));
        if (cli.isRunning() && ::kill(static_cast<pid_t>(cli.pid()), SIGKILL) == 0)
            ++killed;
        const CliRun run = cli.finish();
        const QString id = run.out.trimmed();
        if (!id.isEmpty())
            printed << id;
    }
    EXPECT_GE(killed, 15);
    EXPECT_GE(printed.size(), 5);
    const std::map<QString, QString> found = fileContents(storePath());
    for (const QString& id : printed)
        EXPECT_EQ(found.count(id), 1u) << "printed but lost: " << id.toStdString();
    std::cout << "[ kills ] " << killed << " of " << runs << " runs killed, " << printed.size() << " printed an id, "
              << found.size() - 2 << " records stored\n";
    // The ledger still opens and takes more.
    EXPECT_FALSE(add({QStringLiteral("--title"), QStringLiteral("After"), QStringLiteral("--amount"), QStringLiteral("3")})
                     .isEmpty());
}
