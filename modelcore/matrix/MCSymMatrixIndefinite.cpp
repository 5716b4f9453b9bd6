// MCSymMatrix: determinant and solutions where the matrix need not be positive definite.
#include "modelcore/matrix/MCSymMatrix.h"

#include "modelcore/linalg/Linpack.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <tuple>
#include <utility>
#include <vector>

namespace MCMath_930 {

namespace {

/// Dspco's factors: columns of the upper triangle, which are the rows of the lower one.
struct IndefiniteFactor {
    IndefiniteFactor(const MCSymMatrix& matrix)
        : elements(matrix.AsSpan().begin(), matrix.AsSpan().end()), pivots(static_cast<std::size_t>(matrix.GetNRows())),
          work(pivots.size()), rcond(Linpack::Dspco(elements.data(), matrix.GetNRows(), pivots.data(), work.data()))
    {}

    std::vector<double> elements;
    std::vector<int> pivots;
    std::vector<double> work;
    double rcond;
};

} // namespace

bool MCSymMatrix::ComputeDeterminant(double tol, double* det) const
{
    if (fnRows < 1 || !(tol >= 0.0)) return false;
    IndefiniteFactor factor(*this);
    det[0] = det[1] = 0.0;
    // An estimate of 0 can be one that underflowed: with tol 0 the pivots say what is singular.
    if (tol > 0.0 && factor.rcond <= tol) return true;
    int inertia[3];
    Linpack::Dspdi(factor.elements.data(), fnRows, factor.pivots.data(), det, inertia, factor.work.data(), 10);
    if (det[0] == 0.0) det[1] = 0.0;
    return true;
}

bool MCSymMatrix::SolveIndefinite(const std::vector<double>& b, std::vector<double>& x, double tol) const
{
    if (fnRows < 1 || !(tol >= 0.0) || !Fits(b)) return false;
    const IndefiniteFactor factor(*this);
    if (!(factor.rcond > tol)) return false;
    std::vector<double> solution(b.begin(), b.begin() + fnRows);
    Linpack::Dspsl(factor.elements.data(), fnRows, factor.pivots.data(), solution.data());
    x.swap(solution);
    return true;
}

namespace {

/// A pivot of order 2, rows p and q.
struct Block {
    double pp, qq, pq;

    /// The solution (x, y) for the right side (a, b).
    std::pair<double, double> Solve(double a, double b) const
    {
        const double det = pp * qq - pq * pq;
        return {(a * qq - b * pq) / det, (b * pp - a * pq) / det};
    }
};

/// Elimination on a copy of a symmetric system. Positions number the rows in the order of the pivots.
///
/// Bunch and Parlett (1971): a pivot of order 1 when the largest diagonal element is at least alpha times the largest of
/// all, else the block of order 2 around the largest one. Such pivots show the rank; partial pivoting does not.
class CompletePivoting {
public:
    CompletePivoting(const MCSymMatrix& S, const std::vector<double>& b)
        : fn(S.GetNRows()), fmRest(S), fvRight(b.begin(), b.begin() + fn), fvRow(fvRight.size())
    {
        std::iota(fvRow.begin(), fvRow.end(), 0);
    }

    /// Eliminates until no element that remains is larger than `smallest`. Returns the rank.
    int Eliminate(double smallest)
    {
        for (int size = BringPivot(smallest); size > 0; size = BringPivot(smallest)) {
            if (size == 1)
                EliminateOne();
            else
                EliminateTwo();
            fvSizes.push_back(size);
            fnRank += size;
        }
        return fnRank;
    }

    /// The solution by row numbers: 0 for the rows that are left.
    std::vector<double> Solve()
    {
        std::vector<double> solution(fvRight.size());
        int p = fnRank;
        for (auto size = fvSizes.rbegin(); size != fvSizes.rend(); ++size) {
            const int end = p;
            p -= *size;
            for (int i = p; i < end; ++i)
                for (int j = end; j < fnRank; ++j) Right(i) -= At(i, j) * solution[Row(j)];
            if (*size == 1)
                solution[Row(p)] = Right(p) / At(p, p);
            else
                std::tie(solution[Row(p)], solution[Row(p + 1)]) = BlockAt(p).Solve(Right(p), Right(p + 1));
        }
        return solution;
    }

private:
    std::size_t Row(int position) const { return static_cast<std::size_t>(fvRow[static_cast<std::size_t>(position)]); }
    double At(int i, int j) const { return fmRest.GetElem(static_cast<int>(Row(i)), static_cast<int>(Row(j))); }
    double& Right(int i) { return fvRight[Row(i)]; }
    Block BlockAt(int p) const { return {At(p, p), At(p + 1, p + 1), At(p, p + 1)}; }
    void Exchange(int i, int j) { std::swap(fvRow[static_cast<std::size_t>(i)], fvRow[static_cast<std::size_t>(j)]); }

    /// Brings the next pivot to position fnRank. Returns its order, 0 when there is none.
    int BringPivot(double smallest)
    {
        static const double alpha = (1.0 + std::sqrt(17.0)) / 8.0;
        if (fnRank == fn) return 0;
        int diagonal = fnRank;
        int first = fnRank;
        int second = fnRank;
        for (int i = fnRank; i < fn; ++i) {
            if (std::fabs(At(i, i)) > std::fabs(At(diagonal, diagonal))) diagonal = i;
            for (int j = fnRank; j < i; ++j)
                if (std::fabs(At(i, j)) > std::fabs(At(first, second))) first = i, second = j;
        }
        const double onDiagonal = std::fabs(At(diagonal, diagonal));
        const double anywhere = std::max(onDiagonal, std::fabs(At(first, second)));
        if (!(anywhere > smallest)) return 0;
        if (onDiagonal >= alpha * anywhere) {
            Exchange(diagonal, fnRank);
            return 1;
        }
        Exchange(second, fnRank); // second < first: this does not move first
        Exchange(first, fnRank + 1);
        return 2;
    }

    void EliminateOne()
    {
        const int p = fnRank;
        for (int i = p + 1; i < fn; ++i) {
            const double u = At(i, p) / At(p, p);
            for (int j = p + 1; j <= i; ++j) Subtract(i, j, u * At(j, p));
            Right(i) -= u * Right(p);
        }
    }

    void EliminateTwo()
    {
        const int p = fnRank;
        const int q = p + 1;
        const Block block = BlockAt(p);
        for (int i = q + 1; i < fn; ++i) {
            const auto [u, v] = block.Solve(At(i, p), At(i, q));
            for (int j = q + 1; j <= i; ++j) {
                Subtract(i, j, u * At(j, p));
                Subtract(i, j, v * At(j, q));
            }
            Right(i) -= u * Right(p);
            Right(i) -= v * Right(q);
        }
    }

    void Subtract(int i, int j, double x)
    {
        fmRest.SetElem(static_cast<int>(Row(i)), static_cast<int>(Row(j)), At(i, j) - x);
    }

    int fn;
    int fnRank = 0;
    MCSymMatrix fmRest; // rows of earlier pivots keep the numerators of their multipliers
    std::vector<double> fvRight;
    std::vector<int> fvRow; // by position
    std::vector<int> fvSizes;
};

} // namespace

int MCSymMatrix::SolveIndefiniteGI(const std::vector<double>& b, std::vector<double>& x, double tol) const
{
    if (!(tol >= 0.0) || !Fits(b)) return -1;
    double largest = 0.0;
    for (const double element : fvElem) {
        if (!std::isfinite(element)) return -1;
        largest = std::max(largest, std::fabs(element));
    }
    CompletePivoting system(*this, b);
    const int rank = system.Eliminate(tol * largest);
    x = system.Solve();
    return rank;
}

} // namespace MCMath_930
