#pragma once

#include <QDate>
#include <QObject>
#include <QPointer>
#include <functional>

class QAbstractAnimation;
class QCalendarWidget;
class QPushButton;
class QWidget;

namespace qf {

// The date-picker panel a date button opens. Done (or a double click on a
// date) hands the date back with the stored sender and fades the panel out;
// Cancel, Escape or a click outside only fade it out.
class CalendarPickerController : public QObject {
    Q_OBJECT

public:
    // Receives the picked date and the sender given to the show call (null
    // when that widget has gone since).
    using DoneHandler = std::function<void(const QDate& date, QWidget* sender)>;

    static CalendarPickerController& sharedInstance();

    // Shows the panel on the date (today when null or invalid), under the
    // sender when there is one, in the user's locale (LocaleIdentifier).
    void showCalendarPickerWithDate(const QDate& date, QWidget* sender = nullptr, DoneHandler calendarPickerDone = {});

    void done();
    void cancel();

    QWidget* panel() const { return m_panel; }
    QCalendarWidget* calendar() const { return m_calendar; }
    QPushButton* doneButton() const { return m_done; }
    QPushButton* cancelButton() const { return m_cancel; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    explicit CalendarPickerController(QObject* parent);
    ~CalendarPickerController() override;
    void build();
    void fadeOut();

    QPointer<QWidget> m_panel;
    QCalendarWidget* m_calendar = nullptr;
    QPushButton* m_done = nullptr;
    QPushButton* m_cancel = nullptr;
    QPointer<QAbstractAnimation> m_fade;
    QPointer<QWidget> m_sender;
    DoneHandler m_handler;
    bool m_closing = false;
};

} // namespace qf
