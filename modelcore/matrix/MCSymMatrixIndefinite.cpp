// MCSymMatrix: determinant and solutions where the matrix need not be positive definite.
#include "modelcore/matrix/MCSymMatrix.h"

#include "modelcore/linalg/Linpack.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

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

// Bunch and Parlett (1971): a pivot of order 1 when the largest diagonal element is at least alpha times the largest of
// all, else the block of order 2 around the largest one. Such pivots show the rank; partial pivoting does not.
int MCSymMatrix::SolveIndefiniteGI(const std::vector<double>& b, std::vector<double>& x, double tol) const
{
    if (!(tol >= 0.0) || !Fits(b)) return -1;
    MCSymMatrix c(*this); // what is left to eliminate; rows of earlier pivots keep their multipliers' numerators
    std::vector<double> rest(b.begin(), b.begin() + fnRows);
    std::vector<int> order(static_cast<std::size_t>(fnRows));
    std::iota(order.begin(), order.end(), 0);
    const auto row = [&](int position) { return order[static_cast<std::size_t>(position)]; };
    const auto at = [&](int i, int j) { return c.GetElem(row(i), row(j)); };
    const auto restAt = [&](int i) -> double& { return rest[static_cast<std::size_t>(row(i))]; };
    const auto bring = [&](int from, int to) {
        std::swap(order[static_cast<std::size_t>(from)], order[static_cast<std::size_t>(to)]);
    };

    double largestElement = 0.0;
    for (const double element : fvElem) largestElement = std::max(largestElement, std::fabs(element));
    const double alpha = (1.0 + std::sqrt(17.0)) / 8.0;
    std::vector<int> sizes;
    int rank = 0;
    while (rank < fnRows) {
        int diagonal = rank;
        int first = rank;
        int second = rank;
        for (int i = rank; i < fnRows; ++i) {
            if (std::fabs(at(i, i)) > std::fabs(at(diagonal, diagonal))) diagonal = i;
            for (int j = rank; j < i; ++j)
                if (std::fabs(at(i, j)) > std::fabs(at(first, second))) first = i, second = j;
        }
        const double onDiagonal = std::fabs(at(diagonal, diagonal));
        const double anywhere = std::max(onDiagonal, std::fabs(at(first, second)));
        if (!(anywhere > tol * largestElement)) break;

        const int size = onDiagonal >= alpha * anywhere ? 1 : 2;
        if (size == 1) {
            bring(diagonal, rank);
        } else { // second < first, so that the exchange for second does not move first
            bring(second, rank);
            bring(first, rank + 1);
        }
        const int p = rank;
        const int q = rank + 1;
        const double det = size == 2 ? at(p, p) * at(q, q) - at(p, q) * at(p, q) : 0.0;
        for (int i = rank + size; i < fnRows; ++i) {
            const double u = size == 1 ? at(i, p) / at(p, p) : (at(i, p) * at(q, q) - at(i, q) * at(p, q)) / det;
            const double v = size == 1 ? 0.0 : (at(i, q) * at(p, p) - at(i, p) * at(p, q)) / det;
            for (int j = rank + size; j <= i; ++j) {
                double updated = at(i, j) - u * at(j, p);
                if (size == 2) updated -= v * at(j, q);
                c.SetElem(row(i), row(j), updated);
            }
            restAt(i) -= u * restAt(p);
            if (size == 2) restAt(i) -= v * restAt(q);
        }
        sizes.push_back(size);
        rank += size;
    }

    std::vector<double> solution(static_cast<std::size_t>(fnRows));
    const auto solutionAt = [&](int i) -> double& { return solution[static_cast<std::size_t>(row(i))]; };
    int p = rank;
    for (auto size = sizes.rbegin(); size != sizes.rend(); ++size) {
        p -= *size;
        const int q = p + 1;
        for (int i = p; i < p + *size; ++i)
            for (int j = p + *size; j < rank; ++j) restAt(i) -= at(i, j) * solutionAt(j);
        if (*size == 1) {
            solutionAt(p) = restAt(p) / at(p, p);
        } else {
            const double det = at(p, p) * at(q, q) - at(p, q) * at(p, q);
            solutionAt(p) = (restAt(p) * at(q, q) - restAt(q) * at(p, q)) / det;
            solutionAt(q) = (restAt(q) * at(p, p) - restAt(p) * at(p, q)) / det;
        }
    }
    x.swap(solution);
    return rank;
}

} // namespace MCMath_930
