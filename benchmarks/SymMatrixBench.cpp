// The sweep over all rows, which inverts a positive definite matrix in place (up to the sign), beside the peers' road
// to the same inverse: Cholesky factor and inverse of it.
#include "modelcore/modelcore.h"
#include "support/Inputs.h"
#include "support/PeerTable.h"

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

extern "C" {
void dpotrf_(const char* uplo, const int* n, double* a, const int* lda, int* info);
void dpotri_(const char* uplo, const int* n, double* a, const int* lda, int* info);
}

namespace {

/// A cross-product matrix of order n from 2 n rows of uniform data, so well conditioned; full storage.
std::vector<double> CrossProducts(int n)
{
    const std::vector<double> x = peers::Uniforms(std::size_t(2 * n) * std::size_t(n), -1.0, 1.0, std::uint64_t(n));
    const Eigen::Map<const Eigen::MatrixXd> rows(x.data(), n, 2 * n);
    std::vector<double> full(std::size_t(n) * std::size_t(n));
    Eigen::Map<Eigen::MatrixXd>(full.data(), n, n) = rows * rows.transpose();
    return full;
}

struct Problem {
    explicit Problem(int order) : n(order), full(CrossProducts(order)), original(order), diagonal(std::size_t(order))
    {
        for (int i = 0; i < n; ++i)
            for (int j = 0; j <= i; ++j) original.SetElem(i, j, full[std::size_t(i) * std::size_t(n) + std::size_t(j)]);
        for (int i = 0; i < n; ++i) diagonal[std::size_t(i)] = original.GetElem(i, i);
    }

    int n;
    std::vector<double> full;
    MCMath_930::MCSymMatrix original;
    std::vector<double> diagonal;
};

void SweepAll(const Problem& problem, MCMath_930::MCSymMatrix& s)
{
    MCMath_930::MCBitSet swept(problem.n);
    s.SweepOnAll(1e-12, problem.diagonal, swept, true);
}

void FactorAndInvert(int n, std::vector<double>& a)
{
    int info = 0;
    dpotrf_("U", &n, a.data(), &n, &info);
    dpotri_("U", &n, a.data(), &n, &info);
}

void EigenInverse(const Problem& problem, Eigen::MatrixXd& inverse)
{
    const Eigen::Map<const Eigen::MatrixXd> a(problem.full.data(), problem.n, problem.n);
    inverse = a.selfadjointView<Eigen::Lower>().ldlt().solve(Eigen::MatrixXd::Identity(problem.n, problem.n));
}

/// Largest difference between the inverse and minus the swept matrix, relative to the largest element of the inverse.
template <class Inverse>
double WorstDifference(const MCMath_930::MCSymMatrix& swept, int n, Inverse inverse)
{
    double worst = 0.0, largest = 0.0;
    for (int i = 0; i < n; ++i)
        for (int j = 0; j <= i; ++j) {
            worst = std::max(worst, std::fabs(inverse(i, j) + swept.GetElem(i, j)));
            largest = std::max(largest, std::fabs(inverse(i, j)));
        }
    return worst / largest;
}

void Register(int n)
{
    const auto problem = std::make_shared<Problem>(n);
    const std::string operation = "sweep of all rows/n:" + std::to_string(n);
    const peers::Work work{double(n) * n * n, "GFLOP", 1e9};
    const int slots = std::max(1, 400 / n);

    const auto ours = std::make_shared<std::vector<MCMath_930::MCSymMatrix>>(std::size_t(slots), problem->original);
    MCMath_930::MCSymMatrix swept = problem->original;
    SweepAll(*problem, swept);
    peers::Add(
        operation, "modelcore", work, slots, [=](int slot) { (*ours)[std::size_t(slot)] = problem->original; },
        [=](int slot) { SweepAll(*problem, (*ours)[std::size_t(slot)]); });

    const auto blas = std::make_shared<std::vector<std::vector<double>>>(std::size_t(slots), problem->full);
    std::vector<double> inverted = problem->full;
    FactorAndInvert(n, inverted);
    const auto element = [&](int i, int j) { return inverted[std::size_t(i) * std::size_t(n) + std::size_t(j)]; };
    if (WorstDifference(swept, n, element) > 1e-10)
        peers::Refuse(operation, "OpenBLAS dpotrf + dpotri", "results disagree");
    else
        peers::Add(
            operation, "OpenBLAS dpotrf + dpotri", work, slots,
            [=](int slot) { (*blas)[std::size_t(slot)] = problem->full; },
            [=](int slot) { FactorAndInvert(problem->n, (*blas)[std::size_t(slot)]); });

    const auto inverse = std::make_shared<Eigen::MatrixXd>();
    EigenInverse(*problem, *inverse);
    if (WorstDifference(swept, n, *inverse) > 1e-10)
        peers::Refuse(operation, "Eigen LDLT inverse", "results disagree");
    else
        peers::Add(operation, "Eigen LDLT inverse", work, [=] { EigenInverse(*problem, *inverse); });
}

} // namespace

void RegisterContenders()
{
    for (const int n : {5, 10, 20, 50, 200, 1000, 2000}) Register(n);
}
