#pragma once

#include <QImage>
#include <QWidget>
#include <optional>

class QMimeData;

namespace qf {

// Shows one image scaled to fit inside a frame, and takes images dropped on
// it: a local image file the platform can read, or image data.
class PhotoImageView : public QWidget {
    Q_OBJECT

public:
    explicit PhotoImageView(QWidget* parent = nullptr);

    void setImage(const QImage& image);
    const QImage& image() const { return m_image; }

    // Whether a drag is worth offering: image data, or a local file whose
    // extension names a readable image type. The file is read only on drop.
    static bool canAcceptDrop(const QMimeData& mime);
    // The image a drop carries: the first local file that reads as an image,
    // else the image data; none when there is neither.
    static std::optional<QImage> imageFromMimeData(const QMimeData& mime);

    QSize sizeHint() const override { return {340, 260}; }

Q_SIGNALS:
    void imageDropped(const QImage& image);

protected:
    void paintEvent(QPaintEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void setDropTarget(bool on);

    QImage m_image;
    bool m_dropTarget = false; // a drag we would take hovers over the view
};

} // namespace qf
