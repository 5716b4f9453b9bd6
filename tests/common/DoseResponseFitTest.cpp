#include "examples/dose_response/DoseResponseFit.h"

#include <gtest/gtest.h>

#include <vector>

using MCCommon_930::MemoryRecordIterator;
using MCMath_930::MCCancelInfo;

namespace {

struct StopAt : MCCommon_930::MCQueryCancel {
    explicit StopAt(int poll) : last(poll) {}
    bool CheckCancel() override { return ++polls == last; }
    bool PeekCancel() override { return false; }
    int last, polls = 0;
};

} // namespace

// Estimates as printed for these data by Dobson (1990), An Introduction to Generalized Linear Models: -60.72 and 34.27.
TEST(DoseResponseFit, ReachesThePublishedEstimatesAndCancelledKeepsTheLastFinishedIteration)
{
    std::vector<double> killed{6, 13, 18, 28, 52, 53, 61, 60, MCCommon_930::MCMV::Missing()};
    std::vector<double> cases{1.6907, 59,     1.7242, 60,     1.7552, 62,     1.7842, 56,  1.8113,
                              63,     1.8369, 59,     1.8610, 62,     1.8839, 60,     1.7, 10};
    MemoryRecordIterator rows(9, 2, killed.data(), cases.data(), nullptr);
    MCCancelInfo cancel;
    DoseResponseFit fit;
    EXPECT_TRUE(fit.Fit(rows, cancel).IsOK());
    ASSERT_EQ(fit.Estimates().size(), 2u);
    EXPECT_NEAR(fit.Estimates()[0], -60.72, 0.005);
    EXPECT_NEAR(fit.Estimates()[1], 34.27, 0.005);
    EXPECT_EQ(fit.Progress().DiscreteMeasure("iterNum"), 5);
    EXPECT_EQ(fit.Progress().VectorMeasure("paramEstim"), &fit.Estimates());
    ASSERT_EQ(fit.Warnings().GetWarnings(true).size(), 1u);
    EXPECT_EQ(fit.Warnings().GetWarnings(true)[0].GetErrorCode(), DoseResponseFit::CasesLeftOut);

    DoseResponseFit stopped;
    StopAt third(3);
    MCCancelInfo later(&third);
    const MCCommon_930::MCStatus status = stopped.Fit(rows, later);
    EXPECT_TRUE(status.IsError() && status.GetDiscreteDatum(0) == 2);
    EXPECT_TRUE(stopped.Progress().DiscreteMeasure("iterNum") == 1 && stopped.Estimates().size() == 2);
    MemoryRecordIterator one(1, 2, killed.data(), cases.data(), nullptr);
    EXPECT_EQ(fit.Fit(one, cancel).GetErrorCode(), DoseResponseFit::NotEnoughCases);
}
