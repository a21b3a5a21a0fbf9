#include "attachments/ui/PhotoImageView.h"

#include <QDragEnterEvent>
#include <QFileInfo>
#include <QImageReader>
#include <QMimeData>
#include <QPainter>
#include <QUrl>

namespace qf {

namespace {

bool hasReadableImageSuffix(const QString& path)
{
    static const QList<QByteArray> formats = QImageReader::supportedImageFormats();
    return formats.contains(QFileInfo(path).suffix().toLower().toUtf8());
}

QImage imageData(const QMimeData& mime)
{
    return mime.hasImage() ? qvariant_cast<QImage>(mime.imageData()) : QImage();
}

} // namespace

PhotoImageView::PhotoImageView(QWidget* parent) : QWidget(parent)
{
    setAcceptDrops(true);
    setMinimumSize(200, 150);
}

void PhotoImageView::setImage(const QImage& image)
{
    m_image = image;
    update();
}

bool PhotoImageView::canAcceptDrop(const QMimeData& mime)
{
    if (mime.hasImage())
        return true;
    for (const QUrl& url : mime.urls())
        if (url.isLocalFile() && hasReadableImageSuffix(url.toLocalFile()))
            return true;
    return false;
}

std::optional<QImage> PhotoImageView::imageFromMimeData(const QMimeData& mime)
{
    for (const QUrl& url : mime.urls()) {
        if (!url.isLocalFile() || !hasReadableImageSuffix(url.toLocalFile()))
            continue;
        // The content decides: a renamed text file must not pass as a photo.
        QImageReader reader(url.toLocalFile());
        reader.setAutoTransform(true);
        QImage image = reader.read();
        if (!image.isNull())
            return image;
    }
    QImage image = imageData(mime);
    if (!image.isNull())
        return image;
    return std::nullopt;
}

void PhotoImageView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF frame = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(m_dropTarget ? QPen(palette().color(QPalette::Highlight), 2) : QPen(palette().color(QPalette::Mid)));
    painter.setBrush(palette().color(QPalette::Base));
    painter.drawRoundedRect(m_dropTarget ? frame.adjusted(0.5, 0.5, -0.5, -0.5) : frame, 6, 6);
    if (m_image.isNull())
        return;
    const QRect inside = rect().adjusted(8, 8, -8, -8);
    QSize size = m_image.size();
    // Small pictures stay at their own size instead of being blown up.
    if (size.width() > inside.width() || size.height() > inside.height())
        size.scale(inside.size(), Qt::KeepAspectRatio);
    QRect target(QPoint(0, 0), size);
    target.moveCenter(inside.center());
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(target, m_image);
}

void PhotoImageView::dragEnterEvent(QDragEnterEvent* event)
{
    dragMoveEvent(event);
}

void PhotoImageView::dragMoveEvent(QDragMoveEvent* event)
{
    const bool acceptable = event->mimeData() && canAcceptDrop(*event->mimeData());
    setDropTarget(acceptable);
    if (acceptable)
        event->acceptProposedAction();
    else
        event->ignore();
}

void PhotoImageView::dragLeaveEvent(QDragLeaveEvent*)
{
    setDropTarget(false);
}

void PhotoImageView::setDropTarget(bool on)
{
    if (m_dropTarget == on)
        return;
    m_dropTarget = on;
    update();
}

void PhotoImageView::dropEvent(QDropEvent* event)
{
    setDropTarget(false);
    const std::optional<QImage> image = event->mimeData() ? imageFromMimeData(*event->mimeData()) : std::nullopt;
    if (!image) {
        event->ignore();
        return;
    }
    event->acceptProposedAction();
    Q_EMIT imageDropped(*image);
}

} // namespace qf
