#include "app/ui/CalendarPickerController.h"
#include "app/ui/MainWindow.h"
#include "store/ManagedObjectContext.h"
#include "support/TempLedger.h"
#include "views/ui/DateField.h"
#include "views/ui/LibraryController.h"
#include "views/ui/SourceController.h"

#include <QApplication>
#include <QCalendarWidget>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QTimer>
#include <QToolButton>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;

namespace {

AbsoluteTime localMidnight(const QDate& date)
{
    return static_cast<double>(date.startOfDay().toSecsSinceEpoch() - 978307200);
}

} // namespace

TEST(CustomRange, BothEndsAreSetWithTheCalendarPickerAndStoredOnTheVault)
{
    TempLedger ledger;
    ledger.launch();
    ledger.addTransaction(QStringLiteral("Early"), -1, {}, localMidnight(QDate(2025, 1, 3)));
    ledger.addTransaction(QStringLiteral("Inside"), -1, {}, localMidnight(QDate(2025, 1, 10)) + 3600);
    ledger.addTransaction(QStringLiteral("Late"), -1, {}, localMidnight(QDate(2025, 2, 1)));
    MainWindow window(ledger.delegate());
    window.show();
    window.setupSourceList();
    LibraryController* list = window.libraryController();
    ManagedObject* library = list->vault();

    bool answered = false;
    QTimer::singleShot(0, [&] {
        auto* sheet = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(sheet, nullptr);
        auto* from = sheet->findChild<DateField*>(QStringLiteral("rangeFrom"));
        auto* to = sheet->findChild<DateField*>(QStringLiteral("rangeTo"));
        ASSERT_TRUE(from && to);
        // An empty start is filled with the earliest transaction, an empty end with today.
        EXPECT_EQ(from->date(), QDate(2025, 1, 3));
        EXPECT_EQ(to->date(), QDate::currentDate());

        CalendarPickerController& picker = CalendarPickerController::sharedInstance();
        from->calendarButton()->click();
        ASSERT_TRUE(picker.panel() && picker.panel()->isVisible());
        picker.calendar()->setSelectedDate(QDate(2025, 1, 5));
        picker.doneButton()->click();
        EXPECT_EQ(from->date(), QDate(2025, 1, 5));

        to->calendarButton()->click();
        picker.calendar()->setSelectedDate(QDate(2025, 1, 20));
        picker.doneButton()->click();
        EXPECT_EQ(to->date(), QDate(2025, 1, 20));

        // Text that is no date gives the last good date back.
        to->lineEdit()->setText(QStringLiteral("not a date"));
        Q_EMIT to->lineEdit()->editingFinished();
        EXPECT_EQ(to->date(), QDate(2025, 1, 20));
        answered = true;
        sheet->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
    });
    for (QToolButton* button : list->findChildren<QToolButton*>()) {
        if (!button->menu())
            continue;
        for (QAction* action : button->menu()->actions()) {
            if (action->text() == QLatin1String("Custom Range"))
                action->trigger();
        }
    }
    ASSERT_TRUE(answered);
    EXPECT_EQ(library->valueForKey(u"vault_dateRangeType").toString(), QStringLiteral("Custom Range"));
    EXPECT_EQ(library->valueForKey(u"vault_dateRangeFrom").toDate(), localMidnight(QDate(2025, 1, 5)));
    EXPECT_EQ(library->valueForKey(u"vault_dateRangeTo").toDate(), localMidnight(QDate(2025, 1, 20)));
    QStringList shown;
    for (ManagedObject* t : list->arrangedTransObjects())
        shown << t->valueForKey(u"trans_title").toString();
    EXPECT_EQ(shown, QStringList{QStringLiteral("Inside")});
}

TEST(PendingSheet, ConfirmingMakesThePendingTransactionOnThePickedDay)
{
    TempLedger ledger;
    ledger.launch();
    MainWindow window(ledger.delegate());
    window.show();
    window.setupSourceList();
    const ValueDictionary values{{QStringLiteral("trans_title"), Value("Refund")},
                                 {QStringLiteral("trans_amount"), Value(12.5)}};

    QTimer::singleShot(0, [] {
        if (auto* sheet = qobject_cast<QDialog*>(QApplication::activeModalWidget()))
            sheet->reject();
    });
    EXPECT_EQ(window.sourceController()->showPendingSheet(values), nullptr);
    EXPECT_EQ(ledger.context().count(ManagedObjectModel::shared().trans()), 0u);

    QTimer::singleShot(0, [] {
        auto* sheet = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(sheet, nullptr);
        sheet->findChild<DateField*>(QStringLiteral("pendingDate"))->setDate(QDate(2026, 3, 14));
        sheet->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
    });
    ManagedObject* made = window.sourceController()->showPendingSheet(values);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->valueForKey(u"trans_title").toString(), QStringLiteral("Refund"));
    EXPECT_TRUE(made->valueForKey(u"trans_isPending").toBool());
    EXPECT_EQ(made->valueForKey(u"trans_date").toDate(), localMidnight(QDate(2026, 3, 14)));
}
