#include "modelcore/accumulators/MCProvMeans.h"

#include "modelcore/common/MCDisplay.h"

namespace MCMath_930 {

MCProvMeans::MCProvMeans(int p, bool intercept) : MCMeansXProdData(p, intercept) {}

MCProvMeans::~MCProvMeans() = default;

bool MCProvMeans::Update(const std::vector<double>& x, double w)
{
    const double total = GetNCases() + w;
    if (x.size() < fvMeans.size() || !(total >= 0.0)) return false;
    if (total == 0.0) {
        Clear();
        return true;
    }
    return w < 0.0 ? DeleteCase(x, -w) : AddCase(x, w);
}

void MCProvMeans::Display() const
{
    MCDisplay_930::DisplayStart("MCProvMeans");
    MCMeansXProdData::Display();
    MCDisplay_930::DisplayEnd("MCProvMeans");
}

int MCProvMeans::WriteObjectXML(std::ostream& stream, int indent) const
{
    return WriteState(stream, indent, "MCProvMeans");
}

int MCProvMeans::ReadObjectXML(std::ifstream& stream)
{
    return ReadState(stream, "MCProvMeans");
}

} // namespace MCMath_930
