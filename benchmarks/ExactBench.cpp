// MCExactXProducts beside OpenBLAS dsyrk and MCMeansXProducts, which both round. exact_peers.py has math.fsum of Python.
#include "modelcore/modelcore.h"
#include "support/PeerTable.h"

#include <cblas.h>

#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace MCMath_930;

struct Kind {
    const char* name;
    double (*value)(std::mt19937_64& random, int column);
    double (*weight)(std::mt19937_64& random); // null: none
};

double Uniform(std::mt19937_64& random)
{
    return static_cast<double>(random() >> 11) * 0x1p-53;
}

double Normal(std::mt19937_64& random)
{
    return std::sqrt(-2.0 * std::log(1.0 - Uniform(random))) * std::cos(6.283185307179586 * Uniform(random));
}

double Price(std::mt19937_64& random)
{
    return static_cast<double>(100 + random() % 100000) / 100.0;
}

double Integer(std::mt19937_64& random)
{
    return static_cast<double>(random() % 1000000);
}

double Bit(std::mt19937_64& random)
{
    return static_cast<double>(random() & 1);
}

double Mixed(std::mt19937_64& random, int column)
{
    return column % 4 == 0   ? Bit(random)
           : column % 4 == 1 ? Integer(random)
           : column % 4 == 2 ? Price(random)
                             : Normal(random);
}

double Count(std::mt19937_64& random)
{
    return static_cast<double>(1 + random() % 9);
}

double Real(std::mt19937_64& random)
{
    return 0.2 + Uniform(random);
}

const Kind kKinds[] = {
    {"zeros and ones", [](std::mt19937_64& r, int) { return Bit(r); }, nullptr},
    {"integers below 1e6", [](std::mt19937_64& r, int) { return Integer(r); }, nullptr},
    {"cents to 1e6", [](std::mt19937_64& r, int) { return static_cast<double>(100 + r() % 100000000); }, nullptr},
    {"prices, 2 decimals", [](std::mt19937_64& r, int) { return Price(r); }, nullptr},
    {"uniform", [](std::mt19937_64& r, int) { return Uniform(r); }, nullptr},
    {"normal", [](std::mt19937_64& r, int) { return Normal(r); }, nullptr},
    {"mixed", Mixed, nullptr},
    {"normal, weights 1 to 9", [](std::mt19937_64& r, int) { return Normal(r); }, Count},
    {"normal, real weights", [](std::mt19937_64& r, int) { return Normal(r); }, Real},
    {"zeros and ones, real weights", [](std::mt19937_64& r, int) { return Bit(r); }, Real},
};

struct Data {
    int n, p;
    std::vector<double> columns, weights, products;
    MCRectMatrix rows;
};

std::shared_ptr<Data> Make(const Kind& kind, int n, int p)
{
    auto data = std::make_shared<Data>();
    data->n = n;
    data->p = p;
    data->columns.resize(std::size_t(n) * std::size_t(p));
    data->products.resize(std::size_t(p) * std::size_t(p));
    std::mt19937_64 random(3);
    for (int j = 0; j < p; ++j)
        for (int i = 0; i < n; ++i)
            data->columns[std::size_t(j) * std::size_t(n) + std::size_t(i)] = kind.value(random, j);
    if (kind.weight != nullptr)
        for (int i = 0; i < n; ++i) data->weights.push_back(kind.weight(random));
    data->rows.SetNRowsCols(n, p + (kind.weight != nullptr ? 1 : 0));
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < p; ++j)
            data->rows.SetElem(i, j, data->columns[std::size_t(j) * std::size_t(n) + std::size_t(i)]);
        if (kind.weight != nullptr) data->rows.SetElem(i, p, data->weights[std::size_t(i)]);
    }
    return data;
}

MCExactXProducts Exact(const Data& data)
{
    MCExactXProducts sums(data.p, false, !data.weights.empty(), false);
    sums.UpdateColumns(data.columns.data(), std::size_t(data.n), std::size_t(data.n),
                       data.weights.empty() ? nullptr : data.weights.data());
    sums.FinishUpdate();
    return sums;
}

MCExactXProducts ExactByRows(const Data& data)
{
    MCExactXProducts sums(data.p, false, !data.weights.empty(), false);
    sums.Update(data.rows, 0);
    sums.FinishUpdate();
    return sums;
}

MCMeansXProducts Plain(const Data& data)
{
    MCMeansXProducts sums(data.p, false, !data.weights.empty(), false);
    sums.Compute(data.rows, 0);
    return sums;
}

// The products alone, and for weighted data those of the unweighted: what the hardware can do.
void OpenBlas(Data& data)
{
    cblas_dsyrk(CblasColMajor, CblasUpper, CblasTrans, data.p, data.n, 1.0, data.columns.data(), data.n, 0.0,
                data.products.data(), data.p);
}

bool Agree(Data& data)
{
    const MCExactXProducts exact = Exact(data);
    if (!exact.Equal(ExactByRows(data))) return false;
    MCSymMatrix products;
    exact.GetXProds(products);
    const MCMeansXProducts plain = Plain(data);
    OpenBlas(data);
    for (int i = 0; i < data.p; ++i)
        for (int j = 0; j <= i; ++j) {
            const double scale = std::sqrt(products.GetElem(i, i) * products.GetElem(j, j));
            if (std::fabs(products.GetElem(i, j) - plain.GetXProds().GetElem(i, j)) > 1e-11 * scale) return false;
            const double blas = data.products[std::size_t(i) * std::size_t(data.p) + std::size_t(j)];
            if (data.weights.empty() && std::fabs(products.GetElem(i, j) - blas) > 1e-11 * scale) return false;
        }
    return true;
}

} // namespace

void RegisterContenders()
{
    const struct {
        int n, p;
    } sizes[] = {{102400, 10}, {20480, 50}, {5120, 200}}; // 8 MB each
    for (const auto& [n, p] : sizes)
        for (const Kind& kind : kKinds) {
            const std::string operation = std::string(kind.name) + ", " + std::to_string(n) + " x " + std::to_string(p);
            if (!Agree(*Make(kind, 3000, p))) {
                peers::Refuse(operation, "modelcore, exact", "results disagree");
                continue;
            }
            const peers::Work work{static_cast<double>(n) * p * (p + 1), "GFLOP", 1e9};
            const std::shared_ptr<Data> data = Make(kind, n, p);
            peers::Add(operation, "modelcore, exact", work, [data] { peers::Keep(Exact(*data)); });
            peers::Add(operation, "modelcore, exact, by rows", work, [data] { peers::Keep(ExactByRows(*data)); });
            peers::Add(operation, "modelcore, MCMeansXProducts", work, [data] { peers::Keep(Plain(*data)); });
            peers::Add(operation, "OpenBLAS dsyrk", work, [data] { OpenBlas(*data); });
        }

    for (const int p : {10, 50, 200}) {
        const auto data = Make(kKinds[5], 2000, p);
        const auto one = std::make_shared<MCExactXProducts>(Exact(*data));
        const auto total = std::make_shared<MCExactXProducts>(*one);
        peers::Add("merge, p = " + std::to_string(p), "modelcore, exact", {}, [one, total] { total->Merge(*one); });
    }
}
