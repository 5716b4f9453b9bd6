#include "modelcore/eigen/MCEigenValues.h"
#include "matrix/Matrices.h"
#include "reference/plain/EigenLoops.h"
#include "support/AllKernels.h"
#include "support/MovedFrom.h"

using namespace MCMath_930;

namespace {

constexpr double kEps = 2.220446049250313e-16;
constexpr int kSweeps = 300; // what the smallest eigenvalue of a graded matrix takes, which is found first

/// Residual and loss of orthogonality, in units of the largest value, are of the size that good routines have.
void ExpectGoodVectors(const MCSymMatrix& matrix, const std::vector<double>& values, const MCRectMatrix& vectors,
                       double factor = 30.0)
{
    const Naive S = ToNaive(matrix), Z = ToNaive(vectors);
    double largest = 0.0;
    for (const double value : values) largest = std::max(largest, std::fabs(value));
    Naive unit = Identity(S.rows);
    if (largest > 0.0)
        for (long double& x : unit.elements) x /= largest;
    const double tolerance = factor * S.rows * kEps; // below the least double the values have no digits
    const double noDigits = largest > 0.0 ? 0x1p-1074 / largest : 0.0;
    EXPECT_TRUE(Near(S * Z * unit, Z * DiagonalOf(values) * unit, tolerance + noDigits));
    EXPECT_TRUE(Near(Z.T() * Z, Identity(S.rows), tolerance));
}

/// A matrix from element (i, j), i >= j.
MCSymMatrix From(int n, const std::function<double(int, int)>& element)
{
    MCSymMatrix matrix(n);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j <= i; ++j) matrix.SetElem(i, j, element(i, j));
    return matrix;
}

struct Family {
    const char* name;
    std::function<double(TestRandom&, int n, int i, int j)> element;

    MCSymMatrix Make(TestRandom& random, int n) const
    {
        return From(n, [&](int i, int j) { return element(random, n, i, j); });
    }
};

const Family kFamilies[] = {
    {"random", [](TestRandom& random, int, int, int) { return random.Uniform(-1.0, 1.0); }},
    {"graded from 1e-10 to 1e10",
     [](TestRandom& random, int n, int i, int j) {
         return std::pow(10.0, 10.0 * (i + j) / n - 10.0) * (random.Uniform(-1.0, 1.0) + (i == j ? n : 0));
     }},
    {"clustered", [](TestRandom& random, int, int i, int j) { return (i == j) + 1e-14 * random.Uniform(0.0, 1.0); }},
    {"integer", [](TestRandom& random, int, int, int) { return random.Below(7) - 3.0; }},
    // Rows that no reflection reaches, zeros among the factors.
    {"blocks", [](TestRandom& random, int, int i,
                  int j) { return i == j || (i / 5 == j / 5 && i % 7 != 0) ? random.Uniform(-1.0, 1.0) : 0.0; }},
    {"zero", [](TestRandom&, int, int, int) { return 0.0; }},
};

} // namespace

TEST(MCEigenValues, EqualsThePublishedLoopsBitForBit)
{
    TestRandom random(41);
    for (const Family& family : kFamilies)
        for (const int n : {1, 2, 3, 4, 7, 8, 9, 16, 21, 53, 100}) {
            SCOPED_TRACE(std::string(family.name) + " " + std::to_string(n));
            const MCSymMatrix matrix = family.Make(random, n);
            for (const double tolerance : {1e-12, 2.2e-16}) {
                const Plain::Eigen plain(n, matrix.AsSpan(), tolerance, kSweeps);
                MCRectMatrix expected;
                expected.CopyFromColMajor(plain.z.data(), n, n);
                if (tolerance < 1e-15) ExpectGoodVectors(matrix, plain.diagonal, expected);
                ForEachKernelSet([&] {
                    MCEigenValues eigen(matrix, tolerance, kSweeps);
                    std::vector<double> values, alone;
                    MCRectMatrix vectors;
                    EXPECT_EQ(eigen.Compute(values, vectors), n);
                    EXPECT_TRUE(SameBits(values, plain.diagonal));
                    EXPECT_TRUE(SameMatrix(vectors, expected));
                    EXPECT_EQ(eigen.Compute(alone), n);
                    EXPECT_TRUE(SameBits(alone, values));
                });
            }
        }
}

// Beside the iteration, on spectra that are hard for divide and conquer: much deflation, none, values that nearly agree.
TEST(MCEigenValues, DivideAndConquerIsAsGoodAndTheSameUnderEveryKernelSet)
{
    using Element = std::function<double(TestRandom&, int n, int i, int j)>;
    const auto tridiagonal = [](auto diagonal, auto beside) -> Element {
        return [=](TestRandom&, int n, int i, int j) { return i == j ? diagonal(n, i) : i == j + 1 ? beside(i) : 0.0; };
    };
    std::vector<Family> families(std::begin(kFamilies), std::end(kFamilies));
    families.push_back({"identity plus rank one", [](TestRandom&, int, int i, int j) { return (i == j) + 0.5; }});
    families.push_back({"Wilkinson's, glued", tridiagonal([](int, int i) { return std::fabs(i % 21 - 10.0); },
                                                          [](int i) { return i % 21 == 0 ? 1e-9 : 1.0; })});
    families.push_back({"1, 2, 1", tridiagonal([](int, int) { return 2.0; }, [](int) { return 1.0; })});
    families.push_back({"-1, 0, -1", tridiagonal([](int, int) { return 0.0; }, [](int) { return -1.0; })});
    families.push_back({"diagonal", tridiagonal([](int, int i) { return i % 4 - 1.0; }, [](int) { return 0.0; })});
    families.push_back({"300 decades", [](TestRandom& random, int n, int i, int j) {
                            return std::pow(10.0, 150.0 * (i + j) / n - 150.0) * random.Uniform(-1.0, 1.0);
                        }});
    TestRandom random(49);
    for (const Family& family : families)
        for (const int n : {1, 2, 3, 4, 5, 7, 8, 16, 20, 49, 100, 300}) {
            if (n == 300 && family.name[0] != 'r' && family.name[0] != 'W') continue;
            SCOPED_TRACE(std::string(family.name) + " " + std::to_string(n));
            const MCSymMatrix matrix = family.Make(random, n);
            MCEigenValues eigen(matrix, 1e-3, 1); // neither of which matters
            EXPECT_TRUE(eigen.SetMethod(MCEigenValues::MethodDivideAndConquer));
            std::vector<double> values, expected, smaller;
            MCRectMatrix vectors, sorted;
            ASSERT_EQ(eigen.Compute(values, vectors), n);
            ExpectGoodVectors(matrix, values, vectors, 10.0);
            EXPECT_TRUE(std::is_sorted(values.begin(), values.end()));
            MCEigenValues(matrix, 2.2e-16, 1000).GetSorted(expected, false);
            const double tolerance = 10.0 * n * kEps * std::max(std::fabs(values.front()), std::fabs(values.back()));
            for (std::size_t i = 0; i < values.size(); ++i) {
                EXPECT_LE(std::fabs(values[i] - expected[i]), tolerance);
                const double known = 2.0 - 2.0 * std::cos(M_PI * double(i + 1) / (n + 1));
                EXPECT_TRUE(family.name[0] != '1' || std::fabs(values[i] - known) <= tolerance);
            }
            if (n > 1 && n <= 100) { // the values of the matrix without its last row lie between
                MCSymMatrix leading(matrix);
                leading.DeleteOneRow(n - 1);
                MCEigenValues part(leading, 1e-3, 1);
                part.SetMethod(MCEigenValues::MethodDivideAndConquer);
                ASSERT_EQ(part.GetSorted(smaller, sorted, false), n - 1);
                for (std::size_t i = 0; i < smaller.size(); ++i)
                    EXPECT_TRUE(values[i] <= smaller[i] + tolerance && smaller[i] <= values[i + 1] + tolerance);
                eigen.GetSorted(smaller, sorted, false);
                EXPECT_TRUE(SameBits(smaller, values));
                ExpectGoodVectors(matrix, smaller, sorted, 10.0);
            }
            ForEachKernelSet([&] {
                std::vector<double> again;
                MCRectMatrix same;
                EXPECT_EQ(eigen.Compute(again, same), n);
                EXPECT_TRUE(SameBits(again, values) && SameMatrix(same, vectors));
                EXPECT_EQ(eigen.Compute(again), n); // values alone
                EXPECT_TRUE(SameBits(again, values));
            });
        }
}

// The 20-digit eigenvalues of a small matrix, and spectra that are known exactly.
TEST(MCEigenValues, SortsKnownSpectraWithTheirVectors)
{
    const struct {
        MCSymMatrix matrix;
        std::vector<double> ascending;
        double tolerance;
    } cases[] = {
        {FromTriangle({4, 1, 3, -2, 0.5, 5, 2, -1, 1.5, 6}),
         {0.36259581316835479720, 3.7352800878107137573, 6.5757756857905101244, 7.3263484132304213211},
         8 * kEps},
        {FromTriangle({-2.5}), {-2.5}, 0.0},
        {FromTriangle({3, 0, -1, 0, 0, 7, 0, 0, 0, 3}), {-1, 3, 3, 7}, 0.0},
        {From(6, [](int i, int j) { return i == j ? 3 : 1; }), {2, 2, 2, 2, 2, 8}, 4 * kEps},
        {FromTriangle({0x1p-1000, 0x1p-1001, 0x1p-1000}),
         {0x1p-1001, 0x1.8p-1000},
         4 * kEps},                                                                  // whose squares underflow
        {FromTriangle({0x1p990, 0x1p989, 0x1p990}), {0x1p989, 0x1.8p990}, 4 * kEps}, // and overflow
        {FromTriangle({1e308, 5e307, 1e308}), {5e307, 1.5e308}, 4 * kEps},           // whose sums overflow
        {FromTriangle({0x1p-1060, 0, 0x1p-1059, 0x1p-1074, 0, 0x1p-1060}), {0x1p-1060, 0x1p-1060, 0x1p-1059}, 0x1p-14},
        {FromTriangle({0, 0x1.8p-499, 0, 0, 0x1p-599, 0, 0, 0, 1, -0x1p-700}), // a rotation vanishes in a sweep
         {-1, -0x1.8p-499, 0x1.8p-499, 1},
         4 * kEps},
        {FromTriangle({1, 1e-310, 2, 1e-310, 3e-320, 3}), {1, 2, 3}, 0.0}, // a reflection without digits
    };
    for (const auto& c : cases)
        for (const bool descending : {false, true}) {
            MCEigenValues eigen(c.matrix, 2.2e-16, 30);
            if (descending) eigen.SetMethod(MCEigenValues::MethodDivideAndConquer);
            std::vector<double> expected = c.ascending, values, alone;
            if (descending) std::reverse(expected.begin(), expected.end());
            MCRectMatrix vectors;
            eigen.Compute(values);
            ASSERT_EQ(eigen.GetSorted(values, vectors, descending), c.matrix.GetNRows()); // computes the vectors
            const double largest = std::max(std::fabs(expected.front()), std::fabs(expected.back()));
            for (std::size_t i = 0; i < values.size(); ++i)
                EXPECT_LE(std::fabs(values[i] - expected[i]), c.tolerance * largest) << values[i];
            ExpectGoodVectors(c.matrix, values, vectors);
            eigen.GetSorted(alone, descending);
            EXPECT_TRUE(SameBits(alone, values));
        }
}

TEST(MCEigenValues, IterationLimitLeavesTheLeadingValues)
{
    // The diagonal part needs no sweep, one is not enough for the rest.
    TestRandom random(45);
    const int n = 12, found = 5;
    MCSymMatrix matrix = RandomSym(random, n);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < std::min(i, found); ++j) matrix.SetElem(i, j, 0.0);
    MCEigenValues eigen(matrix, 1e-12, 1);
    std::vector<double> values;
    MCRectMatrix vectors;
    EXPECT_EQ(eigen.Compute(values, vectors), found);
    std::vector<double> expected = Diagonal(matrix);
    std::fill(expected.begin() + found, expected.end(), 0.0);
    EXPECT_TRUE(SameBits(values, expected));

    // Only they are sorted, with their vectors.
    EXPECT_EQ(eigen.GetSorted(values, vectors, false), found);
    std::sort(expected.begin(), expected.begin() + found);
    EXPECT_TRUE(SameBits(values, expected));
    for (int j = 0; j < found; ++j)
        for (int i = 0; i < n; ++i)
            EXPECT_EQ(vectors.GetElem(i, j), i < found && matrix.GetElem(i, i) == values[std::size_t(j)]);

    // Nothing is delivered when not even one was found.
    const MCSymMatrix full = RandomSym(random, n);
    eigen.SetHMatrix(full);
    EXPECT_EQ(eigen.Compute(values, vectors), 0);
    EXPECT_EQ(eigen.GetSorted(values, true), 0);
    EXPECT_TRUE(SameBits(values, expected));
    bool isPD = true;
    MCSymMatrix repaired;
    EXPECT_FALSE(eigen.IsPDHMatrix(0.0, isPD));
    EXPECT_FALSE(eigen.GetPDHMatrix(0.0, repaired, isPD));
    EXPECT_TRUE(isPD && repaired.GetNRows() == 0);
}

TEST(MCEigenValues, GeneralisedProblem)
{
    TestRandom random(46);
    const int n = 9;
    const MCSymMatrix H = RandomSym(random, n);
    const MCSymMatrix E = RandomCrossProducts(random, n);
    MCEigenValues eigen(H, E, 2.2e-16, 30);
    std::vector<double> values, sorted, expected, ordinary, afresh;
    MCRectMatrix z;
    ASSERT_EQ(eigen.Compute(values, z), n);
    MCSymMatrix inverse(E);
    double logDet = 0.0;
    inverse.LTChol(0.0, logDet, true);
    inverse.LTInverse();
    const Naive v = ToNaive(inverse).Lower().T() * ToNaive(z);
    EXPECT_TRUE(Near(ToNaive(H) * v, ToNaive(E) * v * DiagonalOf(values), 1e-11));

    // A singular E: row 2 doubles row 0. What is left is the problem without that row, and an eigenvalue 0.
    MCSymMatrix small(E), smallH(H), singular(E);
    small.DeleteOneRow(2);
    smallH.DeleteOneRow(2);
    for (int j = 0; j < n; ++j) singular.SetElem(2, j, 2.0 * E.GetElem(0, j));
    singular.SetElem(2, 2, 4.0 * E.GetElem(0, 0));
    ASSERT_TRUE(eigen.SetEMatrix(singular));
    MCEigenValues(smallH, small, 2.2e-16, 30).Compute(expected);
    expected.push_back(0.0);
    std::sort(expected.begin(), expected.end());
    ASSERT_EQ(eigen.GetSorted(sorted, false), n);
    EXPECT_TRUE(Near(ToNaive(sorted), ToNaive(expected), 1e-12));

    // A refused E leaves the accepted one with its results; another H drops it.
    for (const MCSymMatrix& bad : {MCSymMatrix(n), MCSymMatrix(n + 1), FromTriangle({-1.0})}) {
        EXPECT_FALSE(eigen.SetEMatrix(bad));
        EXPECT_TRUE(eigen.GetSorted(values, false) == n && SameBits(values, sorted));
    }
    EXPECT_TRUE(eigen.IsValidEMatrix());
    eigen.SetHMatrix(H);
    EXPECT_FALSE(eigen.IsValidEMatrix());
    eigen.Compute(ordinary);
    MCEigenValues(H, 2.2e-16, 30).Compute(afresh);
    EXPECT_TRUE(SameBits(ordinary, afresh));
}

TEST(MCEigenValues, TestsAndRepairsPositiveDefiniteness)
{
    const struct {
        std::vector<double> triangle;
        double eps;
        bool isPD;
        std::vector<double> repaired;
    } cases[] = {
        {{5e-7}, 0.0, false, {1e-6}},
        {{5e-7}, 1e-7, true, {5e-7}},
        {{1, 0, -1}, 0.1, false, {1, 0, 0.1}},
        {{2, 1, 2}, 1.0 - 1e-12, true, {2, 1, 2}},
        {{1, 2, 1}, kNan, false, {1.5 + 5e-7, 1.5 - 5e-7, 1.5 + 5e-7}},
    };
    for (const auto& c : cases) {
        const MCSymMatrix H = FromTriangle(c.triangle);
        const MCSymMatrix E =
            FromTriangle(c.triangle.size() == 1 ? std::vector<double>{4} : std::vector<double>{4, 1, 9});
        for (const bool generalised : {false, true}) { // an E does not matter
            MCEigenValues eigen(H, 1e-12, 30);
            ASSERT_TRUE(!generalised || eigen.SetEMatrix(E));
            if (generalised) eigen.SetMethod(MCEigenValues::MethodDivideAndConquer);
            bool isPD = !c.isPD, changed = c.isPD;
            MCSymMatrix repaired;
            EXPECT_TRUE(eigen.IsPDHMatrix(c.eps, isPD));
            EXPECT_EQ(isPD, c.isPD);
            EXPECT_TRUE(eigen.GetPDHMatrix(c.eps, repaired, changed));
            EXPECT_EQ(changed, !c.isPD);
            EXPECT_TRUE(Near(ToNaive(repaired), ToNaive(FromTriangle(c.repaired)), 1e-15));
            MCSymMatrix same;
            EXPECT_TRUE(eigen.GetPDHMatrix(c.eps, same) && SameBits(same.AsSpan(), repaired.AsSpan()));
        }
    }
}

TEST(MCEigenValues, RefusesBadSettingsAndSurvivesBadMatrices)
{
    MCEigenValues eigen(-1.0, 0);
    EXPECT_EQ(eigen.GetTolerance(), 1e-12);
    EXPECT_EQ(eigen.GetMaxIter(), 30);
    for (const double t : {0.0, -1.0, kNan}) EXPECT_FALSE(eigen.SetTolerance(t));
    EXPECT_TRUE(!eigen.SetMaxIter(0) && eigen.SetMaxIter(30));
    EXPECT_EQ(eigen.GetTolerance(), 1e-12);
    EXPECT_TRUE(eigen.SetTolerance(1e-9) && eigen.GetTolerance() == 1e-9 && eigen.SetTolerance(1e-12));
    EXPECT_FALSE(eigen.SetMethod(MCEigenValues::Method(3)));
    EXPECT_EQ(eigen.GetMethod(), MCEigenValues::MethodQL);

    // Order 0, NaN and infinities end, and are no success unless the values are.
    TestRandom random(48);
    std::vector<double> values{1.0};
    MCRectMatrix vectors;
    EXPECT_EQ(eigen.Compute(values, vectors), 0);
    for (const int n : {1, 2, 12}) {
        MCSymMatrix matrix = RandomSym(random, n);
        for (const double bad : {kNan, HUGE_VAL}) {
            matrix.SetElem(n - 1, 0, bad);
            for (const MCEigenValues::Method method :
                 {MCEigenValues::MethodDivideAndConquer, MCEigenValues::MethodQL}) {
                eigen.SetMethod(method);
                eigen.SetHMatrix(matrix);
                const int count = eigen.GetSorted(values, vectors, true);
                EXPECT_TRUE(count < n || (n == 1 && values[0] == bad)) << n;
            }
        }
    }
}

TEST(MCEigenValues, WholeAfterMovesAndWithoutMemory)
{
    const MCSymMatrix H = FromTriangle({4, 1, 3, 0, 2, 5}), E = FromTriangle({2, 0, 1, 0, 1, 3});
    MCEigenValues filled(H, E, 1e-14, 40);
    std::vector<double> values;
    MCRectMatrix vectors;
    const auto compute = [&](MCEigenValues& eigen) {
        const std::vector<double> before = values;
        try {
            values.clear();
            vectors = MCRectMatrix();
            eigen.Compute(values, vectors);
            eigen.GetSorted(values, vectors, true);
        } catch (const std::bad_alloc&) { // both results or none
            EXPECT_EQ(int(values.size()), vectors.GetNRows());
            throw;
        }
    };
    MCEigenValues divided(filled);
    divided.SetMethod(MCEigenValues::MethodDivideAndConquer);
    for (const MCEigenValues& empty : {filled, divided})
        ExpectWholeWhenMemoryRunsOut(
            empty, empty, [&](MCEigenValues& eigen) { eigen.Compute(values, vectors); }, Shown<MCEigenValues>);
    compute(filled);
    EXPECT_EQ(values.size(), 3u);
    ExpectEmptyAfterMove(filled, MCEigenValues(1e-14, 40), Shown<MCEigenValues>, [&](MCEigenValues& eigen) {
        compute(eigen);
        eigen.SetEMatrix(E);
        eigen.SetHMatrix(H);
        EXPECT_EQ(eigen.Compute(values), 3);
        eigen.SetHMatrix(MCSymMatrix());
    });
    ExpectAssignmentIsWhole(filled, MCEigenValues(FromTriangle({1, 0, 2}), 1e-12, 30), Shown<MCEigenValues>);
    ExpectWholeWhenMemoryRunsOut(
        filled, filled, [&](MCEigenValues& eigen) { eigen.SetHMatrix(E); }, Shown<MCEigenValues>);
}
