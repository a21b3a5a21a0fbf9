#pragma once

#include <QString>
#include <QStringView>
#include <atomic>
#include <cstdint>
#include <string_view>

namespace qf {

// Immutable, reference-counted UTF-8 text in one allocation.
//
// Records hold millions of strings; UTF-8 halves their memory against UTF-16,
// comes straight out of SQLite without conversion, and lets the common
// all-ASCII case be searched byte by byte. A default-made SharedString is
// null (no text at all), which is distinct from the empty text.
class SharedString {
public:
    SharedString() = default;
    SharedString(const SharedString& other) noexcept;
    SharedString(SharedString&& other) noexcept : m_rep(std::exchange(other.m_rep, nullptr)) {}
    SharedString& operator=(const SharedString& other) noexcept;
    SharedString& operator=(SharedString&& other) noexcept;
    ~SharedString();

    static SharedString fromUtf8(std::string_view utf8);
    static SharedString fromQString(QStringView text);
    static SharedString empty();

    bool isNull() const { return m_rep == nullptr; }
    bool isEmpty() const { return m_rep == nullptr || m_rep->size == 0; }
    std::size_t size() const { return m_rep ? m_rep->size : 0; }
    // True when every byte is below 0x80; then bytes and characters coincide.
    bool isAscii() const { return m_rep == nullptr || m_rep->ascii; }
    std::string_view view() const { return m_rep ? std::string_view(m_rep->data, m_rep->size) : std::string_view(); }
    const char* data() const { return m_rep ? m_rep->data : ""; }
    QString toQString() const;

    friend bool operator==(const SharedString& a, const SharedString& b)
    {
        return a.m_rep == b.m_rep || (a.m_rep && b.m_rep && a.view() == b.view());
    }
    friend bool operator<(const SharedString& a, const SharedString& b) { return a.view() < b.view(); }

private:
    struct Rep {
        std::atomic<std::uint32_t> refs;
        std::uint32_t size;
        bool ascii;
        char data[1];
    };
    explicit SharedString(Rep* rep) : m_rep(rep) {}
    static Rep* allocate(std::size_t size);
    void release();

    Rep* m_rep = nullptr;
};

} // namespace qf
