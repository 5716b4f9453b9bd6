// The symmetric and rectangular matrices beside OpenBLAS (BLAS and LAPACK) and Eigen on one thread: sweeps, Cholesky
// factor and inverse, products, solution of a square system.
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
void dpotrf_(const char* uplo, const int* n, double* a, const int* lda, int* info);
void dpotri_(const char* uplo, const int* n, double* a, const int* lda, int* info);
void dpptrf_(const char* uplo, const int* n, double* ap, int* info);
void dpptri_(const char* uplo, const int* n, double* ap, int* info);
void dgesv_(const int* n, const int* nrhs, double* a, const int* lda, int* ipiv, double* b, const int* ldb, int* info);
void dspmv_(const char* uplo, const int* n, const double* alpha, const double* ap, const double* x, const int* incx,
            const double* beta, double* y, const int* incy);
void dsymm_(const char* side, const char* uplo, const int* m, const int* n, const double* alpha, const double* a,
            const int* lda, const double* b, const int* ldb, const double* beta, double* c, const int* ldc);
void dsyrk_(const char* uplo, const char* trans, const int* n, const int* k, const double* alpha, const double* a,
            const int* lda, const double* beta, double* c, const int* ldc);
void dgemm_(const char* transa, const char* transb, const int* m, const int* n, const int* k, const double* alpha,
            const double* a, const int* lda, const double* b, const int* ldb, const double* beta, double* c,
            const int* ldc);
}

namespace {

using namespace MCMath_930;

using Dense = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

const double kOne = 1.0;
const double kZero = 0.0;
const int kStep = 1;

std::size_t Size(int n)
{
    return static_cast<std::size_t>(n);
}

/// What the operations of one order read.
struct Problem {
    explicit Problem(int order)
        : n(order), x(peers::Uniforms(Size(2 * n) * Size(n), -1.0, 1.0, std::uint64_t(n))), s(n), r(n, n), full(n, n),
          square(n, n), v(x.begin(), x.begin() + n)
    {
        const Eigen::Map<const Dense> rows(x.data(), 2 * n, n); // well conditioned: twice as many rows as columns
        full = rows.transpose() * rows;
        s.CopyFromSquare(full.data(), n);
        s.GetDiagonal(diagonal);
        square = rows.topRows(n);
        std::copy_n(square.data(), square.size(), r.GetPtr());
    }

    int n;
    std::vector<double> x;
    MCSymMatrix s;
    MCRectMatrix r;
    Dense full;   // s
    Dense square; // r
    std::vector<double> v;
    std::vector<double> diagonal;
};

using Result = std::function<double(int, int)>; // element (i, j), i >= j, of what a contender computed

double WorstDifference(int n, const Result& a, const Result& b)
{
    double worst = 0.0, largest = 0.0;
    for (int i = 0; i < n; ++i)
        for (int j = 0; j <= i; ++j) {
            worst = std::max(worst, std::fabs(a(i, j) - b(i, j)));
            largest = std::max(largest, std::fabs(b(i, j)));
        }
    return worst / largest;
}

/// Contenders of one operation on one problem; the first of them is modelcore, with which the others must agree.
class Contest {
public:
    Contest(const std::shared_ptr<const Problem>& problem, const std::string& name, double flops)
        : fpProblem(problem), fOperation(name + "/n:" + std::to_string(problem->n)), fWork{flops, "GFLOP", 1e9}
    {}

    /// @param original  what prepare copies to the slot
    /// @param run       run(slot) is one call
    /// @param result    result(slot) gives the elements
    template <class State>
    void Add(const std::string& contender, const State& original, std::function<void(State&)> run,
             std::function<Result(const State&)> result)
    {
        const int slots = std::clamp(40000 / (fpProblem->n * fpProblem->n), 1, 400);
        const auto states = std::make_shared<std::vector<State>>(Size(slots), original);
        const auto first = std::make_shared<State>(original);
        run(*first);
        const Result elements = result(*first);
        if (!fOurs) fOurs = [first, elements](int i, int j) { return elements(i, j); };
        if (WorstDifference(fpProblem->n, fOurs, elements) > 1e-9) {
            peers::Refuse(fOperation, contender, "results disagree");
            return;
        }
        peers::Add(
            fOperation, contender, fWork, slots, [=](int slot) { (*states)[Size(slot)] = original; },
            [=](int slot) { run((*states)[Size(slot)]); });
    }

private:
    std::shared_ptr<const Problem> fpProblem;
    std::string fOperation;
    peers::Work fWork;
    Result fOurs;
};

Result Packed(const MCSymMatrix& m)
{
    return [&m](int i, int j) { return m.GetElem(i, j); };
}

Result Negative(const MCSymMatrix& m)
{
    return [&m](int i, int j) { return -m.GetElem(i, j); };
}

Result Rows(const MCRectMatrix& m)
{
    return [&m](int i, int j) { return m.GetElem(i, j); };
}

/// The lower triangle of rows, which LAPACK sees as the upper one of columns.
Result Square(const Dense& m)
{
    return [&m](int i, int j) { return m(i, j); };
}

Result Vector(const std::vector<double>& v)
{
    return [&v](int i, int) { return v[Size(i)]; };
}

void AddInverses(const std::shared_ptr<const Problem>& p, Contest& contest)
{
    contest.Add<Dense>(
        "OpenBLAS dpotrf + dpotri", p->full,
        [p](Dense& a) {
            int info = 0;
            dpotrf_("U", &p->n, a.data(), &p->n, &info);
            dpotri_("U", &p->n, a.data(), &p->n, &info);
        },
        Square);
    contest.Add<Dense>(
        "Eigen LDLT inverse", p->full,
        [p](Dense& a) { a = p->full.selfadjointView<Eigen::Lower>().ldlt().solve(Dense::Identity(p->n, p->n)); },
        Square);
}

void RegisterSweeps(const std::shared_ptr<const Problem>& p)
{
    const double n = p->n;
    Contest all(p, "sweep of all rows", n * n * n);
    all.Add<MCSymMatrix>(
        "modelcore", p->s,
        [p](MCSymMatrix& s) {
            MCBitSet swept(p->n);
            s.SweepOnAll(1e-12, p->diagonal, swept, true);
        },
        Negative);
    AddInverses(p, all);

    Contest one(p, "sweep of one row", n * n);
    const auto sweepMiddle = [p](MCSymMatrix& s) {
        MCBitSet swept(p->n);
        s.Sweep(p->n / 2, 1e-12, p->diagonal, swept, true);
    };
    one.Add<MCSymMatrix>("modelcore", p->s, sweepMiddle, Packed);
    one.Add<MCSymMatrix>(
        "plain loop", p->s,
        [p](MCSymMatrix& s) {
            MCBitSet swept(p->n);
            s.SweepOrig(p->n / 2, 1e-12, p->diagonal, swept, true);
        },
        Packed);
}

/// Packed rows of a lower triangle are the packed columns of an upper one.
Result PackedColumns(const std::vector<double>& ap)
{
    return [&ap](int i, int j) { return ap[Size(i) * Size(i + 1) / 2 + Size(j)]; };
}

void RegisterCholesky(const std::shared_ptr<const Problem>& p)
{
    const double n = p->n;
    const std::vector<double> packed(p->s.AsSpan().begin(), p->s.AsSpan().end());
    Contest factor(p, "LTChol", n * n * n / 3.0);
    factor.Add<MCSymMatrix>(
        "modelcore", p->s, [p](MCSymMatrix& s) { s.LTChol(p->diagonal, 1e-12, true); }, Packed);
    factor.Add<Dense>(
        "OpenBLAS dpotrf", p->full,
        [p](Dense& a) {
            int info = 0;
            dpotrf_("U", &p->n, a.data(), &p->n, &info);
        },
        Square);
    factor.Add<std::vector<double>>(
        "OpenBLAS dpptrf", packed,
        [p](std::vector<double>& ap) {
            int info = 0;
            dpptrf_("U", &p->n, ap.data(), &info);
        },
        PackedColumns);
    factor.Add<Dense>(
        "Eigen LLT", p->full, [](Dense& a) { Eigen::LLT<Eigen::Ref<Dense>, Eigen::Lower> factored(a); }, Square);

    Contest inverse(p, "CholInverse", n * n * n);
    inverse.Add<MCSymMatrix>(
        "modelcore", p->s, [p](MCSymMatrix& s) { s.CholInverse(p->diagonal, 1e-12, s); }, Packed);
    AddInverses(p, inverse);
    inverse.Add<std::vector<double>>(
        "OpenBLAS dpptrf + dpptri", packed,
        [p](std::vector<double>& ap) {
            int info = 0;
            dpptrf_("U", &p->n, ap.data(), &info);
            dpptri_("U", &p->n, ap.data(), &info);
        },
        PackedColumns);
}

void RegisterProducts(const std::shared_ptr<const Problem>& p)
{
    const double n = p->n;
    // Row-major operands change places for a routine that takes columns.
    const auto multiply = [p](const char* transA, const char* transB, const Dense& a, const Dense& b, Dense& c) {
        dgemm_(transB, transA, &p->n, &p->n, &p->n, &kOne, b.data(), &p->n, a.data(), &p->n, &kZero, c.data(), &p->n);
    };
    const Dense zero = Dense::Zero(p->n, p->n);

    Contest product(p, "ComputeMatrixProduct", 2.0 * n * n * n);
    product.Add<MCRectMatrix>(
        "modelcore", p->r, [p](MCRectMatrix& out) { p->r.ComputeMatrixProduct(p->r, out); }, Rows);
    product.Add<Dense>(
        "OpenBLAS dgemm", zero, [=](Dense& c) { multiply("N", "N", p->square, p->square, c); }, Square);
    product.Add<Dense>(
        "Eigen", zero, [p](Dense& c) { c.noalias() = p->square * p->square; }, Square);

    Contest rtr(p, "ComputeRTransByR", n * n * n);
    rtr.Add<MCSymMatrix>(
        "modelcore", p->s, [p](MCSymMatrix& out) { out.ComputeRTransByR(p->r); }, Packed);
    rtr.Add<Dense>(
        "OpenBLAS dsyrk", zero,
        [p](Dense& c) { dsyrk_("U", "N", &p->n, &p->n, &kOne, p->square.data(), &p->n, &kZero, c.data(), &p->n); },
        Square);
    rtr.Add<Dense>(
        "Eigen rankUpdate", zero,
        [p](Dense& c) {
            c.setZero();
            c.selfadjointView<Eigen::Lower>().rankUpdate(p->square.transpose());
        },
        Square);

    const auto sandwich = [=](const std::string& name, bool transposed) {
        Contest contest(p, name, 3.0 * n * n * n);
        contest.Add<MCSymMatrix>(
            "modelcore", p->s,
            [=](MCSymMatrix& out) {
                if (transposed)
                    p->s.ComputeRTransSR(p->r, out);
                else
                    p->s.ComputeRSRTrans(p->r, out);
            },
            Packed);
        const auto middle = std::make_shared<Dense>(zero);
        contest.Add<Dense>(
            "OpenBLAS dsymm + dgemm", zero,
            [=](Dense& c) {
                // The columns of LAPACK are our rows: what is R here is R' there.
                const char* const side = transposed ? "R" : "L";
                dsymm_(side, "U", &p->n, &p->n, &kOne, p->full.data(), &p->n, p->square.data(), &p->n, &kZero,
                       middle->data(), &p->n);
                if (transposed)
                    multiply("T", "N", p->square, *middle, c);
                else
                    multiply("N", "T", *middle, p->square, c);
            },
            Square);
        contest.Add<Dense>(
            "Eigen", zero,
            [=](Dense& c) {
                if (transposed)
                    c.noalias() = p->square.transpose() * (p->full.selfadjointView<Eigen::Lower>() * p->square);
                else
                    c.noalias() = p->square * (p->full.selfadjointView<Eigen::Lower>() * p->square.transpose());
            },
            Square);
    };
    sandwich("ComputeRSRTrans", false);
    sandwich("ComputeRTransSR", true);

    Contest sv(p, "ComputeSV", 2.0 * n * n);
    sv.Add<std::vector<double>>(
        "modelcore", p->v, [p](std::vector<double>& out) { p->s.ComputeSV(p->v, out); }, Vector);
    sv.Add<std::vector<double>>(
        "OpenBLAS dspmv", p->v,
        [p](std::vector<double>& out) {
            dspmv_("U", &p->n, &kOne, p->s.GetPtr(), p->v.data(), &kStep, &kZero, out.data(), &kStep);
        },
        Vector);
    sv.Add<std::vector<double>>(
        "Eigen selfadjointView", p->v,
        [p](std::vector<double>& out) {
            Eigen::Map<Eigen::VectorXd>(out.data(), p->n).noalias() =
                p->full.selfadjointView<Eigen::Lower>() * Eigen::Map<const Eigen::VectorXd>(p->v.data(), p->n);
        },
        Vector);
}

void RegisterSolution(const std::shared_ptr<const Problem>& p)
{
    const double n = p->n;
    Contest solve(p, "SolveLinearSquare", 2.0 / 3.0 * n * n * n);
    solve.Add<std::vector<double>>(
        "modelcore", p->v, [p](std::vector<double>& x) { p->r.SolveLinearSquare(x, x, 1e-14); }, Vector);
    const Dense columns = p->square.transpose();
    solve.Add<std::vector<double>>(
        "OpenBLAS dgesv", p->v,
        [p, columns](std::vector<double>& x) {
            std::vector<double> a(columns.data(), columns.data() + columns.size());
            std::vector<int> pivots(x.size());
            int info = 0;
            dgesv_(&p->n, &kStep, a.data(), &p->n, pivots.data(), x.data(), &p->n, &info);
        },
        Vector);
    solve.Add<std::vector<double>>(
        "Eigen PartialPivLU", p->v,
        [p](std::vector<double>& x) {
            Eigen::Map<Eigen::VectorXd> solution(x.data(), p->n);
            solution = p->square.partialPivLu().solve(Eigen::VectorXd(solution));
        },
        Vector);
}

} // namespace

void RegisterContenders()
{
    for (const int n : {5, 10, 20, 50, 200, 1000, 2000}) {
        const auto problem = std::make_shared<const Problem>(n);
        RegisterSweeps(problem);
        RegisterCholesky(problem);
        RegisterProducts(problem);
        RegisterSolution(problem);
    }
}
