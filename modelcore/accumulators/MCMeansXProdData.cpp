#include "modelcore/accumulators/MCMeansXProdData.h"

#include "modelcore/accumulators/internal/ProductSums.h"
#include "modelcore/accumulators/internal/StateStream.h"
#include "modelcore/common/MCDisplay.h"
#include "modelcore/kernels/Kernels.h"

#include <algorithm>

namespace MCMath_930 {

namespace {

/// The cases whose terms are added to the matrix together.
constexpr std::size_t kBatch = 64;

} // namespace

MCMeansXProdData::MCMeansXProdData() = default;

MCMeansXProdData::MCMeansXProdData(int p, bool intercept) : fbIntercept(intercept)
{
    SetNVars(p);
}

MCMeansXProdData::MCMeansXProdData(const MCMeansXProdData& other)
    : fnVars(other.fnVars), fbIntercept(other.fbIntercept), fdNCases(other.fdNCases), fvMeans(other.fvMeans),
      fXProds(other.XProds())
{}

MCMeansXProdData& MCMeansXProdData::operator=(const MCMeansXProdData& other)
{
    if (this == &other) return *this;
    std::vector<double> means(other.fvMeans);
    MCSymMatrix xProds(other.XProds());
    fnVars = other.fnVars;
    fbIntercept = other.fbIntercept;
    fdNCases = other.fdNCases;
    fvMeans.swap(means);
    fXProds = std::move(xProds);
    fvWaiting.clear();
    fnWaiting = 0;
    return *this;
}

MCMeansXProdData::~MCMeansXProdData() = default;

bool MCMeansXProdData::SetNVars(int p)
{
    MCSymMatrix xProds;
    if (!xProds.SetNRows(p)) return false;
    fvMeans.assign(static_cast<std::size_t>(p), 0.0);
    fXProds = std::move(xProds);
    fvWaiting.clear();
    fnWaiting = 0;
    fnVars = p;
    fdNCases = 0.0;
    return true;
}

bool MCMeansXProdData::AppendZeroVars(int count)
{
    if (count < 0 || count > MCSymMatrix::kMaxRows - fnVars) return false;
    std::vector<double> means(fvMeans);
    means.resize(fvMeans.size() + static_cast<std::size_t>(count));
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
    fnWaiting = 0;
}

void MCMeansXProdData::MakeRoom()
{
    const std::size_t room = kBatch * (fvMeans.size() + 1);
    if (fvWaiting.size() == room) return;
    auto sums = std::make_unique<internal::ProductSums>(internal::WeightedRows{nullptr, 0, kBatch, fnVars, 1});
    fvWaiting.resize(room);
    fSums = std::move(sums);
}

double* MCMeansXProdData::WaitingTerm()
{
    return fvWaiting.data() + fnWaiting * (fvMeans.size() + 1);
}

// The terms are complete here, means and all; only their addition waits.
void MCMeansXProdData::UpdateXX(const std::vector<double>& x, double f)
{
    MakeRoom();
    const std::size_t p = fvMeans.size();
    double* const term = WaitingTerm();
    if (fbIntercept)
        for (std::size_t i = 0; i < p; ++i) term[i] = x[i] - fvMeans[i];
    else
        std::copy_n(x.begin(), p, term);
    term[p] = f;
    if (++fnWaiting == kBatch) XProds();
}

MCSymMatrix& MCMeansXProdData::XProds() const
{
    if (fnWaiting > 0) {
        const std::size_t p = fvMeans.size();
        const internal::WeightedRows terms{fvWaiting.data(), p + 1, fnWaiting, fnVars, 1};
        fSums->Add(terms, nullptr, fXProds);
        fnWaiting = 0;
    }
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
    double* const term = WaitingTerm();
    internal::StepMeans(term, fvMeans.data(), x.data(), share, p);
    if (!fbIntercept) std::copy_n(x.begin(), p, term);
    term[p] = fbIntercept ? fdNCases * w / total : w;
    if (++fnWaiting == kBatch) XProds();
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

bool MCMeansXProdData::Merge(const MCMeansXProdData& other)
{
    if (fnVars == 0) {
        if (!SetNVars(other.fnVars)) return false;
        fbIntercept = other.fbIntercept;
    }
    const bool compatible = fnVars == other.fnVars && fbIntercept == other.fbIntercept;
    const double total = fdNCases + other.fdNCases;
    if (!compatible || !(total > 0.0)) return compatible;

    // Distances of both old means from the new ones.
    const std::size_t p = fvMeans.size();
    std::vector<double> means(p);
    std::vector<double> a(p);
    std::vector<double> b(p);
    const double share = other.fdNCases / total;
    for (std::size_t i = 0; i < p; ++i) {
        means[i] = fvMeans[i] + (other.fvMeans[i] - fvMeans[i]) * share;
        a[i] = means[i] - fvMeans[i];
        b[i] = means[i] - other.fvMeans[i];
    }

    const double* from = other.XProds().GetPtr();
    double* to = XProds().GetPtr();
    for (std::size_t i = 0; i < p; from += ++i, to += i) {
        const double ai = fdNCases * a[i];
        const double bi = other.fdNCases * b[i];
        if (fbIntercept)
            for (std::size_t j = 0; j <= i; ++j) to[j] += from[j] + ai * a[j] + bi * b[j];
        else
            for (std::size_t j = 0; j <= i; ++j) to[j] += from[j];
    }
    fvMeans.swap(means);
    fdNCases = total;
    return true;
}

bool MCMeansXProdData::Merge(const std::vector<MCMeansXProdData*>& others)
{
    return Merge(std::vector<const MCMeansXProdData*>(others.begin(), others.end()));
}

bool MCMeansXProdData::Merge(const std::vector<const MCMeansXProdData*>& others)
{
    const auto isEntry = [](const MCMeansXProdData* entry) { return entry != nullptr; };
    const auto first = std::find_if(others.begin(), others.end(), isEntry);
    if (first == others.end()) return false;
    const MCMeansXProdData& model = fnVars == 0 ? **first : *this;
    const bool compatible = std::all_of(first, others.end(), [&](const MCMeansXProdData* entry) {
        return entry == nullptr || (entry->fnVars == model.fnVars && entry->fbIntercept == model.fbIntercept);
    });
    if (!compatible) return false;
    return std::all_of(first, others.end(),
                       [&](const MCMeansXProdData* entry) { return entry == nullptr || Merge(*entry); });
}

void MCMeansXProdData::Display() const
{
    MCDisplay_930::DisplayStart("MCMeansXProdData");
    MCDisplay_930::Display("Number of variables", fnVars);
    MCDisplay_930::Display("Intercept indicator", fbIntercept);
    MCDisplay_930::Display("Weighted number of cases", fdNCases);
    MCDisplay_930::Display("Vector of means", fvMeans);
    MCDisplay_930::DisplayLine("Matrix of cross-products:");
    XProds().Display();
    MCDisplay_930::DisplayEnd("MCMeansXProdData");
}

void MCMeansXProdData::WriteFields(internal::StateWriter& writer) const
{
    writer.Write(fnVars);
    writer.Write(fbIntercept);
    writer.Write(fdNCases);
    writer.Write(fvMeans);
    writer.Write(XProds().AsSpan());
}

bool MCMeansXProdData::ReadFields(internal::StateReader& reader)
{
    reader.Read(fnVars);
    reader.Require(fnVars >= 0 && fnVars <= MCSymMatrix::kMaxRows);
    reader.Read(fbIntercept);
    reader.Read(fdNCases);
    reader.Read(fvMeans, static_cast<std::size_t>(fnVars));
    return reader.Read(fXProds, fnVars);
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
    if (lines > 0) MCMeansXProdData::operator=(read);
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
