// MCSymMatrix: the Cholesky factor with tolerance, its inverse, solutions, update and downdate.
#include "modelcore/matrix/MCSymMatrix.h"

#include "modelcore/common/MCBitSet.h"
#include "modelcore/kernels/OrderedCholesky.h"
#include "modelcore/linalg/internal/LinpackTriangle.h"
#include "modelcore/matrix/internal/FactorDeterminant.h"
#include "modelcore/matrix/internal/ReferenceDiagonal.h"
#include "modelcore/matrix/internal/RowProducts.h"
#include "modelcore/matrix/internal/TriangleProducts.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <numeric>
#include <utility>

namespace MCMath_930 {

using internal::DotInOrder;

namespace {

constexpr int kOrderForInverse = 28; // below, turning the triangle does not pay

} // namespace

int MCSymMatrix::LTChol(const std::vector<double>& refDiag, double tol, bool check)
{
    MCBitSet kept;
    return LTChol(refDiag, tol, kept, check);
}

int MCSymMatrix::LTChol(const std::vector<double>& refDiag, double tol, MCBitSet& kept, bool check)
{
    if (check && !internal::CholeskyArgumentsValid(refDiag, tol, fnRows)) return -1;
    if (kept.Size() < fnRows) kept.Resize(fnRows);
    kept.Clear();
    const auto least = [&](int i) { return tol * refDiag[static_cast<std::size_t>(i)]; };
    const auto line = [this](int i) { return Row(i); };
    if (fnRows >= internal::OrderedCholesky<decltype(line)>::kSmallestOrder) {
        internal::OrderedCholesky blocked(line, fnRows);
        if (blocked.HasWorkspace()) {
            blocked.Factor(least);
            for (int i = 0; i < fnRows; ++i) kept.Set(i, Row(i)[i] != 0.0);
            return fnRows - kept.Count();
        }
    }
    for (int i = 0; i < fnRows; ++i) {
        double* const row = Row(i);
        for (int j = 0; j < i; ++j) {
            const double* const other = Row(j);
            row[j] = other[j] == 0.0 ? 0.0 : (row[j] - DotInOrder(row, other, static_cast<std::size_t>(j))) / other[j];
        }
        const double d = row[i] - DotInOrder(row, row, static_cast<std::size_t>(i));
        const bool keep = d > least(i);
        kept.Set(i, keep);
        row[i] = keep ? std::sqrt(d) : 0.0;
    }
    return fnRows - kept.Count();
}

namespace {

/// The triangle turned by half a circle: element (i, j) of a lower one is element (n-1-i, n-1-j) of an upper one, held
/// column by column. Dtrdi works on the one from the last row to the first as it works on the other from the first
/// column to the last.
class TurnedTriangle {
public:
    explicit TurnedTriangle(int n) : fn(n), fvColumns(static_cast<std::size_t>(n) * static_cast<std::size_t>(n + 1) / 2)
    {}

    double* operator()(int j)
    {
        const auto column = static_cast<std::size_t>(j);
        return fvColumns.data() + column * (column + 1) / 2;
    }

    /// Calls visit(turned, element) for all elements of the lower triangle, whose row i is row(i); in square tiles, so
    /// that both sides stay in cache.
    template <class Row, class Visit>
    void ForEach(Row row, Visit visit)
    {
        constexpr int kTile = 16;
        for (int i0 = 0; i0 < fn; i0 += kTile)
            for (int j0 = 0; j0 <= i0; j0 += kTile)
                for (int i = i0; i < std::min(fn, i0 + kTile); ++i) {
                    double* const elements = row(i);
                    for (int j = j0; j <= std::min(i, j0 + kTile - 1); ++j)
                        visit((*this)(fn - 1 - j)[fn - 1 - i], elements[j]);
                }
    }

private:
    int fn;
    std::vector<double> fvColumns;
};

} // namespace

// Redundant rows are cut out of the triangle, a 1 on the diagonal in their place, and are 0 in the end. False, and nothing
// changed, when there is no memory for it.
bool MCSymMatrix::InvertFactorByBlocks()
{
    try {
        std::vector<int> redundant;
        for (int i = 0; i < fnRows; ++i)
            if (Row(i)[i] == 0.0) redundant.push_back(i);
        TurnedTriangle turned(fnRows);
        const auto columns = [&turned](int j) { return turned(j); };
        for (const int k : redundant) {
            ZeroOutRow(k);
            Row(k)[k] = 1.0;
        }
        const auto row = [this](int i) { return Row(i); };
        turned.ForEach(row, [](double& to, double& from) { to = from; });
        internal::InvertUpper(columns, fnRows, fnRows);
        turned.ForEach(row, [](double& from, double& to) { to = from; });
        for (const int k : redundant) ZeroOutRow(k);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

// Dtrdi for a lower triangle works down the columns; along the rows each element receives the same terms in the same
// order. Its column additions skip a factor of 0, which the loops here must do as well.
void MCSymMatrix::InvertFactorByRows()
{
    for (int k = fnRows - 1; k >= 0; --k) {
        double* const factors = Row(k);
        if (factors[k] == 0.0) {
            ZeroOutRow(k);
            continue;
        }
        factors[k] = 1.0 / factors[k];
        const bool someZero = std::find(factors, factors + k, 0.0) != factors + k;
        for (int i = k + 1; i < fnRows; ++i) {
            double* const row = Row(i);
            if (row[i] == 0.0) continue; // a redundant row stays 0
            row[k] *= -factors[k];
            if (!someZero)
                internal::AddScaled(row, row[k], factors, static_cast<std::size_t>(k));
            else
                for (int j = 0; j < k; ++j)
                    if (factors[j] != 0.0) row[j] += factors[j] * row[k];
        }
        // Row k itself at last: the others needed its elements. Its terms are added to 0, which keeps a -0.0 out.
        for (int j = 0; j < k; ++j) factors[j] = factors[j] == 0.0 ? 0.0 : 0.0 + factors[j] * factors[k];
    }
}

int MCSymMatrix::LTDetInverse(double det[2], int job)
{
    const auto diagonal = [this](int i) { return Row(i)[i]; };
    int zeros = 0;
    for (int i = 0; i < fnRows; ++i) zeros += diagonal(i) == 0.0 ? 1 : 0;
    if (job % 10 != 0) internal::SetFactorDeterminant(det, fnRows, zeros, diagonal);
    if (job / 10 % 10 == 0) return zeros;
    if (fnRows < kOrderForInverse || !InvertFactorByBlocks()) InvertFactorByRows();
    return zeros;
}

bool MCSymMatrix::LTInverse()
{
    LTDetInverse(nullptr, 10);
    return true;
}

int MCSymMatrix::CholInverse(const std::vector<double>& refDiag, double tol, IMCSymMatrix& out) const
{
    if (!IsPacked(out) || !Fits(refDiag)) return -1;
    auto& inverse = static_cast<MCSymMatrix&>(out);
    MCBitSet kept;
    try {
        kept.Resize(fnRows);
        if (&inverse != this) inverse = *this;
    } catch (const std::bad_alloc&) {
        if (&inverse != this) {
            inverse.ClearAll();
            inverse.fnRows = -1;
        }
        return -1;
    }
    // What follows does without the memory that it does not get.
    const int refused = inverse.LTChol(refDiag, tol, kept, false);
    if (refused < 0) return refused;
    inverse.LTInverse();
    inverse.LTLTransL();
    return inverse.fnRows - refused;
}

int MCSymMatrix::CholIndNonRed(const std::vector<double>& refDiag, double tol, std::vector<int>& rows) const
{
    MCSymMatrix factor(*this);
    MCBitSet kept(fnRows);
    const int refused = factor.LTChol(refDiag, tol, kept, true);
    if (refused < 0) return refused;
    rows = kept.Members();
    return fnRows - refused;
}

void MCSymMatrix::SubstituteForward(double* x) const
{
    for (int i = 0; i < fnRows; ++i) {
        const double* const row = Row(i);
        x[i] = row[i] == 0.0 ? 0.0 : (x[i] - DotInOrder(row, x, static_cast<std::size_t>(i))) / row[i];
    }
}

void MCSymMatrix::SubstituteBack(double* x) const
{
    for (int i = fnRows - 1; i >= 0; --i) {
        const double* const row = Row(i);
        x[i] = row[i] == 0.0 ? 0.0 : x[i] / row[i];
        if (x[i] != 0.0) internal::AddScaled(x, -x[i], row, static_cast<std::size_t>(i));
    }
}

bool MCSymMatrix::LTSubstitute(const std::vector<double>& b, std::vector<double>& x) const
{
    if (!Fits(b)) return false;
    std::vector<double> solution(b.begin(), b.begin() + fnRows);
    SubstituteForward(solution.data());
    x.swap(solution);
    return true;
}

bool MCSymMatrix::TSolveSubst(const std::vector<double>& b, std::vector<double>& x) const
{
    if (!Fits(b)) return false;
    std::vector<double> solution(b.begin(), b.begin() + fnRows);
    SubstituteBack(solution.data());
    x.swap(solution);
    return true;
}

bool MCSymMatrix::LTSolve(const std::vector<double>& b, std::vector<double>& x) const
{
    if (!Fits(b)) return false;
    std::vector<double> solution(b.begin(), b.begin() + fnRows);
    SubstituteForward(solution.data());
    SubstituteBack(solution.data());
    x.swap(solution);
    return true;
}

// From the last element to the first: what the sums still need stands before it.
void MCSymMatrix::LTLLTrans()
{
    if (fnRows >= kOrderForBlocks && internal::AllFinite(fvElem.data(), fvElem.size()) && MultiplyByOwnTranspose())
        return;
    for (int i = fnRows - 1; i >= 0; --i)
        for (int j = i; j >= 0; --j) Row(i)[j] = DotInOrder(Row(i), Row(j), static_cast<std::size_t>(j) + 1);
}

// The same by groups of rows, of which a copy, spelled out with zeros, stands for both factors. False, and nothing
// changed, when there is no memory for it.
bool MCSymMatrix::MultiplyByOwnTranspose()
{
    constexpr int kGroup = 96;
    const internal::TileWorkspace work(fnRows);
    const internal::AlignedDoubles copy = internal::MakeAlignedDoubles(kGroup * Order());
    if (!work || copy == nullptr) return false;
    for (int first = (fnRows - 1) / kGroup * kGroup; first >= 0; first -= kGroup) {
        const int end = std::min(fnRows, first + kGroup);
        const auto copied = [&](int i) { return copy.get() + static_cast<std::ptrdiff_t>(i - first) * fnRows; };
        for (int i = first; i < end; ++i) {
            std::fill(std::copy_n(Row(i), i + 1, copied(i)), copied(i) + end, 0.0);
            std::fill_n(Row(i), i + 1, 0.0);
        }
        internal::AddProductWithLTrans(
            work, end - first, end, [&](int r) { return Row(first + r); }, [&](int r) { return first + r + 1; },
            [&](int r, int k) { return copied(first + r)[k]; }, [&](int j) { return j < first ? Row(j) : copied(j); });
    }
    return true;
}

void MCSymMatrix::LTLTransL()
{
    const internal::TileWorkspace work(fnRows >= kOrderForBlocks ? fnRows : 0);
    MultiplyRowsByTransposed(fnRows >= kOrderForBlocks && work ? &work : nullptr, 0, fnRows);
}

// Row m of L adds its products to the rows above before it becomes the first term of its own. Of two halves of the rows
// the lower one is still L when the upper one, finished in itself, receives its terms.
void MCSymMatrix::MultiplyRowsByTransposed(const internal::TileWorkspace* work, int first, int last)
{
    constexpr int kNarrow = 16;
    if (work != nullptr && last - first > kNarrow) {
        const int half = first + (last - first) / 2;
        MultiplyRowsByTransposed(work, first, half);
        internal::AddProduct<internal::ZeroFactor::Multiplies>(
            *work, half - first, last - half, [=, this](int r) { return Row(first + r); },
            [=](int r) { return first + r + 1; }, [=, this](int r, int k) { return Row(half + k)[first + r]; },
            internal::RowsOperand{[=, this](int k) { return Row(half + k); }});
        MultiplyRowsByTransposed(work, half, last);
        return;
    }
    for (int m = first; m < last; ++m) {
        double* const row = Row(m);
        for (int i = first; i < m; ++i) internal::AddScaled(Row(i), row[i], row, static_cast<std::size_t>(i) + 1);
        const double pivot = row[m];
        for (int j = 0; j <= m; ++j) row[j] *= pivot;
    }
}

namespace {

struct Rotation {
    double c;
    double s;
};

/// The rotation that takes (a, b) to (length, 0), and the length, >= 0. The scale keeps the squares in range.
Rotation RotationOf(double a, double b, double& length)
{
    const double scale = std::fabs(a) + std::fabs(b);
    if (scale == 0.0) {
        length = 0.0;
        return {1.0, 0.0};
    }
    length = scale * std::sqrt((a / scale) * (a / scale) + (b / scale) * (b / scale));
    return {a / length, b / length};
}

} // namespace

// Row i of L is column i of the upper factor that Dchud updates.
bool MCSymMatrix::LTCholUpdateR1(const std::vector<double>& v)
{
    if (!Fits(v)) return false;
    std::vector<Rotation> rotations(static_cast<std::size_t>(fnRows));
    for (int i = 0; i < fnRows; ++i) {
        double* const row = Row(i);
        double x = v[static_cast<std::size_t>(i)];
        for (int j = 0; j < i; ++j) {
            const auto [c, s] = rotations[static_cast<std::size_t>(j)];
            const double turned = c * row[j] + s * x;
            x = c * x - s * row[j];
            row[j] = turned;
        }
        rotations[static_cast<std::size_t>(i)] = RotationOf(row[i], x, row[i]);
    }
    return true;
}

bool MCSymMatrix::LTCholDowndate(const std::vector<double>& v)
{
    std::vector<double> a;
    for (int i = 0; i < fnRows; ++i)
        if (Row(i)[i] == 0.0) return false;
    if (!LTSubstitute(v, a)) return false;
    double alpha = 1.0 - DotInOrder(a.data(), a.data(), a.size());
    if (!(alpha > 0.0)) return false;
    alpha = std::sqrt(alpha);

    std::vector<Rotation> rotations(a.size());
    for (std::size_t i = a.size(); i-- > 0;) {
        double length = 0.0;
        rotations[i] = RotationOf(alpha, a[i], length);
        alpha = length;
    }
    for (int i = 0; i < fnRows; ++i) {
        double* const row = Row(i);
        double x = 0.0;
        for (int j = i; j >= 0; --j) {
            const auto [c, s] = rotations[static_cast<std::size_t>(j)];
            const double turned = c * x + s * row[j];
            row[j] = c * row[j] - s * x;
            x = turned;
        }
    }
    return true;
}

int MCSymMatrix::TransformToPositiveDefinite(double delta)
{
    const auto finite = [](double x) { return std::isfinite(x); };
    if (!(delta > 0.0) || !std::all_of(fvElem.begin(), fvElem.end(), finite)) return -1;
    double diagonal = 0.0; // gamma and xi of the publication
    double offDiagonal = 0.0;
    for (int i = 0; i < fnRows; ++i) {
        diagonal = std::max(diagonal, std::fabs(Row(i)[i]));
        for (int j = 0; j < i; ++j) offDiagonal = std::max(offDiagonal, std::fabs(Row(i)[j]));
    }
    const bool isNull = diagonal + offDiagonal == 0.0;
    const double smallest = delta * (isNull ? 1.0 : diagonal + offDiagonal);
    const double n = fnRows;
    const double betaSquared = isNull || fnRows < 2 ? 1.0 : std::max(diagonal, offDiagonal / std::sqrt(n * n - 1.0));

    // Elimination with the largest remaining diagonal element as pivot; c holds what is left of the matrix.
    MCSymMatrix c(*this);
    std::vector<int> order(Order());
    std::iota(order.begin(), order.end(), 0);
    const auto left = [&](int i) { return std::fabs(c.GetElem(i, i)); };
    int raised = 0;
    for (auto pivot = order.begin(); pivot != order.end(); ++pivot) {
        std::iter_swap(pivot, std::max_element(pivot, order.end(), [&](int i, int j) { return left(i) < left(j); }));
        const int p = *pivot;
        double theta = 0.0;
        for (auto i = pivot + 1; i != order.end(); ++i) theta = std::max(theta, std::fabs(c.GetElem(*i, p)));
        const double d = std::max({smallest, left(p), theta * theta / betaSquared});
        if (d > c.GetElem(p, p)) {
            Row(p)[p] += d - c.GetElem(p, p);
            ++raised;
        }
        for (auto i = pivot + 1; i != order.end(); ++i)
            for (auto j = pivot + 1; j <= i; ++j)
                c.SetElem(*i, *j, c.GetElem(*i, *j) - c.GetElem(*i, p) * c.GetElem(*j, p) / d);
    }
    return raised;
}

} // namespace MCMath_930
