// Plain transcriptions of the published loops, the definition that the library's factorisations must equal bit for bit.
// Column-major, indices from 0, pivots from 1 as in the interface.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

namespace Plain {

struct Matrix {
    std::vector<double> values;
    int lda;

    double& operator()(int i, int j)
    {
        return values[static_cast<std::size_t>(j) * static_cast<std::size_t>(lda) + static_cast<std::size_t>(i)];
    }
};

inline void Axpy(Matrix& a, int first, int last, double t, int from, int to)
{
    if (t == 0.0) return;
    for (int i = first; i < last; ++i) a(i, to) += t * a(i, from);
}

inline double Dot(Matrix& a, int first, int last, int p, int q)
{
    double sum = 0.0;
    for (int i = first; i < last; ++i) sum += a(i, p) * a(i, q);
    return sum;
}

inline int Largest(Matrix& a, int first, int last, int j)
{
    int l = first;
    for (int i = first; i < last; ++i)
        if (std::fabs(a(i, j)) > std::fabs(a(l, j))) l = i;
    return l;
}

inline int Dgefa(Matrix& a, int n, std::vector<int>& ipvt)
{
    int info = 0;
    for (int k = 0; k < n - 1; ++k) {
        const int l = Largest(a, k, n, k);
        ipvt[static_cast<std::size_t>(k)] = l + 1;
        if (a(l, k) == 0.0) {
            info = k + 1;
            continue;
        }
        std::swap(a(l, k), a(k, k));
        const double t = -1.0 / a(k, k);
        for (int i = k + 1; i < n; ++i) a(i, k) *= t;
        for (int j = k + 1; j < n; ++j) {
            std::swap(a(l, j), a(k, j));
            Axpy(a, k + 1, n, a(k, j), k, j);
        }
    }
    if (n > 0) {
        ipvt[static_cast<std::size_t>(n - 1)] = n;
        if (a(n - 1, n - 1) == 0.0) info = n;
    }
    return info;
}

inline void InvertUpper(Matrix& a, int n)
{
    for (int k = 0; k < n; ++k) {
        a(k, k) = 1.0 / a(k, k);
        for (int i = 0; i < k; ++i) a(i, k) *= -a(k, k);
        for (int j = k + 1; j < n; ++j) {
            const double t = a(k, j);
            a(k, j) = 0.0;
            Axpy(a, 0, k + 1, t, k, j);
        }
    }
}

inline void InvertLower(Matrix& a, int n)
{
    for (int k = n - 1; k >= 0; --k) {
        a(k, k) = 1.0 / a(k, k);
        for (int i = k + 1; i < n; ++i) a(i, k) *= -a(k, k);
        for (int j = 0; j < k; ++j) {
            const double t = a(k, j);
            a(k, j) = 0.0;
            Axpy(a, k, n, t, k, j);
        }
    }
}

inline void DgediInverse(Matrix& a, int n, const std::vector<int>& ipvt)
{
    InvertUpper(a, n);
    std::vector<double> work(static_cast<std::size_t>(n));
    for (int k = n - 2; k >= 0; --k) {
        for (int i = k + 1; i < n; ++i) {
            work[static_cast<std::size_t>(i)] = a(i, k);
            a(i, k) = 0.0;
        }
        for (int j = k + 1; j < n; ++j) Axpy(a, 0, n, work[static_cast<std::size_t>(j)], j, k);
        const int l = ipvt[static_cast<std::size_t>(k)] - 1;
        if (l != k)
            for (int i = 0; i < n; ++i) std::swap(a(i, k), a(i, l));
    }
}

inline int Dpofa(Matrix& a, int n)
{
    for (int j = 0; j < n; ++j) {
        double s = 0.0;
        for (int k = 0; k < j; ++k) {
            a(k, j) = (a(k, j) - Dot(a, 0, k, k, j)) / a(k, k);
            s += a(k, j) * a(k, j);
        }
        s = a(j, j) - s;
        if (s <= 0.0) return j + 1;
        a(j, j) = std::sqrt(s);
    }
    return 0;
}

inline void DpodiInverse(Matrix& a, int n)
{
    InvertUpper(a, n);
    for (int j = 0; j < n; ++j) {
        for (int k = 0; k < j; ++k) Axpy(a, 0, k + 1, a(k, j), j, k);
        const double t = a(j, j);
        for (int i = 0; i <= j; ++i) a(i, j) *= t;
    }
}

inline int Dsifa(Matrix& a, int n, std::vector<int>& kpvt)
{
    const double alpha = (1.0 + std::sqrt(17.0)) / 8.0;
    int info = 0;
    int k = n - 1;
    for (; k > 0;) {
        const double absakk = std::fabs(a(k, k));
        const int imax = Largest(a, 0, k, k);
        const double colmax = std::fabs(a(imax, k));
        int step = 1;
        bool swap = false;
        if (!(absakk >= alpha * colmax)) {
            double rowmax = 0.0;
            const auto grow = [&rowmax](double x) { rowmax = rowmax > std::fabs(x) ? rowmax : std::fabs(x); };
            for (int j = imax + 1; j <= k; ++j) grow(a(imax, j));
            if (imax > 0) grow(a(Largest(a, 0, imax, imax), imax));
            if (std::fabs(a(imax, imax)) >= alpha * rowmax) {
                swap = true;
            } else if (!(absakk >= alpha * colmax * (colmax / rowmax))) {
                step = 2;
                swap = imax != k - 1;
            }
        }
        int* const pivot = &kpvt[static_cast<std::size_t>(k)];
        if (absakk == 0.0 && colmax == 0.0) {
            *pivot = info = k + 1;
            --k;
            continue;
        }
        if (swap) {
            const int from = k - step + 1;
            for (int i = 0; i <= imax; ++i) std::swap(a(i, imax), a(i, from));
            for (int j = from; j >= imax; --j) std::swap(a(j, from), a(imax, j));
            if (step == 2) std::swap(a(k - 1, k), a(imax, k));
        }
        if (step == 1) {
            for (int j = k - 1; j >= 0; --j) {
                const double mulk = -a(j, k) / a(k, k);
                Axpy(a, 0, j + 1, mulk, k, j);
                a(j, k) = mulk;
            }
            *pivot = swap ? imax + 1 : k + 1;
        } else {
            const double ak = a(k, k) / a(k - 1, k);
            const double akm1 = a(k - 1, k - 1) / a(k - 1, k);
            const double denom = 1.0 - ak * akm1;
            for (int j = k - 2; j >= 0; --j) {
                const double bk = a(j, k) / a(k - 1, k);
                const double bkm1 = a(j, k - 1) / a(k - 1, k);
                const double mulk = (akm1 * bk - bkm1) / denom;
                const double mulkm1 = (ak * bkm1 - bk) / denom;
                Axpy(a, 0, j + 1, mulk, k, j);
                Axpy(a, 0, j + 1, mulkm1, k - 1, j);
                a(j, k) = mulk;
                a(j, k - 1) = mulkm1;
            }
            pivot[0] = pivot[-1] = swap ? -(imax + 1) : -k;
        }
        k -= step;
    }
    if (k == 0) {
        kpvt[0] = 1;
        if (a(0, 0) == 0.0) info = 1;
    }
    return info;
}

inline double Norm(Matrix& a, int first, int last, int j)
{
    if (last - first < 1) return 0.0;
    if (last - first == 1) return std::fabs(a(first, j));
    double scale = 0.0, ssq = 1.0;
    for (int i = first; i < last; ++i) {
        const double v = std::fabs(a(i, j));
        if (v == 0.0) continue;
        if (scale < v) {
            ssq = 1.0 + ssq * ((scale / v) * (scale / v));
            scale = v;
        } else {
            ssq += (v / scale) * (v / scale);
        }
    }
    return scale * std::sqrt(ssq);
}

/// Every column is free to be pivoted when pivot is true.
inline void Dqrdc(Matrix& x, int n, int p, std::vector<double>& qraux, std::vector<int>& jpvt, bool pivot)
{
    std::vector<double> work(qraux.size());
    const auto at = [](int j) { return static_cast<std::size_t>(j); };
    for (int j = 0; pivot && j < p; ++j) {
        jpvt[at(j)] = j + 1;
        qraux[at(j)] = work[at(j)] = Norm(x, 0, n, j);
    }
    for (int l = 0; l < std::min(n, p); ++l) {
        if (pivot) {
            int maxj = l;
            double maxnrm = 0.0;
            for (int j = l; j < p; ++j)
                if (qraux[at(j)] > maxnrm) {
                    maxnrm = qraux[at(j)];
                    maxj = j;
                }
            if (maxj != l) {
                for (int i = 0; i < n; ++i) std::swap(x(i, l), x(i, maxj));
                qraux[at(maxj)] = qraux[at(l)];
                work[at(maxj)] = work[at(l)];
                std::swap(jpvt[at(maxj)], jpvt[at(l)]);
            }
        }
        qraux[at(l)] = 0.0;
        if (l == n - 1) break;
        double nrmxl = Norm(x, l, n, l);
        if (nrmxl == 0.0) continue;
        if (x(l, l) != 0.0) nrmxl = std::copysign(nrmxl, x(l, l));
        const double r = 1.0 / nrmxl;
        for (int i = l; i < n; ++i) x(i, l) *= r;
        x(l, l) += 1.0;
        for (int j = l + 1; j < p; ++j) {
            Axpy(x, l, n, -Dot(x, l, n, l, j) / x(l, l), l, j);
            if (!pivot || qraux[at(j)] == 0.0) continue;
            const double share = std::fabs(x(l, j)) / qraux[at(j)];
            const double t = std::max(1.0 - share * share, 0.0);
            const double ratio = qraux[at(j)] / work[at(j)];
            if (1.0 + 0.05 * t * (ratio * ratio) != 1.0)
                qraux[at(j)] *= std::sqrt(t);
            else
                qraux[at(j)] = work[at(j)] = Norm(x, l + 1, n, j);
        }
        qraux[at(l)] = x(l, l);
        x(l, l) = -nrmxl;
    }
}

} // namespace Plain
