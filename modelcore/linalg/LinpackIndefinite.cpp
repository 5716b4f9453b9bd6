// LINPACK: symmetric indefinite matrices, dense and packed. Each routine is written once for both kinds of columns.
#include "modelcore/linalg/Linpack.h"

#include "modelcore/linalg/internal/BlockedIndefinite.h"
#include "modelcore/linalg/internal/LinpackCondition.h"
#include "modelcore/linalg/internal/LinpackDeterminant.h"
#include "modelcore/linalg/internal/LinpackTriangle.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <utility>

namespace MCMath_930 {

using namespace internal;

namespace {

/// The pivot of the leading matrix of order k + 1, k >= 1.
template <class Columns>
IndefinitePivot ChoosePivot(const Columns& a, int k)
{
    return ChooseIndefinitePivot(a(k), k, [&a, k](int imax) {
        double largest = 0.0;
        for (int j = imax + 1; j <= k; ++j) largest = Blas1::D_Max(largest, std::fabs(a(j)[imax]));
        if (imax > 0) largest = Blas1::D_Max(largest, std::fabs(a(imax)[Blas1::IDAMax(imax, a(imax), 1) - 1]));
        return CandidateRow{largest, a(imax)[imax]};
    });
}

/// Exchanges rows and columns `to` and `from` of a symmetric matrix, to <= from, above and on the diagonal.
template <class Columns>
void ExchangeSymmetric(const Columns& a, int to, int from)
{
    Blas1::DSwap(to + 1, a(to), 1, a(from), 1);
    for (int j = from; j >= to; --j) std::swap(a(from)[j], a(j)[to]);
}

// Column j receives its terms from what stands above row j of the pivot's columns before the multipliers do. So some
// columns go together, from the last ones on.
constexpr int kColumnsAtOnce = 32;

/// Eliminates with the diagonal element k.
template <class Columns>
void EliminateOne(const Columns& a, int k)
{
    double* const column = a(k);
    double* lines[kColumnsAtOnce];
    double multipliers[kColumnsAtOnce];
    for (int end = k; end > 0; end -= kColumnsAtOnce) {
        const int first = std::max(0, end - kColumnsAtOnce);
        for (int j = first; j < end; ++j) {
            lines[j - first] = a(j);
            multipliers[j - first] = -column[j] / column[k];
        }
        AddToLines(lines, static_cast<std::size_t>(end - first), multipliers, column,
                   static_cast<std::size_t>(first) + 1, 1);
        std::copy_n(multipliers, end - first, column + first);
    }
}

/// Eliminates with the diagonal block of rows k - 1 and k.
template <class Columns>
void EliminateTwo(const Columns& a, int k)
{
    double* const column = a(k);
    double* const before = a(k - 1);
    const IndefiniteBlock block(before, column, k);
    double* lines[kColumnsAtOnce];
    double multipliers[kColumnsAtOnce];
    double multipliersBefore[kColumnsAtOnce];
    for (int end = k - 1; end > 0; end -= kColumnsAtOnce) {
        const int first = std::max(0, end - kColumnsAtOnce);
        for (int j = first; j < end; ++j) {
            lines[j - first] = a(j);
            const auto [own, earlier] = block.Multipliers(column[j], before[j]);
            multipliers[j - first] = own;
            multipliersBefore[j - first] = earlier;
        }
        const auto columns = static_cast<std::size_t>(end - first);
        AddToLines(lines, columns, multipliers, column, static_cast<std::size_t>(first) + 1, 1);
        AddToLines(lines, columns, multipliersBefore, before, static_cast<std::size_t>(first) + 1, 1);
        std::copy_n(multipliers, end - first, column + first);
        std::copy_n(multipliersBefore, end - first, before + first);
    }
}

/// A = U*D*trans(U); see Linpack::Dsifa.
template <class Columns>
int FactorIndefinite(const Columns& a, int n, int* kpvt)
{
    int info = 0;
    int k = n - 1;
    using Blocked = BlockedIndefinite<Columns>;
    if (n > Blocked::kSmallestOrder) {
        Blocked blocked(a, n, kpvt);
        if (blocked.HasWorkspace()) k = blocked.Factor(k, &info);
    }
    while (k > 0) {
        const IndefinitePivot pivot = ChoosePivot(a, k);
        pivot.Note(k, kpvt);
        if (pivot.zero) {
            info = k + 1;
        } else if (pivot.size == 1) {
            if (pivot.exchange) ExchangeSymmetric(a, pivot.imax, k);
            EliminateOne(a, k);
        } else {
            if (pivot.exchange) {
                ExchangeSymmetric(a, pivot.imax, k - 1);
                std::swap(a(k)[k - 1], a(k)[pivot.imax]);
            }
            EliminateTwo(a, k);
        }
        k -= pivot.size;
    }
    if (k == 0) {
        kpvt[0] = 1;
        if (a(0)[0] == 0.0) info = 1;
    }
    return info;
}

/// The factors as the solving loops walk them.
template <class Columns>
struct Factored {
    Columns columns;
    int n;
    const int* kpvt;

    int BlockSize(int k) const { return kpvt[k] < 0 ? 2 : 1; }
    int Partner(int k) const { return std::abs(kpvt[k]) - 1; }

    const double* Diagonal(int k) const { return columns(k) + k; }

    /// Solves with the block of rows k - 1 and k of D.
    void DivideByBlock(double* b, int k) const
    {
        const double offDiagonal = columns(k)[k - 1];
        const double ak = columns(k)[k] / offDiagonal;
        const double akm1 = columns(k - 1)[k - 1] / offDiagonal;
        const double bk = b[k] / offDiagonal;
        const double bkm1 = b[k - 1] / offDiagonal;
        const double denominator = ak * akm1 - 1.0;
        b[k] = (akm1 * bk - bkm1) / denominator;
        b[k - 1] = (ak * bkm1 - bk) / denominator;
    }

    /// One block, ending at k, of the exchange and the columns of U.
    void ApplyBlock(double* b, int k) const
    {
        const int size = BlockSize(k);
        std::swap(b[k + 1 - size], b[Partner(k)]);
        Blas1::Daxpy(k + 1 - size, b[k], columns(k), 1, b, 1);
        if (size == 2) Blas1::Daxpy(k - 1, b[k - 1], columns(k - 1), 1, b, 1);
    }

    /// All blocks of trans(U), from the first.
    void ApplyTransposed(double* b) const
    {
        for (int k = 0; k < n; k += BlockSize(k)) {
            if (k == 0) continue;
            b[k] += Blas1::DDot(k, columns(k), 1, b, 1);
            if (BlockSize(k) == 2) b[k + 1] += Blas1::DDot(k, columns(k + 1), 1, b, 1);
            std::swap(b[k], b[Partner(k)]);
        }
    }
};

template <class Columns>
Factored(Columns, int, const int*) -> Factored<Columns>;

template <class Columns>
void SolveIndefinite(const Factored<Columns>& f, double* b)
{
    for (int k = f.n - 1; k >= 0;) {
        f.ApplyBlock(b, k);
        if (f.BlockSize(k) == 1)
            b[k] /= *f.Diagonal(k);
        else
            f.DivideByBlock(b, k);
        k -= f.BlockSize(k);
    }
    f.ApplyTransposed(b);
}

template <class Columns>
double FactorAndEstimate(const Columns& a, int n, int* kpvt, double* work)
{
    const double norm = SymmetricNorm(a, n, work);
    FactorIndefinite(a, n, kpvt);
    const Factored f{a, n, static_cast<const int*>(kpvt)};
    NullVector z(work, n);

    // U*D*w = e, with e chosen as the loop goes.
    double sign = 1.0;
    const auto grow = [&z, &sign](int k) {
        if (z[k] != 0.0) sign = std::copysign(sign, z[k]);
        z[k] += sign;
    };
    for (int k = n - 1; k >= 0;) {
        const int size = f.BlockSize(k);
        z.Exchange(k + 1 - size, f.Partner(k));
        grow(k);
        Blas1::Daxpy(k + 1 - size, z[k], a(k), 1, z.From(0), 1);
        if (size == 2) {
            grow(k - 1);
            Blas1::Daxpy(k - 1, z[k - 1], a(k - 1), 1, z.From(0), 1);
            f.DivideByBlock(z.From(0), k);
        } else {
            const double pivot = std::fabs(a(k)[k]);
            if (std::fabs(z[k]) > pivot) {
                const double s = pivot / std::fabs(z[k]);
                z.Rescale(s);
                sign *= s;
            }
            z.DivideByPivot(k, a(k)[k]);
        }
        k -= size;
    }
    z.Normalise();
    f.ApplyTransposed(z.From(0)); // trans(U)*y = w
    z.Normalise();

    z.StartFromY();
    for (int k = n - 1; k >= 0;) { // U*D*v = y
        f.ApplyBlock(z.From(0), k);
        if (f.BlockSize(k) == 1) {
            z.Limit(k, std::fabs(a(k)[k]));
            z.DivideByPivot(k, a(k)[k]);
        } else {
            f.DivideByBlock(z.From(0), k);
        }
        k -= f.BlockSize(k);
    }
    z.Normalise();
    f.ApplyTransposed(z.From(0)); // trans(U)*z = v
    z.Normalise();
    return z.ReciprocalCondition(norm);
}

/// Goes through the diagonal of D as numbers whose signs and product are those of its eigenvalues.
template <class Columns>
void DeterminantAndInertia(const Factored<Columns>& f, double* det, int* inert)
{
    if (inert != nullptr) inert[0] = inert[1] = inert[2] = 0;
    double unused[2];
    ScaledDeterminant determinant(det != nullptr ? det : unused);
    double second = 0.0; // the second number of a block of order 2, 0 between blocks
    for (int k = 0; k < f.n; ++k) {
        double d = *f.Diagonal(k);
        if (f.kpvt[k] < 0) {
            if (second == 0.0) {
                // The block (d s; s c) has the determinant (d/t*c - t)*t with t = |s|, safe from overflow, and is
                // indefinite, so that the two factors have the signs of its eigenvalues.
                second = std::fabs(f.columns(k + 1)[k]);
                d = (d / second) * *f.Diagonal(k + 1) - second;
            } else {
                d = second;
                second = 0.0;
            }
        }
        if (inert != nullptr) {
            if (d > 0.0) ++inert[0];
            if (d < 0.0) ++inert[1];
            if (d == 0.0) ++inert[2];
        }
        determinant.Multiply(d); // goes on after a zero, for the inertia
    }
}

/// Column `column` of the inverse from the inverse of the leading matrix of order k; work receives the old column.
template <class Columns>
void Propagate(const Columns& a, int k, double* column, double* work)
{
    Blas1::DCopy(k, column, 1, work, 1);
    for (int j = 0; j < k; ++j) {
        column[j] = Blas1::DDot(j + 1, a(j), 1, work, 1);
        Blas1::Daxpy(j, work[j], a(j), 1, column, 1);
    }
}

template <class Columns>
void InvertIndefinite(const Factored<Columns>& f, double* work)
{
    const Columns& a = f.columns;
    for (int k = 0; k < f.n; k += f.BlockSize(k)) {
        double* const column = a(k);
        if (f.BlockSize(k) == 1) {
            column[k] = 1.0 / column[k];
            Propagate(a, k, column, work);
            column[k] += Blas1::DDot(k, work, 1, column, 1);
        } else {
            double* const next = a(k + 1);
            const double t = std::fabs(next[k]);
            const double ak = column[k] / t;
            const double akp1 = next[k + 1] / t;
            const double akkp1 = next[k] / t;
            const double d = t * (ak * akp1 - 1.0);
            column[k] = akp1 / d;
            next[k + 1] = ak / d;
            next[k] = -akkp1 / d;
            Propagate(a, k, next, work);
            next[k + 1] += Blas1::DDot(k, work, 1, next, 1);
            next[k] += Blas1::DDot(k, column, 1, next, 1); // the old column k with the new column k + 1
            Propagate(a, k, column, work);
            column[k] += Blas1::DDot(k, work, 1, column, 1);
        }
        const int partner = f.Partner(k);
        if (partner == k) continue;
        ExchangeSymmetric(a, partner, k);
        if (f.BlockSize(k) == 2) std::swap(a(k + 1)[partner], a(k + 1)[k]);
    }
}

template <class Columns>
void DeterminantInertiaInverse(const Factored<Columns>& f, double* det, int* inert, double* work, int job)
{
    const bool wantDet = job % 100 / 10 != 0;
    const bool wantInertia = job % 1000 / 100 != 0;
    if (wantDet || wantInertia) DeterminantAndInertia(f, wantDet ? det : nullptr, wantInertia ? inert : nullptr);
    if (job % 10 != 0) InvertIndefinite(f, work);
}

} // namespace

double Linpack::Dsico(double* a, int lda, int n, int* kpvt, double* z)
{
    return FactorAndEstimate(DenseColumns{a, lda}, n, kpvt, z);
}

int Linpack::Dsifa(double* a, int lda, int n, int* kpvt)
{
    return FactorIndefinite(DenseColumns{a, lda}, n, kpvt);
}

void Linpack::Dsisl(const double* a, int lda, int n, const int* kpvt, double* b)
{
    SolveIndefinite(Factored{DenseColumns{a, lda}, n, kpvt}, b);
}

void Linpack::Dsidi(double* a, int lda, int n, const int* kpvt, double* det, int* inert, double* work, int job)
{
    DeterminantInertiaInverse(Factored{DenseColumns{a, lda}, n, kpvt}, det, inert, work, job);
}

double Linpack::Dspco(double* ap, int n, int* kpvt, double* z)
{
    return FactorAndEstimate(PackedColumns{ap}, n, kpvt, z);
}

int Linpack::Dspfa(double* ap, int n, int* kpvt)
{
    return FactorIndefinite(PackedColumns{ap}, n, kpvt);
}

void Linpack::Dspsl(const double* ap, int n, const int* kpvt, double* b)
{
    SolveIndefinite(Factored{PackedColumns{ap}, n, kpvt}, b);
}

void Linpack::Dspdi(double* ap, int n, const int* kpvt, double* det, int* inert, double* work, int job)
{
    DeterminantInertiaInverse(Factored{PackedColumns{ap}, n, kpvt}, det, inert, work, job);
}

} // namespace MCMath_930
