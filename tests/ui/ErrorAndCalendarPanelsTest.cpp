#include "app/ui/CalendarPickerController.h"
#include "app/ui/ErrorController.h"
#include "support/EventWait.h"

#include <QApplication>
#include <QCalendarWidget>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::waitUntil;

namespace {

// A window with two fields, one above the other.
struct Form {
    QWidget window;
    QLineEdit* top = new QLineEdit(&window);
    QLineEdit* bottom = new QLineEdit(&window);

    Form()
    {
        auto* layout = new QVBoxLayout(&window);
        layout->setContentsMargins(10, 10, 80, 10);
        layout->addWidget(top);
        layout->addSpacing(60);
        layout->addWidget(bottom);
        window.resize(400, 200);
        window.show();
    }
};

bool besideField(QWidget* marker, QWidget* field)
{
    const QPoint fieldTop = field->mapTo(field->window(), QPoint(0, 0));
    const int off = marker->y() + marker->height() / 2 - (fieldTop.y() + field->height() / 2);
    const int gap = marker->x() - (fieldTop.x() + field->width());
    if (qAbs(off) <= 1 && gap >= 0 && gap < 10)
        return true;
    ADD_FAILURE() << "marker " << marker->x() << "," << marker->y() << " off centre by " << off << ", gap " << gap;
    return false;
}

} // namespace

TEST(ErrorController, MarkerDoesNotRestartWhileItsEntranceRuns)
{
    Form form;
    ErrorController& errors = ErrorController::sharedInstance();
    errors.setAnimationDuration(300);
    errors.displayErrorFromField(form.top);
    ASSERT_NE(errors.panel(), nullptr);
    EXPECT_TRUE(errors.isAnimating());
    EXPECT_TRUE(errors.isShown());
    EXPECT_EQ(errors.panel()->parentWidget(), &form.window);

    // A second refusal mid-shake is ignored: the marker stays with the first field.
    errors.displayErrorFromField(form.bottom);
    EXPECT_EQ(errors.field(), form.top);
    ASSERT_TRUE(waitUntil([&] { return !errors.isAnimating(); }));
    EXPECT_TRUE(besideField(errors.panel(), form.top)) << "the shake ends where it started";

    // Once it has settled, a refusal elsewhere moves it there.
    errors.displayErrorFromField(form.bottom);
    EXPECT_EQ(errors.field(), form.bottom);
    ASSERT_TRUE(waitUntil([&] { return !errors.isAnimating(); }));
    EXPECT_TRUE(besideField(errors.panel(), form.bottom));

    // Typing in the field fades it out.
    QKeyEvent key(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, QStringLiteral("a"));
    QApplication::sendEvent(form.bottom, &key);
    EXPECT_FALSE(errors.isShown());
    ASSERT_TRUE(waitUntil([&] { return errors.panel()->isHidden(); }));
    errors.closeErrorPanel(); // nothing shown: nothing happens
    EXPECT_TRUE(errors.panel()->isHidden());
}

TEST(ErrorController, MarkerStaysInsideTheWindowAndClickCloses)
{
    QWidget window;
    auto* field = new QLineEdit(&window);
    auto* layout = new QVBoxLayout(&window);
    layout->setContentsMargins(40, 10, 0, 10);
    layout->addWidget(field);
    window.resize(300, 60);
    window.show();

    ErrorController& errors = ErrorController::sharedInstance();
    errors.setAnimationDuration(50);
    errors.displayErrorFromField(field);
    ASSERT_TRUE(waitUntil([&] { return !errors.isAnimating(); }));
    EXPECT_EQ(errors.panel()->parentWidget(), &window) << "a field in another window takes the marker along";
    // No room on the right: over the field's right end, off the label's side.
    EXPECT_LE(errors.panel()->geometry().right(), field->geometry().right());
    EXPECT_GT(errors.panel()->x(), field->geometry().center().x());

    QMouseEvent click(QEvent::MouseButtonPress, QPointF(5, 5), QPointF(5, 5), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QApplication::sendEvent(errors.panel(), &click);
    ASSERT_TRUE(waitUntil([&] { return errors.panel()->isHidden(); }));
    errors.setAnimationDuration(450);
}

TEST(CalendarPicker, DoneHandsBackTheDateWithTheSenderAndCancelDoesNot)
{
    QPushButton sender(QStringLiteral("Due date"));
    sender.show();
    CalendarPickerController& picker = CalendarPickerController::sharedInstance();
    QList<QPair<QDate, QWidget*>> answers;
    auto record = [&](const QDate& date, QWidget* from) { answers.append({date, from}); };

    picker.showCalendarPickerWithDate(QDate(2024, 2, 29), &sender, record);
    ASSERT_TRUE(picker.panel()->isVisible());
    EXPECT_EQ(picker.calendar()->selectedDate(), QDate(2024, 2, 29));
    EXPECT_EQ(picker.calendar()->monthShown(), 2);
    picker.calendar()->setSelectedDate(QDate(2024, 3, 4));
    picker.doneButton()->click();
    ASSERT_EQ(answers.size(), 1);
    EXPECT_EQ(answers.front().first, QDate(2024, 3, 4));
    EXPECT_EQ(answers.front().second, &sender);
    ASSERT_TRUE(waitUntil([&] { return !picker.panel()->isVisible(); }));
    picker.done(); // a closed panel answers nothing
    EXPECT_EQ(answers.size(), 1);

    // No date: today. Cancel hands nothing back.
    picker.showCalendarPickerWithDate(QDate(), &sender, record);
    EXPECT_EQ(picker.calendar()->selectedDate(), QDate::currentDate());
    picker.cancelButton()->click();
    ASSERT_TRUE(waitUntil([&] { return !picker.panel()->isVisible(); }));
    EXPECT_EQ(answers.size(), 1);

    // Escape is a cancel too.
    picker.showCalendarPickerWithDate(QDate(2023, 12, 1), nullptr, record);
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QApplication::sendEvent(picker.panel(), &escape);
    ASSERT_TRUE(waitUntil([&] { return !picker.panel()->isVisible(); }));
    EXPECT_EQ(answers.size(), 1);
}

TEST(CalendarPicker, DoubleClickOnADateIsDone)
{
    auto sender = std::make_unique<QPushButton>(QStringLiteral("Date"));
    sender->show();
    CalendarPickerController& picker = CalendarPickerController::sharedInstance();
    QList<QPair<QDate, QWidget*>> answers;
    picker.showCalendarPickerWithDate(QDate(2025, 7, 14), sender.get(),
                                      [&](const QDate& date, QWidget* from) { answers.append({date, from}); });
    auto* days = picker.calendar()->findChild<QTableView*>();
    ASSERT_NE(days, nullptr);
    const QPoint cell = days->visualRect(days->currentIndex()).center();
    QMouseEvent press(QEvent::MouseButtonPress, cell, days->viewport()->mapToGlobal(cell), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QMouseEvent release(QEvent::MouseButtonRelease, cell, days->viewport()->mapToGlobal(cell), Qt::LeftButton,
                        Qt::NoButton, Qt::NoModifier);
    QMouseEvent twice(QEvent::MouseButtonDblClick, cell, days->viewport()->mapToGlobal(cell), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(days->viewport(), &press);
    QApplication::sendEvent(days->viewport(), &release);
    QApplication::sendEvent(days->viewport(), &twice);
    ASSERT_EQ(answers.size(), 1);
    EXPECT_EQ(answers.front().first, QDate(2025, 7, 14));

    // The sender went away while the panel was open: the answer carries null.
    picker.showCalendarPickerWithDate(QDate(2025, 7, 14), sender.get(),
                                      [&](const QDate& date, QWidget* from) { answers.append({date, from}); });
    sender.reset();
    picker.done();
    ASSERT_EQ(answers.size(), 2);
    EXPECT_EQ(answers.back().second, nullptr);
    ASSERT_TRUE(waitUntil([&] { return !picker.panel()->isVisible(); }));
}
