#include "modelcore/accumulators/MCMeansXProducts.h"

#include "modelcore/accumulators/internal/ProductSums.h"
#include "modelcore/accumulators/internal/StateStream.h"
#include "modelcore/common/MCDisplay.h"
#include "modelcore/kernels/Kernels.h"
#include "modelcore/matrix/MCRectMatrix.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace MCMath_930 {

MCMeansXProducts::MCMeansXProducts(int p, bool intercept, bool frequencyWeight, bool regressionWeight)
    : MCMeansXProdData(p, intercept), fbFrequencyWeight(frequencyWeight), fbRegressionWeight(regressionWeight)
{
    StartUpdateOnePass();
}

MCMeansXProducts::~MCMeansXProducts() = default;

bool MCMeansXProducts::ReadBlock(const MCRectMatrix& X, int nRows, internal::WeightedRows& block) const
{
    const int nWeights = (fbFrequencyWeight ? 1 : 0) + (fbRegressionWeight ? 1 : 0);
    if (X.GetNCols() != fnVars + nWeights) return false;
    block.rows = X.GetPtr();
    block.stride = static_cast<std::size_t>(X.GetNCols());
    block.nRows = static_cast<std::size_t>(nRows > 0 ? std::min(nRows, X.GetNRows()) : X.GetNRows());
    block.nVars = fnVars;
    block.nWeights = nWeights;
    return true;
}

namespace {

/// sums += w*x for each row of the block in order; inspect(row) sees each before. Returns count + the weights.
template <class Inspect>
double AddWeightedRows(const internal::WeightedRows& block, double count, std::vector<double>& sums, Inspect inspect)
{
    constexpr std::size_t kRowsAtOnce = 32;
    double weights[kRowsAtOnce];
    for (std::size_t start = 0; start < block.nRows; start += kRowsAtOnce) {
        const std::size_t rows = std::min(kRowsAtOnce, block.nRows - start);
        block.GetWeights(start, rows, weights);
        for (std::size_t k = 0; k < rows; ++k) {
            count += weights[k];
            inspect(block.Row(start + k));
        }
        internal::AddRows(sums.data(), block.Row(start), static_cast<std::ptrdiff_t>(block.stride), rows, weights, 1,
                          sums.size());
    }
    return count;
}

std::vector<std::size_t> AllColumns(std::size_t count)
{
    std::vector<std::size_t> columns(count);
    std::iota(columns.begin(), columns.end(), std::size_t{0});
    return columns;
}

} // namespace

// The weighted count as well. A constant column must not suffer from the division: its deviations are to be exactly 0.
// From columns, the numbers of all columns, those are taken that are not constant.
void MCMeansXProducts::ComputeMeans(const internal::WeightedRows& block, std::vector<std::size_t>& columns) noexcept
{
    fdNCases = AddWeightedRows(block, 0.0, fvMeans, [&](const double* row) {
        if (!columns.empty()) std::erase_if(columns, [&](std::size_t i) { return row[i] != block.rows[i]; });
    });
    if (fdNCases == 0.0) return;
    for (double& mean : fvMeans) mean /= fdNCases;
    for (const std::size_t i : columns) fvMeans[i] = block.rows[i];
}

// Into an accumulator without cases.
void MCMeansXProducts::ComputeInPlace(const internal::WeightedRows& block, internal::ProductSums& sums,
                                      std::vector<std::size_t>& columns) noexcept
{
    ComputeMeans(block, columns);
    if (fdNCases == 0.0)
        Clear(); // of what values may have left in the means
    else
        sums.Add(block, fbIntercept ? fvMeans.data() : nullptr, XProds());
}

bool MCMeansXProducts::Compute(const MCRectMatrix& X, int nRows)
{
    internal::WeightedRows block;
    if (!ReadBlock(X, nRows, block)) return false;
    internal::ProductSums sums(block);
    std::vector<std::size_t> columns = AllColumns(fvMeans.size());
    Clear();
    ComputeInPlace(block, sums, columns);
    return true;
}

// All room is made before the first change.
bool MCMeansXProducts::Update(const MCRectMatrix& X, int nRows)
{
    if (fdNCases == 0.0) return Compute(X, nRows);
    internal::WeightedRows block;
    if (!ReadBlock(X, nRows, block)) return false;
    internal::ProductSums sums(block);
    std::vector<std::size_t> columns = AllColumns(fvMeans.size());
    std::vector<double> room(MergeRoom());
    MCMeansXProdData before(fnVars, fbIntercept);
    std::swap<MCMeansXProdData>(*this, before);
    ComputeInPlace(block, sums, columns);
    if (fdNCases != 0.0)
        MergeAlike(before, room);
    else
        MCMeansXProdData::operator=(std::move(before));
    return true;
}

void MCMeansXProducts::StartUpdate()
{
    Clear();
}

void MCMeansXProducts::FinishUpdate() {}

void MCMeansXProducts::StartUpdateOnePass()
{
    std::vector<double> sums(fvMeans.size());
    fOnePassXProds.SetNRows(fnVars);
    fvOnePassSums.swap(sums);
    fdOnePassNCases = 0.0;
}

bool MCMeansXProducts::UpdateOnePass(const MCRectMatrix& X, int nRows)
{
    internal::WeightedRows block;
    if (fvOnePassSums.size() != fvMeans.size() || !ReadBlock(X, nRows, block)) return false;
    internal::ProductSums sums(block);
    fdOnePassNCases = AddWeightedRows(block, fdOnePassNCases, fvOnePassSums, [](const double*) {});
    sums.Add(block, nullptr, fOnePassXProds);
    return true;
}

void MCMeansXProducts::FinishUpdateOnePass()
{
    Clear();
    if (fdOnePassNCases == 0.0 || fvOnePassSums.size() != fvMeans.size()) return;
    fdNCases = static_cast<double>(fdOnePassNCases);
    for (std::size_t i = 0; i < fvMeans.size(); ++i) fvMeans[i] = fvOnePassSums[i] / fdNCases;
    const double* products = fOnePassXProds.GetPtr();
    double* to = XProds().GetPtr();
    for (std::size_t i = 0; i < fvMeans.size(); products += ++i, to += i)
        for (std::size_t j = 0; j <= i; ++j) to[j] = products[j] - fvMeans[i] * fvOnePassSums[j];
}

void MCMeansXProducts::Display() const
{
    MCDisplay_930::DisplayStart("MCMeansXProducts");
    MCMeansXProdData::Display();
    MCDisplay_930::Display("Frequency weight indicator", fbFrequencyWeight);
    MCDisplay_930::Display("Regression weight indicator", fbRegressionWeight);
    if (fdOnePassNCases > 0.0) {
        MCDisplay_930::Display("Weighted number of cases accumulated by UpdateOnePass",
                               static_cast<double>(fdOnePassNCases));
        MCDisplay_930::Display("Weighted sums accumulated by UpdateOnePass", fvOnePassSums);
        MCDisplay_930::DisplayLine("Weighted sums of products accumulated by UpdateOnePass:");
        fOnePassXProds.Display();
    }
    MCDisplay_930::DisplayEnd("MCMeansXProducts");
}

int MCMeansXProducts::WriteObjectXML(std::ostream& stream, int indent) const
{
    internal::StateWriter writer(stream, "MCMeansXProducts", indent);
    WriteFields(writer);
    writer.Write(fbFrequencyWeight);
    writer.Write(fbRegressionWeight);
    writer.Write(fOnePassXProds.GetNRows()); // another number than above when SetNVars came after the sums
    writer.Write(static_cast<double>(fdOnePassNCases));
    writer.Write(fvOnePassSums);
    writer.Write(fOnePassXProds.AsSpan());
    return writer.Finish();
}

int MCMeansXProducts::ReadObjectXML(std::ifstream& stream)
{
    internal::StateReader reader(stream, "MCMeansXProducts");
    MCMeansXProducts read;
    int nSums = 0;
    read.ReadFields(reader);
    reader.Read(read.fbFrequencyWeight);
    reader.Read(read.fbRegressionWeight);
    reader.Read(nSums);
    reader.Require(nSums >= 0 && nSums <= MCSymMatrix::kMaxRows);
    reader.Read(static_cast<double&>(read.fdOnePassNCases));
    reader.Read(read.fvOnePassSums, static_cast<std::size_t>(nSums));
    reader.Read(read.fOnePassXProds, nSums);
    const int lines = reader.Finish();
    if (lines > 0) *this = std::move(read);
    return lines;
}

} // namespace MCMath_930
