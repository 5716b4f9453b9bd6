// The order of a gains table: highest score first.
#pragma once

#include "modelcore/accumulators/internal/ScorePartition.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <type_traits>
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

/// A stable radix sort from the most significant digit down. Very many cases are first parted in place
/// (ScorePartition). A group of cases is spread by the leading bits of its keys into the other of two buffers, then each
/// part likewise back, until the parts are so small that insertion is faster. Digits start at the first bit in which
/// the keys of a group differ, since scores fill a small part of what a double can hold. Nearly all the work is so done
/// in two or three passes, and all but the first of them in cache. What the sort of 1e7 cases takes beside others is
/// in docs/charts.md.
///
/// The constructor makes all the room, so that a sort cannot fail halfway, when some cases are in the buffer only.
template <class Case, class Score>
requires std::is_trivially_copyable_v<Case>
class ScoreSorter {
public:
    /// For at most maxCount cases.
    ScoreSorter(Score score, std::size_t maxCount)
        : fScore(score), fPartition(score, maxCount),
          fBuffer(std::make_unique_for_overwrite<std::byte[]>(maxCount * sizeof(Case)))
    {
        if (maxCount <= kFewCases) return;
        // A group inside another has fewer bits left by those of the other's digit, so 64 bits bound the sum of all
        // digits that are in use at a time.
        const auto digitBits = static_cast<std::size_t>(MostDigitBits(maxCount));
        fvPlaces.resize((64 / digitBits + 1) << digitBits);
    }

    /// Calls ready(count), with growing counts, when so many cases have got their places: the sooner they are used, the
    /// more of them are still in cache. The last call is with all.
    template <class Ready>
    void Sort(std::span<Case> cases, Ready ready) noexcept
    {
        if (!fPartition.Spread(cases)) {
            SortGroup(cases.data(), Buffer(), cases.size(), false, fvPlaces.data());
            return ready(cases.size());
        }
        std::size_t count = 0;
        for (std::size_t part = 0; part < fPartition.CountParts(); ++part) {
            const std::span<Case> group = fPartition.CloseUp(part);
            if (!AreEqual(group)) SortGroup(group.data(), Buffer(), group.size(), false, fvPlaces.data());
            count += group.size();
            ready(count);
        }
    }

private:
    static constexpr std::size_t kFewCases = 24;
    static constexpr int kMostDigitBits = 12;

    static int MostDigitBits(std::size_t count)
    {
        return std::min(static_cast<int>(std::bit_width(count)) - 2, kMostDigitBits);
    }

    Case* Buffer() const { return reinterpret_cast<Case*>(fBuffer.get()); }

    bool AreEqual(std::span<const Case> cases) const
    {
        return std::all_of(cases.begin(), cases.end(), [&](const Case& c) { return fScore(c) == fScore(cases[0]); });
    }

    std::uint64_t Key(const Case& c) const { return DescendingKey(fScore(c)); }

    /// Sorts the cases at from, with as much room at other. They end up there when toOther is set, else where they
    /// were. Places are those that no group around this one uses.
    void SortGroup(Case* from, Case* other, std::size_t count, bool toOther, std::size_t* places) noexcept
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
        const int digitBits = std::min(MostDigitBits(count), keyBits);
        const int shift = keyBits - digitBits;
        const auto digit = [&](const Case& c) { return static_cast<std::size_t>((Key(c) - least) >> shift); };
        std::size_t* const placesEnd = places + (std::size_t{1} << digitBits);
        std::fill(places, placesEnd, std::size_t{0});
        for (std::size_t i = 0; i < count; ++i) ++places[digit(from[i])];
        std::size_t sum = 0;
        for (std::size_t* place = places; place != placesEnd; ++place) *place = std::exchange(sum, sum + *place);
        for (std::size_t i = 0; i < count; ++i) other[places[digit(from[i])]++] = from[i];

        std::size_t begin = 0; // places are where the parts end by now
        for (const std::size_t* place = places; place != placesEnd; ++place) {
            if (*place > begin) SortGroup(other + begin, from + begin, *place - begin, !toOther, placesEnd);
            begin = *place;
        }
    }

    /// Insertion of the cases at from one after the other into the sorted ones at to, which may be the same place.
    void Insert(const Case* from, std::size_t count, Case* to) const noexcept
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
    ScorePartition<Case, Score> fPartition;
    // Bytes, since initial cases would touch all of it, and so take a third of the time; groups need the beginning only.
    std::unique_ptr<std::byte[]> fBuffer;
    std::vector<std::size_t> fvPlaces;
};

} // namespace MCMath_930::internal
