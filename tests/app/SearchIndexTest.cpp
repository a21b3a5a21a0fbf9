#include "app/SearchIndex.h"

#include "app/Quillfen_AppDelegate.h"

#include "store/ManagedObjectContext.h"
#include "support/TempLedger.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

using namespace qf;
using qf::test::TempLedger;

namespace {

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(none)");
}

} // namespace

TEST(SearchIndex, RecordsAreWrittenOnceUnlessReplacedAndStopAtTheFirstMissingValue)
{
    TempLedger ledger;
    ledger.launch();
    ManagedObject* coffee = ledger.addTransaction(QStringLiteral("Coffee"), -3, QStringLiteral("food"));
    const QString id = coffee->valueForKey(u"trans_uniqueID").toString();
    const QString path = SearchIndex::fileOf(id);
    ASSERT_FALSE(path.isEmpty());

    SearchIndex::indexTransaction(coffee, false);
    const QByteArray first = contents(path);
    ASSERT_TRUE(first.contains("<string>Coffee</string>"));
    coffee->setValueForKey(u"trans_title", Value("Espresso"));
    SearchIndex::indexTransaction(coffee, false);
    EXPECT_EQ(contents(path), first); // never refreshed without the flag
    SearchIndex::indexTransaction(coffee, true);
    EXPECT_TRUE(contents(path).contains("<string>Espresso</string>"));

    // No title: an empty dictionary, whatever follows.
    coffee->setValueForKey(u"trans_title", Value());
    const SearchIndex::Entry untitled = SearchIndex::entryOf(*coffee);
    EXPECT_TRUE(untitled.values.isEmpty());
    EXPECT_TRUE(SearchIndex::propertyList(untitled).contains("<dict/>"));

    // Only what has no record is written; an identifier that is no name writes nothing.
    ManagedObject* tea = ledger.addTransaction(QStringLiteral("Tea"), -2);
    ManagedObject* odd = ledger.addTransaction(QStringLiteral("Odd"), -1);
    odd->setValueForKey(u"trans_uniqueID", Value("../../escape"));
    EXPECT_EQ(SearchIndex::indexMissing({coffee, tea, odd}), 1);
    EXPECT_TRUE(contents(path).contains("<string>Espresso</string>"));
    EXPECT_TRUE(QFile::exists(SearchIndex::fileOf(tea->valueForKey(u"trans_uniqueID").toString())));
    EXPECT_EQ(SearchIndex::indexedIdentifiers().size(), 2);
    EXPECT_FALSE(QFile::exists(QFileInfo(path).absolutePath() + QStringLiteral("/../../escape.quillfenTransItem")));

    SearchIndex::removeIndexOf({tea});
    EXPECT_EQ(SearchIndex::indexedIdentifiers(), QSet<QString>{id});
}

TEST(SearchIndex, TheWindowListsAtLaunchOffTheMainThreadAndQuitsWithLookupsOnly)
{
    TempLedger ledger;
    ledger.launch();
    std::vector<ManagedObject*> made;
    for (int i = 0; i < 50; ++i)
        made.push_back(ledger.addTransaction(QStringLiteral("T%1").arg(i), -i));
    ASSERT_TRUE(ledger.delegate().saveAction());

    ledger.delegate().indexTransactionsInBackground();
    ledger.delegate().finishBackgroundIndexing();
    EXPECT_EQ(SearchIndex::indexedIdentifiers().size(), 50);

    ManagedObject* late = ledger.addTransaction(QStringLiteral("Late"), -1);
    ASSERT_EQ(ledger.delegate().applicationShouldTerminate(), Quillfen_AppDelegate::TerminateReply::Now);
    EXPECT_TRUE(QFile::exists(SearchIndex::fileOf(late->valueForKey(u"trans_uniqueID").toString())));
    EXPECT_EQ(SearchIndex::indexedIdentifiers().size(), 51);

    SearchIndex::Listing listing = SearchIndex::Listing::read();
    EXPECT_EQ(listing.size(), 51u);
    const QByteArray id = made.front()->valueForKey(u"trans_uniqueID").toString().toUtf8();
    EXPECT_TRUE(listing.contains(id.toStdString()));
    EXPECT_FALSE(listing.contains("not-a-record"));
    listing.add("not-a-record");
    EXPECT_TRUE(listing.contains("not-a-record"));
}
