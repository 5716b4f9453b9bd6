// Random matrices for tests, and refusals checked to the bit.
#pragma once

#include "modelcore/matrix/MCRectMatrix.h"
#include "modelcore/matrix/MCSymMatrix.h"
#include "support/Bits.h"
#include "support/Random.h"

inline MCMath_930::MCRectMatrix RandomRect(TestRandom& random, int rows, int cols)
{
    MCMath_930::MCRectMatrix matrix(rows, cols);
    for (double& element : matrix.AsSpan()) element = random.Uniform(-1.0, 1.0);
    return matrix;
}

inline MCMath_930::MCSymMatrix RandomSym(TestRandom& random, int n)
{
    MCMath_930::MCSymMatrix matrix(n);
    for (double& element : matrix.AsSpan()) element = random.Uniform(-1.0, 1.0);
    return matrix;
}

/// The cross products of n + 2 random rows, summed in long double.
inline MCMath_930::MCSymMatrix RandomCrossProducts(TestRandom& random, int n)
{
    const MCMath_930::MCRectMatrix rows = RandomRect(random, n + 2, n);
    MCMath_930::MCSymMatrix products(n);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j <= i; ++j) {
            long double sum = 0.0L;
            for (int r = 0; r < n + 2; ++r) sum += static_cast<long double>(rows.GetElem(r, i)) * rows.GetElem(r, j);
            products.SetElem(i, j, static_cast<double>(sum));
        }
    return products;
}

inline ::testing::AssertionResult SameMatrix(const MCMath_930::MCSymMatrix& actual,
                                             const MCMath_930::MCSymMatrix& expected)
{
    if (actual.GetNRows() != expected.GetNRows()) return ::testing::AssertionFailure() << "the orders differ";
    return SameBits(actual.AsSpan(), expected.AsSpan());
}

inline ::testing::AssertionResult SameMatrix(const MCMath_930::MCRectMatrix& actual,
                                             const MCMath_930::MCRectMatrix& expected)
{
    if (actual.GetNRows() != expected.GetNRows() || actual.GetNCols() != expected.GetNCols())
        return ::testing::AssertionFailure() << "the shapes differ";
    return SameBits(actual.AsSpan(), expected.AsSpan());
}

/// Runs call on the matrix, which must return false and leave every bit of it as it was.
template <class Matrix, class Call>
::testing::AssertionResult Refuses(Matrix& matrix, Call call)
{
    const Matrix before(matrix);
    if (call(matrix)) return ::testing::AssertionFailure() << "the call was not refused";
    return SameMatrix(matrix, before);
}
