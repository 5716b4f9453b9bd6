// Divide and conquer: tearing, deflation, and the vectors of a whole from those of its halves.
#include "modelcore/eigen/internal/DivideAndConquer.h"

#include "modelcore/eigen/internal/SecularEquation.h"
#include "modelcore/kernels/AlignedDoubles.h"
#include "modelcore/kernels/Kernels.h"
#include "modelcore/kernels/TileProduct.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <new>
#include <vector>

namespace MCMath_930::internal {

namespace {

/// What is negligible beside the largest element of a part: the sum of what is dropped over all levels stays of the order
/// of the rounding errors. Parts that are far below the whole are not resolved further, since squares would underflow.
double NegligibleBeside(double largest)
{
    return 8.0 * 0x1p-53 * std::max(largest, 0x1p-200);
}

std::size_t Size(int count)
{
    return static_cast<std::size_t>(count);
}

/// A pair of numbers, one of which may be 0 or tiny, as a length and a direction.
struct Direction {
    Direction(double a, double b)
    {
        const double larger = std::max(std::fabs(a), std::fabs(b));
        if (larger == 0.0) return;
        const double x = a / larger;
        const double y = b / larger;
        const double root = std::sqrt(x * x + y * y);
        length = larger * root;
        c = x / root;
        s = y / root;
    }

    double length = 0.0, c = 1.0, s = 0.0;
};

/// Which columns of a half a vector reaches: those of the left one, of the right one, or of both.
enum class Reach { Left, Both, Right };

/// One element of the diagonal of the matrix that is decomposed in a merger.
struct Element {
    double value;
    double z; // its component of the joining row
    int row;  // of its vectors
    Reach reach;
};

/// The vectors of one merger as rows of an array: all their elements, or only the two that further mergers ask for, the
/// first and the last. Each element is formed in the same way, so that both give the same values.
struct RowBlock {
    double* elements; // of row 0
    int stride;
    int leftWidth; // columns of the left half
    int width;
    bool endsOnly;

    double* Row(int i) const { return elements + Size(i) * Size(stride); }
    /// Of a vector of the left half the last element, of one of the right half the first: where they meet.
    double Meeting(int i, bool isLeft) const
    {
        return Row(i)[endsOnly ? static_cast<int>(isLeft) : isLeft ? leftWidth - 1 : leftWidth];
    }
    /// What was the end of a half is no end of the whole.
    void Join(int i, bool isLeft) const
    {
        if (endsOnly) Row(i)[static_cast<int>(isLeft)] = 0.0;
    }
};

/// The mergers, and their scratch memory.
class Mergers {
public:
    Mergers(int n, bool endsOnly)
        : fn(n), fEndsOnly(endsOnly), fElements(Size(n)), fKept(Size(n)), fDeflated(Size(n)), fPoles(Size(n)),
          fWeights(Size(n)), fZ(Size(n)), fFactors(Size(n)), fPlace(Size(n)), fTarget(Size(n)), fOrder(Size(n)),
          fDifferences(MakeRoom(n, n)), fCombinations(MakeRoom(n, n)), fGathered(MakeRoom(n, endsOnly ? 2 : n)),
          fTiles(n)
    {
        if (!fTiles) throw std::bad_alloc();
    }

protected:
    void SortElements(int nLeft, int n);
    template <class RotateRows>
    void Deflate(int first, int n, double perColumn, double negligible, RotateRows rotateRows);
    void Keep(const Element& element) { fKept[Size(fnKept++)] = element; }
    void SetAside(const Element& element) { fDeflated[Size(fnDeflated++)] = element; }
    void Solve(SecularEquation::Poles kind, double scale);
    void SolveSingle();
    void PlaceResults(double* d);
    template <class Factor>
    void CombineRows(const RowBlock& block, Factor factor);

    /// The rows from `first` on of an array of all vectors, or of ends, and the columns that they reach.
    RowBlock BlockOf(double* vectors, int first, int leftWidth, int width) const
    {
        if (fEndsOnly) return {vectors + 2 * Size(first), 2, 1, 2, true};
        return {vectors + Size(first) * Size(fn) + Size(first), fn, leftWidth, width, false};
    }

    int fn;
    bool fEndsOnly;
    std::vector<Element> fElements;
    std::vector<Element> fKept;
    std::vector<Element> fDeflated;
    int fnKept = 0;
    int fnDeflated = 0;
    std::vector<double> fPoles, fWeights;
    std::vector<double> fZ; // of Gu and Eisenstat

private:
    static AlignedDoubles MakeRoom(int rows, int columns)
    {
        AlignedDoubles memory = MakeAlignedDoubles(Size(rows) * Size(columns));
        if (memory == nullptr) throw std::bad_alloc();
        return memory;
    }

    void Multiply(const RowBlock& block, int column, int width, int firstFactor, int nFactors, const double* gathered);
    double* Gather(const RowBlock& block, Reach half, double* to);

    std::vector<double> fFactors;
    std::vector<int> fPlace;  // of kept element j among the combined ones: left, both, right
    std::vector<int> fTarget; // row of result i: those kept, then those deflated
    std::vector<int> fOrder;
    AlignedDoubles fDifferences;  // row i: kept poles minus root i
    AlignedDoubles fCombinations; // row i: the factors of result i, by place
    AlignedDoubles fGathered;
    TileWorkspace fTiles;
};

/// Merges the two ascending runs of elements.
void Mergers::SortElements(int nLeft, int n)
{
    const auto begin = fElements.begin();
    std::inplace_merge(begin, begin + nLeft, begin + n,
                       [](const Element& a, const Element& b) { return a.value < b.value; });
}

/// Keeps those of the sorted elements first .. n-1 that take part in the secular equation, and sets the others aside.
///
/// @param perColumn   times z: what an element of the joining part is that z belongs to
/// @param rotateRows  rotateRows(kept, deflated, c, s): the rotation of the vectors that makes the z of one of them 0
template <class RotateRows>
void Mergers::Deflate(int first, int n, double perColumn, double negligible, RotateRows rotateRows)
{
    bool waits = false;
    Element last{};
    for (int j = first; j < n; ++j) {
        Element next = fElements[Size(j)];
        if (perColumn * std::fabs(next.z) <= negligible) {
            SetAside(next);
            continue;
        }
        if (waits) {
            const auto [length, c, s] = Direction(next.z, last.z);
            if ((next.value - last.value) * std::fabs(c * s) <= negligible) {
                const double sum = c * c * next.value + s * s * last.value;
                last.value = c * c * last.value + s * s * next.value;
                next.value = sum;
                next.z = length;
                if (next.reach != last.reach) next.reach = last.reach = Reach::Both;
                rotateRows(next.row, last.row, c, s);
                SetAside(last);
            } else {
                Keep(last);
            }
        }
        last = next;
        waits = true;
    }
    if (waits) Keep(last);
}

/// Finds the roots, which replace the values of the kept elements, and the row that has them exactly.
void Mergers::Solve(SecularEquation::Poles kind, double scale)
{
    for (int j = 0; j < fnKept; ++j) {
        const Element& element = fKept[Size(j)];
        fPoles[Size(j)] = element.value;
        fWeights[Size(j)] = scale * (element.z * element.z);
        fZ[Size(j)] = -1.0;
    }
    double* const z = fZ.data();
    const double* const poles = fPoles.data();
    const SecularEquation equation(fPoles.data(), fWeights.data(), fnKept, kind);
    for (int i = 0; i < fnKept; ++i) {
        double* const differences = fDifferences.get() + Size(i) * Size(fnKept);
        fKept[Size(i)].value = equation.FindRoot(i, differences);
        const auto share = [&](int from, int to) {
            const double pole = poles[i];
            if (kind == SecularEquation::Poles::Squared)
                for (int j = from; j < to; ++j) z[j] *= differences[j] / ((poles[j] - pole) * (poles[j] + pole));
            else
                for (int j = from; j < to; ++j) z[j] *= differences[j] / (poles[j] - pole);
        };
        share(0, i);
        z[i] *= differences[i];
        share(i + 1, fnKept);
    }
    for (int j = 0; j < fnKept; ++j) fZ[Size(j)] = std::copysign(std::sqrt(std::fabs(fZ[Size(j)])), fKept[Size(j)].z);
}

/// The same for a single kept element that stands beside the value 0.
void Mergers::SolveSingle()
{
    fZ[0] = std::copysign(1.0, fKept[0].z);
    fKept[0].value = std::fabs(fKept[0].z);
    fDifferences[0] = -1.0;
}

/// Sorts the roots and the deflated values into d and says which row each takes.
void Mergers::PlaceResults(double* d)
{
    const int n = fnKept + fnDeflated;
    const auto value = [this](int i) { return i < fnKept ? fKept[Size(i)].value : fDeflated[Size(i - fnKept)].value; };
    for (int i = 0; i < n; ++i) fOrder[Size(i)] = i;
    std::sort(fOrder.begin(), fOrder.begin() + n,
              [&](int a, int b) { return value(a) < value(b) || (value(a) == value(b) && a < b); });
    for (int k = 0; k < n; ++k) {
        d[k] = value(fOrder[Size(k)]);
        fTarget[Size(fOrder[Size(k)])] = k;
    }
    int place = 0;
    for (const Reach reach : {Reach::Left, Reach::Both, Reach::Right})
        for (int j = 0; j < fnKept; ++j)
            if (fKept[Size(j)].reach == reach) fPlace[Size(j)] = place++;
}

/// Copies the half of the kept rows that reach it, in the order of their places.
/// @return  the end of what was copied
double* Mergers::Gather(const RowBlock& block, Reach half, double* to)
{
    const bool isLeft = half == Reach::Left;
    const int column = isLeft ? 0 : block.leftWidth;
    const int width = isLeft ? block.leftWidth : block.width - block.leftWidth;
    const Reach groups[2] = {isLeft ? Reach::Left : Reach::Both, isLeft ? Reach::Both : Reach::Right};
    for (const Reach group : groups)
        for (int j = 0; j < fnKept; ++j)
            if (fKept[Size(j)].reach == group) to = std::copy_n(block.Row(fKept[Size(j)].row) + column, width, to);
    return to;
}

void Mergers::Multiply(const RowBlock& block, int column, int width, int firstFactor, int nFactors,
                       const double* gathered)
{
    constexpr int kFewFactors = 16; // packing their rows would take longer than it saves
    const auto factors = [&](int r) { return fCombinations.get() + Size(r) * Size(fnKept) + firstFactor; };
    const auto line = [&](int r) { return block.Row(fTarget[Size(r)]) + column; };
    for (int r = 0; r < fnKept; ++r) std::fill_n(line(r), width, 0.0);
    if (nFactors > kFewFactors)
        AddProduct<ZeroFactor::Multiplies>(
            fTiles, fnKept, nFactors, line, [&](int) { return width; }, [&](int r, int k) { return factors(r)[k]; },
            RowsOperand{[&](int k) { return gathered + Size(k) * Size(width); }});
    else
        for (int r = 0; r < fnKept; ++r) AddRows(line(r), gathered, width, Size(nFactors), factors(r), 1, Size(width));
}

/// Makes the rows of the results: row i of those kept is the sum of factor(i, j) * row j over the kept ones, divided by
/// the length of the factors. Every row goes to its place.
template <class Factor>
void Mergers::CombineRows(const RowBlock& block, Factor factor)
{
    for (int i = 0; i < fnKept; ++i) {
        double* const row = fCombinations.get() + Size(i) * Size(fnKept);
        const double* const differences = fDifferences.get() + Size(i) * Size(fnKept);
        double squares = 0.0;
        for (int j = 0; j < fnKept; ++j) fFactors[Size(j)] = factor(j, differences[j]);
        for (int j = 0; j < fnKept; ++j) squares += fFactors[Size(j)] * fFactors[Size(j)];
        const double length = std::sqrt(squares);
        for (int j = 0; j < fnKept; ++j) row[fPlace[Size(j)]] = fFactors[Size(j)] / length;
    }
    double* const left = fGathered.get();
    double* const right = Gather(block, Reach::Left, left);
    double* const others = Gather(block, Reach::Right, right);
    double* end = others;
    for (int j = 0; j < fnDeflated; ++j) end = std::copy_n(block.Row(fDeflated[Size(j)].row), block.width, end);

    const auto count = [this](Reach reach) {
        return static_cast<int>(std::count_if(fKept.begin(), fKept.begin() + fnKept,
                                              [reach](const Element& element) { return element.reach == reach; }));
    };
    const int nLeft = count(Reach::Left);
    const int nRight = count(Reach::Right);
    Multiply(block, 0, block.leftWidth, 0, fnKept - nRight, left);
    Multiply(block, block.leftWidth, block.width - block.leftWidth, nLeft, fnKept - nLeft, right);
    for (int j = 0; j < fnDeflated; ++j)
        std::copy_n(others + Size(j) * Size(block.width), block.width, block.Row(fTarget[Size(fnKept + j)]));
}

class Tridiagonal : private Mergers {
public:
    Tridiagonal(int n, double* d, const double* e, double* vectors, bool endsOnly)
        : Mergers(n, endsOnly), fDiagonal(d), fBeside(e), fVectors(vectors)
    {}

    void Decompose(int first, int n)
    {
        if (n == 1) {
            double* const row = BlockOf(fVectors, first, 1, 1).Row(0);
            std::fill_n(row, fEndsOnly ? 2 : 1, 1.0);
            return;
        }
        const int nLeft = n / 2;
        double* const d = fDiagonal + first;
        const double joining = fBeside[first + nLeft - 1];
        d[nLeft - 1] -= std::fabs(joining);
        d[nLeft] -= std::fabs(joining);
        Decompose(first, nLeft);
        Decompose(first + nLeft, n - nLeft);
        Merge(first, nLeft, n, joining);
    }

private:
    /// The whole is diag(halves) + |joining| * u*u', u being 1 and the sign of joining where the halves meet.
    void Merge(int first, int nLeft, int n, double joining)
    {
        double* const d = fDiagonal + first;
        const RowBlock block = BlockOf(fVectors, first, nLeft, n);
        double largest = std::fabs(joining);
        for (int j = 0; j < n; ++j) {
            const bool isLeft = j < nLeft;
            const double end = block.Meeting(j, isLeft);
            block.Join(j, isLeft);
            fElements[Size(j)] = {d[j], isLeft || joining > 0.0 ? end : -end, j, isLeft ? Reach::Left : Reach::Right};
            largest = std::max(largest, std::fabs(d[j]));
        }
        SortElements(nLeft, n);
        fnKept = fnDeflated = 0;
        Deflate(0, n, std::fabs(joining), NegligibleBeside(largest), [&](int kept, int deflated, double c, double s) {
            Rotate(block.Row(kept), block.Row(deflated), c, s, Size(block.width));
        });
        Solve(SecularEquation::Poles::AsGiven, std::fabs(joining));
        PlaceResults(d);
        CombineRows(block, [this](int j, double difference) { return fZ[Size(j)] / difference; });
    }

    double* fDiagonal;
    const double* fBeside;
    double* fVectors;
};

class Bidiagonal : private Mergers {
public:
    Bidiagonal(int n, double* d, const double* e, double* left, double* right, bool endsOnly)
        : Mergers(n, endsOnly), fDiagonal(d), fAbove(e), fLeft(left), fRight(right)
    {}

    /// Rows first .. first + n - 1, which have one column more than rows when they are wide: a further right vector, the
    /// last, is then that of the value 0 which this adds.
    void Decompose(int first, int n, bool wide)
    {
        double* const d = fDiagonal + first;
        if (n <= 1) {
            DecomposeRow(first, n, wide);
            return;
        }
        const int nLeft = (n - 1) / 2;
        const double own = d[nLeft]; // the row between the halves
        const double beside = fAbove[first + nLeft];
        Decompose(first, nLeft, true);
        Decompose(first + nLeft + 1, n - nLeft - 1, wide);
        Merge(first, nLeft, n, wide, own, beside);
    }

private:
    void DecomposeRow(int first, int n, bool wide)
    {
        const RowBlock v = BlockOf(fRight, first, 1, 1);
        const int last = fEndsOnly ? 1 : static_cast<int>(wide); // column of the last element
        if (n == 0) {
            if (wide) v.Row(0)[0] = v.Row(0)[fEndsOnly ? 1 : 0] = 1.0;
            return;
        }
        double& value = fDiagonal[first];
        const Direction direction(value, wide ? fAbove[first] : 0.0);
        v.Row(0)[0] = direction.c;
        v.Row(0)[last] = wide ? direction.s : direction.c;
        if (wide) {
            v.Row(1)[0] = -direction.s;
            v.Row(1)[last] = direction.c;
        }
        if (!fEndsOnly) *BlockOf(fLeft, first, 1, 1).Row(0) = 1.0;
        value = direction.length;
    }

    /// The whole is a matrix with the values of the halves on its diagonal, a 0 in place of the row between them, and
    /// that row, as it stands on their right vectors, in full.
    void Merge(int first, int nLeft, int n, bool wide, double own, double beside)
    {
        double* const d = fDiagonal + first;
        const int nColumns = n + static_cast<int>(wide);
        const RowBlock u = fEndsOnly ? RowBlock{} : BlockOf(fLeft, first, nLeft + 1, n);
        const RowBlock v = BlockOf(fRight, first, nLeft + 1, nColumns);
        if (!fEndsOnly) u.Row(nLeft)[nLeft] = 1.0;
        double z = own * v.Meeting(nLeft, true);
        v.Join(nLeft, true);
        if (wide) {
            const Direction joining(z, beside * v.Meeting(n, false));
            v.Join(n, false);
            Rotate(v.Row(nLeft), v.Row(n), joining.c, joining.s, Size(v.width));
            z = joining.length;
        }

        double largest = std::max(std::fabs(own), std::fabs(beside));
        for (int k = 0; k < n - 1; ++k) {
            const bool isLeft = k < nLeft;
            const int j = isLeft ? k : k + 1;
            const double end = (isLeft ? own : beside) * v.Meeting(j, isLeft);
            v.Join(j, isLeft);
            fElements[Size(k)] = {d[j], end, j, isLeft ? Reach::Left : Reach::Right};
            largest = std::max(largest, d[j]);
        }
        const double negligible = NegligibleBeside(largest);
        SortElements(nLeft, n - 1);
        fnKept = fnDeflated = 0;
        Keep({0.0, z, nLeft, wide ? Reach::Both : Reach::Left});
        Deflate(0, n - 1, 1.0, negligible, [&](int kept, int deflated, double c, double s) {
            if (!fEndsOnly) Rotate(u.Row(kept), u.Row(deflated), c, s, Size(n));
            Rotate(v.Row(kept), v.Row(deflated), c, s, Size(v.width));
        });
        if (fnKept == 1) {
            SolveSingle();
        } else {
            // The equation needs a first component and a first gap.
            if (std::fabs(z) < negligible) fKept[0].z = std::copysign(negligible, z);
            fKept[1].value = std::max(fKept[1].value, 0.5 * negligible);
            Solve(SecularEquation::Poles::Squared, 1.0);
        }
        PlaceResults(d);
        CombineRows(v, [this](int j, double difference) { return fZ[Size(j)] / difference; });
        if (fEndsOnly) return;
        CombineRows(u, [this](int j, double difference) {
            return j == 0 ? -1.0 : fPoles[Size(j)] * (fZ[Size(j)] / difference);
        });
    }

    double* fDiagonal;
    const double* fAbove;
    double* fLeft;
    double* fRight;
};

} // namespace

void DecomposeTridiagonal(int n, double* d, const double* e, double* vectors)
{
    std::vector<double> ends(vectors == nullptr ? 2 * Size(n) : 0);
    Tridiagonal(n, d, e, vectors == nullptr ? ends.data() : vectors, vectors == nullptr).Decompose(0, n);
}

void DecomposeBidiagonal(int n, double* d, const double* e, double* left, double* right)
{
    std::vector<double> ends(right == nullptr ? 2 * Size(n) : 0);
    Bidiagonal(n, d, e, left, right == nullptr ? ends.data() : right, right == nullptr).Decompose(0, n, false);
}

} // namespace MCMath_930::internal
