#include "attachments/AttachmentStaging.h"

#include "support/FileBytes.h"
#include "store/EntityDescription.h"
#include "store/ManagedObject.h"
#include "support/TempLedger.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace qf;
using namespace qf::test;

namespace {

QString titlesOf(const std::vector<ValueDictionary>& rows)
{
    QStringList titles;
    for (const ValueDictionary& row : rows)
        titles << row.at(QStringLiteral("attachment_title")).toString();
    return titles.join(u',');
}

QString idOf(const ValueDictionary& row)
{
    return row.at(QStringLiteral("attachment_uniqueID")).toString();
}

struct StagingFixture : ::testing::Test {
    void SetUp() override
    {
        ledger.launch();
        trans = ledger.addTransaction(QStringLiteral("Printer"), -199.0);
        transID = trans->valueForKey(u"trans_uniqueID").toString();
        folder = ledger.folder() + QStringLiteral("/Attachments/") + transID;
        staging.setTransID(transID);
        staging.setTrashFunction([this](const QString& path) {
            trashed << path;
            return QFile::remove(path);
        });
    }
    QString source(const QString& name, const QByteArray& bytes)
    {
        const QString path = outside.path() + QLatin1Char('/') + name;
        writeFile(path, bytes);
        return path;
    }
    std::vector<ManagedObject*> stored()
    {
        return ledger.delegate().fetchObjectsWithEntityName(QStringLiteral("AttachmentEntity"),
                                                            QStringLiteral("attachment_transParentID"), Value(transID));
    }

    TempLedger ledger;
    QTemporaryDir outside;
    AttachmentStaging staging{ledger.delegate()};
    ManagedObject* trans = nullptr;
    QString transID, folder;
    QStringList trashed;
};

} // namespace

TEST_F(StagingFixture, AddingThenRemovingBeforeSavingLeavesNothing)
{
    const QString path = source(QStringLiteral("bill.pdf"), "%PDF");
    const ValueDictionary row = staging.addFileToDatabase(path);
    EXPECT_EQ(row.at(QStringLiteral("attachment_title")).toString(), QStringLiteral("bill.pdf"));
    EXPECT_EQ(row.at(QStringLiteral("attachment_path")).toString(), path);
    EXPECT_EQ(row.at(QStringLiteral("attachment_transParentID")).toString(), transID);
    EXPECT_EQ(staging.arrangedRows().size(), 1u);

    EXPECT_TRUE(staging.removeAttachment(idOf(row)));
    EXPECT_FALSE(staging.removeAttachment(idOf(row)));
    EXPECT_TRUE(staging.newCurrentAttachments().empty());
    EXPECT_TRUE(staging.removeCurrentAttachments().empty());
    EXPECT_TRUE(staging.applyStagedChanges().empty());
    EXPECT_TRUE(stored().empty());
    EXPECT_FALSE(QFileInfo::exists(folder + QStringLiteral("/bill.pdf")));
    EXPECT_TRUE(trashed.isEmpty());
}

TEST_F(StagingFixture, SavingCopiesAdditionsKeepsSameNamedFileAndTrashesRemovals)
{
    writeFile(folder + QStringLiteral("/scan.png"), "already here");
    staging.addFilesToDatabase({source(QStringLiteral("bill.pdf"), "%PDF"), source(QStringLiteral("scan.png"), "new")});
    // Nothing touches the disk or the store before saving.
    EXPECT_FALSE(QFileInfo::exists(folder + QStringLiteral("/bill.pdf")));
    EXPECT_TRUE(stored().empty());

    EXPECT_TRUE(staging.applyStagedChanges().empty());
    EXPECT_EQ(readFile(folder + QStringLiteral("/bill.pdf")), QByteArray("%PDF"));
    EXPECT_EQ(readFile(folder + QStringLiteral("/scan.png")), QByteArray("already here"));
    ASSERT_EQ(stored().size(), 2u);
    for (ManagedObject* a : stored())
        EXPECT_EQ(a->valueForKey(u"attachment_path").toString(),
                  folder + QLatin1Char('/') + a->valueForKey(u"attachment_title").toString());
    EXPECT_EQ(titlesOf(staging.currentAttachments()), QStringLiteral("bill.pdf,scan.png"));
    ASSERT_TRUE(ledger.delegate().saveAction());

    // A reopened editor shows the committed rows and stages a removal.
    AttachmentStaging editor(ledger.delegate());
    editor.setTransID(transID);
    editor.setTrashFunction([this](const QString& path) {
        trashed << path;
        return QFile::remove(path);
    });
    editor.setCurrentAttachments(stored());
    const QString billID = idOf(editor.currentAttachments().front());
    ASSERT_TRUE(editor.removeAttachment(billID));
    EXPECT_EQ(titlesOf(editor.arrangedRows()), QStringLiteral("scan.png"));
    EXPECT_EQ(titlesOf(editor.removeCurrentAttachments()), QStringLiteral("bill.pdf"));
    EXPECT_TRUE(QFileInfo::exists(folder + QStringLiteral("/bill.pdf")));

    EXPECT_TRUE(editor.applyStagedChanges().empty());
    EXPECT_EQ(trashed, QStringList{folder + QStringLiteral("/bill.pdf")});
    EXPECT_EQ(ledger.delegate().fetchAttachmentWithID(billID), nullptr);
    EXPECT_EQ(titlesOf(editor.arrangedRows()), QStringLiteral("scan.png"));
    EXPECT_TRUE(editor.removeCurrentAttachments().empty());
}

TEST_F(StagingFixture, FailedTrashOrCopyKeepsRecordsAndIsReported)
{
    staging.addFilesToDatabase({source(QStringLiteral("a.pdf"), "A"), source(QStringLiteral("b.pdf"), "B"),
                                source(QStringLiteral("c.pdf"), "C")});
    ASSERT_TRUE(staging.applyStagedChanges().empty());
    staging.setTrashFunction([this](const QString& path) {
        trashed << path;
        return !path.endsWith(QStringLiteral("/b.pdf")) && QFile::remove(path);
    });
    for (const ValueDictionary& row : staging.arrangedRows()) {
        if (row.at(QStringLiteral("attachment_title")).toString() != QStringLiteral("c.pdf")) {
            ASSERT_TRUE(staging.removeAttachment(idOf(row)));
        }
    }
    const QString gone = outside.path() + QStringLiteral("/gone.pdf");
    staging.addFileToDatabase(gone);

    const std::vector<AttachmentFileFailure> failures = staging.applyStagedChanges();
    QStringList failed;
    for (const AttachmentFileFailure& f : failures)
        failed << QFileInfo(f.path).fileName() + QLatin1Char(':') + (f.message.isEmpty() ? "no message" : "message");
    failed.sort();
    EXPECT_EQ(failed, QStringList({QStringLiteral("b.pdf:message"), QStringLiteral("gone.pdf:message")}));
    // b stays with its file; a went; c was never touched; the uncopied one
    // still points at where it was picked.
    EXPECT_EQ(titlesOf(staging.currentAttachments()), QStringLiteral("b.pdf,c.pdf,gone.pdf"));
    EXPECT_TRUE(QFileInfo::exists(folder + QStringLiteral("/b.pdf")));
    EXPECT_FALSE(QFileInfo::exists(folder + QStringLiteral("/a.pdf")));
    EXPECT_EQ(readFile(folder + QStringLiteral("/c.pdf")), QByteArray("C"));
    EXPECT_EQ(staging.currentAttachments().back().at(QStringLiteral("attachment_path")).toString(), gone);
}

TEST_F(StagingFixture, SearchFiltersByTitleIgnoringCaseAndDiacritics)
{
    staging.addFilesToDatabase({QStringLiteral("/x/Rechnung Müller.pdf"), QStringLiteral("/x/Kassenbon.jpg"),
                                QStringLiteral("/x/MULLER notes.txt")});
    staging.search(QStringLiteral("muller"));
    EXPECT_EQ(titlesOf(staging.arrangedRows()), QStringLiteral("Rechnung Müller.pdf,MULLER notes.txt"));
    staging.search(QStringLiteral("%K ' \""));
    EXPECT_TRUE(staging.arrangedRows().empty());
    staging.search(QString());
    EXPECT_EQ(staging.arrangedRows().size(), 3u);
}
