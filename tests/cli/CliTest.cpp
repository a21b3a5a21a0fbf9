#include "cli/CliFixture.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using qf::test::Cli;
using qf::test::CliRun;

TEST_F(Cli, FreshFolderGetsTheThreeFixedVaults)
{
    const CliRun info = run({QStringLiteral("info")});
    ASSERT_EQ(info.exitCode, 0) << qPrintable(info.err);
    EXPECT_TRUE(info.out.contains(QStringLiteral("Quillfen.1ccdb")));
    EXPECT_TRUE(info.out.contains(QStringLiteral("VaultEntity\t3")));
    const CliRun vaults = run({QStringLiteral("vaults")});
    QStringList rows;
    for (const QString& line : vaults.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        rows << line.section(QLatin1Char('\t'), 1);
    EXPECT_EQ(rows, QStringList({QStringLiteral("Master Vault\tMaster Vault"), QStringLiteral("Bill Manager\tScheduler"),
                                 QStringLiteral("Untagged\tUntagged")}));
}

TEST_F(Cli, AddListBalanceSetAndDeleteRoundTrip)
{
    const CliRun account = run({QStringLiteral("add-vault"), QStringLiteral("--type"), QStringLiteral("Account"),
                             QStringLiteral("--title"), QStringLiteral("Checking"), QStringLiteral("--initial"),
                             QStringLiteral("1000"), QStringLiteral("--url"), QStringLiteral("bank.test")});
    ASSERT_EQ(account.exitCode, 0) << qPrintable(account.err);
    const CliRun folder = run({QStringLiteral("add-vault"), QStringLiteral("--type"), QStringLiteral("Folder"),
                            QStringLiteral("--title"), QStringLiteral("Trip")});
    ASSERT_EQ(folder.exitCode, 0) << qPrintable(folder.err);

    add({QStringLiteral("--title"), QStringLiteral("Coffee"), QStringLiteral("--amount"), QStringLiteral("3.20"),
         QStringLiteral("--type"), QStringLiteral("Outgoing"), QStringLiteral("--account"), QStringLiteral("Checking"),
         QStringLiteral("--tags"), QStringLiteral("food,  treats"), QStringLiteral("--date"), QStringLiteral("2026-05-04")});
    const QString hotel = add({QStringLiteral("--title"), QStringLiteral("Hotel"), QStringLiteral("--amount"),
                               QStringLiteral("-180"), QStringLiteral("--folder"), QStringLiteral("Trip"),
                               QStringLiteral("--pending"), QStringLiteral("--date"), QStringLiteral("2026-05-03T21:15")});
    add({QStringLiteral("--title"), QStringLiteral("Refund"), QStringLiteral("--amount"), QStringLiteral("-15"),
         QStringLiteral("--type"), QStringLiteral("incoming"), QStringLiteral("--date"), QStringLiteral("2026-05-01")});

    EXPECT_EQ(listed({QStringLiteral("--vault"), QStringLiteral("Checking")}),
              QStringList({QStringLiteral("Initial Deposit (Checking)|1000|Reconciled|"),
                           QStringLiteral("Coffee|-3.2|Reconciled|food, treats")}));
    EXPECT_EQ(listed({QStringLiteral("--vault"), QStringLiteral("Trip")}), QStringList({QStringLiteral("Hotel|-180|Pending|")}));
    EXPECT_EQ(listed({QStringLiteral("--status"), QStringLiteral("pending")}), QStringList({QStringLiteral("Hotel|-180|Pending|")}));
    EXPECT_EQ(listed({QStringLiteral("--search"), QStringLiteral("TREATS"), QStringLiteral("--direction"), QStringLiteral("outgoing")}),
              QStringList({QStringLiteral("Coffee|-3.2|Reconciled|food, treats")}));
    EXPECT_EQ(listed({QStringLiteral("--where"), QStringLiteral("trans_amount > 0 AND trans_title BEGINSWITH 'R'")}),
              QStringList({QStringLiteral("Refund|15|Reconciled|")}));
    EXPECT_EQ(listed({QStringLiteral("--range"), QStringLiteral("2026-05-02..2026-05-04"), QStringLiteral("--sort"),
                      QStringLiteral("Title")}),
              QStringList({QStringLiteral("Coffee|-3.2|Reconciled|food, treats"), QStringLiteral("Hotel|-180|Pending|")}));

    const CliRun balance = run({QStringLiteral("balance")});
    EXPECT_EQ(balance.out, QStringLiteral("count\t4\ntotal\t831.8\nincoming\t1015\noutgoing\t-183.2\n"));

    ASSERT_EQ(run({QStringLiteral("set"), hotel, QStringLiteral("trans_isPending"), QStringLiteral("NO")}).exitCode, 0);
    ASSERT_EQ(run({QStringLiteral("set"), hotel, QStringLiteral("trans_notes"), QStringLiteral("Two nights")}).exitCode, 0);
    const CliRun json = run({QStringLiteral("list"), QStringLiteral("--vault"), QStringLiteral("Trip"), QStringLiteral("--json")});
    const QJsonArray records = QJsonDocument::fromJson(json.out.toUtf8()).array();
    ASSERT_EQ(records.size(), 1);
    const QJsonObject h = records.first().toObject();
    EXPECT_EQ(h.value(QStringLiteral("trans_isPending")), QJsonValue(false));
    EXPECT_EQ(h.value(QStringLiteral("trans_notes")).toString(), QStringLiteral("Two nights"));
    EXPECT_EQ(h.value(QStringLiteral("trans_direction")).toString(), QStringLiteral("Outgoing"));
    EXPECT_EQ(h.value(QStringLiteral("trans_amount")).toDouble(), -180.0);
    EXPECT_EQ(h.value(QStringLiteral("trans_date")).toString(), QStringLiteral("2026-05-03T21:15:00"));
    EXPECT_TRUE(h.value(QStringLiteral("trans_budgetID")).isNull());
    EXPECT_EQ(h.value(QStringLiteral("trans_amountStringValue")).toString(), QStringLiteral("-$180.00"));

    ASSERT_EQ(run({QStringLiteral("delete"), hotel}).exitCode, 0);
    EXPECT_TRUE(listed({QStringLiteral("--vault"), QStringLiteral("Trip")}).isEmpty());
}

TEST_F(Cli, RepeatSchedulesOneUpcomingCopy)
{
    const QString rent = add({QStringLiteral("--title"), QStringLiteral("Rent"), QStringLiteral("--amount"),
                              QStringLiteral("-900"), QStringLiteral("--date"), QStringLiteral("2026-01-31"),
                              QStringLiteral("--repeat"), QStringLiteral("Monthly")});
    const CliRun json = run({QStringLiteral("list"), QStringLiteral("--vault"), QStringLiteral("Scheduler"), QStringLiteral("--json")});
    const QJsonArray bills = QJsonDocument::fromJson(json.out.toUtf8()).array();
    ASSERT_EQ(bills.size(), 1) << qPrintable(json.out + json.err);
    const QJsonObject bill = bills.first().toObject();
    EXPECT_EQ(bill.value(QStringLiteral("trans_paidREFID")).toString(), rent);
    EXPECT_EQ(bill.value(QStringLiteral("trans_date")).toString(), QStringLiteral("2026-02-28T00:00:00"));
    EXPECT_EQ(bill.value(QStringLiteral("trans_isUpcoming")), QJsonValue(true));
}

TEST_F(Cli, BadInputFailsClearlyAndWritesNothing)
{
    ASSERT_EQ(run({QStringLiteral("info")}).exitCode, 0);
    const CliRun malformed = run({QStringLiteral("list"), QStringLiteral("--where"), QStringLiteral("trans_title == ")});
    EXPECT_EQ(malformed.exitCode, 2);
    EXPECT_TRUE(malformed.err.contains(QStringLiteral("position"))) << qPrintable(malformed.err);
    const CliRun unknownKey = run({QStringLiteral("list"), QStringLiteral("--where"), QStringLiteral("trans_colour == 'red'")});
    EXPECT_EQ(unknownKey.exitCode, 2);
    EXPECT_TRUE(unknownKey.err.contains(QStringLiteral("trans_colour"))) << qPrintable(unknownKey.err);

    EXPECT_EQ(run({QStringLiteral("add"), QStringLiteral("--title"), QStringLiteral("X"), QStringLiteral("--amount"),
                   QStringLiteral("twelve")}).exitCode, 1);
    EXPECT_EQ(run({QStringLiteral("add"), QStringLiteral("--title"), QStringLiteral("X"), QStringLiteral("--amount"),
                   QStringLiteral("5"), QStringLiteral("--date"), QStringLiteral("2026-13-45")}).exitCode, 1);
    EXPECT_EQ(run({QStringLiteral("add"), QStringLiteral("--title"), QStringLiteral("X"), QStringLiteral("--amount"),
                   QStringLiteral("5"), QStringLiteral("--account"), QStringLiteral("Nowhere")}).exitCode, 1);
    EXPECT_EQ(run({QStringLiteral("list"), QStringLiteral("--vault"), QStringLiteral("Nowhere")}).exitCode, 1);
    EXPECT_EQ(run({QStringLiteral("frobnicate")}).exitCode, 2);
    EXPECT_EQ(run({QStringLiteral("list"), QStringLiteral("--colour"), QStringLiteral("red")}).exitCode, 2);
    EXPECT_TRUE(listed({}).isEmpty());

    const CliRun canonical = run({QStringLiteral("predicate"), QStringLiteral("trans_accountID == %@ || trans_isPending == YES"),
                               QStringLiteral("--arg"), QStringLiteral("ABC")});
    EXPECT_EQ(canonical.exitCode, 0);
    EXPECT_TRUE(canonical.out.contains(QStringLiteral("\"ABC\""))) << qPrintable(canonical.out);
}

TEST_F(Cli, SetRefusesIdentifiersThatAreNoSafeFileName)
{
    const QString coffee = add({QStringLiteral("--title"), QStringLiteral("Coffee"), QStringLiteral("--amount"),
                                QStringLiteral("-3")});
    for (const QString& bad : {QStringLiteral(".."), QStringLiteral("a/b"), QStringLiteral("nil")}) {
        const CliRun set = run({QStringLiteral("set"), coffee, QStringLiteral("trans_uniqueID"), bad});
        EXPECT_EQ(set.exitCode, 1) << qPrintable(bad);
        EXPECT_TRUE(set.err.startsWith(QStringLiteral("quillfen-cli: trans_uniqueID not changed: "))) << qPrintable(set.err);
    }
    // Nothing was saved: the transaction keeps its identifier.
    EXPECT_TRUE(run({QStringLiteral("list")}).out.startsWith(coffee + QLatin1Char('\t')));
}

TEST_F(Cli, ExampleStoreIsListedButNeverChanged)
{
    const CliRun before = run({QStringLiteral("--example"), QStringLiteral("balance")});
    ASSERT_EQ(before.exitCode, 0) << qPrintable(before.err);
    EXPECT_FALSE(before.out.startsWith(QStringLiteral("count\t0\n")));
    ASSERT_EQ(run({QStringLiteral("--example"), QStringLiteral("add"), QStringLiteral("--title"), QStringLiteral("Gone"),
                   QStringLiteral("--amount"), QStringLiteral("-1")}).exitCode, 0);
    EXPECT_EQ(run({QStringLiteral("--example"), QStringLiteral("balance")}).out, before.out);
}

TEST_F(Cli, SmartFoldersFromRules)
{
    add({"--title", "Coffee Bean", "--amount", "4", "--type", "Outgoing", "--tags", "Food, Café"});
    add({"--title", "coffee refund", "--amount", "4", "--type", "Incoming", "--tags", "food, cafe"});
    add({"--title", "Rent", "--amount", "800", "--type", "Outgoing"});
    auto titles = [&](const QString& vault) {
        QStringList found;
        for (const QString& row : listed({QStringLiteral("--vault"), vault}))
            found << row.section(QLatin1Char('|'), 0, 0);
        found.sort();
        return found.join(QLatin1Char(','));
    };
    const CliRun all = run({"add-vault", "--type", "Smart Playlist", "--title", "All", "--rule", "Title|Contains|COFFEE",
                            "--rule", "Amount|Less than|0"});
    ASSERT_EQ(all.exitCode, 0) << qPrintable(all.err);
    EXPECT_EQ(titles(QStringLiteral("All")), "Coffee Bean");
    run({"add-vault", "--type", "Smart Playlist", "--title", "Any", "--condition", "Any", "--rule",
         "Title|Contains|COFFEE", "--rule", "Amount|Less than|0"});
    EXPECT_EQ(titles(QStringLiteral("Any")), "Coffee Bean,Rent,coffee refund");
    // Tag tokens: diacritics ignored, case kept; no tokens select untagged ones.
    run({"add-vault", "--type", "Smart Playlist", "--title", "Tags", "--rule", "Tag|Contains|Food, Cafe"});
    EXPECT_EQ(titles(QStringLiteral("Tags")), "Coffee Bean");
    run({"add-vault", "--type", "Smart Playlist", "--title", "Untagged", "--rule", "Tag|Contains|"});
    EXPECT_EQ(titles(QStringLiteral("Untagged")), "Rent");

    // Editing keeps the rule records: the first row's id stays, the second is unlinked.
    const QString before = run({"show", all.out.trimmed()}).out;
    const CliRun edited = run({"edit-smart", "All", "--condition", "Any", "--rule", "Title|Is|Rent"});
    ASSERT_EQ(edited.exitCode, 0) << qPrintable(edited.err);
    const QString after = run({"show", all.out.trimmed()}).out;
    const QString firstRule = before.section(QStringLiteral("\"vault_smartObjects\":[\""), 1).section(QLatin1Char('"'), 0, 0);
    EXPECT_TRUE(after.contains(QStringLiteral("\"vault_smartObjects\":[\"%1\"]").arg(firstRule))) << qPrintable(after);
    EXPECT_TRUE(run({"show", firstRule}).out.contains(QStringLiteral("\"smart_operand\":\"Is\"")));
    EXPECT_EQ(titles(QStringLiteral("All")), "Rent");

    // Bad rules write nothing.
    for (const QStringList& bad : {QStringList{"Colour|Is|red"}, {"Title|Before|x"}, {"Date|Before|someday"},
                                    {"Account|Is|Nowhere"}}) {
        const CliRun refused = run({"add-vault", "--type", "Smart Playlist", "--title", "Bad", "--rule", bad.first()});
        EXPECT_EQ(refused.exitCode, 2) << qPrintable(bad.first());
    }
    EXPECT_FALSE(run({"vaults"}).out.contains(QStringLiteral("\tBad")));
}

TEST_F(Cli, SmartViewKeepsItsChoicesAndItsSearchIgnoresTheDirection)
{
    add({"--title", "Coffee Bean", "--amount", "4", "--type", "Outgoing"});
    add({"--title", "Coffee refund", "--amount", "4", "--type", "Incoming"});
    add({"--title", "Rent", "--amount", "800", "--type", "Outgoing"});
    run({"add-vault", "--type", "Smart Playlist", "--title", "Coffee", "--rule", "Title|Contains|coffee"});
    auto titles = [&](const QStringList& options) {
        const CliRun r = run(QStringList{"smart-view", "Coffee"} + options);
        EXPECT_EQ(r.exitCode, 0) << qPrintable(r.err);
        QStringList found;
        for (const QString& line : r.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            found << line.section(QLatin1Char('\t'), 2, 2, QString::SectionIncludeTrailingSep).section('\t', 0, 0);
        return found.join(QLatin1Char(','));
    };
    EXPECT_EQ(titles({"--direction", "incoming"}), "Coffee refund");
    EXPECT_EQ(titles({}), "Coffee refund"); // the direction was kept on the folder
    EXPECT_EQ(titles({"--search", "bean"}), "Coffee Bean"); // outgoing, found all the same
    EXPECT_EQ(run({"smart-view", "Coffee", "--search", "rent"}).out.trimmed(), "Blank");
    EXPECT_EQ(run({"smart-view", "Coffee", "--direction", "sideways"}).exitCode, 2);
    EXPECT_EQ(run({"smart-view", "Rent"}).exitCode, 1);
}
