#include "cli/CliFixture.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>

using qf::test::Cli;
using qf::test::CliRun;

namespace {

// Every file under a folder with its bytes, the live store's side files aside.
QMap<QString, QByteArray> filesUnder(const QString& folder, bool withStore = false)
{
    QMap<QString, QByteArray> files;
    QDirIterator it(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QString relative = QDir(folder).relativeFilePath(path);
        if (relative.startsWith(QLatin1String("Quillfen.1ccdb")) && !withStore)
            continue;
        QFile file(path);
        if (file.open(QIODevice::ReadOnly))
            files[relative] = file.readAll();
    }
    return files;
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(path.section(QLatin1Char('/'), 0, -2));
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

class DatabasePackageCli : public Cli {
protected:
    QString package() const { return home.path() + QStringLiteral("/Ledger.quillfenbackup"); }
    QString indexFolder() const { return home.path() + QStringLiteral("/cache/Metadata/Quillfen"); }
    QString indexFile(const QString& id) const { return indexFolder() + QLatin1Char('/') + id + ".quillfenTransItem"; }

    // A ledger with transactions, and files in the places attachments and
    // photos keep them.
    void makeLedger()
    {
        const QString coffee = add({"--title", "Coffee", "--amount", "3.5", "--tags", "food"});
        add({"--title", "Rent", "--amount", "800", "--notes", "May"});
        ASSERT_TRUE(writeFile(dataDir() + "/Attachments/" + coffee + "/receipt.pdf", QByteArray("%PDF-1.4\n\x00\x01\xff", 12)));
        ASSERT_TRUE(writeFile(dataDir() + "/Attachments/" + coffee + "/photo.jpg", QByteArray(70000, '\xd8')));
        ASSERT_TRUE(writeFile(dataDir() + "/BACKUP.xml", "<older/>"));
    }
};

} // namespace

TEST_F(DatabasePackageCli, ExportWipeImportBringsBackEveryRecordAndFile)
{
    makeLedger();
    ASSERT_EQ(run({"add-vault", "--type", "Budget", "--title", "Home"}).exitCode, 0);
    ASSERT_EQ(run({"budget-edit", "Home", "--line", "Outgoing|food|100|Weekly"}).exitCode, 0);
    const QString records = run({"list", "--json"}).out + run({"vaults"}).out + run({"budget", "Home"}).out;
    const auto files = filesUnder(dataDir());
    ASSERT_EQ(files.size(), 3);

    const CliRun exported = run({"export-database", home.path() + "/Ledger"});
    ASSERT_EQ(exported.exitCode, 0) << qPrintable(exported.err);
    EXPECT_EQ(exported.out.trimmed(), package());
    EXPECT_EQ(QDir(home.path()).entryList({"*quillfenbackup*"}, QDir::Dirs | QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList{"Ledger.quillfenbackup"}); // no half package beside it
    EXPECT_FALSE(QFile::exists(package() + "/Quillfen.1ccdb-wal"));
    // A second export to the same name changes nothing.
    EXPECT_EQ(run({"export-database", package()}).exitCode, 1);

    ASSERT_TRUE(QDir(dataDir()).removeRecursively());
    EXPECT_EQ(run({"import-database", package()}).exitCode, 2); // asks for --yes
    const CliRun imported = run({"import-database", package(), "--yes"});
    ASSERT_EQ(imported.exitCode, 0) << qPrintable(imported.err);
    EXPECT_EQ(filesUnder(dataDir()), files);
    EXPECT_EQ(run({"list", "--json"}).out + run({"vaults"}).out + run({"budget", "Home"}).out, records);

    // Importing over a ledger puts that one in the Trash, whole.
    add({"--title", "After the export", "--amount", "1"});
    const CliRun again = run({"import-database", package(), "--yes"});
    ASSERT_EQ(again.exitCode, 0) << qPrintable(again.err);
    const QString trashed = again.out.section(QStringLiteral(" is in "), 1).trimmed();
    ASSERT_TRUE(trashed.startsWith(home.path() + "/data/Trash/files/")) << qPrintable(again.out);
    EXPECT_EQ(filesUnder(trashed), files);
    EXPECT_EQ(run({"list", "--json"}).out + run({"vaults"}).out + run({"budget", "Home"}).out, records);
}

TEST_F(DatabasePackageCli, AnExportWhileAnotherProcessWritesHoldsOneSavedState)
{
    makeLedger();
    // A script adding transactions one save at a time while the export runs.
    QProcess writer;
    writer.setProcessEnvironment(qf::test::environmentWithHome(home.path()));
    writer.start(QStringLiteral("/bin/sh"),
                 {QStringLiteral("-c"), QStringLiteral("for i in $(seq 1 40); do \"%1\" --data-dir \"%2\" --locale en_US add "
                                                       "--title \"Busy $i\" --amount $i >/dev/null || exit 1; done")
                                            .arg(QStringLiteral(QUILLFEN_CLI_PATH), dataDir())});
    ASSERT_TRUE(writer.waitForStarted());
    int exports = 0;
    while (writer.state() != QProcess::NotRunning || exports == 0) {
        const QString path = home.path() + QStringLiteral("/busy-%1.quillfenbackup").arg(exports);
        const CliRun exported = run({"export-database", path});
        ASSERT_EQ(exported.exitCode, 0) << qPrintable(exported.err);
        ++exports;
        writer.waitForFinished(50);
    }
    EXPECT_EQ(writer.exitCode(), 0);
    // Every package opens, and its count is one the ledger had after some save.
    for (int i = 0; i < exports; ++i) {
        const QString path = home.path() + QStringLiteral("/busy-%1.quillfenbackup").arg(i);
        const CliRun counted = qf::test::runCli(home.path(), path, {"balance"});
        ASSERT_EQ(counted.exitCode, 0) << qPrintable(counted.err);
        const int count = counted.out.section('\n', 0, 0).section('\t', 1).toInt();
        EXPECT_GE(count, 2);
        EXPECT_LE(count, 42);
    }
    EXPECT_GT(exports, 1);
}

TEST_F(DatabasePackageCli, PackagesThatCannotBeUsedAreRefusedAndChangeNothing)
{
    makeLedger();
    ASSERT_EQ(run({"export-database", package()}).exitCode, 0);
    const QString records = run({"list", "--json"}).out;
    const auto files = filesUnder(dataDir(), true);

    const QString cut = home.path() + "/cut.quillfenbackup";
    const QString damaged = home.path() + "/damaged.quillfenbackup";
    const QString plain = home.path() + "/plain";
    ASSERT_TRUE(QDir().mkpath(plain));
    ASSERT_TRUE(writeFile(plain + "/notes.txt", "not a ledger"));
    QFile store(package() + "/Quillfen.1ccdb");
    ASSERT_TRUE(store.open(QIODevice::ReadOnly));
    const QByteArray bytes = store.readAll();
    ASSERT_GT(bytes.size(), 8192);
    ASSERT_TRUE(writeFile(cut + "/Quillfen.1ccdb", bytes.left(bytes.size() / 2)));
    QByteArray scrambled = bytes;
    for (qsizetype i = 4096; i < scrambled.size(); i += 3)
        scrambled[i] = char(i * 7);
    ASSERT_TRUE(writeFile(damaged + "/Quillfen.1ccdb", scrambled));

    for (const QString& bad : QStringList{cut, damaged, plain, home.path() + "/missing.quillfenbackup"}) {
        const CliRun refused = run({"import-database", bad, "--yes"});
        EXPECT_EQ(refused.exitCode, 1) << qPrintable(bad);
        EXPECT_TRUE(refused.err.contains(bad.section('/', -1))) << qPrintable(refused.err);
        EXPECT_EQ(filesUnder(dataDir(), true), files) << qPrintable(bad);
        EXPECT_EQ(run({"list", "--json"}).out, records);
    }
    EXPECT_TRUE(QDir(home.path()).entryList({".*importing*"}, QDir::Dirs | QDir::Hidden).isEmpty());
}

TEST_F(DatabasePackageCli, SearchRecordsFollowWhatAScriptChanges)
{
    const QString coffee = add({"--title", "Coffee & cake", "--amount", "3.5", "--tags", "food", "--to", "Café"});
    const QString rent = add({"--title", "Rent", "--amount", "800"});
    QFile record(indexFile(coffee));
    ASSERT_TRUE(record.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(record.readAll());
    record.close();
    EXPECT_TRUE(text.contains("<key>Title</key>\n\t\t<string>Coffee &amp; cake</string>")) << qPrintable(text);
    EXPECT_TRUE(text.contains("<key>To</key>\n\t\t<string>Café</string>"));
    EXPECT_TRUE(QFile::exists(indexFile(rent)));

    // An edit rewrites the record; a missing value ends it there.
    ASSERT_EQ(run({"set", coffee, "trans_to", "nil"}).exitCode, 0);
    ASSERT_TRUE(record.open(QIODevice::ReadOnly));
    const QString edited = QString::fromUtf8(record.readAll());
    record.close();
    EXPECT_TRUE(edited.contains("<key>Amount</key>"));
    EXPECT_FALSE(edited.contains("<key>To</key>"));
    EXPECT_FALSE(edited.contains("<key>Tags</key>")) << "the record stops at the first missing value";

    // A script touches only the records of what it changed.
    ASSERT_TRUE(QFile::remove(indexFile(rent)));
    add({"--title", "Tea", "--amount", "2"});
    EXPECT_FALSE(QFile::exists(indexFile(rent)));

    ASSERT_EQ(run({"delete", coffee}).exitCode, 0);
    EXPECT_FALSE(QFile::exists(indexFile(coffee)));

    // Re-indexing writes every record afresh and leaves none for what is gone.
    ASSERT_TRUE(writeFile(indexFile("0000-gone"), "stale"));
    const CliRun reindexed = run({"reindex"});
    ASSERT_EQ(reindexed.exitCode, 0) << qPrintable(reindexed.err);
    EXPECT_EQ(reindexed.out.trimmed(), "2");
    QStringList names = QDir(indexFolder()).entryList(QDir::Files);
    EXPECT_EQ(names.size(), 2);
    EXPECT_TRUE(names.contains(rent + ".quillfenTransItem"));
}

TEST_F(DatabasePackageCli, FilesAttachedAndDetachedAsTheFilesPaneDoes)
{
    const QString coffee = add({"--title", "Coffee", "--amount", "3.5"});
    const QByteArray receipt("%PDF-1.4\n\x00\x01\xff receipt", 20);
    ASSERT_TRUE(writeFile(home.path() + "/in/receipt.pdf", receipt));
    ASSERT_TRUE(writeFile(home.path() + "/in/photo.jpg", QByteArray(5000, '\xd8')));

    // A file that is not there: nothing is attached.
    const CliRun missing = run({"attach", coffee, home.path() + "/in/receipt.pdf", home.path() + "/in/none.pdf"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_TRUE(missing.err.contains("none.pdf"));
    EXPECT_FALSE(QDir(dataDir() + "/Attachments/" + coffee).exists());
    EXPECT_EQ(run({"attach", "no-such-id", home.path() + "/in/receipt.pdf"}).exitCode, 1);

    const CliRun attached = run({"attach", coffee, home.path() + "/in/receipt.pdf", home.path() + "/in/photo.jpg"});
    ASSERT_EQ(attached.exitCode, 0) << qPrintable(attached.err);
    const QStringList ids = attached.out.split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(ids.size(), 2);
    const auto files = filesUnder(dataDir() + "/Attachments/" + coffee);
    EXPECT_EQ(files.value("receipt.pdf"), receipt);
    EXPECT_EQ(files.value("photo.jpg"), QByteArray(5000, '\xd8'));
    EXPECT_TRUE(QFile::exists(home.path() + "/in/receipt.pdf")) << "the picked file stays where it was";
    const CliRun record = run({"show", ids[0]});
    EXPECT_TRUE(record.out.contains("\"attachment_transParentID\":\"" + coffee + "\"")) << qPrintable(record.out);

    const CliRun detached = run({"detach", ids[0]});
    ASSERT_EQ(detached.exitCode, 0) << qPrintable(detached.err);
    EXPECT_EQ(run({"show", ids[0]}).exitCode, 1);
    EXPECT_FALSE(QFile::exists(dataDir() + "/Attachments/" + coffee + "/receipt.pdf"));
    EXPECT_EQ(filesUnder(home.path() + "/data/Trash/files").value("receipt.pdf"), receipt);
    EXPECT_EQ(run({"detach", ids[0]}).exitCode, 1);
}
