#include "common/SharedString.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace qf {

SharedString::SharedString(const SharedString& other) noexcept : m_rep(other.m_rep)
{
    if (m_rep)
        m_rep->refs.fetch_add(1, std::memory_order_relaxed);
}

SharedString& SharedString::operator=(const SharedString& other) noexcept
{
    if (other.m_rep)
        other.m_rep->refs.fetch_add(1, std::memory_order_relaxed);
    release();
    m_rep = other.m_rep;
    return *this;
}

SharedString& SharedString::operator=(SharedString&& other) noexcept
{
    if (this != &other) {
        release();
        m_rep = std::exchange(other.m_rep, nullptr);
    }
    return *this;
}

SharedString::~SharedString() { release(); }

void SharedString::release()
{
    if (m_rep && m_rep->refs.fetch_sub(1, std::memory_order_acq_rel) == 1)
        std::free(m_rep);
    m_rep = nullptr;
}

SharedString::Rep* SharedString::allocate(std::size_t size)
{
    void* memory = std::malloc(offsetof(Rep, data) + size + 1);
    if (!memory)
        throw std::bad_alloc();
    Rep* rep = static_cast<Rep*>(memory);
    new (&rep->refs) std::atomic<std::uint32_t>(1);
    rep->size = static_cast<std::uint32_t>(size);
    rep->ascii = true;
    rep->data[size] = '\0';
    return rep;
}

SharedString SharedString::fromUtf8(std::string_view utf8)
{
    Rep* rep = allocate(utf8.size());
    if (!utf8.empty())
        std::memcpy(rep->data, utf8.data(), utf8.size());
    bool ascii = true;
    for (unsigned char c : utf8) {
        if (c >= 0x80) {
            ascii = false;
            break;
        }
    }
    rep->ascii = ascii;
    return SharedString(rep);
}

SharedString SharedString::fromQString(QStringView text)
{
    if (text.isNull())
        return {};
    // ASCII, most text a ledger holds, narrows straight in without a UTF-8 copy first.
    const char16_t* wide = text.utf16();
    const std::size_t size = static_cast<std::size_t>(text.size());
    std::size_t ascii = 0;
    while (ascii < size && wide[ascii] < 0x80)
        ++ascii;
    if (ascii == size) {
        Rep* rep = allocate(size);
        for (std::size_t i = 0; i < size; ++i)
            rep->data[i] = static_cast<char>(wide[i]);
        return SharedString(rep);
    }
    const QByteArray utf8 = text.toUtf8();
    return fromUtf8(std::string_view(utf8.constData(), static_cast<std::size_t>(utf8.size())));
}

SharedString SharedString::empty()
{
    static const SharedString emptyText = fromUtf8(std::string_view());
    return emptyText;
}

QString SharedString::toQString() const
{
    if (!m_rep)
        return {};
    if (m_rep->ascii)
        return QString::fromLatin1(m_rep->data, m_rep->size);
    return QString::fromUtf8(m_rep->data, m_rep->size);
}

} // namespace qf
