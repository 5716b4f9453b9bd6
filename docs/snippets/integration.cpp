// The code of docs/integration.md.
#include "modelcore/modelcore.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <numbers>

using namespace MCMath_930;

namespace {

// Density of a normal effect times the probability of a success given the effect.
class MarginalSuccess : public IIntegrand {
public:
    double Evaluate(const std::vector<double>& point) override
    {
        const double effect = point[0];
        return std::exp(-effect * effect / 2) / std::sqrt(2 * std::numbers::pi) / (1 + std::exp(-0.5 - effect));
    }
};

} // namespace

int main()
{
    MarginalSuccess f;
    LobattoQuad quad;
    quad.SetTolerance(1e-10, 0.0);
    const double infinity = std::numeric_limits<double>::infinity();
    double probability = 0.0, error = 0.0;
    if (quad.Integrate(f, BoundsList(-infinity, infinity), probability, error) != INumIntegration::Success) return 1;
    std::printf("%.12f\n", probability);
}
