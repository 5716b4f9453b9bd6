// Prints the digits that each way to means and cross products keeps, as a table. See docs/accumulators.md.
#include "modelcore/modelcore.h"
#include "support/Random.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <utility>
#include <vector>

using namespace MCMath_930;

namespace {

constexpr int kRows = 20000;
constexpr int kBlock = 1000;

/// Two columns of standard deviation 1 and correlation 0.6, their means `mean`, and a weight.
MCRectMatrix MakeRows(double mean)
{
    TestRandom random(11);
    const auto normal = [&] { // near enough: the sum of twelve uniform numbers
        double sum = -6.0;
        for (int i = 0; i < 12; ++i) sum += random.Uniform(0.0, 1.0);
        return sum;
    };
    MCRectMatrix rows(kRows, 3);
    for (int r = 0; r < kRows; ++r) {
        const double common = normal();
        rows.SetElem(r, 0, mean + common);
        rows.SetElem(r, 1, mean + 0.6 * common + 0.8 * normal());
        rows.SetElem(r, 2, random.Uniform(0.5, 1.5));
    }
    return rows;
}

MCRectMatrix Part(const MCRectMatrix& rows, int first, int count)
{
    MCRectMatrix part(count, 3);
    for (int r = 0; r < count; ++r)
        for (int j = 0; j < 3; ++j) part.SetElem(r, j, rows.GetElem(first + r, j));
    return part;
}

/// The covariance of the two columns in long double, from deviations.
long double Exact(const MCRectMatrix& rows)
{
    long double total = 0.0L;
    long double x = 0.0L;
    long double y = 0.0L;
    for (int r = 0; r < rows.GetNRows(); ++r) {
        const long double w = rows.GetElem(r, 2);
        total += w;
        x += w * (rows.GetElem(r, 0) - x) / total;
        y += w * (rows.GetElem(r, 1) - y) / total;
    }
    long double sum = 0.0L;
    for (int r = 0; r < rows.GetNRows(); ++r)
        sum += rows.GetElem(r, 2) * (rows.GetElem(r, 0) - x) * (rows.GetElem(r, 1) - y);
    return sum / (total - 1.0L);
}

double Covariance(const MCMeansXProdData& data)
{
    return data.GetXProds().GetElem(1, 0) / (data.GetNCases() - 1.0);
}

double BlockByBlock(const MCRectMatrix& rows)
{
    MCMeansXProducts data(2, true, true, false);
    for (int r = 0; r < kRows; r += kBlock) data.Update(Part(rows, r, kBlock), 0);
    return Covariance(data);
}

double OneBlock(const MCRectMatrix& rows)
{
    MCMeansXProducts data(2, true, true, false);
    data.Compute(rows, 0);
    return Covariance(data);
}

void AddCases(MCProvMeans& data, const MCRectMatrix& rows)
{
    std::vector<double> row;
    for (int r = 0; r < rows.GetNRows(); ++r) {
        rows.GetRow(r, row);
        data.Update(row, row[2]);
    }
}

double CaseByCase(const MCRectMatrix& rows)
{
    MCProvMeans data(2, true);
    AddCases(data, rows);
    return Covariance(data);
}

double MergedParts(const MCRectMatrix& rows)
{
    MCProvMeans total;
    for (int r = 0; r < kRows; r += kBlock) {
        MCProvMeans part(2, true);
        AddCases(part, Part(rows, r, kBlock));
        total.Merge(part);
    }
    return Covariance(total);
}

/// Half as many cases again, added and taken back: `size` is how many standard deviations they lie from the mean.
double AfterDeleting(const MCRectMatrix& rows, double size)
{
    MCProvMeans data(2, true);
    std::vector<double> row;
    for (const double sign : {1.0, -1.0}) {
        for (int r = 0; r < kRows; r += 2) {
            rows.GetRow(r, row);
            data.Update({row[0] + size, row[1] - size}, sign * row[2]);
        }
        if (sign > 0.0) AddCases(data, rows);
    }
    return Covariance(data);
}

double OnePass(const MCRectMatrix& rows)
{
    MCMeansXProducts data(2, true, true, false);
    data.StartUpdateOnePass();
    data.UpdateOnePass(rows, 0);
    data.FinishUpdateOnePass();
    return Covariance(data);
}

double Pairs(const MCRectMatrix& rows)
{
    MCAccumXProdPair pairs(2, 50);
    for (int r = 0; r < kRows; ++r) pairs.Update(1, rows.GetElem(r, 1), 0, rows.GetElem(r, 0), rows.GetElem(r, 2));
    pairs.Finish();
    return pairs.GetCovar().GetElem(1, 0);
}

} // namespace

int main()
{
    const std::vector<std::pair<const char*, std::function<double(const MCRectMatrix&)>>> roads = {
        {"`Compute`, one block", OneBlock},
        {"`Update`, blocks of 1000", BlockByBlock},
        {"`AddCase`, case by case", CaseByCase},
        {"parts of 1000 cases, `Merge`", MergedParts},
        {"`AddCase`, half as many deleted again", [](const MCRectMatrix& rows) { return AfterDeleting(rows, 1.0); }},
        {"the same, deleted cases 1e6 deviations away",
         [](const MCRectMatrix& rows) { return AfterDeleting(rows, 1e6); }},
        {"`UpdateOnePass`", OnePass},
        {"`MCAccumXProdPair`, batches of 50", Pairs},
    };
    const std::vector<double> means = {0.0, 1e3, 1e6, 3.5e7, 1e9};
    std::printf("| mean / standard deviation |");
    for (const double mean : means) std::printf(" %g |", mean);
    std::printf("\n|---|---|---|---|---|---|\n");
    for (const auto& [name, road] : roads) {
        std::printf("| %s |", name);
        for (const double mean : means) {
            const MCRectMatrix rows = MakeRows(mean);
            const double exact = static_cast<double>(Exact(rows));
            const double error = std::fabs(road(rows) / exact - 1.0);
            if (error < 1.0)
                std::printf(" %.1f |", std::min(16.0, -std::log10(error)));
            else
                std::printf(" none |");
        }
        std::printf("\n");
    }
}
