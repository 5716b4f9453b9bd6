// The BLAS level 1 routines. Contiguous vectors go to the kernels where that cannot change a bit.
#include "modelcore/linalg/Blas1.h"

#include "modelcore/kernels/Kernels.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace MCMath_930 {

namespace {

/// Where a walk of n elements starts: a negative increment walks back to the first element in memory.
template <class Real>
Real* Start(Real* x, int n, int inc)
{
    return inc < 0 ? x + static_cast<std::ptrdiff_t>(1 - n) * inc : x;
}

/// Calls step(x element, y element) along both vectors.
template <class X, class Y, class Step>
void ForEachPair(int n, X* x, int incx, Y* y, int incy, Step step)
{
    if (incx == 1 && incy == 1) {
        for (int i = 0; i < n; ++i) step(x[i], y[i]);
        return;
    }
    x = Start(x, n, incx);
    y = Start(y, n, incy);
    for (std::ptrdiff_t i = 0; i < n; ++i) step(x[i * incx], y[i * incy]);
}

} // namespace

double Blas1::DASum(int n, const double* x, int incx)
{
    double sum = 0.0;
    if (incx <= 0) return sum;
    for (std::ptrdiff_t i = 0; i < n; ++i) sum += std::fabs(x[i * incx]);
    return sum;
}

void Blas1::Daxpy(int n, double a, const double* x, int incx, double* y, int incy)
{
    if (n <= 0 || a == 0.0) return;
    if (incx == 1 && incy == 1 && x != y)
        internal::AddScaled(y, a, x, static_cast<std::size_t>(n));
    else
        ForEachPair(n, x, incx, y, incy, [a](const double& from, double& to) { to += a * from; });
}

void Blas1::DCopy(int n, const double* x, int incx, double* y, int incy)
{
    ForEachPair(n, x, incx, y, incy, [](const double& from, double& to) { to = from; });
}

double Blas1::DDot(int n, const double* x, int incx, const double* y, int incy)
{
    double sum = 0.0;
    ForEachPair(n, x, incx, y, incy, [&sum](const double& first, const double& second) { sum += first * second; });
    return sum;
}

double Blas1::DNrm2(int n, const double* x, int incx)
{
    if (n < 1 || incx < 1) return 0.0;
    if (n == 1) return std::fabs(x[0]);
    // The norm so far is scale * sqrt(squares), scale being the largest magnitude met.
    double scale = 0.0;
    double squares = 1.0;
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        const double magnitude = std::fabs(x[i * incx]);
        if (magnitude == 0.0) continue;
        if (scale < magnitude) {
            const double ratio = scale / magnitude;
            squares = 1.0 + squares * (ratio * ratio);
            scale = magnitude;
        } else {
            const double ratio = magnitude / scale;
            squares += ratio * ratio;
        }
    }
    return scale * std::sqrt(squares);
}

void Blas1::DRot(int n, double* x, int incx, double* y, int incy, double c, double s)
{
    if (n > 0 && incx == 1 && incy == 1 && x != y)
        internal::Rotate(x, y, c, s, static_cast<std::size_t>(n));
    else
        ForEachPair(n, x, incx, y, incy, [c, s](double& first, double& second) {
            const double turned = c * first + s * second;
            second = c * second - s * first;
            first = turned;
        });
}

void Blas1::DRotG(double* a, double* b, double* c, double* s)
{
    const double scale = std::fabs(*a) + std::fabs(*b);
    double r = 0.0;
    if (scale == 0.0) {
        *c = 1.0;
        *s = 0.0;
    } else {
        const double scaledA = *a / scale;
        const double scaledB = *b / scale;
        r = scale * std::sqrt(scaledA * scaledA + scaledB * scaledB);
        if ((std::fabs(*a) > std::fabs(*b) ? *a : *b) < 0.0) r = -r;
        *c = *a / r;
        *s = *b / r;
    }
    const double magnitude = std::fabs(*c);
    *b = magnitude > 0.0 && *s >= magnitude ? 1.0 / *c : *s;
    *a = r;
}

void Blas1::DScal(int n, double a, double* x, int incx)
{
    if (n <= 0 || incx <= 0) return;
    if (incx == 1)
        internal::Scale(x, a, static_cast<std::size_t>(n));
    else
        for (std::ptrdiff_t i = 0; i < n; ++i) x[i * incx] *= a;
}

void Blas1::DSwap(int n, double* x, int incx, double* y, int incy)
{
    ForEachPair(n, x, incx, y, incy, [](double& first, double& second) { std::swap(first, second); });
}

int Blas1::IDAMax(int n, const double* x, int incx)
{
    if (n < 1 || incx < 1) return 0;
    if (incx == 1) return static_cast<int>(internal::FirstLargest(x, static_cast<std::size_t>(n))) + 1;
    int found = 0;
    double largest = std::fabs(x[0]);
    for (int i = 1; i < n; ++i) {
        const double magnitude = std::fabs(x[static_cast<std::ptrdiff_t>(i) * incx]);
        if (magnitude > largest) {
            largest = magnitude;
            found = i;
        }
    }
    return found + 1;
}

double Blas1::DMach(int job)
{
    double eps = 0.0;
    double half = 0.5;
    do {
        eps = half;
        half *= 0.5;
    } while (1.0 + eps * 0.5 > 1.0);

    // The last power of 1/16 that does not vanish when divided by 16 once more; with gradual underflow 2^-1072.
    double smallest = 0.0;
    double power = 1.0;
    do {
        smallest = power;
        power *= 0.0625;
    } while (smallest * 0.0625 != 0.0);
    smallest /= eps;

    switch (job) {
    case 1: return eps;
    case 2: return 100.0 * smallest;
    case 3: return 1.0 / (100.0 * smallest);
    default: XErBla("DMACH", 1);
    }
}

void Blas1::XErBla(const char* name, int param)
{
    std::printf(
        "\nXERBLA - Fatal error!\n  On entry to routine %s\n  input parameter number %d had an illegal value.\n", name,
        param);
    std::exit(EXIT_FAILURE);
}

bool Blas1::LSame(char a, char b)
{
    const auto upper = [](char letter) { return letter >= 'a' && letter <= 'z' ? letter - 'a' + 'A' : +letter; };
    return upper(a) == upper(b);
}

double Blas1::D_Abs(double x)
{
    return std::fabs(x);
}

double Blas1::D_Max(double a, double b)
{
    return a > b ? a : b;
}

double Blas1::D_Sign(double x)
{
    return x < 0.0 ? -1.0 : 1.0;
}

int Blas1::I_Max(int a, int b)
{
    return std::max(a, b);
}

int Blas1::I_Min(int a, int b)
{
    return std::min(a, b);
}

} // namespace MCMath_930
