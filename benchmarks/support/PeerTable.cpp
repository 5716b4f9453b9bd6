#include "support/PeerTable.h"

#include "support/Peak.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <map>
#include <string>
#include <vector>

namespace {

constexpr char kSeparator[] = " | ";

/// Names in the order of registration, which is the order of the table; the runs themselves come in random order.
std::vector<std::string> registered;

const char* Registered(const std::string& operation, const std::string& contender)
{
    return registered.emplace_back(operation + kSeparator + contender).c_str();
}

double ThreadSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

std::string Readable(double seconds)
{
    const char* const units[] = {"ns", "us", "ms", "s"};
    double value = seconds * 1e9;
    int unit = 0;
    while (unit < 3 && value >= 1000.0) {
        value /= 1000.0;
        ++unit;
    }
    char text[40];
    std::snprintf(text, sizeof text, "%.4g %s", value, units[unit]);
    return text;
}

struct Line {
    std::string contender;
    double seconds = 0.0;
    double rate = 0.0;
    std::string unit;
    std::string refused;
};

/// Gathers the medians, then prints a table an operation with the speed of modelcore relative to each peer.
class TableReporter : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }

    /// An operation's place in the table, kept although the runs come in random order.
    void Expect(const std::string& name) { LineOf(name); }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.error_occurred) {
                LineOf(run.run_name.function_name).refused = run.error_message;
                continue;
            }
            const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            if (!median && !(run.run_type == Run::RT_Iteration && run.repetitions == 1)) continue;
            Line& line = LineOf(run.run_name.function_name);
            line.seconds = run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
            const auto rate = run.counters.find("rate");
            line.rate = rate == run.counters.end() ? 0.0 : rate->second.value;
            line.unit = run.report_label;
        }
    }

    void Finalize() override
    {
        const bool hasShares = std::any_of(fOrder.begin(), fOrder.end(), [&](const std::string& operation) {
            const std::vector<Line>& lines = fLines[operation];
            return std::any_of(lines.begin(), lines.end(), IsArithmetic);
        });
        if (hasShares) PrintPeaks();
        std::printf("| operation | contender | median time | rate | %smodelcore is |\n|---|---|---|---|%s---|\n",
                    hasShares ? "of peak | " : "", hasShares ? "---|" : "");
        for (const std::string& operation : fOrder) {
            const std::vector<Line>& lines = fLines[operation];
            const auto ours = std::find_if(lines.begin(), lines.end(),
                                           [](const Line& line) { return line.contender == "modelcore"; });
            for (const Line& line : lines) {
                if (line.seconds == 0.0 && line.refused.empty()) continue; // left out by --benchmark_filter
                if (!line.refused.empty()) {
                    std::printf("| %s | %s | refused: %s | | |%s\n", operation.c_str(), line.contender.c_str(),
                                line.refused.c_str(), hasShares ? " |" : "");
                    continue;
                }
                char ratio[32] = "";
                if (ours != lines.end() && &*ours != &line && ours->seconds > 0.0)
                    std::snprintf(ratio, sizeof ratio, "%.2f x", line.seconds / ours->seconds);
                char share[32] = "";
                if (IsArithmetic(line))
                    std::snprintf(share, sizeof share, "%.2f | ", line.rate / peers::UnfusedPeak());
                else if (hasShares)
                    std::snprintf(share, sizeof share, " | ");
                std::printf("| %s | %s | %s | %.4g %s/s | %s%s |\n", operation.c_str(), line.contender.c_str(),
                            Readable(line.seconds).c_str(), line.rate, line.unit.c_str(), share, ratio);
            }
        }
        PrintMean();
        std::fflush(stdout);
    }

private:
    static bool IsArithmetic(const Line& line) { return line.unit == "GFLOP" && line.rate > 0.0; }

    static void PrintPeaks()
    {
        std::string text = "peaks of one core in GFLOP/s, rounded products added / fused:";
        for (const peers::Peak& peak : peers::MeasurePeaks()) {
            char each[60];
            std::snprintf(each, sizeof each, "%s %d bits %.1f / %.1f", text.back() == ':' ? "" : ",", peak.bits,
                          peak.unfused, peak.fused);
            text += each;
        }
        std::printf("%s; shares are of the highest of rounded products\n\n", text.c_str());
    }

    /// Over the operations that modelcore and a peer were measured in; other roads of modelcore and plain loops are no peers.
    void PrintMean()
    {
        double logs = 0.0;
        int count = 0;
        for (const auto& [operation, lines] : fLines) {
            double ours = 0.0, fastest = 0.0;
            for (const Line& line : lines) {
                if (line.contender == "modelcore")
                    ours = line.seconds;
                else if (line.contender.rfind("modelcore", 0) != 0 && line.contender.rfind("plain", 0) != 0 &&
                         line.seconds > 0.0)
                    fastest = fastest == 0.0 ? line.seconds : std::min(fastest, line.seconds);
            }
            if (ours == 0.0 || fastest == 0.0) continue;
            logs += std::log(fastest / ours);
            ++count;
        }
        if (count > 0)
            std::printf("\ngeometric mean of %d operations beside the fastest peer of each: %.2f\n", count,
                        std::exp(logs / count));
    }

    Line& LineOf(const std::string& name)
    {
        const std::size_t cut = name.find(kSeparator);
        const std::string operation = name.substr(0, cut);
        const std::string contender = name.substr(cut + sizeof kSeparator - 1);
        if (fLines.find(operation) == fLines.end()) fOrder.push_back(operation);
        std::vector<Line>& lines = fLines[operation];
        const auto found =
            std::find_if(lines.begin(), lines.end(), [&](const Line& line) { return line.contender == contender; });
        if (found != lines.end()) return *found;
        lines.push_back(Line{});
        lines.back().contender = contender;
        return lines.back();
    }

    std::vector<std::string> fOrder;
    std::map<std::string, std::vector<Line>> fLines;
};

} // namespace

namespace peers {

void Add(const std::string& operation, const std::string& contender, const Work& work, int slots,
         std::function<void(int)> prepare, std::function<void(int)> run)
{
    benchmark::RegisterBenchmark(
        Registered(operation, contender),
        [=](benchmark::State& state) {
            double total = 0.0;
            for (auto step : state) {
                (void)step;
                if (prepare)
                    for (int slot = 0; slot < slots; ++slot) prepare(slot);
                const double start = ThreadSeconds();
                for (int slot = 0; slot < slots; ++slot) run(slot);
                const double seconds = (ThreadSeconds() - start) / slots;
                state.SetIterationTime(seconds);
                total += seconds;
            }
            state.SetLabel(work.unit);
            state.counters["rate"] =
                work.amount / work.scale /
                (total / static_cast<double>(std::max<benchmark::IterationCount>(state.iterations(), 1)));
        })
        ->UseManualTime()
        ->MinTime(0.05 / slots); // the time reported is that of one call, of which an iteration makes as many as slots
}

void Add(const std::string& operation, const std::string& contender, const Work& work, std::function<void()> run)
{
    // Enough calls between two readings of the clock (which costs some hundred nanoseconds).
    const double start = ThreadSeconds();
    run();
    const double once = std::max(ThreadSeconds() - start, 1e-9);
    const int slots = static_cast<int>(std::clamp(2e-4 / once, 1.0, 1e5));
    Add(operation, contender, work, slots, nullptr, [run = std::move(run)](int) { run(); });
}

void Refuse(const std::string& operation, const std::string& contender, const std::string& reason)
{
    benchmark::RegisterBenchmark(Registered(operation, contender),
                                 [=](benchmark::State& state) { state.SkipWithError(reason.c_str()); });
}

} // namespace peers

int main(int argc, char** argv)
{
    std::vector<char*> arguments(argv, argv + argc);
    char repetitions[] = "--benchmark_repetitions=5";
    char interleaving[] = "--benchmark_enable_random_interleaving=true";
    arguments.insert(arguments.begin() + 1, {repetitions, interleaving});
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;
    peers::MeasurePeaks(); // before anything warms the core or slows its clock
    RegisterContenders();
    TableReporter table;
    for (const std::string& name : registered) table.Expect(name);
    benchmark::RunSpecifiedBenchmarks(&table);
    return 0;
}
