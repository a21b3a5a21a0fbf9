#include "editing/TagsController.h"
#include "store/ManagedObjectContext.h"
#include "support/TempLedger.h"

#include <QObject>
#include <gtest/gtest.h>
#include <memory>

using namespace qf;
using qf::test::TempLedger;

TEST(TagsController, KeywordsAreListedOnceEachInFirstSeenOrderComparedExactly)
{
    TempLedger ledger;
    ledger.launch();
    ledger.addTransaction(QStringLiteral("Groceries"), -40, QStringLiteral("Food, Rent"));
    ledger.addTransaction(QStringLiteral("Landlord"), -900, QStringLiteral("rent, Food"));
    // Pieces are cut at ", " only: no blank means one tag, an empty piece is none.
    ledger.addTransaction(QStringLiteral("Odd"), -1)->setValueForKey(u"trans_keywords", Value(QStringLiteral("a,b, , Food, ")));
    ledger.addTransaction(QStringLiteral("Untagged"), -2)->setValueForKey(u"trans_keywords", Value());
    ledger.addTransaction(QStringLiteral("Comma"), -3)->setValueForKey(u"trans_keywords", Value(QStringLiteral(", ")));

    TagsController tags(ledger.delegate());
    EXPECT_EQ(tags.allTransactionKeywords(),
              QStringList({QStringLiteral("Food"), QStringLiteral("Rent"), QStringLiteral("rent"), QStringLiteral("a,b")}));
}

TEST(TagsController, HintsBeginWithTheTextIgnoringCaseAndAccentsButNeverRepeatIt)
{
    const QStringList keywords{QStringLiteral("Food"), QStringLiteral("Rent"), QStringLiteral("rent"),
                               QStringLiteral("Réparations"), QStringLiteral("Current")};
    EXPECT_EQ(TagsController::hintsForKeyword(keywords, QStringLiteral("re")),
              QStringList({QStringLiteral("Rent"), QStringLiteral("rent"), QStringLiteral("Réparations")}));
    // The text itself is left out, exactly: "Rent" offers "rent" but not "Rent".
    EXPECT_EQ(TagsController::hintsForKeyword(keywords, QStringLiteral("Rent")), QStringList{QStringLiteral("rent")});
    EXPECT_EQ(TagsController::hintsForKeyword(keywords, QStringLiteral("REPA")),
              QStringList{QStringLiteral("Réparations")});
    EXPECT_EQ(TagsController::hintsForKeyword(keywords, QStringLiteral("xyz")), QStringList());
    EXPECT_EQ(TagsController::hintsForKeyword(QStringList(), QStringLiteral("")), QStringList());
    // Quotes in the text are a value, not predicate syntax.
    EXPECT_EQ(TagsController::hintsForKeyword({QStringLiteral("it's"), QStringLiteral("its")}, QStringLiteral("it'")),
              QStringList{QStringLiteral("it's")});
}

TEST(TagsController, BrowserSortsIgnoringCaseAndNarrowsByContainedText)
{
    const QStringList keywords{QStringLiteral("rent"), QStringLiteral("Food"), QStringLiteral("Current"),
                               QStringLiteral("Réparations"), QStringLiteral("apartment")};
    EXPECT_EQ(TagsController::browseKeywords(keywords, QString()),
              QStringList({QStringLiteral("apartment"), QStringLiteral("Current"), QStringLiteral("Food"),
                           QStringLiteral("rent"), QStringLiteral("Réparations")}));
    // Anywhere in the tag, ignoring case and accents.
    EXPECT_EQ(TagsController::browseKeywords(keywords, QStringLiteral("RE")),
              QStringList({QStringLiteral("Current"), QStringLiteral("rent"), QStringLiteral("Réparations")}));
    EXPECT_EQ(TagsController::browseKeywords(keywords, QStringLiteral("epar")), QStringList{QStringLiteral("Réparations")});
    EXPECT_EQ(TagsController::browseKeywords(QStringList(), QStringLiteral("x")), QStringList());
}

TEST(TagsController, OnlyTheRegisteredFieldIsCompleted)
{
    TempLedger ledger;
    ledger.launch();
    ledger.addTransaction(QStringLiteral("Landlord"), -900, QStringLiteral("Rent, rent"));
    TagsController tags(ledger.delegate());
    EXPECT_EQ(tags.hintsForKeyword(QStringLiteral("re")), QStringList({QStringLiteral("Rent"), QStringLiteral("rent")}));

    auto field = std::make_unique<QObject>();
    QObject other;
    EXPECT_EQ(tags.completionsForSubstring(field.get(), QStringLiteral("re")), QStringList());
    tags.setTagsTokenField(field.get());
    EXPECT_EQ(tags.completionsForSubstring(field.get(), QStringLiteral("re")),
              QStringList({QStringLiteral("Rent"), QStringLiteral("rent")}));
    EXPECT_EQ(tags.completionsForSubstring(&other, QStringLiteral("re")), QStringList());
    field.reset();
    EXPECT_EQ(tags.tagsTokenField(), nullptr);

    ASSERT_EQ(TagsController::sharedInstance(), TagsController::sharedInstance());
    ASSERT_NE(TagsController::sharedInstance(), nullptr);
}
