// The code of docs/value-stream.md: three values, saved and restored; a state as bytes.
#include <modelcore/modelcore.h>

#include <fstream>
#include <iostream>
#include <string>

using namespace MCXML_930;

void Save(std::ostream& os, long count, double mean, const std::string& label)
{
    const XMLObj means("Means", 0);
    StartRoot(os, "Example Ltd");
    means.StartObj(os);
    means.WriteSubElement(os, count);
    means.WriteSubElement(os, mean);
    means.WriteSubElement(os, label);
    means.EndObj(os);
    EndRoot(os);
}

bool Restore(std::ifstream& is, long& count, double& mean, std::string& label)
{
    return ParseStartXML(is) && ParseStartObj(is, "Means") && ParseValue(is, count) && ParseValue(is, mean) &&
           ParseValue(is, label) && ParseEndObj(is) && ParseEndObj(is);
}

int main()
{
    std::ofstream out("means.xml");
    Save(out, 5, 0.1, "weight in kg");
    out.close();

    std::ifstream in("means.xml");
    long count = 0;
    double mean = 0.0;
    std::string label;
    if (!Restore(in, count, mean, label)) return 1;
    std::cout << count << " cases, mean " << mean << " of " << label << '\n';

    MCMath_930::MCMeansXProdData part(2, true), total;
    part.AddCase({1.0, 2.0}, 1.0);
    const std::string bytes = MCStateBytes::Save(part);
    const MCStateBytes::Fault fault = MCStateBytes::Restore(bytes, total);
    if (fault != MCStateBytes::Ok) std::cerr << MCStateBytes::GetText(fault) << '\n';
    std::cout << bytes.size() << " bytes: " << MCStateBytes::GetText(fault)
              << "; cut short: " << MCStateBytes::GetText(MCStateBytes::Restore(bytes.substr(0, 50), total)) << '\n';
}
