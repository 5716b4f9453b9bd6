// Discrete and noncentral distributions; weighted percentiles.
#include "Docstrings.h"
#include "Vectorize.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace modelcore_python {

using D = MCMath_930::MCDistFun;
using MCCommon_930::MCMV;
using nb::arg;

namespace {

/// Values in ascending order, each with its weight; both without missing ones.
struct Weighted {
    std::vector<double> values;
    std::vector<double> weights;
};

Weighted Sorted(nb::handle values, nb::handle weights)
{
    const std::vector<double> x = ToVector(values);
    const WeightList w = RowWeights(x.size(), nb::none(), weights);
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < x.size(); ++i)
        if (!std::isnan(x[i]) && !std::isnan(w[i])) order.push_back(i);
    std::ranges::stable_sort(order, {}, [&](std::size_t i) { return x[i]; });
    Weighted result;
    for (const std::size_t i : order) {
        result.values.push_back(x[i]);
        result.weights.push_back(w[i]);
    }
    return result;
}

double OrNaN(double x)
{
    return MCMV::IsMissing(x) ? kNaN : x;
}

} // namespace

void RegisterStatsNoncentral(nb::module_& m)
{
    const auto x = arg("x");
    const auto df = arg("df");
    const auto nc = arg("nc");
    DefineFunction<3>(
        m, "binom_cdf",
        [](double k, double n, double p) {
            long err = 0;
            return D::CdfBin(k, n, p, err);
        },
        doc::MCDistFun_CdfBin, x, arg("n"), arg("p"));
    DefineFunction<3>(
        m, "binom_quantile",
        [](double q, double n, double p) {
            long err = 0;
            return D::IdfBin(q, n, p, err);
        },
        doc::MCDistFun_IdfBin, arg("q"), arg("n"), arg("p"));
    DefineFunction<3>(
        m, "binom_pmf",
        [](double k, double n, double p) {
            long err = 0;
            return D::PdfBin(k, n, p, err);
        },
        doc::MCDistFun_PdfBin, x, arg("n"), arg("p"));
    DefineFunction<3>(
        m, "negbinom_pmf",
        [](double k, double r, double p) {
            long err = 0;
            return D::PdfNegBin(k, r, p, err);
        },
        doc::MCDistFun_PdfNegBin, x, arg("r"), arg("p"));
    DefineFunction<4>(
        m, "hypergeom_cdf",
        [](double k, double population, double marked, double drawn) {
            int err = 0;
            return D::CDFHyper(k, population, marked, drawn, err);
        },
        "P(X <= floor(x)) of the marked ones among drawn ones from a population, all three whole numbers. As "
        "MCDistFun::CDFHyper.",
        x, arg("population"), arg("marked"), arg("drawn"));
    DefineFunction<4>(
        m, "hypergeom_pmf",
        [](double k, double population, double marked, double drawn) {
            const auto isWhole = [](double a) { return std::fabs(a) < 9e15 && a == std::floor(a); };
            if (!isWhole(population) || !isWhole(marked) || !isWhole(drawn)) return MCMV::Missing();
            if (std::isnan(k)) return k;
            if (!isWhole(k)) return 0.0;
            return D::PdfHyper(static_cast<long>(k), static_cast<long>(population), static_cast<long>(marked),
                               static_cast<long>(drawn));
        },
        "The probability of x marked ones among drawn ones from a population; 0 outside the support. As "
        "MCDistFun::PdfHyper.",
        x, arg("population"), arg("marked"), arg("drawn"));

    DefineFunction<3>(
        m, "noncentral_chi2_cdf", [](double a, double n, double c) { return D::NonCentralCdfChi(a, n, c); },
        doc::MCDistFun_NonCentralCdfChi, x, df, nc);
    DefineFunction<4>(
        m, "noncentral_f_cdf",
        [](double a, double n1, double n2, double c) { return D::NonCentralCdfF(a, n1, n2, c, 0.0); },
        doc::MCDistFun_NonCentralCdfF, x, arg("df1"), arg("df2"), nc);
    DefineFunction<3>(
        m, "noncentral_t_cdf", [](double a, double n, double c) { return D::NonCentralCdfT(a, n, c, 0.0); },
        doc::MCDistFun_NonCentralCdfT, x, df, nc);
    DefineFunction<3>(
        m, "noncentral_t_pdf",
        [](double a, double n, double c) {
            long err = 0;
            return D::NonCentralPdfT(a, n, c, err);
        },
        doc::MCDistFun_NonCentralPdfT, x, df, nc);
    DefineFunction<3>(
        m, "noncentrality_chi2", [](double a, double n, double p) { return D::FindNCParamChi(a, n, p, 0.0); },
        doc::MCDistFun_FindNCParamChi, x, df, arg("p"));
    DefineFunction<4>(
        m, "noncentrality_f",
        [](double a, double n1, double n2, double p) { return D::FindNCParamF(a, n1, n2, p, 0.0); },
        doc::MCDistFun_FindNCParamF, x, arg("df1"), arg("df2"), arg("p"));
    DefineFunction<3>(
        m, "noncentrality_t", [](double a, double n, double p) { return D::FindNCParamT(a, n, p, 0.0, 0.0); },
        doc::MCDistFun_FindNCParamT, x, df, arg("p"));

    m.def(
        "percentile",
        [](ArrayLike values, double q, OptionalArrayLike weights, OptionalArrayLike bounds, int mode) {
            const Weighted sorted = Sorted(values, weights);
            std::vector<double> halfWidths(sorted.values.size(), 0.0);
            if (!bounds.is_none()) halfWidths = ToVector(bounds);
            double result = 0.0;
            long err = 0;
            D::GPTile(static_cast<long>(sorted.values.size()), q, sorted.values, sorted.weights, halfWidths, mode,
                      result, err);
            return OrNaN(result);
        },
        arg("values"), arg("q"), arg("weights") = nb::none(), nb::kw_only(), arg("bounds") = nb::none(),
        arg("mode") = 0,
        "The q-th percentile (0 to 100) of values with weights, in any order; missing ones are left out. NaN for fewer "
        "than two values and where the target weight is not reached.\n"
        "mode 0 centres each weight on its value, linear between values; 1 spreads it evenly from value - bound to "
        "value + bound (bounds: half-widths of the values in ascending order); 2 is linear between the middles of the "
        "classes. As MCDistFun::GPTile.");
    m.def(
        "median_interval",
        [](ArrayLike values, OptionalArrayLike weights, double level, bool interpolate) {
            const Weighted sorted = Sorted(values, weights);
            double median = kNaN, lower = kNaN, upper = kNaN;
            const double reached = D::Mednci(static_cast<long>(sorted.values.size()), sorted.values, sorted.weights,
                                             level, 0.0, !interpolate, median, lower, upper);
            return nb::make_tuple(OrNaN(median), OrNaN(lower), OrNaN(upper), OrNaN(reached));
        },
        arg("values"), arg("weights") = nb::none(), nb::kw_only(), arg("level") = 95.0, arg("interpolate") = true,
        nb::sig("def median_interval(values: typing.Any, weights: typing.Any = None, *, level: float = 95.0, "
                "interpolate: bool = True) -> tuple[float, float, float, float]"),
        "Median, lower and upper confidence limit and the confidence reached, in percent, from order statistics "
        "(interpolated: Hettmansperger and Sheather 1986). Each value stands for as many cases as its weight says.");
}

} // namespace modelcore_python
