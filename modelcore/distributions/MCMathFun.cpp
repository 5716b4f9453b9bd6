// MCMathFun: exponentials and logarithms, digamma and trigamma, interval search, extreme values, vector kernels.
#include "modelcore/distributions/MCMathFun.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/MCPower.h"
#include "modelcore/distributions/internal/PortableMath.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>

namespace MCMath_930 {

using MCCommon_930::MCMV;

namespace {

/// The derivative of ln Gamma is refused up to here.
constexpr double kLeastArgument = 1e-16;

/// The asymptotic series are used 10 to the right of the argument.
constexpr int kShift = 10;

template <class T>
int FindInterval(const std::vector<T>& v, int lo, int hi, T x, bool leftClosed)
{
    if (lo < 0 || lo > hi || static_cast<std::size_t>(hi) >= v.size()) return -2;
    const auto bound = [&](int i) { return v[static_cast<std::size_t>(i)]; };
    if (!(x <= bound(hi)) || (x == bound(hi) && leftClosed)) return -1; // NaN lies nowhere
    if (lo > 0 && (bound(lo - 1) > x || (bound(lo - 1) == x && !leftClosed))) return -1;
    if (lo == hi) return lo;
    int first = lo;
    int last = hi - 1;
    while (first <= last) {
        const int m = first + (last - first) / 2;
        if (bound(m) == x) return leftClosed ? m + 1 : m;
        if (bound(m) < x)
            first = m + 1;
        else
            last = m - 1;
    }
    return first;
}

void Rank(double value, double& first, double& second)
{
    if (value > first) {
        second = first;
        first = value;
    } else if (value > second) {
        second = value;
    }
}

/// True when n elements from start, inc apart, lie in a vector of the given size.
bool Reaches(int n, int start, int inc, std::size_t size)
{
    const std::int64_t last = start + static_cast<std::int64_t>(n - 1) * inc;
    const std::int64_t low = std::min<std::int64_t>(start, last);
    const std::int64_t high = std::max<std::int64_t>(start, last);
    return n >= 1 && low >= 0 && static_cast<std::uint64_t>(high) < size;
}

std::size_t At(int start, int inc, int i)
{
    return static_cast<std::size_t>(start + static_cast<std::int64_t>(i) * inc);
}

std::size_t Packed(std::size_t i, std::size_t j)
{
    return i >= j ? i * (i + 1) / 2 + j : j * (j + 1) / 2 + i;
}

} // namespace

double MCMathFun::Exp(double x)
{
    return internal::PortableExp(x);
}

double MCMathFun::ExpMinusOne(double x)
{
    return internal::PortableExpMinusOne(x);
}

double MCMathFun::Log(double x)
{
    return internal::PortableLog(x);
}

double MCMathFun::LogOnePlus(double x)
{
    return internal::PortableLogOnePlus(x);
}

double MCMathFun::Digamma(double x)
{
    constexpr double kEuler = 0.5772156649015329;
    if (x <= kLeastArgument) return MCMV::Missing();
    if (x < 1e-5) return -kEuler - 1.0 / x;
    if (std::isinf(x)) return x;
    const double z = x + kShift;
    const double w = 1.0 / (z * z);
    const double series =
        w * (0.08333333333333333 -
             w * (0.008333333333333333 -
                  w * (0.003968253968253968 -
                       w * (0.004166666666666667 - w * (0.007575757575757576 - w * 0.021092796092796094)))));
    // The terms 1/(z - k), from x itself: z has lost the last digits of a small x.
    double psi = internal::PortableLog(z) - 0.5 / z - series;
    for (int k = 1; k <= kShift; ++k) psi -= 1.0 / (x + (kShift - k));
    return psi;
}

double MCMathFun::Trigamma(double x)
{
    if (x <= kLeastArgument) return MCMV::Missing();
    if (x < 1e-4) return 1.0 / (x * x);
    const double z = x + kShift;
    const double w = 1.0 / (z * z);
    const double series =
        1.0 + w * (0.16666666666666666 -
                   w * (0.03333333333333333 -
                        w * (0.023809523809523808 -
                             w * (0.03333333333333333 - w * (0.07575757575757576 - w * 0.2531135531135531)))));
    double psi = series / z + w / 2.0;
    for (int k = 1; k <= kShift; ++k) psi += 1.0 / ((x + (kShift - k)) * (x + (kShift - k)));
    return psi;
}

int MCMathFun::BinSearch(const std::vector<double>& v, int lo, int hi, double x, bool leftClosed)
{
    return FindInterval(v, lo, hi, x, leftClosed);
}

int MCMathFun::BinSearch(const std::vector<int>& v, int lo, int hi, int x, bool leftClosed)
{
    return FindInterval(v, lo, hi, x, leftClosed);
}

void MCMathFun::FindTwoLargest(const std::vector<double>& v, double& first, double& second)
{
    first = second = MCMV::Missing();
    if (v.empty()) return;
    first = v[0];
    if (v.size() == 1) return;
    second = v[1];
    if (second > first) std::swap(first, second);
    for (std::size_t i = 2; i < v.size(); ++i) Rank(v[i], first, second);
}

void MCMathFun::FindTwoLargestNonMiss(const std::vector<double>& v, double& first, double& second)
{
    std::vector<double> present;
    present.reserve(v.size());
    std::copy_if(v.begin(), v.end(), std::back_inserter(present), [](double x) { return !MCMV::IsMissing(x); });
    FindTwoLargest(present, first, second);
}

bool MCMathFun::IsValidDouble(double x)
{
    return std::fabs(x) <= std::numeric_limits<double>::max();
}

bool MCMathFun::QLReps(double a, double b)
{
    return b > 0.0 && std::fabs(a) < b * MCPower::gMachineEpsilon;
}

double MCMathFun::ReplaceIfSmall(double x, double eps)
{
    if (std::fabs(x) >= eps) return x;
    return x < 0.0 ? -eps : eps;
}

double MCMathFun::VMaxRelDiff(const std::vector<double>& a, const std::vector<double>& b, double t)
{
    const double floor = t == 0.0 ? 1e-6 : std::fabs(t);
    double largest = 0.0;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        largest = std::max(largest, std::fabs(a[i] - b[i]) / (std::fabs(b[i]) + floor));
    return largest;
}

double MCMathFun::VNrm1Diff(const std::vector<double>& a, const std::vector<double>& b)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) sum += std::fabs(a[i] - b[i]);
    return sum;
}

void MCMathFun::LRZero(std::vector<double>& v, int start, int n)
{
    DLoad(n, 0.0, v, start, 1);
}

double MCMathFun::DASum(int n, const std::vector<double>& x, int start, int inc)
{
    if (inc < 1 || !Reaches(n, start, inc, x.size())) return 0.0;
    double sum = 0.0;
    for (int i = 0; i < n; ++i) sum += std::fabs(x[At(start, inc, i)]);
    return sum;
}

double MCMathFun::DSum(int n, const std::vector<double>& x, int start)
{
    if (!Reaches(n, start, 1, x.size())) return 0.0;
    double sum = 0.0;
    for (int i = 0; i < n; ++i) sum += x[At(start, 1, i)];
    return sum;
}

double MCMathFun::DNrm2(int n, const std::vector<double>& x, int start, int inc)
{
    if (inc < 1 || !Reaches(n, start, inc, x.size())) return 0.0;
    double scale = 0.0;
    double sum = 1.0; // of squares over scale^2
    for (int i = 0; i < n; ++i) {
        const double magnitude = std::fabs(x[At(start, inc, i)]);
        if (magnitude == 0.0) continue;
        if (std::isinf(magnitude)) return magnitude;
        if (scale < magnitude) {
            sum = 1.0 + sum * (scale / magnitude) * (scale / magnitude);
            scale = magnitude;
        } else {
            sum += (magnitude / scale) * (magnitude / scale);
        }
    }
    return scale * std::sqrt(sum);
}

double MCMathFun::DDot(int n, const std::vector<double>& x, int startx, int incx, const std::vector<double>& y,
                       int starty, int incy)
{
    return incx < 1 || incy < 1 ? 0.0 : IIDot(n, x, startx, incx, y, starty, incy);
}

void MCMathFun::DLoad(int n, double a, std::vector<double>& x, int start, int inc)
{
    if (inc >= 1) IIInit(n, a, x, start, inc);
}

void MCMathFun::DScal(int n, double a, std::vector<double>& x, int start, int inc)
{
    if (inc >= 1) IIScal(n, a, x, start, inc);
}

void MCMathFun::Daxpy(int n, double a, const std::vector<double>& x, int startx, int incx, std::vector<double>& y,
                      int starty, int incy)
{
    if (incx >= 1 && incy >= 1) IIAxpy(n, a, x, startx, incx, y, starty, incy);
}

void MCMathFun::IIAxpy(int n, double a, const std::vector<double>& x, int startx, int incx, std::vector<double>& y,
                       int starty, int incy)
{
    if (!Reaches(n, startx, incx, x.size()) || !Reaches(n, starty, incy, y.size())) return;
    for (int i = 0; i < n; ++i) y[At(starty, incy, i)] += a * x[At(startx, incx, i)];
}

double MCMathFun::IIDot(int n, const std::vector<double>& x, int startx, int incx, const std::vector<double>& y,
                        int starty, int incy)
{
    if (!Reaches(n, startx, incx, x.size()) || !Reaches(n, starty, incy, y.size())) return 0.0;
    double sum = 0.0;
    for (int i = 0; i < n; ++i) sum += x[At(startx, incx, i)] * y[At(starty, incy, i)];
    return sum;
}

void MCMathFun::IIInit(int n, double a, std::vector<double>& x, int start, int inc)
{
    if (!Reaches(n, start, inc, x.size())) return;
    for (int i = 0; i < n; ++i) x[At(start, inc, i)] = a;
}

void MCMathFun::IIScal(int n, double a, std::vector<double>& x, int start, int inc)
{
    if (!Reaches(n, start, inc, x.size())) return;
    for (int i = 0; i < n; ++i) x[At(start, inc, i)] *= a;
}

double MCMathFun::VSV(const std::vector<double>& v, const std::vector<double>& s)
{
    if (s.size() != v.size() * (v.size() + 1) / 2) return MCMV::Missing();
    double sum = 0.0;
    for (std::size_t i = 0; i < v.size(); ++i) {
        double row = 0.0;
        for (std::size_t j = 0; j < i; ++j) row += s[Packed(i, j)] * v[j];
        sum += v[i] * (2.0 * row + s[Packed(i, i)] * v[i]);
    }
    return sum;
}

bool MCMathFun::RVD(const std::vector<double>& v, const std::vector<double>& d, std::vector<double>& result)
{
    if (v.size() != d.size()) return false;
    std::vector<double> product(v.size());
    std::transform(v.begin(), v.end(), d.begin(), product.begin(), [](double a, double b) { return a * b; });
    result.swap(product);
    return true;
}

bool MCMathFun::LTGltl(int n, const std::vector<double>& l, const std::vector<double>& g, std::vector<double>& result)
{
    if (n < 1) return false;
    const auto order = static_cast<std::size_t>(n);
    const std::size_t count = order * (order + 1) / 2;
    if (l.size() != count || g.size() != count) return false;
    std::vector<double> product(count);
    std::vector<double> column(order); // G times column j of L
    for (std::size_t j = 0; j < order; ++j) {
        for (std::size_t i = 0; i < order; ++i) {
            column[i] = 0.0;
            for (std::size_t k = j; k < order; ++k) column[i] += g[Packed(i, k)] * l[Packed(k, j)];
        }
        for (std::size_t i = j; i < order; ++i)
            for (std::size_t k = i; k < order; ++k) product[Packed(i, j)] += l[Packed(k, i)] * column[k];
    }
    result.swap(product);
    return true;
}

} // namespace MCMath_930
