// MCRandomValues: choosing a distribution, refusals, vectors and matrices.
#include "random/RandomTesting.h"
#include "support/MovedFrom.h"

namespace {

using Vector = std::vector<double>;
/// Values that draw from the Twister, or from given numbers.
struct Bound {
    ScriptedSource script;
    MCURandom source;
    MCRandomValues values;
    explicit Bound(Vector numbers = {})
        : script(numbers), source(34567, true, true, numbers.empty() ? nullptr : &script)
    {
        values.SetURNGPtr(&source);
    }
    Vector Normals(int count)
    {
        Vector z;
        for (int i = 0; i < count; ++i) z.push_back(values.RVSNor());
        return z;
    }
};

MCSymMatrix Packed(int n, const Vector& elements)
{
    MCSymMatrix matrix(n);
    std::copy(elements.begin(), elements.end(), matrix.GetPtr());
    return matrix;
}
const MCSymMatrix kUnit = Packed(2, {1, 0, 1});
const MCSymMatrix kCovariance = Packed(3, {4, 2, 10, -2, 0.5, 2.25}); // L = [2 0 0; 1 3 0; -1 0.5 1]

} // namespace

TEST(MCRandomValues, GetRandomIsTheDrawOfTheKindAndNeedsParametersAndASource)
{
    MCRandomValues none;
    none.SetSeed(3); // no source: nothing
    EXPECT_TRUE(none.SetParamNormal());
    for (const double x :
         {none.GetRandom(), none.RVSNor(), none.RVUni(0.0, 1.0), none.RVExp(1.0), none.RVGam(2.0, 1.0)})
        EXPECT_EQ(x, kMissing);
    Bound b, plain;
    EXPECT_EQ(b.values.GetRandom(), kMissing);
    b.values.SetSeed(11);
    plain.values.SetSeed(11);
    for (int i = 0; i < 20; ++i) {
        b.values.SetParamUniform(-2.0, 5.0);
        EXPECT_EQ(b.values.GetRandom(), plain.values.RVUni(-2.0, 5.0));
        b.values.SetParamNormal(3.0, 0.5);
        EXPECT_EQ(b.values.GetRandom(), plain.values.RVNor(3.0, 0.5));
        b.values.SetParamChi(5.0);
        EXPECT_EQ(b.values.GetRandom(), plain.values.RVGam(2.5, 0.5));
        b.values.SetParamGamma(0.7, 4.0);
        EXPECT_EQ(b.values.GetRandom(), plain.values.RVGam(0.7, 4.0));
    }
    MCURandom congruential(1, true, false, nullptr); // what an MCRNGNormal has
    b.values.SetURNGPtr(&congruential);
    MCRNGNormal normal(1.5, 0.25);
    for (int i = 0; i < 1000; ++i) ASSERT_EQ(b.values.RVNor(1.5, 0.25), normal.GetNext());
}

TEST(MCRandomValues, RefusedParametersKeepTheOldOnes)
{
    Bound b;
    MCRandomValues& v = b.values;
    ASSERT_TRUE(v.SetParamWishart(2, 5.0, kUnit) && v.SetTolerance(1e-8));
    const std::string before = Shown(b.values);
    EXPECT_TRUE(NoneOf({v.SetParamUniform(1.0, 0.9), v.SetParamUniform(-1e308, 1e308), v.SetParamUniform(0),
                        v.SetParamGamma(0.0, 1.0), v.SetParamGamma(1.0, 0.0), v.SetParamChi(0.0),
                        v.SetParamUniform(Vector(), Vector()), v.SetParamUniform({0.0}, {1.0, 2.0}),
                        v.SetParamUniform({0.0, 1.0}, {1.0, 0.9}), v.SetParamUniform({0.0, kNan}, {1.0, 1.0}),
                        v.SetParamNormal(-1), v.SetParamNormal(Vector(), 1.0, MCSymMatrix()),
                        v.SetParamNormal({0.0}, 1.0, kUnit), v.SetParamNormal({0.0, kInf}, 1.0, kUnit),
                        v.SetParamWishart(3, 5.0, kUnit), v.SetParamWishart(0, 5.0, MCSymMatrix()),
                        v.SetParamWishart(2, 1.0, kUnit), v.SetParamWishart(MCSymMatrix::kMaxRows + 1, 1e9)}));
    for (const double bad : {kNan, kInf, -kInf}) {
        EXPECT_TRUE(NoneOf({v.SetParamUniform(bad, 1.0), v.SetParamUniform(0.0, bad), v.SetParamNormal(bad, 1.0),
                            v.SetParamNormal(0.0, bad), v.SetParamGamma(bad, 1.0), v.SetParamGamma(1.0, bad),
                            v.SetParamChi(bad), v.SetParamNormal({0.0, 0.0}, bad, kUnit), v.SetParamWishart(2, bad)}));
    }
    for (const double bad : {0.0, -1.0, kNan}) EXPECT_FALSE(v.SetTolerance(bad));
    EXPECT_EQ(Shown(b.values), before);
}

TEST(MCRandomValues, RefusalsOfADrawAreMissing)
{
    Bound b({0.5});
    MCRandomValues& v = b.values;
    for (const double bad : {0.0, -1.0, kNan})
        for (const double x : {v.RVExp(bad), v.RVGam(bad, 1.0), v.RVGam(1.0, bad), v.RVChi(bad)})
            EXPECT_EQ(x, kMissing);
    for (const double x : {v.RVGam(kInf, 1.0), v.RVNor(0.0, -1.0), v.RVNor(0.0, kNan), v.RVUni(1.0, 0.5)})
        EXPECT_EQ(x, kMissing);
    EXPECT_EQ(v.RVNor(7.0, 0.0), 7.0);
    EXPECT_EQ(b.script.Drawn(), 0u);
    EXPECT_EQ(v.RVUni(-1.0, 2.0), 0.5);

    // Uniforms of 0 and 1, which the C runtime gives.
    Bound one({1.0, 0.5, 0.5, 0.5});
    EXPECT_EQ(one.values.RVExp(2.0), kMissing);
    EXPECT_DOUBLE_EQ(one.values.RVExp(2.0), std::log(2.0) / 2.0);
    Bound oneFirst({1.0, 0.5, 0.5, 0.5});
    EXPECT_DOUBLE_EQ(oneFirst.values.RVGam(1.5, 1.0), 1.5 * std::log(2.0)); // the infinite one is refused
    Bound zero({0.0, 0.0, 0.25, 0.5});                                      // zeros are drawn again
    const double p = (0.5 + 2.718281828459045) / 2.718281828459045 * 0.25;
    EXPECT_DOUBLE_EQ(zero.values.RVGam(0.5, 4.0), p * p / 4.0);
    EXPECT_EQ(zero.script.Drawn(), 4u);
    EXPECT_EQ(Bound({1e-3, 0.5}).values.RVGam(1e-3, 1.0), 0.0); // exp would underflow
    for (const double number : {kNan, 0.0, 1.0})
        for (const double shape : {0.5, 2.0, 1e6}) {
            Bound broken({number});
            const double x = broken.values.RVGam(shape, 1.0);
            EXPECT_TRUE(x == kMissing || number == 0.0) << number << " " << shape << ": " << x;
            EXPECT_LT(broken.script.Drawn(), 10000000u);
        }
    EXPECT_EQ(MCRandomValues::RVAuxF(-0.0), 0.0);
    EXPECT_NEAR(MCRandomValues::RVAuxF(-1.0), 0.24197072451914337 - 0.180025191068563 * 1.216035867166471, 1e-16);
    EXPECT_NEAR(MCRandomValues::RVAuxF(3.0), 0.0044318484119380075, 1e-17); // beyond the triangle, the density
}

TEST(MCRandomValues, VectorsAndMatricesAreDrawnElementByElement)
{
    Bound b, same;
    Vector x(7, 9.0);
    MCSymMatrix w;
    for (int i = 0; i < 50; ++i) {
        ASSERT_TRUE(b.values.SetParamUniform({-1.0, 5.0}, {1.0, 5.0}) && b.values.GetRandom(x));
        const double first = same.values.RVUni(-1.0, 1.0), second = same.values.RVUni(5.0, 5.0);
        EXPECT_EQ(x, (Vector{first, second}));
        ASSERT_TRUE(b.values.SetParamUniform(2) && b.values.GetRandom(x));
        const double u = same.values.RVUni(0.0, 1.0);
        EXPECT_EQ(x, (Vector{u, same.values.RVUni(0.0, 1.0)}));
        ASSERT_TRUE(b.values.SetParamNormal({10.0, 20.0, 30.0}, 2.0, kCovariance) && b.values.GetRandom(x));
        const Vector z = same.Normals(3);
        EXPECT_EQ(x, (Vector{10.0 + 2.0 * (2.0 * z[0]), 20.0 + 2.0 * (1.0 * z[0] + 3.0 * z[1]),
                             30.0 + 2.0 * (-1.0 * z[0] + 0.5 * z[1] + 1.0 * z[2])}));
        ASSERT_TRUE(b.values.SetParamNormal(2) && b.values.GetRandom(x));
        EXPECT_EQ(x, same.Normals(2));
        ASSERT_TRUE(b.values.SetParamWishart(2, 3.5, Packed(2, {4, 2, 10})) && b.values.GetRandom(w));
        const double a00 = std::sqrt(same.values.RVChi(3.5)), a10 = same.values.RVSNor();
        const double a11 = std::sqrt(same.values.RVChi(2.5));
        const double t00 = 2.0 * a00, t10 = 1.0 * a00 + 3.0 * a10, t11 = 3.0 * a11;
        EXPECT_TRUE(SameBits(w.AsSpan(), Vector{t00 * t00, t10 * t00, t10 * t10 + t11 * t11}));
    }
    // Of another kind, without a source or from a broken one: refused, nothing changed.
    const Vector xBefore = x, wBefore(w.AsSpan().begin(), w.AsSpan().end());
    EXPECT_FALSE(b.values.GetRandom(x));
    EXPECT_EQ(b.values.GetRandom(), kMissing);
    b.values.SetParamNormal(2);
    EXPECT_FALSE(b.values.GetRandom(w));
    Bound broken({0.9, kNan});
    for (MCURandom* const source : {static_cast<MCURandom*>(nullptr), &broken.source}) {
        b.values.SetURNGPtr(source);
        EXPECT_FALSE(b.values.SetParamNormal(2) && b.values.GetRandom(x));
        EXPECT_FALSE(b.values.SetParamWishart(2, 2.0) && b.values.GetRandom(w));
    }
    EXPECT_EQ(x, xBefore);
    EXPECT_TRUE(SameBits(w.AsSpan(), wBefore));
}

TEST(MCRandomValues, SingularCovariancesAreDrawnAndIndefiniteOnesRefused)
{
    struct Row {
        const char* name;
        MCSymMatrix covariance;
        double tolerance;
        Vector constant; // the combination that has no variance; none: refused
    };
    const Row rows[] = {
        {"equal variables", Packed(2, {1, 1, 1}), 1e-12, {1, -1}},
        {"a constant", Packed(2, {1, 0, 0}), 1e-12, {0, 1}},
        {"sum of two", Packed(3, {1, 0, 1, 1, 1, 2}), 1e-12, {1, 1, -1}},
        {"within the tolerance", Packed(2, {1, 1, 1 + 1e-9}), 1e-8, {1, -1}},
        {"negative variance", Packed(2, {1, 0, -1e-3}), 1e-12, {}},
        {"correlation above 1", Packed(2, {1, 2, 1}), 1e-12, {}},
        {"covariance of a constant", Packed(2, {0, 1, 1}), 1e-12, {}},
        {"covariance of a dependent one", Packed(3, {1, 1, 1, 1, 0.5, 1}), 1e-12, {}},
        {"not a number", Packed(2, {1, kNan, 1}), 1e-12, {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Bound b, full;
        const int n = row.covariance.GetNRows();
        ASSERT_TRUE(b.values.SetTolerance(row.tolerance));
        const std::string before = Shown(b.values);
        const Vector mean(static_cast<std::size_t>(n), 3.0);
        const bool accepted = !row.constant.empty();
        EXPECT_EQ(b.values.SetParamWishart(n, 10.0, row.covariance), accepted);
        EXPECT_EQ(b.values.SetParamNormal(mean, 1.0, row.covariance), accepted);
        Vector x;
        EXPECT_EQ(b.values.GetRandom(x), accepted);
        if (!accepted) {
            EXPECT_EQ(Shown(b.values), before);
            continue;
        }
        double combined = 0.0;
        for (std::size_t i = 0; i < x.size(); ++i) combined += row.constant[i] * (x[i] - mean[i]);
        EXPECT_NEAR(combined, 0.0, 1e-14);
        full.Normals(n); // as many are drawn whatever the rank
        EXPECT_EQ(b.source.GetRandom(), full.source.GetRandom());
    }
}

TEST(MCRandomValues, IsWholeAfterMovesAndWhenMemoryRunsOut)
{
    Bound b;
    MCRandomValues empty(b.values);
    MCRandomValues other(b.values);
    ASSERT_TRUE(b.values.SetParamWishart(3, 5.0, kCovariance) && other.SetParamUniform({0.0, 1.0}, {1.0, 2.0}));
    ExpectAssignmentIsWhole(b.values, other, Shown<MCRandomValues>);
    ExpectAssignmentIsWhole(other, b.values, Shown<MCRandomValues>);
    for (const bool isNormal : {false, true}) {
        ASSERT_TRUE(isNormal ? b.values.SetParamNormal(Vector(3), 1.0, kCovariance) : b.values.SetParamWishart(3, 5.0));
        ExpectEmptyAfterMove(b.values, empty, Shown<MCRandomValues>, [](MCRandomValues& values) {
            Vector x;
            MCSymMatrix w;
            EXPECT_TRUE(NoneOf({values.GetRandom(x), values.GetRandom(w)}));
            EXPECT_EQ(values.GetRandom(), kMissing);
        });
    }
}
