#include "views/TransactionTextIndex.h"

#include "common/StringMatch.h"
#include "store/ManagedObjectContext.h"

#include <algorithm>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace qf {

namespace {

constexpr char kFieldEnd = '\x1f';
constexpr StringOptions kFolding = CaseInsensitive | DiacriticInsensitive;

const EntityDescription& transEntity()
{
    return ManagedObjectModel::shared().trans();
}

void appendFolded(std::string& block, const SharedString& text)
{
    if (text.isAscii()) {
        // Folding ASCII is lowering it; skipping the general folding keeps a
        // rebuild of a million records well under a second.
        for (char c : text.view())
            block.push_back(c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c);
    } else {
        block += foldText(text.view(), kFolding);
    }
    block.push_back(kFieldEnd);
}

// Where the needle first occurs in text at or after from; npos for nowhere.
// Tests sixteen places at once for the needle's first and last byte and
// compares the rest only where both match: several times the speed of
// memmem over a block of tens of megabytes, where most bytes start no match.
std::size_t findFrom(std::string_view text, std::size_t from, std::string_view needle)
{
    const std::size_t n = needle.size();
#if defined(__SSE2__)
    if (n >= 1) {
        const __m128i first = _mm_set1_epi8(needle.front());
        const __m128i last = _mm_set1_epi8(needle.back());
        const char* data = text.data();
        std::size_t at = from;
        for (; at + n - 1 + 16 <= text.size(); at += 16) {
            const __m128i starts = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + at));
            const __m128i ends = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + at + n - 1));
            auto mask = static_cast<unsigned>(
                _mm_movemask_epi8(_mm_and_si128(_mm_cmpeq_epi8(starts, first), _mm_cmpeq_epi8(ends, last))));
            while (mask) {
                const auto bit = static_cast<std::size_t>(__builtin_ctz(mask));
                if (n <= 2 || std::memcmp(data + at + bit + 1, needle.data() + 1, n - 2) == 0)
                    return at + bit;
                mask &= mask - 1;
            }
        }
        from = at;
    }
#endif
    if (from + n > text.size())
        return std::string_view::npos;
    const void* hit = memmem(text.data() + from, text.size() - from, needle.data(), n);
    return hit ? static_cast<std::size_t>(static_cast<const char*>(hit) - text.data()) : std::string_view::npos;
}

} // namespace

std::size_t TransactionTextIndex::recordAt(std::uint32_t offset, std::size_t from) const
{
    // Hits come in block order, mostly a few records apart: gallop from the
    // last one rather than search all the starts.
    std::size_t low = from;
    std::size_t high = from + 1;
    std::size_t step = 1;
    while (high < m_starts.size() && m_starts[high] <= offset) {
        low = high;
        step *= 2;
        high = low + step;
    }
    high = std::min(high, m_starts.size());
    const auto next = std::upper_bound(m_starts.begin() + static_cast<std::ptrdiff_t>(low) + 1,
                                       m_starts.begin() + static_cast<std::ptrdiff_t>(high), offset);
    return static_cast<std::size_t>(next - m_starts.begin()) - 1;
}

void TransactionTextIndex::rebuild(const ManagedObjectContext& context)
{
    static const int keys[] = {transEntity().indexOfAttribute(u"trans_title"),
                               transEntity().indexOfAttribute(u"trans_to"),
                               transEntity().indexOfAttribute(u"trans_from"),
                               transEntity().indexOfAttribute(u"trans_notes"),
                               transEntity().indexOfAttribute(u"trans_keywords")};
    m_follower.rebuilt(context);
    m_block.clear();
    m_starts.clear();
    m_records = context.objects(transEntity());
    m_starts.reserve(m_records.size() + 1);
    m_block.reserve(m_records.size() * 48);
    for (const ManagedObject* record : m_records) {
        m_starts.push_back(static_cast<std::uint32_t>(m_block.size()));
        for (int key : keys)
            appendFolded(m_block, record->primitiveValue(key).string());
    }
    m_starts.push_back(static_cast<std::uint32_t>(m_block.size()));
}

std::vector<ManagedObject*> TransactionTextIndex::candidates(const ManagedObjectContext& context, const QString& word)
{
    const bool blockTooBig = m_block.size() > 0xF0000000u; // offsets are 32-bit
    if (m_follower.follow(context, transEntity(), m_records.size()) || blockTooBig)
        rebuild(context);
    const std::unordered_set<ManagedObject*>& stale = m_follower.stale();

    std::vector<ManagedObject*> found;
    const std::string needle = foldText(word.toUtf8().toStdString(), kFolding);
    if (needle.empty() || needle.find(kFieldEnd) != std::string::npos) {
        // Nothing to narrow by: every live transaction is a candidate.
        return context.objects(transEntity());
    }
    // A record deleted since the build is in the change log, hence stale:
    // the others need no visit here.
    const std::string_view block(m_block);
    std::size_t index = 0;
    for (std::size_t at = 0; at < block.size();) {
        const std::size_t hit = findFrom(block, at, needle);
        if (hit == std::string_view::npos)
            break;
        // The record whose texts hold the hit; the search goes on after them.
        index = recordAt(static_cast<std::uint32_t>(hit), index);
        ManagedObject* record = m_records[index];
        if (stale.empty() || !stale.count(record))
            found.push_back(record);
        at = m_starts[index + 1];
    }
    for (ManagedObject* record : stale) {
        if (!record->isDeleted())
            found.push_back(record);
    }
    return found;
}

} // namespace qf
