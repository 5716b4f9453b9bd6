#include "modelcore/common/MCIterationReporter.h"
#include "support/DisplayCapture.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

using MCMath_930::MCIterationReporter;

TEST(MCIterationReporter, AnswersByExactKey)
{
    const std::vector<double> a{1.0}, b{2.0}, c{3.0};
    MCIterationReporter reporter;
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
    for (const char* key : {"", "IterNum", "LogLik", "iterNum ", "time\n", "paramEstim4"}) {
        EXPECT_EQ(report.DiscreteMeasure(key), -1) << key;
        EXPECT_EQ(report.ScaleMeasure(key), std::numeric_limits<double>::lowest()) << key;
        EXPECT_EQ(report.VectorMeasure(key), nullptr) << key;
    }
    reporter.SetInfo(&a, nullptr, nullptr, 6, -10.0, 2.0); // keeps the step halvings
    EXPECT_EQ(report.DiscreteMeasure("stepHalving"), 2);
    EXPECT_EQ(report.VectorMeasure("paramEstim2"), nullptr);
}

TEST(MCIterationReporter, DisplayHasTheLabelsInOrder)
{
    const std::vector<double> a{1.0, -0.5}, b{2.0};
    DisplayCapture capture;
    MCIterationReporter reporter;
    reporter.SetInfo(&a, &b, nullptr, 3, 210.5, 0.25);
    reporter.Display();
    reporter.SetInfo(nullptr, 1, 7, 0.0, 0.0);
    reporter.Reset();
    reporter.Display();
    EXPECT_EQ(capture.Text(), "MCIterationReporter display start\n"
                              "Iteration number: 3\n"
                              "Number of step halving: 0\n"
                              "Pseudo -2 log-likelihood: 210.5\n"
                              "Elapsed time in sec: 0.25\n"
                              "Parameter estimates:\n"
                              "[0]     1  -0.5\n"
                              "Parameter estimates, second vector:\n"
                              "[0]  2\n"
                              "MCIterationReporter display end\n"
                              "MCIterationReporter display start\n"
                              "Iteration number: 0\n"
                              "Number of step halving: 0\n"
                              "Pseudo -2 log-likelihood: 0\n"
                              "Elapsed time in sec: 0\n"
                              "Parameter estimates pointer is 0\n"
                              "MCIterationReporter display end\n");
}
