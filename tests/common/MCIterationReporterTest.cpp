#include "modelcore/common/MCIterationReporter.h"
#include "support/Testing.h"

TEST(MCIterationReporter, AnswersByExactKey)
{
    const std::vector<double> a{1.0}, b{2.0}, c{3.0};
    MCMath_930::MCIterationReporter reporter;
    reporter.SetInfo(&a, &b, &c, 4, -12.5, 0.75);
    reporter.SetInfo(&c, 5, 2, -11.0, 1.5); // keeps the second and third vector
    const MCCommon_930::ProgressReportVect& report = reporter;
    EXPECT_EQ(report.DiscreteMeasure("iterNum"), 5);
    EXPECT_EQ(report.DiscreteMeasure("stepHalving"), 2);
    EXPECT_EQ(report.ScaleMeasure("loglik"), -11.0);
    EXPECT_EQ(report.ScaleMeasure("time"), 1.5);
    EXPECT_EQ(report.VectorMeasure("paramEstim"), &c);
    EXPECT_EQ(report.VectorMeasure("paramEstim2"), &b);
    EXPECT_EQ(report.VectorMeasure("paramEstim3"), &c);
    for (const char* key : {"", "IterNum", "time\n", "paramEstim4"}) {
        EXPECT_EQ(report.DiscreteMeasure(key), -1) << key;
        EXPECT_EQ(report.ScaleMeasure(key), std::numeric_limits<double>::lowest()) << key;
        EXPECT_EQ(report.VectorMeasure(key), nullptr) << key;
    }
    reporter.SetInfo(&a, nullptr, nullptr, 6, -10.0, 2.0); // keeps the step halvings
    EXPECT_TRUE(report.DiscreteMeasure("stepHalving") == 2 && report.VectorMeasure("paramEstim2") == nullptr);
    reporter.Reset();
    EXPECT_TRUE(report.DiscreteMeasure("stepHalving") == 0 && report.VectorMeasure("paramEstim") == nullptr);
    EXPECT_TRUE(report.DiscreteMeasure("iterNum") == 0 && report.ScaleMeasure("loglik") == 0.0 &&
                report.ScaleMeasure("time") == 0.0);
}
