#include "app/LocaleChoices.h"

#include <QSet>
#include <gtest/gtest.h>

using namespace qf;

namespace {

const LocaleChoice* find(const std::vector<LocaleChoice>& choices, const QString& identifier)
{
    for (const LocaleChoice& choice : choices) {
        if (choice.identifier == identifier)
            return &choice;
    }
    return nullptr;
}

} // namespace

TEST(LocaleChoices, CountriesOnlyNamedInTheDisplayLanguageAndSortedByIt)
{
    const std::vector<LocaleChoice> english = LocaleChoices::available(QStringLiteral("en_US"));
    ASSERT_GT(english.size(), 100u);
    QSet<QString> seen;
    for (const LocaleChoice& choice : english) {
        // A language alone ("de") names no currency.
        EXPECT_TRUE(choice.identifier.contains(QLatin1Char('_'))) << choice.identifier.toStdString();
        EXPECT_FALSE(choice.displayName.isEmpty());
        EXPECT_FALSE(seen.contains(choice.identifier)) << choice.identifier.toStdString();
        seen.insert(choice.identifier);
    }
    EXPECT_EQ(find(english, QStringLiteral("de")), nullptr);
    EXPECT_EQ(find(english, QStringLiteral("en_001")), nullptr) << "the world has no currency";
    EXPECT_EQ(find(english, QStringLiteral("es_419")), nullptr);
    EXPECT_EQ(find(english, QStringLiteral("en_US_POSIX")), nullptr);
    ASSERT_NE(find(english, QStringLiteral("de_DE")), nullptr);
    EXPECT_EQ(find(english, QStringLiteral("de_DE"))->displayName, QStringLiteral("German (Germany)"));
    ASSERT_NE(find(english, QStringLiteral("en_US")), nullptr);

    const std::vector<LocaleChoice> german = LocaleChoices::available(QStringLiteral("de_DE"));
    ASSERT_NE(find(german, QStringLiteral("de_DE")), nullptr);
    EXPECT_EQ(find(german, QStringLiteral("de_DE"))->displayName, QStringLiteral("Deutsch (Deutschland)"));
    EXPECT_EQ(LocaleChoices::displayName(QStringLiteral("fr_CH"), QStringLiteral("en_US")),
              QStringLiteral("French (Switzerland)"));

    // Collation, not code points: "Österreich" sorts among the O's in German.
    auto position = [&](const QString& identifier) {
        for (std::size_t i = 0; i < german.size(); ++i) {
            if (german[i].identifier == identifier)
                return int(i);
        }
        return -1;
    };
    const int austria = position(QStringLiteral("de_AT"));
    const int swiss = position(QStringLiteral("de_CH"));
    const int dutch = position(QStringLiteral("nl_NL")); // "Niederländisch (Niederlande)"
    ASSERT_GE(austria, 0);
    EXPECT_LT(austria, swiss);
    EXPECT_GT(position(QStringLiteral("de_DE")), 0);
    EXPECT_LT(position(QStringLiteral("de_DE")), dutch);
}
