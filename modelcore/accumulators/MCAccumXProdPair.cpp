#include "modelcore/accumulators/MCAccumXProdPair.h"

#include "modelcore/accumulators/internal/StateStream.h"
#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/MCMV.h"
#include "modelcore/common/internal/Index.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace MCMath_930 {

using MCCommon_930::MCMV;

MCAccumXProdPair::MCAccumXProdPair(int nVars, int nAccum)
    : fnVars(nVars >= 0 && nVars <= MCSymMatrix::kMaxRows ? nVars : 0), fnAccum(std::max(nAccum, 1))
{
    fvPairs.resize(NPairs(fnVars));
}

MCAccumXProdPair::~MCAccumXProdPair() = default;

void MCAccumXProdPair::SetNAccum(int nAccum)
{
    fnAccum = std::max(nAccum, 1);
}

void MCAccumXProdPair::InitAll()
{
    std::fill(fvPairs.begin(), fvPairs.end(), Pair());
}

void MCAccumXProdPair::InitAccumCounts()
{
    for (Pair& pair : fvPairs) pair.batch = Batch();
}

bool MCAccumXProdPair::Update(int i, double xi, int j, double xj, double w)
{
    if (j < 0 || i <= j || i >= fnVars) return false;
    return Update(static_cast<int>(static_cast<long long>(i) * (i - 1) / 2 + j), xi, xj, w);
}

bool MCAccumXProdPair::Update(int k, double x, double y, double w)
{
    if (k < 0 || static_cast<std::size_t>(k) >= fvPairs.size()) return false;
    Pair& pair = fvPairs[static_cast<std::size_t>(k)];
    Batch& batch = pair.batch;
    const double wx = w * x;
    const double wy = w * y;
    batch.count += 1.0;
    batch.w += w;
    batch.wx += wx;
    batch.wy += wy;
    batch.wxx += wx * x;
    batch.wyy += wy * y;
    batch.wxy += wx * y;
    return batch.count < fnAccum || IncrStats(pair);
}

std::size_t MCAccumXProdPair::NPairs(int nVars)
{
    const std::size_t p = internal::AsSize(nVars);
    return p > 0 ? p * (p - 1) / 2 : 0;
}

bool MCAccumXProdPair::IncrStats(Pair& pair)
{
    const Batch& batch = pair.batch;
    const double before = pair.total;
    const double total = before + batch.w;
    if (!(total > 1.0) || !(batch.w > 0.0)) return total > 1.0;
    const double sumX = before * pair.meanX + batch.wx;
    const double sumY = before * pair.meanY + batch.wy;
    const double meanX = sumX / total;
    const double meanY = sumY / total;
    const auto combine = [&](double moment, double a, double b, double sum, double centre) {
        return ((before - 1.0) * moment + before * a * b + sum - centre) / (total - 1.0);
    };
    pair.varX = combine(pair.varX, pair.meanX, pair.meanX, batch.wxx, meanX * sumX);
    pair.varY = combine(pair.varY, pair.meanY, pair.meanY, batch.wyy, meanY * sumY);
    pair.covar = combine(pair.covar, pair.meanX, pair.meanY, batch.wxy, sumY * meanX);
    pair.meanX = meanX;
    pair.meanY = meanY;
    pair.total = total;
    pair.batch = Batch();
    return true;
}

bool MCAccumXProdPair::Finish()
{
    return std::all_of(fvPairs.begin(), fvPairs.end(),
                       [](Pair& pair) { return pair.batch.w == 0.0 || IncrStats(pair); });
}

const MCSymMatrix& MCAccumXProdPair::GetCovar() const
{
    const std::size_t p = internal::AsSize(fnVars);
    std::vector<double> heaviest(p, 0.0);
    fCovar.SetNRows(fnVars);
    auto pair = fvPairs.begin();
    const auto offer = [&](std::size_t variable, double variance) {
        if (!(pair->total > heaviest[variable])) return;
        heaviest[variable] = pair->total;
        fCovar.SetElem(static_cast<int>(variable), static_cast<int>(variable), variance);
    };
    for (std::size_t i = 1; i < p; ++i)
        for (std::size_t j = 0; j < i; ++j, ++pair) {
            fCovar.SetElem(static_cast<int>(i), static_cast<int>(j), pair->covar);
            offer(i, pair->varX);
            offer(j, pair->varY);
        }
    return fCovar;
}

const MCSymMatrix& MCAccumXProdPair::GetCorr() const
{
    GetCovar();
    std::vector<double> deviations;
    fCovar.GetDiagonal(deviations);
    for (double& deviation : deviations) deviation = std::sqrt(deviation);
    double* element = fCovar.GetPtr();
    for (std::size_t i = 0; i < deviations.size(); ++i)
        for (std::size_t j = 0; j <= i; ++j, ++element)
            *element = deviations[i] > 0.0 && deviations[j] > 0.0
                           ? *element / std::sqrt(deviations[i]) / std::sqrt(deviations[j])
                           : MCMV::Missing();
    return fCovar;
}

void MCAccumXProdPair::MergePair(Pair& pair, const Pair& other)
{
    Batch& batch = pair.batch;
    batch.count += other.batch.count;
    batch.w += other.batch.w;
    batch.wx += other.batch.wx;
    batch.wy += other.batch.wy;
    batch.wxx += other.batch.wxx;
    batch.wyy += other.batch.wyy;
    batch.wxy += other.batch.wxy;

    if (other.total == 0.0) return;
    if (pair.total == 0.0) {
        const Batch both = batch;
        pair = other;
        pair.batch = both;
        return;
    }
    const double total = pair.total + other.total;
    const double dx = other.meanX - pair.meanX;
    const double dy = other.meanY - pair.meanY;
    const double between = pair.total * other.total / total;
    const auto pool = [&](double a, double b, double product) {
        return ((pair.total - 1.0) * a + (other.total - 1.0) * b + between * product) / (total - 1.0);
    };
    const double varX = pool(pair.varX, other.varX, dx * dx);
    const double varY = pool(pair.varY, other.varY, dy * dy);
    pair.covar = pool(pair.covar, other.covar, dx * dy);
    pair.varX = varX;
    pair.varY = varY;
    const double share = other.total / total;
    pair.meanX += dx * share;
    pair.meanY += dy * share;
    pair.total = total;
}

bool MCAccumXProdPair::Merge(const MCAccumXProdPair& other)
{
    if (fnVars == 0) {
        *this = other;
        return true;
    }
    if (fnVars != other.fnVars) return false;
    for (std::size_t k = 0; k < fvPairs.size(); ++k) MergePair(fvPairs[k], other.fvPairs[k]);
    return true;
}

bool MCAccumXProdPair::Merge(const std::vector<MCAccumXProdPair*>& others)
{
    return Merge(std::vector<const MCAccumXProdPair*>(others.begin(), others.end()));
}

bool MCAccumXProdPair::Merge(const std::vector<const MCAccumXProdPair*>& others)
{
    int nVars = fnVars;
    bool found = false;
    for (const MCAccumXProdPair* const entry : others) {
        if (entry == nullptr) continue;
        found = true;
        if (nVars != 0 && entry->fnVars != nVars) return false;
        nVars = entry->fnVars;
    }
    if (!found) return false;

    MCAccumXProdPair fresh(0, fnAccum); // where memory can run out, while there are no variables
    MCAccumXProdPair& target = fnVars == 0 ? fresh : *this;
    for (const MCAccumXProdPair* const entry : others)
        if (entry != nullptr) target.Merge(*entry);
    if (fnVars == 0) *this = std::move(fresh);
    return true;
}

void MCAccumXProdPair::Display() const
{
    const auto show = [&](const char* label, auto number) {
        std::vector<double> numbers;
        std::transform(fvPairs.begin(), fvPairs.end(), std::back_inserter(numbers), number);
        MCDisplay_930::Display(label, numbers);
    };
    MCDisplay_930::DisplayStart("MCAccumXProdPair");
    MCDisplay_930::Display("Number of variables", GetNVars());
    MCDisplay_930::Display("Number of cases in a batch", fnAccum);
    show("Numbers of cases in unfinished batches", [](const Pair& pair) { return pair.batch.count; });
    show("Weights of unfinished batches", [](const Pair& pair) { return pair.batch.w; });
    show("Weights", [](const Pair& pair) { return pair.total; });
    show("Means of x", [](const Pair& pair) { return pair.meanX; });
    show("Means of y", [](const Pair& pair) { return pair.meanY; });
    show("Variances of x", [](const Pair& pair) { return pair.varX; });
    show("Variances of y", [](const Pair& pair) { return pair.varY; });
    show("Covariances", [](const Pair& pair) { return pair.covar; });
    MCDisplay_930::DisplayEnd("MCAccumXProdPair");
}

int MCAccumXProdPair::WriteObjectXML(std::ostream& stream, int indent) const
{
    internal::StateWriter writer(stream, "MCAccumXProdPair", indent);
    writer.Write(GetNVars());
    writer.Write(fnAccum);
    for (Pair pair : fvPairs)
        for (const double* const number : pair.Numbers()) writer.Write(*number);
    return writer.Finish();
}

int MCAccumXProdPair::ReadObjectXML(std::ifstream& stream)
{
    internal::StateReader reader(stream, "MCAccumXProdPair");
    MCAccumXProdPair read(0, 1);
    int nVars = 0;
    reader.Read(nVars);
    reader.Read(read.fnAccum);
    reader.Require(nVars >= 0 && nVars <= MCSymMatrix::kMaxRows && read.fnAccum >= 1);
    const std::size_t count = reader.Ok() ? NPairs(nVars) : 0;
    read.fnVars = nVars;
    while (reader.Ok() && read.fvPairs.size() < count) { // grows with what is there, whatever number was read
        Pair pair;
        for (double* const number : pair.Numbers()) reader.Read(*number);
        read.fvPairs.push_back(pair);
    }
    const int lines = reader.Finish();
    if (lines > 0) *this = std::move(read);
    return lines;
}

} // namespace MCMath_930
