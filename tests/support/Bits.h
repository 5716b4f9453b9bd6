// Comparison of doubles by their bits and by the number of doubles between them.
#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

/// How many steps of nextafter lie between a and b; the largest value when either is NaN.
inline std::uint64_t UlpDistance(double a, double b)
{
    if (std::isnan(a) || std::isnan(b)) return std::numeric_limits<std::uint64_t>::max();
    const auto ordered = [](double x) {
        const auto bits = std::bit_cast<std::int64_t>(x);
        return bits < 0 ? std::numeric_limits<std::int64_t>::min() - bits : bits;
    };
    const std::int64_t x = ordered(a);
    const std::int64_t y = ordered(b);
    return x > y ? static_cast<std::uint64_t>(x) - static_cast<std::uint64_t>(y)
                 : static_cast<std::uint64_t>(y) - static_cast<std::uint64_t>(x);
}

/// Every element the same to the bit, signs of zeros and payloads of NaNs included.
inline ::testing::AssertionResult SameBits(std::span<const double> actual, std::span<const double> expected)
{
    if (actual.size() != expected.size())
        return ::testing::AssertionFailure() << "sizes " << actual.size() << " and " << expected.size();
    for (std::size_t i = 0; i < actual.size(); ++i)
        if (std::bit_cast<std::uint64_t>(actual[i]) != std::bit_cast<std::uint64_t>(expected[i]))
            return ::testing::AssertionFailure() << "element " << i << ": " << actual[i] << " and " << expected[i];
    return ::testing::AssertionSuccess();
}
