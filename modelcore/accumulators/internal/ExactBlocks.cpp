// ExactBlocks: from rows to slices, from slices to sums of products, from those to exact sums.
#include "modelcore/accumulators/internal/ExactBlocks.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/kernels/Kernels.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <new>
#include <utility>

namespace MCMath_930::internal {

namespace {

constexpr std::size_t kGrain = 8;    // rows that every kernel takes at once
constexpr int kLargestSquared = 400; // beyond 2^+-400, products of slices or what they leave could over- or underflow
constexpr int kLargestWeighted = 200;

// So few elements that reach below a slice cost less one by one than a slice of their own.
constexpr std::size_t kMostRemainders = 4;
constexpr std::size_t kRowsForRemainder = 64;

// Sums of slices save a third of the products but must be made; so many columns pay for them (Cascade Lake).
constexpr std::size_t kFewestCombined = 6;
constexpr std::size_t kFewestCombinedWeighted = 12;
constexpr int kMostCombined = 4; // slices of the right operand
constexpr int kMostCombinedLeft = 12;

double PowerOfTwo(int exponent)
{
    return std::bit_cast<double>(static_cast<std::uint64_t>(exponent + 1023) << 52);
}

int LowestBit(double x)
{
    return std::max(std::ilogb(x) - 52, -1074);
}

std::size_t At(int index)
{
    return static_cast<std::size_t>(index);
}

/// Two's complement in two words.
struct TwoWords {
    std::uint64_t low = 0, high = 0;

    /// += value * 2^shift, 0 <= shift < 64
    void Add(std::int64_t value, int shift)
    {
        const std::uint64_t addend = static_cast<std::uint64_t>(value) << shift;
        const std::int64_t above = value >> 1 >> (63 - shift);
        low += addend;
        high += static_cast<std::uint64_t>(above) + (low < addend ? 1 : 0);
    }
};

} // namespace

void ExactBlocks::NeedVectors(std::size_t count)
{
    if (count <= fnVectors) return;
    const std::size_t larger = std::max(count, 2 * fnVectors + 16);
    AlignedDoubles vectors = MakeAlignedDoubles(larger * kStep);
    if (!vectors) throw std::bad_alloc();
    if (fVectors) std::copy_n(fVectors.get(), fnUsed * kStep, vectors.get());
    fVectors = std::move(vectors);
    fnVectors = larger;
}

// Brings the columns together, with zeros behind them, and looks at them. False when one cannot be added.
bool ExactBlocks::Load(const ExactRows& rows, std::size_t nVars)
{
    fnRows = rows.count;
    fnPadded = (rows.count + kGrain - 1) / kGrain * kGrain;
    fvColumns.resize(nVars + 1);
    fvLargest.assign(nVars + 1, 1.0);
    fvSmallest.assign(nVars + 1, 1.0);
    fbWeighted = rows.weights != nullptr &&
                 std::any_of(rows.weights, rows.weights + rows.count, [](double w) { return w != 1.0; });

    const bool inPlace = rows.rowStep == 1 && fnRows == fnPadded;
    const std::size_t room = inPlace ? kStep : (nVars + 1) * kStep;
    if (room > fnRoom) {
        AlignedDoubles larger = MakeAlignedDoubles(room);
        if (!larger) throw std::bad_alloc();
        fRoom = std::move(larger);
        fnRoom = room;
    }
    double* const weights = fRoom.get();
    if (fbWeighted) std::fill(std::copy_n(rows.weights, fnRows, weights), weights + fnPadded, 0.0);
    fvColumns[nVars] = weights;
    double* const columns = fRoom.get() + kStep;
    for (std::size_t j = 0; j < nVars; ++j) {
        if (inPlace) {
            fvColumns[j] = rows.values + j * rows.columnStep;
        } else {
            fvColumns[j] = columns + j * kStep;
            std::fill(columns + j * kStep + fnRows, columns + j * kStep + fnPadded, 0.0);
        }
    }
    if (!inPlace) SpreadRows(columns, kStep, rows.values, rows.rowStep, nVars, fnRows);

    for (std::size_t j = 0; j < nVars + (fbWeighted ? 1 : 0); ++j) {
        MagnitudeRange(Column(j), fnPadded, &fvLargest[j], &fvSmallest[j]);
        if (std::isnan(fvLargest[j])) return false;
        if (fvLargest[j] == std::numeric_limits<double>::max() &&
            std::any_of(Column(j), Column(j) + fnRows, [](double x) { return MCCommon_930::MCMV::IsMissing(x); }))
            return false;
    }
    return true;
}

bool ExactBlocks::CutColumn(const double* x, double largest, std::size_t column, bool keepRemainders, Slices& to)
{
    const int exponent = std::ilogb(largest);
    to.count = 0;
    to.first = fnUsed;
    to.even = true;
    to.top = exponent + 1;
    NeedVectors(fnUsed + 1);
    if (CutWhole(Vector(fnUsed), x, PowerOfTwo(kSliceBits - 1 - exponent), fnPadded, &to.sums[0])) {
        to.units[0] = exponent + 1 - kSliceBits;
        to.count = 1;
        ++fnUsed;
        return true;
    }
    const std::size_t mostRemainders = keepRemainders ? std::min(kMostRemainders, fnRows / kRowsForRemainder) : 0;
    int unit = exponent + 2 - kSliceBits;
    double scale = PowerOfTwo(-unit);
    for (;;) {
        if (to.count == kMaxSlices) return false;
        NeedVectors(fnUsed + 1);
        CutResult result;
        CutSlice(Vector(fnUsed), Vector(0), to.count == 0 ? x : Vector(0), scale, fnPadded, &result);
        ++fnUsed;
        to.units[to.count] = unit;
        to.sums[to.count++] = result.sum;
        if (result.largestRest == 0.0) return true;
        if (At(result.nRests) <= mostRemainders) {
            const double* const rest = Vector(0);
            for (std::size_t r = 0; r < fnRows; ++r)
                if (rest[r] != 0.0) fvRemainders.push_back({r, column, rest[r] * PowerOfTwo(unit)});
            return true;
        }
        const int below = -1 - std::ilogb(result.largestRest); // the rest is smaller than 2^-below
        const bool gap = below > kSliceBits;
        const int step = gap ? below + kSliceBits - 1 : kSliceBits;
        to.even = to.even && !gap;
        unit -= step;
        scale = PowerOfTwo(step);
    }
}

bool ExactBlocks::CutWeighted(std::size_t j, Slices& to)
{
    const std::size_t w = fvColumns.size() - 1;
    const int xExponent = std::ilogb(fvLargest[j]), weightExponent = std::ilogb(fvLargest[w]);
    const int scaled =
        xExponent + weightExponent; // the products are worked on that many bits lower, where all are below 4
    WeighColumn(Vector(0), Vector(1), Column(j), PowerOfTwo(-xExponent), Column(w), PowerOfTwo(-weightExponent),
                fnPadded);
    to.count = 0;
    to.first = fnUsed;
    to.even = true;
    to.top = scaled + 2;
    int unit = 3 - kSliceBits;
    for (int step = -unit;;) {
        if (to.count == 2 * kMaxSlices) return false;
        NeedVectors(fnUsed + 1);
        CutResult result;
        CutPairSlice(Vector(fnUsed), Vector(0), Vector(1), PowerOfTwo(step), fnPadded, &result);
        ++fnUsed;
        to.units[to.count] = unit + scaled;
        to.sums[to.count++] = result.sum;
        if (result.largestRest == 0.0) return true;
        const int below = -1 - std::ilogb(result.largestRest);
        const bool gap = below > kSliceBits;
        step = gap ? below + kSliceBits - 1 : kSliceBits;
        to.even = to.even && !gap;
        unit -= step;
    }
}

// False when slices are no way for this block.
bool ExactBlocks::CutColumns(std::size_t nVars, bool weighted)
{
    const int limit = weighted ? kLargestWeighted : kLargestSquared;
    const std::size_t nColumns = nVars + (weighted ? 1 : 0);
    for (std::size_t j = 0; j < nColumns; ++j)
        if (fvLargest[j] != 0.0 && (std::ilogb(fvLargest[j]) > limit || std::ilogb(fvSmallest[j]) < -limit))
            return false;

    fnUsed = 2; // the first two hold what is being cut
    NeedVectors(fnUsed + nColumns);
    fvRemainders.clear();
    fvRight.resize(nVars);
    for (std::size_t j = 0; j < nVars; ++j) {
        fvRight[j].count = 0;
        if (fvLargest[j] != 0.0 && !CutColumn(Column(j), fvLargest[j], j, !weighted, fvRight[j])) return false;
    }
    if (!weighted) return true;
    if (!CutColumn(Column(nVars), fvLargest[nVars], nVars, false, fWeights)) return false;
    fvLeft.resize(nVars);
    for (std::size_t j = 0; j < nVars; ++j) {
        fvLeft[j].count = 0;
        if (fvRight[j].count > 0 && !CutWeighted(j, fvLeft[j])) return false;
    }
    return true;
}

// Columns with the same numbers of slices, evenly spaced, and enough of them go by sums of slices; all others are one
// group, the first.
void ExactBlocks::MakeGroups(std::size_t nVars)
{
    fvGroups.assign(1, {});
    for (std::size_t j = 0; j < nVars; ++j) {
        const Slices &left = Left()[j], &right = fvRight[j];
        if (right.count == 0) continue;
        std::size_t g = 0;
        if (left.even && right.even && left.count >= 2 && left.count <= kMostCombinedLeft && right.count >= 2 &&
            right.count <= kMostCombined) {
            for (g = 1; g < fvGroups.size(); ++g)
                if (fvGroups[g].nLeft == left.count && fvGroups[g].nRight == right.count) break;
            if (g == fvGroups.size())
                fvGroups.push_back({.columns = {}, .combined = true, .nLeft = left.count, .nRight = right.count});
        }
        fvGroups[g].columns.push_back(j);
    }
    const std::size_t fewest = fbWeighted ? kFewestCombinedWeighted : kFewestCombined;
    std::vector<std::size_t>& others = fvGroups[0].columns;
    std::erase_if(fvGroups, [&](const Group& group) {
        if (!group.combined || group.columns.size() >= fewest) return false;
        others.insert(others.end(), group.columns.begin(), group.columns.end());
        return true;
    });
    std::sort(fvGroups[0].columns.begin(), fvGroups[0].columns.end());
}

// Karatsuba (1962) on squares of slices: of two products left[a]*right[b] + left[b]*right[a], which count alike, only the
// sum is needed, and it costs one product of sums of slices.
void ExactBlocks::MakeTerms(const Group& group)
{
    fvTerms.clear();
    for (int start = 0; start < group.nLeft; start += group.nRight) {
        const int size = std::min(group.nRight, group.nLeft - start);
        const int known = static_cast<int>(fvTerms.size());
        for (int a = 0; a < size; ++a) fvTerms.push_back({.left = start + a, .right = a});
        for (int a = 0; a < size; ++a)
            for (int b = a + 1; b < size; ++b) fvTerms.push_back({start + a, b, start + b, a, known + a, known + b});
        for (int a = 0; a < size; ++a)
            for (int b = size; b < group.nRight; ++b) fvTerms.push_back({.left = start + a, .right = b});
    }
}

// Makes all room that the products need.
void ExactBlocks::PlanProducts(std::size_t nVars)
{
    MakeGroups(nVars);
    std::size_t products = 0, lines = 0, sums = 0, diagonals = 0;
    for (Group& group : fvGroups) {
        group.nLeftLines = group.nRightLines = 0;
        for (const std::size_t j : group.columns) {
            group.nLeftLines += At(Left()[j].count);
            group.nRightLines += At(fvRight[j].count);
        }
        lines = std::max({lines, group.nLeftLines, group.nRightLines});
        const std::size_t size = group.columns.size();
        if (group.combined) {
            MakeTerms(group);
            products = std::max(products, size * size * fvTerms.size());
            sums = std::max(sums, 2 * size);
            diagonals = std::max(diagonals, size * At(group.nLeft + group.nRight));
        } else {
            products = std::max(products, group.nLeftLines * group.nRightLines);
        }
        for (const Group* before = fvGroups.data(); before != &group; ++before)
            products = std::max(products, group.nLeftLines * before->nRightLines);
    }
    fvProducts.resize(std::max(products, fvProducts.size()));
    for (auto* const list : {&fvLeftLines, &fvRightLines}) list->reserve(lines);
    for (auto* const list : {&fvLeftColumns, &fvRightColumns, &fvFirstLeft}) list->reserve(lines);
    fvDiagonals.resize(std::max(diagonals, fvDiagonals.size()));
    fvRemainderOf.resize(fvRemainders.empty() ? 0 : nVars);
    NeedVectors(fnUsed + sums);
}

void ExactBlocks::ReserveSums(MCExactSums& sums) const
{
    int lowLeft = 0, lowRight = 0, topLeft = 0, topRight = 0;
    for (std::size_t j = 0; j < fvRight.size(); ++j) {
        const Slices &left = Left()[j], &right = fvRight[j];
        if (right.count == 0) continue;
        lowLeft = std::min(lowLeft, left.Lowest());
        lowRight = std::min(lowRight, right.Lowest());
        topLeft = std::max(topLeft, left.top);
        topRight = std::max(topRight, right.top);
    }
    for (const Remainder& remainder : fvRemainders) lowLeft = lowRight = std::min(lowRight, LowestBit(remainder.value));
    const int lowWeight = fbWeighted ? fWeights.Lowest() : 0, topWeight = fbWeighted ? fWeights.top : 1;
    sums.Reserve(std::min(lowLeft + lowRight, lowWeight), std::max(topLeft + topRight, topWeight) + 10);
}

bool ExactBlocks::Add(const ExactRows& rows, std::size_t nVars, bool remove, MCExactSums& sums)
{
    if (!Load(rows, nVars)) return false;
    if (fnRows == 0 || (fbWeighted && fvLargest[nVars] == 0.0)) return true;
    fbRemove = remove;
    if (!CutColumns(nVars, fbWeighted)) {
        AddRowByRow(nVars, remove, sums);
        return true;
    }
    PlanProducts(nVars);
    ReserveSums(sums);

    // Nothing below can fail: the numbers change only from here on.
    AddSums(nVars, sums);
    if (!fvRemainders.empty()) AddRemainders(nVars, sums);
    for (const Group& group : fvGroups) {
        if (group.combined)
            AddCombined(group, sums);
        else
            AddFlat(group, group, sums);
        for (const Group* before = fvGroups.data(); before != &group; ++before) AddFlat(group, *before, sums);
    }
    return true;
}

void ExactBlocks::AddSums(std::size_t nVars, MCExactSums& sums) const
{
    const auto add = [&](std::size_t place, const Slices& slices) {
        for (int s = 0; s < slices.count; ++s) {
            const auto sum = static_cast<std::int64_t>(slices.sums[s]);
            sums.Add(place, fbRemove ? -sum : sum, slices.units[s]);
        }
    };
    const auto count = static_cast<std::int64_t>(fnRows);
    if (fbWeighted)
        add(WeightPlace(), fWeights);
    else
        sums.Add(WeightPlace(), fbRemove ? -count : count, 0);
    for (std::size_t j = 0; j < nVars; ++j) add(SumPlace(j), Left()[j]);
}

// With x = X + r, slices and remainder: x_i*x_j - X_i*X_j = r_i*x_j + X_i*r_j, each term once.
void ExactBlocks::AddRemainders(std::size_t nVars, MCExactSums& sums)
{
    const auto add = [&](std::size_t place, double a, double b) {
        const MCExtended product = ExactProduct(a, b);
        sums.Add(place, product.high, fbRemove);
        sums.Add(place, product.low, fbRemove);
    };
    std::sort(fvRemainders.begin(), fvRemainders.end(),
              [](const Remainder& a, const Remainder& b) { return a.row < b.row; });
    std::fill(fvRemainderOf.begin(), fvRemainderOf.end(), 0.0);
    for (auto first = fvRemainders.begin(), last = first; first != fvRemainders.end(); first = last) {
        last = std::find_if(first, fvRemainders.end(), [&](const Remainder& r) { return r.row != first->row; });
        for (auto r = first; r != last; ++r) fvRemainderOf[r->column] = r->value;
        for (auto r = first; r != last; ++r) {
            const std::size_t i = r->column;
            const auto x = [&](std::size_t j) { return Column(j)[r->row]; };
            sums.Add(SumPlace(i), r->value, fbRemove);
            for (std::size_t j = 0; j < i; ++j) add(ProductPlace(i, j), r->value, x(j));
            add(ProductPlace(i, i), r->value, x(i));
            add(ProductPlace(i, i), r->value, x(i) - r->value);
            for (std::size_t j = i + 1; j < nVars; ++j) add(ProductPlace(j, i), r->value, x(j) - fvRemainderOf[j]);
        }
        for (auto r = first; r != last; ++r) fvRemainderOf[r->column] = 0.0;
    }
}

void ExactBlocks::AddCombined(const Group& group, MCExactSums& sums)
{
    MakeTerms(group);
    const std::size_t size = group.columns.size(), square = size * size;
    fvFirstLeft.clear();
    for (std::size_t i = 0; i < size; ++i) fvFirstLeft.push_back(i);
    for (std::size_t t = 0; t < fvTerms.size(); ++t) {
        const Term& term = fvTerms[t];
        fvLeftLines.clear();
        fvRightLines.clear();
        std::size_t next = fnUsed;
        const auto line = [&](const Slices& slices, int slice, int other) -> const double* {
            const double* const x = Vector(slices.first + At(slice));
            if (other < 0) return x;
            double* const both = Vector(next++);
            AddSlices(both, x, Vector(slices.first + At(other)), fnPadded);
            return both;
        };
        for (const std::size_t j : group.columns) {
            fvLeftLines.push_back(line(Left()[j], term.left, term.otherLeft));
            fvRightLines.push_back(fbWeighted ? line(fvRight[j], term.right, term.otherRight) : fvLeftLines.back());
        }
        SumSliceProducts(&fvProducts[t * square], size, fvLeftLines.data(), size, fvRightLines.data(), size,
                         fvFirstLeft.data(), fnPadded);
    }

    // What counts alike is put together for a row at a time. A diagonal has kMostCombined products of slices at most, each
    // below 2^51, so that doubles still hold it.
    static_assert(kMostCombined <= 4);
    const int diagonals = group.nLeft + group.nRight - 1;
    for (std::size_t i = 0; i < size; ++i) {
        const std::size_t ci = group.columns[i];
        std::fill_n(fvDiagonals.begin(), At(diagonals) * size, 0.0);
        for (std::size_t t = 0; t < fvTerms.size(); ++t) {
            const Term& term = fvTerms[t];
            double* const to = &fvDiagonals[At(term.left + term.right) * size];
            const double* const product = &fvProducts[t * square + i * size];
            if (term.known < 0) {
                for (std::size_t j = 0; j <= i; ++j) to[j] += product[j];
            } else {
                const double* const known = &fvProducts[At(term.known) * square + i * size];
                const double* const other = &fvProducts[At(term.otherKnown) * square + i * size];
                for (std::size_t j = 0; j <= i; ++j) to[j] += product[j] - (known[j] + other[j]);
            }
        }
        for (std::size_t j = 0; j <= i; ++j) {
            const std::size_t cj = group.columns[j];
            AddDiagonals(ProductPlace(ci, cj), &fvDiagonals[j], size, diagonals,
                         Left()[ci].units[0] + fvRight[cj].units[0], sums);
        }
    }
}

// Number place += the sum of diagonal[d*step] * 2^(unit - d*kSliceBits).
void ExactBlocks::AddDiagonals(std::size_t place, const double* diagonal, std::size_t step, int count, int unit,
                               MCExactSums& sums) const
{
    for (int d = count - 1; d >= 0; d -= 3) {
        TwoWords three;
        for (int k = d; k >= 0 && k > d - 3; --k) {
            const auto value = static_cast<std::int64_t>(diagonal[At(k) * step]);
            three.Add(fbRemove ? -value : value, (d - k) * kSliceBits);
        }
        sums.AddWords(place, three.low, three.high, unit - d * kSliceBits);
    }
}

// Every slice of one by every slice of the other; of a group with itself each pair of columns once.
void ExactBlocks::AddFlat(const Group& left, const Group& right, MCExactSums& sums)
{
    const bool same = &left == &right;
    const auto gather = [this](const Group& group, const std::vector<Slices>& from, std::vector<const double*>& lines,
                               std::vector<std::size_t>& columns) {
        lines.clear();
        columns.clear();
        for (const std::size_t j : group.columns)
            for (int s = 0; s < from[j].count; ++s) {
                lines.push_back(Vector(from[j].first + At(s)));
                columns.push_back(j);
            }
    };
    gather(left, Left(), fvLeftLines, fvLeftColumns);
    gather(right, fvRight, fvRightLines, fvRightColumns);
    fvFirstLeft.clear();
    std::size_t first = 0;
    for (const std::size_t j : fvRightColumns) {
        while (same && fvLeftColumns[first] < j) ++first;
        fvFirstLeft.push_back(first);
    }
    const std::size_t nLeft = fvLeftLines.size(), nRight = fvRightLines.size();
    if (nLeft == 0 || nRight == 0) return;
    SumSliceProducts(fvProducts.data(), nRight, fvLeftLines.data(), nLeft, fvRightLines.data(), nRight,
                     fvFirstLeft.data(), fnPadded);
    std::size_t i = 0;
    for (const std::size_t ci : left.columns) {
        const Slices& a = Left()[ci];
        std::size_t j = 0;
        for (const std::size_t cj : right.columns) {
            if (same && ci < cj) break;
            const Slices& b = fvRight[cj];
            const std::size_t place = ProductPlace(std::max(ci, cj), std::min(ci, cj));
            const double* const products = &fvProducts[i * nRight + j];
            if (a.count == 1 && b.count == 1) {
                const auto sum = static_cast<std::int64_t>(*products);
                sums.Add(place, fbRemove ? -sum : sum, a.units[0] + b.units[0]);
            } else if (a.even && b.even && std::min(a.count, b.count) <= kMostCombined) { // as in AddCombined
                const int count = a.count + b.count - 1;
                double diagonals[3 * kMaxSlices];
                std::fill_n(diagonals, count, 0.0);
                for (int s = 0; s < a.count; ++s)
                    for (int t = 0; t < b.count; ++t) diagonals[s + t] += products[At(s) * nRight + At(t)];
                AddDiagonals(place, diagonals, 1, count, a.units[0] + b.units[0], sums);
            } else {
                for (int s = 0; s < a.count; ++s)
                    for (int t = 0; t < b.count; ++t) {
                        const auto sum = static_cast<std::int64_t>(products[At(s) * nRight + At(t)]);
                        sums.Add(place, fbRemove ? -sum : sum, a.units[s] + b.units[t]);
                    }
            }
            j += At(b.count);
        }
        i += At(a.count);
    }
}

// Element by element with integers: any double there is.
void ExactBlocks::AddRowByRow(std::size_t nVars, bool remove, MCExactSums& sums)
{
    int low = 0, top = 1;
    for (std::size_t j = 0; j < nVars; ++j) {
        if (fvLargest[j] == 0.0) continue;
        low = std::min(low, LowestBit(fvSmallest[j]));
        top = std::max(top, std::ilogb(fvLargest[j]) + 1);
    }
    int lowWeight = 0, topWeight = 1;
    if (fbWeighted) {
        lowWeight = LowestBit(fvSmallest[nVars]);
        topWeight = std::ilogb(fvLargest[nVars]) + 1;
    }
    sums.Reserve(2 * low + lowWeight, 2 * top + topWeight + 10);

    struct Parts {
        std::uint64_t digits = 1;
        int exponent = 0;
        bool negative = false;
    };
    const auto take = [](double x) {
        const auto bits = std::bit_cast<std::uint64_t>(x);
        const int field = static_cast<int>(bits >> 52 & 2047);
        return Parts{(bits & 0xfffffffffffffu) | (field != 0 ? std::uint64_t{1} << 52 : 0), std::max(field, 1) - 1075,
                     bits >> 63 != 0};
    };
    Parts weight;
    const auto add = [&](std::size_t place, const Parts& a, const Parts& b) {
        if (a.digits == 0 || b.digits == 0 || weight.digits == 0) return;
        sums.AddProduct(place, a.digits, b.digits, weight.digits,
                        (a.negative != b.negative) != (weight.negative != remove),
                        a.exponent + b.exponent + weight.exponent);
    };
    const Parts one;
    for (std::size_t r = 0; r < fnRows; ++r) {
        if (fbWeighted) weight = take(Column(nVars)[r]);
        add(WeightPlace(), one, one);
        for (std::size_t i = 0; i < nVars; ++i) {
            const Parts x = take(Column(i)[r]);
            if (x.digits == 0) continue;
            add(SumPlace(i), x, one);
            for (std::size_t j = 0; j <= i; ++j) add(ProductPlace(i, j), x, take(Column(j)[r]));
        }
    }
}

} // namespace MCMath_930::internal
