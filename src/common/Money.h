#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

namespace qf {

// Amounts are stored in single precision: 483.86 is held as 483.859985...
// The decimal an amount stands for is the shortest decimal that reads back as
// the same float; sums are taken over those, so a balance of many amounts
// does not collect the float noise of each.
double decimalAmount(double storedAmount);

// Adds decimal amounts exactly, counted in millionths, so that a balance is
// the same whatever order its amounts come in (a list sorted by date and an
// index in store order must agree to the last bit). Amounts that are no whole
// number of millionths, or too large, are added in floating point apart.
class AmountSum {
public:
    static constexpr std::int64_t kNotExact = std::numeric_limits<std::int64_t>::min();
    // The decimal in millionths; kNotExact when it is not one exactly.
    static std::int64_t micros(double decimal);

    void add(double decimal);
    void addMicros(std::int64_t micros); // micros != kNotExact

    std::size_t count() const { return m_count; }
    double total() const;
    double incoming() const;
    double outgoing() const;

private:
    __extension__ using Wide = __int128; // a million amounts of 10^12 do not fit 64 bits in millionths

    std::size_t m_count = 0;
    Wide m_incoming = 0;
    Wide m_outgoing = 0;
    double m_inexactIncoming = 0;
    double m_inexactOutgoing = 0;
};

} // namespace qf
