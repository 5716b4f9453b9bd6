// Distributions and special functions of any bits: probabilities lie in [0, 1], quantiles are found again, finite legal
// arguments give no NaN, and nothing hangs.
#include "Input.h"

#include "modelcore/modelcore.h"

using namespace MCMath_930;
using MCCommon_930::MCMV;

namespace {

bool IsProbability(double p)
{
    return p >= 0.0 && p <= 1.0;
}

/// Of a point that is no NaN: a probability, or missing for arguments outside the domain.
void RequireProbability(double p, double x)
{
    REQUIRE(MCMV::IsMissing(p) || IsProbability(p) || (std::isnan(x) && std::isnan(p)));
}

/// A distribution function at two points: it grows.
template <class Cdf>
void Grows(double x, double y, Cdf cdf)
{
    const double p = cdf(x), other = cdf(y);
    RequireProbability(p, x);
    RequireProbability(other, y);
    if (!IsProbability(p) || !IsProbability(other)) return;
    constexpr double kUnderflow = 3.4e-308; // what is below may be 0
    REQUIRE(x < y ? p <= other * (1.0 + 1e-9) + kUnderflow : x == y || other <= p * (1.0 + 1e-9) + kUnderflow);
}

/// Parameters above leave the noncentral distributions fewer digits than the comparison takes.
bool AreModerate(double a, double b, double c = 0.0)
{
    return std::max({std::fabs(a), std::fabs(b), std::fabs(c)}) <= 1e10;
}

/// Both tails of a distribution: they grow and fall, and are one together.
template <class Cdf, class Sig>
void Tails(double x, double y, Cdf cdf, Sig sig)
{
    Grows(x, y, cdf);
    const double p = cdf(x), q = sig(x);
    RequireProbability(q, x);
    REQUIRE(MCMV::IsMissing(p) == MCMV::IsMissing(q));
    if (IsProbability(p)) REQUIRE(std::fabs(p + q - 1.0) <= 1e-10);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    Input input(bytes, size);
    const std::uint8_t function = input.Byte();
    const bool anyBits = input.Bool();
    std::array<double, 5> v{};
    for (double& x : v) x = anyBits ? input.Bits() : input.Real();
    const auto& [x, y, a, b, c] = v;
    const double p = std::ldexp(static_cast<double>(input.Word() >> 11), -53);
    long err = 0;
    int error = 0;
    const auto single = [&, xx = x](double value) { RequireProbability(value, xx); };
    const auto quantile = [](double value) { REQUIRE(!std::isnan(value)); };
    switch (function % 24) {
    case 0:
        Tails(
            x, y, [](double t) { return MCDistFun::CdfStdNorm(t); },
            [](double t) { return MCDistFun::CdfStdNorm(-t); });
        quantile(MCDistFun::IdfStdNorm(p));
        MCDistFun::PdfNormalStandard(x);
        break;
    case 1:
        MCDistFun::CdfNorm(x, a, b);
        MCDistFun::IdfNorm(p, a, b);
        MCDistFun::PdfNormal(x, a, b);
        if (std::isfinite(x) && std::isfinite(a - x) && std::isfinite(b)) single(MCDistFun::CdfNorm(x, a, b));
        break;
    case 2:
        Tails(
            x, y, [aa = a](double t) { return MCDistFun::CdfChi(t, aa); },
            [aa = a](double t) { return MCDistFun::SigChi(t, aa); });
        quantile(MCDistFun::IdfChi(p, a));
        break;
    case 3: Grows(x, y, [aa = a, bb = b](double t) { return MCDistFun::CdfGam(t, aa, bb); }); break;
    case 4: quantile(MCDistFun::IdfGam(p, a, b)); break;
    case 5: MCDistFun::PdfGamma(x, a, b); break;
    case 6: Grows(x, y, [aa = a, bb = b](double t) { return MCDistFun::CdfBeta(t, aa, bb); }); break;
    case 7: {
        const double q = MCDistFun::IdfBeta(p, a, b);
        REQUIRE(MCMV::IsMissing(q) || IsProbability(q));
        break;
    }
    case 8:
        Tails(
            x, y, [aa = a](double t) { return MCDistFun::CdfT(t, aa); },
            [aa = a](double t) { return MCDistFun::SigT(t, aa); });
        break;
    case 9: quantile(MCDistFun::IdfT(p, a, b, c)); break;
    case 10: MCDistFun::PdfT(x, a, err); break;
    case 11:
        Tails(
            x, y, [aa = a, bb = b](double t) { return MCDistFun::CdfF(t, aa, bb); },
            [aa = a, bb = b](double t) { return MCDistFun::SigF(t, aa, bb); });
        break;
    case 12: quantile(MCDistFun::IdfF(p, a, b)); break;
    case 13: single(MCDistFun::CdfBin(x, a, b, err)); break;
    case 14: MCDistFun::IdfBin(p, a, b, err), MCDistFun::IdfBin(x, a, p, err); break;
    case 15: single(MCDistFun::PdfBin(x, a, b, err)), single(MCDistFun::PdfNegBin(x, a, b, err)); break;
    case 16:
        single(MCDistFun::PdfHyper(
            static_cast<long>(input.Word()) >> input.Int(0, 60), static_cast<long>(input.Word()) >> input.Int(0, 60),
            static_cast<long>(input.Word()) >> input.Int(0, 60), static_cast<long>(input.Word()) >> input.Int(0, 60)));
        single(MCDistFun::CDFHyper(x, a, b, c, error));
        break;
    case 17:
        single(MCDistFun::NonCentralCdfChi(x, a, b));
        if (AreModerate(a, b))
            Grows(x, y, [aa = a, bb = b](double t) { return MCDistFun::NonCentralCdfChi(t, aa, bb); });
        break;
    case 18:
        single(MCDistFun::NonCentralCdfF(x, a, b, c, 0.0));
        if (AreModerate(a, b, c))
            Grows(x, y, [aa = a, bb = b, cc = c](double t) { return MCDistFun::NonCentralCdfF(t, aa, bb, cc, 0.0); });
        break;
    case 19:
        single(MCDistFun::NonCentralCdfT(x, a, b, 0.0));
        if (AreModerate(a, b))
            Grows(x, y, [aa = a, bb = b](double t) { return MCDistFun::NonCentralCdfT(t, aa, bb, 0.0); });
        MCDistFun::NonCentralPdfT(x, a, b, err);
        break;
    case 20:
        quantile(MCDistFun::FindNCParamChi(x, a, p, 0.0)), quantile(MCDistFun::FindNCParamF(x, a, b, p, 0.0));
        break;
    case 21: quantile(MCDistFun::FindNCParamT(x, a, p, 0.0, 0.0)); break;
    case 22: {
        std::vector<double> values, weights, bounds;
        for (int i = input.Int(0, 9); i > 0; --i) {
            values.push_back(input.Real()), weights.push_back(input.Real()), bounds.push_back(input.Real());
        }
        double result = 0.0, median = 0.0, lower = 0.0, upper = 0.0;
        const long n = input.Int(-1, 10);
        MCDistFun::GPTile(n, x, values, weights, bounds, input.Int(-1, 3), result, err);
        MCDistFun::Mednci(n, values, weights, y, a, input.Bool(), median, lower, upper);
        std::sort(values.begin(), values.end());
        MCDistFun::Mednci(n, values, weights, y, a, input.Bool(), median, lower, upper);
        break;
    }
    default: {
        double result = 0.0;
        MCDistFun::tavodnlgam(x);
        MCMathFun::Digamma(x);
        MCMathFun::Trigamma(x);
        MCMathFun::ReplaceIfSmall(x, y);
        MCPower::Power(x, y, result);
        MCPower::Exponent(x, result);
        MCPower::Multiply(x, y);
        MCPower::IsOneOverOddInteger(x, 3);
        MCPower::AlmostEqual(x, y, 2);
        MCPower::IsEvenInteger(x);
        std::vector<double> bounds{a, b, c};
        MCMathFun::BinSearch(bounds, input.Int(-1, 3), input.Int(-1, 3), x, input.Bool());
        MCMathFun::DNrm2(5, std::vector<double>(v.begin(), v.end()), 0, 1);
    }
    }
    return 0;
}
