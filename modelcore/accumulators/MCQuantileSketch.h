// Quantiles of one continuous field in one pass and bounded memory.
#pragma once

#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/modelcore_export.h"

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <span>
#include <vector>

namespace MCMath_930 {

/// The distribution of one continuous field: exact while it has up to a limit of distinct values, and then a summary of
/// as many buckets, from which quantiles and ranks come with bounds that hold for certain.
///
/// A bucket holds the values that share the sign, the exponent and the leading bits of the fraction. Each keeps its
/// smallest and largest value, their weights and the weight of all. When the distinct values exceed the limit, one bit fewer is looked at and
/// neighbours fall together, as often as needed: the uniform collapse of UDDSketch (Epicoco, Melle, Cafaro, Pulimeno &
/// Cardellini 2020, IEEE Access 8) on buckets that are powers of two wide, as in the relative-error sketch of Masson,
/// Rim & Lee (2019, PVLDB 12). How many bits are left depends on the set of values alone. So, unlike a sketch that keeps
/// samples or compacts, the state is the same to the bit for every order of the data, every cut into parts and every
/// order of merging (weights being whole numbers; sums of fractional weights round in the order of the calls), and
/// frequency weights cost nothing.
///
/// Error. With b bits of the fraction left (GetFractionBits) a quantile is within 2^-b of the true one, relative to its
/// size: with 32768 buckets b >= 9 for data of one sign over 10 powers of ten, and b >= 3 for data over the whole
/// range of doubles. GetQuantileBounds gives the bucket that the true quantile lies in, and GetRankError
/// the largest share of the data between the smallest and the largest value of a bucket, by which a rank can be wrong.
/// The smallest and the largest themselves stay exact. Round numbers, the frequent ones of much data, have zeros as
/// their last bits and are therefore nearly always one of the two.
///
/// An update is one hash, about 10 ns.
class MODELCORE_EXPORT MCQuantileSketch {
public:
    /// The limit of buckets when none is given.
    static constexpr int kDefaultLimit = 32768;
    /// The least limit of buckets.
    static constexpr int kMinLimit = 16;
    /// The largest limit of buckets.
    static constexpr int kMaxLimit = 1 << 24;
    /// The largest sum of weights: rounding brings none to infinity.
    static constexpr double kMostWeight = 0x1p1023;

    /// The values from min to max, both of which occurred.
    struct Bucket {
        double min = 0.0;       ///< the smallest value
        double max = 0.0;       ///< the largest value
        double weight = 0.0;    ///< of all
        double minWeight = 0.0; ///< of the values equal to min
        double maxWeight = 0.0; ///< of those equal to max; the same as minWeight where min is max

        bool operator==(const Bucket&) const = default;
    };

    /// A weight at one value, where min is max, or spread between the two, both excluded.
    struct Piece {
        double min = 0.0;    ///< the smallest value
        double max = 0.0;    ///< the largest value
        double weight = 0.0; ///< that lies there
    };

    /// @param limit  how many buckets there may be; brought to between kMinLimit and kMaxLimit
    explicit MCQuantileSketch(int limit = kDefaultLimit);

    /// A deep copy.
    MCQuantileSketch(const MCQuantileSketch& other) = default;

    /// Deep as well. When memory runs out, this sketch is as it was.
    MCQuantileSketch& operator=(const MCQuantileSketch& other) { return internal::AssignByCopy(*this, other); }

    /// Takes the values over; other has none afterwards.
    MCQuantileSketch(MCQuantileSketch&& other) noexcept = default;
    MCQuantileSketch& operator=(MCQuantileSketch&& other) noexcept = default;

    ~MCQuantileSketch() = default;

    /// Adds a value; -0.0 is 0.0.
    /// @return  false, and nothing changed, when the value is missing, a NaN or infinite, the weight is not finite and
    ///          above 0, or the weights would sum up to more than 2^1023
    bool Update(double x, double weight = 1.0);

    /// Adds a value for each x, with weight 1 when weights is empty. When memory runs out after the first of them, the
    /// sketch is empty.
    /// @return  how many were added; -1, and nothing changed, when there are weights but not as many as values
    int UpdateBlock(std::span<const double> x, std::span<const double> weights = {});

    /// Adds the values of other.
    /// @return  false, and nothing changed, when its limit is another one or the weights of both sum up to more than
    ///          2^1023
    bool Merge(const MCQuantileSketch& other);

    /// How many buckets there may be.
    int GetLimit() const { return fnLimit; }
    /// How many buckets there are.
    int GetNBuckets() const { return static_cast<int>(fvBuckets.size()); }
    /// How many bits of the fraction the buckets are told apart by: 52 while every value has its own; below 0 when
    /// exponents fall together too.
    int GetFractionBits() const { return 52 - fnDropped; }
    /// Whether no weight is spread inside a bucket, so that all answers are exact.
    bool IsExact() const;
    /// The largest share of the total weight that is spread inside a bucket; 0 when the sketch is exact.
    double GetRankError() const;

    /// Sum of the weights, added in the order of the values.
    double GetTotalWeight() const;
    /// System-missing when there are no values.
    double GetMin() const;
    /// The largest value; system-missing when there are none.
    double GetMax() const;

    /// The smallest value whose weight, together with that of all smaller ones, reaches p of the total; where
    /// weight is spread inside a bucket, on the straight line between its smallest and its largest value. System-missing
    /// when there are no values or p is not in [0, 1].
    double GetQuantile(double p) const;
    /// The smallest and the largest value that the quantile can be.
    /// @return  false, and nothing changed, where GetQuantile gives system-missing
    bool GetQuantileBounds(double p, double& lowest, double& highest) const;
    /// The share of the weight of values up to and including x; inside a bucket, along its straight line.
    /// System-missing when there are no values or x is a NaN or missing.
    double GetRank(double x) const;

    /// All buckets in the order of their values.
    std::vector<Bucket> GetBuckets() const;
    /// The same as single values and what is spread between them, in order: what quantiles and ranks are computed from.
    std::vector<Piece> GetPieces() const;

    /// Drops bits until at most this many of the fraction are left, as if the data had demanded it.
    void Coarsen(int fractionBits);

    /// Restores a state by its numbers: GetLimit, GetFractionBits and GetBuckets of a sketch.
    /// @return  false, and nothing changed, when they are not such a state
    bool Restore(int limit, int fractionBits, const std::vector<Bucket>& buckets);

    /// The same values in the same buckets.
    bool operator==(const MCQuantileSketch& other) const;

    /// Writes the limit, the error and the quartiles to the diagnostic text stream.
    void Display() const;

    /// Saves the state as an element of a flat value stream, every bit of it.
    /// @param indent  the depth of its tags, in tabs
    /// @return  the number of lines written; 0 when writing failed
    int WriteObjectXML(std::ostream& stream, int indent) const;

    /// Restores a state that was saved so. The stream stands before its element.
    /// @return  the number of lines read; 0, and nothing changed but the place in the stream, when they are not such a
    ///          state
    int ReadObjectXML(std::ifstream& stream);

private:
    void Add(const Bucket& bucket);
    void DropTo(int dropped, std::vector<Bucket> sorted);
    void Rebuild(std::size_t slots);
    bool Locate(double p, Piece& piece, double& part) const;
    std::size_t SlotOf(std::uint64_t key) const;

    int fnLimit;
    int fnDropped = 0;                  // lowest bits of the keys that are not looked at
    std::vector<Bucket> fvBuckets;      // in order of arrival
    std::vector<std::uint32_t> fvSlots; // open addressing: 1 + the place of a bucket, 0 for none; a power of two
};

} // namespace MCMath_930
