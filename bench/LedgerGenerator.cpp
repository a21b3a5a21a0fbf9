#include "LedgerGenerator.h"

#include "store/SqliteStore.h"
#include "store/StoreOpener.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <array>
#include <random>

namespace qf {

namespace {

constexpr std::array kSyllables{"ka", "lo", "mi", "ren", "tor", "sa", "vel", "din", "po", "ra", "nes", "ul",
                                "ber", "co", "fa", "gri", "hal", "jo", "mar", "quin", "ste", "wy", "zel", "ox"};
constexpr std::array kKinds{"Market", "Cafe", "Books", "Garage", "Pharmacy", "Bakery", "Hardware", "Cinema",
                            "Energy", "Telecom", "Insurance", "Diner", "Florist", "Outfitters", "Studio"};
constexpr std::array kTags{"food",   "rent",   "salary", "fuel",   "travel", "gifts",  "health", "books",
                           "coffee", "phone",  "power",  "water",  "tax",    "kids",   "pets",   "garden",
                           "music",  "sports", "repair", "bank",   "school", "office", "clothes", "fun"};
constexpr std::array kAccountTypes{"Checking", "Savings", "Credit", "Online"};

class Generator {
public:
    explicit Generator(std::uint64_t seed) : m_random(seed) {}

    int below(int n) { return static_cast<int>(m_random() % static_cast<std::uint64_t>(n)); }
    bool chance(int percent) { return below(100) < percent; }

    QString uniqueID()
    {
        const std::uint64_t a = m_random();
        const std::uint64_t b = m_random();
        return QStringLiteral("%1-%2-4%3-%4-%5")
            .arg(a >> 32, 8, 16, QLatin1Char('0'))
            .arg((a >> 16) & 0xFFFF, 4, 16, QLatin1Char('0'))
            .arg(a & 0xFFF, 3, 16, QLatin1Char('0'))
            .arg(0x8000 | ((b >> 48) & 0x3FFF), 4, 16, QLatin1Char('0'))
            .arg(b & 0xFFFFFFFFFFFFULL, 12, 16, QLatin1Char('0'))
            .toUpper();
    }

    QString payee()
    {
        QString name;
        const int syllables = 2 + below(2);
        for (int i = 0; i < syllables; ++i)
            name += QLatin1String(kSyllables[below(kSyllables.size())]);
        name[0] = name[0].toUpper();
        return name + QLatin1Char(' ') + QLatin1String(kKinds[below(kKinds.size())]);
    }

private:
    std::mt19937_64 m_random;
};

RawRecord newRecord(const EntityDescription& entity, std::int64_t key)
{
    RawRecord record;
    record.entity = &entity;
    record.primaryKey = key;
    record.attributes.resize(entity.attributeCount());
    record.relationships.resize(entity.relationships().size());
    return record;
}

void put(RawRecord& record, QStringView key, Value value)
{
    const int index = record.entity->indexOfAttribute(key);
    record.attributes[index] = record.entity->coerce(index, value);
}

// 2026-11-21 00:00 UTC, so the ledger does not depend on the day it is made.
constexpr double kLastDate = 817084800.0;
constexpr double kTwentyYears = 20.0 * 365.25 * 86400.0;

} // namespace

Status LedgerGenerator::writeStore(const QString& folder, const LedgerShape& shape)
{
    QDir().mkpath(folder);
    const QString path = folder + QLatin1Char('/') + StoreFile::Current;
    for (const char* suffix : {"", "-wal", "-shm"})
        QFile::remove(path + QLatin1String(suffix));
    auto store = SqliteStore::open(path, SqliteStore::Mode::CreateIfMissing);
    if (!store)
        return store.error();

    const ManagedObjectModel& model = ManagedObjectModel::shared();
    Generator g(shape.seed);
    std::int64_t nextKey = 1;
    ChangeSet vaults;

    auto vault = [&](const QString& type, const QString& title) -> RawRecord& {
        RawRecord& v = vaults.inserted.emplace_back(newRecord(model.vault(), nextKey++));
        put(v, u"vault_uniqueID", Value(g.uniqueID()));
        put(v, u"vault_title", Value(title));
        put(v, u"vault_type", Value(type));
        put(v, u"vault_dateAdded", Value::date(kLastDate - kTwentyYears));
        put(v, u"vault_viewBy", Value("IconView"));
        put(v, u"vault_directionFilter", Value("FilterAll"));
        put(v, u"vault_typeFilter", Value("FilterAll"));
        return v;
    };
    vault(QStringLiteral("Master Vault"), QStringLiteral("Master Vault"));
    vault(QStringLiteral("Bill Manager"), QStringLiteral("Scheduler"));
    vault(QStringLiteral("Untagged"), QStringLiteral("Untagged"));
    std::vector<QString> accountIDs;
    for (int i = 0; i < shape.accounts; ++i) {
        RawRecord& a = vault(QStringLiteral("Account"), QStringLiteral("Account %1").arg(i + 1));
        put(a, u"vault_accountType", Value(kAccountTypes[i % kAccountTypes.size()]));
        accountIDs.push_back(a.attributes[0].toString());
    }
    std::vector<QString> folderIDs;
    for (int i = 0; i < shape.folders; ++i)
        folderIDs.push_back(vault(QStringLiteral("Playlist"), QStringLiteral("Folder %1").arg(i + 1)).attributes[0].toString());

    std::vector<QString> payees;
    for (int i = 0; i < shape.payees; ++i)
        payees.push_back(g.payee());

    if (auto s = (*store)->save(vaults); !s)
        return s.error();

    // Written in batches so the generator itself stays small in memory.
    constexpr std::int64_t kBatch = 50000;
    for (std::int64_t done = 0; done < shape.transactions;) {
        ChangeSet batch;
        const std::int64_t count = std::min(kBatch, shape.transactions - done);
        batch.inserted.reserve(count);
        for (std::int64_t i = 0; i < count; ++i) {
            RawRecord& t = batch.inserted.emplace_back(newRecord(model.trans(), nextKey++));
            const QString& payee = payees[g.below(static_cast<int>(payees.size()))];
            const bool incoming = g.chance(15);
            const double amount = incoming ? 50 + g.below(300000) / 100.0 : -(1 + g.below(50000) / 100.0);
            put(t, u"trans_uniqueID", Value(g.uniqueID()));
            put(t, u"trans_title", Value(payee));
            put(t, u"trans_amount", Value(amount));
            put(t, u"trans_direction", Value(incoming ? "Incoming" : "Outgoing"));
            const double date = kLastDate - g.below(static_cast<int>(kTwentyYears / 60)) * 60.0;
            put(t, u"trans_date", Value::date(date));
            put(t, u"trans_dateModified", Value::date(date));
            put(t, incoming ? u"trans_from" : u"trans_to", Value(payee));
            QStringList tags;
            for (int n = g.below(4); n > 0; --n)
                tags << QLatin1String(kTags[g.below(kTags.size())]);
            tags.removeDuplicates();
            put(t, u"trans_keywords", Value(tags.join(QStringLiteral(", "))));
            put(t, u"trans_notes", Value(g.chance(10) ? QStringLiteral("Receipt kept in the drawer") : QStringLiteral("")));
            put(t, u"trans_isPending", Value::boolean(g.chance(5)));
            put(t, u"trans_isUpcoming", Value::boolean(false));
            put(t, u"trans_accountID", Value(accountIDs[g.below(static_cast<int>(accountIDs.size()))]));
            if (g.chance(10))
                put(t, u"trans_listIDs", Value(folderIDs[g.below(static_cast<int>(folderIDs.size()))]));
            put(t, u"trans_reoccurrence", Value("Never"));
            put(t, u"trans_setiCalEvent", Value::boolean(false));
        }
        if (auto s = (*store)->save(batch); !s)
            return s.error();
        done += count;
    }
    return Status::ok();
}

Result<QString> LedgerGenerator::cachedStoreFolder(const LedgerShape& shape)
{
    const QString folder = QDir::tempPath() + QStringLiteral("/quillfen-bench/%1-%2").arg(shape.transactions).arg(shape.seed);
    const QString marker = folder + QStringLiteral("/complete");
    if (QFileInfo::exists(marker))
        return folder;
    if (Status s = writeStore(folder, shape); !s)
        return s.error();
    QFile done(marker);
    done.open(QIODevice::WriteOnly);
    return folder;
}

} // namespace qf
