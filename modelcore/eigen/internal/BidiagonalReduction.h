// Reduction of a rectangular matrix to bidiagonal form by reflections, and its way back.
#pragma once

#include "modelcore/eigen/internal/RowReflections.h"

#include <cstddef>
#include <vector>

namespace MCMath_930::internal {

/// A matrix with at least as many rows as columns, stored column by column, becomes upper bidiagonal: A = U*B*V'.
///
/// When there are many more rows than columns the matrix is first reduced to a triangle (Chan, ACM Trans. Math. Softw. 8,
/// 1982). Half of the reduction to bidiagonal form is in matrix products, half in products with vectors (Dongarra,
/// Hammarling and Sorensen, J. Comput. Appl. Math. 27, 1989). What a reflection would have to eliminate counts as 0 when
/// it is shorter than 2^-400, since squares would underflow.
class BidiagonalReduction {
public:
    /// @param columns  nColumns columns of nRows >= nColumns > 0 elements, whose largest magnitude is in [1, 2)
    BidiagonalReduction(std::vector<double> columns, int nRows, int nColumns);

    double* Diagonal() { return fDiagonal.data(); }
    const double* Above() const { return fAbove.data(); }

    /// Rows of nRows (nColumns) elements become those of what they stand for before the reduction: each is multiplied by
    /// U' (V') from the right.
    void TakeBackLeft(double* rows, int nRows) const;
    void TakeBackRight(double* rows, int nRows) const;

private:
    /// Reflection i of `count` stands `stride` after the one before, its elements i + shift .. length - 1.
    struct Reflections {
        const double* vectors;
        int stride;
        int shift;
        int count;
        int length;
    };

    void ReduceToTriangle();
    void ReducePanel(int first, int last);
    static void TakeBack(const Reflections& made, double* rows, int stride, int nRows);
    double* Column(int j) { return fMatrix.data() + Offset(j, fnRows); }
    static std::size_t Offset(int line, int stride)
    {
        return static_cast<std::size_t>(line) * static_cast<std::size_t>(stride);
    }

    int fnRows; // of what is reduced to bidiagonal form
    int fnColumns;
    int fnAllRows;                   // of the matrix
    std::vector<double> fMatrix;     // column i: from row i on the left reflection i
    std::vector<double> fTriangular; // the same of the reduction to a triangle, when there was one
    std::vector<double> fRight;      // row i: from column i + 1 on the right reflection i
    std::vector<double> fDiagonal, fAbove;
    std::vector<double> fPanel, fLine, fDots; // scratch
};

} // namespace MCMath_930::internal
