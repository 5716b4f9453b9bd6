// Cases: rows of the file turned into numbers, those that cannot be used left out, in blocks of a fixed size.
#pragma once

#include "Design.h"
#include "Options.h"
#include "common/CsvTable.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace linreg {

/// The results depend on where one block ends and the next begins, so this is a constant and no option.
inline constexpr int kCasesPerBlock = 2048;

/// Up to kCasesPerBlock complete cases, row by row.
struct CaseBlock {
    int cases = 0;
    int columns = 0;               ///< of the design after the block's last case
    std::vector<double> values;    ///< target and covariates of each case: design columns 0, 1, ...
    std::vector<int> levelColumns; ///< for each case and factor the design column that is 1; the other indicators are 0
    std::vector<double> frequencies;
    std::vector<double> weights;
};

struct CaseCounts {
    std::int64_t rows = 0;
    std::int64_t used = 0;
    std::int64_t missing = 0;    ///< left out: a value is missing
    std::int64_t unweighted = 0; ///< left out: a weight is missing or not positive

    bool operator==(const CaseCounts&) const = default;
};

/// Reads the columns that the options name. The first reading finds out what each predictor is and collects the levels
/// of factors in the design; after Restart the design is taken as it is.
class CaseReader {
public:
    /// Reads the header row. Throws Failure for a column that is not there.
    CaseReader(procedure::InputFile& input, const Options& options, Design& design);

    /// Fills block; false when no cases are left. Throws Failure for a row that cannot be read.
    bool NextBlock(CaseBlock& block);

    /// Back to the first case, for another reading of a file.
    void Restart();

    const CaseCounts& Counts() const { return fCounts; }

    /// Target and covariates of the first case used; empty before it.
    const std::vector<double>& FirstCase() const { return fFirstCase; }

    /// The columns of the model, as they were taken.
    MCXML_930::MCVariableList Variables(const Options& options) const;

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
    void AppendCase(CaseBlock& block);
    int LevelColumn(std::size_t field, std::string_view text);
    std::size_t FindOrAddLevel(Predictor& factor, std::string_view text);
    [[noreturn]] void RefuseSize(std::size_t field) const;

    procedure::InputFile& fInput;
    procedure::CsvTable fTable;
    Design& fDesign;
    bool fHasFrequency = false;
    bool fHasWeight = false;
    bool fLearning = true;
    std::vector<Field> fFields;

    CaseCounts fCounts;
    std::vector<double> fFirstCase;

    // The case being read; a predictor has a number or a text.
    double fTarget = 0.0;
    double fFrequency = 1.0;
    double fWeight = 1.0;
    std::vector<double> fNumbers;
    std::vector<std::string_view> fTexts;
    std::vector<std::size_t> fPredictorFields; // where each predictor stands in the row
};

} // namespace linreg
