#include "accumulators/AccumulatorsTesting.h"
#include "support/AllKernels.h"

namespace {

MCRectMatrix Rows(const MCRectMatrix& block, int first, int count)
{
    MCRectMatrix part(count, block.GetNCols());
    std::vector<double> row;
    for (int r = 0; r < count; ++r) {
        block.GetRow(first + r, row);
        part.SetRow(r, row);
    }
    return part;
}

/// Means and cross products in the order of the definition: rows outermost, each product rounded before it is added.
void ExpectPlainSums(const MCMeansXProducts& data, const MCRectMatrix& block, int p)
{
    double total = 0.0;
    Doubles means(static_cast<std::size_t>(p)), products(data.GetXProds().AsSpan().size()), row;
    const auto weight = [&] { return row[means.size()] * row[means.size() + 1]; };
    for (int r = 0; r < block.GetNRows(); ++r) {
        block.GetRow(r, row);
        total += weight();
        for (std::size_t i = 0; i < means.size(); ++i) {
            volatile double term = weight() * row[i];
            means[i] += term;
        }
    }
    for (double& mean : means) mean /= total;
    EXPECT_EQ(data.GetNCases(), total);
    EXPECT_TRUE(p == 1 || SameBits(data.GetMeans(), means)); // rounding may leave the one column constant
    means = data.IsIntercept() ? data.GetMeans() : Doubles(means.size());
    for (int r = 0; r < block.GetNRows(); ++r) {
        block.GetRow(r, row);
        auto sum = products.begin();
        for (std::size_t i = 0; i < means.size(); ++i)
            for (std::size_t j = 0; j <= i; ++j, ++sum) {
                volatile double product = weight() * (row[i] - means[i]);
                product = product * (row[j] - means[j]);
                *sum += product;
            }
    }
    EXPECT_TRUE(SameBits(data.GetXProds().AsSpan(), products));
}

} // namespace

TEST(MCMeansXProducts, EveryRoadGivesTheSumsOfTheWhole)
{
    TestRandom random(31);
    for (int flags = 0; flags < 8; ++flags)
        for (const int p : {1, 3, 12})
            for (const int rows : {1, 5, 8, 33, 100}) {
                const bool intercept = flags % 2 == 0, frequency = flags / 2 % 2 == 0, regression = flags / 4 == 0;
                const MCRectMatrix X = RandomBlock(random, rows, p, frequency + regression);
                MCMeansXProducts twoFlags(p, intercept, true, true), data(p, intercept, frequency, regression);
                MCRectMatrix weighted(rows, p + 2); // the same with both weights
                for (int r = 0; r < rows; ++r) {
                    for (int i = 0; i < p; ++i) weighted.SetElem(r, i, X.GetElem(r, i));
                    weighted.SetElem(r, p, frequency || regression ? X.GetElem(r, p) : 1.0);
                    weighted.SetElem(r, p + 1, frequency && regression ? X.GetElem(r, p + 1) : 1.0);
                }
                ASSERT_TRUE(twoFlags.Compute(weighted, 0) && data.Compute(X, 0));
                EXPECT_TRUE(SameState(data, twoFlags));

                const int cut = rows / 3;
                data.StartUpdate();
                ASSERT_TRUE(data.Update(Rows(X, 0, cut), 0)); // no rows at all when rows = 1
                ASSERT_TRUE(data.Update(Rows(X, cut, rows - cut), rows));
                data.FinishUpdate();
                ExpectClose(data, twoFlags);

                data.StartUpdateOnePass();
                ASSERT_TRUE(data.UpdateOnePass(X, cut));
                ASSERT_TRUE(data.UpdateOnePass(Rows(X, cut > 0 ? cut : rows, cut > 0 ? rows - cut : 0), -1));
                data.FinishUpdateOnePass();
                ExpectClose(data, Whole(weighted, p, true)); // centred whatever the flag says
            }
}

TEST(MCMeansXProducts, XProdsEqualTheDefiningLoopBitForBit)
{
    ForEachKernelSet([] {
        TestRandom random(2);
        // Widths with every rest of a tile, and rows and columns on both sides of a pass over the matrix.
        std::vector<std::pair<int, int>> sizes = {{3, 190}, {3, 191}, {13, 192}, {19, 400}, {512, 2}, {530, 3}};
        for (int p = 1; p <= 17; ++p) sizes.emplace_back(p, 1 + 2 * p);
        for (const bool intercept : {true, false})
            for (const auto& [p, rows] : sizes) {
                MCRectMatrix X = RandomBlock(random, rows, p, 2);
                X.SetElem(rows / 2, p, 0.0);
                MCMeansXProducts data(p, intercept, true, true);
                ASSERT_TRUE(data.Compute(X, 0));
                SCOPED_TRACE(::testing::Message() << p << ", " << rows);
                ExpectPlainSums(data, X, p);
            }
    });
}

TEST(MCMeansXProducts, AConstantColumnHasItsValueAsMeanAndNoDeviations)
{
    TestRandom random(6);
    MCRectMatrix X = RandomBlock(random, 50, 3, 1);
    for (int r = 0; r < 50; ++r) X.SetElem(r, 1, 0.1);
    MCMeansXProducts data(3, true, true, false);
    for (const int rows : {50, 20}) {
        ASSERT_TRUE(data.Update(X, rows));
        EXPECT_EQ(data.GetMeans()[1], 0.1);
        for (int i = 0; i < 3; ++i) EXPECT_EQ(data.GetXProds().GetElem(1, i), 0.0);
    }
    X.SetElem(49, 1, 0.2);
    ASSERT_TRUE(data.Compute(X, 0));
    EXPECT_NE(data.GetXProds().GetElem(1, 1), 0.0);
}

TEST(MCMeansXProducts, RefusalsAndWeightlessBlocksChangeNothing)
{
    TestRandom random(9);
    const MCRectMatrix X = RandomBlock(random, 12, 3, 1);
    MCMeansXProducts data(3, true, true, false);
    ASSERT_TRUE(data.Compute(X, 0));
    const MCMeansXProdData before(data);
    for (const int cols : {0, 3, 5}) {
        const MCRectMatrix wrong(4, cols);
        EXPECT_TRUE(NoneOf({data.Compute(wrong, 0), data.Update(wrong, 0), data.UpdateOnePass(wrong, 0)}));
    }
    EXPECT_TRUE(SameState(data, before));

    MCRectMatrix weightless(Rows(X, 0, 5));
    for (int r = 0; r < 5; ++r) weightless.SetElem(r, 3, 0.0);
    weightless.SetElem(2, 1, kInf);
    EXPECT_TRUE(data.Update(weightless, 0));
    EXPECT_TRUE(data.Update(MCRectMatrix(0, 4), 0));
    EXPECT_TRUE(SameState(data, before));
    for (int r = 0; r < 5; ++r) weightless.SetElem(r, 3, -data.GetNCases()); // together 0 or less: as Compute
    weightless.SetElem(2, 1, 1.0);
    EXPECT_TRUE(data.Update(weightless, 1));
    EXPECT_TRUE(SameState(data, Whole(Rows(weightless, 0, 1), 3, true)));
    weightless.SetElem(0, 3, 0.0);
    EXPECT_TRUE(data.Compute(weightless, 1));
    EXPECT_TRUE(SameState(data, MCMeansXProdData(3, true)));

    data.SetNVars(2);
    EXPECT_FALSE(data.UpdateOnePass(MCRectMatrix(4, 3), 0)); // sums of three variables are still there
    data.StartUpdateOnePass();
    EXPECT_TRUE(data.UpdateOnePass(MCRectMatrix(4, 3), 0));
    data.FinishUpdateOnePass();
    EXPECT_TRUE(SameState(data, MCMeansXProdData(2, true)));
}

// A NaN, and an infinite value without weight, which is 0 times infinity.
TEST(MCMeansXProducts, NanStaysInItsVariable)
{
    TestRandom random(13);
    MCRectMatrix X = RandomBlock(random, 40, 3, 1);
    for (const auto& [value, weight] : {std::pair{kNan, 1.0}, {HUGE_VAL, 0.0}}) {
        X.SetElem(0, 3, weight);
        X.SetElem(0, 1, 3.0);
        MCMeansXProducts clean(3, true, true, false), data(clean);
        ASSERT_TRUE(clean.Compute(X, 0));
        X.SetElem(0, 1, value);
        ASSERT_TRUE(data.Compute(X, 0));
        EXPECT_TRUE(std::isnan(data.GetMeans()[1]) && std::isnan(data.GetXProds().GetElem(2, 1)));
        for (const int i : {0, 2})
            for (const int j : {0, 2}) EXPECT_EQ(data.GetXProds().GetElem(i, j), clean.GetXProds().GetElem(i, j));
    }
}
