#include "modelcore/pmml/MCPMMLExporter.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/pmml/internal/PMMLBuilder.h"
#include "modelcore/pmml/internal/PMMLQuality.h"

#include <utility>

namespace MCXML_930 {

using MCCommon_930::MCStatus;
using MCCommon_930::Value;

MCPMMLTerm& MCPMMLTerm::TimesField(const std::string& field, int exponent)
{
    parts.push_back({Part::Field, field, exponent, 0, {}});
    return *this;
}

MCPMMLTerm& MCPMMLTerm::TimesLevel(const std::string& field, const Value& level)
{
    parts.push_back({Part::Level, field, 1, 0, level});
    return *this;
}

MCPMMLTerm& MCPMMLTerm::TimesColumn(const std::string& field, int column, int exponent)
{
    parts.push_back({Part::Column, field, exponent, column, {}});
    return *this;
}

MCPMMLExporter::MCPMMLExporter(const MCVariableList& variables) : fVariables(variables) {}
MCPMMLExporter::MCPMMLExporter(const MCPMMLExporter&) = default;
MCPMMLExporter::MCPMMLExporter(MCPMMLExporter&&) noexcept = default;
MCPMMLExporter& MCPMMLExporter::operator=(const MCPMMLExporter& other)
{
    return MCMath_930::internal::AssignByCopy(*this, other);
}
MCPMMLExporter& MCPMMLExporter::operator=(MCPMMLExporter&&) noexcept = default;
MCPMMLExporter::~MCPMMLExporter() = default;

void MCPMMLExporter::SetHeader(const std::string& copyright, const std::string& application, const std::string& version,
                               const std::string& timestamp)
{
    // All of them or, when memory runs out, none.
    std::string texts[] = {copyright, application, version, timestamp};
    fCopyright.swap(texts[0]);
    fApplication.swap(texts[1]);
    fVersion.swap(texts[2]);
    fTimestamp.swap(texts[3]);
}

bool MCPMMLExporter::SetEncoder(const std::string& field, const IMCEncoder& encoder)
{
    if (fVariables.Find(field) < 0 || !encoder.IsFinished()) return false;
    std::shared_ptr<const IMCEncoder> copy = encoder.Clone(); // before there is a place for it, which is never empty
    fEncoders[field] = std::move(copy);
    return true;
}

bool MCPMMLExporter::AddStatistics(const std::string& field, const MCMath_930::MCContStats& valid, double missing,
                                   double invalid)
{
    if (fVariables.Find(field) < 0) return false;
    fvStatistics.push_back({field, missing, invalid, valid, {}, {}});
    return true;
}

bool MCPMMLExporter::AddStatistics(const std::string& field, const MCMath_930::MCCatStats& valid,
                                   const std::vector<Value>& categories, double missing, double invalid)
{
    if (fVariables.Find(field) < 0 || valid.GetNCategories(true) > static_cast<int>(categories.size())) return false;
    fvStatistics.push_back({field, missing, invalid, std::nullopt, valid, categories});
    return true;
}

void MCPMMLExporter::AddVerification(const std::vector<MCPMMLVerification>& cases, double precision)
{
    fvCases = std::vector<MCPMMLVerification>(cases);
    fdPrecision = precision;
}

std::string MCPMMLExporter::GetColumnName(const std::string& field, int column) const
{
    internal::PMMLBuilder builder(*this);
    const internal::PMMLField* const found = builder.FindField(field);
    if (found == nullptr || column < 0 || column >= static_cast<int>(found->columns.size())) return {};
    return found->columns[static_cast<std::size_t>(column)];
}

std::vector<std::string> MCPMMLExporter::GetOutputNames() const
{
    return internal::PMMLBuilder(*this).GetOutputNames();
}

XMLElement* MCPMMLExporter::Create(MCStatus* status, std::string* problem) const
{
    internal::PMMLBuilder builder(*this);
    std::unique_ptr<XMLElement> root = builder.Create();
    const bool ok = builder.GetWriter().Ok();
    if (status != nullptr) *status = ok ? MCStatus() : MCStatus(builder.GetWriter().GetCode(), false);
    if (problem != nullptr && !ok) *problem = builder.GetWriter().GetProblem();
    return root.release();
}

XMLElement* MCPMMLExporter::CreateQuality(const std::string& target, const MCPMMLQuality& quality, std::string* problem)
{
    internal::PMMLWriter writer;
    std::unique_ptr<XMLElement> element(XMLElement::Create("PredictiveModelQuality"));
    internal::WritePMMLQuality(writer, *element, target, quality);
    if (writer.Ok()) return element.release();
    if (problem != nullptr) *problem = writer.GetProblem();
    return nullptr;
}

void MCPMMLExporter::Display() const
{
    constexpr const char* kModels[] = {"none", "RegressionModel", "GeneralRegressionModel", "ClusteringModel"};
    MCDisplay_930::DisplayStart("MCPMMLExporter");
    MCDisplay_930::Display("Application", fApplication + " " + fVersion);
    MCDisplay_930::Display("Model", kModels[fModel.index()]);
    MCDisplay_930::Display("Fields with statistics", static_cast<int>(fvStatistics.size()));
    MCDisplay_930::Display("Qualities", static_cast<int>(fvQualities.size()));
    MCDisplay_930::Display("Cases of the verification", static_cast<int>(fvCases.size()));
    MCDisplay_930::Display("Columns are shown", fbShowColumns);
    fVariables.Display();
    for (const auto& [field, encoder] : fEncoders) encoder->Display();
    MCDisplay_930::DisplayEnd("MCPMMLExporter");
}

} // namespace MCXML_930
