#include "modelcore/accumulators/MCQuantileSketch.h"

#include "modelcore/accumulators/internal/StateStream.h"
#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/MCMV.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <new>
#include <utility>

namespace MCMath_930 {

using MCCommon_930::MCMV;

namespace {

/// From a slot that is taken to the next one, in another line of the cache; odd, so that every slot is come to.
constexpr std::size_t kStep = 17;

/// Keys are in the order of the values; the lowest 52 bits are those of the fraction.
std::uint64_t KeyOf(double x)
{
    const auto bits = std::bit_cast<std::uint64_t>(x);
    constexpr std::uint64_t sign = std::uint64_t{1} << 63;
    return (bits & sign) != 0 ? ~bits : bits | sign;
}

bool IsValue(double x)
{
    return std::isfinite(x) && !MCMV::IsMissing(x);
}

/// Where the straight line through a piece has the part of its weight.
double Inside(const MCQuantileSketch::Piece& piece, double part)
{
    if (!(part < 1.0)) return piece.max;
    // The width of a piece can overflow only when it holds both ends of the double range; halves cannot.
    const double value = 2.0 * (0.5 * piece.min + part * (0.5 * piece.max - 0.5 * piece.min));
    return std::clamp(value, piece.min, piece.max);
}

/// The weight between the smallest and the largest value. Rounding may leave a little less than nothing.
double Spread(const MCQuantileSketch::Bucket& bucket)
{
    return bucket.min == bucket.max ? 0.0 : std::max(bucket.weight - bucket.minWeight - bucket.maxWeight, 0.0);
}

/// Joins the values of two buckets. It is commutative and associative, as far as the sums are.
void Join(MCQuantileSketch::Bucket& bucket, const MCQuantileSketch::Bucket& other)
{
    if (other.min <= bucket.min) {
        bucket.minWeight = other.minWeight + (other.min == bucket.min ? bucket.minWeight : 0.0);
        bucket.min = other.min;
    }
    if (other.max >= bucket.max) {
        bucket.maxWeight = other.maxWeight + (other.max == bucket.max ? bucket.maxWeight : 0.0);
        bucket.max = other.max;
    }
    bucket.weight += other.weight;
}

/// Nobody lives to see so many weights up to this one that their sum comes near to the largest.
constexpr double kHeavyWeight = 0x1p900;

/// In any order: for the comparison with the largest sum.
double SumOfWeights(const std::vector<MCQuantileSketch::Bucket>& buckets)
{
    double sum = 0.0;
    for (const MCQuantileSketch::Bucket& bucket : buckets) sum += bucket.weight;
    return sum;
}

// They are in order but for those that came since bits were dropped last.
void Sort(std::vector<MCQuantileSketch::Bucket>& buckets)
{
    const auto before = [](const MCQuantileSketch::Bucket& a, const MCQuantileSketch::Bucket& b) {
        return a.min < b.min;
    };
    const auto tail = std::is_sorted_until(buckets.begin(), buckets.end(), before);
    std::sort(tail, buckets.end(), before);
    std::inplace_merge(buckets.begin(), tail, buckets.end(), before);
}

} // namespace

MCQuantileSketch::MCQuantileSketch(int limit) : fnLimit(std::clamp(limit, kMinLimit, kMaxLimit)) {}

// Multiplicative hashing (Knuth): the high bits of the product depend on all bits of the key. Once bits are dropped, 16
// neighbouring keys, which data has together, share one line of the cache; before, the lowest bits are often all 0.
std::size_t MCQuantileSketch::SlotOf(std::uint64_t key) const
{
    const int bits = std::countr_zero(fvSlots.size());
    const auto hash = [](std::uint64_t word, int shift) {
        return static_cast<std::size_t>((word * 0x9E3779B97F4A7C15u) >> shift);
    };
    return fnDropped == 0 ? hash(key, 64 - bits) : hash(key >> 4, 68 - bits) << 4 | (key & 15);
}

void MCQuantileSketch::Rebuild(std::size_t slots)
{
    fvSlots.assign(slots, 0);
    for (std::size_t i = 0; i < fvBuckets.size(); ++i) {
        std::size_t slot = SlotOf(KeyOf(fvBuckets[i].min) >> fnDropped);
        while (fvSlots[slot] != 0) slot = (slot + kStep) & (slots - 1);
        fvSlots[slot] = static_cast<std::uint32_t>(i + 1);
    }
}

void MCQuantileSketch::Add(const Bucket& added)
{
    // A quarter full at most, so that nearly every key is where it is looked for first.
    if (fvSlots.size() < 4 * (fvBuckets.size() + 1)) Rebuild(std::max<std::size_t>(64, 2 * fvSlots.size()));
    const std::uint64_t key = KeyOf(added.min) >> fnDropped;
    for (std::size_t slot = SlotOf(key);; slot = (slot + kStep) & (fvSlots.size() - 1)) {
        if (fvSlots[slot] == 0) {
            if (fvBuckets.size() == static_cast<std::size_t>(fnLimit)) {
                // One too many stands aside until there is memory for all of what follows.
                std::vector<Bucket> all(fvBuckets);
                all.push_back(added);
                DropTo(fnDropped + 1, std::move(all));
                return;
            }
            fvBuckets.push_back(added);
            fvSlots[slot] = static_cast<std::uint32_t>(fvBuckets.size());
            return;
        }
        Bucket& bucket = fvBuckets[fvSlots[slot] - 1];
        if (KeyOf(bucket.min) >> fnDropped != key) continue;
        Join(bucket, added);
        return;
    }
}

// Buckets of equal keys are neighbours in the order of values, so one pass joins them. At 63 bits two signs are left.
// Asks for no memory.
void MCQuantileSketch::DropTo(int dropped, std::vector<Bucket> sorted)
{
    Sort(sorted);
    std::size_t count = sorted.size();
    while (fnDropped < dropped || count > static_cast<std::size_t>(fnLimit)) {
        ++fnDropped;
        std::size_t last = 0;
        for (std::size_t i = 1; i < count; ++i) {
            if (KeyOf(sorted[i].min) >> fnDropped == KeyOf(sorted[last].min) >> fnDropped) {
                Join(sorted[last], sorted[i]);
            } else {
                sorted[++last] = sorted[i];
            }
        }
        if (count > 0) count = last + 1;
    }
    sorted.resize(count);
    fvBuckets.swap(sorted);
    Rebuild(fvSlots.size());
}

bool MCQuantileSketch::Update(double x, double weight)
{
    if (!IsValue(x) || !(weight > 0.0) || !std::isfinite(weight)) return false;
    if (weight > kHeavyWeight && SumOfWeights(fvBuckets) + weight > kMostWeight) return false;
    const double value = x + 0.0; // turns -0.0 into 0.0
    Add({value, value, weight, weight, weight});
    return true;
}

// The buckets of a piece are all looked up before the first is changed, so that the processor waits for the memory of many
// at once. A bucket that is not found at the first look, or is another one by then, goes the long way.
int MCQuantileSketch::UpdateBlock(std::span<const double> x, std::span<const double> weights)
{
    if (!weights.empty() && weights.size() != x.size()) return -1;
    constexpr std::size_t kPiece = 64;
    std::array<std::uint32_t, kPiece> places{};
    int added = 0;
    try {
        for (std::size_t from = 0; from < x.size(); from += kPiece) {
            const std::span<const double> piece = x.subspan(from, std::min(kPiece, x.size() - from));
            if (!fvSlots.empty() && weights.empty())
                for (std::size_t i = 0; i < piece.size(); ++i)
                    places[i] = fvSlots[SlotOf(KeyOf(piece[i]) >> fnDropped)];
            const auto between = [&](std::size_t i) -> Bucket* {
                const std::size_t place = places[i] - 1u;
                if (place >= fvBuckets.size()) return nullptr;
                Bucket& bucket = fvBuckets[place];
                return piece[i] > bucket.min && piece[i] < bucket.max ? &bucket : nullptr;
            };
            if (!weights.empty()) {
                for (std::size_t i = 0; i < piece.size(); ++i) added += Update(piece[i], weights[from + i]) ? 1 : 0;
                continue;
            }
            for (std::size_t i = 0; i < piece.size(); ++i) {
                Bucket* const bucket = between(i);
                if (bucket != nullptr) {
                    bucket->weight += 1.0;
                    ++added;
                } else if (Update(piece[i])) {
                    ++added;
                }
            }
        }
    } catch (const std::bad_alloc&) {
        // Half a block must not stay: nobody could say which half.
        if (added > 0) *this = MCQuantileSketch(fnLimit);
        throw;
    }
    return added;
}

bool MCQuantileSketch::Merge(const MCQuantileSketch& other)
{
    if (other.fnLimit != fnLimit || SumOfWeights(fvBuckets) + SumOfWeights(other.fvBuckets) > kMostWeight) return false;
    MCQuantileSketch merged(*this);
    if (other.fnDropped > fnDropped) merged.DropTo(other.fnDropped, merged.fvBuckets);
    const std::vector<Bucket> added(other.fvBuckets); // other may be this sketch
    for (const Bucket& bucket : added) merged.Add(bucket);
    *this = std::move(merged);
    return true;
}

bool MCQuantileSketch::IsExact() const
{
    return std::all_of(fvBuckets.begin(), fvBuckets.end(), [](const Bucket& b) { return Spread(b) == 0.0; });
}

double MCQuantileSketch::GetRankError() const
{
    double heaviest = 0.0;
    for (const Bucket& bucket : fvBuckets) heaviest = std::max(heaviest, Spread(bucket));
    return heaviest > 0.0 ? heaviest / GetTotalWeight() : 0.0;
}

std::vector<MCQuantileSketch::Bucket> MCQuantileSketch::GetBuckets() const
{
    std::vector<Bucket> sorted(fvBuckets);
    Sort(sorted);
    return sorted;
}

double MCQuantileSketch::GetTotalWeight() const
{
    double total = 0.0;
    for (const Bucket& bucket : GetBuckets()) total += bucket.weight;
    return total;
}

double MCQuantileSketch::GetMin() const
{
    double lowest = MCMV::Missing();
    for (const Bucket& bucket : fvBuckets)
        if (MCMV::IsMissing(lowest) || bucket.min < lowest) lowest = bucket.min;
    return lowest;
}

double MCQuantileSketch::GetMax() const
{
    double highest = MCMV::Missing(); // below every value
    for (const Bucket& bucket : fvBuckets) highest = std::max(highest, bucket.max);
    return highest;
}

std::vector<MCQuantileSketch::Piece> MCQuantileSketch::GetPieces() const
{
    std::vector<Piece> pieces;
    for (const Bucket& bucket : GetBuckets()) {
        pieces.push_back({bucket.min, bucket.min, bucket.minWeight});
        if (Spread(bucket) > 0.0) pieces.push_back({bucket.min, bucket.max, Spread(bucket)});
        if (bucket.min != bucket.max) pieces.push_back({bucket.max, bucket.max, bucket.maxWeight});
    }
    return pieces;
}

/// The piece that p of the weight reaches into, and the part of it that it takes.
bool MCQuantileSketch::Locate(double p, Piece& piece, double& part) const
{
    if (fvBuckets.empty() || !(p >= 0.0 && p <= 1.0)) return false;
    const double wanted = p * GetTotalWeight();
    double below = 0.0;
    for (const Piece& each : GetPieces()) {
        piece = each;
        part = (wanted - below) / each.weight;
        if (below + each.weight >= wanted) break;
        below += each.weight;
    }
    return true;
}

double MCQuantileSketch::GetQuantile(double p) const
{
    Piece piece;
    double part = 0.0;
    return Locate(p, piece, part) ? Inside(piece, part) : MCMV::Missing();
}

bool MCQuantileSketch::GetQuantileBounds(double p, double& lowest, double& highest) const
{
    Piece piece;
    double part = 0.0;
    if (!Locate(p, piece, part)) return false;
    lowest = piece.min;
    highest = piece.max;
    return true;
}

double MCQuantileSketch::GetRank(double x) const
{
    if (fvBuckets.empty() || std::isnan(x) || MCMV::IsMissing(x)) return MCMV::Missing();
    double below = 0.0;
    for (const Piece& piece : GetPieces()) {
        if (x < piece.min || (x == piece.min && piece.min != piece.max)) break;
        if (x >= piece.max)
            below += piece.weight;
        else
            below += piece.weight * ((0.5 * x - 0.5 * piece.min) / (0.5 * piece.max - 0.5 * piece.min));
    }
    return below / GetTotalWeight();
}

void MCQuantileSketch::Coarsen(int fractionBits)
{
    const int dropped = std::min(52 - fractionBits, 63);
    if (dropped > fnDropped) DropTo(dropped, fvBuckets);
}

bool MCQuantileSketch::Restore(int limit, int fractionBits, const std::vector<Bucket>& buckets)
{
    MCQuantileSketch restored(limit);
    if (restored.fnLimit != limit || fractionBits > 52 || fractionBits < -11 ||
        buckets.size() > static_cast<std::size_t>(limit) || !(SumOfWeights(buckets) <= kMostWeight))
        return false;
    restored.fnDropped = 52 - fractionBits;
    for (const Bucket& bucket : buckets) {
        const std::uint64_t key = KeyOf(bucket.min) >> restored.fnDropped;
        const bool follows =
            restored.fvBuckets.empty() || (restored.fvBuckets.back().max < bucket.min &&
                                           KeyOf(restored.fvBuckets.back().min) >> restored.fnDropped < key);
        if (!follows || !IsValue(bucket.min) || !IsValue(bucket.max) || bucket.min > bucket.max ||
            KeyOf(bucket.max) >> restored.fnDropped != key || !(bucket.minWeight > 0.0) || !(bucket.maxWeight > 0.0) ||
            !(bucket.weight >= bucket.minWeight) || !std::isfinite(bucket.weight) ||
            !(bucket.weight >= bucket.maxWeight) ||
            (bucket.min == bucket.max && (bucket.minWeight != bucket.weight || bucket.maxWeight != bucket.weight)))
            return false;
        restored.Add(bucket);
    }
    *this = std::move(restored);
    return true;
}

bool MCQuantileSketch::operator==(const MCQuantileSketch& other) const
{
    return fnLimit == other.fnLimit && fnDropped == other.fnDropped && GetBuckets() == other.GetBuckets();
}

void MCQuantileSketch::Display() const
{
    MCDisplay_930::DisplayStart("MCQuantileSketch");
    MCDisplay_930::Display("Limit of buckets", fnLimit);
    MCDisplay_930::Display("Buckets", GetNBuckets());
    MCDisplay_930::Display("Bits of the fraction", GetFractionBits());
    MCDisplay_930::Display("Rank error", GetRankError());
    MCDisplay_930::Display("Total weight", GetTotalWeight());
    const std::vector<double> quartiles{GetMin(), GetQuantile(0.25), GetQuantile(0.5), GetQuantile(0.75), GetMax()};
    MCDisplay_930::Display("Minimum, quartiles, maximum", quartiles);
    MCDisplay_930::DisplayEnd("MCQuantileSketch");
}

int MCQuantileSketch::WriteObjectXML(std::ostream& stream, int indent) const
{
    internal::StateWriter writer(stream, "MCQuantileSketch", indent);
    writer.Write(fnLimit);
    writer.Write(GetFractionBits());
    writer.Write(GetNBuckets());
    for (const Bucket& bucket : GetBuckets())
        for (const double number : {bucket.min, bucket.max, bucket.weight, bucket.minWeight, bucket.maxWeight})
            writer.Write(number);
    return writer.Finish();
}

int MCQuantileSketch::ReadObjectXML(std::ifstream& stream)
{
    internal::StateReader reader(stream, "MCQuantileSketch");
    int limit = 0, fractionBits = 0, count = 0;
    reader.Read(limit);
    reader.Read(fractionBits);
    reader.Read(count);
    std::vector<Bucket> buckets;
    for (int i = 0; i < count && reader.Ok(); ++i) {
        Bucket bucket;
        for (double* const number : {&bucket.min, &bucket.max, &bucket.weight, &bucket.minWeight, &bucket.maxWeight})
            reader.Read(*number);
        buckets.push_back(bucket);
    }
    reader.Require(count >= 0);
    const int lines = reader.Finish();
    return lines > 0 && Restore(limit, fractionBits, buckets) ? lines : 0;
}

} // namespace MCMath_930
