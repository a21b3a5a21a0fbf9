#include "store/RecordArena.h"

namespace qf {

void* RecordArena::allocate(std::size_t bytes)
{
    if (bytes == 0)
        return nullptr;
    bytes = (bytes + kAlignment - 1) & ~(kAlignment - 1);
    if (bytes > m_left) {
        // Not value-initialised: the pages are touched only as records fill them.
        const std::size_t size = bytes > kBlockSize ? bytes : kBlockSize;
        m_blocks.emplace_back(new std::byte[size]);
        m_next = m_blocks.back().get();
        m_left = size;
    }
    void* memory = m_next;
    m_next += bytes;
    m_left -= bytes;
    return memory;
}

void RecordArena::clear()
{
    m_blocks.clear();
    m_next = nullptr;
    m_left = 0;
}

} // namespace qf
