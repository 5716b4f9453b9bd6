// The code of docs/charts.md: gains, a histogram and a classification table of four scored cases.
#include "modelcore/modelcore.h"

#include <cstdio>
#include <vector>

using namespace MCMath_930;

int main()
{
    const std::vector<RegDataInfo> scored = {{0.9, 1.0, 1.0}, {0.7, 0.0, 1.0}, {0.8, 1.0, 1.0}, {0.1, 0.0, 1.0}};

    std::vector<std::vector<ClassDataInfo>> categories(1);
    for (const RegDataInfo& c : scored) categories[0].push_back({c.fdPredicted, c.fdObserved == 1.0, c.fdFreqWeight});
    ClassGainsChart chart;
    chart.SetCountOfSegment(2);
    const std::vector<LiftInfo> table = chart.CalculateGains(categories)[0];

    MCHistogramData histogram(0.0, 1.0, 10);
    MCClassificationMatrix matrix(2);
    for (const ClassDataInfo& c : categories[0]) {
        histogram.UpdateData(c.fdFreqWeight, 1.0, c.fdProbability);
        matrix.UpdateData(c.fdFreqWeight, c.fbHit, c.fdProbability >= 0.75); // observed by row, predicted by column
    }
    const MCXML_930::MCVariateData& bars = histogram.GenerateMCVariateData("score");

    std::printf("first segment: %g hits, scores from %g\n", table[0].fdSegmentSum, table[0].fdMinScore);
    std::printf("hits found: %g; columns of the histogram: %zu\n", matrix.GetMatrix().GetElem(1, 1),
                bars.fVariables[0].fValues.size());
}
