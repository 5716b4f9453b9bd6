// Fitted models as PMML 4.4 documents.
#pragma once

#include "modelcore/accumulators/MCCatStats.h"
#include "modelcore/accumulators/MCContStats.h"
#include "modelcore/common/MCStatus.h"
#include "modelcore/modelcore_export.h"
#include "modelcore/pmml/MCPMMLModels.h"
#include "modelcore/variables/IMCEncoder.h"
#include "modelcore/variables/MCVariableList.h"
#include "modelcore/xml/XMLElement.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace MCXML_930 {

namespace internal {
class PMMLBuilder;
}

/// Makes a PMML 4.4 document of a fitted model, such that an evaluator that reads it predicts the same numbers: the data
/// dictionary from descriptions of variables, derived fields from their encoders (the expression that Encode computes),
/// the model, statistics of its fields, its quality, and cases with their predictions, by which an evaluator can check
/// itself.
///
/// Every treatment of missing, invalid and extreme values is written out. What Encode refuses has no prediction: an
/// evaluator reports an invalid value or gives a missing result.
///
/// Members that add something copy it. What is wrong with it is found by Create, which says so.
class MODELCORE_EXPORT MCPMMLExporter {
public:
    /// The codes of the status of Create; its problem names the thing.
    enum Code : std::int32_t {
        NoModel = 1,        ///< nothing was added that predicts
        UnknownName = 2,    ///< a field, column, term or category that is not there
        DuplicateName = 3,  ///< two fields of the document, terms or categories have one name
        NotFinite = 4,      ///< a number that is missing, a NaN or infinite
        ForbiddenText = 5,  ///< a text with a character that XML has not, or that is none of the code page
        NotExpressible = 6, ///< PMML has no way to say it
        Inconsistent = 7    ///< sizes or settings that contradict each other
    };

    /// A document about these variables, of which it keeps a copy.
    explicit MCPMMLExporter(const MCVariableList& variables);
    MCPMMLExporter(const MCPMMLExporter&);
    MCPMMLExporter(MCPMMLExporter&&) noexcept;
    /// When memory runs out, an assignment and every setting leave the exporter as it was.
    MCPMMLExporter& operator=(const MCPMMLExporter&);
    MCPMMLExporter& operator=(MCPMMLExporter&&) noexcept;
    ~MCPMMLExporter();

    /// What the document's header says. Nothing of it is looked up: the library reads no clock. Empty texts are left out.
    void SetHeader(const std::string& copyright, const std::string& application, const std::string& version,
                   const std::string& timestamp);

    /// The field enters the model through the columns of a finished encoder.
    /// @return  false, and nothing changed, when there is no variable of that name or the encoder is not finished
    bool SetEncoder(const std::string& field, const IMCEncoder& encoder);

    /// Whether the columns of all encoders are outputs of the document besides the predictions. Not at first.
    void SetShowColumns(bool shown) { fbShowColumns = shown; }

    /// @name The model; a later one takes the place of an earlier one
    /// @{
    /// An equation, or one for each category.
    void AddRegression(const MCPMMLRegression& model) { fModel = MCPMMLRegression(model); }
    /// Parameters with their predictors, link and covariance.
    void AddGeneralRegression(const MCPMMLGeneralRegression& model) { fModel = MCPMMLGeneralRegression(model); }
    /// Clusters by their centers.
    void AddClustering(const MCPMMLClustering& model) { fModel = MCPMMLClustering(model); }
    /// @}

    /// What is done to the prediction of a regression model.
    void SetTarget(const MCPMMLTarget& target) { fTarget = MCPMMLTarget(target); }

    /// What is known of the values of a field: weights of valid values, of missing and of invalid ones.
    /// @return  false, and nothing changed, when there is no variable of that name
    bool AddStatistics(const std::string& field, const MCMath_930::MCContStats& valid, double missing = 0.0,
                       double invalid = 0.0);
    /// @param categories  what the categories 0, 1, ... of the counts are
    /// @return  false also when there are not as many as counts
    bool AddStatistics(const std::string& field, const MCMath_930::MCCatStats& valid,
                       const std::vector<MCCommon_930::Value>& categories, double missing = 0.0, double invalid = 0.0);

    /// How good the model was on some data; of several data, in the order of the calls. Not for clusters.
    void AddQuality(const MCPMMLQuality& quality) { fvQualities.push_back(quality); }

    /// Cases by which an evaluator can check its predictions.
    ///
    /// @param precision  the relative difference that is allowed. It is absolute below 1e-15/precision times the largest
    ///                   prediction: there the rounding of larger terms shows.
    void AddVerification(const std::vector<MCPMMLVerification>& cases, double precision = 1e-10);

    /// The name that a column of a field's encoder has in the document: the encoder's own where no field has it.
    /// @return  "" when there is no such column
    std::string GetColumnName(const std::string& field, int column) const;

    /// The names of the outputs: the predicted number; or the predicted category and the probability of each; or the
    /// cluster and the distance from it. Then the columns, if they are shown. Empty without a model.
    std::vector<std::string> GetOutputNames() const;

    /// The document.
    ///
    /// @param status   OK or an error, see Code; not looked at when null
    /// @param problem  what is wrong, in a line for people that names the thing; unchanged when nothing is
    /// @return  the root, owned by the caller, for WriteTreeUTF8 (texts are in the process's code page); null when
    ///          something is wrong
    XMLElement* Create(MCCommon_930::MCStatus* status = nullptr, std::string* problem = nullptr) const;

    /// The element PredictiveModelQuality alone, for the ModelExplanation of a document that is there already.
    /// @return  owned by the caller; null when something is wrong, and then problem says what
    static XMLElement* CreateQuality(const std::string& target, const MCPMMLQuality& quality,
                                     std::string* problem = nullptr);

    /// Writes what was added to the diagnostic text stream.
    void Display() const;

private:
    friend class internal::PMMLBuilder;

    struct Statistics {
        std::string field;
        double missing = 0.0;
        double invalid = 0.0;
        std::optional<MCMath_930::MCContStats> continuous;
        MCMath_930::MCCatStats counts;
        std::vector<MCCommon_930::Value> categories;
    };

    MCVariableList fVariables;
    std::map<std::string, std::shared_ptr<const IMCEncoder>, std::less<>>
        fEncoders; // never changed, so copies may share
    std::string fCopyright, fApplication, fVersion, fTimestamp;
    bool fbShowColumns = false;
    std::variant<std::monostate, MCPMMLRegression, MCPMMLGeneralRegression, MCPMMLClustering> fModel;
    std::optional<MCPMMLTarget> fTarget;
    std::vector<Statistics> fvStatistics;
    std::vector<MCPMMLQuality> fvQualities;
    std::vector<MCPMMLVerification> fvCases;
    double fdPrecision = 1e-10;
};

} // namespace MCXML_930
