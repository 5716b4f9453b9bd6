// Every distribution function beside Boost.Math, R's nmath and GSL on the same arguments: one call is one evaluation.
//
// The points come from quantiles of random probabilities, a tenth of them far in the tails, and log-uniform parameters.
// A contender whose results differ from ours by more than 1e-6 at more than a hundredth of the points is not timed; at
// fewer, the line says at how many, for no peer is right everywhere.
#include "modelcore/modelcore.h"
#include "support/Inputs.h"
#include "support/PeerTable.h"

#include <boost/math/distributions/beta.hpp>
#include <boost/math/distributions/binomial.hpp>
#include <boost/math/distributions/chi_squared.hpp>
#include <boost/math/distributions/fisher_f.hpp>
#include <boost/math/distributions/non_central_chi_squared.hpp>
#include <boost/math/distributions/non_central_f.hpp>
#include <boost/math/distributions/non_central_t.hpp>
#include <boost/math/distributions/normal.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <boost/math/special_functions/gamma.hpp>
#include <gsl/gsl_cdf.h>
#include <gsl/gsl_errno.h>
#include <gsl/gsl_sf_gamma.h>

#define MATHLIB_STANDALONE
#include <Rmath.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

using MCMath_930::MCDistFun;

// Boost as it is fastest: no widening to long double, no exceptions.
namespace policies = boost::math::policies;
using Fast =
    policies::policy<policies::promote_double<false>, policies::domain_error<policies::errno_on_error>,
                     policies::pole_error<policies::errno_on_error>, policies::overflow_error<policies::errno_on_error>,
                     policies::evaluation_error<policies::errno_on_error>>;
using BoostNormal = boost::math::normal_distribution<double, Fast>;
using BoostChi = boost::math::chi_squared_distribution<double, Fast>;
using BoostT = boost::math::students_t_distribution<double, Fast>;
using BoostF = boost::math::fisher_f_distribution<double, Fast>;
using BoostBeta = boost::math::beta_distribution<double, Fast>;
using BoostBinomial = boost::math::binomial_distribution<double, Fast>;
using BoostNcChi = boost::math::non_central_chi_squared_distribution<double, Fast>;
using BoostNcF = boost::math::non_central_f_distribution<double, Fast>;
using BoostNcT = boost::math::non_central_t_distribution<double, Fast>;

/// A probability, the point it belongs to, and up to three parameters.
struct Point {
    double p, x, a, b, c;
};
using Points = std::vector<Point>;
using Call = double (*)(const Point&);

constexpr std::size_t kPoints = 1000;

Points MakePoints(double low, double high, const std::function<double(const Point&)>& quantile)
{
    const std::vector<double> u = peers::Uniforms(5 * kPoints, 0.0, 1.0, 7);
    const auto logUniform = [&](double v, double from, double to) { return from * std::exp(v * std::log(to / from)); };
    Points points;
    for (std::size_t i = 0; points.size() < kPoints && i < kPoints; ++i) {
        const double* const v = &u[5 * i];
        Point point{v[0], 0.0, logUniform(v[1], low, high), logUniform(v[2], low, high), logUniform(v[3], 0.1, 100.0)};
        if (i % 10 == 0) point.p = std::exp(-60.0 * v[4]); // far tail
        if (i % 10 == 5) point.p = 1.0 - std::exp(-20.0 * v[4]);
        if (!(point.p > 0.0) || !(point.p < 1.0)) continue;
        point.x = quantile(point);
        if (std::isfinite(point.x) && std::fabs(point.x) < 1e100) points.push_back(point);
    }
    return points;
}

struct Contender {
    const char* name;
    Call call;
};

void Register(const std::string& operation, const Points& made, const std::vector<Contender>& contenders)
{
    const auto points = std::make_shared<const Points>(made);
    peers::Work work;
    work.amount = static_cast<double>(points->size());
    work.scale = 1e6;
    work.unit = "Mcall";
    for (const Contender& contender : contenders) {
        std::size_t differ = 0;
        for (const Point& point : *points) {
            const double expected = contenders.front().call(point);
            const double actual = contender.call(point);
            if (!(std::fabs(actual - expected) <= 1e-6 * std::fabs(expected) + 1e-290)) ++differ;
        }
        std::string name = contender.name;
        if (differ * 100 > points->size()) {
            peers::Refuse(operation, name,
                          std::to_string(differ) + " of " + std::to_string(points->size()) + " points differ");
            continue;
        }
        if (differ > 0) name += " (" + std::to_string(differ) + " differ)";
        peers::Add(operation, name, work, [points, call = contender.call] {
            for (const Point& point : *points) peers::Keep(call(point));
        });
    }
}

/// The same function of a whole array with parameters that stay: ours over the array and, like the others, number by
/// number.
struct ArrayContender {
    const char* name;
    std::function<void(const std::vector<double>& x, std::vector<double>& out)> call;
};

template <class Call>
ArrayContender NumberByNumber(const char* name, Call call)
{
    return {name, [call](const std::vector<double>& x, std::vector<double>& out) {
                for (std::size_t i = 0; i < x.size(); ++i) out[i] = call(x[i]);
            }};
}

void RegisterArrays(const std::string& operation, const std::vector<double>& points,
                    const std::vector<ArrayContender>& contenders)
{
    const auto x = std::make_shared<const std::vector<double>>(points);
    const auto out = std::make_shared<std::vector<double>>(points.size());
    peers::Work work;
    work.amount = static_cast<double>(points.size());
    work.scale = 1e6;
    work.unit = "Mcall";
    std::vector<double> expected(points.size());
    contenders.front().call(*x, expected);
    for (const ArrayContender& contender : contenders) {
        contender.call(*x, *out);
        std::size_t differ = 0;
        for (std::size_t i = 0; i < expected.size(); ++i)
            if (!(std::fabs((*out)[i] - expected[i]) <= 1e-6 * std::fabs(expected[i]) + 1e-290)) ++differ;
        if (differ * 100 > points.size()) {
            peers::Refuse(operation, contender.name,
                          std::to_string(differ) + " of " + std::to_string(points.size()) + " points differ");
            continue;
        }
        peers::Add(operation, contender.name, work, [x, out, call = contender.call] {
            call(*x, *out);
            peers::Keep(out->front());
        });
    }
}

void RegisterArrayContenders()
{
    using D = MCDistFun;
    std::vector<double> p = peers::Uniforms(kPoints, 1e-12, 1.0, 11);
    for (std::size_t i = 0; i < p.size(); i += 10) p[i] = std::exp(-60.0 * p[i]);
    const auto quantiles = [&](const auto& quantile) {
        std::vector<double> x;
        for (const double each : p) x.push_back(quantile(each));
        return x;
    };
    const auto ours = [](const char* name, const auto& call) {
        return ArrayContender{name, [call](const std::vector<double>& x, std::vector<double>& out) {
                                  call(x.data(), out.data(), x.size());
                              }};
    };
    using In = const double*;
    RegisterArrays("array: normal cdf", quantiles([](double v) { return D::IdfStdNorm(v); }),
                   {ours("modelcore", [](In x, double* out, std::size_t n) { D::CdfNorm(x, out, n); }),
                    NumberByNumber("modelcore, each", [](double x) { return D::CdfNorm(x, 0.0, 1.0); }),
                    NumberByNumber("R", [](double x) { return pnorm(x, 0, 1, 1, 0); }),
                    NumberByNumber("boost", [](double x) { return cdf(BoostNormal(), x); }),
                    NumberByNumber("gsl", [](double x) { return gsl_cdf_ugaussian_P(x); })});
    RegisterArrays("array: normal quantile", p,
                   {ours("modelcore", [](In x, double* out, std::size_t n) { D::IdfNorm(x, out, n); }),
                    NumberByNumber("modelcore, each", [](double x) { return D::IdfNorm(x, 0.0, 1.0); }),
                    NumberByNumber("R", [](double x) { return qnorm(x, 0, 1, 1, 0); }),
                    NumberByNumber("boost", [](double x) { return quantile(BoostNormal(), x); }),
                    NumberByNumber("gsl", [](double x) { return gsl_cdf_ugaussian_Pinv(x); })});
    for (const double df : {1.0, 10.0, 200.0}) {
        const std::string with = "/df:" + std::to_string(static_cast<int>(df));
        RegisterArrays("array: chi-square cdf" + with, quantiles([df](double v) { return D::IdfChi(v, df); }),
                       {ours("modelcore", [df](In x, double* out, std::size_t n) { D::CdfChi(x, out, n, df); }),
                        NumberByNumber("modelcore, each", [df](double x) { return D::CdfChi(x, df); }),
                        NumberByNumber("R", [df](double x) { return pchisq(x, df, 1, 0); }),
                        NumberByNumber("boost", [df](double x) { return cdf(BoostChi(df), x); }),
                        NumberByNumber("gsl", [df](double x) { return gsl_cdf_chisq_P(x, df); })});
    }
    for (const double df : {3.0, 30.0, 1000.0}) {
        const std::string with = "/df:" + std::to_string(static_cast<int>(df));
        RegisterArrays("array: t cdf" + with, quantiles([df](double v) { return D::IdfT(v, df, 0, 0); }),
                       {ours("modelcore", [df](In x, double* out, std::size_t n) { D::CdfT(x, out, n, df); }),
                        NumberByNumber("modelcore, each", [df](double x) { return D::CdfT(x, df); }),
                        NumberByNumber("R", [df](double x) { return pt(x, df, 1, 0); }),
                        NumberByNumber("boost", [df](double x) { return cdf(BoostT(df), x); }),
                        NumberByNumber("gsl", [df](double x) { return gsl_cdf_tdist_P(x, df); })});
    }
    for (const double df : {3.0, 200.0}) {
        const std::string with = "/df:" + std::to_string(static_cast<int>(df)) + ",50";
        RegisterArrays("array: F cdf" + with, quantiles([df](double v) { return D::IdfF(v, df, 50.0); }),
                       {ours("modelcore", [df](In x, double* out, std::size_t n) { D::CdfF(x, out, n, df, 50.0); }),
                        NumberByNumber("modelcore, each", [df](double x) { return D::CdfF(x, df, 50.0); }),
                        NumberByNumber("R", [df](double x) { return pf(x, df, 50.0, 1, 0); }),
                        NumberByNumber("boost", [df](double x) { return cdf(BoostF(df, 50.0), x); }),
                        NumberByNumber("gsl", [df](double x) { return gsl_cdf_fdist_P(x, df, 50.0); })});
    }
    RegisterArrays("array: chi-square quantile/df:10", p,
                   {ours("modelcore", [](In x, double* out, std::size_t n) { D::IdfChi(x, out, n, 10.0); }),
                    NumberByNumber("modelcore, each", [](double x) { return D::IdfChi(x, 10.0); }),
                    NumberByNumber("R", [](double x) { return qchisq(x, 10.0, 1, 0); }),
                    NumberByNumber("boost", [](double x) { return quantile(BoostChi(10.0), x); })});
    RegisterArrays("array: t quantile/df:30", p,
                   {ours("modelcore", [](In x, double* out, std::size_t n) { D::IdfT(x, out, n, 30.0, 0, 0); }),
                    NumberByNumber("modelcore, each", [](double x) { return D::IdfT(x, 30.0, 0, 0); }),
                    NumberByNumber("R", [](double x) { return qt(x, 30.0, 1, 0); }),
                    NumberByNumber("boost", [](double x) { return quantile(BoostT(30.0), x); })});
    RegisterArrays("array: F quantile/df:3,50", p,
                   {ours("modelcore", [](In x, double* out, std::size_t n) { D::IdfF(x, out, n, 3.0, 50.0); }),
                    NumberByNumber("modelcore, each", [](double x) { return D::IdfF(x, 3.0, 50.0); }),
                    NumberByNumber("R", [](double x) { return qf(x, 3.0, 50.0, 1, 0); }),
                    NumberByNumber("boost", [](double x) { return quantile(BoostF(3.0, 50.0), x); })});
}

long& Err()
{
    static long err = 0;
    return err;
}

} // namespace

void RegisterContenders()
{
    gsl_set_error_handler_off();
    constexpr double kLow = 0.5;
    constexpr double kHigh = 1000.0;

    const Points normal = MakePoints(kLow, kHigh, [](const Point& v) { return MCDistFun::IdfStdNorm(v.p); });
    Register("normal cdf", normal,
             {{"modelcore", [](const Point& v) { return MCDistFun::CdfStdNorm(v.x); }},
              {"R", [](const Point& v) { return pnorm(v.x, 0, 1, 1, 0); }},
              {"boost", [](const Point& v) { return cdf(BoostNormal(), v.x); }},
              {"gsl", [](const Point& v) { return gsl_cdf_ugaussian_P(v.x); }}});
    Register("normal quantile", normal,
             {{"modelcore", [](const Point& v) { return MCDistFun::IdfStdNorm(v.p); }},
              {"R", [](const Point& v) { return qnorm(v.p, 0, 1, 1, 0); }},
              {"boost", [](const Point& v) { return quantile(BoostNormal(), v.p); }},
              {"gsl", [](const Point& v) { return gsl_cdf_ugaussian_Pinv(v.p); }}});
    Register("log-gamma", normal,
             {{"modelcore", [](const Point& v) { return MCDistFun::tavodnlgam(v.a); }},
              {"R", [](const Point& v) { return lgammafn(v.a); }},
              {"boost", [](const Point& v) { return boost::math::lgamma(v.a, Fast()); }},
              {"gsl", [](const Point& v) { return gsl_sf_lngamma(v.a); }}});

    for (const double high : {100.0, kHigh}) {
        const std::string range = "/df to " + std::to_string(static_cast<int>(high));
        const Points chi = MakePoints(kLow, high, [](const Point& v) { return MCDistFun::IdfChi(v.p, v.a); });
        Register("chi-square cdf" + range, chi,
                 {{"modelcore", [](const Point& v) { return MCDistFun::CdfChi(v.x, v.a); }},
                  {"R", [](const Point& v) { return pchisq(v.x, v.a, 1, 0); }},
                  {"boost", [](const Point& v) { return cdf(BoostChi(v.a), v.x); }},
                  {"gsl", [](const Point& v) { return gsl_cdf_chisq_P(v.x, v.a); }}});
        Register("chi-square quantile" + range, chi,
                 {{"modelcore", [](const Point& v) { return MCDistFun::IdfChi(v.p, v.a); }},
                  {"R", [](const Point& v) { return qchisq(v.p, v.a, 1, 0); }},
                  {"boost", [](const Point& v) { return quantile(BoostChi(v.a), v.p); }},
                  {"gsl", [](const Point& v) { return gsl_cdf_chisq_Pinv(v.p, v.a); }}});
    }

    const Points student = MakePoints(kLow, kHigh, [](const Point& v) { return MCDistFun::IdfT(v.p, v.a, 0, 0); });
    Register("t cdf", student,
             {{"modelcore", [](const Point& v) { return MCDistFun::CdfT(v.x, v.a); }},
              {"R", [](const Point& v) { return pt(v.x, v.a, 1, 0); }},
              {"boost", [](const Point& v) { return cdf(BoostT(v.a), v.x); }},
              {"gsl", [](const Point& v) { return gsl_cdf_tdist_P(v.x, v.a); }}});
    Register("t quantile", student,
             {{"modelcore", [](const Point& v) { return MCDistFun::IdfT(v.p, v.a, 1e-12, 1e-20); }},
              {"R", [](const Point& v) { return qt(v.p, v.a, 1, 0); }},
              {"boost", [](const Point& v) { return quantile(BoostT(v.a), v.p); }},
              {"gsl", [](const Point& v) { return gsl_cdf_tdist_Pinv(v.p, v.a); }}});

    const Points fisher = MakePoints(kLow, kHigh, [](const Point& v) { return MCDistFun::IdfF(v.p, v.a, v.b); });
    Register("F cdf", fisher,
             {{"modelcore", [](const Point& v) { return MCDistFun::CdfF(v.x, v.a, v.b); }},
              {"R", [](const Point& v) { return pf(v.x, v.a, v.b, 1, 0); }},
              {"boost", [](const Point& v) { return cdf(BoostF(v.a, v.b), v.x); }},
              {"gsl", [](const Point& v) { return gsl_cdf_fdist_P(v.x, v.a, v.b); }}});
    Register("F quantile", fisher,
             {{"modelcore", [](const Point& v) { return MCDistFun::IdfF(v.p, v.a, v.b); }},
              {"R", [](const Point& v) { return qf(v.p, v.a, v.b, 1, 0); }},
              {"boost", [](const Point& v) { return quantile(BoostF(v.a, v.b), v.p); }},
              {"gsl", [](const Point& v) { return gsl_cdf_fdist_Pinv(v.p, v.a, v.b); }}});

    const Points beta = MakePoints(kLow, kHigh, [](const Point& v) { return MCDistFun::IdfBeta(v.p, v.a, v.b); });
    Register("beta cdf", beta,
             {{"modelcore", [](const Point& v) { return MCDistFun::CdfBeta(v.x, v.a, v.b); }},
              {"R", [](const Point& v) { return pbeta(v.x, v.a, v.b, 1, 0); }},
              {"boost", [](const Point& v) { return cdf(BoostBeta(v.a, v.b), v.x); }},
              {"gsl", [](const Point& v) { return gsl_cdf_beta_P(v.x, v.a, v.b); }}});
    Register("beta quantile", beta,
             {{"modelcore", [](const Point& v) { return MCDistFun::IdfBeta(v.p, v.a, v.b); }},
              {"R", [](const Point& v) { return qbeta(v.p, v.a, v.b, 1, 0); }},
              {"boost", [](const Point& v) { return quantile(BoostBeta(v.a, v.b), v.p); }},
              {"gsl", [](const Point& v) { return gsl_cdf_beta_Pinv(v.p, v.a, v.b); }}});

    Points binomial = MakePoints(
        10.0, 10000.0, [](const Point& v) { return MCDistFun::IdfBin(v.p, std::floor(v.a), v.c / 101.0, Err()); });
    for (Point& point : binomial) {
        point.a = std::floor(point.a);
        point.b = point.c / 101.0;
    }
    Register("binomial cdf", binomial,
             {{"modelcore", [](const Point& v) { return MCDistFun::CdfBin(v.x, v.a, v.b, Err()); }},
              {"R", [](const Point& v) { return pbinom(v.x, v.a, v.b, 1, 0); }},
              {"boost", [](const Point& v) { return cdf(BoostBinomial(v.a, v.b), v.x); }},
              {"gsl", [](const Point& v) {
                   return gsl_cdf_binomial_P(static_cast<unsigned>(v.x), v.b, static_cast<unsigned>(v.a));
               }}});

    // Noncentral: c is the noncentrality, the point a random quantile of the central distribution moved by it.
    const Points ncChi = MakePoints(kLow, 100.0, [](const Point& v) { return MCDistFun::IdfChi(v.p, v.a + v.c); });
    Register("noncentral chi-square cdf", ncChi,
             {{"modelcore", [](const Point& v) { return MCDistFun::NonCentralCdfChi(v.x, v.a, v.c); }},
              {"R", [](const Point& v) { return pnchisq(v.x, v.a, v.c, 1, 0); }},
              {"boost", [](const Point& v) { return cdf(BoostNcChi(v.a, v.c), v.x); }}});
    const Points ncF =
        MakePoints(kLow, 100.0, [](const Point& v) { return MCDistFun::IdfF(v.p, v.a, v.b) * (1.0 + v.c / v.a); });
    Register("noncentral F cdf", ncF,
             {{"modelcore", [](const Point& v) { return MCDistFun::NonCentralCdfF(v.x, v.a, v.b, v.c, 1e-12); }},
              {"R", [](const Point& v) { return pnf(v.x, v.a, v.b, v.c, 1, 0); }},
              {"boost", [](const Point& v) { return cdf(BoostNcF(v.a, v.b, v.c), v.x); }}});
    Points ncT =
        MakePoints(1.0, 100.0, [](const Point& v) { return MCDistFun::IdfT(v.p, v.a, 0, 0) + std::sqrt(v.c); });
    for (Point& point : ncT) point.c = std::sqrt(point.c);
    Register("noncentral t cdf", ncT,
             {{"modelcore", [](const Point& v) { return MCDistFun::NonCentralCdfT(v.x, v.a, v.c, 1e-12); }},
              {"R", [](const Point& v) { return pnt(v.x, v.a, v.c, 1, 0); }},
              {"boost", [](const Point& v) { return cdf(BoostNcT(v.a, v.c), v.x); }}});

    RegisterArrayContenders();
}
