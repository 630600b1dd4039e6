#pragma once

#include <cmath>

// No real payment, total or milestone comes near a trillion in any currency; a larger (or
// non-finite) number in a file or a provider's answer is damage or hostility, and letting it
// through would break every sum and drawing after it.
inline constexpr double maxAmount = 1e12;

inline bool isSaneAmount(double value)
{
    return std::isfinite(value) && std::fabs(value) <= maxAmount;
}
