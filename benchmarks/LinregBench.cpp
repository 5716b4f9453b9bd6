// The whole road, from a CSV file to a fit, beside the least that reading the same file costs: the bytes alone, and the
// bytes cut into fields.
#include "common/CsvReader.h"
#include "common/Progress.h"
#include "linreg/Fit.h"
#include "linreg/Options.h"
#include "support/Inputs.h"
#include "support/PeerTable.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

constexpr int kRows = 200000;

/// Six numeric columns, a factor of five levels and a frequency weight; removed at the end of the program.
class DataFile {
public:
    DataFile()
    {
        const int descriptor = mkstemp(fPath.data());
        if (descriptor < 0) std::abort();
        close(descriptor);
        const std::vector<double> x = peers::Uniforms(std::size_t(kRows) * 7, 0.0, 100.0, 5);
        const char* const levels[] = {"north", "east", "south", "west", "centre"};
        std::ofstream file(fPath);
        file << "y,x1,x2,x3,x4,x5,region,n\n";
        char line[200];
        for (std::size_t i = 0; i < kRows; ++i) {
            const double* const v = &x[7 * i];
            std::snprintf(line, sizeof line, "%.4f,%.4f,%.4f,%.4f,%.4f,%.4f,%s,%d\n", v[0] + 2 * v[1] - v[2], v[1],
                          v[2], v[3], v[4], v[5], levels[i % 5], 1 + int(v[6]) % 4);
            file << line;
        }
    }
    ~DataFile() { std::remove(fPath.c_str()); }
    const std::string& Path() const { return fPath; }

private:
    std::string fPath = "/tmp/linreg-bench-XXXXXX";
};

struct Run {
    MCMath_930::MCCancelInfo cancel;
    procedure::InputFile input;

    explicit Run(const std::string& path) : input(path, cancel) {}
};

linreg::Fit FitFile(const std::string& path, bool onePass)
{
    linreg::Options options;
    options.dataPath = path;
    options.target.assign(1, 'y');
    options.frequency.assign(1, 'n');
    options.onePass = onePass;
    Run run(path);
    procedure::Progress progress(false);
    return linreg::FitModel(options, run.input, progress, run.cancel);
}

std::size_t CountFields(const std::string& path)
{
    Run run(path);
    procedure::CsvReader csv(run.input, ',');
    std::size_t fields = 0;
    while (const auto* const row = csv.NextRow()) fields += row->size();
    return fields;
}

std::size_t CountBytes(const std::string& path)
{
    Run run(path);
    std::vector<char> buffer(1 << 16);
    std::size_t bytes = 0;
    while (const std::size_t got = run.input.Read(buffer.data(), buffer.size())) bytes += got;
    return bytes;
}

} // namespace

void RegisterContenders()
{
    const auto file = std::make_shared<DataFile>();
    const std::string path = file->Path();
    const peers::Work work{kRows, "M rows", 1e6};
    const linreg::Fit refined = FitFile(path, false);
    const linreg::Fit onePass = FitFile(path, true);
    const bool agree = std::fabs(refined.f - onePass.f) <= 1e-9 * refined.f && CountFields(path) == 8 * (kRows + 1);
    for (const bool once : {false, true}) {
        const std::string operation =
            std::string("CSV file to fit, 8 columns, 11 parameters") + (once ? ", --one-pass" : "");
        if (!agree) {
            peers::Refuse(operation, "modelcore", "results disagree");
            continue;
        }
        peers::Add(operation, "modelcore", work, [=] { peers::Keep(FitFile(file->Path(), once).f); });
        peers::Add(operation, "plain fields, once (libcsv)", work, [=] { peers::Keep(CountFields(file->Path())); });
        peers::Add(operation, "plain reading, once", work, [=] { peers::Keep(CountBytes(file->Path())); });
    }
}
