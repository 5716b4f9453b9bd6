#include "modelcore/accumulators/MCExactXProducts.h"

#include "modelcore/accumulators/internal/ExactBlocks.h"
#include "modelcore/accumulators/internal/StateStream.h"
#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/MCMV.h"
#include "modelcore/common/internal/Index.h"
#include "modelcore/matrix/MCExtendedSym.h"
#include "modelcore/matrix/MCRectMatrix.h"
#include "modelcore/matrix/MCSymMatrix.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

namespace MCMath_930 {

using internal::AsSize;
using internal::ExactBlocks;
using internal::ExactRows;
using internal::MCExactNumber;
using internal::MCExactSums;

namespace internal {

/// Any number of rows, whose weights are products of nWeights neighbouring numbers.
struct WeighedRows {
    ExactRows rows;
    const double* weights = nullptr;
    std::size_t weightStep = 0;
    int nWeights = 0;

    double Weight(std::size_t r) const
    {
        if (nWeights == 0) return 1.0;
        const double* const weight = weights + r * weightStep;
        if (nWeights == 1) return weight[0];
        const bool missing = MCCommon_930::MCMV::IsMissing(weight[0]) || MCCommon_930::MCMV::IsMissing(weight[1]);
        return missing ? MCCommon_930::MCMV::Missing() : weight[0] * weight[1];
    }
};

} // namespace internal

namespace {

constexpr std::size_t kBlock = internal::kSliceRows;

// Of any sum of products of three doubles, with room to spare.
constexpr int kLargestExponent = 4096;

bool CanBeAdded(double x)
{
    return std::isfinite(x) && !MCCommon_930::MCMV::IsMissing(x);
}

} // namespace

MCExactXProducts::MCExactXProducts() = default;

MCExactXProducts::MCExactXProducts(int p, bool intercept, bool frequencyWeight, bool regressionWeight)
    : fnVars(p >= 0 && p <= MCSymMatrix::kMaxRows ? p : 0), fbIntercept(intercept), fbFrequencyWeight(frequencyWeight),
      fbRegressionWeight(regressionWeight)
{}

// The blocks hold nothing but room to work in.
MCExactXProducts::MCExactXProducts(const MCExactXProducts& other)
    : fnVars(other.fnVars), fbIntercept(other.fbIntercept), fbFrequencyWeight(other.fbFrequencyWeight),
      fbRegressionWeight(other.fbRegressionWeight),
      fpSums(other.fpSums ? std::make_unique<MCExactSums>(*other.fpSums) : nullptr), fvWaiting(other.fvWaiting),
      fnWaiting(other.fnWaiting)
{}

MCExactXProducts::MCExactXProducts(MCExactXProducts&& other) noexcept = default;
MCExactXProducts& MCExactXProducts::operator=(MCExactXProducts&& other) noexcept = default;
MCExactXProducts::~MCExactXProducts() = default;

MCExactSums& MCExactXProducts::Sums()
{
    if (!fpSums) fpSums = std::make_unique<MCExactSums>(internal::PlacesOf(NVars()));
    return *fpSums;
}

ExactBlocks& MCExactXProducts::Blocks()
{
    if (!fpBlocks) fpBlocks = std::make_unique<ExactBlocks>();
    return *fpBlocks;
}

// Rows wait only when they can be added.
bool MCExactXProducts::AddWaiting(ExactBlocks& blocks, MCExactSums& sums) const
{
    const std::size_t step = NVars() + 1;
    std::vector<double> weights(fnWaiting);
    for (std::size_t r = 0; r < weights.size(); ++r) weights[r] = fvWaiting[r * step + NVars()];
    return blocks.Add({fvWaiting.data(), step, 1, fnWaiting, weights.data()}, NVars(), false, sums);
}

MCExactSums MCExactXProducts::Total() const
{
    MCExactSums total = fpSums ? *fpSums : MCExactSums(internal::PlacesOf(NVars()));
    if (fnWaiting > 0) {
        ExactBlocks blocks;
        AddWaiting(blocks, total);
    }
    return total;
}

void MCExactXProducts::FinishUpdate()
{
    if (fnWaiting == 0) return;
    AddWaiting(Blocks(), Sums());
    fnWaiting = 0;
}

bool MCExactXProducts::AppendZeroVars(int count)
{
    if (count < 0 || count > MCSymMatrix::kMaxRows - fnVars) return false;
    FinishUpdate();
    if (fpSums) fpSums->Append(internal::PlacesOf(NVars() + AsSize(count)) - fpSums->Size());
    fnVars = fnVars + count;
    fvWaiting.clear();
    return true;
}

bool MCExactXProducts::Expand(const std::vector<int>& positions, int p)
{
    if (p < 0 || p > MCSymMatrix::kMaxRows || positions.size() != NVars()) return false;
    std::vector<int> from(AsSize(p), -1);
    for (int j = 0; j < fnVars; ++j) {
        const int place = positions[AsSize(j)];
        if (place < 0 || place >= p || from[AsSize(place)] >= 0) return false;
        from[AsSize(place)] = j;
    }
    FinishUpdate();
    if (fpSums) {
        std::vector<std::size_t> sources{internal::WeightPlace()};
        for (std::size_t i = 0; i < from.size(); ++i) {
            const auto source = [&](int j, auto place) {
                sources.push_back(from[i] < 0 || j < 0 ? MCExactSums::kNowhere : place());
            };
            source(0, [&] { return internal::SumPlace(AsSize(from[i])); });
            for (std::size_t j = 0; j <= i; ++j)
                source(from[j], [&] {
                    return internal::ProductPlace(AsSize(std::max(from[i], from[j])),
                                                  AsSize(std::min(from[i], from[j])));
                });
        }
        fpSums = std::make_unique<MCExactSums>(fpSums->Rearranged(sources));
    }
    fnVars = p;
    fvWaiting.clear();
    return true;
}

void MCExactXProducts::Clear()
{
    fpSums.reset();
    fnWaiting = 0;
}

// Whole blocks are added at once; what is left waits. The rows that will wait are looked at first, and of the sums there
// is a copy when a block after the first could be refused.
bool MCExactXProducts::AddRows(const internal::WeighedRows& all, bool remove)
{
    const ExactRows& rows = all.rows;
    const std::size_t waits = remove ? 0 : rows.count % kBlock;
    const std::size_t whole = rows.count - waits;
    const std::size_t step = NVars() + 1;
    for (std::size_t r = whole; r < rows.count; ++r) {
        if (!CanBeAdded(all.Weight(r))) return false;
        for (std::size_t j = 0; j < NVars(); ++j)
            if (!CanBeAdded(rows.values[r * rows.rowStep + j * rows.columnStep])) return false;
    }
    if (fnWaiting + waits > kBlock) FinishUpdate();
    if (waits > 0) fvWaiting.resize(std::max(fvWaiting.size(), kBlock * step));

    std::unique_ptr<MCExactSums> before;
    if (whole > kBlock) before = std::make_unique<MCExactSums>(Sums());
    const auto takeBack = [&] {
        if (before) fpSums.swap(before);
    };
    try {
        std::vector<double> weights(all.nWeights > 0 && whole > 0 ? kBlock : 0);
        for (std::size_t first = 0; first < whole; first += kBlock) {
            ExactRows block = rows;
            block.values += first * rows.rowStep;
            block.count = std::min(kBlock, whole - first);
            for (std::size_t r = 0; r < (weights.empty() ? 0 : block.count); ++r) weights[r] = all.Weight(first + r);
            block.weights = weights.empty() ? nullptr : weights.data();
            if (!Blocks().Add(block, NVars(), remove, Sums())) {
                takeBack();
                return false;
            }
        }
    } catch (...) {
        takeBack();
        throw;
    }

    for (std::size_t r = whole; r < rows.count; ++r) {
        double* const to = fvWaiting.data() + (fnWaiting + (r - whole)) * step;
        for (std::size_t j = 0; j < NVars(); ++j) to[j] = rows.values[r * rows.rowStep + j * rows.columnStep];
        to[NVars()] = all.Weight(r);
    }
    fnWaiting = fnWaiting + waits;
    return true;
}

bool MCExactXProducts::AddMatrix(const MCRectMatrix& X, int nRows, bool remove)
{
    const int nWeights = (fbFrequencyWeight ? 1 : 0) + (fbRegressionWeight ? 1 : 0);
    if (X.GetNCols() != fnVars + nWeights) return false;
    const std::size_t step = AsSize(X.GetNCols());
    const auto count = AsSize(nRows > 0 ? std::min(nRows, X.GetNRows()) : X.GetNRows());
    return AddRows({{X.GetPtr(), step, 1, count, nullptr}, X.GetPtr() + NVars(), step, nWeights}, remove);
}

bool MCExactXProducts::Compute(const MCRectMatrix& X, int nRows)
{
    MCExactXProducts fresh(fnVars, fbIntercept, fbFrequencyWeight, fbRegressionWeight);
    if (!fresh.Update(X, nRows)) return false;
    *this = std::move(fresh);
    return true;
}

bool MCExactXProducts::Update(const MCRectMatrix& X, int nRows)
{
    return AddMatrix(X, nRows, false);
}

bool MCExactXProducts::Remove(const MCRectMatrix& X, int nRows)
{
    return AddMatrix(X, nRows, true);
}

bool MCExactXProducts::UpdateColumns(const double* x, std::size_t columnStep, std::size_t nRows, const double* weights)
{
    return AddRows({{x, 1, columnStep, nRows, nullptr}, weights, 1, weights != nullptr ? 1 : 0}, false);
}

bool MCExactXProducts::AddCase(const std::vector<double>& x, double w)
{
    if (x.size() < NVars()) return false;
    return AddRows({{x.data(), 0, 1, 1, nullptr}, &w, 0, 1}, false);
}

bool MCExactXProducts::DeleteCase(const std::vector<double>& x, double w)
{
    if (x.size() < NVars()) return false;
    return AddRows({{x.data(), 0, 1, 1, nullptr}, &w, 0, 1}, true);
}

bool MCExactXProducts::MergeAll(std::span<const MCExactXProducts* const> others)
{
    int p = fnVars;
    const MCExactXProducts* flags = this;
    bool found = false;
    for (const MCExactXProducts* const entry : others) {
        if (entry == nullptr) continue;
        found = true;
        if (p == 0)
            flags = entry;
        else if (entry->fnVars != p || entry->fbIntercept != flags->fbIntercept)
            return false;
        p = entry->fnVars;
    }
    if (!found) return false;

    MCExactXProducts merged(p, flags->fbIntercept, flags->fbFrequencyWeight, flags->fbRegressionWeight);
    if (fnVars == p && fpSums) merged.fpSums = std::make_unique<MCExactSums>(*fpSums);
    for (const MCExactXProducts* const entry : others) {
        if (entry == nullptr || entry->fnVars != p) continue;
        if (entry->fpSums) merged.Sums().Merge(*entry->fpSums);
        if (entry->fnWaiting > 0) entry->AddWaiting(merged.Blocks(), merged.Sums());
    }
    if (fnVars == p) { // the rows that wait here go on waiting
        fpSums = std::move(merged.fpSums);
        fbIntercept = merged.fbIntercept;
        fbFrequencyWeight = merged.fbFrequencyWeight;
        fbRegressionWeight = merged.fbRegressionWeight;
    } else {
        *this = std::move(merged);
    }
    return true;
}

bool MCExactXProducts::Merge(const MCExactXProducts& other)
{
    // Into its own numbers, without a copy of them, when that is all.
    if (&other != this && fnVars > 0 && other.fnVars == fnVars && other.fbIntercept == fbIntercept &&
        other.fnWaiting == 0) {
        if (other.fpSums) Sums().Merge(*other.fpSums);
        return true;
    }
    const MCExactXProducts* const entry = &other;
    return MergeAll({&entry, 1});
}

bool MCExactXProducts::Merge(const std::vector<MCExactXProducts*>& others)
{
    return MergeAll(std::vector<const MCExactXProducts*>(others.begin(), others.end()));
}

bool MCExactXProducts::Merge(const std::vector<const MCExactXProducts*>& others)
{
    return MergeAll(others);
}

bool MCExactXProducts::Equal(const MCExactXProducts& other) const
{
    return fnVars == other.fnVars && fbIntercept == other.fbIntercept && fbFrequencyWeight == other.fbFrequencyWeight &&
           fbRegressionWeight == other.fbRegressionWeight && Total() == other.Total();
}

double MCExactXProducts::GetNCases() const
{
    return Total().Number(internal::WeightPlace()).Rounded();
}

bool MCExactXProducts::GetMeans(std::vector<double>& means) const
{
    std::vector<double> low;
    return GetMeans(means, low);
}

bool MCExactXProducts::GetMeans(std::vector<double>& high, std::vector<double>& low) const
{
    const MCExactSums total = Total();
    const MCExactNumber weight = total.Number(internal::WeightPlace());
    if (weight.IsZero()) return false;
    std::vector<double> highs(NVars()), lows(NVars());
    for (std::size_t i = 0; i < NVars(); ++i) {
        const MCExtended mean = MCExactNumber::Quotient(total.Number(internal::SumPlace(i)), weight);
        highs[i] = mean.high;
        lows[i] = mean.low;
    }
    high.swap(highs);
    low.swap(lows);
    return true;
}

bool MCExactXProducts::GetXProds(MCSymMatrix& products) const
{
    MCSymMatrix low;
    return GetXProds(products, low);
}

// Sum of w*(x - m)*(y - n) = (W * sum of w*x*y - sum of w*x * sum of w*y) / W, in integers until the division.
bool MCExactXProducts::GetXProds(MCSymMatrix& high, MCSymMatrix& low) const
{
    const MCExactSums total = Total();
    const MCExactNumber weight = total.Number(internal::WeightPlace());
    if (fbIntercept && weight.IsZero()) return false;
    MCSymMatrix highs(fnVars), lows(fnVars);
    std::vector<MCExactNumber> sums(NVars());
    double* toHigh = highs.GetPtr();
    double* toLow = lows.GetPtr();
    for (std::size_t i = 0; i < NVars(); ++i) {
        sums[i] = total.Number(internal::SumPlace(i));
        for (std::size_t j = 0; j <= i; ++j) {
            const MCExactNumber raw = total.Number(internal::ProductPlace(i, j));
            const MCExtended product =
                fbIntercept ? MCExactNumber::Quotient(weight * raw - sums[i] * sums[j], weight) : raw.Extended();
            *toHigh++ = product.high;
            *toLow++ = product.low;
        }
    }
    high = std::move(highs);
    low = std::move(lows);
    return true;
}

bool MCExactXProducts::GetExtended(const std::vector<MCColumnPair>& variables, std::vector<MCExtended>& means,
                                   MCExtendedSym& products) const
{
    for (const MCColumnPair& v : variables)
        if (v.high < 0 || v.high >= fnVars || v.low < -1 || v.low >= fnVars) return false;
    const MCExactSums total = Total();
    const MCExactNumber weight = total.Number(internal::WeightPlace());
    MCExtendedSym result(static_cast<int>(std::min(variables.size(), AsSize(MCSymMatrix::kMaxRows) + 1)));
    if (AsSize(result.GetNRows()) != variables.size() || (fbIntercept && weight.IsZero())) return false;

    const auto sum = [&](const MCColumnPair& v) {
        const MCExactNumber high = total.Number(internal::SumPlace(AsSize(v.high)));
        return v.low < 0 ? high : high + total.Number(internal::SumPlace(AsSize(v.low)));
    };
    const auto product = [&](int a, int b) {
        return total.Number(internal::ProductPlace(AsSize(std::max(a, b)), AsSize(std::min(a, b))));
    };
    std::vector<MCExactNumber> sums;
    std::vector<MCExtended> quotients(variables.size());
    for (std::size_t i = 0; i < variables.size(); ++i) {
        const MCColumnPair& v = variables[i];
        sums.push_back(sum(v));
        if (!weight.IsZero()) quotients[i] = MCExactNumber::Quotient(sums[i], weight);
        for (std::size_t j = 0; j <= i; ++j) {
            const MCColumnPair& w = variables[j];
            MCExactNumber raw = product(v.high, w.high);
            if (w.low >= 0) raw = raw + product(v.high, w.low);
            if (v.low >= 0) raw = raw + product(v.low, w.high);
            if (v.low >= 0 && w.low >= 0) raw = raw + product(v.low, w.low);
            result.SetElem(static_cast<int>(i), static_cast<int>(j),
                           fbIntercept ? MCExactNumber::Quotient(weight * raw - sums[i] * sums[j], weight)
                                       : raw.Extended());
        }
    }
    means.swap(quotients);
    products = std::move(result);
    return true;
}

void MCExactXProducts::Display() const
{
    MCDisplay_930::DisplayStart("MCExactXProducts");
    MCDisplay_930::Display("Number of variables", GetNVars());
    MCDisplay_930::Display("Intercept indicator", fbIntercept);
    MCDisplay_930::Display("Frequency weight indicator", fbFrequencyWeight);
    MCDisplay_930::Display("Regression weight indicator", fbRegressionWeight);
    MCDisplay_930::Display("Weighted number of cases", GetNCases());
    std::vector<double> means;
    if (GetMeans(means)) MCDisplay_930::Display("Vector of means", means);
    MCSymMatrix products;
    if (GetXProds(products)) {
        MCDisplay_930::DisplayLine("Matrix of cross-products:");
        products.Display();
    }
    MCDisplay_930::DisplayEnd("MCExactXProducts");
}

int MCExactXProducts::WriteObjectXML(std::ostream& stream, int indent) const
{
    const MCExactSums total = Total();
    internal::StateWriter writer(stream, "MCExactXProducts", indent);
    writer.Write(GetNVars());
    writer.Write(fbIntercept);
    writer.Write(fbFrequencyWeight);
    writer.Write(fbRegressionWeight);
    for (std::size_t k = 0; k < total.Size(); ++k) writer.Write(total.Number(k).Text());
    return writer.Finish();
}

int MCExactXProducts::ReadObjectXML(std::ifstream& stream)
{
    internal::StateReader reader(stream, "MCExactXProducts");
    int p = 0;
    reader.Read(p);
    reader.Require(p >= 0 && p <= MCSymMatrix::kMaxRows);
    MCExactXProducts read(reader.Ok() ? p : 0, true, true, false);
    reader.Read(read.fbIntercept);
    reader.Read(read.fbFrequencyWeight);
    reader.Read(read.fbRegressionWeight);
    // Memory grows with what is there, so that a damaged count cannot ask for all of it.
    std::vector<MCExactNumber> numbers;
    std::string text;
    int lowest = 0, highest = 1;
    while (numbers.size() < internal::PlacesOf(read.NVars()) && reader.Read(text)) {
        MCExactNumber number;
        if (!reader.Require(number.ReadText(text, kLargestExponent))) break;
        lowest = std::min(lowest, number.GetExponent());
        highest = std::max(highest, number.GetExponent() + number.GetBits());
        numbers.push_back(std::move(number));
    }
    const int lines = reader.Finish();
    if (lines == 0) return 0;
    read.Sums().Reserve(lowest, highest);
    for (std::size_t k = 0; k < numbers.size(); ++k) read.Sums().Set(k, numbers[k]);
    *this = std::move(read);
    return lines;
}

} // namespace MCMath_930
