#include "views/ui/DateField.h"

#include "app/ui/CalendarPickerController.h"
#include "views/ui/IconLibrary.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QLocale>
#include <QToolButton>

namespace qf {

DateField::DateField(const QDate& date, QWidget* parent)
    : QWidget(parent), m_edit(new QLineEdit(this)), m_button(new QToolButton(this))
{
    m_button->setIcon(quillfenIcon(QStringLiteral("calendar")));
    m_button->setToolTip(tr("Choose a date"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(m_edit, 1);
    layout->addWidget(m_button);
    connect(m_edit, &QLineEdit::editingFinished, this, &DateField::readTypedText);
    connect(m_button, &QToolButton::clicked, this, [this] {
        CalendarPickerController::sharedInstance().showCalendarPickerWithDate(
            m_date, m_edit, [this](const QDate& picked, QWidget* sender) {
                if (sender)
                    setDate(picked);
            });
    });
    setDate(date);
}

void DateField::setDate(const QDate& date)
{
    if (date.isValid())
        m_date = date;
    m_edit->setText(QLocale().toString(m_date, QLocale::LongFormat));
}

void DateField::readTypedText()
{
    const QLocale locale;
    QDate typed = locale.toDate(m_edit->text(), QLocale::LongFormat);
    if (!typed.isValid())
        typed = locale.toDate(m_edit->text(), QLocale::ShortFormat);
    if (!typed.isValid() && m_edit->text() != locale.toString(m_date, QLocale::LongFormat))
        QApplication::beep();
    setDate(typed);
}

} // namespace qf
