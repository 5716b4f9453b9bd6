// The program of docs/pmml.md.
#include <modelcore/modelcore.h>

#include <iostream>
#include <memory>
#include <string>
#include <vector>

using namespace MCXML_930;

int main()
{
    MCVariableList variables;
    variables.Add(MCContinuousVariable("carat"));
    MCCategoricalVariable cut("cut");
    for (const char* name : {"Fair", "Good", "Ideal"}) cut.AddCategory(name);
    variables.Add(cut);
    variables.Add(MCContinuousVariable("price", IMCVariable::StorageReal, IMCVariable::RoleTarget));

    MCContinuousEncoder carat("carat");
    carat.SetScaling(MCContinuousEncoder::ScaleZScore);
    carat.SetLimitsLearned(IMCEncoder::OutlierClipped);
    carat.SetMissingRule(IMCEncoder::MissingReplaced);
    carat.LearnBlock(std::vector{0.5, 1.0, 1.5});
    carat.Finish();

    MCPMMLRegression model;
    model.target = "price";
    model.terms = {MCPMMLTerm("(Intercept)"), MCPMMLTerm("carat").TimesColumn("carat"),
                   MCPMMLTerm("cut=Good").TimesLevel("cut", "Good"),
                   MCPMMLTerm("carat*Ideal").TimesColumn("carat").TimesLevel("cut", "Ideal")};
    model.coefficients = {{0, 800.0}, {1, 250.5}, {2, 0.1}, {3, 40.0}};

    MCPMMLExporter exporter(variables);
    exporter.SetHeader("", "my procedure", "1.0", "2026-01-02T03:04:05");
    exporter.SetEncoder("carat", carat);
    exporter.AddRegression(model);
    exporter.AddVerification({{{1.5, "Ideal", {}}, {1090.5}}, {{{}, "Good", {}}, {800.1}}});

    std::string problem;
    const std::unique_ptr<XMLElement> document(exporter.Create(nullptr, &problem));
    if (document)
        WriteTreeUTF8(std::cout, nullptr, document.get(), true);
    else
        std::cout << problem;

    model.coefficients[2].estimate /= 0.0;
    exporter.AddRegression(model);
    if (exporter.Create(nullptr, &problem) == nullptr) std::cout << "\n\nRefused: " << problem << '\n';
    return 0;
}
