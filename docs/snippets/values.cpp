// The code of docs/values.md: cells, records, missing data, warnings.
#include "modelcore/modelcore.h"

#include <iostream>
#include <vector>

using namespace MCCommon_930;

namespace {

double MeanOfValid(const std::vector<double>& x)
{
    double sum = 0.0;
    int count = 0;
    for (const double value : x) {
        if (MCMV::IsMissing(value)) continue; // before any arithmetic
        sum += value;
        ++count;
    }
    return count > 0 ? sum / count : MCMV::Missing();
}

} // namespace

int main()
{
    Value model;
    model["name"] = "growth";
    model["converged"] = true;
    model["estimates"][0] = 0.25;
    model["estimates"][1] = -3.0;
    std::cout << model << '\n';

    try {
        model["name"].GetReal();
    } catch (const MCException& wrong) {
        std::cout << wrong.GetCode() << ": " << wrong.GetMessage() << '\n';
    }

    ValueRecord person;
    person.Add("age", 36);
    person.Add("income", Value::SYSMISVALUE);
    if (person["age"] >= 18) person.Set("age", Value(37), true);
    const bool refused = !person.Set("age", Value("x"), true); // another type: the field keeps 37
    std::cout << "age " << person["age"] << (refused ? ", a text was refused" : "") << '\n';

    std::cout << "mean " << MeanOfValid({1.0, MCMV::Missing(), 3.0}) << ", of nothing "
              << (MCMV::IsMissing(MeanOfValid({MCMV::Missing()})) ? "missing" : "a number") << '\n';

    MCWarnings warnings;
    MCStatus aliased(101, true);    // a warning; MCStatus(101, false) would be an error
    aliased.SetDiscreteDatum(0, 4); // which row
    aliased.SetScaleDatum(0, 1e-8); // which tolerance it failed
    warnings.AddWarning(aliased, MCWarnings::DestPrimary);
    warnings.AddParameter(aliased, "treatment=3");
    std::cout << warnings.GetWarnings(true).size() << " warning, about "
              << warnings.GetParameters(aliased).at(0).ToString() << '\n';
}
