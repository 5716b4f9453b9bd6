// The accumulators and gains tables beside what users of the peers write for the same purpose.
#include "modelcore/modelcore.h"
#include "support/Inputs.h"
#include "support/PeerTable.h"

#include <Eigen/Dense>
#include <cblas.h>
#include <gsl/gsl_histogram.h>
#define ARMA_DONT_USE_WRAPPER
#include <armadillo>
#include <boost/sort/pdqsort/pdqsort.hpp>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace {

// ---------------------------------------------------------------------------------------------------------------------
// Weighted, centred cross products of a block of rows: two passes, means and then products, as MCMeansXProducts defines
// them. The peers have no such routine; what their users write is in blocks: centre and scale a block of rows by the
// root of the weight, then a symmetric rank-k update.

constexpr int kBlockRows = 256;

struct Data {
    Data(int rows, int variables)
        : n(rows), p(variables), x(peers::Uniforms(std::size_t(rows) * std::size_t(variables), -1.0, 1.0, 3)),
          w(peers::Uniforms(std::size_t(rows), 0.0, 2.0, 9)), block(rows, variables + 1), means(std::size_t(variables)),
          centred(std::size_t(kBlockRows) * std::size_t(variables)), products(std::size_t(variables * variables))
    {
        for (int r = 0; r < n; ++r) {
            double* const row = block.GetRowPtr(r);
            std::copy_n(&x[std::size_t(r) * std::size_t(p)], p, row);
            row[p] = w[std::size_t(r)];
        }
    }

    int n, p;
    std::vector<double> x, w;
    MCMath_930::MCRectMatrix block; // the variables, then the frequency weight
    std::vector<double> means, centred, products;
};

void ComputeMeans(Data& d)
{
    std::fill(d.means.begin(), d.means.end(), 0.0);
    double total = 0.0;
    for (int r = 0; r < d.n; ++r) {
        const double* const row = &d.x[std::size_t(r) * std::size_t(d.p)];
        const double w = d.w[std::size_t(r)];
        total += w;
        for (int j = 0; j < d.p; ++j) d.means[std::size_t(j)] += w * row[j];
    }
    for (double& mean : d.means) mean /= total;
}

/// rankUpdate(rows) adds the products of that many rows of d.centred (row-major) to d.products.
template <class RankUpdate>
void InBlocks(Data& d, RankUpdate rankUpdate)
{
    ComputeMeans(d);
    std::fill(d.products.begin(), d.products.end(), 0.0);
    for (int start = 0; start < d.n; start += kBlockRows) {
        const int rows = std::min(kBlockRows, d.n - start);
        for (int r = 0; r < rows; ++r) {
            const double root = std::sqrt(d.w[std::size_t(start + r)]);
            const double* const row = &d.x[std::size_t(start + r) * std::size_t(d.p)];
            double* const out = &d.centred[std::size_t(r) * std::size_t(d.p)];
            for (int j = 0; j < d.p; ++j) out[j] = root * (row[j] - d.means[std::size_t(j)]);
        }
        rankUpdate(rows);
    }
}

void OpenBlas(Data& d)
{
    InBlocks(d, [&](int rows) {
        cblas_dsyrk(CblasColMajor, CblasUpper, CblasNoTrans, d.p, rows, 1.0, d.centred.data(), d.p, 1.0,
                    d.products.data(), d.p);
    });
}

void EigenUpdate(Data& d)
{
    Eigen::Map<Eigen::MatrixXd> products(d.products.data(), d.p, d.p);
    InBlocks(d, [&](int rows) {
        products.selfadjointView<Eigen::Upper>().rankUpdate(
            Eigen::Map<const Eigen::MatrixXd>(d.centred.data(), d.p, rows));
    });
}

/// Largest difference from modelcore's products, relative to the roots of the diagonal elements.
double WorstDifference(const Data& d, const MCMath_930::MCSymMatrix& s)
{
    double worst = 0.0;
    for (int i = 0; i < d.p; ++i)
        for (int j = 0; j <= i; ++j) {
            const double scale = std::sqrt(s.GetElem(i, i) * s.GetElem(j, j));
            const double other = d.products[std::size_t(i) * std::size_t(d.p) + std::size_t(j)];
            worst = std::max(worst, std::fabs(other - s.GetElem(i, j)) / scale);
        }
    return worst;
}

void ArmadilloWhole(Data& d)
{
    const arma::mat x(d.x.data(), arma::uword(d.p), arma::uword(d.n), false); // a case a column
    const arma::rowvec w(d.w.data(), arma::uword(d.n), false);
    const arma::vec means = x * w.t() / arma::accu(w);
    arma::mat centred = x.each_col() - means;
    centred.each_row() %= arma::sqrt(w);
    arma::mat products(d.products.data(), arma::uword(d.p), arma::uword(d.p), false);
    products = centred * centred.t();
}

void RegisterCompute(int p, int rows)
{
    const auto data = std::make_shared<Data>(rows, p);
    const auto sums = std::make_shared<MCMath_930::MCMeansXProducts>(p, true, true, false);
    const std::string operation =
        "MCMeansXProducts::Compute/rows:" + std::to_string(rows) + "/columns:" + std::to_string(p);
    const peers::Work work{double(rows), "Mrow", 1e6};
    sums->Compute(data->block, 0);
    peers::Add(operation, "modelcore", work, [=] { sums->Compute(data->block, 0); });
    for (const auto& [name, run] :
         {std::pair{"OpenBLAS dsyrk", &OpenBlas}, {"Eigen rankUpdate", &EigenUpdate}, {"Armadillo", &ArmadilloWhole}}) {
        run(*data);
        if (WorstDifference(*data, sums->GetXProds()) > 1e-12)
            peers::Refuse(operation, name, "results disagree");
        else
            peers::Add(operation, name, work, [=] { run(*data); });
    }
}

/// Time and memory as the rows grow: one block of 2000 rows, given to Update again and again.
void RegisterScaling(int rows)
{
    constexpr int kBlock = 2000;
    const auto data = std::make_shared<Data>(kBlock, 10);
    const auto sums = std::make_shared<MCMath_930::MCMeansXProducts>(10, true, true, false);
    peers::Add("MCMeansXProducts::Update, blocks of 2000/rows:" + std::to_string(rows), "modelcore",
               {double(rows), "Mrow", 1e6}, [=] {
                   sums->Clear();
                   for (int r = 0; r < rows; r += kBlock) sums->Update(data->block, 0);
               });
}

// ---------------------------------------------------------------------------------------------------------------------
// One case at a time.

struct Cases {
    Cases(int count, int variables) : p(variables), flat(peers::Uniforms(std::size_t(count * p), -1.0, 1.0, 5))
    {
        for (int r = 0; r < count; ++r) rows.emplace_back(&flat[std::size_t(r * p)], &flat[std::size_t(r * p)] + p);
    }

    int p;
    std::vector<double> flat;
    std::vector<std::vector<double>> rows;
};

/// The update as it is written down, with a case at a time added to the packed triangle by `add(f, d)`.
template <class Add>
void ProvisionalMeans(const Cases& cases, std::vector<double>& means, Add add)
{
    std::vector<double> d(std::size_t(cases.p));
    double total = 0.0;
    std::fill(means.begin(), means.end(), 0.0);
    for (const std::vector<double>& x : cases.rows) {
        const double next = total + 1.5;
        for (std::size_t i = 0; i < d.size(); ++i) d[i] = x[i] - means[i];
        add(total * 1.5 / next, d);
        for (std::size_t i = 0; i < d.size(); ++i) means[i] += d[i] * (1.5 / next);
        total = next;
    }
}

void RegisterAddCase(int p)
{
    constexpr int kCases = 4096;
    const auto cases = std::make_shared<const Cases>(kCases, p);
    const std::string operation = "MCProvMeans::Update/columns:" + std::to_string(p);
    const peers::Work work{kCases, "Mcase", 1e6};
    const auto means = std::make_shared<std::vector<double>>(std::size_t(p));
    const auto packed = std::make_shared<std::vector<double>>(std::size_t(p * (p + 1) / 2));

    const auto ours = std::make_shared<MCMath_930::MCProvMeans>(p, true);
    const auto update = [=] {
        ours->Clear();
        for (const std::vector<double>& x : cases->rows) ours->Update(x, 1.5);
        peers::Keep(ours->GetXProds().GetPtr());
    };
    update();
    peers::Add(operation, "modelcore", work, update);
    const auto addPeer = [&](const char* name, auto add) {
        const auto run = [=] {
            std::fill(packed->begin(), packed->end(), 0.0);
            ProvisionalMeans(*cases, *means, add);
        };
        run();
        double worst = 0.0;
        for (std::size_t i = 0; i < packed->size(); ++i)
            worst = std::max(worst, std::fabs((*packed)[i] - ours->GetXProds().AsSpan()[i]));
        if (worst > 1e-9)
            peers::Refuse(operation, name, "results disagree");
        else
            peers::Add(operation, name, work, run);
    };
    addPeer("plain packed update", [=](double f, const std::vector<double>& d) {
        double* row = packed->data();
        for (std::size_t i = 0; i < d.size(); row += ++i) {
            const double c = f * d[i];
            for (std::size_t j = 0; j <= i; ++j) row[j] += c * d[j];
        }
    });
    addPeer("OpenBLAS dspr", [=](double f, const std::vector<double>& d) {
        cblas_dspr(CblasRowMajor, CblasLower, int(d.size()), f, d.data(), 1, packed->data());
    });
    peers::Add(operation, "Armadillo running_stat_vec (unweighted)", work, [=] {
        arma::running_stat_vec<arma::vec> stats(true);
        for (const std::vector<double>& x : cases->rows)
            stats(arma::vec(const_cast<double*>(x.data()), x.size(), false));
        peers::Keep(stats.count());
    });
}

void RegisterPairs()
{
    constexpr int p = 100;
    const auto cases = std::make_shared<const Cases>(200, p);
    const auto pairs = std::make_shared<MCMath_930::MCAccumXProdPair>(p, 50);
    peers::Add("MCAccumXProdPair/columns:100", "modelcore", {200.0 * p * (p - 1) / 2, "Mpair", 1e6}, [=] {
        for (const std::vector<double>& x : cases->rows)
            for (int i = 1; i < p; ++i)
                for (int j = 0; j < i; ++j) pairs->Update(i, x[std::size_t(i)], j, x[std::size_t(j)], 1.0);
    });
}

void RegisterMerge()
{
    constexpr int p = 1000;
    const Cases cases(64, p);
    const auto whole = std::make_shared<MCMath_930::MCProvMeans>(p, true);
    const auto part = std::make_shared<MCMath_930::MCProvMeans>(p, true);
    for (const std::vector<double>& x : cases.rows) {
        whole->Update(x, 1.0);
        part->Update(x, 2.0);
    }
    const auto packed = std::make_shared<std::vector<double>>(std::size_t(p * (p + 1) / 2), 1.0);
    const std::string operation = "MCMeansXProdData::Merge/columns:1000";
    peers::Add(operation, "modelcore", {}, [=] { whole->Merge(*part); });
    peers::Add(operation, "adding the matrices alone", {},
               [=] { cblas_daxpy(int(packed->size()), 1.0, part->GetXProds().GetPtr(), 1, packed->data(), 1); });
}

// ---------------------------------------------------------------------------------------------------------------------
// Charts.

void RegisterGains(std::size_t count, bool ties)
{
    using Case = MCMath_930::ClassDataInfo;
    const std::vector<double> u = peers::Uniforms(2 * count, 0.0, 1.0, 8);
    const auto cases = std::make_shared<std::vector<Case>>(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double score = 1.0 / (1.0 + std::exp(-6.0 * (u[2 * i] - 0.5)));
        (*cases)[i] = {ties ? std::floor(score * 200.0) / 200.0 : score, u[2 * i + 1] < score, 1.0};
    }
    const auto sorted = std::make_shared<std::vector<std::vector<Case>>>(1);
    const std::string operation =
        "ClassGainsChart/cases:" + std::to_string(count) + (ties ? "/200 scores" : "/distinct scores");
    const peers::Work work{double(count), "Mcase", 1e6};
    const auto prepare = [=](int) { sorted->front() = *cases; };
    peers::Add(operation, "modelcore", work, 1, prepare, [=](int) {
        MCMath_930::ClassGainsChart chart;
        peers::Keep(chart.CalculateGains(*sorted).data());
    });
    const auto first = [](const Case& a, const Case& b) { return a.fdProbability > b.fdProbability; };
    peers::Add(operation, "std::sort alone", work, 1, prepare,
               [=](int) { std::sort(sorted->front().begin(), sorted->front().end(), first); });
    peers::Add(operation, "std::stable_sort alone", work, 1, prepare,
               [=](int) { std::stable_sort(sorted->front().begin(), sorted->front().end(), first); });
    peers::Add(operation, "Boost pdqsort_branchless alone", work, 1, prepare,
               [=](int) { boost::sort::pdqsort_branchless(sorted->front().begin(), sorted->front().end(), first); });
}

void RegisterHistogram()
{
    constexpr std::size_t kValues = 100000;
    const auto values = std::make_shared<const std::vector<double>>(peers::Uniforms(kValues, 0.0, 1.0, 4));
    const auto ours = std::make_shared<MCMath_930::MCHistogramData>(0.0, 1.0, 50);
    const peers::Work work{double(kValues), "Mvalue", 1e6};
    peers::Add("MCHistogramData::UpdateData/bins:50", "modelcore: bins, their means, moments", work, [=] {
        for (const double value : *values) ours->UpdateData(1.0, 1.0, value);
    });
    const std::shared_ptr<gsl_histogram> gsl(gsl_histogram_alloc(50), gsl_histogram_free);
    gsl_histogram_set_ranges_uniform(gsl.get(), 0.0, 1.0);
    peers::Add("MCHistogramData::UpdateData/bins:50", "GSL: bins", work, [=] {
        for (const double value : *values) gsl_histogram_accumulate(gsl.get(), value, 1.0);
    });
}

} // namespace

void RegisterContenders()
{
    RegisterCompute(10, 1000000);
    RegisterCompute(50, 1000000);
    RegisterCompute(200, 100000);
    RegisterCompute(1000, 20000);
    for (const int rows : {10000, 100000, 1000000, 10000000, 100000000}) RegisterScaling(rows);
    for (const int p : {10, 50, 200}) RegisterAddCase(p);
    RegisterPairs();
    RegisterMerge();
    RegisterGains(10000000, false);
    RegisterGains(10000000, true);
    RegisterGains(100000, false);
    RegisterHistogram();
}
