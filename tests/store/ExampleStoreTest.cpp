#include "store/XmlStore.h"

#include "StoreTestSupport.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QSet>
#include <QTimeZone>

using namespace qf;
using namespace qf::test;

namespace {

QString text(const RawRecord& record, const char* key)
{
    return record.attributes[static_cast<std::size_t>(record.entity->indexOfAttribute(QString::fromLatin1(key)))].toString();
}

const Value& value(const RawRecord& record, const char* key)
{
    return record.attributes[static_cast<std::size_t>(record.entity->indexOfAttribute(QString::fromLatin1(key)))];
}

AbsoluteTime absolute(int year, int month, int day)
{
    return static_cast<AbsoluteTime>(QDateTime(QDate(year, month, day), QTime(0, 0), QTimeZone::utc()).toSecsSinceEpoch()
                                      - 978307200);
}

} // namespace

// The shipped example ledger: it must open, and hang together the way the
// screens that show it expect.
TEST(ExampleStore, LoadsAndHangsTogether)
{
    auto store = XmlStore::open(QStringLiteral(QUILLFEN_RESOURCE_DIR "/Quillfen Example/Quillfen.xml"));
    ASSERT_TRUE(store.isOk()) << store.message().toStdString();
    std::map<QString, std::vector<RawRecord>> byEntity;
    for (RawRecord& record : loadAll(**store))
        byEntity[record.entity->name()].push_back(std::move(record));
    const auto& vaults = byEntity["VaultEntity"];
    const auto& transactions = byEntity["TransEntity"];
    EXPECT_EQ(vaults.size(), 10u);
    EXPECT_EQ(byEntity["SmartEntity"].size(), 2u);
    EXPECT_EQ(byEntity["BudgetEntity"].size(), 5u);
    EXPECT_GE(transactions.size(), 280u);
    EXPECT_LE(transactions.size(), 360u);

    const QRegularExpression uuid("^[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}$");
    QSet<QString> ids;
    std::map<QString, QString> vaultTypeById;
    std::map<QString, int> typeCount;
    std::map<QString, QString> titleByType;
    for (const auto& [entity, records] : byEntity) {
        for (const RawRecord& record : records) {
            const QString id = record.attributes[0].toString();
            EXPECT_TRUE(uuid.match(id).hasMatch()) << id.toStdString();
            EXPECT_FALSE(ids.contains(id)) << id.toStdString();
            ids.insert(id);
        }
    }
    for (const RawRecord& vault : vaults) {
        vaultTypeById[text(vault, "vault_uniqueID")] = text(vault, "vault_type");
        ++typeCount[text(vault, "vault_type")];
        titleByType[text(vault, "vault_type")] = text(vault, "vault_title");
        EXPECT_EQ(text(vault, "vault_directionFilter"), "FilterAll");
        EXPECT_EQ(text(vault, "vault_typeFilter"), "FilterAll");
    }
    EXPECT_EQ(typeCount, (std::map<QString, int>{{"Account", 3}, {"Bill Manager", 1}, {"Budget", 1}, {"Master Vault", 1},
                                                  {"Playlist", 2}, {"Smart Playlist", 1}, {"Untagged", 1}}));
    EXPECT_EQ(titleByType["Master Vault"], "Master Vault");
    EXPECT_EQ(titleByType["Bill Manager"], "Scheduler");
    EXPECT_EQ(titleByType["Untagged"], "Untagged");

    // The smart folder's rules come through the relationship.
    for (const RawRecord& vault : vaults) {
        if (text(vault, "vault_type") != "Smart Playlist")
            continue;
        EXPECT_EQ(text(vault, "vault_smartPredicateString"), "\"coffee\" IN[cd] trans_title AND trans_amount < 0");
        QStringList rules;
        for (std::int64_t key : vault.relationships[0]) {
            for (const RawRecord& rule : byEntity["SmartEntity"]) {
                if (rule.primaryKey == key)
                    rules << text(rule, "smart_key") + ' ' + text(rule, "smart_operand");
            }
        }
        EXPECT_EQ(rules.join(", "), "Title Contains, Amount Less than");
    }
    for (const RawRecord& line : byEntity["BudgetEntity"])
        EXPECT_EQ(vaultTypeById[text(line, "budget_vaultID")], "Budget");

    const AbsoluteTime start = absolute(2024, 11, 21), today = absolute(2026, 11, 21);
    int initial = 0, upcoming = 0, pending = 0, inFolders = 0;
    QStringList billKinds;
    for (const RawRecord& t : transactions) {
        const QString title = text(t, "trans_title");
        EXPECT_EQ(vaultTypeById[text(t, "trans_accountID")], "Account") << title.toStdString();
        const double amount = value(t, "trans_amount").toDouble();
        EXPECT_EQ(text(t, "trans_direction"), amount > 0 ? "Incoming" : amount < 0 ? "Outgoing" : "");
        for (const QString& folder : text(t, "trans_listIDs").split(',', Qt::SkipEmptyParts))
            EXPECT_EQ(vaultTypeById[folder], "Playlist");
        inFolders += text(t, "trans_listIDs").isEmpty() ? 0 : 1;
        pending += value(t, "trans_isPending").toBool() ? 1 : 0;
        const AbsoluteTime date = value(t, "trans_date").toDate();
        EXPECT_GE(date, start);
        if (value(t, "trans_isUpcoming").toBool()) {
            ++upcoming;
            EXPECT_GT(date, today) << title.toStdString();
            EXPECT_TRUE(value(t, "trans_isPending").toBool());
            billKinds << text(t, "trans_billType") + '/' + text(t, "trans_reoccurrence");
            if (text(t, "trans_billType") == "Transfer") {
                EXPECT_EQ(vaultTypeById[text(t, "trans_billFromAccountID")], "Account");
                EXPECT_EQ(vaultTypeById[text(t, "trans_billToAccountID")], "Account");
            }
        } else {
            EXPECT_LT(date, today + 86400) << title.toStdString();
        }
        if (value(t, "trans_isInitalAccountAmount").toBool()) {
            ++initial;
            EXPECT_TRUE(title.startsWith("Initial Deposit (")) << title.toStdString();
        }
    }
    EXPECT_EQ(initial, 3);
    EXPECT_EQ(upcoming, 3);
    billKinds.sort();
    EXPECT_EQ(billKinds.join(' '), "Outgoing/Monthly Outgoing/Never Transfer/Never");
    EXPECT_GT(pending, upcoming);                       // some pending besides the bills
    EXPECT_LT(pending, int(transactions.size()) / 10); // but most reconciled
    EXPECT_GE(inFolders, 10);
}
