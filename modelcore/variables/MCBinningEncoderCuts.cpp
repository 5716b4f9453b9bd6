// The ways of the binning encoder to choose cuts.
#include "modelcore/variables/MCBinningEncoder.h"

#include "modelcore/distributions/internal/PortableMath.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <utility>

namespace MCXML_930 {

using MCCommon_930::MCMV;
using MCMath_930::MCQuantileSketch;
using MCMath_930::internal::PortableLog2;
using Bucket = MCQuantileSketch::Bucket;

namespace {

/// The entropy of classes in bits, and how many there are.
struct Classes {
    double weight = 0.0;
    double entropy = 0.0;
    int count = 0;
};

/// Of the weights to[c] - from[c].
Classes Describe(const double* from, const double* to, std::size_t count)
{
    Classes classes;
    for (std::size_t c = 0; c < count; ++c) classes.weight += to[c] - from[c];
    for (std::size_t c = 0; c < count; ++c) {
        const double part = (to[c] - from[c]) / classes.weight;
        if (!(part > 0.0)) continue;
        classes.entropy -= part * PortableLog2(part);
        ++classes.count;
    }
    return classes;
}

/// log2(3^k - 2), for many classes without the overflow of the power.
double Log2Power(int k)
{
    if (k >= 30) return static_cast<double>(k) * PortableLog2(3.0);
    double power = 1.0;
    for (int i = 0; i < k; ++i) power *= 3.0;
    return PortableLog2(power - 2.0);
}

/// The criterion of Fayyad and Irani: whether the gain of the cut is worth what it takes to describe it.
bool IsAccepted(const Classes& whole, const Classes& left, const Classes& right)
{
    const double n = whole.weight;
    if (!(n > 1.0)) return false;
    const double gain = whole.entropy - (left.weight * left.entropy + right.weight * right.entropy) / n;
    const double delta = Log2Power(whole.count) -
                         (whole.count * whole.entropy - left.count * left.entropy - right.count * right.entropy);
    return gain > (PortableLog2(n - 1.0) + delta) / n;
}

} // namespace

/// A cut that puts below into the lower and above into the upper bin: the middle, where rounding leaves it between.
double MCBinningEncoder::Between(double below, double above) const
{
    const double middle = 0.5 * below + 0.5 * above;
    if (fClosed == ClosedUpper) return middle >= below && middle < above ? middle : below;
    return middle > below && middle <= above ? middle : above;
}

std::vector<double> MCBinningEncoder::WidthCuts(double lowest, double highest) const
{
    std::vector<double> cuts;
    for (int j = 1; j < fnCount; ++j) {
        // Halves, so that the width of the whole range of doubles does not overflow.
        const double part = static_cast<double>(j) / static_cast<double>(fnCount);
        const double cut = 2.0 * (0.5 * lowest + (0.5 * highest - 0.5 * lowest) * part) + 0.0;
        if (cut > lowest && cut < highest && (cuts.empty() || cut > cuts.back())) cuts.push_back(cut);
    }
    return cuts;
}

std::vector<double> MCBinningEncoder::FrequencyCuts(const std::vector<Piece>& pieces) const
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    std::vector<double> cuts;
    double total = 0.0;
    for (const Piece& piece : pieces) total += piece.weight;
    double below = 0.0; // the pieces before i
    std::size_t i = 0;
    for (int j = 1; j < fnCount && !pieces.empty(); ++j) {
        // Divided last: exact where the weights are whole and the quotient is.
        const double wanted = total * static_cast<double>(j) / static_cast<double>(fnCount);
        while (i + 1 < pieces.size() && below + pieces[i].weight < wanted) below += pieces[i++].weight;
        if (i + 1 == pieces.size()) break; // nothing is above
        const Piece& piece = pieces[i];
        const Piece& next = pieces[i + 1];
        const bool upper = fClosed == ClosedUpper;
        const double part = (wanted - below) / piece.weight;
        double cut = piece.max;
        if (piece.min == piece.max) {
            if (!upper) cut = next.min > piece.min ? next.min : std::nextafter(piece.min, infinity);
        } else if (part < 1.0) {
            cut = 2.0 * (0.5 * piece.min + part * (0.5 * piece.max - 0.5 * piece.min));
        } else if (upper) {
            cut = std::nextafter(piece.max, -infinity); // the largest value itself is in the next piece
        }
        if (cuts.empty() || cut > cuts.back()) cuts.push_back(cut);
    }
    return cuts;
}

// From the values where they are all known, in their order, so that the cuts do not depend on that of the data.
std::vector<double> MCBinningEncoder::DeviationCuts(const std::vector<Piece>& pieces, bool exact, bool& finite) const
{
    MCMath_930::MCContStats sorted;
    for (const Piece& piece : pieces) sorted.Update(piece.min, piece.weight, 1.0);
    const MCMath_930::MCContStats& stats = exact ? sorted : fStats;
    const double mean = stats.GetMean(), variance = stats.GetVariance();
    finite = pieces.empty() || (std::isfinite(mean) && std::isfinite(variance));
    if (!finite || pieces.empty() || MCMV::IsMissing(variance) || variance == 0.0) return {};
    const double deviation = std::sqrt(variance);
    std::vector<double> cuts;
    for (int j = -fnCount; j <= fnCount; ++j) {
        if (j == 0 && !fbCutAtMean) continue;
        const double cut = mean + static_cast<double>(j) * deviation + 0.0;
        finite = finite && std::isfinite(cut);
        if (cuts.empty() || cut > cuts.back()) cuts.push_back(cut);
    }
    return cuts;
}

std::vector<double> MCBinningEncoder::MDLPCuts() const
{
    // All classes on the buckets of the coarsest, so that equal values meet.
    std::vector<MCQuantileSketch> values(fvValues);
    int bits = 52;
    for (const MCQuantileSketch& each : values) bits = std::min(bits, each.GetFractionBits());
    struct Entry {
        Bucket bucket;
        std::size_t place;
    };
    // Classes in their order, for the sums of entropy to be those of the set of cases.
    internal::CategoryIndex order(fClasses);
    const std::vector<int> sortedClasses = order.Sort();
    std::vector<Entry> entries;
    for (std::size_t c = 0; c < sortedClasses.size(); ++c) {
        MCQuantileSketch& each = values[static_cast<std::size_t>(sortedClasses[c])];
        each.Coarsen(bits);
        for (const Bucket& bucket : each.GetBuckets()) entries.push_back({bucket, c});
    }
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        return a.bucket.min != b.bucket.min ? a.bucket.min < b.bucket.min : a.place < b.place;
    });

    // Sums of the classes' weights before each point; a point is a value, or buckets that overlap.
    const std::size_t count = values.size();
    std::vector<Bucket> points;
    std::vector<double> sums(count, 0.0);
    for (const Entry& entry : entries) {
        if (points.empty() || entry.bucket.min > points.back().max) {
            points.push_back(entry.bucket);
            sums.insert(sums.end(), sums.end() - static_cast<std::ptrdiff_t>(count), sums.end());
        }
        points.back().max = std::max(points.back().max, entry.bucket.max);
        sums[points.size() * count + entry.place] += entry.bucket.weight;
    }
    const auto before = [&](std::size_t point) { return sums.data() + point * count; };

    std::vector<double> cuts;
    std::vector<std::pair<std::size_t, std::size_t>> open{{0, points.size()}};
    while (!open.empty()) {
        const auto [from, to] = open.back();
        open.pop_back();
        if (to - from < 2) continue;
        const Classes whole = Describe(before(from), before(to), count);
        double least = 0.0;
        std::size_t best = from;
        Classes bestLeft, bestRight;
        for (std::size_t at = from + 1; at < to; ++at) {
            const Classes left = Describe(before(from), before(at), count);
            const Classes right = Describe(before(at), before(to), count);
            const double left_over = left.weight * left.entropy + right.weight * right.entropy;
            if (best != from && !(left_over < least)) continue;
            least = left_over;
            best = at;
            bestLeft = left;
            bestRight = right;
        }
        if (!IsAccepted(whole, bestLeft, bestRight)) continue;
        cuts.push_back(Between(points[best - 1].max, points[best].min));
        open.emplace_back(from, best);
        open.emplace_back(best, to);
    }
    std::sort(cuts.begin(), cuts.end());
    return cuts;
}

} // namespace MCXML_930
