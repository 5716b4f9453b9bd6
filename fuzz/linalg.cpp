// LINPACK with n from 0 to 12 in arrays of exactly the size that is asked for, eigenvalues and integrals: no access
// outside, no hang; where a matrix is far from singular, what is solved solves.
#include "Input.h"

#include "modelcore/modelcore.h"

using namespace MCMath_930;

namespace {

using Array = std::vector<double>;

std::size_t Size(int rows, int cols)
{
    return static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols);
}

/// Numbers of a few bits, or now and then anything.
struct Matrix {
    Matrix(Input& input, int rows, int cols) : elements(Size(rows, cols)), lda(rows)
    {
        const bool isAwkward = input.Int(0, 3) == 0;
        for (double& x : elements) x = isAwkward ? input.Real() : input.Small();
    }
    double operator()(int i, int j) const { return elements[static_cast<std::size_t>(i) + Size(lda, j)]; }
    bool IsSmall() const
    {
        return std::all_of(elements.begin(), elements.end(), [](double x) { return std::fabs(x) <= 32.0; });
    }

    Array elements;
    int lda;
};

/// |A x - b| is small beside what the rounding of a solution by a condition of 1e8 can be.
void RequireSolved(const Matrix& a, int n, bool symmetric, const Array& x, const Array& b)
{
    for (int i = 0; i < n; ++i) {
        double residual = -b[static_cast<std::size_t>(i)], size = 1.0;
        for (int j = 0; j < n; ++j) {
            const double term =
                a(symmetric ? std::min(i, j) : i, symmetric ? std::max(i, j) : j) * x[static_cast<std::size_t>(j)];
            residual += term;
            size += std::fabs(term);
        }
        REQUIRE(std::fabs(residual) <= 1e-6 * size);
    }
}

void General(Input& input, int n)
{
    const Matrix a(input, n, n);
    Array f(a.elements), z(static_cast<std::size_t>(n)), b(z), work(z), det(2);
    std::vector<int> pivots(z.size());
    for (double& x : b) x = input.Small();
    Array x(b);
    const double rcond = Linpack::Dgeco(f.data(), n, n, pivots.data(), z.data());
    const bool isGood = a.IsSmall() && rcond > 1e-8;
    if (isGood) {
        Linpack::Dgesl(f.data(), n, n, pivots.data(), x.data(), 0);
        RequireSolved(a, n, false, x, b);
    }
    Array same(a.elements);
    REQUIRE(Linpack::Dgefa(same.data(), n, n, pivots.data()) >= 0);
    Linpack::Dgesl(f.data(), n, n, pivots.data(), x.data(), 1);
    Linpack::Dgedi(f.data(), n, n, pivots.data(), det.data(), work.data(), 11);
    const int ml = n > 0 ? input.Int(0, n - 1) : 0, mu = n > 0 ? input.Int(0, n - 1) : 0;
    Matrix band(input, 2 * ml + mu + 1, n);
    Linpack::Dgbco(band.elements.data(), band.lda, n, ml, mu, pivots.data(), z.data());
    Linpack::Dgbsl(band.elements.data(), band.lda, n, ml, mu, pivots.data(), b.data(), input.Int(0, 1));
    Linpack::Dgbdi(band.elements.data(), band.lda, n, ml, mu, pivots.data(), det.data());
    if (n > 0) Linpack::Dgtsl(n, x.data(), z.data(), work.data(), b.data());
}

void Symmetric(Input& input, int n)
{
    const Matrix a(input, n, n);
    Array z(static_cast<std::size_t>(n)), work(z), b(z), det(2), packed;
    std::vector<int> pivots(z.size()), inertia(3);
    for (double& x : b) x = input.Small();
    for (int j = 0; j < n; ++j)
        for (int i = 0; i <= j; ++i) packed.push_back(a(i, j));
    Array f(a.elements), p(packed), x(b);
    const double rcond = Linpack::Dsico(f.data(), n, n, pivots.data(), z.data());
    REQUIRE(SameBits(rcond, Linpack::Dspco(p.data(), n, pivots.data(), z.data())) || std::isnan(rcond));
    if (a.IsSmall() && rcond > 1e-8) {
        Linpack::Dsisl(f.data(), n, n, pivots.data(), x.data());
        RequireSolved(a, n, true, x, b);
        Array y(b);
        Linpack::Dspsl(p.data(), n, pivots.data(), y.data());
        REQUIRE(SameBits(x, y));
    }
    const int job = input.Int(0, 1) * 100 + input.Int(0, 1) * 10 + input.Int(0, 1);
    Linpack::Dsidi(f.data(), n, n, pivots.data(), det.data(), inertia.data(), work.data(), job);
    if (job >= 100 && a.IsSmall()) REQUIRE(inertia[0] + inertia[1] + inertia[2] == n);
    Linpack::Dspdi(p.data(), n, pivots.data(), det.data(), inertia.data(), work.data(), job);
    // The same taken as positive definite, dense, packed and as a band.
    int info = 0;
    f = a.elements, p = packed, x = b;
    const double full = Linpack::Dpoco(f.data(), n, n, z.data(), &info);
    int packedInfo = 0;
    const double fromPacked = Linpack::Dppco(p.data(), n, z.data(), &packedInfo);
    REQUIRE(info == packedInfo && (SameBits(full, fromPacked) || std::isnan(full)));
    if (info == 0) {
        Linpack::Dposl(f.data(), n, n, x.data());
        if (a.IsSmall() && full > 1e-8) RequireSolved(a, n, true, x, b);
        Linpack::Dppsl(p.data(), n, b.data());
        Linpack::Dpodi(f.data(), n, n, det.data(), 11);
        Linpack::Dppdi(p.data(), n, det.data(), 11);
    }
    const int m = n > 0 ? input.Int(0, n - 1) : 0;
    Matrix band(input, m + 1, n);
    Linpack::Dpbco(band.elements.data(), band.lda, n, m, z.data(), &info);
    if (info == 0) {
        Linpack::Dpbsl(band.elements.data(), band.lda, n, m, b.data());
        Linpack::Dpbdi(band.elements.data(), band.lda, n, m, det.data());
    }
    if (n > 0) Linpack::Dptsl(n, x.data(), z.data(), b.data());
    f = a.elements;
    Array kept(work.size());
    for (int& each : pivots) each = input.Int(-1, 1);
    const int rank = Linpack::Dchdc(f.data(), n, n, work.data(), pivots.data(), input.Int(0, 1));
    REQUIRE(rank >= 0 && rank <= n);
}

void Triangular(Input& input, int n)
{
    const Matrix t(input, n, n);
    Array z(static_cast<std::size_t>(n)), b(z), det(2), c(z), s(z), rho(2), y(2), right(Size(n, 2));
    for (double& x : b) x = input.Small();
    Linpack::Dtrco(t.elements.data(), n, n, z.data(), input.Int(0, 1));
    Array x(b);
    static constexpr std::array<int, 4> kJobs = {0, 1, 10, 11};
    const int info = Linpack::Dtrsl(t.elements.data(), n, n, x.data(), kJobs[input.Index(4)]);
    if (info != 0) REQUIRE(SameBits(x, b));
    Array f(t.elements);
    Linpack::Dtrdi(f.data(), n, n, det.data(), input.Int(0, 1) * 100 + input.Int(0, 1) * 10 + input.Int(0, 1));
    f = t.elements;
    Linpack::Dchud(f.data(), n, n, b.data(), right.data(), n, 2, y.data(), rho.data(), c.data(), s.data());
    const Array before(f);
    if (Linpack::Dchdd(f.data(), n, n, b.data(), right.data(), n, 2, y.data(), rho.data(), c.data(), s.data()) == -1)
        REQUIRE(SameBits(f, before));
    if (n < 2) return;
    const int k = input.Int(1, n - 1), l = input.Int(k + 1, n);
    Linpack::Dchex(f.data(), n, n, k, l, right.data(), n, 2, c.data(), s.data(), input.Int(1, 2));
}

void Orthogonal(Input& input, int n)
{
    const int p = input.Int(0, 12);
    const Matrix x(input, n, p);
    Array f(x.elements), qraux(static_cast<std::size_t>(p)), work(std::max(qraux.size(), static_cast<std::size_t>(n)));
    std::vector<int> pivots(qraux.size());
    for (int& each : pivots) each = input.Int(-1, 1);
    Linpack::Dqrdc(f.data(), n, n, p, qraux.data(), pivots.data(), work.data(), input.Int(0, 1));
    Array y(static_cast<std::size_t>(n)), qy(y), qty(y), rsd(y), xb(y), b(qraux);
    for (double& each : y) each = input.Small();
    if (n == 0 || p == 0) return; // Dqrsl wants a column
    Linpack::Dqrsl(f.data(), n, n, std::min(n, p), qraux.data(), y.data(), qy.data(), qty.data(), b.data(), rsd.data(),
                   xb.data(), 11111);
    if (x.IsSmall())
        for (std::size_t i = 0; i < y.size(); ++i) REQUIRE(!(std::fabs(rsd[i] + xb[i] - y[i]) > 1e-8));
    const int job = input.Int(0, 2) * 10 + input.Int(0, 1);
    Array s(static_cast<std::size_t>(std::min(n + 1, p))), e(qraux), u(Size(n, job / 10 == 1 ? n : std::min(n, p))),
        v(Size(p, p));
    f = x.elements;
    const int info = Linpack::Dsvdc(f.data(), n, n, p, s.data(), e.data(), u.data(), n, v.data(), p, work.data(), job);
    MCRectMatrix whole, left, right;
    whole.CopyFromColMajor(x.elements.data(), n, p);
    const MCSingularValues problem(whole);
    Array alone, values;
    if (!problem.IsValidMatrix()) return; // refused
    REQUIRE(problem.Compute(alone) == std::min(n, p));
    problem.Compute(values, left, right, job > 9 ? MCSingularValues::VectorsFull : MCSingularValues::VectorsThin);
    REQUIRE(SameBits(alone, values));
    if (info != 0 || !x.IsSmall()) return;
    for (std::size_t i = 0; i < values.size(); ++i) REQUIRE(std::fabs(values[i] - s[i]) <= 1e-13 * (1.0 + s[0]));
    double squares = 0.0, sum = 0.0;
    for (const double each : x.elements) squares += each * each;
    for (std::size_t i = 0; i < s.size(); ++i) {
        REQUIRE(s[i] >= 0.0 && (i == 0 || s[i] <= s[i - 1]));
        sum += s[i] * s[i];
    }
    REQUIRE(std::fabs(sum - squares) <= 1e-10 * (1.0 + squares));
}

void Eigen(Input& input, int n)
{
    MCSymMatrix h(n), e(n);
    const bool isAwkward = input.Int(0, 3) == 0;
    double trace = 0.0, size = 1.0;
    for (double& x : h.AsSpan()) x = isAwkward ? input.Real() : input.Small();
    for (double& x : e.AsSpan()) x = input.Small();
    for (int i = 0; i < n; ++i) trace += h.GetElem(i, i);
    for (const double x : h.AsSpan()) size += std::fabs(x);
    MCEigenValues problem(h, input.Bool() ? 2.2e-16 : 1e-12, 60);
    if (input.Bool()) problem.SetMethod(MCEigenValues::MethodDivideAndConquer);
    Array values, sorted;
    MCRectMatrix vectors;
    const int found = problem.Compute(values, vectors);
    REQUIRE(found >= 0 && found <= n);
    if (!isAwkward) {
        REQUIRE(found == n);
        double sum = 0.0;
        for (int j = 0; j < n; ++j) {
            const double value = values[static_cast<std::size_t>(j)];
            sum += value;
            Array v, hv;
            vectors.GetCol(j, v);
            h.ComputeSV(v, hv);
            for (std::size_t i = 0; i < v.size(); ++i) REQUIRE(std::fabs(hv[i] - value * v[i]) <= 1e-9 * size);
        }
        REQUIRE(std::fabs(sum - trace) <= 1e-9 * size);
    }
    problem.GetSorted(sorted, true);
    bool isPD = false, changed = false;
    MCSymMatrix repaired;
    problem.IsPDHMatrix(1e-6, isPD);
    problem.GetPDHMatrix(1e-6, repaired, changed);
    if (problem.SetEMatrix(e)) problem.Compute(values, vectors);
    problem.Display();
}

/// c0 + c1 x + ... + c3 x^3, and where the input says so a jump, a pole or anything at all.
class Integrand : public IIntegrand {
public:
    Integrand(Input& input) : fKind(input.Int(0, 7)), fPlace(input.Small() / 8.0)
    {
        for (double& each : c) each = input.Small();
        fAny = input.Real();
    }
    bool IsPolynomial() const { return fKind < 4; }
    double Evaluate(const std::vector<double>& point) override
    {
        const double x = point[0], y = point.size() > 1 ? point[1] : 0.0;
        const double polynomial = c[0] + x * (c[1] + x * (c[2] + x * c[3])) + y * c[1];
        switch (fKind) {
        case 4: return x < fPlace ? polynomial : -polynomial;
        case 5: return 1.0 / std::sqrt(std::fabs(x - fPlace));
        case 6: return x == fPlace ? fAny : std::exp(-x * x) * c[0];
        case 7: return std::sin(fAny * x) + polynomial;
        default: return polynomial;
        }
    }
    double Exact(double lower, double upper) const
    {
        const auto at = [this](double x) { return x * (c[0] + x * (c[1] / 2 + x * (c[2] / 3 + x * c[3] / 4))); };
        return at(upper) - at(lower);
    }

private:
    int fKind;
    double fPlace, fAny = 0.0;
    std::array<double, 4> c{};
};

void Integrals(Input& input)
{
    Integrand f(input);
    const double lower = input.Small(), upper = input.Small();
    LobattoQuad quad;
    quad.SetMaxEvaluations(20000);
    double value = 7.0, error = 7.0;
    const auto status = quad.Integrate(f, BoundsList(lower, upper), value, error);
    REQUIRE(quad.GetNEvaluations() <= 20000);
    if (status == INumIntegration::BadIntegrand || status == INumIntegration::InvalidBounds)
        REQUIRE(value == 7.0 && error == 7.0);
    else
        REQUIRE(error >= 0.0);
    if (f.IsPolynomial() && status != INumIntegration::InvalidBounds) {
        const double exact = f.Exact(lower, upper);
        REQUIRE(status == INumIntegration::Success || std::fabs(value - exact) <= 1e-6);
        REQUIRE(std::fabs(value - exact) <= 1e-6 + 1e-7 * std::fabs(exact));
    }
    BoundsList bounds(input.Real(), input.Real());
    if (input.Bool()) bounds.Add(input.Small(), input.Small());
    if (bounds.GetNDim() > 0) bounds.SetCentreAndScale(0, input.Real(), input.Real());
    quad.Integrate(f, bounds, value, error);
    REQUIRE(quad.GetNEvaluations() <= 20000);
    bounds.Display();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const Silence silence;
    Input input(bytes, size);
    const std::uint8_t what = input.Byte();
    const int n = input.Int(0, 12);
    switch (what % 6) {
    case 0: General(input, n); break;
    case 1: Symmetric(input, n); break;
    case 2: Triangular(input, n); break;
    case 3: Orthogonal(input, n); break;
    case 4: Eigen(input, n); break;
    default: Integrals(input);
    }
    return 0;
}
