#include "app/UserDefaults.h"

#include <QLocale>
#include <gtest/gtest.h>

using namespace qf;

TEST(UserDefaults, RegisteredTableAnswersUntilTheUserSetsAKey)
{
    UserDefaults& defaults = UserDefaults::standard();
    defaults.registerDefaults();
    defaults.clearVolatileValues();
    for (const QString& key : {DefaultsKey::SourceSize, DefaultsKey::ShouldEncryptDatabase, DefaultsKey::UseExampleStore,
                               DefaultsKey::SharePassword})
        defaults.removeObjectForKey(key);

    EXPECT_EQ(defaults.stringForKey(DefaultsKey::SourceSize), QStringLiteral("Large"));
    EXPECT_TRUE(defaults.boolForKey(DefaultsKey::ShouldUseAnimation));
    EXPECT_TRUE(defaults.boolForKey(DefaultsKey::EnableSpotlightIndexing));
    EXPECT_FALSE(defaults.boolForKey(DefaultsKey::ShouldEncryptDatabase));
    EXPECT_FALSE(defaults.boolForKey(DefaultsKey::UseExampleStore));
    EXPECT_FALSE(defaults.stringForKey(DefaultsKey::LocaleIdentifier).isEmpty());
    // The locale of the first start is kept, not recomputed later.
    EXPECT_TRUE(defaults.contains(DefaultsKey::LocaleIdentifier));
    EXPECT_TRUE(defaults.stringForKey(DefaultsKey::SharePassword).isEmpty());

    QStringList changed;
    QObject::connect(&defaults, &UserDefaults::defaultsChanged, [&](const QString& key) { changed << key; });
    defaults.setValue(DefaultsKey::SourceSize, QStringLiteral("Small"));
    defaults.setValue(DefaultsKey::ShouldEncryptDatabase, true);
    defaults.setValue(DefaultsKey::SharePassword, QStringLiteral("s3cret"));
    ASSERT_TRUE(defaults.synchronize());
    EXPECT_EQ(defaults.stringForKey(DefaultsKey::SourceSize), QStringLiteral("Small"));
    EXPECT_TRUE(defaults.boolForKey(DefaultsKey::ShouldEncryptDatabase));
    EXPECT_EQ(defaults.stringForKey(DefaultsKey::SharePassword), QStringLiteral("s3cret"));

    // A value for this run only hides the stored one and is never written.
    defaults.setVolatileValue(DefaultsKey::SourceSize, QStringLiteral("Large"));
    EXPECT_EQ(defaults.stringForKey(DefaultsKey::SourceSize), QStringLiteral("Large"));
    defaults.clearVolatileValues();
    EXPECT_EQ(defaults.stringForKey(DefaultsKey::SourceSize), QStringLiteral("Small"));

    defaults.removeObjectForKey(DefaultsKey::SourceSize);
    EXPECT_EQ(defaults.stringForKey(DefaultsKey::SourceSize), QStringLiteral("Large"));
    EXPECT_EQ(changed, QStringList({DefaultsKey::SourceSize, DefaultsKey::ShouldEncryptDatabase, DefaultsKey::SharePassword,
                                    DefaultsKey::SourceSize, DefaultsKey::SourceSize}));
    QObject::disconnect(&defaults, &UserDefaults::defaultsChanged, nullptr, nullptr);
    defaults.removeObjectForKey(DefaultsKey::ShouldEncryptDatabase);
    defaults.removeObjectForKey(DefaultsKey::SharePassword);
    // The shared instance is never destroyed, so nothing else writes the removals.
    EXPECT_TRUE(defaults.synchronize());
}
