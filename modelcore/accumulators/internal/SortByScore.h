// The order of a gains table: highest score first.
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
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

/// A stable radix sort from the most significant digit down. A group of cases is spread by the leading bits of its keys
/// into the other of two buffers, then each part likewise back, until the parts are so small that insertion is faster.
/// Digits start at the first bit in which the keys of a group differ, since scores fill a small part of what a double
/// can hold. Nearly all the work is so done in two or three passes, and all but the first of them in cache.
template <class Case, class Score>
class ScoreSorter {
public:
    explicit ScoreSorter(Score score) : fScore(score) {}

    void Sort(std::vector<Case>& cases)
    {
        const std::unique_ptr<Case[]> buffer = std::make_unique_for_overwrite<Case[]>(cases.size());
        SortGroup(cases.data(), buffer.get(), cases.size(), false);
    }

private:
    static constexpr std::size_t kFewCases = 24;
    static constexpr int kMostDigitBits = 11;

    std::uint64_t Key(const Case& c) const { return DescendingKey(fScore(c)); }

    /// Sorts the cases at from, with as much room at other. They end up there when toOther is set, else where they
    /// were.
    void SortGroup(Case* from, Case* other, std::size_t count, bool toOther)
    {
        if (count <= kFewCases) {
            Insert(from, count, toOther ? other : from);
            return;
        }
        std::uint64_t least = std::numeric_limits<std::uint64_t>::max();
        std::uint64_t largest = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint64_t key = Key(from[i]);
            least = std::min(least, key);
            largest = std::max(largest, key);
        }
        if (least == largest) {
            if (toOther) std::copy_n(from, count, other);
            return;
        }

        const int keyBits = static_cast<int>(std::bit_width(largest - least));
        const int digitBits = std::min({static_cast<int>(std::bit_width(count)) - 2, kMostDigitBits, keyBits});
        const int shift = keyBits - digitBits;
        const auto digit = [&](const Case& c) { return static_cast<std::size_t>((Key(c) - least) >> shift); };
        std::vector<std::size_t> places(std::size_t{1} << digitBits);
        for (std::size_t i = 0; i < count; ++i) ++places[digit(from[i])];
        std::size_t sum = 0;
        for (std::size_t& place : places) place = std::exchange(sum, sum + place);
        for (std::size_t i = 0; i < count; ++i) other[places[digit(from[i])]++] = from[i];

        std::size_t begin = 0; // places are where the parts end by now
        for (const std::size_t end : places) {
            if (end > begin) SortGroup(other + begin, from + begin, end - begin, !toOther);
            begin = end;
        }
    }

    /// Insertion of the cases at from one after the other into the sorted ones at to, which may be the same place.
    void Insert(const Case* from, std::size_t count, Case* to) const
    {
        for (std::size_t i = 0; i < count; ++i) {
            const Case c = from[i];
            const std::uint64_t key = Key(c);
            std::size_t j = i;
            for (; j > 0 && Key(to[j - 1]) > key; --j) to[j] = to[j - 1];
            to[j] = c;
        }
    }

    Score fScore;
};

/// Puts the cases with the highest scores first; equal scores keep their order, NaNs come last. Time is proportional to
/// the number of cases, memory that of a second copy of them.
template <class Case, class Score>
void SortByScore(std::vector<Case>& cases, Score score)
{
    ScoreSorter<Case, Score>(score).Sort(cases);
}

} // namespace MCMath_930::internal
