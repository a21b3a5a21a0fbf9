#pragma once

#include <QDate>
#include <QWidget>

class QLineEdit;
class QToolButton;

namespace qf {

// A date typed in the long date format, or picked with the calendar picker
// that its button opens. A text that does not read as a date beeps and puts
// the last good date back.
class DateField : public QWidget {
    Q_OBJECT

public:
    explicit DateField(const QDate& date, QWidget* parent = nullptr);

    QDate date() const { return m_date; }
    void setDate(const QDate& date);
    QToolButton* calendarButton() const { return m_button; }
    QLineEdit* lineEdit() const { return m_edit; }

private:
    void readTypedText();

    QDate m_date;
    QLineEdit* m_edit;
    QToolButton* m_button;
};

} // namespace qf
