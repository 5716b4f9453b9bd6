// Eigenvalues and eigenvectors of dense symmetric matrices beside LAPACK's packed and full routines and Eigen; singular
// values and vectors beside LAPACK's divide and conquer and Linpack's iteration.
#include "modelcore/modelcore.h"
#include "support/Inputs.h"
#include "support/PeerTable.h"

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <utility>
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
void dgesdd_(const char* job, const int* m, const int* n, double* a, const int* lda, double* s, double* u,
             const int* ldu, double* vt, const int* ldvt, double* work, const int* lwork, int* iwork, int* info);
}

namespace {

using MCMath_930::Linpack;
using MCMath_930::MCEigenValues;
using MCMath_930::MCRectMatrix;
using MCMath_930::MCSingularValues;
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
    {"modelcore, divide and conquer",
     [](Problem& p, const char* job) {
         MCEigenValues eigen(p.matrix, 2.2e-16, 30);
         eigen.SetMethod(MCEigenValues::MethodDivideAndConquer);
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

/// A random matrix by rows and by columns, and room for what the contenders need.
struct RectProblem {
    RectProblem(int rows, int cols)
        : m(rows), n(cols), r(std::min(m, n)),
          matrix(m, n, peers::Uniforms(std::size_t(m) * std::size_t(n), -1.0, 1.0, std::uint64_t(m + n))),
          columns(matrix.AsSpan().size()), copy(columns.size()), s(std::size_t(std::max(m, n) + 1)), e(s),
          u(columns.size()), v(std::size_t(n) * std::size_t(n)), work(1000 + 200 * s.size() + 10 * v.size()),
          iwork(8 * s.size()), lwork(int(work.size()))
    {
        matrix.CopyToColMajor(columns.data());
    }

    int m, n, r;
    MCRectMatrix matrix, U, V;
    std::vector<double> columns, copy, s, e, u, v, work;
    std::vector<int> iwork;
    int lwork;
    int info = 0;
};

struct RectContender {
    const char* name;
    std::function<void(RectProblem&, bool withVectors)> run; // the values, descending, into s
};

const RectContender kRectContenders[] = {
    {"modelcore",
     [](RectProblem& p, bool withVectors) {
         const MCSingularValues problem(p.matrix);
         if (withVectors)
             problem.Compute(p.s, p.U, p.V);
         else
             problem.Compute(p.s);
     }},
    {"modelcore, Linpack::Dsvdc",
     [](RectProblem& p, bool withVectors) {
         p.copy = p.columns;
         p.info = Linpack::Dsvdc(p.copy.data(), p.m, p.m, p.n, p.s.data(), p.e.data(), p.u.data(), p.m, p.v.data(), p.n,
                                 p.work.data(), withVectors ? 21 : 0);
     }},
    {"OpenBLAS dgesdd",
     [](RectProblem& p, bool withVectors) {
         p.copy = p.columns;
         dgesdd_(withVectors ? "S" : "N", &p.m, &p.n, p.copy.data(), &p.m, p.s.data(), p.u.data(), &p.m, p.v.data(),
                 &p.r, p.work.data(), &p.lwork, p.iwork.data(), &p.info);
     }},
};

void RegisterRect(int m, int n, bool withVectors)
{
    const auto problem = std::make_shared<RectProblem>(m, n);
    const std::string operation = std::string(withVectors ? "singular values and vectors/" : "singular values/") +
                                  std::to_string(m) + "x" + std::to_string(n);
    std::vector<double> expected;
    for (const RectContender& contender : kRectContenders) {
        contender.run(*problem, withVectors);
        problem->s.resize(std::size_t(problem->r));
        if (expected.empty()) expected = problem->s;
        double worst = 0.0;
        for (std::size_t i = 0; i < expected.size(); ++i)
            worst = std::max(worst, std::fabs(expected[i] - problem->s[i]));
        problem->s.resize(problem->e.size());
        if (problem->info != 0 || !(worst <= 1e-12 * expected.front()))
            peers::Refuse(operation, contender.name, "results disagree");
        else
            peers::Add(operation, contender.name, {1.0, "matrix", 1.0}, [problem, withVectors, run = contender.run] {
                problem->s.resize(problem->e.size());
                run(*problem, withVectors);
            });
    }
}

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
    for (const auto& [m, n] : {std::pair{50, 50}, {200, 200}, {500, 500}, {1000, 1000}, {2000, 200}})
        for (const bool withVectors : {false, true}) RegisterRect(m, n, withVectors);
}
