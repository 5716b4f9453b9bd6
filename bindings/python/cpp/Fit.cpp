// What the estimators compute from the data beyond cross products: residuals in twice the digits, least squares by
// orthogonal decomposition, the passes of Newton's method for logistic models, and predictions. NumPy's products, exp and
// log have other last digits on other processors; these have not.
#include "Common.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace modelcore_python {

namespace {

using MCMath_930::ExactSum;
using MCMath_930::Linpack;
using MCMath_930::MCExtended;
using MCMath_930::MCMathFun;
using MCMath_930::MCRectMatrix;
using MCMath_930::MCSymMatrix;

constexpr std::size_t kBlock = 512; // rows between two looks at the clock

/// Rows, target and weights of the same length, looked at before anything is computed.
struct Data {
    Data(nb::handle x, nb::handle target, nb::handle rowWeights)
        : table(x), y(ToVector(target)), w(RowWeights(table.NRows(), nb::none(), rowWeights))
    {
        if (y.size() != table.NRows()) Refuse("X and y differ in length");
    }
    std::size_t N() const { return table.NRows(); }
    std::size_t P() const { return table.NColumns(); }

    Table table;
    std::vector<double> y;
    WeightList w;
};

/// Calls body(row, i) for the rows of a weight above 0 without missing values.
template <class Body>
bool ForRows(const Data& data, Watch& watch, Body body)
{
    const std::size_t p = data.P();
    std::vector<double> rows(kBlock * p);
    for (std::size_t first = 0; first < data.N(); first += kBlock) {
        const std::size_t count = std::min(kBlock, data.N() - first);
        data.table.Read(first, count, rows.data(), p);
        for (std::size_t i = 0; i < count; ++i) {
            const double* const x = rows.data() + i * p;
            bool complete = data.w[first + i] > 0.0 && !std::isnan(data.y[first + i]);
            for (std::size_t j = 0; complete && j < p; ++j) complete = !std::isnan(x[j]);
            if (complete) body(x, first + i);
        }
        if (watch.Stop(count)) return false;
    }
    return true;
}

// A function compiled for several instruction sets, the best of which runs. Products are rounded before they are added on
// each of them, so that the bits are the same.
#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__)
#define MODELCORE_CLONES [[gnu::target_clones("avx512f", "fma", "default")]]
#else
#define MODELCORE_CLONES
#endif

constexpr std::size_t kLanes = 64; // sums that run side by side, so that the compiler has vectors of them

/// Numbers in twice the digits, high and low parts apart.
struct Extended {
    explicit Extended(std::size_t n) : high(n), low(n) {}
    /// Of the lanes from first on.
    MCExtended Total(std::size_t first) const
    {
        MCExtended total;
        for (std::size_t i = first; i < first + kLanes; ++i) total = total + MCExtended{high[i], low[i]};
        return total;
    }
    std::vector<double> high;
    std::vector<double> low;
};

/// r -= (x - mean)*b
MODELCORE_CLONES void TakeColumn(const double* x, double mean, double b, double* high, double* low)
{
    for (std::size_t i = 0; i < kBlock; ++i) {
        const MCExtended r = MCExtended{high[i], low[i]} - ExactSum(x[i], -mean) * MCExtended{b};
        high[i] = r.high;
        low[i] = r.low;
    }
}

/// r *= w; sum += w*r; squares += w*r*r
MODELCORE_CLONES void Weigh(const double* w, double* high, double* low, double* sumHigh, double* sumLow,
                            double* squaresHigh, double* squaresLow)
{
    for (std::size_t first = 0; first < kBlock; first += kLanes)
        for (std::size_t l = 0; l < kLanes; ++l) {
            const std::size_t i = first + l;
            const MCExtended r{high[i], low[i]};
            const MCExtended wr = MCExtended{w[i]} * r;
            const MCExtended sum = MCExtended{sumHigh[l], sumLow[l]} + wr;
            const MCExtended squares = MCExtended{squaresHigh[l], squaresLow[l]} + wr * r;
            high[i] = wr.high;
            low[i] = wr.low;
            sumHigh[l] = sum.high;
            sumLow[l] = sum.low;
            squaresHigh[l] = squares.high;
            squaresLow[l] = squares.low;
        }
}

/// sum += (x - mean)*r
MODELCORE_CLONES void AddProducts(const double* x, double mean, const double* high, const double* low, double* sumHigh,
                                  double* sumLow)
{
    for (std::size_t first = 0; first < kBlock; first += kLanes)
        for (std::size_t l = 0; l < kLanes; ++l) {
            const std::size_t i = first + l;
            const MCExtended sum =
                MCExtended{sumHigh[l], sumLow[l]} + ExactSum(x[i], -mean) * MCExtended{high[i], low[i]};
            sumHigh[l] = sum.high;
            sumLow[l] = sum.low;
        }
}

/// z = (x - shift)*factor
MODELCORE_CLONES void Standardize(const double* x, const double* shift, const double* factor, std::size_t n, double* z)
{
    for (std::size_t j = 0; j < n; ++j) z[j] = (x[j] - shift[j]) * factor[j];
}

/// sum += f*x
MODELCORE_CLONES void AddMultiple(double f, const double* x, std::size_t n, double* sum)
{
    for (std::size_t j = 0; j < n; ++j) sum[j] += f * x[j];
}

/// The sum of a*b, in eight lanes.
MODELCORE_CLONES double Dot(const double* a, const double* b, std::size_t n)
{
    using Eight [[gnu::vector_size(64)]] = double;
    Eight lanes{};
    std::size_t j = 0;
    for (; j + 8 <= n; j += 8) {
        Eight u, v;
        std::memcpy(&u, a + j, sizeof u);
        std::memcpy(&v, b + j, sizeof v);
        lanes += u * v;
    }
    double sum = 0.0;
    for (; j < n; ++j) sum += a[j] * b[j];
    for (int l = 0; l < 8; ++l) sum += lanes[l];
    return sum;
}

/// Sums over the residuals r = y - centre - sum of (x_j - means_j)*b_j, all in twice the digits: of w*r, w*r*r, and
/// w*r*(x_j - means_j).
nb::tuple ResidualSums(ArrayLike rows, ArrayLike target, OptionalArrayLike weights, ArrayLike coefficients,
                       ArrayLike means, double centre, nb::object progress)
{
    const Data data(rows, target, weights);
    const std::vector<double> b = ToVector(coefficients);
    const std::vector<double> m = ToVector(means);
    if (b.size() != data.P() || m.size() != data.P()) Refuse("one coefficient and mean for each column is needed");
    const std::size_t p = data.P();
    constexpr std::size_t kStride = kBlock + 8; // columns that are no power of two apart share the cache
    std::vector<double> x(p * kStride);
    std::vector<double> w(kBlock);
    Extended r(kBlock), gradient(p * kLanes), sum(kLanes), squares(kLanes);
    std::size_t waiting = 0;
    const auto add = [&] {
        for (std::size_t i = waiting; i < kBlock; ++i) { // what no row has come for counts nothing
            for (std::size_t j = 0; j < p; ++j) x[j * kStride + i] = m[j];
            w[i] = r.high[i] = r.low[i] = 0.0;
        }
        waiting = 0;
        for (std::size_t j = 0; j < p; ++j)
            if (b[j] != 0.0) TakeColumn(&x[j * kStride], m[j], b[j], r.high.data(), r.low.data());
        Weigh(w.data(), r.high.data(), r.low.data(), sum.high.data(), sum.low.data(), squares.high.data(),
              squares.low.data());
        for (std::size_t j = 0; j < p; ++j)
            AddProducts(&x[j * kStride], m[j], r.high.data(), r.low.data(), &gradient.high[j * kLanes],
                        &gradient.low[j * kLanes]);
    };
    Watch watch(std::move(progress));
    {
        const nb::gil_scoped_release release;
        ForRows(data, watch, [&](const double* row, std::size_t i) {
            for (std::size_t j = 0; j < p; ++j) x[j * kStride + waiting] = row[j];
            const MCExtended y = ExactSum(data.y[i], -centre);
            r.high[waiting] = y.high;
            r.low[waiting] = y.low;
            w[waiting] = data.w[i];
            if (++waiting == kBlock) add();
        });
        if (waiting > 0) add();
    }
    watch.Finish();
    std::vector<double> rounded;
    for (std::size_t j = 0; j < p; ++j) rounded.push_back(gradient.Total(j * kLanes).high);
    return nb::make_tuple(sum.Total(0).high, squares.Total(0).high, ToArray(rounded));
}

/// Least squares by Householder reflections on centred and scaled columns, and Bjoerck's refinement of the augmented
/// system (1967, BIT 7, 257-278) with residuals in twice the digits: as many digits as the data determine.
class Orthogonal {
public:
    Orthogonal(const Data& data, const std::vector<double>& means, bool intercept, double tolerance)
        : fData(data), fMeans(means), fbIntercept(intercept), fTolerance(tolerance)
    {}

    bool Run(Watch& watch)
    {
        if (!ReadColumns(watch)) return false;
        Decompose();
        Refine();
        return true;
    }

    /// The coefficients (0 where aliased), the intercept, the residual sum of squares, the kept columns and the inverse
    /// of the cross products of deviations.
    nb::tuple Result() const
    {
        const std::size_t p = fData.P();
        std::vector<double> b(p, 0.0);
        MCExtended intercept;
        for (std::size_t k = 0; k < fvKept.size(); ++k) {
            if (fvKept[k] == 0) {
                intercept = intercept + fSolution[k];
                continue;
            }
            b[fvKept[k] - 1] = fSolution[k].high;
            if (fbIntercept) intercept = intercept - (fSolution[k] * MCExtended{fMeans[fvKept[k] - 1]});
        }
        MCExtended squares;
        for (const double r : fvResiduals) squares = squares + MCExtended{r} * MCExtended{r};
        nb::list kept;
        for (const std::size_t column : fvKept)
            if (column > 0) kept.append(column - 1);
        const std::size_t q = fvKept.size();
        // (R'R)^-1 with the scales taken off; column 0, the intercept's, is left out: the others are orthogonal to it.
        std::vector<double> inverse(q * q, 0.0);
        for (std::size_t k = 0; k < q; ++k) {
            std::vector<double> column(q, 0.0);
            column[k] = 1.0;
            SolveTransposed(column);
            SolveUpper(column);
            for (std::size_t i = 0; i < q; ++i)
                inverse[i * q + k] = column[i] / fvScales[fvKept[i]] / fvScales[fvKept[k]];
        }
        return nb::make_tuple(ToArray(b), fbIntercept ? intercept.high : 0.0, squares.high, kept,
                              ToArray(inverse, q, q));
    }

private:
    std::size_t Rows() const { return fvRows.size(); }
    MCExtended Element(std::size_t row, std::size_t column) const
    {
        if (column == 0) return {1.0};
        return ExactSum(fvX[row * fData.P() + column - 1], fbIntercept ? -fMeans[column - 1] : 0.0);
    }

    bool ReadColumns(Watch& watch)
    {
        const bool done = ForRows(fData, watch, [&](const double* x, std::size_t i) {
            fvRows.push_back(i);
            fvX.insert(fvX.end(), x, x + fData.P());
        });
        if (!done) return false;
        const std::size_t columns = fData.P() + 1;
        fvScales.assign(columns, 0.0);
        for (std::size_t j = 0; j < columns; ++j) {
            double squares = 0.0;
            for (std::size_t i = 0; i < Rows(); ++i) {
                const double x = Element(i, j).high;
                squares += fData.w[fvRows[i]] * x * x;
            }
            fvScales[j] = std::sqrt(squares);
            if ((j > 0 || fbIntercept) && fvScales[j] > 0.0) fvKept.push_back(j);
        }
        return true;
    }

    void Decompose()
    {
        const std::size_t n = Rows();
        for (;;) {
            const std::size_t q = fvKept.size();
            fvQR.assign(n * q, 0.0);
            fvAux.assign(q, 0.0);
            for (std::size_t k = 0; k < q; ++k)
                for (std::size_t i = 0; i < n; ++i)
                    fvQR[k * n + i] = std::sqrt(fData.w[fvRows[i]]) * Element(i, fvKept[k]).high / fvScales[fvKept[k]];
            Linpack::Dqrdc(fvQR.data(), static_cast<int>(n), static_cast<int>(n), static_cast<int>(q), fvAux.data(),
                           nullptr, nullptr, 0);
            // The first column that depends on those before it is aliased; what came behind it is done anew without.
            std::size_t k = 0;
            while (k < q && k < n && std::fabs(fvQR[k * n + k]) > fTolerance) ++k;
            if (k == q) return;
            fvKept.erase(fvKept.begin() + static_cast<std::ptrdiff_t>(k));
        }
    }

    double R(std::size_t i, std::size_t k) const { return fvQR[k * Rows() + i]; }
    void SolveUpper(std::vector<double>& x) const
    {
        for (std::size_t i = fvKept.size(); i-- > 0;) {
            for (std::size_t k = i + 1; k < fvKept.size(); ++k) x[i] -= R(i, k) * x[k];
            x[i] /= R(i, i);
        }
    }
    void SolveTransposed(std::vector<double>& x) const
    {
        for (std::size_t i = 0; i < fvKept.size(); ++i) {
            for (std::size_t k = 0; k < i; ++k) x[i] -= R(k, i) * x[k];
            x[i] /= R(i, i);
        }
    }
    void ApplyQ(std::vector<double>& v, bool transposed) const
    {
        Linpack::Dqrsl(fvQR.data(), static_cast<int>(Rows()), static_cast<int>(Rows()), static_cast<int>(fvKept.size()),
                       fvAux.data(), v.data(), v.data(), v.data(), nullptr, nullptr, nullptr,
                       transposed ? 1000 : 10000);
    }

    void Refine()
    {
        const std::size_t n = Rows();
        const std::size_t q = fvKept.size();
        fSolution.assign(q, MCExtended{});
        fvResiduals.assign(n, 0.0);
        std::vector<double> f1(n), f2(q);
        double before = HUGE_VAL;
        for (int step = 0; step < 12; ++step) {
            std::vector<MCExtended> sums(q);
            for (std::size_t i = 0; i < n; ++i) {
                const double root = std::sqrt(fData.w[fvRows[i]]);
                MCExtended f{fData.y[fvRows[i]]};
                for (std::size_t k = 0; k < q; ++k) {
                    const MCExtended x = Element(i, fvKept[k]);
                    f = f - (x * fSolution[k]);
                    sums[k] = sums[k] + x * (MCExtended{root} * MCExtended{fvResiduals[i]});
                }
                f1[i] = (MCExtended{root} * f + MCExtended{-fvResiduals[i]}).high;
            }
            for (std::size_t k = 0; k < q; ++k) f2[k] = -sums[k].high / fvScales[fvKept[k]];
            ApplyQ(f1, true);
            SolveTransposed(f2);
            std::vector<double> change(q);
            for (std::size_t k = 0; k < q; ++k) {
                change[k] = f1[k] - f2[k];
                f1[k] = f2[k];
            }
            SolveUpper(change);
            ApplyQ(f1, false);
            double size = 0.0;
            for (std::size_t k = 0; k < q; ++k) {
                const double scale = fvScales[fvKept[k]];
                size = std::max(size, std::fabs(change[k]) / (std::fabs(fSolution[k].high) * scale + 1e-300));
            }
            if (step > 1 && !(size < before)) break; // no digit more to be had
            for (std::size_t k = 0; k < q; ++k)
                fSolution[k] = fSolution[k] + MCExtended{change[k] / fvScales[fvKept[k]]};
            for (std::size_t i = 0; i < n; ++i) fvResiduals[i] += f1[i];
            if (step > 0 && size < 1e-17) break;
            if (step > 0) before = size;
        }
    }

    const Data& fData;
    const std::vector<double>& fMeans;
    bool fbIntercept;
    double fTolerance;
    std::vector<std::size_t> fvRows; // the rows that count
    std::vector<double> fvX;         // their values
    std::vector<double> fvScales;    // of column 0, all ones, and the variables behind it
    std::vector<std::size_t> fvKept;
    std::vector<double> fvQR; // column by column
    std::vector<double> fvAux;
    std::vector<MCExtended> fSolution;
    std::vector<double> fvResiduals; // times the roots of the weights
};

nb::tuple LeastSquares(ArrayLike rows, ArrayLike target, OptionalArrayLike weights, ArrayLike means, bool intercept,
                       double tolerance)
{
    const Data data(rows, target, weights);
    const std::vector<double> m = ToVector(means);
    if (m.size() != data.P()) Refuse("one mean for each column is needed");
    Orthogonal solver(data, m, intercept, tolerance);
    Watch watch;
    {
        const nb::gil_scoped_release release;
        solver.Run(watch);
    }
    watch.Finish();
    return solver.Result();
}

/// One pass of Newton's method for the multinomial logistic model with the predictors z = (1, (x - shift)/scale): the
/// log-likelihood, its gradient and the information, for k - 1 rows of coefficients; class 0 is the reference.
nb::tuple LogisticPass(ArrayLike rows, ArrayLike codes, OptionalArrayLike weights, ArrayLike coefficients,
                       ArrayLike shifts, ArrayLike scales, bool intercept, nb::object progress)
{
    const Data data(rows, codes, weights);
    const Table table(coefficients);
    const std::size_t categories = table.NRows() + 1;
    const std::size_t q = table.NColumns();
    const std::vector<double> shift = ToVector(shifts);
    std::vector<double> factor = ToVector(scales);
    const std::size_t first = intercept ? 1 : 0;
    if (q != data.P() + first || shift.size() != data.P() || factor.size() != data.P() || categories < 2 || q < 1)
        Refuse("the shapes do not fit");
    for (const double code : data.y)
        if (!std::isnan(code) && (code < 0.0 || code >= static_cast<double>(categories) || code != std::floor(code)))
            Refuse("a code is not that of a category");
    for (double& scale : factor) scale = 1.0 / scale; // exact: scales are powers of two
    const std::size_t free = categories - 1;
    std::vector<double> b(free * q);
    table.Read(0, free, b.data(), q);

    std::vector<double> gradient(free * q, 0.0);
    const std::size_t pairs = free * (free + 1) / 2;
    std::vector<MCSymMatrix> blocks(pairs, MCSymMatrix(static_cast<int>(q)));
    MCRectMatrix z(static_cast<int>(kBlock), static_cast<int>(q));
    std::vector<std::vector<double>> curvature(pairs, std::vector<double>(kBlock, 0.0));
    std::vector<double> e(free), probability(free);
    double logLikelihood = 0.0;
    std::size_t waiting = 0;
    Watch watch(std::move(progress));
    const auto add = [&] {
        std::memset(z.GetPtr() + waiting * q, 0, (kBlock - waiting) * q * sizeof(double));
        for (std::size_t pair = 0; pair < pairs; ++pair) {
            std::fill(curvature[pair].begin() + static_cast<std::ptrdiff_t>(waiting), curvature[pair].end(), 0.0);
            blocks[pair].UpdateZZ(z, curvature[pair]);
        }
        waiting = 0;
    };
    {
        const nb::gil_scoped_release release;
        ForRows(data, watch, [&](const double* x, std::size_t i) {
            double* const row = z.GetPtr() + waiting * q;
            if (intercept) row[0] = 1.0;
            Standardize(x, shift.data(), factor.data(), data.P(), row + first);
            double largest = 0.0;
            for (std::size_t a = 0; a < free; ++a) {
                e[a] = Dot(&b[a * q], row, q);
                largest = std::max(largest, e[a]);
            }
            double total = MCMathFun::Exp(-largest);
            for (std::size_t a = 0; a < free; ++a) total += probability[a] = MCMathFun::Exp(e[a] - largest);
            const auto code = static_cast<std::size_t>(data.y[i]);
            const double w = data.w[i];
            logLikelihood += w * ((code > 0 ? e[code - 1] : 0.0) - largest - MCMathFun::Log(total));
            for (double& p : probability) p /= total;
            std::size_t pair = 0;
            for (std::size_t a = 0; a < free; ++a) {
                const double residual = w * ((code == a + 1 ? 1.0 : 0.0) - probability[a]);
                AddMultiple(residual, row, q, &gradient[a * q]);
                for (std::size_t c = 0; c < a; ++c, ++pair)
                    curvature[pair][waiting] = -w * probability[a] * probability[c];
                curvature[pair++][waiting] = w * probability[a] * (1.0 - probability[a]);
            }
            if (++waiting == kBlock) add();
        });
        if (waiting > 0) add();
    }
    watch.Finish();

    const std::size_t order = free * q;
    std::vector<double> information(order * order);
    std::size_t pair = 0;
    for (std::size_t a = 0; a < free; ++a)
        for (std::size_t c = 0; c <= a; ++c, ++pair)
            for (std::size_t i = 0; i < q; ++i)
                for (std::size_t j = 0; j < q; ++j)
                    information[(a * q + i) * order + c * q + j] = information[(c * q + j) * order + a * q + i] =
                        blocks[pair].GetElem(static_cast<int>(i), static_cast<int>(j));
    return nb::make_tuple(logLikelihood, ToArray(gradient), ToArray(information, order, order));
}

/// intercept + b_1*x_1 + b_2*x_2 + ..., one term after the other, for each row of X and each row of coefficients.
Array LinearScores(ArrayLike rows, ArrayLike coefficients, ArrayLike intercepts)
{
    const Table x(rows);
    const Table table(coefficients);
    const std::vector<double> start = ToVector(intercepts);
    const std::size_t p = x.NColumns(), equations = start.size();
    if (table.NRows() != equations || table.NColumns() != p) Refuse("the shapes do not fit");
    std::vector<double> b(equations * p);
    table.Read(0, equations, b.data(), p);
    double* out = nullptr;
    const std::size_t shape[] = {x.NRows(), equations};
    Array result = NewArray(shape, out);
    constexpr std::size_t kSide = 8; // rows side by side: the sum of one waits for its last term
    const std::size_t most = std::clamp(4096 / std::max<std::size_t>(p, 1) / kSide * kSide, kSide, kBlock); // 32 KB
    std::vector<double> block(most * p);
    Watch watch;
    {
        const nb::gil_scoped_release release;
        for (std::size_t first = 0; first < x.NRows(); first += most) {
            const std::size_t count = std::min(most, x.NRows() - first);
            x.Read(first, count, block.data(), p);
            for (std::size_t i = 0; i < count; i += kSide)
                for (std::size_t a = 0; a < equations; ++a) {
                    double sums[kSide];
                    std::fill_n(sums, kSide, start[a]);
                    for (std::size_t j = 0; j < p; ++j)
                        for (std::size_t l = 0; l < kSide; ++l) sums[l] += b[a * p + j] * block[(i + l) * p + j];
                    for (std::size_t l = 0; l < std::min(kSide, count - i); ++l)
                        out[(first + i + l) * equations + a] = sums[l];
                }
            if (watch.Stop(count)) break;
        }
    }
    watch.Finish();
    return result;
}

/// Probabilities of classes, or their logarithms, from the log odds of all but the first against the first.
Array ClassProbabilities(ArrayLike logOdds, bool logarithms)
{
    const Table table(logOdds);
    const std::size_t free = table.NColumns();
    double* out = nullptr;
    const std::size_t shape[] = {table.NRows(), free + 1};
    Array result = NewArray(shape, out);
    std::vector<double> e(free + 1);
    Watch watch;
    {
        const nb::gil_scoped_release release;
        for (std::size_t i = 0; i < table.NRows(); ++i, out += free + 1) {
            e[0] = 0.0;
            table.Read(i, 1, &e[1], free);
            const auto largest = static_cast<std::size_t>(std::ranges::max_element(e) - e.begin());
            const double most = e[largest];
            double others = 0.0;
            for (std::size_t a = 0; a <= free; ++a) {
                e[a] = a == largest ? 0.0 : e[a] - most; // a NaN is never the largest, and makes all of them NaN
                out[a] = MCMathFun::Exp(e[a]);
                if (a != largest) others += out[a];
            }
            const double logTotal = logarithms ? MCMathFun::LogOnePlus(others) : 0.0;
            for (std::size_t a = 0; a <= free; ++a) out[a] = logarithms ? e[a] - logTotal : out[a] / (1.0 + others);
            if (i % kBlock == 0 && watch.Stop(kBlock)) break;
        }
    }
    watch.Finish();
    return result;
}

/// a*b, each element summed up in the order of the terms.
Array Product(ArrayLike a, ArrayLike b)
{
    const Table left(a), right(b);
    if (left.NColumns() != right.NRows()) Refuse("the shapes do not fit");
    const std::size_t n = left.NRows(), inner = left.NColumns(), k = right.NColumns();
    if (n == 0 || inner == 0 || k == 0) return ToArray(std::vector<double>(n * k, 0.0), n, k);
    MCRectMatrix factor(static_cast<int>(n), static_cast<int>(inner));
    MCRectMatrix other(static_cast<int>(inner), static_cast<int>(k));
    left.Read(0, n, factor.GetPtr(), inner);
    right.Read(0, inner, other.GetPtr(), k);
    MCRectMatrix product(static_cast<int>(n), static_cast<int>(k));
    if (!factor.ComputeMatrixProduct(other, product)) throw std::bad_alloc();
    return ToArray(std::span(product.GetPtr(), n * k), n, k);
}

} // namespace

void RegisterFit(nb::module_& m)
{
    m.def("linear_scores", &LinearScores, nb::arg("rows"), nb::arg("coefficients"), nb::arg("intercepts"),
          "Intercept and terms of each equation, summed up in their order: n x equations.");
    m.def("class_probabilities", &ClassProbabilities, nb::arg("log_odds"), nb::arg("logarithms") = false,
          "Probabilities of the classes, or their logarithms, from the log odds against the first: n x classes.");
    m.def("product", &Product, nb::arg("a"), nb::arg("b"),
          "The product of two matrices, each element summed up in the order of the terms.");
    m.def("residual_sums", &ResidualSums, nb::arg("rows"), nb::arg("target"), nb::arg("weights").none(),
          nb::arg("coefficients"), nb::arg("means"), nb::arg("centre"), nb::arg("progress") = nb::none(),
          nb::sig(
              "def residual_sums(rows: typing.Any, target: typing.Any, weights: typing.Any, coefficients: typing.Any, "
              "means: typing.Any, centre: float, progress: typing.Any = None) -> tuple[float, float, "
              "numpy.typing.NDArray[numpy.float64]]"),
          "Sums over residuals in twice the digits of a double.");
    m.def("least_squares", &LeastSquares, nb::arg("rows"), nb::arg("target"), nb::arg("weights").none(),
          nb::arg("means"), nb::arg("intercept"), nb::arg("tolerance"),
          nb::sig("def least_squares(rows: typing.Any, target: typing.Any, weights: typing.Any, means: typing.Any, "
                  "intercept: bool, tolerance: float) -> tuple[numpy.typing.NDArray[numpy.float64], float, float, "
                  "list[int], numpy.typing.NDArray[numpy.float64]]"),
          "Least squares by orthogonal decomposition, refined.");
    m.def(
        "logistic_pass", &LogisticPass, nb::arg("rows"), nb::arg("codes"), nb::arg("weights").none(),
        nb::arg("coefficients"), nb::arg("shifts"), nb::arg("scales"), nb::arg("intercept"),
        nb::arg("progress") = nb::none(),
        nb::sig("def logistic_pass(rows: typing.Any, codes: typing.Any, weights: typing.Any, coefficients: typing.Any, "
                "shifts: typing.Any, scales: typing.Any, intercept: bool, progress: typing.Any = None) -> tuple[float, "
                "numpy.typing.NDArray[numpy.float64], numpy.typing.NDArray[numpy.float64]]"),
        "Log-likelihood, gradient and information of the logistic model.");
}

} // namespace modelcore_python
