#include "attachments/TempAttachmentsController.h"

#include "support/FileBytes.h"
#include "attachments/TransPhotoStore.h"
#include "store/ManagedObject.h"
#include "support/TempLedger.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace qf;
using namespace qf::test;

namespace {

QString fileNameOf(const Result<QString>& path)
{
    return path ? QFileInfo(path.value()).fileName() : QStringLiteral("ERROR: ") + path.message();
}

} // namespace

TEST(TempAttachmentsController, PhotosTakeTheFirstFreeNumberedName)
{
    TempLedger ledger;
    ledger.launch();
    ManagedObject* trans = ledger.addTransaction(QStringLiteral("Lunch"), -12.0);
    TempAttachmentsController controller(ledger.delegate(), *trans);
    const QString id = trans->valueForKey(u"trans_uniqueID").toString();
    EXPECT_EQ(controller.transactionSupportFolder().value(), ledger.folder() + QStringLiteral("/Attachments/") + id);

    const Result<QString> first = controller.copyImageToSupportFolder("JPEG-1");
    EXPECT_EQ(fileNameOf(first), QStringLiteral("Photo 1.jpg"));
    EXPECT_EQ(fileNameOf(controller.copyImageToSupportFolder("JPEG-2")), QStringLiteral("Photo 2.jpg"));
    ASSERT_TRUE(QFile::remove(first.value()));
    Result<ManagedObject*> third = controller.createAttachmentObjectWithImage("JPEG-3");
    ASSERT_TRUE(third.isOk()) << qPrintable(third.message());
    EXPECT_EQ((*third)->valueForKey(u"attachment_title").toString(), QStringLiteral("Photo 1.jpg"));
    EXPECT_EQ((*third)->valueForKey(u"attachment_transParentID").toString(), id);
    EXPECT_EQ(readFile(first.value()), QByteArray("JPEG-3"));
    EXPECT_EQ(readFile(controller.transactionSupportFolder().value() + QStringLiteral("/Photo 2.jpg")), QByteArray("JPEG-2"));
}

TEST(TempAttachmentsController, FilesAndDataAreStoredInTheTransactionFolder)
{
    TempLedger ledger;
    ledger.launch();
    QTemporaryDir outside;
    ManagedObject* trans = ledger.addTransaction(QStringLiteral("Rent"), -800.0);
    TempAttachmentsController controller(ledger.delegate(), *trans);
    const QString folder = controller.transactionSupportFolder().value();

    writeFile(folder + QStringLiteral("/lease.pdf"), "kept");
    writeFile(outside.path() + QStringLiteral("/lease.pdf"), "newer");
    Result<ManagedObject*> kept = controller.createAttachmentObjectWithPath(outside.path() + QStringLiteral("/lease.pdf"));
    ASSERT_TRUE(kept.isOk()) << qPrintable(kept.message());
    EXPECT_EQ((*kept)->valueForKey(u"attachment_path").toString(), folder + QStringLiteral("/lease.pdf"));
    EXPECT_EQ(readFile(folder + QStringLiteral("/lease.pdf")), QByteArray("kept"));

    // A folder is copied with its contents.
    writeFile(outside.path() + QStringLiteral("/scans/p1.png"), "P1");
    EXPECT_EQ(fileNameOf(controller.copyPathToSupportFolder(outside.path() + QStringLiteral("/scans"))),
              QStringLiteral("scans"));
    EXPECT_EQ(readFile(folder + QStringLiteral("/scans/p1.png")), QByteArray("P1"));

    EXPECT_FALSE(controller.createAttachmentObjectWithPath(outside.path() + QStringLiteral("/none.pdf")).isOk());
    EXPECT_FALSE(controller.createAttachmentObjectWithData("x", QString()).isOk());

    // A received name is one name inside the folder, never a path.
    for (const QString& name : {QStringLiteral("in/note.txt"), QStringLiteral("../note.txt"), QStringLiteral("..")})
        EXPECT_FALSE(controller.createAttachmentObjectWithData("DATA", name).isOk()) << qPrintable(name);
    EXPECT_FALSE(QFileInfo::exists(QFileInfo(folder).path() + QStringLiteral("/note.txt")));
    Result<ManagedObject*> received = controller.createAttachmentObjectWithData("DATA", QStringLiteral("note.txt"));
    ASSERT_TRUE(received.isOk()) << qPrintable(received.message());
    EXPECT_EQ((*received)->valueForKey(u"attachment_title").toString(), QStringLiteral("note.txt"));
    EXPECT_EQ(readFile(folder + QStringLiteral("/note.txt")), QByteArray("DATA"));
    ASSERT_TRUE(ledger.delegate().saveAction());
    EXPECT_EQ(ledger.delegate().fetchAllAttachments().size(), 2u);
}

TEST(TempAttachmentsController, PathLikeTransactionIDMakesNoFolderAndWritesNothing)
{
    TempLedger ledger;
    ledger.launch();
    ManagedObject* trans = ledger.addTransaction(QStringLiteral("Odd"), -1.0);
    trans->setValueForKey(u"trans_uniqueID", Value(".."));
    TempAttachmentsController controller(ledger.delegate(), *trans);

    EXPECT_FALSE(controller.copyImageToSupportFolder("IMG").isOk());
    EXPECT_FALSE(controller.createAttachmentObjectWithData("DATA", QStringLiteral("note.txt")).isOk());
    // Attachments/.. is the data folder itself.
    EXPECT_EQ(QDir(ledger.folder()).entryList({QStringLiteral("*.jpg"), QStringLiteral("*.txt")}), QStringList());
    EXPECT_TRUE(ledger.delegate().fetchAllAttachments().empty());

    // The editor's photo step refuses too, keeping what trans_photo holds.
    const int photo = trans->entity().indexOfAttribute(u"trans_photo");
    trans->setValueForKey(u"trans_photo", Value("/old/Trans_Photo.jpg"));
    EXPECT_FALSE(TransPhotoStore::savePhoto(*trans, ledger.delegate(), QByteArray("IMG")).isOk());
    EXPECT_FALSE(TransPhotoStore::savePhoto(*trans, ledger.delegate(), std::nullopt).isOk());
    EXPECT_EQ(trans->primitiveValue(photo), Value("/old/Trans_Photo.jpg"));
    EXPECT_TRUE(trans->valueForKey(u"trans_photo").isNull()) << "the path is no path under the data folder";
}

TEST(TransPhotoStore, ReplacingAndRemovingThePhoto)
{
    TempLedger ledger;
    ledger.launch();
    ManagedObject* trans = ledger.addTransaction(QStringLiteral("Groceries"), -40.0);
    const QString photo = ledger.folder() + QStringLiteral("/Attachments/") +
                          trans->valueForKey(u"trans_uniqueID").toString() + QStringLiteral("/Trans_Photo.jpg");

    ASSERT_TRUE(TransPhotoStore::savePhoto(*trans, ledger.delegate(), QByteArray("first")));
    EXPECT_EQ(trans->valueForKey(u"trans_photo").toString(), photo);
    ASSERT_TRUE(TransPhotoStore::savePhoto(*trans, ledger.delegate(), QByteArray("second")));
    EXPECT_EQ(readFile(photo), QByteArray("second"));
    EXPECT_EQ(QDir(QFileInfo(photo).path()).entryList(QDir::Files), QStringList{QStringLiteral("Trans_Photo.jpg")});

    // A photo received elsewhere is replaced by the editor's file.
    TempAttachmentsController controller(ledger.delegate(), *trans);
    const Result<QString> received = controller.copyImageToSupportFolder("net");
    ASSERT_TRUE(received.isOk());
    trans->setValueForKey(u"trans_photo", Value(received.value()));
    ASSERT_TRUE(TransPhotoStore::savePhoto(*trans, ledger.delegate(), QByteArray("third")));
    EXPECT_FALSE(QFileInfo::exists(received.value()));
    EXPECT_EQ(readFile(photo), QByteArray("third"));

    ASSERT_TRUE(TransPhotoStore::savePhoto(*trans, ledger.delegate(), std::nullopt));
    EXPECT_FALSE(QFileInfo::exists(photo));
    EXPECT_TRUE(trans->valueForKey(u"trans_photo").isNull());
}
