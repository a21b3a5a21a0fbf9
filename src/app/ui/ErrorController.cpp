#include "app/ui/ErrorController.h"

#include <QApplication>
#include <QEvent>
#include <QGraphicsOpacityEffect>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QWidget>
#include <QPainter>
#include <QPainterPath>
#include <QParallelAnimationGroup>
#include <QPropertyAnimation>
#include <functional>

namespace qf {

namespace {

constexpr int kGap = 4;
constexpr int kFadeMilliseconds = 150;

// A red speech badge with a white exclamation mark, its tip pointing left.
class ErrorMarker final : public QWidget {
public:
    explicit ErrorMarker(QWidget* parent) : QWidget(parent)
    {
        setFixedSize(30, 24);
        setCursor(Qt::PointingHandCursor);
        setObjectName(QStringLiteral("errorMarker"));
    }

    std::function<void()> clicked;

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const qreal tip = 6;
        const QRectF body(tip, 1, width() - tip - 1, height() - 2);
        QPainterPath path;
        path.addRoundedRect(body, 6, 6);
        const qreal middle = height() / 2.0;
        path.addPolygon(QPolygonF{QPointF(0.5, middle), QPointF(tip + 1, middle - 5), QPointF(tip + 1, middle + 5)});
        path.setFillRule(Qt::WindingFill);
        painter.setPen(QPen(QColor(0x99, 0x1B, 0x1B), 1));
        painter.setBrush(QColor(0xDC, 0x26, 0x26));
        painter.drawPath(path.simplified());

        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::white);
        const qreal x = body.center().x();
        painter.drawRoundedRect(QRectF(x - 1.5, body.top() + 4, 3, body.height() - 12), 1.5, 1.5);
        painter.drawEllipse(QPointF(x, body.bottom() - 4.5), 1.8, 1.8);
    }

    void mousePressEvent(QMouseEvent*) override
    {
        if (clicked)
            clicked();
    }
};

} // namespace

ErrorController::ErrorController(QObject* parent) : QObject(parent) {}

ErrorController& ErrorController::sharedInstance()
{
    // Parented to the application so it goes before the widgets' world does.
    static ErrorController* instance = new ErrorController(QCoreApplication::instance());
    return *instance;
}

bool ErrorController::isAnimating() const
{
    return m_entrance && m_entrance->state() == QAbstractAnimation::Running;
}

bool ErrorController::isShown() const
{
    return m_marker && !m_marker->isHidden() && !(m_exit && m_exit->state() == QAbstractAnimation::Running);
}

QWidget* ErrorController::panel() const
{
    return m_marker;
}

void ErrorController::displayErrorFromField(QWidget* field)
{
    if (!field || isAnimating())
        return;
    if (m_exit)
        m_exit->stop();

    QWidget* window = field->window();
    if (!m_marker || m_marker->parentWidget() != window) {
        delete m_marker;
        auto* marker = new ErrorMarker(window);
        marker->clicked = [this] { closeErrorPanel(); };
        m_marker = marker;
    }
    if (m_field != field) {
        if (m_field)
            m_field->removeEventFilter(this);
        field->installEventFilter(this);
        m_field = field;
    }
    placeBeside(field);
    m_marker->raise();
    m_marker->show();

    auto* effect = new QGraphicsOpacityEffect(m_marker);
    effect->setOpacity(0.0);
    m_marker->setGraphicsEffect(effect);

    auto* group = new QParallelAnimationGroup(this);
    auto* fade = new QPropertyAnimation(effect, "opacity", group);
    fade->setDuration(std::min(kFadeMilliseconds, m_duration));
    fade->setStartValue(0.0);
    fade->setEndValue(1.0);
    auto* shake = new QPropertyAnimation(m_marker, "pos", group);
    const QPoint home = m_marker->pos();
    shake->setDuration(m_duration);
    shake->setStartValue(home);
    const int offsets[] = {8, -7, 6, -4, 3, -1};
    for (int i = 0; i < 6; ++i)
        shake->setKeyValueAt((i + 1) / 7.0, home + QPoint(offsets[i], 0));
    shake->setEndValue(home);
    group->addAnimation(fade);
    group->addAnimation(shake);
    m_entrance = group;
    group->start(QAbstractAnimation::DeleteWhenStopped);
}

void ErrorController::closeErrorPanel()
{
    if (!isShown())
        return;
    if (m_entrance)
        m_entrance->stop();
    if (m_field) {
        m_field->removeEventFilter(this);
        m_field = nullptr;
    }
    auto* effect = qobject_cast<QGraphicsOpacityEffect*>(m_marker->graphicsEffect());
    if (!effect) {
        effect = new QGraphicsOpacityEffect(m_marker);
        m_marker->setGraphicsEffect(effect);
    }
    auto* fade = new QPropertyAnimation(effect, "opacity", this);
    fade->setDuration(kFadeMilliseconds);
    fade->setStartValue(effect->opacity());
    fade->setEndValue(0.0);
    QPointer<QWidget> marker = m_marker;
    connect(fade, &QPropertyAnimation::finished, this, [marker] {
        if (marker)
            marker->hide();
    });
    m_exit = fade;
    fade->start(QAbstractAnimation::DeleteWhenStopped);
}

bool ErrorController::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_field) {
        switch (event->type()) {
        case QEvent::KeyPress:
            closeErrorPanel();
            break;
        case QEvent::Hide:
            if (m_entrance)
                m_entrance->stop();
            if (m_marker)
                m_marker->hide();
            break;
        default:
            break;
        }
    }
    return QObject::eventFilter(watched, event);
}

void ErrorController::placeBeside(QWidget* field)
{
    auto* marker = static_cast<ErrorMarker*>(m_marker.data());
    QWidget* window = marker->parentWidget();
    const QPoint topLeft = field->mapTo(window, QPoint(0, 0));
    const int y = topLeft.y() + (field->height() - marker->height()) / 2;
    const int right = topLeft.x() + field->width() + kGap;
    // Without room on the right it sits over the field's right end rather
    // than on its left, where the field's label usually is.
    const int x = right + marker->width() <= window->width() ? right
                                                             : topLeft.x() + field->width() - marker->width() - kGap;
    marker->move(x, y);
}

} // namespace qf
