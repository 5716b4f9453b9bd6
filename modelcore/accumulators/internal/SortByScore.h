// The order of a gains table: highest score first.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <utility>
#include <vector>

namespace MCMath_930::internal {

/// A number that is the smaller, the higher the score: highest score first, both zeros alike, NaNs last.
inline std::uint64_t DescendingKey(double score)
{
    if (std::isnan(score)) return std::numeric_limits<std::uint64_t>::max();
    constexpr std::uint64_t kSign = std::uint64_t{1} << 63;
    const auto bits = std::bit_cast<std::uint64_t>(score + 0.0); // -0 + 0 is +0
    return (bits & kSign) != 0 ? bits : bits ^ ~kSign;
}

/// Puts the cases with the highest scores first; equal scores keep their order, NaNs come last.
///
/// A radix sort from the least significant digit up, eleven bits a pass, that moves whole cases and leaves out the
/// digits in which all keys agree. Time is proportional to the number of cases; memory is that of a second copy of
/// them.
template <class Case, class Score>
void SortByScore(std::vector<Case>& cases, Score score)
{
    constexpr int kDigitBits = 11;
    constexpr int kPasses = 6;
    constexpr std::size_t kDigits = std::size_t{1} << kDigitBits;
    constexpr std::size_t kFewCases = 1000; // below, comparing is faster than counting
    const auto key = [&](const Case& c) { return DescendingKey(score(c)); };
    if (cases.size() <= kFewCases) {
        std::stable_sort(cases.begin(), cases.end(), [&](const Case& a, const Case& b) { return key(a) < key(b); });
        return;
    }

    const auto digit = [](std::uint64_t k, int pass) {
        return static_cast<std::size_t>(k >> (pass * kDigitBits)) & (kDigits - 1);
    };
    std::vector<std::array<std::size_t, kDigits>> counts(kPasses);
    for (const Case& c : cases) {
        const std::uint64_t k = key(c);
        for (int pass = 0; pass < kPasses; ++pass) ++counts[static_cast<std::size_t>(pass)][digit(k, pass)];
    }
    const std::unique_ptr<Case[]> buffer = std::make_unique_for_overwrite<Case[]>(cases.size());
    std::span<Case> from(cases);
    std::span<Case> to(buffer.get(), cases.size());
    for (int pass = 0; pass < kPasses; ++pass) {
        std::array<std::size_t, kDigits>& places = counts[static_cast<std::size_t>(pass)];
        if (places[digit(key(from.front()), pass)] == from.size()) continue;
        std::size_t sum = 0;
        for (std::size_t& place : places) place = std::exchange(sum, sum + place);
        for (const Case& c : from) to[places[digit(key(c), pass)]++] = c;
        std::swap(from, to);
    }
    if (from.data() != cases.data()) std::copy(from.begin(), from.end(), cases.begin());
}

} // namespace MCMath_930::internal
