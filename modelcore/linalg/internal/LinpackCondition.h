// What the LINPACK condition estimators have in common.
//
// Each of them solves trans(A)*y = e with the signs of e chosen so that y grows, then A*z = y, and takes |y| / |z| for
// an estimate of 1/|inverse(A)|. All vectors live in z and are rescaled whenever a component would grow beyond bounds.
#pragma once

#include "modelcore/linalg/Blas1.h"

#include <cmath>

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
