#include "modelcore/accumulators/MCMeansXProdData.h"

#include "modelcore/accumulators/internal/StateStream.h"
#include "modelcore/accumulators/internal/WaitingTerms.h"
#include "modelcore/common/MCDisplay.h"
#include "modelcore/kernels/Kernels.h"

#include <algorithm>
#include <utility>

namespace MCMath_930 {

using internal::AsSize;

MCMeansXProdData::MCMeansXProdData() = default;

MCMeansXProdData::MCMeansXProdData(int p, bool intercept) : fbIntercept(intercept)
{
    SetNVars(p);
}

MCMeansXProdData::MCMeansXProdData(const MCMeansXProdData& other)
    : fnVars(other.fnVars), fbIntercept(other.fbIntercept), fdNCases(other.fdNCases), fvMeans(other.fvMeans),
      fXProds(other.XProds())
{}

MCMeansXProdData::MCMeansXProdData(MCMeansXProdData&& other) noexcept = default;
MCMeansXProdData::~MCMeansXProdData() = default;

MCMeansXProdData& MCMeansXProdData::operator=(MCMeansXProdData&& other) noexcept
{
    if (this == &other) return *this; // the terms that wait would outlive their variables
    fnVars = std::move(other.fnVars);
    fbIntercept = other.fbIntercept;
    fdNCases = std::move(other.fdNCases);
    fvMeans = std::move(other.fvMeans);
    fXProds = std::move(other.fXProds);
    fpWaiting = std::move(other.fpWaiting);
    return *this;
}

bool MCMeansXProdData::SetNVars(int p)
{
    MCSymMatrix xProds;
    if (!xProds.SetNRows(p)) return false;
    std::vector<double> means(AsSize(p));
    fvMeans.swap(means);
    fXProds = std::move(xProds);
    fpWaiting.reset();
    fnVars = p;
    fdNCases = 0.0;
    return true;
}

bool MCMeansXProdData::AppendZeroVars(int count)
{
    if (count < 0 || count > MCSymMatrix::kMaxRows - fnVars) return false;
    std::vector<double> means(fvMeans);
    means.resize(fvMeans.size() + AsSize(count));
    XProds().Resize(fnVars + count); // after what waits has been added
    fvMeans.swap(means);
    fnVars += count;
    return true;
}

void MCMeansXProdData::Clear()
{
    fdNCases = 0.0;
    std::fill(fvMeans.begin(), fvMeans.end(), 0.0);
    fXProds.ZeroOut();
    if (fpWaiting) fpWaiting->Forget();
}

void MCMeansXProdData::MakeRoom()
{
    if (fpWaiting && fpWaiting->GetNVars() == fnVars) return;
    auto waiting = std::make_unique<internal::WaitingTerms>(fnVars);
    XProds();
    fpWaiting = std::move(waiting);
}

// The terms are complete here, means and all; only their addition waits.
void MCMeansXProdData::UpdateXX(const std::vector<double>& x, double f)
{
    MakeRoom();
    const std::size_t p = fvMeans.size();
    double* const term = fpWaiting->Next();
    if (fbIntercept)
        for (std::size_t i = 0; i < p; ++i) term[i] = x[i] - fvMeans[i];
    else
        std::copy_n(x.begin(), p, term);
    term[p] = f;
    fpWaiting->Push(fXProds);
}

MCSymMatrix& MCMeansXProdData::XProds() const
{
    if (fpWaiting) fpWaiting->AddTo(fXProds);
    return fXProds;
}

bool MCMeansXProdData::AddCase(const std::vector<double>& x, double w)
{
    if (x.size() < fvMeans.size()) return false;
    if (w == 0.0) return true; // in an empty accumulator w/W' would be 0/0
    MakeRoom();                // while nothing has changed: it may throw
    const double total = fdNCases + w;
    const double share = w / total;
    const std::size_t p = fvMeans.size();
    double* const term = fpWaiting->Next();
    internal::StepMeans(term, fvMeans.data(), x.data(), share, p);
    if (!fbIntercept) std::copy_n(x.begin(), p, term);
    term[p] = fbIntercept ? fdNCases * w / total : w;
    fpWaiting->Push(fXProds);
    fdNCases = total;
    return true;
}

bool MCMeansXProdData::DeleteCase(const std::vector<double>& x, double w)
{
    if (x.size() < fvMeans.size()) return false;
    if (w == 0.0) return true;
    MakeRoom(); // while nothing has changed: it may throw
    const double rest = fdNCases - w;
    const double drop = -(w / rest);
    const double keep = fdNCases / rest;
    for (std::size_t i = 0; i < fvMeans.size(); ++i) fvMeans[i] = drop * x[i] + keep * fvMeans[i];
    UpdateXX(x, -(fbIntercept ? rest * w / fdNCases : w));
    fdNCases = rest;
    return true;
}

void MCMeansXProdData::MergeAlike(const MCMeansXProdData& other, std::span<double> room) noexcept
{
    const double own = fdNCases;
    const double added = other.fdNCases;
    const double total = own + added;
    if (!(total > 0.0)) return;

    // Distances of both old means from the new ones.
    const std::size_t p = fvMeans.size();
    double* const means = room.data();
    double* const a = means + p;
    double* const b = a + p;
    const double share = added / total;
    for (std::size_t i = 0; i < p; ++i) {
        means[i] = fvMeans[i] + (other.fvMeans[i] - fvMeans[i]) * share;
        a[i] = means[i] - fvMeans[i];
        b[i] = means[i] - other.fvMeans[i];
    }

    const double* from = other.XProds().GetPtr();
    double* to = XProds().GetPtr();
    for (std::size_t i = 0; i < p; from += ++i, to += i) {
        const double ai = own * a[i];
        const double bi = added * b[i];
        if (fbIntercept)
            internal::AddMergedRow(to, from, ai, a, bi, b, i + 1);
        else
            for (std::size_t j = 0; j <= i; ++j) to[j] += from[j];
    }
    std::copy_n(means, p, fvMeans.begin());
    fdNCases = total;
}

bool MCMeansXProdData::MergeAll(std::span<const MCMeansXProdData* const> others)
{
    int p = fnVars;
    bool intercept = fbIntercept;
    bool found = false;
    for (const MCMeansXProdData* const entry : others) {
        if (entry == nullptr) continue;
        found = true;
        if (p == 0)
            intercept = entry->fbIntercept;
        else if (entry->fnVars != p || entry->fbIntercept != intercept)
            return false;
        p = entry->fnVars;
    }
    if (!found) return false;

    // All that may throw comes before the first change, which is on the side while there are no variables.
    MCMeansXProdData fresh(fnVars == 0 ? p : 0, intercept);
    MCMeansXProdData& target = fnVars == 0 ? fresh : *this;
    std::vector<double> room(target.MergeRoom());
    for (const MCMeansXProdData* const entry : others) {
        if (entry == nullptr || entry->fnVars != p) continue;
        if (p == 0) target.fdNCases = 0.0; // each takes the place of the one before
        target.MergeAlike(*entry, room);
    }
    if (fnVars == 0) MCMeansXProdData::operator=(std::move(fresh));
    return true;
}

bool MCMeansXProdData::Merge(const MCMeansXProdData& other)
{
    const MCMeansXProdData* const entry = &other;
    return MergeAll({&entry, 1});
}

bool MCMeansXProdData::Merge(const std::vector<MCMeansXProdData*>& others)
{
    return MergeAll(std::vector<const MCMeansXProdData*>(others.begin(), others.end()));
}

bool MCMeansXProdData::Merge(const std::vector<const MCMeansXProdData*>& others)
{
    return MergeAll(others);
}

void MCMeansXProdData::Display() const
{
    MCDisplay_930::DisplayStart("MCMeansXProdData");
    MCDisplay_930::Display("Number of variables", GetNVars());
    MCDisplay_930::Display("Intercept indicator", fbIntercept);
    MCDisplay_930::Display("Weighted number of cases", GetNCases());
    MCDisplay_930::Display("Vector of means", fvMeans);
    MCDisplay_930::DisplayLine("Matrix of cross-products:");
    XProds().Display();
    MCDisplay_930::DisplayEnd("MCMeansXProdData");
}

void MCMeansXProdData::WriteFields(internal::StateWriter& writer) const
{
    writer.Write(GetNVars());
    writer.Write(fbIntercept);
    writer.Write(GetNCases());
    writer.Write(fvMeans);
    writer.Write(XProds().AsSpan());
}

bool MCMeansXProdData::ReadFields(internal::StateReader& reader)
{
    int p = 0;
    double nCases = 0.0;
    reader.Read(p);
    reader.Require(p >= 0 && p <= MCSymMatrix::kMaxRows);
    reader.Read(fbIntercept);
    reader.Read(nCases);
    reader.Read(fvMeans, AsSize(p));
    fnVars = p;
    fdNCases = nCases;
    return reader.Read(fXProds, p);
}

int MCMeansXProdData::WriteState(std::ostream& stream, int indent, const char* name) const
{
    internal::StateWriter writer(stream, name, indent);
    WriteFields(writer);
    return writer.Finish();
}

int MCMeansXProdData::ReadState(std::ifstream& stream, const char* name)
{
    internal::StateReader reader(stream, name);
    MCMeansXProdData read;
    read.ReadFields(reader);
    const int lines = reader.Finish();
    if (lines > 0) MCMeansXProdData::operator=(std::move(read));
    return lines;
}

int MCMeansXProdData::WriteObjectXML(std::ostream& stream, int indent) const
{
    return WriteState(stream, indent, "MCMeansXProdData");
}

int MCMeansXProdData::ReadObjectXML(std::ifstream& stream)
{
    return ReadState(stream, "MCMeansXProdData");
}

} // namespace MCMath_930
