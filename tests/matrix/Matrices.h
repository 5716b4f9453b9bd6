// What the tests of the matrices share: random matrices, plain products in long double, refusals checked to the bit.
#pragma once

#include "modelcore/modelcore.h"
#include "support/Testing.h"

using namespace MCMath_930;

inline MCBitSet Bits(int size, const std::vector<int>& set)
{
    MCBitSet bits(size);
    for (const int i : set) bits.Set(i);
    return bits;
}

inline std::vector<double> RandomVec(TestRandom& random, int n)
{
    return random.Vector(static_cast<std::size_t>(n), -1.0, 1.0);
}

inline MCRectMatrix RandomRect(TestRandom& random, int rows, int cols)
{
    MCRectMatrix matrix(rows, cols);
    for (double& element : matrix.AsSpan()) element = random.Uniform(-1.0, 1.0);
    return matrix;
}

inline MCSymMatrix RandomSym(TestRandom& random, int n)
{
    MCSymMatrix matrix(n);
    for (double& element : matrix.AsSpan()) element = random.Uniform(-1.0, 1.0);
    return matrix;
}

/// The matrix with the given n(n+1)/2 packed elements.
inline MCSymMatrix FromTriangle(const std::vector<double>& elements)
{
    MCSymMatrix matrix;
    EXPECT_TRUE(matrix.CopyFromPacked(elements));
    return matrix;
}

inline std::vector<double> Diagonal(const MCSymMatrix& matrix)
{
    std::vector<double> diag;
    matrix.GetDiagonal(diag);
    return diag;
}

inline MCSymMatrix RandomCrossProducts(TestRandom& random, int n)
{
    MCSymMatrix products;
    EXPECT_TRUE(products.ComputeRTransByR(RandomRect(random, n + 2, n)));
    return products;
}

template <class Matrix>
::testing::AssertionResult SameMatrix(const Matrix& actual, const Matrix& expected)
{
    if (actual.GetNRows() != expected.GetNRows()) return ::testing::AssertionFailure() << "the orders differ";
    if constexpr (std::is_same_v<Matrix, MCRectMatrix>)
        if (actual.GetNCols() != expected.GetNCols()) return ::testing::AssertionFailure() << "the columns differ";
    return SameBits(actual.AsSpan(), expected.AsSpan());
}

/// A matrix in long double whose products are plain triple loops: the oracle of all products.
struct Naive {
    int rows;
    int cols;
    std::vector<long double> elements = std::vector<long double>(static_cast<std::size_t>(rows * cols));

    long double& At(int i, int j) { return elements[static_cast<std::size_t>(i * cols + j)]; }
    long double At(int i, int j) const { return elements[static_cast<std::size_t>(i * cols + j)]; }

    Naive T() const
    {
        Naive transposed{cols, rows};
        for (int i = 0; i < rows; ++i)
            for (int j = 0; j < cols; ++j) transposed.At(j, i) = At(i, j);
        return transposed;
    }

    Naive Lower() const
    {
        Naive lower{rows, cols};
        for (int i = 0; i < rows; ++i)
            for (int j = 0; j <= i; ++j) lower.At(i, j) = At(i, j);
        return lower;
    }

    /// The elements that are in the given rows and columns; 0 elsewhere.
    Naive Part(int firstRow, int nRows, int firstCol, int nCols) const
    {
        Naive part{rows, cols};
        for (int i = firstRow; i < firstRow + nRows; ++i)
            for (int j = firstCol; j < firstCol + nCols; ++j) part.At(i, j) = At(i, j);
        return part;
    }

    long double Trace() const
    {
        long double sum = 0.0L;
        for (int i = 0; i < rows; ++i) sum += At(i, i);
        return sum;
    }
};

inline Naive operator*(const Naive& a, const Naive& b)
{
    EXPECT_EQ(a.cols, b.rows);
    Naive product{a.rows, b.cols};
    for (int i = 0; i < a.rows; ++i)
        for (int j = 0; j < b.cols; ++j)
            for (int k = 0; k < a.cols; ++k) product.At(i, j) += a.At(i, k) * b.At(k, j);
    return product;
}

template <class Matrix>
Naive ToNaive(const Matrix& matrix, int rows, int cols)
{
    Naive naive{rows, cols};
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j) naive.At(i, j) = matrix.GetElem(i, j);
    return naive;
}

inline Naive ToNaive(const IMCSymMatrix& matrix)
{
    return ToNaive(matrix, matrix.GetNRows(), matrix.GetNRows());
}

inline Naive ToNaive(const IMCRectMatrix& matrix)
{
    return ToNaive(matrix, matrix.GetNRows(), matrix.GetNCols());
}

/// A column.
inline Naive ToNaive(const std::vector<double>& v)
{
    return {static_cast<int>(v.size()), 1, {v.begin(), v.end()}};
}

inline Naive DiagonalOf(const std::vector<double>& d)
{
    Naive diagonal{static_cast<int>(d.size()), static_cast<int>(d.size())};
    for (int i = 0; i < diagonal.rows; ++i) diagonal.At(i, i) = d[static_cast<std::size_t>(i)];
    return diagonal;
}

inline Naive Identity(int n)
{
    return DiagonalOf(std::vector<double>(static_cast<std::size_t>(n), 1.0));
}

inline Naive Ones(int n)
{
    return ToNaive(std::vector<double>(static_cast<std::size_t>(n), 1.0));
}

inline Naive Scalar(long double x)
{
    return {1, 1, {x}};
}

/// The result of a member that returns a vector or a matrix through its last argument.
template <class Result, class Call>
Naive Formed(Call call)
{
    Result out;
    EXPECT_TRUE(call(out));
    return ToNaive(out);
}
template <class Call>
Naive Vec(Call call)
{
    return Formed<std::vector<double>>(call);
}
template <class Call>
Naive Rect(Call call)
{
    return Formed<MCRectMatrix>(call);
}
template <class Call>
Naive Sym(Call call)
{
    return Formed<MCSymMatrix>(call);
}

/// Equal up to tolerance, relative to the largest element or 1.
inline ::testing::AssertionResult Near(const Naive& actual, const Naive& expected, double tolerance = 1e-13)
{
    if (actual.rows != expected.rows || actual.cols != expected.cols)
        return ::testing::AssertionFailure()
               << actual.rows << " x " << actual.cols << " instead of " << expected.rows << " x " << expected.cols;
    long double scale = 1.0L;
    for (const long double x : expected.elements) scale = std::max(scale, std::fabs(x));
    for (int i = 0; i < actual.rows; ++i)
        for (int j = 0; j < actual.cols; ++j)
            if (!(std::fabs(actual.At(i, j) - expected.At(i, j)) <= tolerance * scale))
                return ::testing::AssertionFailure() << "element (" << i << ", " << j << "): " << actual.At(i, j)
                                                     << " instead of " << expected.At(i, j);
    return ::testing::AssertionSuccess();
}

/// One of many results, and what it must be.
struct NaiveCase {
    const char* name;
    Naive actual;
    Naive expected;
};

inline void ExpectNear(const std::vector<NaiveCase>& cases)
{
    for (const NaiveCase& c : cases) EXPECT_TRUE(Near(c.actual, c.expected)) << c.name;
}

/// What operations on a matrix returned, the results that they formed, and the matrix after each: to compare two kinds
/// of matrices.
template <class Matrix>
struct Outcome {
    Outcome& Call(double returned)
    {
        numbers.push_back(returned);
        numbers.insert(numbers.end(), vec.begin(), vec.end());
        for (const Naive& m : {ToNaive(rect), ToNaive(*own), ToNaive(*matrix)}) {
            numbers.insert(numbers.end(), {1.0 * m.rows, 1.0 * m.cols});
            numbers.insert(numbers.end(), m.elements.begin(), m.elements.end());
        }
        return *this;
    }

    Matrix* matrix;
    Matrix* own; // a result of the matrix's own kind
    std::vector<double> vec{7.0, 8.0};
    MCRectMatrix rect{1, 1};
    std::vector<long double> numbers{};
};

/// Runs call on the matrix, which must return false, or NoneOf of several calls, and leave every bit of it as it was.
template <class Matrix, class Call>
::testing::AssertionResult Refuses(Matrix& matrix, Call call)
{
    const Matrix before(matrix);
    if constexpr (std::is_same_v<decltype(call(matrix)), ::testing::AssertionResult>) {
        if (const auto refused = call(matrix); !refused) return refused;
    } else {
        if (call(matrix)) return ::testing::AssertionFailure() << "the call was not refused";
    }
    return SameMatrix(matrix, before);
}
