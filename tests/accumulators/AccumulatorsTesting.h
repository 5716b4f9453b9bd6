// What the tests of the accumulators share: random data, and what must come of it, computed independently.
#pragma once

#include "modelcore/modelcore.h"
#include "support/Bits.h"
#include "support/DisplayCapture.h"
#include "support/Numbers.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using namespace MCMath_930;

/// What WriteObjectXML writes: all numbers with all their digits.
template <class T>
std::string Saved(const T& object)
{
    std::ostringstream text;
    object.WriteObjectXML(text, 1);
    return text.str();
}

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

inline double CaseWeight(const MCRectMatrix& block, int r, int p)
{
    double weight = 1.0;
    for (int i = p; i < block.GetNCols(); ++i) weight *= block.GetElem(r, i);
    return weight;
}

/// Compares with sums over the rows of block in long double: the weighted count, the means and the cross products,
/// centred or raw, all relative to the raw sums.
inline void ExpectAccumulated(const MCMeansXProdData& data, const MCRectMatrix& block, int p, bool centred)
{
    constexpr double tolerance = 1e-13;
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

inline ::testing::AssertionResult SameState(const MCMeansXProdData& actual, const MCMeansXProdData& expected)
{
    if (actual.GetNVars() != expected.GetNVars() || actual.IsIntercept() != expected.IsIntercept())
        return ::testing::AssertionFailure() << "variables or flags differ";
    const auto numbers = [](const MCMeansXProdData& data) {
        std::vector<double> all{data.GetNCases()};
        all.insert(all.end(), data.GetMeans().begin(), data.GetMeans().end());
        all.insert(all.end(), data.GetXProds().AsSpan().begin(), data.GetXProds().AsSpan().end());
        return all;
    };
    return SameBits(numbers(actual), numbers(expected));
}
