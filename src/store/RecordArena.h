#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace qf {

// Memory for the values of loaded records, taken from the system in large
// blocks and given back all at once: a million records would otherwise make
// a million small allocations, each with its own bookkeeping. Nothing is
// freed piece by piece; a record that outgrows its space moves to the heap.
class RecordArena {
public:
    RecordArena() = default;
    RecordArena(const RecordArena&) = delete;
    RecordArena& operator=(const RecordArena&) = delete;

    // Uninitialised memory aligned for any fundamental type, valid until
    // clear() or the arena's end. Zero bytes give null.
    void* allocate(std::size_t bytes);
    void clear();

private:
    static constexpr std::size_t kBlockSize = 512 * 1024;
    static constexpr std::size_t kAlignment = alignof(std::max_align_t);

    std::vector<std::unique_ptr<std::byte[]>> m_blocks;
    std::byte* m_next = nullptr;
    std::size_t m_left = 0;
};

} // namespace qf
