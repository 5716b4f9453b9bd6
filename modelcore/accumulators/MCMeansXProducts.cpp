#include "modelcore/accumulators/MCMeansXProducts.h"

#include "modelcore/accumulators/internal/StateStream.h"
#include "modelcore/common/MCDisplay.h"
#include "modelcore/linalg/kernels/Kernels.h"
#include "modelcore/matrix/MCRectMatrix.h"

#include <algorithm>
#include <numeric>

namespace MCMath_930 {

/// The rows of a block that are used, and the weight of each.
struct MCMeansXProducts::Block {
    const double* rows;
    std::size_t stride;
    std::size_t nRows;
    std::vector<double> weights;

    const double* Row(std::size_t r) const { return rows + r * stride; }
};

namespace {

/// The rows whose products are added at one pass over the matrix: their deviations should stay in cache.
constexpr std::size_t kRowsAtOnce = 32;

} // namespace

MCMeansXProducts::MCMeansXProducts(int p, bool intercept, bool frequencyWeight, bool regressionWeight)
    : MCMeansXProdData(p, intercept), fbFrequencyWeight(frequencyWeight), fbRegressionWeight(regressionWeight)
{
    StartUpdateOnePass();
}

MCMeansXProducts::~MCMeansXProducts() = default;

bool MCMeansXProducts::ReadBlock(const MCRectMatrix& X, int nRows, Block& block) const
{
    const int nWeights = (fbFrequencyWeight ? 1 : 0) + (fbRegressionWeight ? 1 : 0);
    if (X.GetNCols() != fnVars + nWeights) return false;
    block.rows = X.GetPtr();
    block.stride = static_cast<std::size_t>(X.GetNCols());
    block.nRows = static_cast<std::size_t>(nRows > 0 ? std::min(nRows, X.GetNRows()) : X.GetNRows());
    block.weights.assign(block.nRows, 1.0);
    if (nWeights == 0) return true;
    for (std::size_t r = 0; r < block.nRows; ++r) {
        const double* const weight = block.Row(r) + fnVars;
        block.weights[r] = nWeights == 1 ? weight[0] : weight[0] * weight[1];
    }
    return true;
}

// A constant column must not suffer from the division: its deviations are to be exactly 0.
void MCMeansXProducts::ComputeMeans(const Block& block)
{
    std::vector<std::size_t> constant(fvMeans.size());
    std::iota(constant.begin(), constant.end(), std::size_t{0});
    std::fill(fvMeans.begin(), fvMeans.end(), 0.0);
    for (std::size_t r = 0; r < block.nRows; ++r) {
        const double* const row = block.Row(r);
        internal::AddScaled(fvMeans.data(), block.weights[r], row, fvMeans.size());
        std::erase_if(constant, [&](std::size_t i) { return row[i] != block.rows[i]; });
    }
    for (double& mean : fvMeans) mean /= fdNCases;
    for (const std::size_t i : constant) fvMeans[i] = block.rows[i];
}

// Deviations from the means (or, without means, the values themselves) of some rows at a time, then their products.
void MCMeansXProducts::AddXProds(const Block& block, const double* means, MCSymMatrix& xProds)
{
    const std::size_t p = static_cast<std::size_t>(xProds.GetNRows());
    std::vector<double> work(2 * p * std::min(kRowsAtOnce, block.nRows));
    double* const deviations = work.data();
    double* const weighted = deviations + work.size() / 2;
    for (std::size_t start = 0; start < block.nRows; start += kRowsAtOnce) {
        const std::size_t count = std::min(kRowsAtOnce, block.nRows - start);
        for (std::size_t k = 0; k < count; ++k) {
            const double* const row = block.Row(start + k);
            const double weight = block.weights[start + k];
            double* const d = deviations + k * p;
            double* const wd = weighted + k * p;
            for (std::size_t i = 0; i < p; ++i) {
                d[i] = means != nullptr ? row[i] - means[i] : row[i];
                wd[i] = weight * d[i];
            }
        }
        internal::AddOuterProducts(xProds.GetPtr(), p, weighted, deviations, count);
    }
}

bool MCMeansXProducts::Compute(const MCRectMatrix& X, int nRows)
{
    Block block;
    if (!ReadBlock(X, nRows, block)) return false;
    Clear();
    const double total = std::accumulate(block.weights.begin(), block.weights.end(), 0.0);
    if (total == 0.0) return true;
    fdNCases = total;
    ComputeMeans(block);
    AddXProds(block, fbIntercept ? fvMeans.data() : nullptr, XProds());
    return true;
}

bool MCMeansXProducts::Update(const MCRectMatrix& X, int nRows)
{
    if (fdNCases == 0.0) return Compute(X, nRows);
    const MCMeansXProdData before(*this);
    if (!Compute(X, nRows)) return false;
    if (fdNCases != 0.0) return Merge(before);
    MCMeansXProdData::operator=(before);
    return true;
}

void MCMeansXProducts::StartUpdate()
{
    Clear();
}

void MCMeansXProducts::FinishUpdate() {}

void MCMeansXProducts::StartUpdateOnePass()
{
    fOnePassXProds.SetNRows(fnVars);
    fvOnePassSums.assign(fvMeans.size(), 0.0);
    fdOnePassNCases = 0.0;
}

bool MCMeansXProducts::UpdateOnePass(const MCRectMatrix& X, int nRows)
{
    Block block;
    if (fvOnePassSums.size() != fvMeans.size() || !ReadBlock(X, nRows, block)) return false;
    for (std::size_t r = 0; r < block.nRows; ++r) {
        fdOnePassNCases += block.weights[r];
        internal::AddScaled(fvOnePassSums.data(), block.weights[r], block.Row(r), fvOnePassSums.size());
    }
    AddXProds(block, nullptr, fOnePassXProds);
    return true;
}

void MCMeansXProducts::FinishUpdateOnePass()
{
    Clear();
    if (fdOnePassNCases == 0.0 || fvOnePassSums.size() != fvMeans.size()) return;
    fdNCases = fdOnePassNCases;
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
        MCDisplay_930::Display("Weighted number of cases accumulated by UpdateOnePass", fdOnePassNCases);
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
    writer.Write(fdOnePassNCases);
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
    reader.Read(read.fdOnePassNCases);
    reader.Read(read.fvOnePassSums, static_cast<std::size_t>(nSums));
    reader.Read(read.fOnePassXProds, nSums);
    const int lines = reader.Finish();
    if (lines > 0) *this = read;
    return lines;
}

} // namespace MCMath_930
