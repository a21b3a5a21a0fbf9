#include "attachments/ui/TransPhotoController.h"

#include "app/Quillfen_AppDelegate.h"
#include "app/SoundPlayer.h"
#include "attachments/TransPhotoStore.h"
#include "attachments/ui/PhotoImageView.h"
#include "store/ManagedObject.h"

#include <QBuffer>
#include <QFileInfo>
#include <QGraphicsOpacityEffect>
#include <QHBoxLayout>
#include <QImageReader>
#include <QImageWriter>
#include <QLabel>
#include <QMessageBox>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QVBoxLayout>

namespace qf {

namespace {

const QSize kWantedCameraResolution(320, 240);

// Lays overlay over its parent and runs its opacity through the key values,
// then lets it go.
void animateOverlay(QWidget* overlay, int milliseconds, const QList<std::pair<qreal, qreal>>& opacities)
{
    overlay->setGeometry(overlay->parentWidget()->rect());
    overlay->setAttribute(Qt::WA_TransparentForMouseEvents);
    auto* effect = new QGraphicsOpacityEffect(overlay);
    effect->setOpacity(opacities.first().second);
    overlay->setGraphicsEffect(effect);
    overlay->show();
    overlay->raise();
    auto* animation = new QPropertyAnimation(effect, "opacity", overlay);
    animation->setDuration(milliseconds);
    for (const auto& [step, opacity] : opacities)
        animation->setKeyValueAt(step, opacity);
    QObject::connect(animation, &QPropertyAnimation::finished, overlay, &QObject::deleteLater);
    animation->start();
}

} // namespace

TransPhotoController::TransPhotoController(Quillfen_AppDelegate& delegate, QWidget* parent)
    : QWidget(parent), m_delegate(delegate)
{
    m_imageView = new PhotoImageView(this);
    m_noPhotoText = new QLabel(m_imageView);
    m_noPhotoText->setAlignment(Qt::AlignCenter);
    m_noPhotoText->setWordWrap(true);
    m_noPhotoText->setForegroundRole(QPalette::PlaceholderText);
    auto* viewLayout = new QVBoxLayout(m_imageView);
    viewLayout->setContentsMargins(16, 16, 16, 16);
    viewLayout->addWidget(m_noPhotoText);

    m_toggleButton = new QPushButton(tr("Camera"), this);
    m_toggleButton->setCheckable(true);
    m_toggleButton->setToolTip(tr("Turn the camera on or off"));
    m_takePictureButton = new QPushButton(tr("Take Picture"), this);
    m_removeButton = new QPushButton(tr("Remove"), this);
    m_removeButton->setToolTip(tr("Remove the photo"));

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_toggleButton);
    buttons->addWidget(m_takePictureButton);
    buttons->addStretch(1);
    buttons->addWidget(m_removeButton);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_imageView, 1);
    layout->addLayout(buttons);

    connect(m_toggleButton, &QPushButton::toggled, this, &TransPhotoController::toggleiSight);
    connect(m_takePictureButton, &QPushButton::clicked, this, &TransPhotoController::takePicture);
    connect(m_removeButton, &QPushButton::clicked, this, &TransPhotoController::removePhoto);
    connect(m_imageView, &PhotoImageView::imageDropped, this, [this](const QImage& image) {
        turnOffiSight();
        setCurrentTransImage(image);
    });

    setupPhotoPane();
    showPhotoControls();
}

TransPhotoController::~TransPhotoController()
{
    if (m_camera)
        m_camera->stop();
}

void TransPhotoController::setCurrentTransImage(const QImage& image)
{
    m_currentTransImage = image;
    m_keepsUnreadablePhoto = false;
    m_imageView->setImage(image);
    showPhotoControls();
}

void TransPhotoController::setupPhotoPane()
{
    m_takePictureButton->hide();
}

void TransPhotoController::showPhotoControls()
{
    const bool shown = !m_currentTransImage.isNull();
    // A kept file that cannot be shown is still a photo the user may remove.
    m_removeButton->setVisible(shown || m_keepsUnreadablePhoto);
    m_noPhotoText->setVisible(!shown);
    const QString title = m_keepsUnreadablePhoto ? tr("Photo Cannot Be Shown") : tr("No Photo");
    const QString detail = m_keepsUnreadablePhoto
                               ? tr("The stored photo file could not be read. It is kept unless you remove it.")
                               : tr("Drop an image here, or take one with the camera.");
    m_noPhotoText->setText(QStringLiteral("<p style='font-size:large'><b>%1</b></p><p>%2</p>")
                               .arg(title.toHtmlEscaped(), detail.toHtmlEscaped()));
}

void TransPhotoController::setToggle(bool on)
{
    const QSignalBlocker blocker(m_toggleButton);
    m_toggleButton->setChecked(on);
}

void TransPhotoController::toggleiSight(bool on)
{
    setToggle(on);
    if (on)
        startCamera();
    else
        turnOffiSight();
}

void TransPhotoController::startCamera()
{
    if (m_camera)
        return;
    std::unique_ptr<PhotoCamera> camera = m_cameraFactory ? m_cameraFactory() : PhotoCamera::createSystemCamera();
    PhotoCamera* raw = camera.get();
    connect(raw, &PhotoCamera::frameReceived, m_imageView, &PhotoImageView::setImage);
    // Queued: a camera may fail from inside its own start() or frame delivery,
    // and the pane lets it go in answer.
    connect(
        raw, &PhotoCamera::failed, this,
        [this, raw] {
            if (m_camera.get() == raw)
                cameraFailed();
        },
        Qt::QueuedConnection);
    if (!raw->start(kWantedCameraResolution)) {
        camera.reset();
        cameraFailed();
        return;
    }
    m_camera = std::move(camera);
    m_takePictureButton->show();
    m_noPhotoText->hide();
    m_imageView->setImage(QImage());
}

void TransPhotoController::cameraFailed()
{
    if (m_camera) {
        m_camera->stop();
        m_camera.release()->deleteLater();
    }
    QMessageBox box(QMessageBox::Warning, tr("Failed to connect to camera"), tr("Failed to connect to camera"),
                    QMessageBox::Ok, this);
    box.setInformativeText(tr("No camera was found or it is in use by another application."));
    box.button(QMessageBox::Ok)->setText(tr("OK"));
    box.exec();
    m_takePictureButton->hide();
    setToggle(false);
    m_imageView->setImage(m_currentTransImage);
    showPhotoControls();
}

void TransPhotoController::turnOffiSight()
{
    if (m_camera) {
        m_camera->stop();
        // Later: this may run inside one of the camera's own signals.
        m_camera.release()->deleteLater();
    }
    showPhotoControls();
    m_imageView->setImage(m_currentTransImage);
    m_takePictureButton->hide();
    setToggle(false);
}

void TransPhotoController::hideEvent(QHideEvent* event)
{
    if (m_camera)
        turnOffiSight();
    QWidget::hideEvent(event);
}

void TransPhotoController::takePicture()
{
    if (!m_camera)
        return;
    m_takePictureButton->hide();
    SoundPlayer::shared().play(QStringLiteral("photo_shutter"));
    flashView();
    const QImage frame = m_camera->currentFrame();
    turnOffiSight();
    // No frame yet (pressed at once): the photo stays as it was.
    if (!frame.isNull())
        setCurrentTransImage(frame);
}

void TransPhotoController::removePhoto()
{
    if (m_keepsUnreadablePhoto && m_currentTransImage.isNull()) {
        m_keepsUnreadablePhoto = false;
        showPhotoControls();
        return;
    }
    if (m_currentTransImage.isNull())
        return;
    puffOverView();
    setCurrentTransImage(QImage());
}

void TransPhotoController::flashView()
{
    auto* flash = new QWidget(m_imageView);
    flash->setAutoFillBackground(true);
    QPalette white = flash->palette();
    white.setColor(QPalette::Window, Qt::white);
    flash->setPalette(white);
    animateOverlay(flash, 360, {{0.0, 0.0}, {0.2, 1.0}, {0.45, 0.0}, {0.65, 1.0}, {1.0, 0.0}});
}

void TransPhotoController::puffOverView()
{
    // The old photo, as drawn, fades out above the emptied view.
    auto* puff = new QLabel(m_imageView);
    puff->setPixmap(m_imageView->grab());
    animateOverlay(puff, 250, {{0.0, 1.0}, {1.0, 0.0}});
}

Status TransPhotoController::saveToRecord(ManagedObject& transaction)
{
    // What could not be read is not thrown away unasked.
    if (m_keepsUnreadablePhoto && m_currentTransImage.isNull())
        return Status::ok();
    std::optional<QByteArray> bytes;
    if (!m_currentTransImage.isNull()) {
        Result<QByteArray> encoded = encodedPhoto(m_currentTransImage);
        if (!encoded)
            return encoded.error();
        bytes = std::move(encoded).value();
    }
    return TransPhotoStore::savePhoto(transaction, m_delegate, bytes);
}

void TransPhotoController::showRecord(ManagedObject& transaction)
{
    const QString path = transaction.valueForKey(u"trans_photo").toString();
    QImage image;
    if (!path.isEmpty()) {
        // The stored name says .jpg whatever the content is.
        QImageReader reader(path);
        reader.setDecideFormatFromContent(true);
        image = reader.read();
    }
    turnOffiSight();
    setCurrentTransImage(image);
    if (image.isNull() && !path.isEmpty() && QFileInfo::exists(path)) {
        m_keepsUnreadablePhoto = true;
        showPhotoControls();
    }
}

Result<QByteArray> TransPhotoController::encodedPhoto(const QImage& image)
{
    static const bool canWriteTiff = QImageWriter::supportedImageFormats().contains("tiff");
    if (!canWriteTiff)
        qWarning("Qt has no TIFF writer (qt6-image-formats-plugins missing); the photo is stored as PNG");
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    // PNG, where TIFF cannot be written, loses nothing either, and reads
    // back because readers go by content.
    QImageWriter writer(&buffer, canWriteTiff ? QByteArrayLiteral("tiff") : QByteArrayLiteral("png"));
    // LZW: lossless, and a dropped camera picture does not grow tenfold.
    if (canWriteTiff)
        writer.setCompression(1);
    if (!writer.write(image))
        return Result<QByteArray>::failure(QStringLiteral("Could not encode the photo: %1").arg(writer.errorString()));
    return bytes;
}

} // namespace qf
