// MCEigenValues: reduction to tridiagonal form, implicit QL iteration, transformation of the vectors back.
#include "modelcore/eigen/MCEigenValues.h"

#include "modelcore/eigen/internal/DivideAndConquer.h"
#include "modelcore/eigen/internal/RowReflections.h"
#include "modelcore/kernels/AlignedDoubles.h"
#include "modelcore/kernels/Kernels.h"
#include "modelcore/kernels/RotationSweeps.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <new>

namespace MCMath_930 {

using internal::kStripWidth;

namespace {

std::size_t Size(int count)
{
    return static_cast<std::size_t>(count);
}

/// |magnitude| with the sign of x, where a negative zero counts as positive.
double WithSignOf(double magnitude, double x)
{
    return x >= 0.0 ? magnitude : -magnitude;
}

internal::AlignedDoubles MakeScratch(std::size_t count)
{
    internal::AlignedDoubles memory = internal::MakeAlignedDoubles(count);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

/// The square root of f*f + g*g; scaled by a power of two where the squares would leave the range of a double.
double Hypotenuse(double f, double g)
{
    constexpr double kSmall = 0x1p-960;
    constexpr double kLarge = 0x1p1020;
    const double sum = f * f + g * g;
    if (sum > kSmall && sum < kLarge) return std::sqrt(sum);
    if (sum >= kLarge) return 0x1p600 * std::sqrt(f * 0x1p-600 * (f * 0x1p-600) + g * 0x1p-600 * (g * 0x1p-600));
    return 0x1p-600 * std::sqrt(f * 0x1p600 * (f * 0x1p600) + g * 0x1p600 * (g * 0x1p600)); // a NaN stays one
}

/// A row whose magnitudes add up to less counts as 0: its reflection, which is stored times this sum, would lose digits.
/// After ScaleProblem that is below 2^-168 of the largest element.
constexpr double kNegligible = 0x1p-968;

/// What the rotations of the QL iteration do when only eigenvalues are wanted.
struct NoVectors {
    void StartSweep(int) {}
    void Rotate(double, double) {}
};

/// The eigenvectors of the tridiagonal matrix while rotations go over them: strips of kStripWidth rows, each stored
/// column by column, the last column first, because a sweep runs from the last of its columns to the first.
class VectorStrips {
public:
    explicit VectorStrips(int n)
        : fn(n), fStrips((n + kStripWidth - 1) / kStripWidth), fSweeps(n),
          fMemory(MakeScratch(Size(fStrips) * Length()))
    {
        if (!fSweeps) throw std::bad_alloc();
        std::fill_n(fMemory.get(), Size(fStrips) * Length(), 0.0);
        for (int i = 0; i < n; ++i) *At(i, i) = 1.0;
    }

    /// Begins the sweep whose first rotation is that of columns m - 1 and m.
    void StartSweep(int m)
    {
        if (fSweeps.IsFull()) Flush();
        fSweeps.Start(fn - 1 - m);
    }

    void Rotate(double c, double s) { fSweeps.Add(c, s); }

    /// Writes the rows, n values each, into a row-major array.
    void Finish(double* rows)
    {
        Flush();
        for (int i0 = 0; i0 < fn; i0 += kStripWidth)
            for (int j0 = 0; j0 < fn; j0 += kStripWidth) // squares that stay in cache
                for (int i = i0; i < std::min(fn, i0 + kStripWidth); ++i)
                    for (int j = j0; j < std::min(fn, j0 + kStripWidth); ++j)
                        rows[Size(i) * Size(fn) + Size(j)] = *At(i, j);
    }

private:
    std::size_t Length() const { return Size(fn) * kStripWidth; }
    double* At(int i, int j) const
    {
        return fMemory.get() + Size(i / kStripWidth) * Length() + Size((fn - 1 - j) * kStripWidth + i % kStripWidth);
    }

    void Flush()
    {
        for (int strip = 0; strip < fStrips; ++strip) fSweeps.ApplyTo(fMemory.get() + Size(strip) * Length());
        fSweeps.Clear();
    }

    int fn;
    int fStrips;
    internal::RotationSweeps fSweeps;
    internal::AlignedDoubles fMemory;
};

/// Strips of kStripWidth eigenvectors, row by row, that stay in cache while all reflections go over them: each pass
/// applies one and forms the dot products of the next.
class BackTransformation {
public:
    /// @param reflections  what Tred3 left
    BackTransformation(const MCSymMatrix& reflections, MCRectMatrix& vectors)
        : fReflections(reflections), fVectors(vectors), fn(vectors.GetNRows()),
          fStrip(MakeScratch(Size(fn) * kStripWidth))
    {}

    void Run()
    {
        for (int column = 0; column < fn; column += kStripWidth) {
            const int width = std::min(kStripWidth, fn - column);
            for (int i = 0; i < fn; ++i) { // columns beyond the last repeat it
                std::copy_n(fVectors.GetRowPtr(i) + column, width, Row(i));
                std::fill(Row(i) + width, Row(i) + kStripWidth, Row(i)[width - 1]);
            }
            ReflectAll();
            for (int i = 0; i < fn; ++i) std::copy_n(Row(i), width, fVectors.GetRowPtr(i) + column);
        }
    }

private:
    double* Row(int i) const { return fStrip.get() + Size(i) * kStripWidth; }

    void ReflectAll()
    {
        const double* v = nullptr; // the reflection to apply next, of rows 0 .. rows-1
        int rows = 0;
        double factors[kStripWidth] = {};
        for (int i = 1; i < fn; ++i) {
            const double* const next = fReflections.GetRowPtr(i);
            const double h = next[i];
            if (h == 0.0) continue;
            double dots[kStripWidth] = {};
            Apply(v, rows, factors, next, dots);
            internal::ReflectStrip(Row(rows), kStripWidth, nullptr, nullptr, next + rows, dots, Size(i - rows));
            for (int j = 0; j < kStripWidth; ++j) factors[j] = -(dots[j] / h / h); // h*h might underflow
            v = next;
            rows = i;
        }
        Apply(v, rows, factors, nullptr, nullptr);
    }

    /// Applies v to its rows and adds them up for the dot products with the next reflection.
    void Apply(const double* v, int rows, const double* factors, const double* next, double* dots)
    {
        if (v == nullptr) return;
        if (std::find(factors, factors + kStripWidth, 0.0) != factors + kStripWidth) {
            // Daxpy leaves a column alone when its factor is 0; adding zeros could change the sign of a zero.
            for (int j = 0; j < kStripWidth; ++j)
                for (int i = 0; factors[j] != 0.0 && i < rows; ++i) Row(i)[j] += factors[j] * v[i];
            v = nullptr;
        }
        if (v != nullptr || next != nullptr)
            internal::ReflectStrip(Row(0), kStripWidth, v, factors, next, dots, Size(rows));
    }

    const MCSymMatrix& fReflections;
    MCRectMatrix& fVectors;
    int fn;
    internal::AlignedDoubles fStrip;
};

} // namespace

void MCEigenValues::TriDiag()
{
    fmOrthInfo = IsValidEMatrix() ? fmVHV : fmH;
    ScaleProblem();
    Tred3();
    if (!fComputeVectors) fmOrthInfo = MCSymMatrix();
}

/// Brings the elements away from the ends of the range, where the tests of the iteration would overflow and the
/// reflections lose their digits. Every other matrix is left alone, and its results keep their bits.
void MCEigenValues::ScaleProblem()
{
    constexpr double kLargest = 0x1p980;
    constexpr double kSmallestOfAll = 0x1p-800;
    constexpr int kTarget = 900; // exponent of the largest element: room for elements far below it
    fnScaledBy = 0;
    double largest = 0.0;
    double smallest = kLargest;
    for (const double element : fmOrthInfo.AsSpan()) {
        const double magnitude = std::fabs(element);
        largest = std::max(largest, magnitude);
        if (magnitude > 0.0) smallest = std::min(smallest, magnitude);
    }
    if (largest == 0.0 || std::isinf(largest)) return;
    if (largest <= kLargest && largest >= kSmallestOfAll && smallest >= kNegligible) return;
    fnScaledBy = kTarget - std::ilogb(largest);
    for (double& element : fmOrthInfo.AsSpan()) element = std::scalbn(element, fnScaledBy);
}

void MCEigenValues::UnscaleValues()
{
    if (fnScaledBy == 0) return;
    for (std::vector<double>* const numbers : {&fvDiag3, &fvSubdiag3})
        for (double& number : *numbers) number = std::scalbn(number, -fnScaledBy);
}

// tred3 of 1983. The update of the matrix that ends the step for one row waits for the product that begins the step for
// the next, so that each step goes over the matrix once.
void MCEigenValues::Tred3()
{
    const std::size_t n = Size(fnRows);
    fvDiag3.assign(n, 0.0);
    fvSubdiag3.assign(n, 0.0);
    std::vector<double> u(n), q(n); // the update that waits
    std::vector<double> v(n), p(n); // the reflection of this row
    bool waits = false;
    for (int i = fnRows - 1; i >= 0; --i) {
        const std::size_t l = Size(i);
        double* const row = fmOrthInfo.GetRowPtr(i);
        if (waits) {
            internal::AddScaled(row, -u[l], q.data(), l + 1);
            internal::AddScaled(row, -q[l], u.data(), l + 1);
        }
        double scale = 0.0;
        for (std::size_t k = 0; k < l; ++k) scale += std::fabs(row[k]);
        if (scale < kNegligible) scale = 0.0;
        double h = 0.0;
        bool reflected = false;
        if (scale != 0.0) {
            for (std::size_t k = 0; k < l; ++k) v[k] = row[k] / scale;
            for (std::size_t k = 0; k < l; ++k) h += v[k] * v[k];
            const double f = v[l - 1];
            const double g = -WithSignOf(std::sqrt(h), f);
            fvSubdiag3[l] = scale * g;
            h -= f * g;
            v[l - 1] = f - g;
            row[l - 1] = scale * v[l - 1];
            reflected = l > 1;
        }
        if (reflected) {
            double* const rest = fmOrthInfo.GetPtr();
            if (waits)
                internal::UpdateAndMultiply(rest, l, u.data(), q.data(), v.data(), p.data());
            else
                internal::MultiplyPacked(rest, l, v.data(), p.data());
            for (std::size_t j = 0; j < l; ++j) p[j] /= h;
            double sum = 0.0;
            for (std::size_t j = 0; j < l; ++j) sum += p[j] * v[j];
            internal::AddScaled(p.data(), -(sum / (h + h)), v.data(), l);
            u.swap(v);
            q.swap(p);
        } else if (waits) {
            internal::UpdateAndMultiply(fmOrthInfo.GetPtr(), l, u.data(), q.data(), nullptr, nullptr);
        }
        waits = reflected;
        fvDiag3[l] = row[l];
        row[l] = scale * std::sqrt(h);
    }
}

/// The first m >= l whose subdiagonal element is negligible; -1 when there is none, which takes a NaN on the diagonal.
int MCEigenValues::FindSplit(int l) const
{
    const double* const d = fvDiag3.data();
    const double* const e = fvSubdiag3.data();
    const int last = fnRows - 1;
    for (int m = l; m < last; ++m)
        if (std::fabs(e[m]) <= fTolerance * (std::fabs(d[m]) + std::fabs(d[m + 1]))) return m;
    return std::fabs(e[last]) <= fTolerance * std::fabs(d[last]) ? last : -1;
}

/// One sweep on rows l..m. It ends early when an element underflows to 0, which splits the matrix at another place.
template <class Vectors>
void MCEigenValues::SweepQL(int l, int m, Vectors& vectors)
{
    double* const d = fvDiag3.data();
    double* const e = fvSubdiag3.data();
    double g = (d[l + 1] - d[l]) / (2.0 * e[l]);
    g = d[m] - d[l] + e[l] / (g + WithSignOf(std::sqrt(g * g + 1.0), g));
    double s = 1.0;
    double c = 1.0;
    double p = 0.0;
    vectors.StartSweep(m);
    for (int i = m - 1; i >= l; --i) {
        const double f = s * e[i];
        const double b = c * e[i];
        const double r = Hypotenuse(f, g);
        e[i + 1] = r;
        if (r == 0.0) {
            d[i + 1] -= p;
            e[m] = 0.0;
            return;
        }
        s = f / r;
        c = g / r;
        g = d[i + 1] - p;
        const double t = (d[i] - g) * s + 2.0 * c * b;
        p = s * t;
        d[i + 1] = g + p;
        g = c * t - b;
        vectors.Rotate(c, s);
    }
    d[l] -= p;
    e[l] = g;
    e[m] = 0.0;
}

template <class Vectors>
int MCEigenValues::IterateQL(Vectors& vectors)
{
    for (int l = 0; l < fnRows; ++l)
        for (int iterations = 0;; ++iterations) {
            const int m = FindSplit(l);
            if (m == l) break;
            if (m < 0 || iterations == fnMaxIter) return l + 1;
            SweepQL(l, m, vectors);
        }
    return 0;
}

/// The implicit QL iteration; the eigenvalues replace the diagonal.
/// @return  0, or l + 1 when eigenvalue l did not converge
int MCEigenValues::EigenValuesTQLI()
{
    if (fnRows > 0) {
        std::shift_left(fvSubdiag3.begin(), fvSubdiag3.end(), 1);
        fvSubdiag3.back() = 0.0;
    }
    if (!fComputeVectors) {
        NoVectors none;
        return IterateQL(none);
    }
    VectorStrips vectors(fnRows);
    const int result = IterateQL(vectors);
    fmEigenVectors.ResizeNRowsCols(fnRows, fnRows);
    vectors.Finish(fmEigenVectors.GetPtr());
    return result;
}

/// The eigenvalues, ascending, replace the diagonal; the vectors, if wanted, are those of the matrix before its reduction.
/// @return  false, and nothing changed, for order 0 and for a matrix with elements that are not finite
bool MCEigenValues::DivideAndConquer()
{
    const int n = fnRows;
    double largest = 0.0;
    for (const std::vector<double>* const numbers : {&fvDiag3, &fvSubdiag3})
        for (const double number : *numbers) {
            if (!std::isfinite(number)) return false;
            largest = std::max(largest, std::fabs(number));
        }
    if (n < 1) return false;
    MCRectMatrix vectors;
    if (fComputeVectors) vectors = MCRectMatrix(n, n);
    std::vector<double> d(fvDiag3), e(fvSubdiag3.begin() + 1, fvSubdiag3.end());
    const int scaledBy = largest > 0.0 ? -std::ilogb(largest) : 0;
    for (std::vector<double>* const numbers : {&d, &e})
        for (double& number : *numbers) number = std::scalbn(number, scaledBy);
    internal::DecomposeTridiagonal(n, d.data(), e.data(), fComputeVectors ? vectors.GetPtr() : nullptr);
    for (double& value : d) value = std::scalbn(value, -scaledBy);
    fvDiag3 = std::move(d);
    if (!fComputeVectors) return true;

    // The reflections as Tred3 left them, from the first row on, each of length sqrt(2) times its last number.
    internal::RowReflections reflections(n, n);
    for (int i = 1; i < n;) {
        const int first = i;
        const int last = std::min(n, first + internal::RowReflections::kBlock);
        for (; i < last; ++i) {
            const double* const row = fmOrthInfo.GetRowPtr(i);
            double* const v = reflections.Vector(i - first);
            for (int k = 0; k < i; ++k) v[k] = row[i] != 0.0 ? row[k] / row[i] : 0.0;
            std::fill(v + i, v + last - 1, 0.0);
        }
        reflections.Apply(vectors.GetPtr(), n, n, 0, last - 1, last - first);
    }
    vectors.Transpose();
    fmEigenVectors = std::move(vectors);
    return true;
}

// trbak3. It takes the reflections from the first row on: the reflection made last is applied first.
void MCEigenValues::BackTransVectors()
{
    if (fnRows >= 2) BackTransformation(fmOrthInfo, fmEigenVectors).Run();
}

} // namespace MCMath_930
