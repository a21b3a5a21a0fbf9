#include "views/TransactionTextIndex.h"

#include "common/StringMatch.h"
#include "store/ManagedObjectContext.h"

#include <algorithm>
#include <cstring>

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

} // namespace

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
    const char* begin = m_block.data();
    const char* end = begin + m_block.size();
    const char* at = begin;
    while (at < end) {
        const void* hit = memmem(at, static_cast<std::size_t>(end - at), needle.data(), needle.size());
        if (!hit)
            break;
        const auto offset = static_cast<std::uint32_t>(static_cast<const char*>(hit) - begin);
        // The record whose texts hold the hit; the search goes on after them.
        const auto next = std::upper_bound(m_starts.begin(), m_starts.end(), offset);
        const std::size_t index = static_cast<std::size_t>(next - m_starts.begin()) - 1;
        ManagedObject* record = m_records[index];
        if (!record->isDeleted() && !stale.count(record))
            found.push_back(record);
        at = begin + *next;
    }
    for (ManagedObject* record : stale) {
        if (!record->isDeleted())
            found.push_back(record);
    }
    return found;
}

} // namespace qf
