#pragma once

#include <QCoreApplication>
#include <QDropEvent>
#include <QMimeData>
#include <QWidget>

namespace qf::test {

// Whether target takes a drag of mime as it enters.
inline bool sendDragEnter(QWidget* target, const QMimeData& mime, QPoint at = {20, 20})
{
    QDragEnterEvent enter(at, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    enter.setAccepted(false);
    QCoreApplication::sendEvent(target, &enter);
    return enter.isAccepted();
}

// Drags mime onto target and drops it there; true when the drop was taken.
// The application hands a drop only to the widget that took the drag as it
// entered, so the drag enters first.
inline bool sendDrop(QWidget* target, const QMimeData& mime, QPoint at = {20, 20})
{
    sendDragEnter(target, mime, at);
    QDropEvent drop(QPointF(at), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    drop.setAccepted(false);
    QCoreApplication::sendEvent(target, &drop);
    return drop.isAccepted();
}

} // namespace qf::test
