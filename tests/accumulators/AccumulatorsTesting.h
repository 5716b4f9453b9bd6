// What the tests of the accumulators share: random data, states, and the comparison of results.
#pragma once

#include "modelcore/modelcore.h"
#include "support/Saved.h"
#include "support/Testing.h"

using namespace MCMath_930;
using Doubles = std::vector<double>;

/// Rows of p values between 2 and 4, followed by nWeights weights.
inline MCRectMatrix RandomBlock(TestRandom& random, int rows, int p, int nWeights)
{
    MCRectMatrix block(rows, p + nWeights);
    for (int r = 0; r < rows; ++r) {
        for (int i = 0; i < p; ++i) block.SetElem(r, i, random.Uniform(2.0, 4.0));
        for (int i = p; i < p + nWeights; ++i) block.SetElem(r, i, random.Uniform(0.5, 2.0));
    }
    return block;
}

/// The sums of all rows of such a block at once, which are those of the plain loop to the bit.
inline MCMeansXProdData Whole(const MCRectMatrix& block, int p, bool intercept)
{
    MCMeansXProducts data(p, intercept, block.GetNCols() > p, block.GetNCols() > p + 1);
    EXPECT_TRUE(data.Compute(block, 0));
    return data;
}

inline Doubles Numbers(const MCMeansXProdData& data)
{
    Doubles all{data.GetNCases()};
    all.insert(all.end(), data.GetMeans().begin(), data.GetMeans().end());
    all.insert(all.end(), data.GetXProds().AsSpan().begin(), data.GetXProds().AsSpan().end());
    return all;
}

/// Sums of the same values between 2 and 4 in another order.
inline void ExpectClose(const MCMeansXProdData& data, const MCMeansXProdData& expected)
{
    const Doubles actual = Numbers(data), numbers = Numbers(expected);
    ASSERT_EQ(actual.size(), numbers.size());
    for (std::size_t k = 0; k < numbers.size(); ++k) EXPECT_NEAR(actual[k], numbers[k], 2e-12 * numbers[0]) << k;
}

inline ::testing::AssertionResult SameState(const MCMeansXProdData& actual, const MCMeansXProdData& expected)
{
    if (actual.GetNVars() != expected.GetNVars() || actual.IsIntercept() != expected.IsIntercept())
        return ::testing::AssertionFailure() << "variables or flags differ";
    return SameBits(Numbers(actual), Numbers(expected));
}
