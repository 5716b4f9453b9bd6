#include "modelcore/variables/MCCategoricalEncoder.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/variables/internal/StateTree.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace MCXML_930 {

using internal::StateFields;
using internal::StateTree;
using MCCommon_930::MCMV;
using MCCommon_930::MCStatus;
using MCCommon_930::Value;

namespace {

constexpr std::initializer_list<const char*> kCodings{"indicator",  "dummy",    "deviation", "helmert",
                                                      "difference", "repeated", "polynomial"};

/// Orthonormal polynomials of degree 1 to k - 1 at k equal steps, row by row. Each is the one before times the centred
/// step, made orthogonal to all before, twice: once leaves rounding errors that grow with the degree.
std::vector<double> Polynomials(int levels)
{
    const auto k = static_cast<std::size_t>(levels);
    std::vector<std::vector<double>> basis{std::vector<double>(k, 1.0 / std::sqrt(static_cast<double>(levels)))};
    for (std::size_t degree = 1; degree < k; ++degree) {
        std::vector<double> next(k);
        for (std::size_t i = 0; i < k; ++i)
            next[i] = (static_cast<double>(i) - 0.5 * static_cast<double>(levels - 1)) * basis.back()[i];
        for (int pass = 0; pass < 2; ++pass) {
            for (const std::vector<double>& other : basis) {
                double product = 0.0;
                for (std::size_t i = 0; i < k; ++i) product += next[i] * other[i];
                for (std::size_t i = 0; i < k; ++i) next[i] -= product * other[i];
            }
        }
        double squares = 0.0;
        for (const double value : next) squares += value * value;
        const double scale = std::sqrt(squares);
        for (double& value : next) value /= scale;
        basis.push_back(std::move(next));
    }
    std::vector<double> rows;
    for (std::size_t i = 0; i < k; ++i)
        for (std::size_t degree = 1; degree < k; ++degree) rows.push_back(basis[degree][i]);
    return rows;
}

} // namespace

MCCategoricalEncoder::MCCategoricalEncoder(std::string field) : MCCategoryEncoder(std::move(field)) {}

bool MCCategoricalEncoder::SetCoding(Coding coding)
{
    if (!IsFresh() || coding < Indicator || coding > Polynomial) return false;
    fCoding = coding;
    return true;
}

int MCCategoricalEncoder::ColumnsFor(int levels) const
{
    return fCoding == Indicator ? levels : std::max(levels - 1, 0);
}

MCStatus MCCategoricalEncoder::FinishLevels(int& columns)
{
    if (fCoding == Polynomial) {
        if (GetNLevels() > kMaxPolynomialLevels) {
            MCStatus refused(FinishManyCategories, false);
            refused.SetDiscreteDatum(0, GetNLevels());
            refused.SetDiscreteDatum(1, kMaxPolynomialLevels);
            return refused;
        }
        fvPolynomials = Polynomials(GetNLevels());
    }
    columns = ColumnsFor(GetNLevels());
    return {};
}

/// The level that a column of indicators is 1 for.
int MCCategoricalEncoder::LevelOfColumn(int column) const
{
    return fCoding == Indicator || column < GetReferenceLevel() ? column : column + 1;
}

double MCCategoricalEncoder::Entry(int level, int column) const
{
    const int k = GetNLevels();
    const int later = k - 1 - column;
    switch (fCoding) {
    case Deviation:
        if (level == GetReferenceLevel()) return -1.0;
        [[fallthrough]];
    case Indicator:
    case Dummy: return level == LevelOfColumn(column) ? 1.0 : 0.0;
    case Helmert:
        if (level < column) return 0.0;
        return (level == column ? static_cast<double>(later) : -1.0) / static_cast<double>(later + 1);
    case Difference:
        if (level > column + 1) return 0.0;
        return (level == column + 1 ? static_cast<double>(column + 1) : -1.0) / static_cast<double>(column + 2);
    case Repeated:
        return (level <= column ? -static_cast<double>(later) : static_cast<double>(column + 1)) /
               static_cast<double>(k);
    case Polynomial: break;
    }
    return fvPolynomials[static_cast<std::size_t>(level) * static_cast<std::size_t>(k - 1) +
                         static_cast<std::size_t>(column)];
}

double MCCategoricalEncoder::GetEntry(int level, int column) const
{
    const bool exists = level >= 0 && level < GetNLevels() && column >= 0 && column < GetNColumns();
    return exists ? Entry(level, column) : MCMV::Missing();
}

void MCCategoricalEncoder::WriteLevel(int level, double* columns) const
{
    const int count = GetNColumns();
    if (fCoding > Deviation) {
        for (int j = 0; j < count; ++j) columns[j] = Entry(level, j);
        return;
    }
    const bool reference = fCoding != Indicator && level == GetReferenceLevel();
    std::fill_n(columns, count, reference && fCoding == Deviation ? -1.0 : 0.0);
    if (!reference) columns[fCoding == Indicator || level < GetReferenceLevel() ? level : level - 1] = 1.0;
}

void MCCategoricalEncoder::WriteLevels(std::span<const int> levels, double* rows, std::size_t stride) const
{
    if (fCoding != Indicator || stride != static_cast<std::size_t>(GetNColumns())) {
        MCCategoryEncoder::WriteLevels(levels, rows, stride);
        return;
    }
    std::fill_n(rows, levels.size() * stride, 0.0);
    for (std::size_t i = 0; i < levels.size(); ++i) rows[i * stride + static_cast<std::size_t>(levels[i])] = 1.0;
}

int MCCategoricalEncoder::FindRow(const double* columns) const
{
    const int count = GetNColumns();
    const auto is = [&](int level) {
        for (int j = 0; j < count; ++j)
            if (columns[j] != Entry(level, j)) return false;
        return true;
    };
    if (fCoding <= Deviation) { // one candidate: the level of the first 1, or else the reference
        const auto one = std::find(columns, columns + count, 1.0) - columns;
        const int level = one < count ? LevelOfColumn(static_cast<int>(one)) : GetReferenceLevel();
        return level >= 0 && is(level) ? level : -1;
    }
    for (int level = 0; level < GetNLevels(); ++level)
        if (is(level)) return level;
    return -1;
}

std::string MCCategoricalEncoder::GetColumnName(int column) const
{
    if (column < 0 || column >= GetNColumns()) return {};
    const std::string begin = GetField() + "=";
    switch (fCoding) {
    case Helmert: return begin + GetLevelText(column) + "-later";
    case Difference: return begin + GetLevelText(column + 1) + "-earlier";
    case Repeated: return begin + GetLevelText(column + 1) + "-" + GetLevelText(column);
    case Polynomial: return GetField() + "^" + std::to_string(column + 1);
    default: return begin + GetLevelText(LevelOfColumn(column));
    }
}

std::unique_ptr<IMCEncoder> MCCategoricalEncoder::Clone() const
{
    return std::make_unique<MCCategoricalEncoder>(*this);
}

void MCCategoricalEncoder::SaveSettings(Value& map) const
{
    MCCategoryEncoder::SaveSettings(map);
    map["coding"] = internal::WordOf(fCoding, kCodings);
}

bool MCCategoricalEncoder::LoadSettings(const Value& map)
{
    StateFields fields(map);
    return fields.ReadWord("coding", fCoding, kCodings) && MCCategoryEncoder::LoadSettings(map);
}

void MCCategoricalEncoder::SaveLearned(Value& map) const
{
    MCCategoryEncoder::SaveLearned(map);
    if (IsFinished() && fCoding == Polynomial) map["polynomials"] = StateTree::FromReals(fvPolynomials);
}

bool MCCategoricalEncoder::LoadLearned(const Value& map)
{
    if (!MCCategoryEncoder::LoadLearned(map)) return false;
    StateFields fields(map);
    if (!IsFinished()) return true;
    if (fCoding == Polynomial) fields.Read("polynomials", fvPolynomials);
    const std::size_t entries = static_cast<std::size_t>(GetNLevels()) * static_cast<std::size_t>(GetNColumns());
    return fields.Require(GetNColumns() == ColumnsFor(GetNLevels()) &&
                          (fCoding != Polynomial || fvPolynomials.size() == entries) &&
                          (GetReferenceLevel() >= 0 || GetNLevels() == 0));
}

bool MCCategoricalEncoder::Replace(const Value& tree)
{
    return ReplaceBy(*this, tree);
}

} // namespace MCXML_930
