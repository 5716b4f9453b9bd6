// What docs/variables.md shows: describe the columns of a file, learn encoders in two pieces, encode, save, restore.
#include "modelcore/modelcore.h"

#include <iostream>
#include <string>
#include <vector>

using namespace MCXML_930;
using MCCommon_930::MCStatus;
using MCCommon_930::Value;

namespace {

void Describe()
{
    MCContinuousVariable age("age", IMCVariable::StorageInteger);
    age.SetLabel("Age in years");
    age.SetInterval(0, 120);
    age.AddMissingCode(-9);
    MCCategoricalVariable cut("cut");
    cut.SetOrdered(true);
    for (const char* name : {"Fair", "Good", "Ideal"}) cut.AddCategory(name);

    MCVariableList list;
    list.Add(age);
    list.Add(cut);
    list.Add(MCContinuousVariable("price", IMCVariable::StorageReal, IMCVariable::RoleTarget));
    list.Add(MCWeightVariable("n"));
    std::cout << list.ToString();
    std::cout << "-9 is " << (list.Get("age")->Classify(-9) == IMCVariable::ValueMissing ? "missing" : "a value")
              << "\n\n";
}

void Categories()
{
    MCCategoricalEncoder here("cut"), there("cut");
    for (MCCategoricalEncoder* const each : {&here, &there}) {
        each->SetCoding(MCCategoricalEncoder::Dummy);
        each->SetReference("Good");
        each->SetUnseenRule(IMCEncoder::UnseenAsOther);
    }
    for (const char* name : {"Ideal", "Good", "Ideal"}) here.Learn(name);
    for (const char* name : {"Fair", "Good"}) there.Learn(name);
    here.Merge(there);
    const MCStatus status = here.Finish();
    if (status.IsError()) return;

    std::vector<double> row(static_cast<std::size_t>(here.GetNColumns()));
    for (const Value& cell : {Value("Ideal"), Value("Good"), Value("Premium"), Value()}) {
        const IMCEncoder::Outcome outcome = here.Encode(cell, row);
        std::cout << (cell.IsNull() ? "null" : cell.GetString()) << ": outcome " << outcome;
        for (int j = 0; j < here.GetNColumns(); ++j)
            std::cout << "  " << here.GetColumnName(j) << " " << Value(row[static_cast<std::size_t>(j)]);
        Value back;
        here.Decode(row, back);
        std::cout << "  decoded " << back << '\n';
    }
    std::cout << '\n';
}

void Bins()
{
    MCBinningEncoder bins("visits");
    bins.SetEqualFrequency(4);
    const std::vector<double> visits{0, 0, 0, 0, 1, 2, 3, 5, 8, 13};
    bins.LearnBlock(visits);
    const MCStatus status = bins.Finish();
    if (status.GetErrorCode() == IMCEncoder::FinishFewerBins)
        std::cout << status.GetDiscreteDatum(1) << " bins of " << status.GetDiscreteDatum(0) << '\n';
    for (int bin = 0; bin < bins.GetNBins(); ++bin)
        std::cout << bins.GetBinText(bin) << ": " << bins.GetBinWeights()[static_cast<std::size_t>(bin)] << '\n';

    std::string saved;
    bins.ToJson().ToText(saved);
    JsonObject json;
    JsonObject::Parse(saved, json);
    const auto restored = MCEncoderBase::CreateFromJson(json);
    std::vector<double> numbers(visits.size());
    restored->EncodeBlock(visits, numbers, 1);
    for (const double number : numbers) std::cout << number << ' ';
    std::cout << "\n\n";
}

void Quantiles()
{
    MCMath_930::MCQuantileSketch sketch(4096);
    for (int i = 1; i <= 100000; ++i) sketch.Update(i % 3 == 0 ? 500.0 : i / 7.0);
    double lowest = 0.0, highest = 0.0;
    sketch.GetQuantileBounds(0.9, lowest, highest);
    std::cout << "quantile 0.9 is " << sketch.GetQuantile(0.9) << ", between " << lowest << " and " << highest << '\n';
    std::cout << "ranks are right to " << 100.0 * sketch.GetRankError() << " %\n";
}

} // namespace

int main()
{
    Describe();
    Categories();
    Bins();
    Quantiles();
}
