// Blocks of rows cut into slices, and their sums of products added to exact sums.
#pragma once

#include "modelcore/accumulators/internal/MCExactNumber.h"
#include "modelcore/kernels/AlignedDoubles.h"
#include "modelcore/kernels/KernelTable.h"

#include <cstddef>
#include <vector>

namespace MCMath_930::internal {

/// Up to kSliceRows rows of nVars values, element (r, j) at values[r*rowStep + j*columnStep]. ExactBlocks takes whole rows,
/// of a columnStep of 1, or as many rows as a block has, of a rowStep of 1.
struct ExactRows {
    const double* values = nullptr;
    std::size_t rowStep = 0;
    std::size_t columnStep = 1;
    std::size_t count = 0;
    const double* weights = nullptr; ///< one for each row; null: every row weighs 1
};

/// How the sums of p variables stand in MCExactSums: a packed triangle with the constant 1 as its first variable, so that
/// further variables come at the end.
inline std::size_t WeightPlace()
{
    return 0;
}
inline std::size_t SumPlace(std::size_t i)
{
    return (i + 1) * (i + 2) / 2;
}
/// j <= i
inline std::size_t ProductPlace(std::size_t i, std::size_t j)
{
    return SumPlace(i) + 1 + j;
}
inline std::size_t PlacesOf(std::size_t nVars)
{
    return SumPlace(nVars);
}

/// What a block is worked on with. It is kept from block to block for its memory alone.
class ExactBlocks {
public:
    /// Adds sum of w, of w*x_i and of w*x_i*x_j over the rows to sums, or takes them away. All that can throw comes before
    /// the first change of a number.
    /// @return  false, and nothing changed, when a value or a weight is not finite or missing
    bool Add(const ExactRows& rows, std::size_t nVars, bool remove, MCExactSums& sums);

private:
    static constexpr int kMaxSlices = 16; // 352 bits; what reaches wider goes row by row
    static constexpr std::size_t kStep = kSliceRows + FreeAlignedDoubles::kDoublesPerLine;

    /// The slices of a column, the highest first.
    struct Slices {
        int count = 0;
        std::size_t first = 0;     // of the vectors
        bool even = true;          // each kSliceBits below the one before
        int top = 0;               // all of the column is below 2^top in magnitude
        int units[2 * kMaxSlices]; // slice s counts 2^units[s]
        double sums[2 * kMaxSlices];

        int Lowest() const { return units[count - 1]; }
    };

    /// An element that reaches below the slices of its column, and what remains of it there.
    struct Remainder {
        std::size_t row, column;
        double value;
    };

    /// Columns whose slices are multiplied alike.
    struct Group {
        std::vector<std::size_t> columns;
        bool combined = false;                       // by sums of slices
        int nLeft = 0, nRight = 0;                   // slices of each, if combined
        std::size_t nLeftLines = 0, nRightLines = 0; // slices of all
    };

    /// A product of slices of a group: left[a] * right[b], or (left[a] + left[a2]) * (right[b] + right[b2]) less two that
    /// are known.
    struct Term {
        int left, right;
        int otherLeft = -1, otherRight = -1;
        int known = -1, otherKnown = -1;
    };

    bool Load(const ExactRows& rows, std::size_t nVars);
    const double* Column(std::size_t j) const { return fvColumns[j]; }
    double* Vector(std::size_t v) { return fVectors.get() + v * kStep; }
    void NeedVectors(std::size_t count);

    bool CutColumns(std::size_t nVars, bool weighted);
    bool CutColumn(const double* x, double largest, std::size_t column, bool keepRemainders, Slices& to);
    bool CutWeighted(std::size_t j, Slices& to);
    void MakeGroups(std::size_t nVars);
    void MakeTerms(const Group& group);
    void PlanProducts(std::size_t nVars);
    void ReserveSums(MCExactSums& sums) const;

    void AddSums(std::size_t nVars, MCExactSums& sums) const;
    void AddRemainders(std::size_t nVars, MCExactSums& sums);
    void AddCombined(const Group& group, MCExactSums& sums);
    void AddDiagonals(std::size_t place, const double* diagonal, std::size_t step, int count, int unit,
                      MCExactSums& sums) const;
    void AddFlat(const Group& left, const Group& right, MCExactSums& sums);
    void AddRowByRow(std::size_t nVars, bool remove, MCExactSums& sums);

    const std::vector<Slices>& Left() const { return fbWeighted ? fvLeft : fvRight; }

    AlignedDoubles fRoom; // for columns that must be copied
    std::size_t fnRoom = 0;
    std::vector<const double*> fvColumns; // the weights behind the variables
    std::vector<double> fvLargest, fvSmallest;
    std::size_t fnRows = 0;   // of the block
    std::size_t fnPadded = 0; // with rows of zeros, a multiple of 8
    bool fbWeighted = false;
    bool fbRemove = false;

    AlignedDoubles fVectors;
    std::size_t fnVectors = 0, fnUsed = 0;
    std::vector<Slices> fvRight, fvLeft;
    Slices fWeights;
    std::vector<Remainder> fvRemainders;
    std::vector<double> fvRemainderOf;
    std::vector<Group> fvGroups;
    std::vector<Term> fvTerms;
    std::vector<const double*> fvLeftLines, fvRightLines;
    std::vector<std::size_t> fvLeftColumns, fvRightColumns, fvFirstLeft;
    std::vector<double> fvProducts, fvDiagonals;
};

} // namespace MCMath_930::internal
