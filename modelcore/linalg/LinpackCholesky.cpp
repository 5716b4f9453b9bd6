// LINPACK: Cholesky decomposition with pivoting; adding and removing rows, permuting columns.
#include "modelcore/linalg/Linpack.h"

#include "modelcore/kernels/ColumnViews.h"
#include "modelcore/linalg/Blas1.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace MCMath_930 {

using namespace internal;

namespace {

using Columns = DenseColumns<double>;

/// Exchanges rows and columns i < j of a symmetric matrix of which the upper triangle is stored.
void ExchangeUpper(const Columns& a, int p, int i, int j)
{
    Blas1::DSwap(i, a(i), 1, a(j), 1);
    std::swap(a(i)[i], a(j)[j]);
    for (int m = i + 1; m < j; ++m) std::swap(a(m)[i], a(j)[m]);
    for (int m = j + 1; m < p; ++m) std::swap(a(m)[i], a(m)[j]);
}

/// The free elements [first, last) after the initial ones were moved to the front and the final ones to the back.
struct FreeRange {
    int first;
    int last;
};

FreeRange ArrangeInitialAndFinal(const Columns& a, int p, int* jpvt)
{
    FreeRange free{0, p};
    for (int k = 0; k < p; ++k) {
        const int wish = jpvt[k];
        jpvt[k] = wish < 0 ? -(k + 1) : k + 1;
        if (wish <= 0) continue;
        if (k != free.first) {
            ExchangeUpper(a, p, free.first, k);
            jpvt[k] = jpvt[free.first];
            jpvt[free.first] = k + 1;
        }
        ++free.first;
    }
    for (int k = p - 1; k >= free.first; --k) {
        if (jpvt[k] >= 0) continue;
        jpvt[k] = -jpvt[k];
        --free.last;
        if (k != free.last) {
            ExchangeUpper(a, p, k, free.last);
            std::swap(jpvt[k], jpvt[free.last]);
        }
    }
    return free;
}

/// The pair (upper, lower) turned by the rotation (c, s).
void RotatePair(double& upper, double& lower, double c, double s)
{
    const double turned = c * upper + s * lower;
    lower = c * lower - s * upper;
    upper = turned;
}

/// Right circular shift of columns k..l; rotation i turns rows l - 1 - i and l - i.
void ShiftRight(const Columns& r, int p, int k, int l, const Columns& z, int nz, double* c, double* s)
{
    const int count = l - k;
    for (int i = 0; i <= l; ++i) s[i] = r(l)[l - i];
    for (int j = l - 1; j >= k; --j) {
        std::copy_n(r(j), j + 1, r(j + 1));
        r(j + 1)[j + 1] = 0.0;
    }
    for (int i = 0; i < k; ++i) r(k)[i] = s[l - i];

    double t = s[0];
    for (int i = 0; i < count; ++i) {
        Blas1::DRotG(&s[i + 1], &t, &c[i], &s[i]);
        t = s[i + 1];
    }
    r(k)[k] = t;
    for (int j = k + 1; j < p; ++j)
        for (int i = std::max(0, l - j); i < count; ++i) RotatePair(r(j)[l - 1 - i], r(j)[l - i], c[i], s[i]);
    for (int j = 0; j < nz; ++j)
        for (int i = 0; i < count; ++i) RotatePair(z(j)[l - 1 - i], z(j)[l - i], c[i], s[i]);
}

/// Left circular shift of columns k..l; rotation i turns rows k + i and k + i + 1.
void ShiftLeft(const Columns& r, int p, int k, int l, const Columns& z, int nz, double* c, double* s)
{
    const int count = l - k;
    // s holds the subdiagonal that the shift leaves, and after it the moved column.
    std::copy_n(r(k), k + 1, s + count);
    for (int j = k; j < l; ++j) {
        std::copy_n(r(j + 1), j + 1, r(j));
        s[j - k] = r(j + 1)[j + 1];
    }
    std::copy_n(s + count, k + 1, r(l));
    std::fill(r(l) + k + 1, r(l) + l + 1, 0.0);

    for (int j = k; j < p; ++j) {
        const int earlier = std::min(j, l) - k;
        for (int i = 0; i < earlier; ++i) RotatePair(r(j)[k + i], r(j)[k + i + 1], c[i], s[i]);
        if (j >= l) continue;
        double t = s[j - k];
        Blas1::DRotG(&r(j)[j], &t, &c[j - k], &s[j - k]);
    }
    for (int j = 0; j < nz; ++j)
        for (int i = 0; i < count; ++i) RotatePair(z(j)[k + i], z(j)[k + i + 1], c[i], s[i]);
}

} // namespace

int Linpack::Dchdc(double* a, int lda, int p, double* work, int* jpvt, int job)
{
    const Columns columns{a, lda};
    const FreeRange free = job != 0 ? ArrangeInitialAndFinal(columns, p, jpvt) : FreeRange{0, 0};
    for (int k = 0; k < p; ++k) {
        int largest = k;
        if (k >= free.first)
            for (int l = k + 1; l < free.last; ++l)
                if (columns(l)[l] > columns(largest)[largest]) largest = l;
        if (!(columns(largest)[largest] > 0.0)) return k;
        if (largest != k) {
            ExchangeUpper(columns, p, k, largest);
            std::swap(jpvt[k], jpvt[largest]);
        }

        double* const diagonal = columns(k) + k;
        *diagonal = work[k] = std::sqrt(*diagonal);
        for (int j = k + 1; j < p; ++j) {
            double* const column = columns(j);
            column[k] /= work[k];
            work[j] = column[k];
            Blas1::Daxpy(j - k, -column[k], work + k + 1, 1, column + k + 1, 1);
        }
    }
    return p;
}

void Linpack::Dchud(double* r, int ldr, int p, const double* x, double* z, int ldz, int nz, const double* y,
                    double* rho, double* c, double* s)
{
    const Columns factor{r, ldr};
    for (int j = 0; j < p; ++j) {
        double xj = x[j];
        for (int i = 0; i < j; ++i) RotatePair(factor(j)[i], xj, c[i], s[i]);
        Blas1::DRotG(&factor(j)[j], &xj, &c[j], &s[j]);
    }
    const Columns sides{z, ldz};
    for (int j = 0; j < nz; ++j) {
        double zeta = y[j];
        for (int i = 0; i < p; ++i) RotatePair(sides(j)[i], zeta, c[i], s[i]);
        zeta = std::fabs(zeta);
        if (zeta == 0.0 || rho[j] < 0.0) continue;
        const double scale = zeta + rho[j];
        const double first = zeta / scale;
        const double second = rho[j] / scale;
        rho[j] = scale * std::sqrt(first * first + second * second);
    }
}

int Linpack::Dchdd(double* r, int ldr, int p, const double* x, double* z, int ldz, int nz, const double* y, double* rho,
                   double* c, double* s)
{
    const Columns factor{r, ldr};
    for (int j = 0; j < p; ++j) s[j] = (x[j] - Blas1::DDot(j, factor(j), 1, s, 1)) / factor(j)[j];
    const double length = Blas1::DNrm2(p, s, 1);
    if (!(length < 1.0)) return -1;

    double alpha = std::sqrt(1.0 - length * length);
    for (int i = p - 1; i >= 0; --i) {
        const double scale = alpha + std::fabs(s[i]);
        const double a = alpha / scale;
        const double b = s[i] / scale;
        const double norm = std::sqrt(a * a + b * b);
        c[i] = a / norm;
        s[i] = b / norm;
        alpha = scale * norm;
    }
    for (int j = 0; j < p; ++j) {
        double xx = 0.0;
        for (int i = j; i >= 0; --i) RotatePair(xx, factor(j)[i], c[i], s[i]);
    }

    int info = 0;
    const Columns sides{z, ldz};
    for (int j = 0; j < nz; ++j) {
        double zeta = y[j];
        for (int i = 0; i < p; ++i) {
            double& element = sides(j)[i];
            element = (element - s[i] * zeta) / c[i];
            zeta = c[i] * zeta - s[i] * element;
        }
        zeta = std::fabs(zeta);
        if (zeta > rho[j]) {
            info = 1;
            rho[j] = -1.0;
        } else {
            const double ratio = zeta / rho[j];
            rho[j] *= std::sqrt(1.0 - ratio * ratio);
        }
    }
    return info;
}

void Linpack::Dchex(double* r, int ldr, int p, int k, int l, double* z, int ldz, int nz, double* c, double* s, int job)
{
    if (job == 1)
        ShiftRight({r, ldr}, p, k - 1, l - 1, {z, ldz}, nz, c, s);
    else
        ShiftLeft({r, ldr}, p, k - 1, l - 1, {z, ldz}, nz, c, s);
}

} // namespace MCMath_930
