// MCRectMatrix: solution of square systems and the QR decomposition, by LINPACK.
#include "modelcore/matrix/MCRectMatrix.h"

#include "modelcore/linalg/Linpack.h"

#include <algorithm>

namespace MCMath_930 {

bool MCRectMatrix::SolveLinearSquare(const std::vector<double>& b, std::vector<double>& x, double tol) const
{
    if (fnRows != fnCols || fnRows < 1 || !(tol >= 0.0) || b.size() < ColLength()) return false;
    // The rows of this matrix are the columns of the one that is factored, its transpose; job 1 solves with the
    // transpose of that.
    std::vector<double> factor(fvElem);
    std::vector<double> solution(b.begin(), b.begin() + fnRows);
    std::vector<double> work(solution);
    std::vector<int> pivots(ColLength());
    if (!(Linpack::Dgeco(factor.data(), fnRows, fnRows, pivots.data(), work.data()) > tol)) return false;
    Linpack::Dgesl(factor.data(), fnRows, fnRows, pivots.data(), solution.data(), 1);
    x.swap(solution);
    return true;
}

bool MCRectMatrix::QRDecompositionH(MCRectMatrix& Q, MCRectMatrix& R) const
{
    const int m = std::min(fnRows, fnCols);
    if (m < 1) return false;
    std::vector<double> columns(fvElem.size());
    CopyToColMajor(columns.data());
    std::vector<double> qraux(RowLength());
    Linpack::Dqrdc(columns.data(), fnRows, fnRows, fnCols, qraux.data(), nullptr, nullptr, 0);

    MCRectMatrix upper(m, fnCols);
    for (int j = 0; j < fnCols; ++j)
        for (int i = 0; i <= std::min(j, m - 1); ++i)
            upper.SetElem(i, j, columns[static_cast<std::size_t>(j) * ColLength() + static_cast<std::size_t>(i)]);
    MCRectMatrix orthonormal(fnRows, m);
    std::vector<double> column(ColLength());
    for (int j = 0; j < m; ++j) {
        std::fill(column.begin(), column.end(), 0.0);
        column[static_cast<std::size_t>(j)] = 1.0;
        double* const unused = nullptr;
        Linpack::Dqrsl(columns.data(), fnRows, fnRows, m, qraux.data(), column.data(), column.data(), unused, unused,
                       unused, unused, 10000);
        for (int i = 0; i < fnRows; ++i) orthonormal.SetElem(i, j, column[static_cast<std::size_t>(i)]);
    }
    Q = std::move(orthonormal);
    R = std::move(upper);
    return true;
}

} // namespace MCMath_930
