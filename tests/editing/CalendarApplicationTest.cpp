#include "editing/CalendarApplication.h"

#include <QSet>
#include <gtest/gtest.h>

using namespace qf;

namespace {

const QString kCalendar = QStringLiteral("text/calendar");

QString handler(const QStringList& lists, const QStringList& caches, const QSet<QString>& installed)
{
    return CalendarApplication::handlerFromAssociations(lists, caches, kCalendar,
                                                        [&](const QString& id) { return installed.contains(id); });
}

} // namespace

TEST(CalendarApplication, DefaultEntryWinsInFileOrderAndSkipsUninstalledApps)
{
    const QString user = QStringLiteral("# mine\n[Added Associations]\ntext/calendar=added.desktop;\n"
                                        "[Default Applications]\ntext/plain=editor.desktop\n"
                                        "text/calendar=gone.desktop;agenda.desktop;\n");
    const QString system = QStringLiteral("[Default Applications]\ntext/calendar=system.desktop\n");
    const QSet<QString> all{QStringLiteral("added.desktop"), QStringLiteral("agenda.desktop"),
                            QStringLiteral("system.desktop")};
    // gone.desktop is not installed: the next id of the same entry wins
    // before any other file or group is consulted.
    EXPECT_EQ(handler({user, system}, {}, all), QStringLiteral("agenda.desktop"));
    EXPECT_EQ(handler({system, user}, {}, all), QStringLiteral("system.desktop"));
    // No installed default: the added association is next.
    EXPECT_EQ(handler({user}, {}, {QStringLiteral("added.desktop")}), QStringLiteral("added.desktop"));
}

TEST(CalendarApplication, CacheAssociationsCountUnlessRemovedAndNothingMeansNoHandler)
{
    const QString cache = QStringLiteral("[MIME Cache]\ntext/calendar=first.desktop;second.desktop;\n"
                                         "text/calendar-extra=other.desktop;\n");
    const QString removal = QStringLiteral("[Removed Associations]\ntext/calendar=first.desktop;\n");
    const QSet<QString> both{QStringLiteral("first.desktop"), QStringLiteral("second.desktop"),
                             QStringLiteral("other.desktop")};
    EXPECT_EQ(handler({}, {cache}, both), QStringLiteral("first.desktop"));
    EXPECT_EQ(handler({removal}, {cache}, both), QStringLiteral("second.desktop"));

    // Other types, other groups, comments and a key that only starts like
    // the type register nothing for calendars.
    const QString unrelated = QStringLiteral("[Default Applications]\ntext/html=browser.desktop\n"
                                             "#text/calendar=commented.desktop\n"
                                             "[Other Group]\ntext/calendar=elsewhere.desktop\n");
    const QSet<QString> any{QStringLiteral("browser.desktop"), QStringLiteral("commented.desktop"),
                            QStringLiteral("elsewhere.desktop"), QStringLiteral("other.desktop")};
    EXPECT_TRUE(handler({unrelated}, {QStringLiteral("[MIME Cache]\ntext/calendar-extra=other.desktop\n")}, any)
                    .isEmpty());
    EXPECT_TRUE(handler({}, {}, any).isEmpty());
    EXPECT_TRUE(handler({QStringLiteral("[Default Applications]\ntext/calendar=\n")}, {}, any).isEmpty());
}
