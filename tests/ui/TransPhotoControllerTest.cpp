#include "support/FileBytes.h"
#include "attachments/ui/PhotoImageView.h"
#include "attachments/ui/TransPhotoController.h"
#include "store/ManagedObject.h"
#include "support/DragAndDrop.h"
#include "support/EventWait.h"
#include "support/TempLedger.h"
#include "support/RecordingPlayer.h"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <QUrl>
#include <gtest/gtest.h>

using namespace qf;
using namespace qf::test;

namespace {

// Reads and answers the next message box as "text|informative text|buttons";
// gives up after a few seconds so a missing box cannot hang the run.
void answerAlert(QString& seen, int attemptsLeft = 300)
{
    QTimer::singleShot(10, [&seen, attemptsLeft] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box) {
            if (attemptsLeft > 0)
                answerAlert(seen, attemptsLeft - 1);
            return;
        }
        QStringList buttons;
        for (QAbstractButton* button : box->buttons())
            buttons << button->text();
        seen = box->text() + u'|' + box->informativeText() + u'|' + buttons.join(u',');
        box->buttons().first()->click();
    });
}

const QString kNoCameraAlert = QStringLiteral(
    "Failed to connect to camera|No camera was found or it is in use by another application.|OK");

class FakeCamera : public PhotoCamera {
public:
    Status start(QSize wanted) override
    {
        wantedResolution = wanted;
        return Status::ok();
    }
    void stop() override { stopped = true; }
    QImage currentFrame() const override { return frame; }
    void deliver(const QImage& image)
    {
        frame = image;
        Q_EMIT frameReceived(image);
    }

    bool stopped = false;
    QSize wantedResolution;
    QImage frame;
};

QImage filled(int width, int height, QColor color)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(color);
    return image;
}

class PhotoPaneTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ledger.launch();
        trans = ledger.addTransaction(QStringLiteral("Groceries"), -42.0);
        folder = ledger.folder() + QStringLiteral("/Attachments/") + trans->valueForKey(u"trans_uniqueID").toString();
        pane.show();
    }
    void useFakeCamera()
    {
        pane.setCameraFactory([this] {
            auto made = std::make_unique<FakeCamera>();
            camera = made.get();
            return made;
        });
    }
    void expectCameraOff()
    {
        EXPECT_FALSE(pane.isCameraRunning());
        EXPECT_FALSE(pane.togglePhotoButton()->isChecked());
        EXPECT_TRUE(pane.takePictureButton()->isHidden());
    }

    TempLedger ledger;
    ManagedObject* trans = nullptr;
    QString folder;
    QTemporaryDir files;
    TransPhotoController pane{ledger.delegate()};
    QPointer<FakeCamera> camera;
};

} // namespace

TEST_F(PhotoPaneTest, WithoutACameraTheToggleAlertsAndFallsBackOff)
{
    const QImage photo = filled(30, 20, Qt::red);
    pane.setCurrentTransImage(photo);
    QString seen;
    answerAlert(seen);
    pane.togglePhotoButton()->click();
    if (pane.isCameraRunning())
        GTEST_SKIP() << "this machine has a camera";
    EXPECT_EQ(seen, kNoCameraAlert);
    expectCameraOff();
    // The photo in hand survives the failed attempt.
    EXPECT_EQ(pane.transPhotoImageView()->image(), photo);
    EXPECT_FALSE(pane.removeButton()->isHidden());
    EXPECT_TRUE(pane.noPhotoStatusTextField()->isHidden());
}

TEST_F(PhotoPaneTest, CameraShowsFramesTakesTheLastAndStopsWhenLeftOrBroken)
{
    QStringList played;
    SoundPlayer::setShared(std::make_unique<RecordingPlayer>(played));
    useFakeCamera();
    pane.togglePhotoButton()->click();
    ASSERT_TRUE(pane.isCameraRunning());
    EXPECT_EQ(camera->wantedResolution, QSize(320, 240));
    EXPECT_FALSE(pane.takePictureButton()->isHidden());
    const QImage last = filled(32, 24, Qt::blue);
    camera->deliver(last);
    EXPECT_EQ(pane.transPhotoImageView()->image(), last) << "live frames are not shown";
    EXPECT_TRUE(pane.currentTransImage().isNull()) << "a live frame became the photo before the shot";

    pane.takePictureButton()->click();
    SoundPlayer::setShared(nullptr);
    EXPECT_EQ(played, QStringList{QStringLiteral("photo_shutter")});
    EXPECT_EQ(pane.currentTransImage(), last);
    EXPECT_TRUE(camera->stopped);
    expectCameraOff();

    // Leaving the pane stops the camera and keeps the photo.
    pane.togglePhotoButton()->click();
    camera->deliver(filled(32, 24, Qt::yellow));
    pane.hide();
    EXPECT_TRUE(camera->stopped);
    expectCameraOff();
    EXPECT_EQ(pane.transPhotoImageView()->image(), last);

    // A camera that breaks while running is let go, with the same alert.
    pane.show();
    pane.togglePhotoButton()->click();
    ASSERT_TRUE(pane.isCameraRunning());
    QString seen;
    answerAlert(seen);
    Q_EMIT camera->failed(QStringLiteral("unplugged"));
    ASSERT_TRUE(waitUntil([&] { return !seen.isEmpty() && !pane.isCameraRunning(); }));
    EXPECT_EQ(seen, kNoCameraAlert);
    expectCameraOff();
    EXPECT_TRUE(waitUntil([&] { return camera.isNull(); })) << "the broken camera is never deleted";
}

TEST_F(PhotoPaneTest, DropTakesReadableImagesAndRefusesEverythingElse)
{
    const QString png = files.filePath(QStringLiteral("receipt.png"));
    ASSERT_TRUE(filled(16, 12, Qt::red).save(png));
    const QString text = files.filePath(QStringLiteral("notes.txt"));
    const QString fake = files.filePath(QStringLiteral("fake.png"));
    ASSERT_TRUE(writeFile(text, "just words") && writeFile(fake, "not a picture at all"));
    PhotoImageView* view = pane.transPhotoImageView();

    QMimeData textFile, renamed, imageFile, pasted;
    textFile.setUrls({QUrl::fromLocalFile(text)});
    EXPECT_FALSE(sendDrop(view, textFile));
    renamed.setUrls({QUrl::fromLocalFile(fake)});
    EXPECT_TRUE(sendDragEnter(view, renamed)) << "the extension alone decides while dragging";
    EXPECT_FALSE(sendDrop(view, renamed));
    EXPECT_TRUE(pane.currentTransImage().isNull());

    imageFile.setUrls({QUrl::fromLocalFile(text), QUrl::fromLocalFile(png)});
    EXPECT_TRUE(sendDrop(view, imageFile));
    EXPECT_EQ(pane.currentTransImage().size(), QSize(16, 12));
    EXPECT_EQ(pane.currentTransImage().pixelColor(3, 3), QColor(Qt::red));

    pasted.setImageData(filled(8, 8, Qt::blue));
    EXPECT_TRUE(sendDrop(view, pasted));
    EXPECT_EQ(pane.currentTransImage().pixelColor(0, 0), QColor(Qt::blue));

    // TIFF, the form photos are stored in, is taken like any other image.
    const QString tiff = files.filePath(QStringLiteral("scan.TIF"));
    ASSERT_TRUE(filled(10, 7, Qt::green).save(tiff, "TIFF"));
    QMimeData tiffFile;
    tiffFile.setUrls({QUrl::fromLocalFile(tiff)});
    EXPECT_TRUE(sendDrop(view, tiffFile));
    EXPECT_EQ(pane.currentTransImage().size(), QSize(10, 7));
    EXPECT_EQ(pane.currentTransImage().pixelColor(4, 4), QColor(Qt::green));
}

TEST_F(PhotoPaneTest, SavingWritesReplacesAndDeletesTheOnePhotoFile)
{
    pane.setCurrentTransImage(filled(40, 30, Qt::red));
    ASSERT_TRUE(pane.saveToRecord(*trans));
    const QString path = folder + QStringLiteral("/Trans_Photo.jpg");
    EXPECT_EQ(trans->valueForKey(u"trans_photo").toString(), path);

    pane.setCurrentTransImage(filled(20, 10, Qt::blue));
    ASSERT_TRUE(pane.saveToRecord(*trans));
    EXPECT_EQ(trans->valueForKey(u"trans_photo").toString(), path);
    EXPECT_EQ(QDir(folder).entryList(QDir::Files), QStringList{QStringLiteral("Trans_Photo.jpg")});
    TransPhotoController other(ledger.delegate());
    other.showRecord(*trans);
    EXPECT_EQ(other.currentTransImage().size(), QSize(20, 10)) << "the stored file does not read back";
    EXPECT_EQ(other.currentTransImage().pixelColor(5, 5), QColor(Qt::blue));

    // Removing the photo deletes its file with the save, not before.
    pane.removeButton()->click();
    EXPECT_TRUE(pane.currentTransImage().isNull());
    EXPECT_FALSE(pane.noPhotoStatusTextField()->isHidden());
    EXPECT_TRUE(QFile::exists(path)) << "the file went before the save";
    ASSERT_TRUE(pane.saveToRecord(*trans));
    EXPECT_FALSE(QFile::exists(path));
    EXPECT_TRUE(trans->valueForKey(u"trans_photo").isNull());

    // A damaged photo file shows as no photo rather than failing the form.
    const QString broken = files.filePath(QStringLiteral("broken.jpg"));
    ASSERT_TRUE(writeFile(broken, "garbage"));
    trans->setValueForKey(u"trans_photo", Value(broken));
    other.showRecord(*trans);
    EXPECT_TRUE(other.currentTransImage().isNull());
    EXPECT_TRUE(other.removeButton()->isHidden());
    EXPECT_FALSE(other.noPhotoStatusTextField()->isHidden());
}
