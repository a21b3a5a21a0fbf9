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

} // namespace qf
