#include "common/Money.h"

#include <charconv>
#include <cmath>
#include <cstdlib>

namespace qf {

double decimalAmount(double storedAmount)
{
    const float amount = static_cast<float>(storedAmount);
    if (!std::isfinite(amount))
        return storedAmount;
    // Most amounts are whole cents: check that cheaply before the general case.
    const double cents = std::nearbyint(static_cast<double>(amount) * 100.0);
    if (std::fabs(cents) < 1e15 && static_cast<float>(cents / 100.0) == amount)
        return cents / 100.0;
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer - 1, amount);
    *result.ptr = '\0';
    return std::strtod(buffer, nullptr);
}

std::int64_t AmountSum::micros(double decimal)
{
    if (!(std::fabs(decimal) < 1e12))
        return kNotExact;
    const auto scaled = static_cast<std::int64_t>(std::llround(decimal * 1e6));
    return static_cast<double>(scaled) / 1e6 == decimal ? scaled : kNotExact;
}

void AmountSum::add(double decimal)
{
    if (const std::int64_t m = micros(decimal); m != kNotExact) {
        addMicros(m);
        return;
    }
    ++m_count;
    if (decimal > 0)
        m_inexactIncoming += decimal;
    else if (decimal < 0)
        m_inexactOutgoing += decimal;
}

void AmountSum::addMicros(std::int64_t micros)
{
    ++m_count;
    if (micros > 0)
        m_incoming += micros;
    else
        m_outgoing += micros;
}

namespace {

template<typename Wide>
double fromMicros(Wide micros)
{
    return static_cast<double>(micros) / 1e6;
}

} // namespace

double AmountSum::total() const
{
    return fromMicros(m_incoming + m_outgoing) + (m_inexactIncoming + m_inexactOutgoing);
}

double AmountSum::incoming() const { return fromMicros(m_incoming) + m_inexactIncoming; }

double AmountSum::outgoing() const { return fromMicros(m_outgoing) + m_inexactOutgoing; }

} // namespace qf
