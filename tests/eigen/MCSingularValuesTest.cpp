#include "modelcore/eigen/MCSingularValues.h"
#include "matrix/Matrices.h"
#include "support/AllKernels.h"
#include "support/MovedFrom.h"

using namespace MCMath_930;

namespace {

constexpr double kEps = 2.220446049250313e-16;

MCRectMatrix From(int rows, int cols, const std::function<double(int, int)>& element)
{
    MCRectMatrix matrix(rows, cols);
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j) matrix.SetElem(i, j, element(i, j));
    return matrix;
}

/// The product is A again, and the vectors are orthonormal.
void ExpectDecomposition(const MCRectMatrix& A, const std::vector<double>& values, const MCRectMatrix& U,
                         const MCRectMatrix& V)
{
    const double tolerance = 10.0 * std::max(A.GetNRows(), A.GetNCols()) * kEps;
    const Naive left = ToNaive(U), right = ToNaive(V);
    EXPECT_TRUE(std::is_sorted(values.rbegin(), values.rend()) && values.back() >= 0.0);
    EXPECT_TRUE(Near(left.T() * left, Identity(left.cols), tolerance));
    EXPECT_TRUE(Near(right.T() * right, Identity(right.cols), tolerance));
    Naive diagonal{left.cols, right.cols}, original = ToNaive(A);
    const long double unit = values[0] > 0.0 ? 1.0L / values[0] : 1.0L;
    for (int i = 0; i < int(values.size()); ++i) diagonal.At(i, i) = values[std::size_t(i)] * unit;
    for (long double& element : original.elements) element *= unit;
    // Below the least double the values have no digits.
    EXPECT_TRUE(Near(left * diagonal * right.T(), original, tolerance + double(0x1p-1074L * unit)));
}

const struct {
    const char* name;
    std::function<double(TestRandom&, int i, int j)> element;
} kFamilies[] = {
    {"random", [](TestRandom& random, int, int) { return random.Uniform(-1.0, 1.0); }},
    {"Hilbert's", [](TestRandom&, int i, int j) { return 1.0 / (i + j + 1); }},
    {"rank 2", [](TestRandom&, int i, int j) { return i - 0.5 * j; }},
    {"zero", [](TestRandom&, int, int) { return 0.0; }},
    {"zero columns", [](TestRandom& random, int, int j) { return j % 3 == 1 ? 0.0 : random.Uniform(-1.0, 1.0); }},
    {"orthogonal, signed", [](TestRandom&, int i, int j) { return (i + 3) % 11 == j % 11 ? (i % 2) - 0.5 : 0.0; }},
    {"bidiagonal", [](TestRandom&, int i, int j) { return i == j || j == i + 1 ? 1.0 : 0.0; }},
    {"200 decades", [](TestRandom& random, int i,
                       int j) { return std::pow(10.0, i % 21 * 5.0 - j % 21 * 5.0) * random.Uniform(-1.0, 1.0); }},
    {"1e-300", [](TestRandom& random, int, int) { return 1e-300 * random.Uniform(-1.0, 1.0); }},
    {"1e300", [](TestRandom& random, int, int) { return 1e300 * random.Uniform(-1.0, 1.0); }},
    {"denormal", [](TestRandom& random, int, int) { return 0x1p-1074 * random.Below(5); }},
};

} // namespace

TEST(MCSingularValues, ProductsBackAndDsvdcUnderEveryKernelSet)
{
    TestRandom random(71);
    for (const auto& family : kFamilies)
        for (const auto& [m, n] : {std::pair{1, 1},
                                   {1, 5},
                                   {4, 1},
                                   {2, 2},
                                   {3, 2},
                                   {2, 4},
                                   {5, 5},
                                   {9, 7},
                                   {33, 33},
                                   {31, 47},
                                   {70, 34},
                                   {20, 100},
                                   {101, 99},
                                   {300, 90},
                                   {200, 200}}) {
            if (m >= 200 && family.name[0] != 'r') continue;
            SCOPED_TRACE(std::string(family.name) + " " + std::to_string(m) + " x " + std::to_string(n));
            const MCRectMatrix A = From(m, n, [&](int i, int j) { return family.element(random, i, j); });
            const MCSingularValues problem(A);
            std::vector<double> values, alone, s(A.AsSpan().size() + 1), e(s), work(s);
            MCRectMatrix U, V, fullU, fullV;
            ASSERT_EQ(problem.Compute(values, U, V), std::min(m, n));
            EXPECT_EQ(U.GetNCols(), std::min(m, n));
            ExpectDecomposition(A, values, U, V);
            if (m + n < 210) {
                ASSERT_EQ(problem.Compute(alone, fullU, fullV, MCSingularValues::VectorsFull), std::min(m, n));
                EXPECT_TRUE(SameBits(alone, values) && fullU.GetNCols() == m && fullV.GetNCols() == n);
                ExpectDecomposition(A, values, fullU, fullV);
            }

            std::vector<double> columns(A.AsSpan().size());
            A.CopyToColMajor(columns.data());
            const int scaledBy = values[0] > 0.0 ? -std::ilogb(values[0]) : 0; // Dsvdc does not scale
            for (double& element : columns) element = std::scalbn(element, scaledBy);
            const int notFound = Linpack::Dsvdc(columns.data(), m, m, n, s.data(), e.data(), nullptr, 1, nullptr, 1,
                                                work.data(), 0); // its 30 iterations are not enough for all decades
            EXPECT_TRUE(notFound == 0 || family.name[0] == '2');
            for (std::size_t i = std::size_t(notFound); i < values.size(); ++i)
                EXPECT_LE(std::fabs(std::scalbn(values[i], scaledBy) - s[i]),
                          10.0 * std::max(m, n) * kEps + std::scalbn(0x1p-1074, scaledBy));

            ForEachKernelSet([&] {
                std::vector<double> again;
                MCRectMatrix sameU, sameV;
                problem.Compute(again, sameU, sameV);
                EXPECT_TRUE(SameBits(again, values));
                EXPECT_TRUE(SameMatrix(sameU, U) && SameMatrix(sameV, V));
                problem.Compute(alone);
                EXPECT_TRUE(SameBits(alone, values));
            });
        }
}

// The reduction leaves them as they are, so that divide and conquer meets every pair of kinds.
TEST(MCSingularValues, BidiagonalMatricesOfAllKinds)
{
    TestRandom random(73);
    using Kind = std::function<double(int n, int i)>;
    const Kind kinds[] = {
        [&](int, int) { return random.Uniform(-1.0, 1.0); },
        [&](int, int) { return std::pow(10.0, random.Uniform(-300.0, 300.0)); },
        [&](int, int) { return std::pow(10.0, random.Uniform(-16.0, 0.0)); },
        [&](int, int) { return random.Below(3) - 1.0; },
        [&](int, int) { return 1.0 + kEps * random.Below(9); },
        [&](int, int) { return random.Below(3) == 0 ? random.Uniform(-1.0, 1.0) : 0.0; },
        [](int n, int i) { return std::exp2(-3.0 * std::abs(i - n / 2)); },
        [](int, int i) { return std::exp2(-i); },
        [](int n, int i) { return std::exp2(i - n); },
        [](int, int i) { return std::fabs(i % 11 - 5.0); },
        [](int, int) { return 0.0; },
    };
    for (std::size_t diagonal = 0; diagonal < std::size(kinds); ++diagonal)
        for (std::size_t above = 0; above < std::size(kinds); ++above)
            for (const int n : {2, 3, 5, 10, 23, 40}) {
                SCOPED_TRACE(std::to_string(diagonal) + ", " + std::to_string(above) + ": " + std::to_string(n));
                const MCRectMatrix A = From(n, n, [&](int i, int j) {
                    return i == j ? kinds[diagonal](n, i) : j == i + 1 ? kinds[above](n, i) : 0.0;
                });
                std::vector<double> values;
                MCRectMatrix U, V;
                ASSERT_EQ(MCSingularValues(A).Compute(values, U, V), n);
                ExpectDecomposition(A, values, U, V);
            }
}

TEST(MCSingularValues, KnownValues)
{
    const struct {
        const char* name;
        MCRectMatrix A;
        std::vector<double> expected;
        double tolerance; // of the largest
    } cases[] = {
        {"3 4", MCRectMatrix(2, 2, std::vector<double>{3, 0, 4, 5}), {3 * std::sqrt(5.0), std::sqrt(5.0)}, 2 * kEps},
        {"column", MCRectMatrix(2, 1, std::vector<double>{3e300, -4e300}), {5e300}, kEps},
        {"row", MCRectMatrix(1, 2, std::vector<double>{3e-300, 4e-300}), {5e-300}, kEps},
        {"diagonal", MCRectMatrix(3, 3, std::vector<double>{-2, 0, 0, 0, 0, 0, 0, 0, 7}), {7, 2, 0}, 0.0},
        {"ones", From(40, 10, [](int, int) { return 1.0; }), {20, 0, 0, 0, 0, 0, 0, 0, 0, 0}, 8 * kEps},
        // Squares of the values of a unit bidiagonal matrix: 2 + 2*cos(2*k*pi/(2n + 1)).
        {"unit bidiagonal",
         From(3, 3, [](int i, int j) { return i == j || j == i + 1 ? 1.0 : 0.0; }),
         {1.8019377358048382525, 1.2469796037174670611, 0.44504186791262880858},
         2 * kEps},
        {"beyond the range", From(4, 4, [](int, int) { return 1e308; }), {HUGE_VAL, 0, 0, 0}, kEps},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<double> values;
        ASSERT_EQ(MCSingularValues(c.A).Compute(values), int(c.expected.size()));
        EXPECT_EQ(std::isinf(values[0]), std::isinf(c.expected[0]));
        for (std::size_t i = 0; i < values.size(); ++i)
            EXPECT_TRUE(values[i] == c.expected[i] ||
                        std::fabs(values[i] - c.expected[i]) <= c.tolerance * c.expected[0])
                << values[i];
    }
}

TEST(MCSingularValues, RefusesAndStaysWhole)
{
    TestRandom random(72);
    const MCRectMatrix A = RandomRect(random, 7, 3);
    MCSingularValues problem(A);
    std::vector<double> values{1.0}, expected;
    MCRectMatrix U(1, 2), V;
    EXPECT_TRUE(MCSingularValues().Compute(values) == 0 &&
                MCSingularValues(MCRectMatrix(0, 3)).Compute(values, U, V) == 0);
    EXPECT_EQ(problem.Compute(values, U, U), 0);
    EXPECT_TRUE(values[0] == 1.0 && U.GetNCols() == 2 && V.GetNRows() == 0);
    problem.Compute(expected);
    for (const double bad : {kNan, HUGE_VAL, -HUGE_VAL}) {
        MCRectMatrix spoilt(A);
        spoilt.SetElem(6, 1, bad);
        EXPECT_FALSE(problem.SetMatrix(spoilt) || MCSingularValues(spoilt).IsValidMatrix());
    }
    EXPECT_TRUE(problem.Compute(values) == 3 && SameBits(values, expected));

    const auto compute = [&](MCSingularValues& any) {
        const std::vector<double> before = values;
        const MCRectMatrix beforeU(U);
        try {
            any.Compute(values, U, V);
        } catch (const std::bad_alloc&) {
            EXPECT_TRUE(SameBits(values, before) && SameMatrix(U, beforeU));
            throw;
        }
    };
    ExpectWholeWhenMemoryRunsOut(problem, problem, compute, Shown<MCSingularValues>);
    ExpectWholeWhenMemoryRunsOut(
        problem, problem, [&](MCSingularValues& any) { any.SetMatrix(U); }, Shown<MCSingularValues>);
    ExpectEmptyAfterMove(problem, MCSingularValues(), Shown<MCSingularValues>, compute);
    ExpectAssignmentIsWhole(problem, MCSingularValues(MCRectMatrix(2, 2)), Shown<MCSingularValues>);
}
