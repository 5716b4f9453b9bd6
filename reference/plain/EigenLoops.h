// Plain transcription of the published eigenvalue loops, the definition that the library's must equal bit for bit.
#pragma once

#include <cmath>
#include <cstddef>
#include <span>
#include <vector>

namespace Plain {

/// The published loops, tred3, imtql2 and trbak3, as they are printed: one element at a time.
struct Eigen {
    int n;
    int sweeps;
    std::vector<double> a, diagonal, subdiagonal, z; // z by columns
    double* d;
    double* e;

    /// @param packed  the lower triangle row by row
    /// @param sweeps  for each eigenvalue at most
    Eigen(int order, std::span<const double> packed, double tolerance, int sweepsAtMost)
        : n(order), sweeps(sweepsAtMost), a(packed.begin(), packed.end()), diagonal(std::size_t(n)),
          subdiagonal(std::size_t(n)), z(std::size_t(n * n)), d(diagonal.data()), e(subdiagonal.data())
    {
        for (int i = 0; i < n; ++i) Z(i, i) = 1.0;
        Reduce();
        Iterate(tolerance);
        TransformBack();
    }

    double& A(int i, int j) { return a[std::size_t(i * (i + 1) / 2 + j)]; }
    double& Z(int i, int j) { return z[std::size_t(j * n + i)]; }

    void Reduce()
    {
        for (int i = n - 1; i >= 0; --i) {
            double h = 0.0, scale = 0.0;
            for (int k = 0; k < i; ++k) scale += std::fabs(d[k] = A(i, k));
            if (scale == 0.0) {
                e[i] = 0.0;
            } else {
                for (int k = 0; k < i; ++k) {
                    d[k] /= scale;
                    h += d[k] * d[k];
                }
                double f = d[i - 1], g = f >= 0.0 ? -std::sqrt(h) : std::sqrt(h);
                e[i] = scale * g;
                h -= f * g;
                d[i - 1] = f - g;
                A(i, i - 1) = scale * d[i - 1];
                if (i > 1) {
                    for (int j = 0; j < i; ++j) {
                        f = d[j];
                        g = 0.0;
                        for (int k = 0; k < j; ++k) {
                            g += A(j, k) * d[k];
                            e[k] += A(j, k) * f;
                        }
                        e[j] = g + A(j, j) * f;
                    }
                    f = 0.0;
                    for (int j = 0; j < i; ++j) {
                        e[j] /= h;
                        f += e[j] * d[j];
                    }
                    const double hh = f / (h + h);
                    for (int j = 0; j < i; ++j) e[j] -= hh * d[j];
                    for (int j = 0; j < i; ++j)
                        for (int k = 0; k <= j; ++k) A(j, k) = A(j, k) - d[j] * e[k] - e[j] * d[k];
                }
            }
            d[i] = A(i, i);
            A(i, i) = scale * std::sqrt(h);
        }
    }

    void Iterate(double tolerance)
    {
        for (int i = 1; i < n; ++i) e[i - 1] = e[i];
        e[n - 1] = 0.0;
        for (int l = 0; l < n; ++l)
            for (int iteration = 0; iteration < sweeps; ++iteration) {
                int m = l;
                while (m < n - 1 && std::fabs(e[m]) > tolerance * (std::fabs(d[m]) + std::fabs(d[m + 1]))) ++m;
                if (m == l) break;
                double g = (d[l + 1] - d[l]) / (2.0 * e[l]), r = std::sqrt(g * g + 1.0), s = 1.0, c = 1.0, p = 0.0;
                g = d[m] - d[l] + e[l] / (g >= 0.0 ? g + r : g - r);
                for (int i = m - 1; i >= l; --i) {
                    double f = s * e[i];
                    const double b = c * e[i];
                    e[i + 1] = r = std::sqrt(f * f + g * g);
                    s = f / r;
                    c = g / r;
                    g = d[i + 1] - p;
                    r = (d[i] - g) * s + 2.0 * c * b;
                    p = s * r;
                    d[i + 1] = g + p;
                    g = c * r - b;
                    for (int k = 0; k < n; ++k) {
                        f = Z(k, i + 1);
                        Z(k, i + 1) = s * Z(k, i) + c * f;
                        Z(k, i) = c * Z(k, i) - s * f;
                    }
                }
                d[l] -= p;
                e[l] = g;
                e[m] = 0.0;
            }
    }

    void TransformBack()
    {
        for (int i = 1; i < n; ++i) {
            const double h = A(i, i);
            for (int j = 0; h != 0.0 && j < n; ++j) {
                double s = 0.0;
                for (int k = 0; k < i; ++k) s += A(i, k) * Z(k, j);
                s = s / h / h;
                for (int k = 0; s != 0.0 && k < i; ++k) Z(k, j) -= s * A(i, k);
            }
        }
    }
};

} // namespace Plain
