#pragma once

#include "views/ChangeFollower.h"

#include <QString>
#include <cstdint>
#include <string>
#include <vector>

namespace qf {

class ManagedObject;
class ManagedObjectContext;

// The searchable texts of every transaction (title, to, from, notes, tags),
// folded for case- and diacritic-insensitive matching and laid end to end in
// one block of memory. A search then reads that block once instead of
// visiting a million records, and names the few records worth a full test.
//
// Records changed after the block was built are always named, so the answer
// is never short of a match; the caller still tests every candidate with the
// real predicate. Main thread only, like the context it follows.
class TransactionTextIndex {
public:
    // Transactions whose folded texts hold the folded word, plus every
    // transaction changed since the index was built, in no particular order.
    // Deleted records are left out.
    std::vector<ManagedObject*> candidates(const ManagedObjectContext& context, const QString& word);

    // How many records changed since the block was built.
    std::size_t staleCount() const { return m_follower.stale().size(); }

private:
    void rebuild(const ManagedObjectContext& context);
    // The record whose texts hold the block offset, searching from record from on.
    std::size_t recordAt(std::uint32_t offset, std::size_t from) const;

    ChangeFollower m_follower;
    std::string m_block;
    std::vector<std::uint32_t> m_starts; // where each record's texts begin in m_block
    std::vector<ManagedObject*> m_records;
};

} // namespace qf
