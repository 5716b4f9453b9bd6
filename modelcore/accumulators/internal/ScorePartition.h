// Very many cases, spread in place over parts of falling scores.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <utility>
#include <vector>

namespace MCMath_930::internal {

/// Spreads cases over up to 256 parts, the highest scores in the first, each in the order in which its cases were given.
/// No second copy of the cases is made: the fresh memory for one would take as long as half of the sort.
///
/// The block permutation of M. Axtmann, S. Witt, D. Ferizovic and P. Sanders, In-place parallel super scalar samplesort,
/// European Symposium on Algorithms (2017), made stable. Cases are collected for each part; a full block of them goes
/// to the front of the array, where all cases have been read by then. The blocks then move to their parts, in the order
/// in which they were filled. At last each part is closed up and gets the cases of the block that was not filled.
template <class Case, class Score>
class ScorePartition {
public:
    /// For at most maxCount cases. All the room is made here.
    ScorePartition(Score score, std::size_t maxCount) : fScore(score)
    {
        if (maxCount < kFewestCases) return;
        fvSample.resize(kSamplesOfPart * kParts);
        fvPartOfDigit.resize(kDigits);
        fvCollected.resize(kParts * kBlock);
        fvSpare.resize(kBlock);
        fvTaken.resize(kBlock);
        fvPartOfBlock.resize(maxCount / kBlock);
        fvSource.resize(maxCount / kBlock + 1);
    }

    /// Spreads the cases, which then lie in pieces. False, and nothing has moved, when they are few or a sample of them
    /// shows no way to part them.
    bool Spread(std::span<Case> cases) noexcept
    {
        fCases = cases;
        if (cases.size() < kFewestCases || !ChooseParts()) return false;
        CollectBlocks();
        MoveBlocks();
        return true;
    }

    std::size_t CountParts() const { return fnParts; }

    /// The cases of a part, now in one piece. To be called once for each part, in their order.
    std::span<Case> CloseUp(std::size_t part) noexcept
    {
        Case* const begin = fCases.data() + fvStart[part];
        const Case* const blocks = fCases.data() + FirstPlace(part) * kBlock;
        const bool lastIsSpare = part == fnSparePart;
        const std::size_t inBlocks = (fvBlocks[part] - (lastIsSpare ? 1 : 0)) * kBlock;
        Case* to = begin + inBlocks;
        if (blocks != begin && inBlocks > 0) std::copy(blocks, blocks + inBlocks, begin);
        if (lastIsSpare) to = std::copy(fvSpare.begin(), fvSpare.end(), to);
        std::copy_n(fvCollected.data() + part * kBlock, fvCollectedCount[part], to);
        return {begin, fvStart[part + 1] - fvStart[part]};
    }

private:
    static constexpr std::size_t kParts = 256;
    static constexpr std::size_t kBlock = 128; // cases; those of 32 take twice as long to move
    static constexpr std::size_t kDigits = 4096;
    static constexpr std::size_t kSamplesOfPart = 16;
    static constexpr std::size_t kLeastPart = 4096; // cases, on average
    static constexpr std::size_t kFewestCases = 4 * kLeastPart;
    static constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

    /// Never smaller for a lower score, the same for equal ones, the last for a NaN.
    std::size_t Digit(double score) const
    {
        constexpr double last = kDigits - 1;
        const double place = (fHighest - score) * fScale;
        const double bounded = place < last ? place : last;
        return static_cast<std::size_t>(static_cast<std::int32_t>(bounded > 0.0 ? bounded : 0.0));
    }

    /// Gives each digit its part by a sample: one digit to a part as far as parts reach, else equal shares. What lies
    /// beyond the outer 256ths of the sample has the outer digits, lest a few outliers spoil the rest.
    bool ChooseParts() noexcept
    {
        const auto count = static_cast<double>(fCases.size());
        const std::size_t parts = std::min(kParts, fCases.size() / kLeastPart);
        std::size_t samples = 0;
        for (std::size_t i = 0; i < kSamplesOfPart * parts; ++i) {
            // Steps of the golden ratio reach everywhere and keep step with no pattern in the cases.
            const auto fraction = static_cast<std::uint32_t>(i * 0x9E3779B9u);
            const double score = fScore(fCases[static_cast<std::size_t>(fraction * 0x1p-32 * count)]);
            if (std::fabs(score) < 1e300) fvSample[samples++] = score; // neither NaN nor missing
        }
        if (samples < kSamplesOfPart) return false;
        std::sort(fvSample.begin(), fvSample.begin() + static_cast<std::ptrdiff_t>(samples));
        const std::size_t outer = samples / 256;
        fHighest = fvSample[samples - 1 - outer];
        fScale = kDigits / (fHighest - fvSample[outer]);
        if (!(fScale > 0.0 && fScale < 1e300)) return false;

        std::array<std::uint16_t, kDigits> counts{};
        for (std::size_t i = 0; i < samples; ++i) ++counts[Digit(fvSample[i])];
        const auto used = kDigits - static_cast<std::size_t>(std::count(counts.begin(), counts.end(), 0));
        const std::size_t share = used <= kParts ? 1 : (samples + parts - 1) / parts;
        std::size_t part = 0;
        std::size_t inPart = 0;
        for (std::size_t digit = 0; digit < kDigits; ++digit) {
            if (counts[digit] > 0 && inPart >= share) {
                ++part;
                inPart = 0;
            }
            inPart += counts[digit];
            fvPartOfDigit[digit] = static_cast<std::uint8_t>(part);
        }
        fnParts = part + 1;
        return fnParts > 1;
    }

    void CollectBlocks() noexcept
    {
        fvBlocks.fill(0);
        fvCollectedCount.fill(0);
        Case* to = fCases.data();
        Case* const collected = fvCollected.data();
        std::size_t blocks = 0;
        for (const Case& c : fCases) {
            const std::size_t part = fvPartOfDigit[Digit(fScore(c))];
            const std::size_t count = fvCollectedCount[part]++;
            collected[part * kBlock + count] = c;
            if (count + 1 < kBlock) continue;
            fvCollectedCount[part] = 0;
            to = std::copy_n(collected + part * kBlock, kBlock, to);
            fvPartOfBlock[blocks++] = static_cast<std::uint8_t>(part);
            ++fvBlocks[part];
        }
        fnBlocks = blocks;
        fvStart[0] = 0;
        for (std::size_t part = 0; part < fnParts; ++part)
            fvStart[part + 1] = fvStart[part] + fvBlocks[part] * kBlock + fvCollectedCount[part];
    }

    /// The place, counted in blocks, of the first block of a part: where the part begins or not a block behind it.
    std::size_t FirstPlace(std::size_t part) const { return (fvStart[part] + kBlock - 1) / kBlock; }

    void MoveBlocks() noexcept
    {
        // Which block goes to each place. One of them may find its place not whole: it is put aside.
        const std::size_t places = fCases.size() / kBlock + 1;
        std::fill_n(fvSource.begin(), places, kNone);
        std::array<std::size_t, kParts> next;
        for (std::size_t part = 0; part < fnParts; ++part) next[part] = FirstPlace(part);
        for (std::size_t block = 0; block < fnBlocks; ++block)
            fvSource[next[fvPartOfBlock[block]]++] = static_cast<std::uint32_t>(block);
        fnSparePart = kParts;
        if (const std::uint32_t spare = fvSource[places - 1]; spare != kNone) {
            fnSparePart = fvPartOfBlock[spare];
            std::copy_n(Block(spare), kBlock, fvSpare.data());
            FillPlace(spare, kNone);
        }
        for (std::size_t place = fnBlocks; place + 1 < places; ++place) FillPlace(place, kNone);
        // What is left are cycles, and blocks that are in their places.
        for (std::size_t place = 0; place < fnBlocks; ++place) {
            if (fvSource[place] == kNone || fvSource[place] == place) continue;
            std::copy_n(Block(place), kBlock, fvTaken.data());
            std::copy_n(fvTaken.data(), kBlock, Block(FillPlace(place, place)));
        }
    }

    /// Fills a place, then the one that its block has left, and so on. Returns the place that waits for the block `last`,
    /// or for none.
    std::size_t FillPlace(std::size_t place, std::size_t last) noexcept
    {
        for (;;) {
            const std::size_t source = std::exchange(fvSource[place], kNone);
            if (source == kNone || source == last) return place;
            std::copy_n(Block(source), kBlock, Block(place));
            place = source;
        }
    }

    Case* Block(std::size_t index) const { return fCases.data() + index * kBlock; }

    Score fScore;
    std::span<Case> fCases;
    double fHighest = 0.0; // score of digit 0
    double fScale = 0.0;   // digits for a score of 1
    std::size_t fnParts = 0;
    std::size_t fnBlocks = 0;
    std::size_t fnSparePart = kParts; // whose last block is fvSpare, since it would reach beyond the last case
    std::array<std::size_t, kParts + 1> fvStart{};
    std::array<std::size_t, kParts> fvBlocks{};         // full ones
    std::array<std::size_t, kParts> fvCollectedCount{}; // cases in the block that is not full
    std::vector<double> fvSample;
    std::vector<std::uint8_t> fvPartOfDigit;
    std::vector<Case> fvCollected; // a block for each part
    std::vector<Case> fvSpare;
    std::vector<Case> fvTaken;
    std::vector<std::uint8_t> fvPartOfBlock; // blocks in the order in which they were filled
    std::vector<std::uint32_t> fvSource;     // of each place: the block that belongs there and has not moved yet
};

} // namespace MCMath_930::internal
