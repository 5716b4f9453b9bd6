// Eigenvalues and eigenvectors of dense symmetric matrices beside LAPACK's packed and full routines and Eigen.
#include "modelcore/modelcore.h"
#include "support/Inputs.h"
#include "support/PeerTable.h"

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <vector>

extern "C" {
void dspev_(const char* job, const char* uplo, const int* n, double* ap, double* w, double* z, const int* ldz,
            double* work, int* info);
void dspevd_(const char* job, const char* uplo, const int* n, double* ap, double* w, double* z, const int* ldz,
             double* work, const int* lwork, int* iwork, const int* liwork, int* info);
void dsyev_(const char* job, const char* uplo, const int* n, double* a, const int* lda, double* w, double* work,
            const int* lwork, int* info);
void dsyevd_(const char* job, const char* uplo, const int* n, double* a, const int* lda, double* w, double* work,
             const int* lwork, int* iwork, const int* liwork, int* info);
}

namespace {

using MCMath_930::MCEigenValues;
using MCMath_930::MCRectMatrix;
using MCMath_930::MCSymMatrix;

/// A random symmetric matrix, packed and full, and room for what the contenders need.
struct Problem {
    explicit Problem(int order)
        : n(order), matrix(order), full(std::size_t(n) * std::size_t(n)), copy(full.size()), w(std::size_t(n)),
          z(full.size()), work(1000 + 40 * std::size_t(n) + 4 * full.size()), iwork(10 + 10 * std::size_t(n)),
          lwork(int(work.size())), liwork(int(iwork.size()))
    {
        const std::vector<double> elements = peers::Uniforms(matrix.AsSpan().size(), -1.0, 1.0, std::uint64_t(n));
        matrix.CopyFromPacked(elements);
        matrix.CopyToSquare(full.data());
    }

    double* Packed()
    {
        std::copy(matrix.AsSpan().begin(), matrix.AsSpan().end(), copy.begin());
        return copy.data();
    }
    double* Full()
    {
        copy = full;
        return copy.data();
    }

    int n;
    MCSymMatrix matrix;
    std::vector<double> full, copy, w, z, work;
    std::vector<int> iwork;
    int lwork, liwork;
    int info = 0;
    MCRectMatrix vectors;
    Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> solver;
};

struct Contender {
    const char* name;
    std::function<void(Problem&, const char* job)> run; // the eigenvalues, in any order, into w
};

const Contender kContenders[] = {
    // As accurate as the peers; the default tolerance takes fewer sweeps.
    {"modelcore",
     [](Problem& p, const char* job) {
         MCEigenValues eigen(p.matrix, 2.2e-16, 30);
         if (*job == 'V')
             eigen.Compute(p.w, p.vectors);
         else
             eigen.Compute(p.w);
     }},
    {"OpenBLAS dspevd",
     [](Problem& p, const char* job) {
         dspevd_(job, "U", &p.n, p.Packed(), p.w.data(), p.z.data(), &p.n, p.work.data(), &p.lwork, p.iwork.data(),
                 &p.liwork, &p.info);
     }},
    {"OpenBLAS dspev",
     [](Problem& p, const char* job) {
         dspev_(job, "U", &p.n, p.Packed(), p.w.data(), p.z.data(), &p.n, p.work.data(), &p.info);
     }},
    {"OpenBLAS dsyevd",
     [](Problem& p, const char* job) {
         dsyevd_(job, "L", &p.n, p.Full(), &p.n, p.w.data(), p.work.data(), &p.lwork, p.iwork.data(), &p.liwork,
                 &p.info);
     }},
    {"OpenBLAS dsyev",
     [](Problem& p, const char* job) {
         dsyev_(job, "L", &p.n, p.Full(), &p.n, p.w.data(), p.work.data(), &p.lwork, &p.info);
     }},
    {"Eigen SelfAdjointEigenSolver",
     [](Problem& p, const char* job) {
         p.solver.compute(Eigen::Map<const Eigen::MatrixXd>(p.full.data(), p.n, p.n),
                          *job == 'V' ? Eigen::ComputeEigenvectors : Eigen::EigenvaluesOnly);
         std::copy_n(p.solver.eigenvalues().data(), p.n, p.w.begin());
     }},
};

void Register(int n, bool withVectors)
{
    const auto problem = std::make_shared<Problem>(n);
    const std::string operation =
        std::string(withVectors ? "values and vectors" : "values") + "/n:" + std::to_string(n);
    const char* const job = withVectors ? "V" : "N";
    std::vector<double> expected;
    for (const Contender& contender : kContenders) {
        contender.run(*problem, job);
        std::sort(problem->w.begin(), problem->w.end());
        if (expected.empty()) expected = problem->w;
        double worst = 0.0;
        for (std::size_t i = 0; i < expected.size(); ++i)
            worst = std::max(worst, std::fabs(expected[i] - problem->w[i]));
        if (!(worst <= 1e-12 * std::max(-expected.front(), expected.back())))
            peers::Refuse(operation, contender.name, "results disagree");
        else
            peers::Add(operation, contender.name, {1.0, "matrix", 1.0},
                       [problem, job, run = contender.run] { run(*problem, job); });
    }
}

} // namespace

void RegisterContenders()
{
    for (const int n : {50, 200, 500, 1000})
        for (const bool withVectors : {false, true}) Register(n, withVectors);
}
