// The pieces of code that docs/values.md shows, run as they stand there.
#include "modelcore/modelcore.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace MCCommon_930;

TEST(ValuesPage, ValuesAndRecords)
{
    Value model;
    model["name"] = "growth";
    model["converged"] = true;
    model["estimates"][0] = 0.25;
    model["estimates"][1] = -3.0;
    EXPECT_EQ(model.GetString(), R"({"converged": true, "estimates": [0.25, -3], "name": "growth"})");

    ValueRecord person;
    person.Add("age", 36);
    person.Add("income", Value::SYSMISVALUE);
    if (person["age"] >= 18) person.Set("age", Value(37), true);
    const bool refused = !person.Set("age", Value("x"), true); // another type: the field keeps 37
    EXPECT_TRUE(refused);
    EXPECT_EQ(person["age"], 37);
    EXPECT_TRUE(person["income"].IsMissing());

    std::string problem;
    try {
        model["name"].GetReal();
    } catch (const MCException& wrong) {
        problem = wrong.GetMessage(); // code 13, "Value type wrong!"
    }
    EXPECT_EQ(problem, "Value type wrong!");
}

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

TEST(ValuesPage, MissingData)
{
    EXPECT_EQ(MeanOfValid({1.0, MCMV::Missing(), 3.0}), 2.0);
    EXPECT_TRUE(MCMV::IsMissing(MeanOfValid({MCMV::Missing()})));
}

TEST(ValuesPage, StatusAndWarnings)
{
    MCWarnings warnings;
    MCStatus aliased(101, true);    // a warning; MCStatus(101, false) would be an error
    aliased.SetDiscreteDatum(0, 4); // which row
    aliased.SetScaleDatum(0, 1e-8); // which tolerance it failed
    warnings.AddWarning(aliased, MCWarnings::DestPrimary);
    warnings.AddParameter(aliased, "treatment=3");
    EXPECT_EQ(warnings.GetParameters(aliased).at(0).ToString(), "treatment=3");
}
