// LobattoQuad: the rules of Gander and Gautschi, and the adaptive integration with them.
#include "modelcore/linalg/LobattoQuad.h"

#include "modelcore/common/MCCancelInfo.h"
#include "modelcore/common/MCDisplay.h"
#include "modelcore/linalg/BoundsList.h"
#include "modelcore/linalg/IIntegrand.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace MCMath_930 {

IIntegrand::~IIntegrand() = default;
INumIntegration::~INumIntegration() = default;

namespace {

// Gander and Gautschi (2000). Nodes of the seven points on [-1, 1]: 1, sqrt(2/3), sqrt(1/5), 0 and their negatives;
// four points are those without sqrt(2/3) and 0. The six further nodes of thirteen points and the weights were computed
// anew to 50 digits from the condition that the rule is exact up to degree 19; the test integrates powers.
constexpr double kAlpha = 0.81649658092772603273;
constexpr double kBeta = 0.44721359549995793928;
constexpr std::array<double, 7> kNodes = {-1.0, -kAlpha, -kBeta, 0.0, kBeta, kAlpha, 1.0};
constexpr std::array<double, 7> kLobattoWeights = {1.0 / 6, 0.0, 5.0 / 6, 0.0, 5.0 / 6, 0.0, 1.0 / 6};
constexpr std::array<double, 7> kKronrodWeights = {77.0 / 1470,  432.0 / 1470, 625.0 / 1470, 672.0 / 1470,
                                                   625.0 / 1470, 432.0 / 1470, 77.0 / 1470};
constexpr std::array<double, 6> kFurtherNodes = {-0.94288241569547971906, -0.64185334234578130578,
                                                 -0.23638319966214988028, 0.23638319966214988028,
                                                 0.64185334234578130578,  0.94288241569547971906};
constexpr std::array<double, 6> kFurtherWeights = {0.094273840218850045531, 0.18882157396018245442,
                                                   0.22492646533333952702,  0.22492646533333952702,
                                                   0.18882157396018245442,  0.094273840218850045531};
constexpr std::array<double, 7> kThirteenWeights = {
    0.015827191973480183087, 0.15507198733658539625, 0.19977340522685852679, 0.2426110719014077338,
    0.19977340522685852679,  0.15507198733658539625, 0.015827191973480183087};

// Null rules: combinations of the same values, odd about the middle, that give 0 for every polynomial of the degrees
// below 5 and below 11. The differences of the rules above are even about the middle and give 0 for jumps that lie
// symmetrically, however wrong the result; the odd sums do not.
constexpr std::array<double, 3> kOddOfSeven = {1.0, -1.3145341380123986723,
                                               0.62609903369994111499}; // for kBeta, kAlpha, 1
constexpr std::array<double, 6> kOddOfThirteen = {
    -0.59388531515379659514, 0.98491526196565811232,  -1.0,
    0.78788619031990372873,  -0.54326242894627957339, 0.21069656861284403743};
constexpr double kOddShare = 0x1p-6; // of the odd sum, in the error estimate
// A jump between two of seven points makes an error of up to 1.15 times the difference from four.
constexpr double kMargin = 1.25;

constexpr double kInnerShare = 0.1;     // of the tolerance, for an inner integral
constexpr double kRounding = 0x1p-48;   // relative error that splitting does not make smaller
constexpr double kNarrow = 0x1p-47;     // width of a panel relative to its ends
constexpr double kNarrowest = 0x1p-200; // interval towards an infinite bound; x = 2^200 there
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// The integrand at a point, or an integral over inner dimensions with its error estimate.
struct Sample {
    double value = 0.0; // 0 where the integrand is infinite
    double error = 0.0;
    bool infinite = false;
};

using Samples = std::array<Sample, 7>;

/// One dimension as an integral over t from t0 to t1.
struct Piece {
    double t0;
    double t1;
    double origin; // x = origin + scale*(1 - t)/t, or x = t when scale is 0
    double scale;
};

std::vector<Piece> MakePieces(double lower, double upper, double centre, double scale)
{
    if (std::isfinite(lower) && std::isfinite(upper)) return {{lower, upper, 0.0, 0.0}};
    if (std::isfinite(lower)) return {{0.0, 1.0, lower, scale}};
    if (std::isfinite(upper)) return {{0.0, 1.0, upper, -scale}};
    return {{0.0, 1.0, centre, -scale}, {0.0, 1.0, centre, scale}};
}

/// An interval of a piece with what the rules make of it.
struct Panel {
    const Piece* piece;
    double a;
    double b;
    Samples samples;
    double value = 0.0;      // seven points
    double error = 0.0;      // their difference from four, or what the odd sum says
    double magnitude = 0.0;  // of the integral of |f|
    double innerError = 0.0; // the integral of the samples' errors

    double Half() const { return 0.5 * b - 0.5 * a; } // b - a might overflow
    double At(double node) const
    {
        if (node == -1.0) return a;
        return node == 1.0 ? b : 0.5 * a + 0.5 * b + node * Half();
    }

    bool IsNarrow() const { return b - a < kNarrow * std::max(std::fabs(a), std::fabs(b)); }

    /// Whether the integrand is infinite at neighbouring points. At a single one it has a singularity, which may be
    /// integrable: the point becomes the end of two parts, which shrink towards it. No part would get rid of a region.
    bool HasInfiniteRegion() const
    {
        for (std::size_t q = 0; q + 1 < kNodes.size(); ++q)
            if (samples[q].infinite && samples[q + 1].infinite && At(kNodes[q]) < At(kNodes[q + 1])) return true;
        return false;
    }

    void ApplyRules()
    {
        double lobatto = 0.0;
        double odd = 0.0;
        for (std::size_t q = 0; q < kNodes.size(); ++q) {
            lobatto += kLobattoWeights[q] * samples[q].value;
            value += kKronrodWeights[q] * samples[q].value;
            magnitude += kKronrodWeights[q] * std::fabs(samples[q].value);
            innerError += kKronrodWeights[q] * samples[q].error;
        }
        for (std::size_t q = 0; q < kOddOfSeven.size(); ++q)
            odd += kOddOfSeven[q] * (samples[4 + q].value - samples[2 - q].value);
        error = Half() * std::max(kMargin * std::fabs(value - lobatto), kOddShare * std::fabs(odd));
        value *= Half();
        magnitude *= Half();
        // So near to each other the places of the points are rounded: what they tell is the order of magnitude.
        if (IsNarrow()) error = std::max(error, magnitude);
        innerError *= Half();
    }

    /// Whether splitting can help: the error is more than rounding, and the points are apart.
    bool CanBeSplit() const
    {
        if (piece->scale != 0.0 && b - a < kNarrowest) return false;
        return error > kRounding * magnitude && At(-kAlpha) > a && At(kAlpha) < b;
    }
};

bool HasSmallerError(const Panel& p, const Panel& q)
{
    return p.error < q.error;
}

struct Estimate {
    double value = 0.0;
    double error = kInfinity;
};

struct Tolerance {
    double absolute;
    double relative;

    double For(double value) const { return std::max(absolute, relative * std::fabs(value)); }
};

/// One call of Integrate.
class Integration {
public:
    Integration(IIntegrand& f, const BoundsList& bounds, MCCancelInfo* cancel, long limit)
        : fIntegrand(f), fBounds(bounds), fpCancel(cancel), fLimit(limit),
          fPoint(static_cast<std::size_t>(bounds.GetNDim()))
    {}

    Estimate Integrate(int dimension, const Tolerance& tolerance);

    /// Success as long as nothing has ended the integration.
    INumIntegration::IntegrationStatus Status() const { return fStatus; }
    long Evaluations() const { return fEvaluations; }

private:
    using Status_ = INumIntegration::IntegrationStatus;

    bool Stop(Status_ status)
    {
        fStatus = status;
        return false;
    }

    bool Evaluate(int dimension, const Tolerance& inner, Sample& sample);
    bool Evaluate(int dimension, const Tolerance& tolerance, const Piece& piece, double t, Sample& sample);
    bool FillPanel(int dimension, const Tolerance& tolerance, Panel& panel);
    bool Split(int dimension, const Tolerance& tolerance, const Panel& panel, std::vector<Panel>& parts);
    bool SplitWorst(int dimension, const Tolerance& tolerance, std::vector<Panel>& heap, std::vector<Panel>& settled,
                    double& error);
    std::optional<Estimate> TryThirteen(int dimension, const Tolerance& tolerance, const std::vector<Panel>& panels);
    Estimate Refine(int dimension, const Tolerance& tolerance, std::vector<Panel>& panels);

    IIntegrand& fIntegrand;
    const BoundsList& fBounds;
    MCCancelInfo* fpCancel;
    long fLimit;
    std::vector<double> fPoint;
    long fEvaluations = 0;
    Status_ fStatus = INumIntegration::Success;
};

/// The integrand, or the integral over the dimensions from this one on, at the coordinates set so far.
bool Integration::Evaluate(int dimension, const Tolerance& inner, Sample& sample)
{
    if (dimension < fBounds.GetNDim()) {
        const Estimate estimate = Integrate(dimension, inner);
        sample = {estimate.value, estimate.error};
        return fStatus == INumIntegration::Success;
    }
    if (fEvaluations == fLimit) return Stop(INumIntegration::EvaluationLimit);
    ++fEvaluations;
    const double value = fIntegrand.Evaluate(fPoint);
    sample = {std::isinf(value) ? 0.0 : value, 0.0, std::isinf(value)};
    return !std::isnan(value) || Stop(INumIntegration::BadIntegrand);
}

/// The same as a function of t.
bool Integration::Evaluate(int dimension, const Tolerance& tolerance, const Piece& piece, double t, Sample& sample)
{
    sample = {};
    const bool finite = piece.scale == 0.0;
    if (!finite && t == 0.0) return true;
    const double slope = finite ? 1.0 : std::fabs(piece.scale) / (t * t); // |dx/dt|
    const double share = kInnerShare / (slope * std::fabs(piece.t1 - piece.t0));
    fPoint[static_cast<std::size_t>(dimension)] = finite ? t : piece.origin + piece.scale * (1.0 - t) / t;
    if (!Evaluate(dimension + 1, {tolerance.absolute * share, tolerance.relative * kInnerShare}, sample)) return false;
    sample = {sample.value * slope, sample.error * slope, sample.infinite};
    return std::isfinite(sample.value) || Stop(INumIntegration::BadIntegrand);
}

/// Evaluates what the panel does not have yet: the points between its ends.
bool Integration::FillPanel(int dimension, const Tolerance& tolerance, Panel& panel)
{
    if (fpCancel != nullptr && fpCancel->IsCancel()) return Stop(INumIntegration::Cancelled);
    for (std::size_t q = 1; q + 1 < kNodes.size(); ++q)
        if (!Evaluate(dimension, tolerance, *panel.piece, panel.At(kNodes[q]), panel.samples[q])) return false;
    if (panel.HasInfiniteRegion()) return Stop(INumIntegration::BadIntegrand);
    panel.ApplyRules();
    return true;
}

/// Appends the six parts of a panel; nothing when the integration ends meanwhile.
bool Integration::Split(int dimension, const Tolerance& tolerance, const Panel& panel, std::vector<Panel>& parts)
{
    const std::size_t before = parts.size();
    for (std::size_t q = 0; q + 1 < kNodes.size(); ++q) {
        Panel part{panel.piece, panel.At(kNodes[q]), panel.At(kNodes[q + 1]), {}};
        part.samples.front() = panel.samples[q];
        part.samples.back() = panel.samples[q + 1];
        if (!FillPanel(dimension, tolerance, part)) {
            parts.resize(before, part);
            return false;
        }
        parts.push_back(part);
    }
    return true;
}

/// The result of thirteen points on each piece, if it agrees with that of seven.
std::optional<Estimate> Integration::TryThirteen(int dimension, const Tolerance& tolerance,
                                                 const std::vector<Panel>& panels)
{
    Estimate whole{0.0, 0.0};
    for (const Panel& panel : panels) {
        double value = 0.0;
        double innerError = 0.0;
        for (std::size_t q = 0; q < kNodes.size(); ++q) {
            value += kThirteenWeights[q] * panel.samples[q].value;
            innerError += kThirteenWeights[q] * panel.samples[q].error;
        }
        std::array<double, 13> values; // from left to right
        for (std::size_t q = 0; q < kNodes.size(); ++q) values[2 * q] = panel.samples[q].value;
        for (std::size_t q = 0; q < kFurtherNodes.size(); ++q) {
            Sample sample;
            if (!Evaluate(dimension, tolerance, *panel.piece, panel.At(kFurtherNodes[q]), sample)) return std::nullopt;
            value += kFurtherWeights[q] * sample.value;
            innerError += kFurtherWeights[q] * sample.error;
            values[2 * q + 1] = sample.value;
        }
        double odd = 0.0;
        for (std::size_t q = 0; q < kOddOfThirteen.size(); ++q)
            odd += kOddOfThirteen[q] * (values[7 + q] - values[5 - q]);
        value *= panel.Half();
        whole.value += value;
        whole.error += std::max(std::fabs(value - panel.value), kOddShare * std::fabs(odd) * panel.Half());
        whole.error += innerError * panel.Half();
    }
    if (!(whole.error <= tolerance.For(whole.value))) return std::nullopt;
    return whole;
}

/// Takes the panel of largest error from a heap and puts its parts in; one that cannot be split is settled.
/// @param error  the sum of the errors, kept up to date
/// @return  false when the integration ended, the panel is then settled
bool Integration::SplitWorst(int dimension, const Tolerance& tolerance, std::vector<Panel>& heap,
                             std::vector<Panel>& settled, double& error)
{
    std::pop_heap(heap.begin(), heap.end(), HasSmallerError);
    const Panel worst = heap.back();
    heap.pop_back();
    if (!worst.CanBeSplit() || !Split(dimension, tolerance, worst, heap)) {
        settled.push_back(worst);
        return fStatus == INumIntegration::Success;
    }
    error -= worst.error + worst.innerError;
    for (std::size_t left = kNodes.size() - 1; left > 0; --left) {
        const auto end = heap.end() - static_cast<std::ptrdiff_t>(left - 1);
        error += (end - 1)->error + (end - 1)->innerError;
        std::push_heap(heap.begin(), end, HasSmallerError);
    }
    return true;
}

/// Splits panels until their errors add up to no more than the tolerance, nothing can be split or the integration ends.
Estimate Integration::Refine(int dimension, const Tolerance& tolerance, std::vector<Panel>& panels)
{
    // First all are split, since thirteen points have shown that the difference of seven and four deceives or is too
    // large.
    std::vector<Panel> heap, settled;
    for (const Panel& panel : panels)
        if (fStatus != INumIntegration::Success || !Split(dimension, tolerance, panel, heap)) settled.push_back(panel);
    std::make_heap(heap.begin(), heap.end(), HasSmallerError);

    for (;;) {
        Estimate sum{0.0, 0.0};
        for (const std::vector<Panel>* const part : {&heap, &settled})
            for (const Panel& panel : *part) {
                sum.value += panel.value;
                sum.error += panel.error + panel.innerError;
            }
        if (fStatus != INumIntegration::Success || heap.empty() || sum.error <= tolerance.For(sum.value)) break;
        // What splitting cannot make smaller may be too much already.
        // A running total follows the error until a share of the panels was split; what rounding leaves in it is then
        // swept away by adding up anew, which costs little that seldom.
        double hopeless = 0.0;
        for (const Panel& panel : settled) hopeless += panel.error;
        if (hopeless > tolerance.For(sum.value)) break;
        double running = sum.error;
        for (std::size_t left = 1 + heap.size() / 8; left > 0 && !heap.empty(); --left) {
            if (running <= tolerance.For(sum.value)) break;
            if (!SplitWorst(dimension, tolerance, heap, settled, running)) break;
        }
    }

    // The result is the sum from left to right.
    heap.insert(heap.end(), settled.begin(), settled.end());
    std::sort(heap.begin(), heap.end(),
              [](const Panel& p, const Panel& q) { return p.piece != q.piece ? p.piece < q.piece : p.a < q.a; });
    Estimate sum{0.0, 0.0};
    double innerError = 0.0;
    for (const Panel& panel : heap) {
        sum.value += panel.value;
        sum.error += panel.error;
        innerError += panel.innerError;
    }
    sum.error += innerError;
    return sum;
}

Estimate Integration::Integrate(int dimension, const Tolerance& tolerance)
{
    const double lower = fBounds.GetLower(dimension);
    const double upper = fBounds.GetUpper(dimension);
    if (lower == upper) return {0.0, 0.0};
    const std::vector<Piece> pieces = MakePieces(std::min(lower, upper), std::max(lower, upper),
                                                 fBounds.GetCentre(dimension), fBounds.GetScale(dimension));
    std::vector<Panel> panels;
    for (const Piece& piece : pieces) {
        Panel panel{&piece, piece.t0, piece.t1, {}};
        if (!Evaluate(dimension, tolerance, piece, panel.a, panel.samples.front()) ||
            !Evaluate(dimension, tolerance, piece, panel.b, panel.samples.back()) ||
            !FillPanel(dimension, tolerance, panel))
            return {};
        panels.push_back(panel);
    }
    std::optional<Estimate> estimate = TryThirteen(dimension, tolerance, panels);
    if (!estimate) estimate = Refine(dimension, tolerance, panels);
    if (lower > upper) estimate->value = -estimate->value;
    return *estimate;
}

} // namespace

INumIntegration::IntegrationStatus LobattoQuad::Integrate(IIntegrand& f, const BoundsList& bounds, double& value,
                                                          double& error)
{
    if (bounds.GetNDim() < 1) {
        fnEvaluations = 0;
        return InvalidBounds;
    }
    Integration integration(f, bounds, fpCancel, fnMaxEvaluations);
    const Tolerance tolerance{fAbsTolerance, fRelTolerance};
    const Estimate estimate = integration.Integrate(0, tolerance);
    fnEvaluations = integration.Evaluations();
    if (integration.Status() == BadIntegrand || !std::isfinite(estimate.value)) return BadIntegrand;
    value = estimate.value;
    error = estimate.error;
    if (integration.Status() != Success) return integration.Status();
    return error <= tolerance.For(value) ? Success : ToleranceNotReached;
}

bool LobattoQuad::SetTolerance(double absolute, double relative)
{
    if (!(absolute >= 0.0) || !(relative >= 0.0) || !(absolute + relative > 0.0) || std::isinf(absolute + relative))
        return false;
    fAbsTolerance = absolute;
    fRelTolerance = relative;
    return true;
}

bool LobattoQuad::SetMaxEvaluations(long limit)
{
    if (limit < 1) return false;
    fnMaxEvaluations = limit;
    return true;
}

void LobattoQuad::Display() const
{
    MCDisplay_930::DisplayStart("LobattoQuad");
    MCDisplay_930::Display("Absolute tolerance", fAbsTolerance);
    MCDisplay_930::Display("Relative tolerance", fRelTolerance);
    MCDisplay_930::Display("Maximum number of evaluations", fnMaxEvaluations);
    MCDisplay_930::Display("Number of evaluations", fnEvaluations);
    MCDisplay_930::DisplayEnd("LobattoQuad");
}

} // namespace MCMath_930
