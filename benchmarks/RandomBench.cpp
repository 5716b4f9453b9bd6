// Random numbers: words, uniform reals, normal, gamma, beta and binomial variates, beside the standard library, GSL and
// R's nmath. Words of the Mersenne Twister are the same everywhere; variates are made by other methods, so there only
// the mean is compared.
#include "modelcore/modelcore.h"
#include "support/PeerTable.h"

#include <gsl/gsl_randist.h>
#include <gsl/gsl_rng.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <string>

#define MATHLIB_STANDALONE 1
#include <Rmath.h>

namespace {

using namespace MCMath_930;

constexpr int kDraws = 20000;
constexpr unsigned long kSeed = 5489;

/// The sources that all contenders share; they live as long as the program.
struct Sources {
    Sources()
    {
        source.SetSeed(double(kSeed));
        values.SetURNGPtr(&uniform);
        gsl_rng_set(gsl, kSeed);
        set_seed(1, 2);
    }

    std::mt19937 standard{kSeed};
    gsl_rng* gsl = gsl_rng_alloc(gsl_rng_mt19937);
    MCRandomTwister twister;
    MCRNGUTwister source;
    MCURandom uniform{kSeed, true, true, nullptr};
    MCRandomValues values;
};

Sources& All()
{
    static Sources sources;
    return sources;
}

/// The numbers of one contender; mean and sd are those of its distribution, if it is to be checked.
class Operation {
public:
    Operation(std::string name, double mean, double sd) : fName(std::move(name)), fMean(mean), fSd(sd) {}

    template <class Draw>
    Operation& With(const char* contender, Draw draw)
    {
        double sum = 0.0;
        for (int i = 0; i < kDraws; ++i) sum += double(draw());
        if (std::fabs(sum / kDraws - fMean) > 6.0 * fSd / std::sqrt(double(kDraws))) {
            peers::Refuse(fName, contender, "mean is wrong");
            return *this;
        }
        peers::Add(fName, contender, {kDraws, "Mdraw", 1e6}, [draw]() mutable {
            decltype(draw()) total = 0; // the numbers are used, but not one by one put into memory
            for (int i = 0; i < kDraws; ++i) total += draw();
            peers::Keep(total);
        });
        return *this;
    }

private:
    std::string fName;
    double fMean;
    double fSd;
};

void RegisterUniforms()
{
    Sources& s = All();
    std::mt19937 first(kSeed), second(kSeed);
    MCRandomTwister ours;
    ours.Initialize(kSeed);
    for (int i = 0; i < 100000; ++i)
        if (ours.GetInteger32() != first()) return peers::Refuse("32-bit word", "modelcore", "words differ");

    Operation("32-bit word", 2147483647.5, 4294967296.0 / std::sqrt(12.0))
        .With("modelcore", [&s] { return s.twister.GetInteger32(); })
        .With("std::mt19937", [&s] { return s.standard(); })
        .With("GSL mt19937", [&s] { return gsl_rng_get(s.gsl); });
    const double sd = 1.0 / std::sqrt(12.0);
    Operation("53-bit real", 0.5, sd)
        .With("modelcore", [&s] { return s.twister.GetRealRes53(); })
        .With("modelcore MCRNGenerator",
              [source = static_cast<MCRNGenerator*>(&s.source)] { return source->GetNext(); })
        .With("std::mt19937 by shifts",
              [&s] {
                  const auto high = std::uint32_t(s.standard()) >> 5;
                  const auto low = std::uint32_t(s.standard()) >> 6;
                  return (high * 67108864.0 + low) * 0x1p-53;
              })
        .With("std::generate_canonical", [&s] { return std::generate_canonical<double, 53>(s.standard); });
    Operation("32-bit real", 0.5, sd)
        .With("modelcore", [&s] { return s.uniform.GetRandom(); })
        .With("GSL uniform", [&s] { return gsl_rng_uniform(s.gsl); })
        .With("nmath unif_rand", [] { return unif_rand(); });
}

void RegisterVariates()
{
    Sources& s = All();
    MCRNGNormal normal;
    normal.SetURNGenerator(s.source);
    Operation("normal", 0.0, 1.0)
        .With("modelcore", [&s] { return s.values.RVSNor(); })
        .With("modelcore MCRNGNormal", [normal]() mutable { return normal.GetNext(); })
        .With("std::normal_distribution",
              [&s, d = std::normal_distribution<double>()]() mutable { return d(s.standard); })
        .With("GSL ziggurat", [&s] { return gsl_ran_gaussian_ziggurat(s.gsl, 1.0); })
        .With("GSL polar", [&s] { return gsl_ran_gaussian(s.gsl, 1.0); })
        .With("nmath norm_rand", [] { return norm_rand(); });

    for (const double shape : {0.1, 0.5, 1.5, 50.0}) {
        std::string name = std::to_string(shape);
        name.erase(name.find_last_not_of('0') + 1);
        if (name.back() == '.') name.pop_back();
        Operation("gamma/shape:" + name, shape, std::sqrt(shape))
            .With("modelcore", [&s, shape] { return s.values.RVGam(shape, 1.0); })
            .With("std", [&s, d = std::gamma_distribution<double>(shape)]() mutable { return d(s.standard); })
            .With("GSL", [&s, shape] { return gsl_ran_gamma(s.gsl, shape, 1.0); })
            .With("nmath", [shape] { return rgamma(shape, 1.0); });
    }

    struct Shapes {
        const char* name;
        double a, b;
    };
    for (const Shapes& shapes : {Shapes{"0.5,0.5", 0.5, 0.5}, {"2,5", 2.0, 5.0}, {"50,50", 50.0, 50.0}}) {
        const double a = shapes.a, b = shapes.b;
        MCRNGBeta beta(a, b);
        beta.SetURNGenerator(s.source);
        Operation(std::string("beta/shapes:") + shapes.name, a / (a + b), std::sqrt(a * b / (a + b + 1.0)) / (a + b))
            .With("modelcore", [beta]() mutable { return beta.GetNext(); })
            .With("GSL", [&s, a, b] { return gsl_ran_beta(s.gsl, a, b); })
            .With("nmath", [a, b] { return rbeta(a, b); });
    }

    for (const unsigned n : {20u, 1000u, 1000000u}) {
        const double p = 0.3;
        MCRNGBinomial binomial(n, p);
        binomial.SetURNGenerator(s.source);
        Operation("binomial/n:" + std::to_string(n), n * p, std::sqrt(n * p * (1.0 - p)))
            .With("modelcore", [binomial]() mutable { return binomial.GetNext(); })
            .With("std", [&s, d = std::binomial_distribution<int>(int(n), p)]() mutable { return d(s.standard); })
            .With("GSL", [&s, n, p] { return gsl_ran_binomial(s.gsl, p, n); })
            .With("nmath", [n, p] { return rbinom(n, p); });
    }
}

} // namespace

void RegisterContenders()
{
    RegisterUniforms();
    RegisterVariates();
}
