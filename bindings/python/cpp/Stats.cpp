// Distribution functions: normal, chi-square, gamma, beta, t and F; special functions.
#include "Docstrings.h"
#include "Vectorize.h"

#include <cmath>

namespace modelcore_python {

using D = MCMath_930::MCDistFun;
using M = MCMath_930::MCMathFun;
using nb::arg;

namespace {

/// A NaN as what does not exist, which it is unless the argument was one.
double OrMissing(double y)
{
    return std::isnan(y) ? MCCommon_930::MCMV::Missing() : y;
}

} // namespace

void RegisterStats(nb::module_& m)
{
    const auto x = arg("x");
    const auto p = arg("p");
    const auto df = arg("df");

    DefineFunction<3>(m, "norm_cdf",
                      WithArrays([](double a, double mean, double sd) { return D::CdfNorm(a, mean, sd); },
                                 [](const double* in, double* out, std::size_t count, double a, double b) {
                                     D::CdfNorm(in, out, count, a, b);
                                 }),
                      doc::MCDistFun_CdfNorm, x, arg("mean") = 0.0, arg("sd") = 1.0);
    DefineFunction<3>(m, "norm_sf",
                      WithArrays([](double a, double mean, double sd) { return D::CdfNorm(-a, -mean, sd); },
                                 [](const double* in, double* out, std::size_t count, double a, double b) {
                                     for (std::size_t i = 0; i < count; ++i) out[i] = -in[i];
                                     D::CdfNorm(out, out, count, -a, b);
                                 }),
                      "P(X > x) of the normal distribution, sd > 0, with the digits of small tails.", x,
                      arg("mean") = 0.0, arg("sd") = 1.0);
    DefineFunction<3>(m, "norm_quantile",
                      WithArrays([](double a, double mean, double sd) { return D::IdfNorm(a, mean, sd); },
                                 [](const double* in, double* out, std::size_t count, double a, double b) {
                                     D::IdfNorm(in, out, count, a, b);
                                 }),
                      doc::MCDistFun_IdfNorm, p, arg("mean") = 0.0, arg("sd") = 1.0);
    DefineFunction<3>(
        m, "norm_pdf",
        [](double a, double mean, double sd) {
            return sd > 0.0 ? D::PdfNormal(a, mean, sd) : MCCommon_930::MCMV::Missing();
        },
        "The normal density, sd > 0.", x, arg("mean") = 0.0, arg("sd") = 1.0);

    DefineFunction<2>(
        m, "chi2_cdf",
        WithArrays([](double a, double n) { return D::CdfChi(a, n); },
                   [](const double* in, double* out, std::size_t count, double a) { D::CdfChi(in, out, count, a); }),
        doc::MCDistFun_CdfChi, x, df);
    DefineFunction<2>(
        m, "chi2_sf",
        WithArrays([](double a, double n) { return D::SigChi(a, n); },
                   [](const double* in, double* out, std::size_t count, double a) { D::SigChi(in, out, count, a); }),
        doc::MCDistFun_SigChi, x, df);
    DefineFunction<2>(
        m, "chi2_quantile",
        WithArrays([](double a, double n) { return D::IdfChi(a, n); },
                   [](const double* in, double* out, std::size_t count, double a) { D::IdfChi(in, out, count, a); }),
        doc::MCDistFun_IdfChi, p, df);

    const auto shape = arg("shape");
    DefineFunction<3>(
        m, "gamma_cdf", [](double a, double s, double r) { return D::CdfGam(a, s, r); }, doc::MCDistFun_CdfGam, x,
        shape, arg("rate") = 1.0);
    DefineFunction<3>(
        m, "gamma_quantile", [](double a, double s, double r) { return D::IdfGam(a, s, r); }, doc::MCDistFun_IdfGam, p,
        shape, arg("rate") = 1.0);
    DefineFunction<3>(
        m, "gamma_pdf", [](double a, double s, double r) { return D::PdfGamma(a, s, r); }, doc::MCDistFun_PdfGamma, x,
        shape, arg("rate") = 1.0);

    DefineFunction<3>(
        m, "beta_cdf", [](double q, double a, double b) { return D::CdfBeta(q, a, b); }, doc::MCDistFun_CdfBeta, x,
        arg("a"), arg("b"));
    DefineFunction<3>(
        m, "beta_quantile", [](double q, double a, double b) { return D::IdfBeta(q, a, b); }, doc::MCDistFun_IdfBeta, p,
        arg("a"), arg("b"));

    DefineFunction<2>(
        m, "t_cdf",
        WithArrays([](double t, double n) { return D::CdfT(t, n); },
                   [](const double* in, double* out, std::size_t count, double a) { D::CdfT(in, out, count, a); }),
        doc::MCDistFun_CdfT, x, df);
    DefineFunction<2>(
        m, "t_sf",
        WithArrays([](double t, double n) { return D::SigT(t, n); },
                   [](const double* in, double* out, std::size_t count, double a) { D::SigT(in, out, count, a); }),
        doc::MCDistFun_SigT, x, df);
    DefineFunction<2>(
        m, "t_quantile",
        WithArrays(
            [](double q, double n) { return D::IdfT(q, n, 0.0, 0.0); },
            [](const double* in, double* out, std::size_t count, double a) { D::IdfT(in, out, count, a, 0.0, 0.0); }),
        "The quantile of Student's t, 0 < p < 1, df > 0; exactly 0 at p = 0.5. NaN outside the domain and "
        "when it exceeds the range of a double. As MCDistFun::IdfT with its usual tolerances.",
        p, df);
    DefineFunction<2>(
        m, "t_pdf",
        [](double t, double n) {
            long err = 0;
            return D::PdfT(t, n, err);
        },
        "The density of Student's t, df > 0. 0 where its logarithm is below -708.", x, df);

    const auto df1 = arg("df1");
    const auto df2 = arg("df2");
    DefineFunction<3>(m, "f_cdf",
                      WithArrays([](double f, double a, double b) { return D::CdfF(f, a, b); },
                                 [](const double* in, double* out, std::size_t count, double a, double b) {
                                     D::CdfF(in, out, count, a, b);
                                 }),
                      doc::MCDistFun_CdfF, x, df1, df2);
    DefineFunction<3>(m, "f_sf",
                      WithArrays([](double f, double a, double b) { return D::SigF(f, a, b); },
                                 [](const double* in, double* out, std::size_t count, double a, double b) {
                                     D::SigF(in, out, count, a, b);
                                 }),
                      doc::MCDistFun_SigF, x, df1, df2);
    DefineFunction<3>(m, "f_quantile",
                      WithArrays([](double q, double a, double b) { return D::IdfF(q, a, b); },
                                 [](const double* in, double* out, std::size_t count, double a, double b) {
                                     D::IdfF(in, out, count, a, b);
                                 }),
                      doc::MCDistFun_IdfF, p, df1, df2);

    DefineFunction<1>(
        m, "gammaln", [](double a) { return D::tavodnlgam(a); }, doc::MCDistFun_tavodnlgam, x);
    DefineFunction<1>(
        m, "exp", [](double a) { return OrMissing(M::Exp(a)); }, doc::MCMathFun_Exp, x);
    DefineFunction<1>(
        m, "expm1", [](double a) { return OrMissing(M::ExpMinusOne(a)); }, doc::MCMathFun_ExpMinusOne, x);
    DefineFunction<1>(
        m, "log", [](double a) { return OrMissing(M::Log(a)); }, doc::MCMathFun_Log, x);
    DefineFunction<1>(
        m, "log1p", [](double a) { return OrMissing(M::LogOnePlus(a)); }, doc::MCMathFun_LogOnePlus, x);
    DefineFunction<1>(
        m, "digamma", [](double a) { return M::Digamma(a); }, doc::MCMathFun_Digamma, x);
    DefineFunction<1>(
        m, "trigamma", [](double a) { return M::Trigamma(a); }, doc::MCMathFun_Trigamma, x);
}

} // namespace modelcore_python
