// Sparse and block-diagonal matrices beside their peers: products of a design matrix of few elements per row, cross
// products from sparse rows, the Cholesky factors of many blocks.
#include "modelcore/modelcore.h"
#include "support/Inputs.h"
#include "support/PeerTable.h"

#include <Eigen/SparseCore>
#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

extern "C" void dpptrf_(const char* uplo, const int* n, double* packed, int* info);

namespace {

using MCMath_930::MCSparseRectMatrix;
using MCMath_930::MCSparseVector;
using MCMath_930::MCSymBlockDiagMatrix;
using MCMath_930::MCSymMatrix;
using Csr = Eigen::SparseMatrix<double, Eigen::RowMajor, int>;

double WorstDifference(const double* a, const double* b, std::size_t count)
{
    double worst = 0.0, largest = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        worst = std::max(worst, std::fabs(a[i] - b[i]));
        largest = std::max(largest, std::fabs(a[i]));
    }
    return worst / largest;
}

/// A design of `slots` effects: each row has one element among the columns of each effect.
struct Design {
    Design(int nRows, int nCols, int nSlots)
        : rows(nRows), cols(nCols), slots(nSlots), ours(nRows, nCols, nSlots), eigen(nRows, nCols),
          v(peers::Uniforms(std::size_t(nCols), -1.0, 1.0, 1)), u(peers::Uniforms(std::size_t(nRows), -1.0, 1.0, 2))
    {
        const std::vector<double> places = peers::Uniforms(std::size_t(rows) * std::size_t(slots), 0.0, 1.0, 3);
        const std::vector<double> elements = peers::Uniforms(places.size(), -1.0, 1.0, 4);
        std::vector<int> indices(std::size_t(slots), 0);
        std::vector<double> values(indices.size());
        eigen.reserve(Eigen::VectorXi::Constant(rows, slots));
        for (std::size_t i = 0, at = 0; i < std::size_t(rows); ++i) {
            for (std::size_t k = 0; k < indices.size(); ++k, ++at) {
                indices[k] = static_cast<int>((double(k) + places[at]) * (double(cols) / double(slots)));
                values[k] = elements[at];
                eigen.insert(int(i), indices[k]) = values[k];
            }
            ours.AddRow(MCSparseVector(indices, values));
        }
        eigen.makeCompressed();
    }

    int rows;
    int cols;
    int slots;
    MCSparseRectMatrix ours;
    Csr eigen;
    std::vector<double> v;
    std::vector<double> u;
};

void RegisterProducts(int slots)
{
    const auto design = std::make_shared<Design>(1000000, 10000, slots);
    const std::string size = "/rows:1000000/columns:10000/K:" + std::to_string(slots);
    const peers::Work work{2.0 * design->rows * slots, "GFLOP", 1e9};
    const Eigen::VectorXd v = Eigen::Map<const Eigen::VectorXd>(design->v.data(), design->cols);
    const Eigen::VectorXd u = Eigen::Map<const Eigen::VectorXd>(design->u.data(), design->rows);
    const auto ours = std::make_shared<std::vector<double>>();
    const auto eigen = std::make_shared<Eigen::VectorXd>();

    peers::Add("A*v" + size, "modelcore", work, [=] { design->ours.ComputeRV(design->v, *ours); });
    *eigen = design->eigen * v;
    if (WorstDifference(ours->data(), eigen->data(), ours->size()) > 1e-12)
        peers::Refuse("A*v" + size, "Eigen CSR", "results disagree");
    else
        peers::Add("A*v" + size, "Eigen CSR", work, [=] { eigen->noalias() = design->eigen * v; });

    const auto oursLeft = std::make_shared<std::vector<double>>();
    const auto eigenLeft = std::make_shared<Eigen::VectorXd>();
    peers::Add("v'*A" + size, "modelcore", work, [=] { design->ours.ComputeVR(design->u, *oursLeft); });
    *eigenLeft = design->eigen.transpose() * u;
    if (WorstDifference(oursLeft->data(), eigenLeft->data(), oursLeft->size()) > 1e-12)
        peers::Refuse("v'*A" + size, "Eigen CSR", "results disagree");
    else
        peers::Add("v'*A" + size, "Eigen CSR", work, [=] { eigenLeft->noalias() = design->eigen.transpose() * u; });
}

/// S += w*v*v' for each row v of a design, beside Eigen's sparse product A'*diag(w)*A.
void RegisterCrossProducts(int slots)
{
    const auto design = std::make_shared<Design>(10000, 300, slots);
    const std::string operation = "sum of w*v*v' over sparse rows/columns:300/K:" + std::to_string(slots);
    const peers::Work work{double(design->rows), "Mrow", 1e6};
    const auto indices = std::make_shared<std::vector<std::vector<int>>>(std::size_t(design->rows));
    const auto values = std::make_shared<std::vector<std::vector<double>>>(std::size_t(design->rows));
    for (int i = 0; i < design->rows; ++i)
        design->ours.GetRow(i, (*indices)[std::size_t(i)], (*values)[std::size_t(i)]);
    const auto sums = std::make_shared<MCSymMatrix>(design->cols);
    const auto run = [=] {
        sums->ZeroOut();
        for (std::size_t i = 0; i < indices->size(); ++i)
            MCSparseVector((*indices)[i], (*values)[i]).QuadraticOuterProductIncr(*sums, design->u[i]);
    };
    peers::Add(operation, "modelcore", work, run);

    const Eigen::VectorXd u = Eigen::Map<const Eigen::VectorXd>(design->u.data(), design->rows);
    const auto product = std::make_shared<Csr>(design->eigen.transpose() * u.asDiagonal() * design->eigen);
    run();
    std::vector<double> packed;
    for (int i = 0; i < design->cols; ++i)
        for (int j = 0; j <= i; ++j) packed.push_back(product->coeff(i, j));
    if (WorstDifference(sums->GetPtr(), packed.data(), packed.size()) > 1e-12)
        peers::Refuse(operation, "Eigen A'*D*A", "results disagree");
    else
        peers::Add(operation, "Eigen A'*D*A", work,
                   [=] { *product = design->eigen.transpose() * u.asDiagonal() * design->eigen; });
}

/// Many dense blocks of one order, beside dpptrf on each of them, and beside the loop over our own packed matrices that
/// says what the block structure costs.
void RegisterCholesky(int blocks, int order)
{
    const std::string operation =
        "Cholesky of blocks/blocks:" + std::to_string(blocks) + "/order:" + std::to_string(order);
    const peers::Work work{blocks * (double(order) * order * order / 3.0), "GFLOP", 1e9};
    const auto dense = std::make_shared<std::vector<MCSymMatrix>>();
    const auto whole = std::make_shared<MCSymBlockDiagMatrix>();
    for (int b = 0; b < blocks; ++b) {
        MCSymMatrix block(
            order, peers::Uniforms(std::size_t(order) * std::size_t(order + 1) / 2, -1.0, 1.0, std::uint64_t(b)));
        block.AddToDiagonal(order);
        whole->AddBlock(block);
        dense->push_back(block);
    }
    const auto diagonal = std::make_shared<std::vector<double>>();
    whole->GetDiagonal(*diagonal);

    const auto ours = std::make_shared<MCSymBlockDiagMatrix>(*whole);
    const auto factor = [=] { ours->LTChol(*diagonal, 1e-12, false); };
    peers::Add(
        operation, "modelcore", work, 1, [=](int) { *ours = *whole; }, [=](int) { factor(); });

    // The upper triangle by columns is the lower one by rows.
    const auto packed = std::make_shared<std::vector<MCSymMatrix>>(*dense);
    const auto lapack = [=] {
        int info = 0;
        for (MCSymMatrix& block : *packed) dpptrf_("U", &order, block.GetPtr(), &info);
    };
    factor();
    lapack();
    double worst = 0.0;
    for (int b = 0; b < blocks; ++b)
        worst = std::max(worst, WorstDifference(ours->GetDenseBlock(b)->GetPtr(), (*packed)[std::size_t(b)].GetPtr(),
                                                packed->front().AsSpan().size()));
    if (worst > 1e-12) return peers::Refuse(operation, "OpenBLAS dpptrf", "results disagree");
    peers::Add(
        operation, "OpenBLAS dpptrf", work, 1, [=](int) { *packed = *dense; }, [=](int) { lapack(); });

    const auto apart = std::make_shared<std::vector<MCSymMatrix>>();
    const auto ofBlock = std::make_shared<std::vector<double>>(std::size_t(order), order);
    peers::Add(
        operation, "modelcore, packed blocks apart", work, 1, [=](int) { *apart = *dense; },
        [=](int) {
            for (MCSymMatrix& block : *apart) block.LTChol(*ofBlock, 1e-12, false);
        });
}

} // namespace

void RegisterContenders()
{
    for (const int slots : {5, 20}) RegisterProducts(slots);
    for (const int slots : {5, 20}) RegisterCrossProducts(slots);
    RegisterCholesky(1000, 10);
    RegisterCholesky(100, 50);
    RegisterCholesky(10, 200);
}
