// The code of docs/statxml.md: the start of a document of results.
#include <modelcore/modelcore.h>

#include <iostream>
#include <memory>
#include <vector>

int main()
{
    using namespace MCXML_930;
    const std::unique_ptr<XMLElement> root(MCStatXMLUtil::BuildRoot());
    XMLElement* const model = MCStatXMLUtil::CreateElemStructuredData("Model");
    root->AddElement(model);
    model->AddElement(MCStatXMLUtil::CreateElemCounts(6, 1, 0, 5));
    model->AddElement(MCStatXMLUtil::CreateElemStatistic("rSquared", 0.6));
    model->AddElement(
        MCStatXMLUtil::CreateElemRegressionParameter("x", false, {MCStatXMLUtil::CreateElemCovariate("x", 1)}, {}));
    model->AddElement(MCStatXMLUtil::CreateElemArray(std::vector{2.2, 0.6}));
    WriteTreeUTF8(std::cout, nullptr, root.get(), true);
}
