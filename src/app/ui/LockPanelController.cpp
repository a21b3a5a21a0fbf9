#include "app/ui/LockPanelController.h"

#include "app/DatabasePassword.h"
#include "app/SoundPlayer.h"
#include "app/UserDefaults.h"
#include "views/ui/IconLibrary.h"

#include <QAction>
#include <QApplication>
#include <QEvent>
#include <QGraphicsOpacityEffect>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QSequentialAnimationGroup>
#include <QVBoxLayout>
#include <QVariantAnimation>
#include <functional>

namespace qf {

// Paints the window colour at a given strength over the content beneath, so
// raising the strength fades the content out. It takes every click.
class LockOverlay final : public QWidget {
public:
    explicit LockOverlay(QWidget* parent) : QWidget(parent) { setObjectName(QStringLiteral("lockPanel")); }

    void setShade(qreal shade)
    {
        m_shade = shade;
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        QColor color = palette().color(QPalette::Window);
        color.setAlphaF(float(m_shade));
        painter.fillRect(rect(), color);
    }

private:
    qreal m_shade = 1.0;
};

namespace {

// The card in the middle of the panel: a rounded, slightly raised surface.
class LockCard final : public QWidget {
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QPalette& p = palette();
        painter.setPen(QPen(p.color(QPalette::Mid), 1));
        painter.setBrush(p.color(QPalette::Base));
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 10, 10);
    }
};

// Password fields hold at most 255 characters: the keychain returns at most
// 1023 bytes, and a longer password could never be typed back exactly.
constexpr int kPasswordMaxLength = 255;

} // namespace

LockPanelController::LockPanelController(QMainWindow& window)
    : QObject(&window), m_window(window), m_lock(UserDefaults::standard())
{
    build();
    m_window.installEventFilter(this);
    m_menuWidget = m_window.menuWidget();
    if (m_menuWidget)
        m_menuWidget->installEventFilter(this);
}

LockPanelController::~LockPanelController() = default;

bool LockPanelController::canLock()
{
    return DatabasePassword::exists();
}

QWidget* LockPanelController::panel() const
{
    return m_overlay;
}

bool LockPanelController::isTransitionRunning() const
{
    return m_transition && m_transition->state() == QAbstractAnimation::Running;
}

void LockPanelController::build()
{
    m_overlay = new LockOverlay(&m_window);
    m_overlay->hide();

    m_card = new LockCard(m_overlay);
    m_card->setObjectName(QStringLiteral("lockCard"));
    m_card->setFixedWidth(340);
    auto* icon = new QLabel(m_card);
    icon->setPixmap(quillfenIcon(QStringLiteral("lock-closed")).pixmap(48, 48));
    icon->setAlignment(Qt::AlignCenter);
    auto* title = new QLabel(tr("This ledger is locked"), m_card);
    QFont titleFont = title->font();
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.3);
    titleFont.setBold(true);
    title->setFont(titleFont);
    title->setAlignment(Qt::AlignCenter);
    auto* hint = new QLabel(tr("Enter the database password to open it."), m_card);
    hint->setAlignment(Qt::AlignCenter);
    hint->setWordWrap(true);
    m_password = new QLineEdit(m_card);
    m_password->setObjectName(QStringLiteral("lockPassword"));
    m_password->setEchoMode(QLineEdit::Password);
    m_password->setMaxLength(kPasswordMaxLength);
    m_password->setPlaceholderText(tr("Password"));
    m_unlock = new QPushButton(tr("Unlock"), m_card);
    m_unlock->setDefault(true);

    auto* row = new QHBoxLayout;
    row->addWidget(m_password, 1);
    row->addWidget(m_unlock);
    auto* layout = new QVBoxLayout(m_card);
    layout->setContentsMargins(28, 24, 28, 24);
    layout->setSpacing(10);
    layout->addWidget(icon);
    layout->addWidget(title);
    layout->addWidget(hint);
    layout->addSpacing(6);
    layout->addLayout(row);

    auto* outer = new QVBoxLayout(m_overlay);
    outer->addStretch(2);
    outer->addWidget(m_card, 0, Qt::AlignHCenter);
    outer->addStretch(3);

    connect(m_password, &QLineEdit::returnPressed, this, &LockPanelController::unlockDatabase);
    connect(m_unlock, &QPushButton::clicked, this, &LockPanelController::unlockDatabase);
}

bool LockPanelController::shouldAnimate() const
{
    return m_window.isVisible() && UserDefaults::standard().boolForKey(DefaultsKey::ShouldUseAnimation);
}

void LockPanelController::placeOverlay()
{
    int top = 0;
    if (QWidget* menu = m_window.menuWidget(); menu && !menu->isHidden())
        top = menu->geometry().bottom() + 1;
    m_overlay->setGeometry(0, top, m_window.width(), m_window.height() - top);
}

void LockPanelController::lockDatabase()
{
    if (m_lock.lockDatabase() != DatabaseLock::LockOutcome::Locked)
        return;
    if (m_transition)
        m_transition->stop();
    disableContent();
    m_password->clear();
    placeOverlay();
    m_overlay->raise();
    m_overlay->show();
    m_password->setFocus();
    SoundPlayer::shared().play(QStringLiteral("lockClosing"));

    if (shouldAnimate()) {
        // The content fades out under the growing shade, then the card fades in.
        auto* cardEffect = new QGraphicsOpacityEffect(m_card);
        cardEffect->setOpacity(0.0);
        m_card->setGraphicsEffect(cardEffect);
        m_overlay->setShade(0.0);
        auto* sequence = new QSequentialAnimationGroup(this);
        auto* shade = new QVariantAnimation(sequence);
        shade->setDuration(m_duration);
        shade->setStartValue(0.0);
        shade->setEndValue(1.0);
        connect(shade, &QVariantAnimation::valueChanged, m_overlay,
                [overlay = m_overlay](const QVariant& v) { overlay->setShade(v.toReal()); });
        auto* card = new QPropertyAnimation(cardEffect, "opacity", sequence);
        card->setDuration(m_duration);
        card->setStartValue(0.0);
        card->setEndValue(1.0);
        sequence->addAnimation(shade);
        sequence->addAnimation(card);
        // Opacity effects cost a redraw through a pixmap; drop it once opaque.
        connect(sequence, &QAbstractAnimation::finished, m_card, [card = m_card] { card->setGraphicsEffect(nullptr); });
        m_transition = sequence;
        sequence->start(QAbstractAnimation::DeleteWhenStopped);
    } else {
        m_card->setGraphicsEffect(nullptr);
        m_overlay->setShade(1.0);
    }
    Q_EMIT lockChanged(true);
}

void LockPanelController::unlockDatabase()
{
    using Outcome = DatabaseLock::UnlockOutcome;
    const Outcome outcome = m_lock.unlockDatabase(m_password->text());
    if (outcome == Outcome::WrongPassword)
        m_password->clear();
    if (DatabaseLock::beepsFor(outcome)) {
        QApplication::beep();
        shakeCard();
        return;
    }
    if (outcome != Outcome::Unlocked)
        return;

    m_password->clear();
    if (m_transition)
        m_transition->stop();
    enableContent();
    SoundPlayer::shared().play(QStringLiteral("lockOpening"));

    if (shouldAnimate()) {
        auto* cardEffect = new QGraphicsOpacityEffect(m_card);
        m_card->setGraphicsEffect(cardEffect);
        auto* sequence = new QSequentialAnimationGroup(this);
        auto* card = new QPropertyAnimation(cardEffect, "opacity", sequence);
        card->setDuration(m_duration);
        card->setStartValue(1.0);
        card->setEndValue(0.0);
        auto* shade = new QVariantAnimation(sequence);
        shade->setDuration(m_duration);
        shade->setStartValue(1.0);
        shade->setEndValue(0.0);
        connect(shade, &QVariantAnimation::valueChanged, m_overlay,
                [overlay = m_overlay](const QVariant& v) { overlay->setShade(v.toReal()); });
        sequence->addAnimation(card);
        sequence->addAnimation(shade);
        connect(sequence, &QAbstractAnimation::finished, m_overlay, [this] {
            m_overlay->hide();
            m_card->setGraphicsEffect(nullptr);
        });
        m_transition = sequence;
        sequence->start(QAbstractAnimation::DeleteWhenStopped);
    } else {
        m_overlay->hide();
    }
    Q_EMIT lockChanged(false);
}

bool LockPanelController::isShaking() const
{
    return m_shake && m_shake->state() == QAbstractAnimation::Running;
}

void LockPanelController::shakeCard()
{
    // The beep is often silent on a Linux desktop; a shaking card is not.
    if (isShaking())
        return;
    auto* shake = new QPropertyAnimation(m_card, "pos", this);
    const QPoint home = m_card->pos();
    shake->setDuration(360);
    shake->setStartValue(home);
    const int offsets[] = {10, -9, 7, -5, 3, -1};
    for (int i = 0; i < 6; ++i)
        shake->setKeyValueAt((i + 1) / 7.0, home + QPoint(offsets[i], 0));
    shake->setEndValue(home);
    m_shake = shake;
    shake->start(QAbstractAnimation::DeleteWhenStopped);
}

void LockPanelController::disableContent()
{
    // Everything in the window but the menu bar and the panel: the central
    // view, the status bar with its balances, any tool bar or dock.
    for (QObject* child : m_window.children()) {
        auto* widget = qobject_cast<QWidget*>(child);
        if (!widget || widget == m_overlay || widget == m_window.menuWidget())
            continue;
        // The window's own windows (preferences) go away: in them the
        // password could be changed and the lock opened with the new one.
        if (widget->isWindow()) {
            widget->hide();
            continue;
        }
        if (widget->isEnabled()) {
            widget->setEnabled(false);
            m_disabledWidgets << widget;
        }
    }
    // Menu shortcuts would still reach the ledger; only Quit stays.
    if (QWidget* menuWidget = m_window.menuWidget()) {
        std::function<void(const QList<QAction*>&)> disableAll = [&](const QList<QAction*>& actions) {
            for (QAction* action : actions) {
                if (QMenu* menu = action->menu()) {
                    disableAll(menu->actions());
                    continue;
                }
                if (action->isSeparator() || action->menuRole() == QAction::QuitRole || !action->isEnabled())
                    continue;
                action->setEnabled(false);
                m_disabledActions << action;
            }
        };
        disableAll(menuWidget->actions());
    }
}

void LockPanelController::enableContent()
{
    for (const QPointer<QWidget>& widget : std::as_const(m_disabledWidgets)) {
        if (widget)
            widget->setEnabled(true);
    }
    for (const QPointer<QAction>& action : std::as_const(m_disabledActions)) {
        if (action)
            action->setEnabled(true);
    }
    m_disabledWidgets.clear();
    m_disabledActions.clear();
}

bool LockPanelController::eventFilter(QObject* watched, QEvent* event)
{
    // The menu bar gets its height only when the window is laid out.
    const QEvent::Type type = event->type();
    if (type != QEvent::Resize && type != QEvent::Show && type != QEvent::Move)
        return QObject::eventFilter(watched, event);
    const bool watchedWindow = watched == &m_window || (m_menuWidget && watched == m_menuWidget.data());
    if (watchedWindow && !m_overlay->isHidden())
        placeOverlay();
    return QObject::eventFilter(watched, event);
}

} // namespace qf
