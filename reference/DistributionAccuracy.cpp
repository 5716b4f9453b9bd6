// Compares every function with a table of exact values and prints the errors by function and region.
//
//   distribution-accuracy [TABLE] [--worst | --guide]
//
// TABLE is what distribution_table.py writes, by default the committed one. --worst adds the worst point of each row;
// --guide prints the table of docs/distributions.md, with the bounds that stand there.
// Columns: points, median and largest relative error, and, where a row has them, points that gave no usable value.
#include "distributions/ExactTable.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace {

struct Row {
    std::string function, region;
    std::vector<double> errors;
    const ExactPoint* worst = nullptr;
    double worstError = -1.0;
    int failures = 0;
};

void PrintForGuide(const std::vector<Row>& rows)
{
    std::printf("| Function | at most | points | largest found |\n|---|---|---|---|\n");
    for (const auto& [function, bound] : ReadBounds(MODELCORE_TEST_DATA "/../../docs/distributions.md")) {
        std::size_t points = 0;
        std::string found;
        for (const char* const region : {"small", "medium", "large", "huge", "body", "tail", "all", "mixed", "edge"}) {
            double worst = -1.0;
            for (const Row& row : rows)
                if (row.function == function && row.region == region) {
                    worst = std::max(worst, row.worstError);
                    points += row.errors.size();
                }
            if (worst < 0.0) continue;
            char text[40];
            std::snprintf(text, sizeof text, "%s%s %.0e", found.empty() ? "" : ", ", region, worst);
            found += text;
        }
        std::printf("| `%s` | %.0e | %zu | %s |\n", function.c_str(), bound, points, found.c_str());
    }
}

} // namespace

int main(int argc, char** argv)
{
    std::string path = MODELCORE_TEST_DATA "/distributions.txt";
    bool showWorst = false, forGuide = false;
    for (int i = 1; i < argc; ++i) {
        if (std::string(argv[i]) == "--worst")
            showWorst = true;
        else if (std::string(argv[i]) == "--guide")
            forGuide = true;
        else
            path = argv[i];
    }
    const std::vector<ExactPoint> points = ReadExactTable(path);
    std::vector<Row> rows;
    for (const ExactPoint& point : points) {
        if (rows.empty() || rows.back().function != point.function || rows.back().region != point.region) {
            Row row;
            row.function = point.function;
            row.region = point.region;
            rows.push_back(std::move(row));
        }
        Row& row = rows.back();
        const double error = PointError(point, ExactCalls().at(point.function).call(point.args));
        if (!(error < 1.0)) ++row.failures;
        row.errors.push_back(error);
        if (error > row.worstError) {
            row.worstError = error;
            row.worst = &point;
        }
    }
    if (forGuide) {
        PrintForGuide(rows);
        return 0;
    }
    std::printf("%-17s %-8s %6s  %-8s %-8s\n", "function", "region", "points", "median", "largest");
    for (Row& row : rows) {
        std::sort(row.errors.begin(), row.errors.end());
        std::printf("%-17s %-8s %6zu  %.1e  %.1e", row.function.c_str(), row.region.c_str(), row.errors.size(),
                    row.errors[row.errors.size() / 2], row.worstError);
        if (row.failures > 0) std::printf("  %d without a usable value", row.failures);
        if (showWorst) {
            std::printf("  at");
            for (const double x : row.worst->args) std::printf(" %.17g", x);
            std::printf(" = %.17g", row.worst->expected);
        }
        std::printf("\n");
    }
    return points.empty() ? 1 : 0;
}
