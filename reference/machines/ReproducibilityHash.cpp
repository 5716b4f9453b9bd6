// Prints the hashes of the scenario, or writes or checks saved states: what scripts/machines runs on every machine.
//
//     reproducibility-hash                 a line for each folder and one over all
//     reproducibility-hash --reals         all reals behind them, to see which ones differ
//     reproducibility-hash --write FOLDER  a file for each saved state
//     reproducibility-hash --check FOLDER  reads them; status 1 and what is wrong when they do not fit
#include "reference/machines/Scenario.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>

int main(int argc, char** argv)
{
    if (argc == 1) {
        for (const ScenarioHash& part : RunScenario())
            std::printf("%016" PRIx64 "  %s\n", part.hash, part.name.c_str());
        return 0;
    }
    if (argc == 2 && std::strcmp(argv[1], "--reals") == 0) {
        for (const ScenarioHash& part : RunScenario())
            for (const double x : part.reals) std::printf("%s %a\n", part.name.c_str(), x);
        return 0;
    }
    if (argc != 3) return 2;
    const std::string folder = std::string(argv[2]) + "/";
    std::map<std::string, std::string> states = SaveStates();
    if (std::strcmp(argv[1], "--write") == 0) {
        for (const auto& [name, bytes] : states)
            if (!(std::ofstream(folder + name, std::ios::binary) << bytes)) return 1;
        return 0;
    }
    for (auto& [name, bytes] : states) {
        std::ifstream in(folder + name, std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(in), {});
    }
    const std::string wrong = CheckStates(states);
    std::fputs(wrong.c_str(), stdout);
    return wrong.empty() ? 0 : 1;
}
