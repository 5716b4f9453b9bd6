// LINPACK: singular value decomposition.
#include "modelcore/linalg/Linpack.h"

#include "modelcore/kernels/ColumnViews.h"
#include "modelcore/kernels/RotationQueue.h"
#include "modelcore/linalg/Blas1.h"
#include "modelcore/linalg/internal/LinpackReflection.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace MCMath_930 {

using namespace internal;

namespace {

using Columns = DenseColumns<double>;

/// The decomposition in progress: X is reduced to a bidiagonal matrix with diagonal s and superdiagonal e, and that by
/// rotations to a diagonal one (Golub and Reinsch 1970).
class SingularValues {
public:
    SingularValues(int n, int p, double* s, double* e, const Columns& u, int uColumns, const Columns& v, bool wantV)
        : fn(n), fp(p), fs(s), fe(e), fu(u), fuColumns(uColumns), fv(v), fWantV(wantV), fLeft(u, n, uColumns),
          fRight(v, p, wantV ? p : 0), fColumnSteps(std::min(n - 1, p)), fRowSteps(std::max(0, std::min(p - 2, n))),
          fOrder(std::min(p, n + 1))
    {}

    void Reduce(const Columns& x, double* work);
    void FinishBidiagonal(const Columns& x);
    void GenerateU();
    void GenerateV();
    int Iterate();
    void FinishVectors();

private:
    /// What the next pass of the iteration does with the block of rows first..last.
    enum class Action { DeflateLast, SplitAtZero, QrStep, Converged };

    bool WantU() const { return fuColumns > 0; }
    void ReflectColumn(const Columns& x, int l);
    void ReflectRow(const Columns& x, int l, double* work);
    Action FindBlock(int last, int& first);
    void DeflateLast(int first, int last);
    void SplitAtZero(int first, int last);
    void QrStep(int first, int last);
    void Settle(int l);

    int fn;
    int fp;
    double* fs;
    double* fe;
    Columns fu;
    int fuColumns; // 0: no U
    Columns fv;
    bool fWantV;
    RotationQueue fLeft;
    RotationQueue fRight;
    int fColumnSteps;
    int fRowSteps;
    int fOrder; // of the bidiagonal matrix
};

/// The reflection of column l, applied to the columns after it; their row l goes to e.
void SingularValues::ReflectColumn(const Columns& x, int l)
{
    const bool wanted = l < fColumnSteps;
    double* const column = x(l) + l;
    if (wanted) fs[l] = MakeReflection(column, fn - l);
    if (wanted && fs[l] != 0.0 && l + 1 < fp) ReflectColumns(column, fn - l, x(l + 1) + l, x.lda, fp - 1 - l);
    for (int j = l + 1; j < fp; ++j) fe[j] = x(j)[l];
    if (!wanted) return;
    fs[l] = -fs[l];
    if (WantU()) Blas1::DCopy(fn - l, column, 1, fu(l) + l, 1);
}

/// The reflection of row l, held in e, applied to the rows below it.
void SingularValues::ReflectRow(const Columns& x, int l, double* work)
{
    const int next = l + 1;
    fe[l] = -MakeReflection(fe + next, fp - next);
    if (next < fn && fe[l] != 0.0) {
        std::fill(work + next, work + fn, 0.0);
        AddColumns(work + next, x(next) + next, x.lda, static_cast<std::size_t>(fp - next), fe + next,
                   static_cast<std::size_t>(fn - next));
        for (int j = next; j < fp; ++j) Blas1::Daxpy(fn - next, -fe[j] / fe[next], work + next, 1, x(j) + next, 1);
    }
    if (fWantV) Blas1::DCopy(fp - next, fe + next, 1, fv(l) + next, 1);
}

void SingularValues::Reduce(const Columns& x, double* work)
{
    for (int l = 0; l < std::max(fColumnSteps, fRowSteps); ++l) {
        ReflectColumn(x, l);
        if (l < fRowSteps) ReflectRow(x, l, work);
    }
}

/// The elements that no reflection has produced.
void SingularValues::FinishBidiagonal(const Columns& x)
{
    if (fColumnSteps < fp) fs[fColumnSteps] = x(fColumnSteps)[fColumnSteps];
    if (fn < fOrder) fs[fOrder - 1] = 0.0;
    if (fRowSteps + 1 < fOrder) fe[fRowSteps] = x(fOrder - 1)[fRowSteps];
    fe[fOrder - 1] = 0.0;
}

/// Turns the saved column reflections into the left vectors, from the last.
void SingularValues::GenerateU()
{
    const auto setUnit = [this](int j) {
        std::fill_n(fu(j), fn, 0.0);
        fu(j)[j] = 1.0;
    };
    for (int j = fColumnSteps; j < fuColumns; ++j) setUnit(j);
    for (int l = fColumnSteps - 1; l >= 0; --l) {
        if (fs[l] == 0.0) {
            setUnit(l);
            continue;
        }
        double* const column = fu(l);
        if (l + 1 < fuColumns) ReflectColumns(column + l, fn - l, fu(l + 1) + l, fu.lda, fuColumns - 1 - l);
        Blas1::DScal(fn - l, -1.0, column + l, 1);
        column[l] += 1.0;
        std::fill_n(column, l, 0.0);
    }
}

/// Turns the saved row reflections into the right vectors, from the last.
void SingularValues::GenerateV()
{
    for (int l = fp - 1; l >= 0; --l) {
        const int next = l + 1;
        if (l < fRowSteps && fe[l] != 0.0) ReflectColumns(fv(l) + next, fp - next, fv(next) + next, fv.lda, fp - next);
        std::fill_n(fv(l), fp, 0.0);
        fv(l)[l] = 1.0;
    }
}

/// Looks for negligible elements in rows 0..last and sets them to zero.
/// @param first  out: first row of the block that the action is for
SingularValues::Action SingularValues::FindBlock(int last, int& first)
{
    int l = last - 1;
    for (; l >= 0; --l) {
        const double test = std::fabs(fs[l]) + std::fabs(fs[l + 1]);
        if (test + std::fabs(fe[l]) == test) {
            fe[l] = 0.0;
            break;
        }
    }
    first = l + 1;
    if (first == last) return Action::Converged;

    for (int ls = last; ls > l; --ls) {
        double test = 0.0;
        if (ls != last) test += std::fabs(fe[ls]);
        if (ls != l + 1) test += std::fabs(fe[ls - 1]);
        if (test + std::fabs(fs[ls]) == test) {
            fs[ls] = 0.0;
            if (ls == last) return Action::DeflateLast;
            first = ls + 1;
            return Action::SplitAtZero;
        }
    }
    return Action::QrStep;
}

/// s[last] is 0: rotates e[last - 1] away upwards.
void SingularValues::DeflateLast(int first, int last)
{
    double f = fe[last - 1];
    fe[last - 1] = 0.0;
    for (int k = last - 1; k >= first; --k) {
        double c, s;
        Blas1::DRotG(&fs[k], &f, &c, &s);
        if (k != first) {
            f = -s * fe[k - 1];
            fe[k - 1] = c * fe[k - 1];
        }
        if (fWantV) fRight.RotateNow(k, last, c, s);
    }
}

/// s[first - 1] is 0: rotates e[first - 1] away downwards.
void SingularValues::SplitAtZero(int first, int last)
{
    double f = fe[first - 1];
    fe[first - 1] = 0.0;
    for (int k = first; k <= last; ++k) {
        double c, s;
        Blas1::DRotG(&fs[k], &f, &c, &s);
        f = -s * fe[k];
        fe[k] = c * fe[k];
        // Row n + 1 of a wide matrix has no left vector; it comes here only when a NaN keeps it from being deflated.
        if (WantU() && k < fn) fLeft.RotateNow(k, first - 1, c, s);
    }
}

/// One implicit QR step with the shift of the trailing 2 x 2 block.
void SingularValues::QrStep(int first, int last)
{
    const double scale = std::max({std::fabs(fs[last]), std::fabs(fs[last - 1]), std::fabs(fe[last - 1]),
                                   std::fabs(fs[first]), std::fabs(fe[first])});
    const double sLast = fs[last] / scale;
    const double sBefore = fs[last - 1] / scale;
    const double eBefore = fe[last - 1] / scale;
    const double sFirst = fs[first] / scale;
    const double eFirst = fe[first] / scale;
    const double half = ((sBefore + sLast) * (sBefore - sLast) + eBefore * eBefore) / 2.0;
    const double product = (sLast * eBefore) * (sLast * eBefore);
    double shift = 0.0;
    if (half != 0.0 || product != 0.0) {
        shift = std::sqrt(half * half + product);
        if (half < 0.0) shift = -shift;
        shift = product / (half + shift);
    }

    double f = (sFirst + sLast) * (sFirst - sLast) + shift;
    double g = sFirst * eFirst;
    if (fWantV) fRight.StartSweep(first);
    if (WantU()) fLeft.StartSweep(first);
    for (int k = first; k < last; ++k) {
        double c, s;
        Blas1::DRotG(&f, &g, &c, &s);
        if (k != first) fe[k - 1] = f;
        f = c * fs[k] + s * fe[k];
        fe[k] = c * fe[k] - s * fs[k];
        g = s * fs[k + 1];
        fs[k + 1] = c * fs[k + 1];
        if (fWantV) fRight.Rotate(c, s);
        Blas1::DRotG(&f, &g, &c, &s);
        fs[k] = f;
        f = c * fe[k] + s * fs[k + 1];
        fs[k + 1] = -s * fe[k] + c * fs[k + 1];
        g = s * fe[k + 1];
        fe[k + 1] = c * fe[k + 1];
        if (WantU() && k < fn - 1) fLeft.Rotate(c, s);
    }
    fe[last - 1] = f;
}

/// Singular value l is found: makes it positive and puts it in its place among those found before.
void SingularValues::Settle(int l)
{
    if (fs[l] < 0.0) {
        fs[l] = -fs[l];
        if (fWantV) fRight.Negate(l);
    }
    for (; l < fOrder - 1 && fs[l] < fs[l + 1]; ++l) {
        std::swap(fs[l], fs[l + 1]);
        if (fWantV && l < fp - 1) fRight.Exchange(l, l + 1);
        if (WantU() && l < fn - 1) fLeft.Exchange(l, l + 1);
    }
}

int SingularValues::Iterate()
{
    constexpr int kMaxIterations = 30; // for each singular value
    int iteration = 0;
    int cut = 0; // where the block was last cut without a QR step
    // Each cut shortens the block, unless a NaN hides the zero that it made: then it counts as an iteration.
    const auto cutAt = [&iteration, &cut](int row) {
        if (row <= cut) ++iteration;
        cut = row;
    };
    int last = fOrder - 1;
    while (last >= 0) {
        if (iteration == kMaxIterations) return last + 1;
        int first = 0;
        switch (FindBlock(last, first)) {
        case Action::DeflateLast:
            DeflateLast(first, last);
            cutAt(last);
            break;
        case Action::SplitAtZero:
            SplitAtZero(first, last);
            cutAt(first);
            break;
        case Action::QrStep:
            QrStep(first, last);
            ++iteration;
            cut = 0;
            break;
        case Action::Converged:
            Settle(last);
            iteration = 0;
            cut = 0;
            --last;
            break;
        }
    }
    return 0;
}

/// Does the rotations and exchanges of vectors that were put off.
void SingularValues::FinishVectors()
{
    if (WantU()) fLeft.Finish();
    if (fWantV) fRight.Finish();
}

} // namespace

int Linpack::Dsvdc(double* x, int ldx, int n, int p, double* s, double* e, double* u, int ldu, double* v, int ldv,
                   double* work, int job)
{
    if (n < 1 || p < 1) return 0;
    const int jobU = job % 100 / 10;
    const int uColumns = jobU == 0 ? 0 : jobU == 1 ? n : std::min(n, p);
    const bool wantV = job % 10 != 0;
    const Columns columns{x, ldx};

    SingularValues decomposition(n, p, s, e, {u, ldu}, uColumns, {v, ldv}, wantV);
    decomposition.Reduce(columns, work);
    decomposition.FinishBidiagonal(columns);
    if (uColumns > 0) decomposition.GenerateU();
    if (wantV) decomposition.GenerateV();
    const int info = decomposition.Iterate();
    decomposition.FinishVectors();
    return info;
}

} // namespace MCMath_930
