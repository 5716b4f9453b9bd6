// MCPower: guarded exponentials and powers.
#include "modelcore/distributions/MCPower.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/internal/PortableMath.h"

#include <algorithm>
#include <cmath>

namespace MCMath_930 {

using internal::PortableExp;
using internal::PortableLog;
using MCCommon_930::MCMV;

namespace {

/// How many machine epsilons an exponent may be away from one over an odd number.
constexpr int kReciprocalSlack = 32;

/// e * log, with every power of 1 equal to 1: 0 times an infinite exponent would be a NaN.
double Scaled(double e, double log)
{
    return log == 0.0 && std::isinf(e) ? 0.0 : e * log;
}

bool IsNearlyWhole(double x, int k)
{
    return MCPower::AlmostEqual(x, std::floor(x + 0.5), k);
}

} // namespace

bool MCPower::IsInteger(double x)
{
    return x <= gMachineMaxInt && std::floor(x) == x;
}

bool MCPower::IsEvenInteger(double x)
{
    return IsInteger(x) && std::floor(x / 2.0) == x / 2.0;
}

bool MCPower::IsOddInteger(double x)
{
    const double half = x / 2.0 + 0.5;
    return IsInteger(x) && std::floor(half) == half;
}

bool MCPower::IsOneOverOddInteger(double x, int k)
{
    if (x == 0.0 || 1.0 / x > gMachineMaxInt) return false;
    return IsNearlyWhole(1.0 / x * 0.5 + 0.5, k);
}

bool MCPower::IsOneOverEvenInteger(double x, int k)
{
    if (x == 0.0 || 1.0 / x > gMachineMaxInt) return false;
    return IsNearlyWhole(1.0 / x * 0.5, k);
}

bool MCPower::AlmostEqual(double a, double b, int k)
{
    if (a == 0.0 || b == 0.0) return a == b;
    if ((a > 0.0) != (b > 0.0)) return false;
    const double x = std::fabs(a);
    const double y = std::fabs(b);
    if (std::isinf(x) || std::isinf(y)) return x == y;
    return std::fabs(x - y) / std::max(x, y) <= k * gMachineEpsilon;
}

MCPower::PowerStatus MCPower::Exponent(double x, double& result)
{
    if (ExpUnderflow(x)) {
        result = 0.0;
        return Underflow;
    }
    if (ExpOverflow(x)) {
        result = MCMV::Missing();
        return Overflow;
    }
    result = PortableExp(x);
    return Success;
}

MCPower::PowerStatus MCPower::Power(double base, double e, double& result)
{
    result = MCMV::Missing();
    if (base == 0.0) {
        if (e < 0.0) return ZeroBaseNegativeExponent;
        result = e == 0.0 ? 1.0 : std::isnan(e) ? e : 0.0;
        return e == 0.0 ? ZeroBaseZeroExponent : Success;
    }
    if (e == 0.0) {
        result = 1.0;
        return base < 0.0 ? NegativeBaseZeroExponent : Success;
    }
    if (base < 0.0 && !std::isnan(e) && !IsEvenInteger(e)) {
        if (!IsOddInteger(e) && !IsOneOverOddInteger(e, kReciprocalSlack)) return InvalidExponent;
        const PowerStatus status = Exponent(Scaled(e, PortableLog(-base)), result);
        if (status == Overflow) return e > 0.0 ? NegativeOverflow : Overflow;
        result = -result;
        return status;
    }
    return Exponent(Scaled(e, PortableLog(std::fabs(base))), result);
}

double MCPower::Multiply(double a, double b)
{
    if (a == 0.0 || b == 0.0) return 0.0;
    const double exponent = PortableLog(std::fabs(a)) + PortableLog(std::fabs(b));
    if (ExpUnderflow(exponent)) return 0.0;
    if (ExpOverflow(exponent)) return MCMV::Missing();
    return a * b;
}

} // namespace MCMath_930
