#include "ExactMoments.h"

#include <fstream>
#include <sstream>
#include <utility>

namespace describe {

using MCCommon_930::MCMV;
using MCMath_930::MCExactXProducts;
using MCMath_930::MCSymMatrix;

void ExactMoments::Start(std::size_t nColumns)
{
    if (fColumns.size() != nColumns) fColumns.assign(nColumns, MCExactXProducts(1, true, true, false));
    for (MCExactXProducts& column : fColumns) column.Clear();
    fPairs.Clear();
}

bool ExactMoments::AddColumn(std::size_t column, const std::vector<double>& values, const std::vector<double>& weights)
{
    const bool added = fColumns[column].UpdateColumns(values.data(), values.size(), values.size(), weights.data());
    fColumns[column].FinishUpdate();
    return added;
}

bool ExactMoments::AddPairs(const MCMath_930::MCRectMatrix& rows)
{
    const int nVars = rows.GetNCols() - 1;
    if (fPairs.GetNVars() != nVars) fPairs = MCExactXProducts(nVars, false, true, false);
    const bool added = fPairs.Update(rows, 0);
    fPairs.FinishUpdate();
    return added;
}

void ExactMoments::Merge(const ExactMoments& other, std::span<const int> places, int nVariables, int stride)
{
    for (std::size_t j = 0; j < fColumns.size(); ++j) fColumns[j].Merge(other.fColumns[j]);
    if (other.fPairs.GetNVars() == 0) return;
    std::vector<int> positions;
    for (const int place : places)
        for (int k = 0; k < stride; ++k) positions.push_back(stride * place + k);
    MCExactXProducts moved = other.fPairs;
    moved.Expand(positions, stride * nVariables);
    if (fPairs.GetNVars() > 0) fPairs.AppendZeroVars(moved.GetNVars() - fPairs.GetNVars());
    fPairs.Merge(moved);
}

double ExactMoments::Mean(std::size_t column) const
{
    std::vector<double> mean;
    return fColumns[column].GetMeans(mean) ? mean[0] : MCMV::Missing();
}

double ExactMoments::Squares(std::size_t column) const
{
    MCSymMatrix products;
    return fColumns[column].GetXProds(products) ? products.GetElem(0, 0) : MCMV::Missing();
}

void ExactMoments::Finish()
{
    MCSymMatrix high, low;
    if (fPairs.GetXProds(high, low)) fProducts.Set(high, low);
}

PairStatistics ExactMoments::GetPair(int i, int j, int stride) const
{
    const int a = stride * i, b = stride * j;
    const auto sum = [&](int row, int column) { return fProducts.GetElem(row, column); };
    const double cases = stride > 4 ? sum(a + 4, b + 4).high : sum(a, b).high;
    // What is left of a sum of squares below this share of it is rounding of 32 digits.
    constexpr double kNoise = 1e-28;
    return Correlate<MCMath_930::MCExtended>({sum(a, b), sum(a + 1, b), sum(a, b + 1), sum(a + 2, b) + sum(a + 3, b),
                                              sum(a, b + 2) + sum(a, b + 3), sum(a + 1, b + 1)},
                                             stride > 4, cases, kNoise);
}

std::string ExactMoments::Text() const
{
    std::ostringstream text;
    for (const MCExactXProducts& column : fColumns) column.WriteObjectXML(text, 0);
    fPairs.WriteObjectXML(text, 0);
    return text.str();
}

bool ExactMoments::Read(std::ifstream& stream, std::size_t nColumns)
{
    Start(nColumns);
    for (MCExactXProducts& column : fColumns)
        if (column.ReadObjectXML(stream) == 0 || column.GetNVars() != 1 || !column.IsIntercept()) return false;
    return fPairs.ReadObjectXML(stream) > 0 && !fPairs.IsIntercept();
}

} // namespace describe
