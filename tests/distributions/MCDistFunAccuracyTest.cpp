#include "distributions/ExactTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <utility>

namespace {

// The largest relative error allowed, by function; measured over larger tables of the same kind, then rounded up.
const std::map<std::string, double> kAllowed{
    {"CdfStdNorm", 2e-15},     {"PdfNormalStandard", 1e-15},
    {"IdfStdNorm", 1e-15},     {"tavodnlgam", 2e-15},
    {"CdfChi", 3e-14},         {"SigChi", 3e-14},
    {"IdfChi", 4e-12},         {"CdfGam", 3e-14},
    {"PdfGamma", 4e-15},       {"CdfBeta", 8e-15},
    {"CdfT", 1e-14},           {"SigT", 1e-14},
    {"PdfT", 4e-15},           {"CdfF", 8e-15},
    {"SigF", 8e-15},           {"IdfBeta", 4e-12},
    {"IdfT", 4e-12},           {"IdfF", 4e-12},
    {"CdfBin", 2e-13},         {"PdfBin", 4e-15},
    {"PdfNegBin", 4e-15},      {"PdfHyper", 1e-14},
    {"CDFHyper", 1e-13},       {"NonCentralCdfChi", 1e-13},
    {"NonCentralCdfF", 1e-13}, {"NonCentralCdfT", 2e-13},
    {"NonCentralPdfT", 1e-12},
};

} // namespace

TEST(MCDistFunAccuracy, EveryFunctionMeetsItsBoundOnTheExactTable)
{
    std::map<std::string, std::pair<int, double>> found; // points and largest error
    for (const ExactPoint& point : ReadExactTable(MODELCORE_TEST_DATA "/distributions.txt")) {
        const double error = PointError(point, ExactCalls().at(point.function).call(point.args));
        auto& [points, worst] = found[point.function];
        ++points;
        worst = std::max(worst, error);
        EXPECT_LE(error, kAllowed.at(point.function))
            << point.function << ' ' << point.region << ' ' << ::testing::PrintToString(point.args) << " should be "
            << point.expected;
    }
    for (const auto& [function, bound] : kAllowed) EXPECT_GE(found[function].first, 10) << function << ' ' << bound;
}
