#include "modelcore/linalg/LobattoQuad.h"
#include "modelcore/common/MCCancelInfo.h"
#include "modelcore/linalg/BoundsList.h"
#include "modelcore/linalg/IIntegrand.h"
#include "support/MovedFrom.h"
#include "support/Testing.h"

#include <numbers>

using namespace MCMath_930;

namespace {

constexpr double kPi = std::numbers::pi;

using Point = std::vector<double>;

struct Function : IIntegrand {
    explicit Function(std::function<double(const Point&)> function) : f(std::move(function)) {}
    double Evaluate(const Point& point) override
    {
        ++calls;
        return f(point);
    }

    std::function<double(const Point&)> f;
    long calls = 0;
};

struct Case {
    const char* name;
    std::vector<std::pair<double, double>> bounds;
    std::function<double(const Point&)> f;
    double expected;

    BoundsList Bounds() const
    {
        BoundsList list;
        for (const auto& [lower, upper] : bounds) EXPECT_TRUE(list.Add(lower, upper));
        return list;
    }
};

} // namespace

// The thirteen points alone integrate powers up to 19 exactly, 20 not.
TEST(LobattoQuad, ThirteenPointsHaveTheirDegree)
{
    LobattoQuad quad;
    quad.SetTolerance(1e10, 0.0);
    for (int power = 0; power <= 20; ++power) {
        Function f([power](const Point& x) { return std::pow(x[0], power); });
        double value = 0.0, error = 0.0;
        ASSERT_EQ(quad.Integrate(f, BoundsList(0.0, 1.0), value, error), INumIntegration::Success);
        EXPECT_EQ(f.calls, 13);
        const double relative = std::fabs(value * (power + 1) - 1.0);
        if (power < 20)
            EXPECT_LE(relative, 1e-15) << power;
        else
            EXPECT_GT(relative, 1e-14);
    }
}

TEST(LobattoQuad, IntegralsInClosedForm)
{
    const Case cases[] = {
        {"exponential", {{0, 1}}, [](const Point& x) { return std::exp(x[0]); }, std::numbers::e - 1},
        {"reversed", {{1, 0}}, [](const Point& x) { return std::exp(x[0]); }, 1 - std::numbers::e},
        {"no width", {{2, 2}}, [](const Point&) { return kNan; }, 0},
        {"odd", {{-2, 2}}, [](const Point& x) { return x[0] * x[0] * x[0]; }, 0},
        {"root", {{0, 1}}, [](const Point& x) { return std::sqrt(x[0]); }, 2.0 / 3},
        {"corner", {{0, 1}}, [](const Point& x) { return std::fabs(x[0] - 0.3); }, 0.29},
        {"step", {{0, 1}}, [](const Point& x) { return x[0] < 0.3 ? 1.0 : 2.0; }, 1.7},
        {"waves", {{0, kPi}}, [](const Point& x) { return std::sin(51 * x[0]); }, 2.0 / 51},
        {"peak", {{-1, 1}}, [](const Point& x) { return 1 / (1e-4 + x[0] * x[0]); }, 200 * std::atan(100.0)},
        {"wide", {{-1e308, 1e308}}, [](const Point&) { return 1e-308; }, 2},
        {"normal", {{-kInf, kInf}}, [](const Point& x) { return std::exp(-x[0] * x[0] / 2); }, std::sqrt(2 * kPi)},
        {"Cauchy", {{kInf, -kInf}}, [](const Point& x) { return 1 / (1 + x[0] * x[0]); }, -kPi},
        {"lower tail", {{-kInf, 1}}, [](const Point& x) { return std::exp(x[0]); }, std::numbers::e},
        {"heavy tail", {{1, kInf}}, [](const Point& x) { return std::pow(x[0], -1.5); }, 2},
        {"rectangle", {{0, 1}, {0, 2}}, [](const Point& x) { return x[0] * x[1] * x[1]; }, 4.0 / 3},
        {"rough in the first only", {{0, 1}, {0, 1}}, [](const Point& x) { return std::sqrt(x[0]); }, 2.0 / 3},
        {"rough in the second only", {{0, 1}, {0, 1}}, [](const Point& x) { return std::sqrt(x[1]); }, 2.0 / 3},
        {"plane",
         {{-kInf, kInf}, {kInf, -kInf}},
         [](const Point& x) { return std::exp(-x[0] * x[0] - x[1] * x[1]); },
         -kPi},
        {"singular at a node",
         {{0, 1}},
         [](const Point& x) { return 1 / std::cbrt(std::fabs(x[0] - 0.5)); },
         3 * std::cbrt(0.25)},
        {"singular at both ends", {{0, 1}}, [](const Point& x) { return 1 / std::sqrt(x[0]) - std::log(1 - x[0]); }, 3},
        {"box",
         {{0, 1}, {-1, 1}, {0, kInf}},
         [](const Point& x) { return std::exp(x[0] - x[2]) * (1 + x[1]); },
         2 * (std::numbers::e - 1)},
    };
    for (const Case& c : cases)
        for (const double tolerance : {1e-6, 1e-9}) {
            if (c.bounds.size() == 2 && std::isinf(c.bounds[0].first) && tolerance < 1e-6) continue; // many evaluations
            SCOPED_TRACE(std::string(c.name) + ", " + std::to_string(tolerance));
            LobattoQuad quad;
            ASSERT_TRUE(quad.SetTolerance(tolerance, tolerance));
            Function f(c.f);
            double value = kNan, error = kNan;
            EXPECT_EQ(quad.Integrate(f, c.Bounds(), value, error), INumIntegration::Success);
            EXPECT_TRUE(error >= 0.0 && error <= tolerance * std::max(1.0, std::fabs(value))) << error;
            EXPECT_LE(std::fabs(value - c.expected), error + 4e-15 * std::fabs(c.expected));
            EXPECT_EQ(quad.GetNEvaluations(), f.calls);
        }
}

// Jumps, where the rules may agree and be wrong alike: distribution functions of m random points, and others.
TEST(LobattoQuad, JumpsComeOutRightOrAreOwnedUp)
{
    const auto fooled = [](const std::function<double(const Point&)>& f, double upper, double expected,
                           double tolerance) {
        LobattoQuad quad;
        EXPECT_TRUE(quad.SetTolerance(tolerance, tolerance));
        Function function(f);
        double value = kNan, error = kNan;
        const auto status = quad.Integrate(function, BoundsList(0, upper), value, error);
        return status == INumIntegration::Success &&
               !(std::fabs(value - expected) <= tolerance * std::max(1.0, std::fabs(expected)));
    };
    TestRandom random(61);
    int deceived = 0;
    for (const std::size_t m : {2u, 3u, 20u, 50u})
        for (int repeat = 0; repeat < 250; ++repeat) {
            std::vector<double> points = random.Vector(m, 0.0, 1.0);
            double expected = 0.0;
            for (const double point : points) expected += (1.0 - point) / static_cast<double>(m);
            std::sort(points.begin(), points.end());
            const auto share = [&](const Point& x) {
                return static_cast<double>(std::upper_bound(points.begin(), points.end(), x[0]) - points.begin()) /
                       static_cast<double>(m);
            };
            deceived += fooled(share, 1.0, expected, 1e-8);
        }
    EXPECT_EQ(deceived, 0);
    double area = 0.0; // below floor(exp x) on [0, 3]
    for (int k = 1; k <= 20; ++k) area += 3.0 - std::log(k);
    for (const double tolerance : {1e-5, 1e-8, 1e-11}) {
        EXPECT_FALSE(fooled([](const Point& x) { return std::floor(std::exp(x[0])); }, 3.0, area, tolerance));
        for (const double teeth : {1.0, 2.0, 7.0, 31.5}) {
            const double rest = teeth - std::floor(teeth);
            EXPECT_FALSE(fooled([teeth](const Point& x) { return x[0] * teeth - std::floor(x[0] * teeth); }, 1.0,
                                (std::floor(teeth) + rest * rest) / (2 * teeth), tolerance))
                << teeth;
        }
    }
}

// A density far from the origin is seen when the bounds say where it is.
TEST(LobattoQuad, CentreAndScale)
{
    for (const auto& [mean, deviation] : {std::pair{100.0, 1.0}, {-1e6, 1e-3}, {0.0, 1e30}}) {
        Function density([m = mean, d = deviation](const Point& x) {
            const double z = (x[0] - m) / d;
            return std::exp(-z * z / 2) / (d * std::sqrt(2 * kPi));
        });
        LobattoQuad quad;
        double value = 0.0, error = 0.0;
        for (const double lower : {-kInf, mean}) {
            BoundsList bounds(lower, kInf);
            ASSERT_TRUE(bounds.SetCentreAndScale(0, mean, deviation) && bounds.Set(0, lower, kInf));
            ASSERT_EQ(quad.Integrate(density, bounds, value, error), INumIntegration::Success);
            EXPECT_NEAR(value, std::isinf(lower) ? 1.0 : 0.5, 1e-8);
        }
    }
}

TEST(LobattoQuad, SaysWhatWentWrong)
{
    struct Query : MCCommon_930::MCQueryCancel {
        bool CheckCancel() override { return ++asked > 3; }
        bool PeekCancel() override { return false; }
        int asked = 0;
    };
    using enum INumIntegration::IntegrationStatus;
    const auto root = [](const Point& x) { return 1 / std::sqrt(std::fabs(x[0] - 0.3)); };
    const struct {
        const char* name;
        BoundsList bounds;
        std::function<double(const Point&)> f;
        long limit;
        bool cancel;
        INumIntegration::IntegrationStatus status;
        bool delivers;
    } cases[] = {
        {"no bounds", BoundsList(), root, 1000, false, InvalidBounds, false},
        {"infinite sum", BoundsList(-1e308, 1e308), [](const Point&) { return 1.0; }, 1000, false, BadIntegrand, false},
        {"infinite region", BoundsList(0, 10), [](const Point& x) { return std::exp(x[0] * x[0] * x[0]); }, 1000, false,
         BadIntegrand, false},
        {"pole at a node", BoundsList(-1, 1), [](const Point& x) { return 1 / x[0]; }, 5000, false, EvaluationLimit,
         true},
        {"too singular for doubles", BoundsList(0, 1),
         [](const Point& x) { return 1 / std::sqrt(std::fabs(x[0] - 0.5)); }, 100000, false, ToleranceNotReached, true},
        {"NaN inside", BoundsList(0, 1), [](const Point& x) { return x[0] > 0.9 ? kNan : 1; }, 1000, false,
         BadIntegrand, false},
        {"no first estimate", BoundsList(0, 1), root, 5, false, EvaluationLimit, true},
        {"limit", BoundsList(0, 1), root, 500, false, EvaluationLimit, true},
        {"cancel", BoundsList(0, 1), root, 100000, true, Cancelled, true},
        {"divergent", BoundsList(1, kInf), [](const Point& x) { return 1 / x[0]; }, 100000, false, ToleranceNotReached,
         true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Query query;
        MCCancelInfo cancel(&query);
        LobattoQuad quad;
        ASSERT_TRUE(quad.SetTolerance(0.0, 1e-13) && quad.SetMaxEvaluations(c.limit));
        if (c.cancel) quad.SetCancelInfo(&cancel);
        Function f(c.f);
        double value = -7.0, error = -7.0;
        EXPECT_EQ(quad.Integrate(f, c.bounds, value, error), c.status);
        EXPECT_LE(f.calls, c.limit);
        EXPECT_EQ(error >= 0.0, c.delivers);
        EXPECT_EQ(value != -7.0, c.delivers);
        EXPECT_EQ(std::isinf(error), c.delivers && c.limit < 10);
        if (c.delivers && std::string(c.name) == "limit") {
            EXPECT_LE(std::fabs(value - 2 * (std::sqrt(0.3) + std::sqrt(0.7))), error);
        }
    }
    LobattoQuad quad;
    for (const auto& [absolute, relative] : {std::pair{0.0, 0.0}, {-1.0, 1.0}, {1.0, kNan}, {kInf, 0.0}})
        EXPECT_FALSE(quad.SetTolerance(absolute, relative));
    EXPECT_FALSE(quad.SetMaxEvaluations(0));
    EXPECT_EQ(quad.GetAbsTolerance(), 1e-10);
}

TEST(BoundsList, RefusesWhatIsNoInterval)
{
    BoundsList bounds(0.0, kInf);
    EXPECT_TRUE(
        NoneOf({bounds.Add(kNan, 1.0), bounds.Add(kInf, kInf), bounds.Set(0, -kInf, -kInf), bounds.Set(1, 0.0, 1.0)}));
    for (const auto& [i, centre, scale] : {std::tuple{1, 0.0, 1.0},
                                           {-1, 0.0, 1.0},
                                           {0, kInf, 1.0},
                                           {0, kNan, 1.0},
                                           {0, 0.0, 0.0},
                                           {0, 0.0, kNan},
                                           {0, 0.0, 1e101}})
        EXPECT_FALSE(bounds.SetCentreAndScale(i, centre, scale)) << i << ' ' << centre << ' ' << scale;
    EXPECT_TRUE(bounds.GetCentre(0) == 0.0 && bounds.GetScale(0) == 1.0);
    EXPECT_FALSE(bounds.IsFinite());
    EXPECT_TRUE(bounds.Set(0, 3.0, 2.0) && bounds.IsFinite());
    EXPECT_EQ(bounds.GetNDim(), 1);
    DisplayCapture capture;
    bounds.Display();
    LobattoQuad().Display();
    EXPECT_NE(capture.Text().find("BoundsList display end\nLobattoQuad display start\n"), std::string::npos);
}

// Two dimensions, one without ends, and a singularity, so that panels are split in both.
TEST(LobattoQuad, WithoutMemoryItAndItsResultsAreAsTheyWere)
{
    struct Held {
        LobattoQuad quad;
        double value = 7.0, error = 8.0;
    } held;
    Function f([](const Point& p) { return p[1] == 0.0 ? kInf : std::exp(-p[0] * p[0]) / std::sqrt(p[1]); });
    BoundsList bounds(-kInf, kInf), three(bounds);
    ASSERT_TRUE(bounds.Add(0.0, 4.0));
    EXPECT_EQ(held.quad.Integrate(f, BoundsList(1.0, 1.0), held.value, held.error), INumIntegration::Success);
    held.quad.SetTolerance(1e-3, 1e-3);
    const auto look = [](const Held& h) { return std::tuple(Shown(h.quad), h.value, h.error); };
    const long times = ExpectWholeWhenMemoryRunsOut(
        held, held, [&](Held& h) { h.quad.Integrate(f, bounds, h.value, h.error); }, look);
    EXPECT_GT(times, 100);
    held.quad.Integrate(f, bounds, held.value, held.error);
    EXPECT_NEAR(held.value, 4.0 * std::sqrt(kPi), 1e-2);

    const auto shown = [](const BoundsList& list) { return Shown(list); };
    for (int i = 0; i < 3; ++i) {
        ExpectWholeWhenMemoryRunsOut(
            three, three, [](BoundsList& list) { list.Add(-1.0, kInf); }, shown);
        ExpectAssignmentIsWhole(bounds, three, shown);
        ExpectAssignmentIsWhole(three, bounds, shown);
        ASSERT_TRUE(three.Add(i, i + 1));
    }
    ExpectEmptyAfterMove(three, BoundsList(), shown,
                         [](BoundsList& list) { EXPECT_TRUE(list.Add(0.0, 1.0) && list.IsFinite()); });
}
