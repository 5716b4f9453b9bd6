// What the accumulators of means and cross products must arrive at, computed independently.
#pragma once

#include "modelcore/accumulators/MCMeansXProdData.h"
#include "modelcore/matrix/MCRectMatrix.h"
#include "support/Bits.h"
#include "support/Random.h"

#include <cmath>
#include <vector>

/// Rows of p values between 2 and 4, followed by nWeights weights.
inline MCMath_930::MCRectMatrix RandomBlock(TestRandom& random, int rows, int p, int nWeights)
{
    MCMath_930::MCRectMatrix block(rows, p + nWeights);
    for (int r = 0; r < rows; ++r) {
        for (int i = 0; i < p; ++i) block.SetElem(r, i, random.Uniform(2.0, 4.0));
        for (int i = p; i < p + nWeights; ++i) block.SetElem(r, i, random.Uniform(0.5, 2.0));
    }
    return block;
}

inline double CaseWeight(const MCMath_930::MCRectMatrix& block, int r, int p)
{
    double weight = 1.0;
    for (int i = p; i < block.GetNCols(); ++i) weight *= block.GetElem(r, i);
    return weight;
}

/// Compares with sums over the rows of block in long double: the weighted count, the means and the cross products,
/// centred or raw, all relative to the raw sums.
inline void ExpectAccumulated(const MCMath_930::MCMeansXProdData& data, const MCMath_930::MCRectMatrix& block, int p,
                              bool centred, double tolerance = 1e-13)
{
    const auto size = static_cast<std::size_t>(p);
    long double total = 0.0L;
    std::vector<long double> means(size);
    for (int r = 0; r < block.GetNRows(); ++r) {
        const long double w = CaseWeight(block, r, p);
        total += w;
        for (int i = 0; i < p; ++i) means[static_cast<std::size_t>(i)] += w * block.GetElem(r, i);
    }
    for (long double& mean : means) mean /= total;
    ASSERT_EQ(data.GetNVars(), p);
    ASSERT_EQ(data.GetMeans().size(), size);
    ASSERT_EQ(data.GetXProds().GetNRows(), p);
    EXPECT_NEAR(data.GetNCases(), static_cast<double>(total), tolerance * static_cast<double>(total));
    for (int i = 0; i < p; ++i) {
        const long double mi = means[static_cast<std::size_t>(i)];
        EXPECT_NEAR(data.GetMeans()[static_cast<std::size_t>(i)], static_cast<double>(mi), tolerance * 4.0);
        for (int j = 0; j <= i; ++j) {
            const long double mj = means[static_cast<std::size_t>(j)];
            long double sum = 0.0L;
            for (int r = 0; r < block.GetNRows(); ++r)
                sum += CaseWeight(block, r, p) * (block.GetElem(r, i) - (centred ? mi : 0.0L)) *
                       (block.GetElem(r, j) - (centred ? mj : 0.0L));
            EXPECT_NEAR(data.GetXProds().GetElem(i, j), static_cast<double>(sum),
                        tolerance * 16.0 * static_cast<double>(total))
                << i << ", " << j;
        }
    }
}

inline ::testing::AssertionResult SameState(const MCMath_930::MCMeansXProdData& actual,
                                            const MCMath_930::MCMeansXProdData& expected)
{
    if (actual.GetNVars() != expected.GetNVars() || actual.IsIntercept() != expected.IsIntercept())
        return ::testing::AssertionFailure() << "variables or flags differ";
    const auto numbers = [](const MCMath_930::MCMeansXProdData& data) {
        std::vector<double> all{data.GetNCases()};
        all.insert(all.end(), data.GetMeans().begin(), data.GetMeans().end());
        all.insert(all.end(), data.GetXProds().AsSpan().begin(), data.GetXProds().AsSpan().end());
        return all;
    };
    return SameBits(numbers(actual), numbers(expected));
}
