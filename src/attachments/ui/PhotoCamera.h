#pragma once

#include "common/Result.h"

#include <QImage>
#include <QObject>
#include <QSize>
#include <functional>
#include <memory>

namespace qf {

// A running camera as the photo pane sees it: started at a wanted size, it
// reports every frame and hands over the latest one. Tests put a camera of
// their own in its place. Main thread only.
class PhotoCamera : public QObject {
    Q_OBJECT

public:
    using Factory = std::function<std::unique_ptr<PhotoCamera>()>;

    // The computer's first camera through Qt Multimedia. A build without Qt
    // Multimedia gets a camera that never starts.
    static std::unique_ptr<PhotoCamera> createSystemCamera();

    // The resolution is taken when the camera offers it, else its default.
    // A failure means there is no usable camera; the camera may also fail
    // later, through failed().
    virtual Status start(QSize wantedResolution) = 0;
    virtual void stop() = 0;
    // Null until the first frame arrives.
    virtual QImage currentFrame() const = 0;

Q_SIGNALS:
    void frameReceived(const QImage& frame);
    void failed(const QString& message);
};

} // namespace qf
