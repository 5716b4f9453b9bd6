// Weighted, centred cross products of a block of rows: two passes, means and then products, as MCMeansXProducts defines
// them. The peers have no such routine; what their users write is in blocks: centre and scale a block of rows by the
// root of the weight, then a symmetric rank-k update.
#include "modelcore/modelcore.h"
#include "support/Inputs.h"
#include "support/PeerTable.h"

#include <Eigen/Dense>
#include <cblas.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace {

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

} // namespace

void RegisterContenders()
{
    constexpr int rows = 100000;
    for (const int p : {10, 50, 200}) {
        const auto data = std::make_shared<Data>(rows, p);
        const auto sums = std::make_shared<MCMath_930::MCMeansXProducts>(p, true, true, false);
        const std::string operation = "MCMeansXProducts::Compute/rows:100000/columns:" + std::to_string(p);
        const peers::Work work{double(rows), "Mrow", 1e6};
        sums->Compute(data->block, 0);
        peers::Add(operation, "modelcore", work, [=] { sums->Compute(data->block, 0); });
        for (const auto& [name, run] : {std::pair{"OpenBLAS dsyrk", &OpenBlas}, {"Eigen rankUpdate", &EigenUpdate}}) {
            run(*data);
            if (WorstDifference(*data, sums->GetXProds()) > 1e-12)
                peers::Refuse(operation, name, "results disagree");
            else
                peers::Add(operation, name, work, [=] { run(*data); });
        }
    }
}
