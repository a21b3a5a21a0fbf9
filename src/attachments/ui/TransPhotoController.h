#pragma once

#include "attachments/ui/PhotoCamera.h"
#include "common/Result.h"

#include <QImage>
#include <QWidget>
#include <memory>

class QLabel;
class QPushButton;

namespace qf {

class ManagedObject;
class PhotoImageView;
class Quillfen_AppDelegate;

// The photo pane of the transaction editor: the one photo of a transaction,
// taken with the camera or dropped in as an image, kept here until the
// editor saves.
class TransPhotoController : public QWidget {
    Q_OBJECT

public:
    // The delegate must outlive the pane.
    explicit TransPhotoController(Quillfen_AppDelegate& delegate, QWidget* parent = nullptr);
    ~TransPhotoController() override;

    // A null image means no photo: the remove button goes and the no-photo
    // text shows.
    void setCurrentTransImage(const QImage& image);
    QImage currentTransImage() const { return m_currentTransImage; }

    void setupPhotoPane();
    // Stops the camera, if it runs, and shows the photo again.
    void turnOffiSight();
    bool isCameraRunning() const { return m_camera != nullptr; }

    // The editor's save step: the photo written as the transaction's
    // Trans_Photo.jpg (trans_photo set), or the old file deleted and
    // trans_photo cleared when there is none. A stored file that exists but
    // could not be read is left alone, with trans_photo, unless the user
    // pressed remove.
    Status saveToRecord(ManagedObject& transaction);
    // The photo at trans_photo, in any format Qt reads whatever its name;
    // none when missing or unreadable.
    void showRecord(ManagedObject& transaction);
    // The record's photo file exists but could not be read, and is kept.
    bool keepsUnreadablePhoto() const { return m_keepsUnreadablePhoto; }

    // Bytes stored for a photo: TIFF, LZW-compressed; PNG, with a warning,
    // where Qt has no TIFF writer (the image-formats plugins are missing).
    static Result<QByteArray> encodedPhoto(const QImage& image);
    // Tests put a camera of their own here; the default is the system's.
    void setCameraFactory(PhotoCamera::Factory factory) { m_cameraFactory = std::move(factory); }

    PhotoImageView* transPhotoImageView() const { return m_imageView; }
    QPushButton* togglePhotoButton() const { return m_toggleButton; }
    QPushButton* takePictureButton() const { return m_takePictureButton; }
    QPushButton* removeButton() const { return m_removeButton; }
    QLabel* noPhotoStatusTextField() const { return m_noPhotoText; }

public Q_SLOTS:
    void toggleiSight(bool on);
    void takePicture();
    void removePhoto();

protected:
    // A pane that goes out of sight (its window closed) lets the camera go.
    void hideEvent(QHideEvent* event) override;

private:
    void startCamera();
    void cameraFailed();
    void setToggle(bool on);
    void showPhotoControls();
    void flashView();
    void puffOverView();

    Quillfen_AppDelegate& m_delegate;
    QImage m_currentTransImage;
    bool m_keepsUnreadablePhoto = false;
    PhotoCamera::Factory m_cameraFactory;
    std::unique_ptr<PhotoCamera> m_camera;
    PhotoImageView* m_imageView = nullptr;
    QLabel* m_noPhotoText = nullptr;
    QPushButton* m_toggleButton = nullptr;
    QPushButton* m_takePictureButton = nullptr;
    QPushButton* m_removeButton = nullptr;
};

} // namespace qf
