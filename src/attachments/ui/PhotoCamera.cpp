#include "attachments/ui/PhotoCamera.h"

#ifdef QUILLFEN_HAVE_MULTIMEDIA
#include <QCamera>
#include <QCameraDevice>
#include <QMediaCaptureSession>
#include <QMediaDevices>
#include <QVideoFrame>
#include <QVideoSink>
#endif

namespace qf {

namespace {

#ifdef QUILLFEN_HAVE_MULTIMEDIA
class SystemCamera final : public PhotoCamera {
public:
    Status start(QSize wantedResolution) override
    {
        const QList<QCameraDevice> inputs = QMediaDevices::videoInputs();
        if (inputs.isEmpty())
            return Status::failure(QStringLiteral("No camera is connected"));
        const QCameraDevice device = QMediaDevices::defaultVideoInput().isNull() ? inputs.first()
                                                                                 : QMediaDevices::defaultVideoInput();
        m_camera = std::make_unique<QCamera>(device);
        for (const QCameraFormat& format : device.videoFormats()) {
            if (format.resolution() == wantedResolution) {
                m_camera->setCameraFormat(format);
                break;
            }
        }
        connect(m_camera.get(), &QCamera::errorOccurred, this, [this](QCamera::Error, const QString& message) {
            Q_EMIT failed(message);
        });
        // The session is made only for a camera that exists: building one
        // wakes the media backend, which is slow and noisy without a device.
        m_session = std::make_unique<QMediaCaptureSession>();
        m_sink = std::make_unique<QVideoSink>();
        m_session->setCamera(m_camera.get());
        m_session->setVideoSink(m_sink.get());
        connect(m_sink.get(), &QVideoSink::videoFrameChanged, this, [this](const QVideoFrame& frame) {
            QImage image = frame.toImage();
            if (image.isNull())
                return;
            m_frame = std::move(image);
            Q_EMIT frameReceived(m_frame);
        });
        m_camera->start();
        if (m_camera->error() != QCamera::NoError) {
            const QString message = m_camera->errorString();
            stop();
            return Status::failure(message);
        }
        return Status::ok();
    }

    void stop() override
    {
        if (!m_camera)
            return;
        m_sink->disconnect(this);
        m_camera->stop();
        m_session.reset();
        m_sink.reset();
        m_camera.reset();
    }

    QImage currentFrame() const override { return m_frame; }

    ~SystemCamera() override { stop(); }

private:
    std::unique_ptr<QMediaCaptureSession> m_session;
    std::unique_ptr<QVideoSink> m_sink;
    std::unique_ptr<QCamera> m_camera;
    QImage m_frame;
};
#else
class MissingCamera final : public PhotoCamera {
public:
    Status start(QSize) override { return Status::failure(QStringLiteral("Built without camera support")); }
    void stop() override {}
    QImage currentFrame() const override { return {}; }
};
#endif

} // namespace

std::unique_ptr<PhotoCamera> PhotoCamera::createSystemCamera()
{
#ifdef QUILLFEN_HAVE_MULTIMEDIA
    return std::make_unique<SystemCamera>();
#else
    return std::make_unique<MissingCamera>();
#endif
}

} // namespace qf
