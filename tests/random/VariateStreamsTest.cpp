// The sequences of the variate generators, which are fixed for good, and their distributions. Seeds are fixed, so a
// test passes always or never.
#include "random/RandomTesting.h"

namespace {

using Draw = std::function<double()>;

/// From its own source, the congruential generator with state 1, or from a Twister.
template <class Generator>
Draw Of(double first, double second)
{
    return [g = Generator(first, second)]() mutable { return g.GetNext(); };
}
template <class Generator>
Draw TwistedOf(double first, double second)
{
    const auto source = std::make_shared<MCRNGUTwister>();
    Generator generator(first, second);
    generator.SetURNGenerator(*source);
    return [source, generator]() mutable { return generator.GetNext(); };
}

/// From the Twister of an MCURandom.
template <class Body>
Draw Value(Body body)
{
    const auto source = std::make_shared<MCURandom>();
    MCRandomValues values;
    values.SetURNGPtr(source.get());
    return [source, values, body]() mutable { return body(values); };
}
Draw Gamma(double shape, double rate)
{
    return Value([=](MCRandomValues& values) { return values.RVGam(shape, rate); });
}
Draw Chi(double df)
{
    return Value([=](MCRandomValues& values) { return values.RVChi(df); });
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || !defined(NDEBUG)
constexpr int kDraws = 50000;
#else
constexpr int kDraws = 1000000;
#endif

/// Chi-square of the numbers in the cells between edges, as a standard normal quantity (Wilson and Hilferty 1931),
/// which for a right generator is above 3.72 with one seed in ten thousand. below[i] is P(number <= edges[i]).
/// Neighbouring cells are put together until 20 are expected.
constexpr double kLimit = 3.72;
double Misfit(const Draw& draw, int draws, const std::vector<double>& edges, const std::vector<double>& below)
{
    std::vector<double> counts(edges.size() + 1), count, mean;
    for (int i = 0; i < draws; ++i)
        counts[std::size_t(std::lower_bound(edges.begin(), edges.end(), draw()) - edges.begin())] += 1.0;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const double p = (i < below.size() ? below[i] : 1.0) - (i > 0 ? below[i - 1] : 0.0);
        if (mean.empty() || mean.back() >= 20.0) {
            count.push_back(0.0);
            mean.push_back(0.0);
        }
        count.back() += counts[i];
        mean.back() += draws * p;
    }
    double chi = 0.0;
    for (std::size_t i = 0; i < mean.size(); ++i) chi += std::pow(count[i] - mean[i], 2) / std::max(mean[i], 20.0);
    const double df = std::max(1.0, double(mean.size()) - 1.0);
    return (std::cbrt(chi / df) - 1.0 + 2.0 / (9.0 * df)) / std::sqrt(2.0 / (9.0 * df));
}

} // namespace

// Beta variates may differ in the last digits between C runtimes, whose exp and log do; a decision that went the other
// way would change everything after it.
TEST(VariateStreams, AreThoseOfPlainLoops)
{
    struct Row {
        const char* name;
        double first[5];
        double mean; // of the first 20000
        Draw draw;
    };
    // clang-format off
    const Row rows[] = { // reference/random_sequences.py
        {"normal", {0.39734792709731825, -0.6389882553238352, -0.5347733886460107, -0.23353892866552717, 0.9882651943876501}, -0.0033730813876385775, Of<MCRNGNormal>(0, 1)},
        {"beta 2 2", {0.6404837068704659, 0.6684627028699057, 0.6142893181932774, 0.41743151993478217, 0.5254522635680785}, 0.4985627358624504, Of<MCRNGBeta>(2, 2)},
        {"beta 50.5 50.5", {0.5199674846273833, 0.5239442459540442, 0.5162443763404007, 0.48826422726780105, 0.5036176272170574}, 0.5000540591473659, Of<MCRNGBeta>(50.5, 50.5)},
        {"beta 1.5 1.5", {0.22953650301419135, 0.4178371048961996, 0.5351212291209588, 0.08258954696810374, 0.7745752733344197}, 0.5022612181248005, Of<MCRNGBeta>(1.5, 1.5)},
        {"beta 20 300", {0.04960608158604797, 0.05868608655656872, 0.06418710437817474, 0.039369111737522874, 0.07881127939745762}, 0.06265103436449702, Of<MCRNGBeta>(20, 300)},
        {"beta 300 1.1", {0.997475761108163, 0.9957269359339126, 0.9997516458107386, 0.9820213494583757, 0.9985053976002127}, 0.9963330914828431, Of<MCRNGBeta>(300, 1.1)},
        {"beta 0.3 0.3", {0.20521870127415412, 0.6397947315731427, 5.3848660290922365e-05, 0.9935622984726209, 0.9971895147559837}, 0.5023466765043447, Of<MCRNGBeta>(0.3, 0.3)},
        {"beta 0.3 40", {0.02822649934399567, 0.004204755163222379, 2.1137600693103133e-05, 2.414034056104314e-07, 2.9034343739717606e-08}, 0.007315416846954474, Of<MCRNGBeta>(0.3, 40)},
        {"beta 5 1", {0.7691007828405743, 0.8559165099399771, 0.9577578107125393, 0.9667830239482399, 0.9910987379032289}, 0.8334373963334157, Of<MCRNGBeta>(5, 1)},
        {"binomial 20 0.3", {8.0, 3.0, 8.0, 8.0, 7.0}, 5.99535, Of<MCRNGBinomial>(20, 0.3)},
        {"binomial 1000 0.7", {741.0, 710.0, 701.0, 707.0, 685.0}, 700.0141, Of<MCRNGBinomial>(1000, 0.7)},
        {"binomial 999999 1e-4", {100.0, 109.0, 93.0, 104.0, 103.0}, 100.03475, Of<MCRNGBinomial>(999999, 1e-4)},
        {"gamma 0.1 2", {0.0015782562747100905, 0.06151153555635116, 0.0010785018976620737, 0.0009732507422584503, 9.584259347256422e-05}, 0.051480000438411784, Gamma(0.1, 2)},
        {"gamma 0.5 1", {0.38198779522424026, 0.3742228079374111, 0.10367247843520126, 0.18501142550294417, 0.0014173495132509535}, 0.5005799581385671, Gamma(0.5, 1)},
        {"gamma 1 3", {0.260505782839054, 0.5428104056974409, 0.5080342907747939, 0.36793435570740823, 0.24606884400494133}, 0.3332065241906506, Gamma(1, 3)},
        {"gamma 1.5 1", {1.1722760227757432, 2.2861543084865725, 1.107309798022236, 1.090665745258247, 0.7909334407415822}, 1.509953822314729, Gamma(1.5, 1)},
        {"gamma 50 0.25", {156.3034697034324, 215.85442318856929, 193.6368588543617, 237.74812133972083, 239.97173269249527}, 200.0101489073955, Gamma(50, 0.25)},
        {"gamma 5000 1", {4955.936290413503, 5001.398156754509, 4887.415617662927, 4967.3467259535655, 4980.250721259394}, 4999.756029526107, Gamma(5000, 1)},
        {"chi-square 7", {5.4706214396201345, 10.668720106270673, 5.167445724103768, 5.08977347787182, 3.691022723460717}, 7.052173281304755, Chi(7)},
    };
    // clang-format on
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        double sum = 0.0;
        for (int i = 0; i < 20000; ++i) {
            const double value = row.draw();
            if (i < 5) {
                EXPECT_LE(UlpDistance(value, row.first[i]), 4u) << value;
            }
            sum += value;
        }
        EXPECT_NEAR(sum / 20000, row.mean, 1e-12 * std::fabs(row.mean));
    }
}

// In cells of equal probability. Normals with ten million draws also in the few cells in which the method changes and
// in those that the uncorrected one of 1976 gets wrong, which shows it by far.
TEST(VariateStreams, ContinuousOnesHaveTheirDistributions)
{
    std::vector<double> cells, normalCells;
    for (int i = 1; i < 200; ++i) cells.push_back(i / 200.0);
    for (const double x : {-4.0, -3.0, -2.216035867166471, -0.1158, 0.1158, 2.216035867166471, 3.0, 4.0})
        normalCells.push_back(MCDistFun::CdfStdNorm(x));
    const auto normal = [z = TwistedOf<MCRNGNormal>(3, 2)] { return MCDistFun::CdfStdNorm((z() - 3.0) / 2.0); };
    EXPECT_LT(Misfit(normal, 10 * kDraws, normalCells, normalCells), kLimit);
    EXPECT_LT(Misfit(normal, kDraws, cells, cells), kLimit);

    const auto expectFit = [&](const Draw& draw, auto cdf, double a, double b = 1.0) {
        EXPECT_LT(Misfit([&] { return cdf(draw(), a, b); }, kDraws, cells, cells), kLimit) << a << " " << b;
    };
    const auto uniform = Value([](MCRandomValues& values) { return values.RVUni(-1.0, 3.0); });
    expectFit(
        uniform, [](double x, double a, double b) { return (x - a) / (b - a); }, -1.0, 3.0);
    for (const double shape : {0.1, 0.5, 1.0, 1.5, 50.0}) expectFit(Gamma(shape, 2.0), MCDistFun::CdfGam, shape, 2.0);
    for (const double df : {1.0, 7.0})
        expectFit(
            Chi(df), [](double x, double d, double) { return MCDistFun::CdfChi(x, d); }, df);
    constexpr double shapes[][2] = {{1, 1},    {1.2, 1.2}, {1.6, 1.6}, {2, 2},     {300, 300}, {2, 5},    {300, 1.1},
                                    {20, 300}, {0.3, 0.3}, {0.3, 300}, {300, 0.3}, {1, 3},     {0.06, 1}, {0.04, 2}};
    for (const auto& s : shapes) expectFit(TwistedOf<MCRNGBeta>(s[0], s[1]), MCDistFun::CdfBeta, s[0], s[1]);
}

TEST(VariateStreams, BinomialHasItsDistribution)
{
    constexpr double parameters[][2] = {{1, 0.3},    {20, 1e-6},  {20, 0.3},   {99, 0.5},        {100, 0.5},
                                        {101, 0.9},  {250, 0.02}, {1000, 0.3}, {1e6, 1e-6},      {1000, 1.0 - 1e-6},
                                        {1e6, 1e-3}, {1e6, 0.5},  {1e6, 0.97}, {1e6, 1.0 - 1e-6}};
    for (const auto& [n, p] : parameters) {
        std::vector<double> edges, below;
        for (double z = -4.0; z <= 4.0; z += 0.1) {
            const double k = std::floor(n * p + z * std::sqrt(n * p * (1.0 - p)));
            if (k < 0.0 || k >= n || (!edges.empty() && k == edges.back())) continue;
            long error = 0;
            edges.push_back(k);
            below.push_back(MCDistFun::CdfBin(k, n, p, error));
        }
        EXPECT_LT(Misfit(TwistedOf<MCRNGBinomial>(n, p), kDraws, edges, below), kLimit) << n << " " << p;
    }
}
