#include "app/SoundPlayer.h"
#include "attachments/ui/PhotoImageView.h"
#include "attachments/ui/TransPhotoController.h"
#include "store/ManagedObject.h"
#include "support/DragAndDrop.h"
#include "support/EventWait.h"
#include "support/TempLedger.h"

#include <QApplication>
#include <QDir>
#include <QFile>
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

struct AlertSeen {
    bool shown = false;
    QString text, informativeText, button;
};

// Reads and answers the message box that the next call opens; gives up after
// a few seconds so a missing box cannot hang the run.
void answerAlert(AlertSeen& seen, int attemptsLeft = 300)
{
    QTimer::singleShot(10, [&seen, attemptsLeft] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box) {
            if (attemptsLeft > 0)
                answerAlert(seen, attemptsLeft - 1);
            return;
        }
        seen.shown = true;
        seen.text = box->text();
        seen.informativeText = box->informativeText();
        seen.button = box->buttons().size() == 1 ? box->buttons().first()->text() : QStringLiteral("<buttons>");
        box->buttons().first()->click();
    });
}

class FakeCamera : public PhotoCamera {
public:
    Status start(QSize wanted) override
    {
        wantedResolution = wanted;
        return startFails ? Status::failure(QStringLiteral("busy")) : Status::ok();
    }
    void stop() override { stopped = true; }
    QImage currentFrame() const override { return frame; }
    void deliver(const QImage& image)
    {
        frame = image;
        Q_EMIT frameReceived(image);
    }

    bool startFails = false;
    bool stopped = false;
    QSize wantedResolution;
    QImage frame;
};

class RecordingPlayer : public SoundPlayer {
public:
    explicit RecordingPlayer(QStringList& played) : m_played(played) {}
    void play(const QString& name) override { m_played << name; }

private:
    QStringList& m_played;
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
        pane.resize(400, 320);
        pane.show();
    }
    void useFakeCamera(bool startFails = false)
    {
        pane.setCameraFactory([this, startFails] {
            auto camera = std::make_unique<FakeCamera>();
            camera->startFails = startFails;
            this->camera = camera.get();
            return camera;
        });
    }
    QString writeFile(const QString& name, const QByteArray& bytes)
    {
        QFile file(files.filePath(name));
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() ? file.fileName() : QString();
    }

    TempLedger ledger;
    ManagedObject* trans = nullptr;
    QString folder;
    QTemporaryDir files;
    TransPhotoController pane{ledger.delegate()};
    QPointer<FakeCamera> camera;
};

void expectNoCameraState(TransPhotoController& pane, const AlertSeen& seen)
{
    EXPECT_TRUE(seen.shown);
    EXPECT_EQ(seen.text, QStringLiteral("Failed to connect to camera"));
    EXPECT_EQ(seen.informativeText, QStringLiteral("No camera was found or it is in use by another application."));
    EXPECT_EQ(seen.button, QStringLiteral("OK"));
    EXPECT_FALSE(pane.isCameraRunning());
    EXPECT_FALSE(pane.togglePhotoButton()->isChecked());
    EXPECT_TRUE(pane.takePictureButton()->isHidden());
}

} // namespace

TEST_F(PhotoPaneTest, WithoutACameraTheToggleAlertsAndFallsBackOff)
{
    const QImage photo = filled(30, 20, Qt::red);
    pane.setCurrentTransImage(photo);
    AlertSeen seen;
    answerAlert(seen);
    pane.togglePhotoButton()->click();
    if (pane.isCameraRunning())
        GTEST_SKIP() << "this machine has a camera";
    expectNoCameraState(pane, seen);
    // The photo in hand survives the failed attempt.
    EXPECT_EQ(pane.currentTransImage(), photo);
    EXPECT_EQ(pane.transPhotoImageView()->image(), photo);
    EXPECT_FALSE(pane.removeButton()->isHidden());
    EXPECT_TRUE(pane.noPhotoStatusTextField()->isHidden());
}

TEST_F(PhotoPaneTest, ACameraThatFailsOnceRunningIsReleasedWithTheSameAlert)
{
    useFakeCamera();
    pane.togglePhotoButton()->click();
    ASSERT_TRUE(pane.isCameraRunning());
    EXPECT_EQ(camera->wantedResolution, QSize(320, 240));
    EXPECT_FALSE(pane.takePictureButton()->isHidden());
    EXPECT_TRUE(pane.noPhotoStatusTextField()->isHidden());

    AlertSeen seen;
    answerAlert(seen);
    Q_EMIT camera->failed(QStringLiteral("unplugged"));
    ASSERT_TRUE(waitUntil([&] { return seen.shown && !pane.isCameraRunning(); }));
    expectNoCameraState(pane, seen);
    EXPECT_FALSE(pane.noPhotoStatusTextField()->isHidden());
    EXPECT_TRUE(waitUntil([&] { return camera.isNull(); })) << "the failed camera is never deleted";
}

TEST_F(PhotoPaneTest, TakingAPictureKeepsTheLastFrameAndStopsTheCamera)
{
    QStringList played;
    SoundPlayer::setShared(std::make_unique<RecordingPlayer>(played));
    useFakeCamera();
    pane.togglePhotoButton()->click();
    ASSERT_TRUE(pane.isCameraRunning());
    camera->deliver(filled(32, 24, Qt::green));
    const QImage last = filled(32, 24, Qt::blue);
    camera->deliver(last);
    EXPECT_EQ(pane.transPhotoImageView()->image(), last) << "live frames are not shown";
    EXPECT_TRUE(pane.currentTransImage().isNull()) << "a live frame became the photo before the shot";

    pane.takePictureButton()->click();
    SoundPlayer::setShared(nullptr);
    EXPECT_EQ(played, QStringList{QStringLiteral("photo_shutter")});
    EXPECT_EQ(pane.currentTransImage(), last);
    EXPECT_FALSE(pane.isCameraRunning());
    EXPECT_TRUE(camera->stopped);
    EXPECT_FALSE(pane.togglePhotoButton()->isChecked());
    EXPECT_TRUE(pane.takePictureButton()->isHidden());
    EXPECT_FALSE(pane.removeButton()->isHidden());

    // Turning the camera off without a shot leaves the photo as it was.
    pane.togglePhotoButton()->click();
    camera->deliver(filled(32, 24, Qt::yellow));
    pane.togglePhotoButton()->click();
    EXPECT_FALSE(pane.isCameraRunning());
    EXPECT_EQ(pane.currentTransImage(), last);
    EXPECT_EQ(pane.transPhotoImageView()->image(), last);
}

TEST_F(PhotoPaneTest, DropTakesReadableImagesAndRefusesEverythingElse)
{
    const QImage red = filled(16, 12, Qt::red);
    ASSERT_TRUE(red.save(files.filePath(QStringLiteral("receipt.png"))));
    const QString text = writeFile(QStringLiteral("notes.txt"), "just words");
    const QString fake = writeFile(QStringLiteral("fake.png"), "not a picture at all");
    PhotoImageView* view = pane.transPhotoImageView();

    QMimeData textFile;
    textFile.setUrls({QUrl::fromLocalFile(text)});
    EXPECT_FALSE(PhotoImageView::canAcceptDrop(textFile));
    EXPECT_FALSE(sendDrop(view, textFile));
    QMimeData renamed;
    renamed.setUrls({QUrl::fromLocalFile(fake)});
    EXPECT_TRUE(PhotoImageView::canAcceptDrop(renamed)) << "the extension alone decides while dragging";
    EXPECT_FALSE(sendDrop(view, renamed));
    EXPECT_TRUE(pane.currentTransImage().isNull());

    QMimeData imageFile;
    imageFile.setUrls({QUrl::fromLocalFile(text), QUrl::fromLocalFile(files.filePath(QStringLiteral("receipt.png")))});
    EXPECT_TRUE(sendDrop(view, imageFile));
    EXPECT_EQ(pane.currentTransImage().size(), QSize(16, 12));
    EXPECT_EQ(pane.currentTransImage().pixelColor(3, 3), QColor(Qt::red));
    EXPECT_FALSE(pane.removeButton()->isHidden());
    EXPECT_TRUE(pane.noPhotoStatusTextField()->isHidden());

    QMimeData pasted;
    pasted.setImageData(filled(8, 8, Qt::blue));
    EXPECT_TRUE(sendDrop(view, pasted));
    EXPECT_EQ(pane.currentTransImage().pixelColor(0, 0), QColor(Qt::blue));
}

TEST_F(PhotoPaneTest, SavingWritesOnePhotoFileAndReplacesIt)
{
    pane.setCurrentTransImage(filled(40, 30, Qt::red));
    ASSERT_TRUE(pane.saveToRecord(*trans));
    const QString path = folder + QStringLiteral("/Trans_Photo.jpg");
    EXPECT_EQ(trans->valueForKey(u"trans_photo").toString(), path);
    EXPECT_EQ(QImage(path).pixelColor(1, 1), QColor(Qt::red)) << "the stored file does not read back";

    const QImage blue = filled(20, 10, Qt::blue);
    pane.setCurrentTransImage(blue);
    ASSERT_TRUE(pane.saveToRecord(*trans));
    EXPECT_EQ(trans->valueForKey(u"trans_photo").toString(), path);
    EXPECT_EQ(QDir(folder).entryList(QDir::Files), QStringList{QStringLiteral("Trans_Photo.jpg")});

    TransPhotoController other(ledger.delegate());
    other.showRecord(*trans);
    EXPECT_EQ(other.currentTransImage().size(), QSize(20, 10));
    EXPECT_EQ(other.currentTransImage().pixelColor(5, 5), QColor(Qt::blue));
    EXPECT_TRUE(other.noPhotoStatusTextField()->isHidden());

    // A damaged photo file shows as no photo rather than failing the form.
    ASSERT_FALSE(writeFile(QStringLiteral("broken.jpg"), "garbage").isEmpty());
    trans->setValueForKey(u"trans_photo", Value(files.filePath(QStringLiteral("broken.jpg"))));
    other.showRecord(*trans);
    EXPECT_TRUE(other.currentTransImage().isNull());
    EXPECT_TRUE(other.removeButton()->isHidden());
    EXPECT_FALSE(other.noPhotoStatusTextField()->isHidden());
}

TEST_F(PhotoPaneTest, RemovingThePhotoThenSavingDeletesTheFile)
{
    pane.setCurrentTransImage(filled(40, 30, Qt::red));
    ASSERT_TRUE(pane.saveToRecord(*trans));
    const QString path = trans->valueForKey(u"trans_photo").toString();
    ASSERT_TRUE(QFile::exists(path));

    pane.removeButton()->click();
    EXPECT_TRUE(pane.currentTransImage().isNull());
    EXPECT_TRUE(pane.removeButton()->isHidden());
    EXPECT_FALSE(pane.noPhotoStatusTextField()->isHidden());
    EXPECT_TRUE(QFile::exists(path)) << "the file went before the save";

    ASSERT_TRUE(pane.saveToRecord(*trans));
    EXPECT_FALSE(QFile::exists(path));
    EXPECT_TRUE(trans->valueForKey(u"trans_photo").isNull());
}
