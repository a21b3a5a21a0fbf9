#include "views/TransactionQuery.h"

#include "common/Money.h"
#include "planning/KVCalendarInfo.h"
#include "planning/NamedPeriod.h"
#include "store/ManagedObjectContext.h"
#include "store/VaultLibrary.h"
#include "views/TransactionIndexes.h"

#include <QStringList>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

namespace qf {

namespace {

Predicate parseOrNothing(const QString& format, const ValueArray& arguments = {})
{
    auto parsed = Predicate::parse(format, arguments);
    return parsed ? *parsed : Predicate::falsePredicate();
}

const EntityDescription& transEntity()
{
    return ManagedObjectModel::shared().trans();
}

// Key indexes of the transaction entity, looked up once.
struct TransKeys {
    int uniqueID = transEntity().indexOfKey(u"trans_uniqueID");
    int title = transEntity().indexOfKey(u"trans_title");
    int amount = transEntity().indexOfKey(u"trans_amount");
    int date = transEntity().indexOfKey(u"trans_date");
    int keywords = transEntity().indexOfKey(u"trans_keywords");
    int to = transEntity().indexOfKey(u"trans_to");
    int from = transEntity().indexOfKey(u"trans_from");
    int notes = transEntity().indexOfKey(u"trans_notes");
    int isUpcoming = transEntity().indexOfKey(u"trans_isUpcoming");
};

const TransKeys& transKeys()
{
    static const TransKeys keys;
    return keys;
}

AbsoluteTime startOfLocalDay(AbsoluteTime instant)
{
    const KVCalendarInfo day(instant);
    return KVCalendarInfo::localMidnight(day.year(), day.month(), day.dayOfMonth()).value_or(instant);
}

} // namespace

ListSettings ListSettings::ofVault(const ManagedObject& vault)
{
    ListSettings settings;
    auto text = [&](QStringView key, const QString& fallback) {
        const QString v = vault.valueForKey(key).toString();
        return v.isEmpty() ? fallback : v;
    };
    settings.directionFilter = text(u"vault_directionFilter", settings.directionFilter);
    settings.typeFilter = text(u"vault_typeFilter", settings.typeFilter);
    settings.dateRangeType = text(u"vault_dateRangeType", settings.dateRangeType);
    settings.sort = text(u"vault_transSort", settings.sort);
    const Value from = vault.valueForKey(u"vault_dateRangeFrom");
    const Value to = vault.valueForKey(u"vault_dateRangeTo");
    if (!from.isNull())
        settings.customFrom = from.toDate();
    if (!to.isNull())
        settings.customTo = to.toDate();
    settings.searchIgnoresDirection = vault.valueForKey(u"vault_type").toString() == VaultType::SmartPlaylist;
    return settings;
}

FilterPredicates TransactionQuery::libraryPredicates()
{
    return {parseOrNothing(QStringLiteral("self != nil")),
            parseOrNothing(QStringLiteral("trans_direction == %@"), {Value("Incoming")}),
            parseOrNothing(QStringLiteral("trans_direction == %@"), {Value("Outgoing")}),
            parseOrNothing(QStringLiteral("trans_isPending == NO")),
            parseOrNothing(QStringLiteral("trans_isPending == YES"))};
}

FilterPredicates TransactionQuery::accountPredicates(const QString& accountID)
{
    const QString scope = QStringLiteral("(trans_accountID == %@ || trans_billFromAccountID == %@ || "
                                         "trans_billToAccountID == %@)");
    const ValueArray ids(3, Value(accountID));
    return {parseOrNothing(QStringLiteral("trans_accountID == %@ || trans_billFromAccountID == %@ || "
                                          "trans_billToAccountID == %@"),
                           ids),
            parseOrNothing(QStringLiteral("trans_direction == 'Incoming' AND ") + scope, ids),
            parseOrNothing(QStringLiteral("trans_direction == 'Outgoing' AND ") + scope, ids),
            parseOrNothing(QStringLiteral("trans_isPending == NO AND ") + scope, ids),
            parseOrNothing(QStringLiteral("trans_isPending == YES AND ") + scope, ids)};
}

FilterPredicates TransactionQuery::folderPredicates(const QString& folderID)
{
    // A folder without an identifier shows nothing.
    const Value id = folderID.isEmpty() ? Value() : Value(folderID);
    return {parseOrNothing(QStringLiteral("trans_listIDs contains %@"), {id}),
            parseOrNothing(QStringLiteral("trans_listIDs contains %@ AND trans_direction == %@"), {id, Value("Incoming")}),
            parseOrNothing(QStringLiteral("trans_listIDs contains %@ AND trans_direction == %@"), {id, Value("Outgoing")}),
            parseOrNothing(QStringLiteral("trans_listIDs contains %@ AND trans_isPending == NO"), {id}),
            parseOrNothing(QStringLiteral("trans_listIDs contains %@ AND trans_isPending == YES"), {id})};
}

FilterPredicates TransactionQuery::untaggedPredicates()
{
    return {parseOrNothing(QStringLiteral("trans_keywords == nil || trans_keywords == ''")),
            parseOrNothing(QStringLiteral("trans_direction == 'Incoming' AND (trans_keywords == nil || trans_keywords == '')")),
            parseOrNothing(QStringLiteral("trans_direction == 'Outgoing' AND (trans_keywords == nil || trans_keywords == '')")),
            parseOrNothing(QStringLiteral("trans_isPending == NO AND (trans_keywords == nil || trans_keywords == '')")),
            parseOrNothing(QStringLiteral("trans_isPending == YES AND (trans_keywords == nil || trans_keywords == '')"))};
}

FilterPredicates TransactionQuery::billListPredicates()
{
    return {parseOrNothing(QStringLiteral("trans_isUpcoming == YES")),
            parseOrNothing(QStringLiteral("trans_isUpcoming == YES AND trans_direction == %@"), {Value("Incoming")}),
            parseOrNothing(QStringLiteral("trans_isUpcoming == YES AND trans_direction == %@"), {Value("Outgoing")}),
            parseOrNothing(QStringLiteral("trans_isUpcoming == YES AND trans_isPending == NO")),
            parseOrNothing(QStringLiteral("trans_isUpcoming == YES AND trans_isPending == YES"))};
}

FilterPredicates TransactionQuery::smartFolderPredicates(const QString& predicateString)
{
    Predicate smart = parseOrNothing(QStringLiteral("self == nil"));
    if (!predicateString.isEmpty()) {
        if (auto parsed = Predicate::parse(predicateString))
            smart = *parsed;
    }
    auto with = [&](const QString& format, const ValueArray& arguments = {}) {
        return Predicate::andPredicate({smart, parseOrNothing(format, arguments)});
    };
    return {smart, with(QStringLiteral("trans_direction == %@"), {Value("Incoming")}),
            with(QStringLiteral("trans_direction == %@"), {Value("Outgoing")}),
            with(QStringLiteral("trans_isPending == NO")), with(QStringLiteral("trans_isPending == YES"))};
}

FilterPredicates TransactionQuery::predicatesForVault(const ManagedObject& vault)
{
    const QString type = vault.valueForKey(u"vault_type").toString();
    const QString id = vault.valueForKey(u"vault_uniqueID").toString();
    if (type == VaultType::MasterVault)
        return libraryPredicates();
    if (type == VaultType::Account)
        return accountPredicates(id);
    if (type == VaultType::Playlist)
        return folderPredicates(id);
    if (type == VaultType::Untagged)
        return untaggedPredicates();
    if (type == VaultType::BillManager)
        return billListPredicates();
    if (type == VaultType::SmartPlaylist)
        return smartFolderPredicates(vault.valueForKey(u"vault_smartPredicateString").toString());
    return {};
}

std::optional<std::pair<AbsoluteTime, AbsoluteTime>>
TransactionQuery::dateRangeBounds(const ListSettings& settings, AbsoluteTime now,
                                  const std::function<std::optional<AbsoluteTime>()>& earliestDate)
{
    if (settings.dateRangeType == QLatin1String("Custom Range")) {
        std::optional<AbsoluteTime> from = settings.customFrom;
        if (!from && earliestDate)
            from = earliestDate();
        const AbsoluteTime to = settings.customTo.value_or(now);
        return std::make_pair(startOfLocalDay(from.value_or(to)), startOfLocalDay(to));
    }
    return namedPeriodBounds(settings.dateRangeType, now);
}

Predicate TransactionQuery::searchPredicate(const QString& text, const std::function<bool(const QString&)>& amountMayContain)
{
    if (text.isEmpty())
        return {};
    const Value needle(text);
    std::vector<Predicate> tagWords;
    for (const QString& word : text.split(QLatin1Char(' ')))
        tagWords.push_back(parseOrNothing(QStringLiteral("trans_keywords contains[cd] %@"), {Value(word)}));

    std::vector<Predicate> anyField{parseOrNothing(QStringLiteral("trans_title contains[cd] %@"), {needle}),
                                    parseOrNothing(QStringLiteral("trans_to contains[cd] %@"), {needle}),
                                    parseOrNothing(QStringLiteral("trans_from contains[cd] %@"), {needle}),
                                    Predicate::andPredicate(std::move(tagWords)),
                                    parseOrNothing(QStringLiteral("trans_notes contains[cd] %@"), {needle})};
    if (!amountMayContain || amountMayContain(text))
        anyField.push_back(parseOrNothing(QStringLiteral("trans_amountStringValue contains[cd] %@"), {needle}));
    return Predicate::orPredicate(std::move(anyField));
}

Predicate TransactionQuery::filterWithSearchString(const FilterPredicates& scope, const ListSettings& settings,
                                                   const std::optional<std::pair<AbsoluteTime, AbsoluteTime>>& range,
                                                   const std::function<bool(const QString&)>& amountMayContain)
{
    const bool anyDirection = settings.searchIgnoresDirection && !settings.searchText.isEmpty();
    const Predicate& direction = anyDirection                                                  ? scope.all
                                 : settings.directionFilter == QLatin1String("FilterIncoming") ? scope.incoming
                                 : settings.directionFilter == QLatin1String("FilterOutgoing") ? scope.outgoing
                                                                                                : scope.all;
    const Predicate& status = settings.typeFilter == QLatin1String("FilterPaid")      ? scope.paid
                              : settings.typeFilter == QLatin1String("FilterPending") ? scope.pending
                                                                                       : scope.all;
    std::vector<Predicate> parts;
    if (!direction.isNull())
        parts.push_back(direction);
    if (!status.isNull())
        parts.push_back(status);
    if (Predicate search = searchPredicate(settings.searchText, amountMayContain); !search.isNull())
        parts.push_back(search);
    if (range) {
        parts.push_back(parseOrNothing(QStringLiteral("trans_date >= %@ AND trans_date <= %@"),
                                       {Value::date(range->first), Value::date(range->second)}));
    }
    if (parts.empty())
        return {};
    if (parts.size() == 1)
        return parts.front();
    return Predicate::andPredicate(std::move(parts));
}

namespace {

// One record's sort keys, read once: a million records sort in about twenty
// million comparisons, too many to read keys through the record each time.
struct SortEntry {
    double number;           // date or amount; -inf stands for nil
    std::string_view text;   // title or tags
    bool textIsNull;
    ManagedObject* record;
};

std::string_view textOf(const ManagedObject& record, int key, bool* isNull)
{
    const Value* stored = record.storedValueForKeyIndex(key);
    const SharedString& text = stored ? stored->string() : SharedString();
    *isNull = text.isNull();
    return text.view();
}

double numberOf(const ManagedObject& record, int key)
{
    if (const Value* stored = record.storedValueForKeyIndex(key))
        return stored->isNull() ? -std::numeric_limits<double>::infinity() : stored->toDouble();
    const Value value = record.value(key);
    return value.isNull() ? -std::numeric_limits<double>::infinity() : value.toDouble();
}

int compareTexts(const SortEntry& a, const SortEntry& b)
{
    if (a.textIsNull || b.textIsNull)
        return a.textIsNull == b.textIsNull ? 0 : (a.textIsNull ? -1 : 1);
    const int c = a.text.compare(b.text);
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
}

// A number as an unsigned key in the reverse order of the numbers, so that
// ascending keys put the largest first. Nil (-inf) sorts last, NaN with it.
std::uint64_t descendingKey(double number)
{
    if (std::isnan(number))
        number = -std::numeric_limits<double>::infinity();
    if (number == 0)
        number = 0; // -0 and 0 are one number
    std::uint64_t bits;
    std::memcpy(&bits, &number, sizeof bits);
    const std::uint64_t ascending = (bits & (1ull << 63)) ? ~bits : bits | (1ull << 63);
    return ~ascending;
}

struct KeyedIndex {
    std::uint64_t key;
    std::size_t index;
};

// Sorts below this many entries compare; above, they go by the key's bytes.
constexpr std::size_t kRadixMinimum = 2048;

// Stable sort by a 64-bit key, a byte at a time from the lowest: a million
// keys in a few passes over memory instead of twenty million comparisons.
// Bytes that are the same in every key (dates share their top and bottom
// bytes, addresses their top ones) cost no pass.
template<typename T, typename KeyOf>
void radixSort(std::vector<T>& entries, KeyOf keyOf)
{
    if (entries.empty())
        return;
    constexpr int kBytes = 8;
    std::vector<std::array<std::size_t, 256>> counts(kBytes);
    for (auto& c : counts)
        c.fill(0);
    for (const T& e : entries) {
        const std::uint64_t key = keyOf(e);
        for (int b = 0; b < kBytes; ++b)
            ++counts[b][(key >> (8 * b)) & 0xFF];
    }
    std::vector<T> scratch(entries.size());
    for (int b = 0; b < kBytes; ++b) {
        std::array<std::size_t, 256>& c = counts[b];
        if (c[(keyOf(entries.front()) >> (8 * b)) & 0xFF] == entries.size())
            continue;
        std::size_t at = 0;
        for (std::size_t& n : c)
            at += std::exchange(n, at);
        for (const T& e : entries)
            scratch[c[(keyOf(e) >> (8 * b)) & 0xFF]++] = e;
        entries.swap(scratch);
    }
}

// Runs of equal keys in entries sorted by key go by text next, stably. The
// texts of tied records are read first, fetched ahead: the records lie
// anywhere in memory, and reading them as the comparisons ask would cost
// several cache misses per comparison.
void sortTiesByText(const std::vector<ManagedObject*>& records, std::vector<KeyedIndex>& entries, int textKey)
{
    std::vector<std::pair<std::size_t, std::size_t>> runs;
    std::vector<ManagedObject*> tied;
    for (std::size_t first = 0; first < entries.size();) {
        std::size_t end = first + 1;
        while (end < entries.size() && entries[end].key == entries[first].key)
            ++end;
        if (end - first > 1) {
            runs.emplace_back(first, end);
            for (std::size_t i = first; i < end; ++i)
                tied.push_back(records[entries[i].index]);
        }
        first = end;
    }
    struct Tied {
        std::string_view text;
        bool textIsNull;
        KeyedIndex entry;
    };
    std::vector<Tied> texts(tied.size());
    constexpr std::size_t kAhead = 4;
    for (std::size_t i = 0, at = 0; i < runs.size(); ++i) {
        for (std::size_t e = runs[i].first; e < runs[i].second; ++e, ++at) {
            if (at + 3 * kAhead < tied.size())
                __builtin_prefetch(tied[at + 3 * kAhead]);
            if (at + 2 * kAhead < tied.size())
                __builtin_prefetch(&tied[at + 2 * kAhead]->primitiveValue(textKey));
            if (at + kAhead < tied.size())
                __builtin_prefetch(tied[at + kAhead]->primitiveValue(textKey).string().data());
            texts[at].text = textOf(*tied[at], textKey, &texts[at].textIsNull);
            texts[at].entry = entries[e];
        }
    }
    auto before = [](const Tied& a, const Tied& b) {
        const SortEntry ea{0, a.text, a.textIsNull, nullptr}, eb{0, b.text, b.textIsNull, nullptr};
        return compareTexts(ea, eb) < 0;
    };
    for (std::size_t i = 0, at = 0; i < runs.size(); ++i) {
        const auto [first, end] = runs[i];
        const auto begin = texts.begin() + static_cast<std::ptrdiff_t>(at);
        const auto runEnd = begin + static_cast<std::ptrdiff_t>(end - first);
        if (end - first > 16) {
            std::stable_sort(begin, runEnd, before);
        } else {
            // Most runs are two or three long: an insertion sort, stable too,
            // without the buffer a stable_sort allocates each time.
            for (auto it = begin + 1; it < runEnd; ++it) {
                Tied moving = *it;
                auto hole = it;
                for (; hole > begin && before(moving, *(hole - 1)); --hole)
                    *hole = *(hole - 1);
                *hole = moving;
            }
        }
        for (std::size_t e = first; e < end; ++e, ++at)
            entries[e] = texts[at].entry;
    }
}

// Largest first; equal numbers by the text key (when there is one), then in
// the order given. Sixteen-byte entries: a million of them sort several
// times faster than entries that carry the texts along, and ties are rare.
void sortByNumber(std::vector<ManagedObject*>& records, int numberKey, int textKey)
{
    using Entry = KeyedIndex;
    std::vector<Entry> entries(records.size());
    constexpr std::size_t kAhead = 8;
    const std::size_t count = records.size();
    for (std::size_t i = 0; i < count; ++i) {
        // Records of a filtered list lie scattered: fetch ahead as balances() does.
        if (i + 2 * kAhead < count)
            __builtin_prefetch(records[i + 2 * kAhead]);
        if (i + kAhead < count)
            __builtin_prefetch(&records[i + kAhead]->primitiveValue(numberKey));
        entries[i] = {descendingKey(numberOf(*records[i], numberKey)), i};
    }
    auto textCompare = [&](const Entry& a, const Entry& b) {
        SortEntry ta{0, {}, false, nullptr}, tb{0, {}, false, nullptr};
        ta.text = textOf(*records[a.index], textKey, &ta.textIsNull);
        tb.text = textOf(*records[b.index], textKey, &tb.textIsNull);
        return compareTexts(ta, tb);
    };
    if (entries.size() < kRadixMinimum) {
        std::sort(entries.begin(), entries.end(), [&](const Entry& a, const Entry& b) {
            if (a.key != b.key)
                return a.key < b.key;
            if (textKey >= 0) {
                if (const int c = textCompare(a, b))
                    return c < 0;
            }
            return a.index < b.index;
        });
    } else {
        // Stable, so equal numbers stay in the order given; runs of equal
        // numbers (few) then sort by their texts, stably again.
        radixSort(entries, [](const Entry& e) { return e.key; });
        if (textKey >= 0)
            sortTiesByText(records, entries, textKey);
    }
    std::vector<ManagedObject*> sorted(records.size());
    for (std::size_t i = 0; i < entries.size(); ++i)
        sorted[i] = records[entries[i].index];
    records = std::move(sorted);
}

} // namespace

void TransactionQuery::sortTransactions(std::vector<ManagedObject*>& transactions, const QString& sortTitle)
{
    const TransKeys& k = transKeys();
    const bool byTitle = sortTitle == QLatin1String("Title");
    const bool byAmount = sortTitle == QLatin1String("Amount");
    const bool byTags = sortTitle == QLatin1String("Tags");
    if (!byTitle && !byTags) {
        sortByNumber(transactions, byAmount ? k.amount : k.date, byAmount ? -1 : k.title);
        return;
    }
    std::vector<SortEntry> entries;
    entries.reserve(transactions.size());
    for (ManagedObject* t : transactions) {
        SortEntry e{0, {}, false, t};
        e.text = textOf(*t, byTags ? k.keywords : k.title, &e.textIsNull);
        entries.push_back(e);
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [](const SortEntry& a, const SortEntry& b) { return compareTexts(a, b) < 0; });
    for (std::size_t i = 0; i < entries.size(); ++i)
        transactions[i] = entries[i].record;
}

namespace {

Balances balancesOf(const AmountSum& sum)
{
    return {sum.count(), sum.total(), sum.incoming(), sum.outgoing()};
}

Balances balancesInOrder(const std::vector<ManagedObject*>& transactions)
{
    AmountSum sum;
    const int amountKey = transKeys().amount;
    const int upcomingKey = transKeys().isUpcoming;
    // Records in no order of memory: asking for records, and then for the
    // values the sum reads, a little ahead overlaps their cache misses.
    constexpr std::size_t kAhead = 8;
    const std::size_t count = transactions.size();
    for (std::size_t i = 0; i < count; ++i) {
        if (i + 2 * kAhead < count)
            __builtin_prefetch(transactions[i + 2 * kAhead]);
        if (i + kAhead < count) {
            const ManagedObject* ahead = transactions[i + kAhead];
            __builtin_prefetch(&ahead->primitiveValue(amountKey));
            __builtin_prefetch(&ahead->primitiveValue(upcomingKey));
        }
        sum.add(decimalAmount(transactions[i]->value(amountKey).toDouble()));
    }
    return balancesOf(sum);
}

} // namespace

Balances TransactionQuery::balances(const std::vector<ManagedObject*>& transactions)
{
    // Sums do not depend on order: a long list is summed in the order of
    // memory, which the processor fetches ahead by itself, rather than in
    // its own order, where every record is a cache miss. Sorting a million
    // addresses costs a fraction of those misses.
    constexpr std::size_t kAddressOrderMinimum = 65536;
    if (transactions.size() >= kAddressOrderMinimum) {
        std::vector<ManagedObject*> inMemoryOrder = transactions;
        radixSort(inMemoryOrder, [](ManagedObject* t) { return static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(t)); });
        return balancesInOrder(inMemoryOrder);
    }
    return balancesInOrder(transactions);
}

std::optional<AbsoluteTime> TransactionQuery::earliestTransactionDate(const ManagedObjectContext& context)
{
    std::optional<AbsoluteTime> earliest;
    const int dateKey = transKeys().date;
    for (const ManagedObject* t : context.objects(transEntity())) {
        const Value& date = t->primitiveValue(dateKey);
        if (!date.isNull() && (!earliest || date.toDate() < *earliest))
            earliest = date.toDate();
    }
    return earliest;
}

std::vector<ManagedObject*> TransactionQuery::arrangedTransactions(const ManagedObjectContext& context,
                                                                   const Predicate& predicate, const QString& sortTitle)
{
    std::vector<ManagedObject*> shown;
    const std::vector<ManagedObject*>& all = context.objects(transEntity());
    if (predicate.isNull()) {
        shown = all;
    } else {
        for (ManagedObject* t : all) {
            if (predicate.evaluate(*t))
                shown.push_back(t);
        }
    }
    sortTransactions(shown, sortTitle);
    return shown;
}

} // namespace qf

namespace qf {

Predicate TransactionQuery::predicate(const ListQuery& query)
{
    Predicate p = filterWithSearchString(query.scope, query.settings, query.range, query.amountMayContain);
    if (query.extra.isNull())
        return p;
    return p.isNull() ? query.extra : Predicate::andPredicate({p, query.extra});
}

namespace {

// The transactions a list shows, in no particular order.
std::vector<ManagedObject*> shownTransactions(const ManagedObjectContext& context, const ListQuery& query,
                                              const Predicate& p, TransactionIndexes* indexes)
{
    const QString& text = query.settings.searchText;
    std::vector<ManagedObject*> candidates;
    // The text index knows texts, not formatted amounts: it may narrow only a
    // search that leaves the amount out. Every match holds each word of the
    // text (in one field or among the tags), so the longest word narrows most.
    if (indexes && !text.isEmpty() && query.amountMayContain && !query.amountMayContain(text)) {
        QString longest;
        for (const QString& word : text.split(QLatin1Char(' '))) {
            if (word.size() > longest.size())
                longest = word;
        }
        candidates = indexes->text.candidates(context, longest);
    } else if (indexes && !query.accountID.isEmpty()) {
        candidates = indexes->accounts.candidates(context, query.accountID);
    } else {
        candidates = context.objects(transEntity());
    }
    if (p.isNull())
        return candidates;
    std::vector<ManagedObject*> shown;
    // Candidates lie scattered in memory, and a test reads a record, its
    // values and their texts one after the other: asking for each of them a
    // little ahead overlaps the cache misses of several records. A search
    // reads the five texts it looks in; other lists at least the title.
    const TransKeys& k = transKeys();
    const int searched[] = {k.title, k.to, k.from, k.keywords, k.notes};
    const std::size_t keyCount = text.isEmpty() ? 1 : std::size(searched);
    constexpr std::size_t kAhead = 4;
    const std::size_t count = candidates.size();
    for (std::size_t i = 0; i < count; ++i) {
        if (i + 3 * kAhead < count) {
            const char* record = reinterpret_cast<const char*>(candidates[i + 3 * kAhead]);
            __builtin_prefetch(record);
            __builtin_prefetch(record + 64);
        }
        if (i + 2 * kAhead < count) {
            for (std::size_t key = 0; key < keyCount; ++key)
                __builtin_prefetch(&candidates[i + 2 * kAhead]->primitiveValue(searched[key]));
        }
        if (i + kAhead < count) {
            for (std::size_t key = 0; key < keyCount; ++key)
                __builtin_prefetch(candidates[i + kAhead]->primitiveValue(searched[key]).string().data());
        }
        if (p.evaluate(*candidates[i]))
            shown.push_back(candidates[i]);
    }
    return shown;
}

// True when the list shows its whole scope: no filter, search, range or extra condition.
bool showsWholeScope(const ListQuery& query)
{
    const ListSettings& s = query.settings;
    return s.directionFilter != QLatin1String("FilterIncoming") && s.directionFilter != QLatin1String("FilterOutgoing")
        && s.typeFilter != QLatin1String("FilterPaid") && s.typeFilter != QLatin1String("FilterPending")
        && s.searchText.isEmpty() && !query.range && query.extra.isNull();
}

} // namespace

std::vector<ManagedObject*> TransactionQuery::arrangedTransactions(const ManagedObjectContext& context,
                                                                   const ListQuery& query, TransactionIndexes* indexes)
{
    std::vector<ManagedObject*> shown = shownTransactions(context, query, predicate(query), indexes);
    sortTransactions(shown, query.settings.sort);
    return shown;
}

Balances TransactionQuery::balances(const ManagedObjectContext& context, const ListQuery& query,
                                    TransactionIndexes* indexes)
{
    // An account's whole list adds up from the amounts its index keeps.
    if (indexes && !query.accountID.isEmpty() && showsWholeScope(query)) {
        AmountSum sum;
        indexes->accounts.addAmounts(context, query.accountID, query.scope.all, sum);
        return balancesOf(sum);
    }
    // Sums do not depend on order: no sort.
    return balances(shownTransactions(context, query, predicate(query), indexes));
}

ListQuery ListQuery::forVault(const ManagedObject& vault, const ListSettings& settings)
{
    ListQuery query;
    query.scope = TransactionQuery::predicatesForVault(vault);
    query.settings = settings;
    if (vault.valueForKey(u"vault_type").toString() == VaultType::Account)
        query.accountID = vault.valueForKey(u"vault_uniqueID").toString();
    return query;
}

} // namespace qf
