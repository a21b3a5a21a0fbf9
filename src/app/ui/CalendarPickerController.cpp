#include "app/ui/CalendarPickerController.h"

#include "app/UserDefaults.h"

#include <QApplication>
#include <QCalendarWidget>
#include <QDialogButtonBox>
#include <QEvent>
#include <QFrame>
#include <QKeyEvent>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

namespace qf {

CalendarPickerController::CalendarPickerController(QObject* parent) : QObject(parent) {}

CalendarPickerController::~CalendarPickerController()
{
    // At exit the application is already gone and a window cannot be torn
    // down cleanly any more; the process ends anyway.
    if (!QCoreApplication::closingDown())
        delete m_panel;
}

CalendarPickerController& CalendarPickerController::sharedInstance()
{
    static CalendarPickerController* instance = new CalendarPickerController(QCoreApplication::instance());
    return *instance;
}

void CalendarPickerController::build()
{
    // A popup: it closes when the user clicks elsewhere, which is a cancel.
    auto* panel = new QFrame(nullptr, Qt::Popup);
    panel->setAttribute(Qt::WA_DeleteOnClose, false);
    panel->setFrameShape(QFrame::StyledPanel);
    panel->setObjectName(QStringLiteral("calendarPicker"));
    m_calendar = new QCalendarWidget(panel);
    m_calendar->setGridVisible(false);
    m_calendar->setVerticalHeaderFormat(QCalendarWidget::NoVerticalHeader);
    auto* buttons = new QDialogButtonBox(panel);
    m_cancel = buttons->addButton(QDialogButtonBox::Cancel);
    m_done = buttons->addButton(tr("Done"), QDialogButtonBox::AcceptRole);
    m_done->setDefault(true);
    auto* layout = new QVBoxLayout(panel);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->addWidget(m_calendar);
    layout->addWidget(buttons);

    connect(m_done, &QPushButton::clicked, this, &CalendarPickerController::done);
    connect(m_cancel, &QPushButton::clicked, this, &CalendarPickerController::cancel);
    // Double click and Return on a date.
    connect(m_calendar, &QCalendarWidget::activated, this, &CalendarPickerController::done);
    panel->installEventFilter(this);
    m_panel = panel;
}

void CalendarPickerController::showCalendarPickerWithDate(const QDate& date, QWidget* sender,
                                                          DoneHandler calendarPickerDone)
{
    if (!m_panel)
        build();
    m_sender = sender;
    m_handler = std::move(calendarPickerDone);
    if (m_fade)
        m_fade->stop();
    m_closing = false;

    const QLocale locale(UserDefaults::standard().stringForKey(DefaultsKey::LocaleIdentifier));
    m_calendar->setLocale(locale);
    m_calendar->setFirstDayOfWeek(locale.firstDayOfWeek());
    const QDate shown = date.isValid() ? date : QDate::currentDate();
    m_calendar->setSelectedDate(shown);
    m_calendar->setCurrentPage(shown.year(), shown.month());

    m_panel->setWindowOpacity(1.0);
    m_panel->adjustSize();
    if (sender) {
        QPoint at = sender->mapToGlobal(QPoint(0, sender->height() + 2));
        if (QScreen* screen = sender->screen()) {
            const QRect room = screen->availableGeometry();
            at.setX(std::clamp(at.x(), room.left(), std::max(room.left(), room.right() - m_panel->width())));
            if (at.y() + m_panel->height() > room.bottom())
                at.setY(sender->mapToGlobal(QPoint(0, 0)).y() - m_panel->height() - 2);
        }
        m_panel->move(at);
    }
    m_panel->show();
    m_calendar->setFocus();
}

void CalendarPickerController::done()
{
    if (!m_panel || !m_panel->isVisible() || m_closing)
        return;
    const QDate picked = m_calendar->selectedDate();
    // Taken before the call: the handler may open the picker again.
    DoneHandler handler = std::move(m_handler);
    QWidget* sender = m_sender;
    m_handler = {};
    fadeOut();
    if (handler)
        handler(picked, sender);
}

void CalendarPickerController::cancel()
{
    if (!m_panel || !m_panel->isVisible() || m_closing)
        return;
    m_handler = {};
    fadeOut();
}

void CalendarPickerController::fadeOut()
{
    m_closing = true;
    auto* fade = new QPropertyAnimation(m_panel, "windowOpacity", this);
    fade->setDuration(150);
    fade->setStartValue(1.0);
    fade->setEndValue(0.0);
    QPointer<QWidget> panel = m_panel;
    connect(fade, &QPropertyAnimation::finished, this, [this, panel] {
        if (panel && m_closing) {
            panel->hide();
            panel->setWindowOpacity(1.0);
        }
        m_closing = false;
    });
    m_fade = fade;
    fade->start(QAbstractAnimation::DeleteWhenStopped);
}

bool CalendarPickerController::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_panel) {
        if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
            cancel();
            return true;
        }
        // A click outside closes a popup without asking us: that is a cancel.
        if (event->type() == QEvent::Hide && !m_closing)
            m_handler = {};
    }
    return QObject::eventFilter(watched, event);
}

} // namespace qf
