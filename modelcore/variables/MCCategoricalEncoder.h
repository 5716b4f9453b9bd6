// Encoder of categorical fields: indicators and contrasts.
#pragma once

#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/modelcore_export.h"
#include "modelcore/variables/MCCategoryEncoder.h"

#include <memory>
#include <string>
#include <vector>

namespace MCXML_930 {

/// Codes the k levels of a categorical field as columns: one for each level, or k - 1 contrasts. Every coding of k - 1
/// columns is made so that, in a linear model with an intercept, the coefficient of a column *is* the difference of
/// means m that its name says (Schad, Vasishth, Hohenstein & Kliegl 2020, Journal of Memory and Language 110, call the
/// matrix of these differences the hypothesis matrix; the coding is its generalised inverse). Levels are counted from 0.
///
/// | Coding     | Coefficient of a column                   | Entry for level i, column j                           |
/// |------------|-------------------------------------------|-------------------------------------------------------|
/// | Indicator  | the level's mean, without an intercept    | 1 for i = j, else 0; k columns                        |
/// | Dummy      | m(level) - m(reference)                   | 1 for the column's level, else 0                      |
/// | Deviation  | m(level) - mean of all m                  | 1 for the column's level, -1 for the reference        |
/// | Helmert    | m(j) - mean of m(j+1), ..., m(k-1)        | i < j: 0; i = j: r/(r+1); i > j: -1/(r+1); r = k-1-j  |
/// | Difference | m(j+1) - mean of m(0), ..., m(j)          | i <= j: -1/(j+2); i = j+1: (j+1)/(j+2); i > j+1: 0    |
/// | Repeated   | m(j+1) - m(j)                             | i <= j: -(k-1-j)/k; i > j: (j+1)/k                    |
/// | Polynomial | trend of degree j + 1 over equal steps    | orthonormal polynomial of degree j + 1 at i           |
///
/// Dummy and deviation have no column for the reference (treatment and sum coding in Venables & Ripley 2002, section
/// 6.2). Helmert compares with the later levels and difference with the earlier ones (also called reverse Helmert),
/// repeated with the one before (Venables & Ripley's successive differences). The polynomials are those of Gram
/// (Fisher & Yates's tables are multiples of them), with a positive value at the last level; they are made by Lanczos's
/// recurrence with orthogonalisation repeated and are orthonormal to 1e-14.
///
/// Columns are named "field=level", for Helmert "field=level-later", difference "field=level-earlier", repeated
/// "field=level-level before", polynomial "field^degree". MissingReplaced takes the most frequent level unless a
/// category is given.
class MODELCORE_EXPORT MCCategoricalEncoder : public MCCategoryEncoder {
public:
    /// The codings of the table above.
    enum Coding : std::int32_t { Indicator, Dummy, Deviation, Helmert, Difference, Repeated, Polynomial };

    /// Polynomials of more levels than this are refused by Finish with the error FinishManyCategories.
    static constexpr int kMaxPolynomialLevels = 256;

    /// Indicator coding of the field's levels.
    explicit MCCategoricalEncoder(std::string field = {});

    /// Copies are deep. An assignment that runs out of memory leaves the encoder as it was.
    MCCategoricalEncoder(const MCCategoricalEncoder& other) = default;
    MCCategoricalEncoder& operator=(const MCCategoricalEncoder& other)
    {
        return MCMath_930::internal::AssignByCopy(*this, other);
    }
    MCCategoricalEncoder(MCCategoricalEncoder&& other) noexcept = default;
    MCCategoricalEncoder& operator=(MCCategoricalEncoder&& other) noexcept = default;
    ~MCCategoricalEncoder() override = default;

    /// Indicator at first.
    bool SetCoding(Coding coding);
    Coding GetCoding() const { return fCoding; }

    /// The entry of the coding for a level and a column of a finished encoder; system-missing when there is none.
    double GetEntry(int level, int column) const;

    std::string GetColumnName(int column) const override;
    std::unique_ptr<IMCEncoder> Clone() const override;

protected:
    const char* ClassName() const override { return "MCCategoricalEncoder"; }
    MCCommon_930::MCStatus FinishLevels(int& columns) override;
    void WriteLevel(int level, double* columns) const override;
    void WriteLevels(std::span<const int> levels, double* rows, std::size_t stride) const override;
    int FindRow(const double* columns) const override;
    void SaveSettings(MCCommon_930::Value& map) const override;
    bool LoadSettings(const MCCommon_930::Value& map) override;
    void SaveLearned(MCCommon_930::Value& map) const override;
    bool LoadLearned(const MCCommon_930::Value& map) override;
    bool Replace(const MCCommon_930::Value& tree) override;

private:
    friend class MCEncoderBase;
    double Entry(int level, int column) const;
    int LevelOfColumn(int column) const;
    int ColumnsFor(int levels) const;

    Coding fCoding = Indicator;
    std::vector<double> fvPolynomials; // row by row: levels x columns
};

} // namespace MCXML_930
