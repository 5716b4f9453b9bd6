#include "modelcore/linalg/LobattoQuad.h"

#include "modelcore/common/MCCancelInfo.h"
#include "modelcore/linalg/BoundsList.h"
#include "modelcore/linalg/IIntegrand.h"
#include "support/DisplayCapture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

using namespace MCMath_930;

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
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
        {"no width", {{2, 2}}, [](const Point&) { return kNaN; }, 0},
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
        {"plane",
         {{-kInf, kInf}, {kInf, -kInf}},
         [](const Point& x) { return std::exp(-x[0] * x[0] - x[1] * x[1]); },
         -kPi},
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
            double value = kNaN, error = kNaN;
            EXPECT_EQ(quad.Integrate(f, c.Bounds(), value, error), INumIntegration::Success);
            EXPECT_LE(error, tolerance * std::max(1.0, std::fabs(value)));
            EXPECT_LE(std::fabs(value - c.expected), error + 4e-15 * std::fabs(c.expected));
            EXPECT_EQ(quad.GetNEvaluations(), f.calls);
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
        {"NaN inside", BoundsList(0, 1), [](const Point& x) { return x[0] > 0.9 ? kNaN : 1; }, 1000, false,
         BadIntegrand, false},
        {"infinite at the end", BoundsList(0, 1), [](const Point& x) { return 1 / x[0]; }, 1000, false, BadIntegrand,
         false},
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
    for (const auto& [absolute, relative] : {std::pair{0.0, 0.0}, {-1.0, 1.0}, {1.0, kNaN}, {kInf, 0.0}})
        EXPECT_FALSE(quad.SetTolerance(absolute, relative));
    EXPECT_FALSE(quad.SetMaxEvaluations(0));
    EXPECT_EQ(quad.GetAbsTolerance(), 1e-10);
}

TEST(BoundsList, RefusesWhatIsNoInterval)
{
    BoundsList bounds(0.0, kInf);
    EXPECT_FALSE(bounds.Add(kNaN, 1.0) || bounds.Add(kInf, kInf) || bounds.Set(0, -kInf, -kInf) ||
                 bounds.Set(1, 0.0, 1.0));
    EXPECT_FALSE(bounds.IsFinite());
    EXPECT_TRUE(bounds.Set(0, 3.0, 2.0) && bounds.IsFinite());
    EXPECT_EQ(bounds.GetNDim(), 1);
    DisplayCapture capture;
    bounds.Display();
    LobattoQuad().Display();
    EXPECT_NE(capture.Text().find("BoundsList display end\nLobattoQuad display start\n"), std::string::npos);
}

// The example of docs/integration.md.
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

TEST(LobattoQuad, IntegratesARandomEffectOut)
{
    MarginalSuccess f;
    LobattoQuad quad;
    quad.SetTolerance(1e-10, 0.0);
    const double infinity = std::numeric_limits<double>::infinity();
    double probability = 0.0, error = 0.0;
    if (quad.Integrate(f, BoundsList(-infinity, infinity), probability, error) != INumIntegration::Success) return;

    EXPECT_NEAR(probability, 0.60202713281675015628, 1e-13); // by mpmath
    EXPECT_LE(error, 1e-10);
}
