// Encoders on ten million values beside loops with the standard library. encoders_peers.py, which is beside this file,
// times scikit-learn and pandas on the same kind of data.
#include "modelcore/modelcore.h"
#include "support/Inputs.h"
#include "support/PeerTable.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <span>
#include <unordered_map>
#include <vector>

namespace {

using namespace MCXML_930;

constexpr std::size_t kCells = 10000000;
constexpr int kCategories = 50;
constexpr std::size_t kBlock = 1000; // rows of indicators are used while they are in the cache
constexpr int kBins = 20;

struct Data {
    std::vector<double> codes = peers::Uniforms(kCells, 0.0, kCategories, 1);
    std::vector<double> reals = peers::Uniforms(kCells, 0.0, 1.0, 2);
    MCCategoricalEncoder categories{"c"};
    std::unordered_map<double, int> map;
    MCBinningEncoder bins{"x"};
    MCContinuousEncoder scale{"x"};
    std::vector<double> out = std::vector<double>(kCells);

    Data()
    {
        for (double& code : codes) code = std::floor(code) * 7.0;
        for (double& real : reals) real = -std::log(1.0 - real); // exponential
        categories.LearnBlock(codes);
        categories.Finish();
        for (int i = 0; i < kCategories; ++i) map.emplace(i * 7.0, i);
        Learn(bins);
        scale.SetScaling(scale.ScaleZScore);
        scale.LearnBlock(reals);
        scale.Finish();
    }

    void Learn(MCBinningEncoder& encoder) const
    {
        encoder.SetEqualFrequency(kBins);
        encoder.LearnBlock(reals);
        encoder.Finish();
    }

    std::vector<double> SortedCuts() const
    {
        std::vector<double> sorted(reals), cuts;
        std::sort(sorted.begin(), sorted.end());
        for (std::size_t j = 1; j < kBins; ++j) cuts.push_back(sorted[j * kCells / kBins - 1]);
        return cuts;
    }

    /// Each block of indicators by one way, with what becomes of it.
    template <class Encode, class Use>
    void OneHot(Encode encode, Use use) const
    {
        std::vector<double> rows(kBlock * kCategories);
        for (std::size_t from = 0; from < kCells; from += kBlock) {
            encode(std::span(codes).subspan(from, kBlock), rows);
            use(rows);
        }
    }
    void EncodeByMap(std::span<const double> x, std::vector<double>& rows) const
    {
        std::fill(rows.begin(), rows.end(), 0.0);
        for (std::size_t i = 0; i < x.size(); ++i)
            rows[i * kCategories + static_cast<std::size_t>(map.find(x[i])->second)] = 1.0;
    }
};

double Checksum(const std::vector<double>& rows)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < rows.size(); ++i) sum += rows[i] * static_cast<double>(i % 1009);
    return sum;
}

} // namespace

void RegisterContenders()
{
    const auto data = std::make_shared<Data>();
    const peers::Work cells{static_cast<double>(kCells), "M cells", 1e6};

    const auto ours = [data](std::span<const double> x, std::vector<double>& rows) {
        data->categories.EncodeBlock(x, rows, kCategories);
    };
    const auto theirs = [data](std::span<const double> x, std::vector<double>& rows) { data->EncodeByMap(x, rows); };
    double sums[2] = {};
    data->OneHot(ours, [&](const auto& rows) { sums[0] += Checksum(rows); });
    data->OneHot(theirs, [&](const auto& rows) { sums[1] += Checksum(rows); });
    const char* const oneHot = "one-hot, 50 categories";
    if (sums[0] != sums[1]) {
        peers::Refuse(oneHot, "modelcore", "the indicators differ");
    } else {
        const auto keep = [](const std::vector<double>& rows) { peers::Keep(rows.data()); };
        peers::Add(oneHot, "modelcore", cells, [=] { data->OneHot(ours, keep); });
        peers::Add(oneHot, "std::unordered_map", cells, [=] { data->OneHot(theirs, keep); });
    }
    peers::Add("category numbers", "modelcore", cells, [data] {
        std::vector<int> levels(kCells);
        peers::Keep(data->categories.FindLevels(data->codes, levels));
    });
    peers::Add("category numbers", "std::unordered_map", cells, [data] {
        std::vector<int> levels(kCells);
        for (std::size_t i = 0; i < kCells; ++i) levels[i] = data->map.find(data->codes[i])->second;
        peers::Keep(levels.data());
    });

    const char* const quantiles = "learn 20 quantile bins and encode";
    const std::vector<double> exact = data->SortedCuts();
    double worst = 0.0; // in the share of the data
    for (std::size_t j = 0; j < exact.size(); ++j)
        worst = std::max(worst, std::fabs(std::exp(-data->bins.GetCuts()[j]) - std::exp(-exact[j])));
    if (!(worst <= data->bins.GetRankError() + 1e-3)) {
        peers::Refuse(quantiles, "modelcore", "the cuts are beyond their stated error");
    } else {
        peers::Add(quantiles, "modelcore", cells, [data] {
            MCBinningEncoder encoder("x");
            data->Learn(encoder);
            encoder.EncodeBlock(data->reals, data->out, 1);
            peers::Keep(data->out.data());
        });
        peers::Add(quantiles, "std::sort, std::lower_bound", cells, [data] {
            const std::vector<double> cuts = data->SortedCuts();
            for (std::size_t i = 0; i < kCells; ++i)
                data->out[i] =
                    static_cast<double>(std::lower_bound(cuts.begin(), cuts.end(), data->reals[i]) - cuts.begin());
            peers::Keep(data->out.data());
        });
    }
    peers::Add("encode 20 bins", "modelcore", cells, [data] {
        data->bins.EncodeBlock(data->reals, data->out, 1);
        peers::Keep(data->out.data());
    });
    peers::Add("z-score", "modelcore", cells, [data] {
        data->scale.EncodeBlock(data->reals, data->out, 1);
        peers::Keep(data->out.data());
    });
    peers::Add("z-score", "std::copy", cells, [data] {
        std::copy(data->reals.begin(), data->reals.end(), data->out.begin());
        peers::Keep(data->out.data());
    });
}
