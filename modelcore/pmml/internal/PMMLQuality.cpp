#include "modelcore/pmml/internal/PMMLQuality.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/pmml/internal/PMMLFields.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace MCXML_930::internal {

using MCCommon_930::MCMV;

namespace {

void WriteLift(PMMLWriter& writer, XMLElement& quality, const MCPMMLQuality::Lift& lift)
{
    XMLElement& data = writer.Add(quality, "LiftData");
    if (!IsAbsent(lift.category)) writer.Set(data, "targetFieldValue", TextOf(lift.category));
    XMLElement& graph = writer.Add(writer.Add(data, "ModelLiftGraph"), "LiftGraph");
    std::vector<double> cases, sums, scores;
    double sum = 0.0;
    bool known = true;
    for (const MCMath_930::LiftInfo& segment : lift.segments) {
        cases.push_back(segment.fnCumulativeCount);
        sums.push_back(sum += segment.fdSegmentSum);
        scores.push_back(segment.fdMinScore);
        known = known && !MCMV::IsMissing(segment.fdMinScore);
    }
    writer.AddArray(writer.Add(graph, "XCoordinates"), "Array", cases);
    writer.AddArray(writer.Add(graph, "YCoordinates"), "Array", sums);
    if (known) writer.AddArray(writer.Add(graph, "BoundaryValues"), "Array", scores);
}

} // namespace

void WritePMMLQuality(PMMLWriter& writer, XMLElement& quality, const std::string& target, const MCPMMLQuality& q)
{
    writer.Set(quality, "targetField", target);
    writer.SetIf(quality, "dataName", q.dataName);
    writer.Set(quality, "dataUsage",
               q.usage == MCPMMLQuality::Training ? "training"
               : q.usage == MCPMMLQuality::Test   ? "test"
                                                  : "validation");
    const std::pair<const char*, double> numbers[] = {{"meanError", q.meanError},
                                                      {"meanAbsoluteError", q.meanAbsoluteError},
                                                      {"meanSquaredError", q.meanSquaredError},
                                                      {"rootMeanSquaredError", q.rootMeanSquaredError},
                                                      {"r-squared", q.rSquared},
                                                      {"adj-r-squared", q.adjustedRSquared},
                                                      {"sumSquaredError", q.sumSquaredError},
                                                      {"sumSquaredRegression", q.sumSquaredRegression},
                                                      {"numOfRecords", q.records},
                                                      {"numOfRecordsWeighted", q.weightedRecords},
                                                      {"numOfPredictors", q.predictors},
                                                      {"degreesOfFreedom", q.degreesOfFreedom},
                                                      {"fStatistic", q.fStatistic},
                                                      {"AIC", q.aic},
                                                      {"BIC", q.bic},
                                                      {"AICc", q.aicc},
                                                      {"accuracy", q.accuracy},
                                                      {"AUC", q.auc},
                                                      {"precision", q.precision},
                                                      {"recall", q.recall},
                                                      {"specificity", q.specificity}};
    for (const auto& [name, number] : numbers) writer.SetIf(quality, name, number);
    const std::size_t labels = q.confusionLabels.size();
    if (q.confusion.size() != labels * labels)
        writer.Refuse(MCPMMLExporter::Inconsistent, "the confusion matrix is not as large as its labels say");
    else if (labels > 0) {
        XMLElement& confusion = writer.Add(quality, "ConfusionMatrix");
        writer.AddArray(writer.Add(confusion, "ClassLabels"), q.confusionLabels);
        XMLElement& matrix = writer.Add(confusion, "Matrix");
        writer.Set(matrix, "nbRows", static_cast<int>(labels));
        writer.Set(matrix, "nbCols", static_cast<int>(labels));
        for (auto row = q.confusion.begin(); row != q.confusion.end(); row += static_cast<std::ptrdiff_t>(labels))
            writer.AddArray(matrix, "Array", {row, row + static_cast<std::ptrdiff_t>(labels)});
    }
    for (const MCPMMLQuality::Lift& lift : q.lifts) WriteLift(writer, quality, lift);
    if (q.roc.empty()) return;
    XMLElement& roc = writer.Add(quality, "ROC");
    writer.Set(roc, "positiveTargetFieldValue", TextOf(q.rocCategory));
    XMLElement& graph = writer.Add(roc, "ROCGraph");
    const auto add = [&](const char* name, double MCPMMLQuality::RocPoint::*member) {
        std::vector<double> line;
        for (const MCPMMLQuality::RocPoint& point : q.roc) line.push_back(point.*member);
        writer.AddArray(writer.Add(graph, name), "Array", line);
    };
    add("XCoordinates", &MCPMMLQuality::RocPoint::falsePositiveRate);
    add("YCoordinates", &MCPMMLQuality::RocPoint::truePositiveRate);
    add("BoundaryValues", &MCPMMLQuality::RocPoint::cutoff);
}

} // namespace MCXML_930::internal
