// Cases: rows of the file turned into numbers, those that cannot be used left out, in blocks of a fixed size.
#pragma once

#include "common/CsvTable.h"
#include "model/Design.h"
#include "model/Options.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace model {

/// The results depend on where one block ends and the next begins, so this is a constant and no option.
inline constexpr int kCasesPerBlock = 2048;

/// Up to kCasesPerBlock complete cases, row by row.
struct CaseBlock {
    int cases = 0;
    int columns = 0;                ///< of the design after the block's last case
    std::vector<double> values;     ///< target and terms of covariates of each case: design columns 0, 1, ...
    std::vector<int> cellColumns;   ///< for each case and term with factors the column of its cell; the others are 0
    std::vector<double> cellValues; ///< what stands there; empty: 1 everywhere
    std::vector<double> frequencies;
    std::vector<double> weights;
    std::vector<double> rests;     ///< what values lacks of the products that a double rounds, if the reader carries it
    std::vector<double> cellRests; ///< the same of cellValues

    /// For predictions: of each row of the file which case it is, -1 for none, and what the output repeats of it.
    std::vector<int> caseOfRow;
    std::vector<std::string> rowTexts;

    double Frequency(std::size_t i) const { return frequencies.empty() ? 1.0 : frequencies[i]; }
    double Weight(std::size_t i) const { return weights.empty() ? 1.0 : weights[i]; }
    double CellValue(std::size_t i) const { return cellValues.empty() ? 1.0 : cellValues[i]; }
};

/// Case i as a row of the design: its first columns less the shift, which may be empty.
void FillDesignRow(const CaseBlock& block, std::size_t i, const std::vector<double>& shift, double* row);

struct CaseCounts {
    std::int64_t rows = 0;
    std::int64_t used = 0;
    std::int64_t missing = 0;    ///< left out: a value is missing
    std::int64_t unweighted = 0; ///< left out: a weight is missing or not positive

    bool operator==(const CaseCounts&) const = default;
};

/// The columns of the model, as they were taken.
MCXML_930::MCVariableList Variables(const ModelOptions& options, const Design& design);

/// Reads the columns that the options name. The first reading finds out what each predictor is and collects the levels
/// of factors in the design; after Restart the design is taken as it is.
class CaseReader {
public:
    /// Reads the header row. Throws Failure for a column that is not there.
    CaseReader(procedure::InputFile& input, const ModelOptions& options, Design& design);

    /// Fills block; false when no cases are left. Throws Failure for a row that cannot be read.
    bool NextBlock(CaseBlock& block);

    /// From now on blocks have the products of terms in twice the digits of a double.
    void CarryRests() { fCarriesRests = true; }

    /// Back to the first case, for another reading of a file.
    void Restart();

    /// Back to the first case; from now on blocks have a case for every row whose predictors have values, whatever its
    /// target (maybe missing) and its weights, and say which rows those are.
    void RestartForPredictions();
    /// What caseOfRow and rowTexts go with: the names of the columns that the output repeats.
    std::vector<std::string> RepeatedColumns() const;

    /// What values the target had, the first few, for a complaint.
    const std::vector<std::string>& TargetValues() const { return fTargetValues; }
    /// Whether the target had more than two different values.
    bool HasManyTargetValues() const { return fTargetValues.size() > 2; }

    const CaseCounts& Counts() const { return fCounts; }

    /// Target and terms of covariates of the first case used; empty before it.
    const std::vector<double>& FirstCase() const { return fFirstCase; }

    bool HasFrequency() const { return fHasFrequency; }
    bool HasWeight() const { return fHasWeight; }

private:
    struct Field {
        enum class Role { Unused, Target, Frequency, Weight, Predictor };
        Role role = Role::Unused;
        std::size_t predictor = 0;
        bool namedAsFactor = false;
    };

    void Assign(const std::string& name, Field::Role role);
    bool ReadCase(const std::vector<std::string_view>& row);
    double ReadCovariate(std::size_t field, std::string_view text);
    void PlaceCovariates();
    bool AppendCase(CaseBlock& block);
    std::size_t FindLevel(std::size_t field, std::string_view text);
    MCMath_930::MCExtended TermValue(const Term& term) const;
    void ReadTarget(std::size_t field, std::string_view text);
    bool ReadRow(const std::vector<std::string_view>& row, CaseBlock& block);
    std::size_t FindOrAddLevel(Predictor& factor, std::string_view text);
    [[noreturn]] void RefuseSize(std::size_t field) const;

    procedure::InputFile& fInput;
    procedure::CsvTable fTable;
    Design& fDesign;
    bool fHasFrequency = false;
    bool fHasWeight = false;
    bool fLearning = true;
    bool fPredicting = false;
    bool fCarriesRests = false;
    std::optional<std::string> fEvent;
    std::optional<double> fEventNumber;
    std::vector<std::string> fTargetValues;
    std::vector<std::size_t> fKept;     // columns that predictions repeat on demand
    std::vector<std::size_t> fRepeated; // all that they repeat
    std::vector<Field> fFields;

    CaseCounts fCounts;
    std::vector<double> fFirstCase;

    // The case being read; a predictor has a number or a text.
    double fTarget = 0.0;
    double fFrequency = 1.0;
    double fWeight = 1.0;
    std::vector<double> fNumbers;
    std::vector<std::string_view> fTexts;
    std::vector<std::size_t> fLevels;          // of the factors among the predictors
    std::vector<std::size_t> fPredictorFields; // where each predictor stands in the row
};

} // namespace model
