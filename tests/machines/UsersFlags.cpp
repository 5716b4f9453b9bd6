// Compiled with flags by which products and sums are fused. The names of the header get another namespace here: one
// program must not have two versions of an inline function.
#define MCMath_930 UsersFlags
#include "modelcore/matrix/MCExtended.h"

#include "tests/machines/UsersFlags.h"

std::array<double, 8> ExtendedWithUsersFlags(double aHigh, double aLow, double bHigh, double bLow)
{
    using namespace UsersFlags;
    const MCExtended a{aHigh, aLow}, b{bHigh, bLow}, product = a * b, scaled = a * b.high, quotient = a / b,
                                                     root = Sqrt(a);
    return {product.high, product.low, scaled.high, scaled.low, quotient.high, quotient.low, root.high, root.low};
}
