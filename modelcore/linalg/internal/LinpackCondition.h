// What the LINPACK condition estimators have in common.
//
// Each of them solves trans(A)*y = e with the signs of e chosen so that y grows, then A*z = y, and takes |y| / |z| for
// an estimate of 1/|inverse(A)|. All vectors live in z and are rescaled whenever a component would grow beyond bounds.
#pragma once

#include "modelcore/kernels/AlignedDoubles.h"
#include "modelcore/linalg/Blas1.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace MCMath_930::internal {

/// The vector z and the norm of y on the same scale.
class NullVector {
public:
    NullVector(double* z, int n) : fz(z), fn(n)
    {
        for (int i = 0; i < n; ++i) z[i] = 0.0;
    }

    double& operator[](int k) { return fz[k]; }
    double* From(int k) { return fz + k; }

    void Rescale(double s)
    {
        Blas1::DScal(fn, s, fz, 1);
        fNorm *= s;
    }

    /// Makes the 1-norm of z equal to 1.
    void Normalise() { Rescale(1.0 / Blas1::DASum(fn, fz, 1)); }

    /// z holds y from now on: its norm is 1.
    void StartFromY() { fNorm = 1.0; }

    /// Rescales so that |z[k]| is at most the bound, when it is larger.
    void Limit(int k, double bound)
    {
        if (std::fabs(fz[k]) > bound) Rescale(bound / std::fabs(fz[k]));
    }

    void DivideByPivot(int k, double pivot) { fz[k] = pivot != 0.0 ? fz[k] / pivot : 1.0; }

    void Exchange(int k, int other)
    {
        const double old = fz[other];
        fz[other] = fz[k];
        fz[k] = old;
    }

    double ReciprocalCondition(double norm) const { return norm != 0.0 ? fNorm / norm : 0.0; }

private:
    double* fz;
    int fn;
    double fNorm = 1.0;
};

/// One step of trans(U)*w = e: component k takes the sign of e that makes the rest of w grow more.
/// @param sign  the component of e before its sign is chosen, scaled along with z
/// @param row   row(j) is U(k,j), for the components j in [begin, end) that are not yet solved
template <class Row>
void GrowComponent(NullVector& z, double& sign, int k, double pivot, int begin, int end, Row row)
{
    if (z[k] != 0.0) sign = std::copysign(sign, -z[k]);
    if (std::fabs(sign - z[k]) > std::fabs(pivot)) {
        const double s = std::fabs(pivot) / std::fabs(sign - z[k]);
        z.Rescale(s);
        sign *= s;
    }
    double plus = sign - z[k];
    double minus = -sign - z[k];
    double sumPlus = std::fabs(plus);
    double sumMinus = std::fabs(minus);
    plus = pivot != 0.0 ? plus / pivot : 1.0;
    minus = pivot != 0.0 ? minus / pivot : 1.0;
    for (int j = begin; j < end; ++j) {
        const double element = row(j);
        sumMinus += std::fabs(z[j] + minus * element);
        z[j] += plus * element;
        sumPlus += std::fabs(z[j]);
    }
    if (begin < end && sumPlus < sumMinus) {
        const double change = minus - plus;
        plus = minus;
        for (int j = begin; j < end; ++j) z[j] += change * row(j);
    }
    z[k] = plus;
}

/// The rows of an upper triangle, asked for from the first to the last: several are gathered at a time, since what stands
/// under an element shares its cache line.
template <class Columns>
class GatheredRows {
public:
    GatheredRows(const Columns& u, int n)
        : fu(u), fn(n), fMemory(n < kSmallestOrder ? nullptr : MakeAlignedDoubles(Start(kRows)))
    {}

    /// Calls use(row): row(j) is element (k, j), for j > k.
    template <class Use>
    void With(int k, Use use)
    {
        if (fMemory == nullptr) {
            use([this, k](int j) { return fu(j)[k]; });
            return;
        }
        if (k % kRows == 0) Gather(k);
        use([row = fMemory.get() + Start(k % kRows)](int j) { return row[j]; });
    }

private:
    static constexpr int kSmallestOrder = 64; // a smaller one stays in cache
    static constexpr int kRows = 8;

    std::size_t Start(int row) const { return static_cast<std::size_t>(row) * static_cast<std::size_t>(fn); }

    void Gather(int first)
    {
        for (int j = first + 1; j < fn && fu.FirstRow(j) < first + kRows; ++j)
            for (int i = std::max(first, fu.FirstRow(j)); i < std::min(first + kRows, j); ++i)
                fMemory[Start(i - first) + static_cast<std::size_t>(j)] = fu(j)[i];
    }

    Columns fu;
    int fn;
    AlignedDoubles fMemory;
};

/// The largest 1-norm of the columns of a dense matrix: their sums grow side by side, each in its order.
template <class Columns>
double LargestColumnSum(const Columns& a, int n)
{
    constexpr int kTogether = 8;
    double norm = 0.0;
    int j = 0;
    for (; j + kTogether <= n; j += kTogether) {
        double sums[kTogether] = {};
        const double* columns[kTogether];
        for (int q = 0; q < kTogether; ++q) columns[q] = a(j + q);
        for (int i = 0; i < n; ++i)
            for (int q = 0; q < kTogether; ++q) sums[q] += std::fabs(columns[q][i]);
        for (const double sum : sums) norm = Blas1::D_Max(norm, sum);
    }
    for (; j < n; ++j) norm = Blas1::D_Max(norm, Blas1::DASum(n, a(j), 1));
    return norm;
}

/// U*z = y, by columns from the last. Columns is one of the views of LinpackColumns.h.
template <class Columns>
void SolveUpperScaled(NullVector& z, const Columns& u, int n)
{
    for (int k = n - 1; k >= 0; --k) {
        const double* const column = u(k);
        const int first = u.FirstRow(k);
        z.Limit(k, std::fabs(column[k]));
        z.DivideByPivot(k, column[k]);
        Blas1::Daxpy(k - first, -z[k], column + first, 1, z.From(first), 1);
    }
}

} // namespace MCMath_930::internal
