// Puts a PMML document together.
#pragma once

#include "modelcore/pmml/MCPMMLExporter.h"
#include "modelcore/pmml/internal/PMMLFields.h"
#include "modelcore/pmml/internal/PMMLWriter.h"

#include <memory>
#include <set>
#include <string>
#include <vector>

namespace MCXML_930::internal {

class PMMLBuilder {
public:
    explicit PMMLBuilder(const MCPMMLExporter& exporter);

    /// Null when something is wrong; then the writer knows what.
    std::unique_ptr<XMLElement> Create();
    const PMMLWriter& GetWriter() const { return fWriter; }

    const PMMLFields& GetFields() const { return fFields; }
    PMMLField* FindField(std::string_view name) { return fFields.Find(name); }
    std::vector<std::string> GetOutputNames();

private:
    struct Output {
        std::string name;
        const char* feature;
        std::string value; // the category, or the field that is shown
        PMMLField::Data data = PMMLField::Data::Number;
    };
    using Part = MCPMMLTerm::Part;

    const MCPMMLModel* Model() const;
    void PlanOutputs();
    PMMLField* Need(const std::string& name, const std::string& user);

    // What a model needs of the fields, settled before anything is written
    void PlanModel();
    void PlanTarget(const MCPMMLModel& model);
    void PlanTerms(const MCPMMLModel& model);
    void PlanPart(const MCPMMLTerm& term, const Part& part, bool counts);
    void PlanClustering(const MCPMMLClustering& model);
    void PlanProducts(const MCPMMLModel& model, const std::vector<bool>& counts);
    void CheckCoefficients(const MCPMMLModel& model);

    // Parts of the document
    void WriteHeader(XMLElement& root);
    void WriteAliased(XMLElement& element, const MCPMMLModel& model);
    void WriteOutput(XMLElement& element);
    void WriteStatistics(XMLElement& element);
    void WriteQuality(XMLElement& element);
    void WriteTargets(XMLElement& element);
    void WriteVerification(XMLElement& element);
    /// What every model begins with.
    void WriteBegin(XMLElement& element, const std::string& name, const std::string& algorithm);

    void WriteRegression(XMLElement& root, const MCPMMLRegression& model);
    void WriteTable(XMLElement& element, const MCPMMLRegression& model, int category);
    void WriteGeneralRegression(XMLElement& root, const MCPMMLGeneralRegression& model);
    void WriteGeneralAttributes(XMLElement& element, const MCPMMLGeneralRegression& model, int reference);
    void WriteParameters(XMLElement& element, const MCPMMLGeneralRegression& model);
    void WriteClustering(XMLElement& root, const MCPMMLClustering& model);

    /// The field of the document that a part stands for.
    std::string PartField(const MCPMMLTerm& term, const Part& part);
    /// Whether it is a level that stands in the document as such.
    bool IsFactor(const MCPMMLTerm& term, const Part& part) const
    {
        return part.kind == Part::Level && !fByIndicators.contains(&term);
    }
    std::string CategoryText(const MCPMMLModel& model, int category) const;

    const MCPMMLExporter& fExporter;
    PMMLWriter fWriter;
    PMMLFields fFields;
    PMMLField* fTarget = nullptr;
    std::vector<Output> fvOutputs;
    std::set<const MCPMMLTerm*> fByIndicators; // products whose levels are derived fields
};

} // namespace MCXML_930::internal
