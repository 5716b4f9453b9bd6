// What MCRNGNormal, MCRNGBeta and MCRNGBinomial have in common, and the edges of each.
#include "random/RandomTesting.h"
#include "support/MovedFrom.h"

namespace {

/// With these parameters a draw takes several uniforms by way of the embedded generators.
constexpr double kFirst = 150.0, kSecond = 0.4;

template <class Generator>
std::vector<double> Next(Generator& generator)
{
    std::vector<double> numbers;
    for (int i = 0; i < 20; ++i) {
        numbers.push_back(generator.GetNext());
        numbers.push_back(generator.GetNext(2.0, 2.0)); // not stored; no trials for the binomial
    }
    return numbers;
}
template <class Generator>
std::vector<double> From(MCRNGenerator& source)
{
    Generator generator(kFirst, kSecond);
    generator.SetURNGenerator(source);
    return Next(generator);
}

template <class Generator>
class MCRNGVariates : public testing::Test {};
using Generators = testing::Types<MCRNGNormal, MCRNGBeta, MCRNGBinomial>;
TYPED_TEST_SUITE(MCRNGVariates, Generators);

} // namespace

TYPED_TEST(MCRNGVariates, SourceIsTheCallersOrAnOwnCongruentialGenerator)
{
    MCRNGUCongruential fresh, seeded;
    seeded.SetSeed(77.5);
    TypeParam generator;
    generator.SetParameters(kFirst, kSecond);
    EXPECT_TRUE(SameBits(Next(generator), From<TypeParam>(fresh)));
    generator.SetSeed(77.5);
    EXPECT_TRUE(SameBits(Next(generator), From<TypeParam>(seeded)));

    MCRNGUTwister source, same;
    same.SetSeed(-3.25);
    {
        TypeParam user(generator); // has a source of its own, which goes
        user.SetURNGenerator(source);
        user.SetSeed(-3.25);
        TypeParam shares(user);
        EXPECT_TRUE(SameBits(Next(user), From<TypeParam>(same)));
        EXPECT_TRUE(SameBits(Next(shares), From<TypeParam>(same)));
    }
    EXPECT_EQ(source.GetNext(), same.GetNext()); // lives, and stands at the same place
}

TYPED_TEST(MCRNGVariates, CopiesGoOnFromACopyOfAnOwnSource)
{
    TypeParam original(kFirst, kSecond), unused(original), assigned;
    Next(original);
    MCRNGUCongruential fresh;
    From<TypeParam>(fresh); // stands where original stands
    {
        TypeParam copy(original);
        assigned = copy;
        assigned = *&assigned;
        EXPECT_TRUE(SameBits(Next(copy), Next(original)));
    } // with the copy its source goes; that of the assigned one stays
    EXPECT_TRUE(SameBits(Next(assigned), From<TypeParam>(fresh)));
    fresh.SetSeed(1.0);
    EXPECT_TRUE(SameBits(Next(unused), From<TypeParam>(fresh)));
}

TYPED_TEST(MCRNGVariates, AssignmentIsWholeWhenMemoryRunsOut)
{
    TypeParam owner(kFirst, kSecond), fresh(kFirst, kSecond);
    Next(owner);
    const auto look = [](const TypeParam& generator) {
        TypeParam copy(generator);
        return Next(copy);
    };
    ExpectAssignmentIsWhole(owner, fresh, look);
    ExpectAssignmentIsWhole(fresh, owner, look);
}

TYPED_TEST(MCRNGVariates, BrokenSourcesDoNotHang)
{
    for (const double number : {kNan, kInf, -kInf, 0.0, 1.0, 0.975, 0.999, 0.5, -5.0}) {
        ScriptedSource source({number});
        From<TypeParam>(source);
        EXPECT_LT(source.Drawn(), 50000000u);
    }
}

TEST(MCRNGNormal, RefusedTrials)
{
    struct Row {
        const char* name;
        std::vector<double> uniforms;
        double expected;
    };
    // clang-format off
    for (const Row& row : {
        Row{"t < 0 in region 1, which the method of 1976 took", {0.9004708305001259, 0.99999, 0.9999899, 0.5687834676355124, 0.04954565782099962}, -0.4502226113323404},
        {"region 2", {0.9216025774367154, 0.9692773493006825, 0.5429791728965938, 0.5316917225718498, 0.04979402618482709}, -0.5347733886460107},
        {"log of 0 in the tail", {0.9901560717262328, 0.0, 0.0, 0.5, 0.0, 0.5717591135762632, 0.8000567546114326}, -2.3145107875533455}}) {
        // clang-format on
        ScriptedSource source(row.uniforms);
        MCRNGNormal normal;
        normal.SetURNGenerator(source);
        EXPECT_LE(UlpDistance(normal.GetNext(), row.expected), 4u) << row.name;
        EXPECT_EQ(source.Drawn(), row.uniforms.size()) << row.name;
    }
    ScriptedSource broken({0.9, kNan});
    MCRNGNormal normal(3.0, 2.0);
    normal.SetURNGenerator(broken);
    EXPECT_EQ(normal.GetNext(), kMissing);
}

TEST(MCRNGVariatesParameters, InvalidOnesBecomeDefaults)
{
    const double z = MCRNGNormal().GetNext(), u = MCRNGUCongruential().GetNext();
    for (const double sd : {-1.0, -5e-324, kNan}) EXPECT_EQ(MCRNGNormal(5.0, sd).GetNext(), z);
    EXPECT_EQ(MCRNGNormal(5.0, 0.0).GetNext(), 5.0);
    EXPECT_EQ(MCRNGNormal(3.0, 1.0).GetNext(5.0, 2.0), 5.0 + 2.0 * z);
    for (const double shape : {0.0, -1.0, kInf, kNan}) {
        EXPECT_EQ(MCRNGBeta(shape, 3.0).GetNext(), u);
        EXPECT_EQ(MCRNGBeta(3.0, shape).GetNext(), u);
    }
    ScriptedSource none({0.0});
    MCRNGBinomial binomial;
    binomial.SetURNGenerator(none);
    for (const double n : {2.5, -1.0, kInf, kNan}) EXPECT_EQ(binomial.GetNext(n, 0.3), 0.0);
    for (const double p : {-0.1, 1.1, kNan}) EXPECT_EQ(binomial.GetNext(10.0, p), 0.0);
    EXPECT_EQ(none.Drawn(), 0u);
}

TEST(MCRNGVariatesParameters, ExtremeOnesGiveNumbersOfTheRange)
{
    MCRNGBeta beta;
    constexpr double shapes[] = {5e-324, 1e-3, 0.05199, 0.052, 0.9, 1.0, 1.4, 1.6, 1e10, 1e300};
    for (const double a : shapes)
        for (const double b : shapes)
            for (int i = 0; i < 10; ++i) {
                const double x = beta.GetNext(a, b);
                ASSERT_TRUE(x >= 0.0 && x <= 1.0) << a << " " << b << ": " << x;
            }
    ScriptedSource zeroFirst({0.0, 0.5, 0.5, 0.5}); // drawn again: ln(0) would lead to 0 for certain
    beta.SetURNGenerator(zeroFirst);
    EXPECT_NEAR(beta.GetNext(300.0, 2.0), 300.0 / 302.0, 0.01);

    MCRNGBinomial binomial;
    for (const double n : {0.0, 1.0, 99.0, 100.0, 101.0, 1e6, 1e15, 1e300}) {
        EXPECT_EQ(binomial.GetNext(n, 0.0), 0.0);
        EXPECT_DOUBLE_EQ(binomial.GetNext(n, 1.0), n); // exactly so up to 2^53
        for (const double p : {5e-324, 0.5, std::nextafter(1.0, 0.0)}) {
            const double k = binomial.GetNext(n, p);
            ASSERT_TRUE(k >= 0.0 && k <= n && k == std::floor(k)) << n << " " << p << ": " << k;
        }
    }
    ScriptedSource direct({0.3, 0.30000000000000004, 0.29, 0.9, 0.0}); // a trial succeeds up to p itself
    binomial.SetURNGenerator(direct);
    EXPECT_EQ(binomial.GetNext(5.0, 0.3), 3.0);
    EXPECT_EQ(binomial.GetNext(5.0, 1.0), 5.0); // certain: nothing is drawn
    EXPECT_EQ(direct.Drawn(), 5u);
}

TEST(MCRandom, DisplaySaysWhatIsDrawnAndWhereFrom)
{
    const auto framed = [](const std::string& name, const std::string& lines) {
        return name + " display start\n" + lines + name + " display end\n";
    };
    const std::string none = "Uniform source indicator: false\nOwned source indicator: true\n";
    MCRNGUTwister twister;
    twister.SetSeed(5.0);
    twister.GetNext();
    MCRNGUCongruential congruential;
    congruential.SetSeed(77.5);
    MCRNGBinomial binomial(10.0, 0.5);
    binomial.SetURNGenerator(twister);
    const MCURandom random(5, true, false, nullptr);
    EXPECT_EQ(Shown(MCRNGNormal(1.5, 0.25)), framed("MCRNGNormal", "Mean: 1.5\nStandard deviation: 0.25\n" + none));
    EXPECT_EQ(Shown(MCRNGBeta(2.0, 3.0)), framed("MCRNGBeta", "First shape: 2\nSecond shape: 3\n" + none));
    EXPECT_EQ(Shown(binomial),
              framed("MCRNGBinomial", "Number of trials: 10\nProbability: 0.5\n"
                                      "Uniform source indicator: true\nOwned source indicator: false\n"));
    EXPECT_EQ(Shown(congruential), framed("MCRNGUCongruential", "State: 77\n"));
    EXPECT_EQ(Shown(twister), framed("MCRNGUTwister", framed("MCRandomTwister", "Position in the block: 2\n")));
    EXPECT_EQ(Shown(random), framed("MCURandom", "The seed: 5\nPortable RNG indicator: true\n"
                                                 "Mersenne Twister RNG indicator: false\n"));
    MCRandomValues values;
    const auto chosen = [&](bool isSet, const std::string& lines) {
        EXPECT_TRUE(isSet && Shown(values).find("Parameters set indicator: true\nDistribution: " + lines +
                                                "MCRandomValues display end\n") != std::string::npos)
            << Shown(values);
    };
    chosen(values.SetParamUniform(-1.0, 2.0), "uniform\nLower bound: -1\nUpper bound: 2\n");
    chosen(values.SetParamNormal(3.0, 0.5), "normal\nMean: 3\nStandard deviation: 0.5\n");
    chosen(values.SetParamChi(4.0), "chi-square\nDegrees of freedom: 4\n");
    chosen(values.SetParamGamma(2.0, 8.0), "gamma\nShape: 2\nRate: 8\n");
    chosen(values.SetParamWishart(2, 5.0),
           "Wishart matrices\nOrder: 2\nDegrees of freedom: 5\nIdentity matrix indicator: true\n");
}
