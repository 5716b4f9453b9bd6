#include "Fit.h"

#include "DoubleDouble.h"
#include "Moments.h"
#include "Residuals.h"
#include "common/Cell.h"
#include "common/Failure.h"
#include "common/TextTable.h"
#include "common/Workers.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace linreg {

using namespace procedure;

namespace {

using MCCommon_930::MCMV;
using MCMath_930::MCBitSet;
using MCMath_930::MCCancelInfo;
using MCMath_930::MCDistFun;
using MCMath_930::MCMeansXProdData;
using MCMath_930::MCSymMatrix;

class Fitting {
public:
    Fitting(const Options& options, InputFile& input, Progress& progress, MCCancelInfo& cancel)
        : fOptions(options), fInput(input), fProgress(progress), fCancel(cancel), fDesign(options.intercept),
          fCases(input, options, fDesign), fMoments{MCMeansXProdData(0, options.intercept)},
          fReadings(input.IsRegular() && !options.onePass ? 2 : 1)
    {}

    Fit Run()
    {
        Accumulate();
        Solve();
        if (fReadings == 2) Refine();
        fProgress.Clear();
        Describe();
        fFit.variables = fCases.Variables(fOptions);
        Warn();
        return std::move(fFit);
    }

private:
    bool ReadBlock(CaseBlock& block, int reading);
    void Accumulate();
    void Solve();
    void Refine();
    void Describe();
    void DescribeVariance();
    void DescribeCovariance();
    void DescribeCoefficients();
    void RefuseOverflow() const;
    void Warn();

    DoubleDouble Intercept() const;
    double Inverse(int k, int l) const { return -fSwept.GetElem(k, l); }
    double ResidualMeanSquare() const { return fFit.residual.meanSquare; }

    const Options& fOptions;
    InputFile& fInput;
    Progress& fProgress;
    MCCancelInfo& fCancel;
    Design fDesign;
    CaseReader fCases;
    Moments fMoments;
    int fReadings;
    std::int64_t fRowsBefore = 0; // of earlier readings

    std::vector<Parameter> fParameters; // without the intercept; parameter k is row k of fSwept
    MCSymMatrix fSwept;                 // the cross products, swept on the parameters; the target is the last row
    std::vector<int> fIndependent;      // parameters that could be swept
    std::vector<DoubleDouble> fEstimates;
    std::vector<DoubleDouble> fMeans; // of each parameter's column
    DoubleDouble fTargetMean;
    DoubleDouble fMeanResidual; // what the estimates leave of the mean of the target
    Fit fFit;
};

bool Fitting::ReadBlock(CaseBlock& block, int reading)
{
    if (fCancel.IsCancel()) throw Interrupted();
    const bool more = fCases.NextBlock(block);
    const auto size = static_cast<double>(fInput.Size());
    fProgress.Show(size > 0.0 ? (reading + static_cast<double>(fInput.BytesRead()) / size) / fReadings : -1.0,
                   fRowsBefore + fCases.Counts().rows);
    return more;
}

void Fitting::Accumulate()
{
    // A common offset of a column costs digits and carries no information beside the intercept.
    const std::vector<double> none;
    const std::vector<double>& shift = fOptions.intercept ? fCases.FirstCase() : none;
    FoldBlocks<CaseBlock, BlockMoments>(
        fOptions.threads, [&](CaseBlock& block) { return ReadBlock(block, 0); },
        [&](const CaseBlock& block, BlockMoments& out) { ComputeMoments(block, fOptions.intercept, shift, out); },
        [&](const BlockMoments& out) { fMoments.Append(out); });

    const CaseCounts& counts = fCases.Counts();
    if (counts.used == 0)
        throw Failure(fInput.Name() + ": no cases are left: " + std::to_string(counts.rows) + " rows, " +
                      std::to_string(counts.missing) + " with a missing value, " + std::to_string(counts.unweighted) +
                      " with a weight that is missing or not positive");
    fRowsBefore = counts.rows;
    fFit.counts = counts;
    fFit.nCases = fMoments.frequencies;
    fFit.sumOfWeights = fMoments.products.GetNCases();
    if (fFit.nCases < fDesign.NDeterminable())
        throw Failure(fInput.Name() + ": fewer cases than parameters: " + std::to_string(counts.used) +
                      " rows can be used for " + std::to_string(fDesign.NDeterminable()) + " parameters");

    fDesign.FinishLevels(fOptions.references);
    fParameters = fDesign.Parameters();
    if (fOptions.intercept) fParameters.erase(fParameters.begin());
    const auto mean = [&](int column) {
        return ExactSum(fMoments.products.GetMeans()[At(column)], At(column) < shift.size() ? shift[At(column)] : 0.0);
    };
    fTargetMean = mean(0);
    for (const Parameter& parameter : fParameters) fMeans.push_back(mean(parameter.column));
}

void Fitting::RefuseOverflow() const
{
    const int target = fSwept.GetNRows() - 1;
    for (int k = 0; k <= target; ++k) {
        if (std::isfinite(fSwept.GetElem(k, k))) continue;
        throw Failure(fInput.Name() + ": column '" + (k == target ? fOptions.target : fParameters[At(k)].field) +
                      "' has numbers too large to be squared and summed");
    }
}

void Fitting::Solve()
{
    const int target = static_cast<int>(fParameters.size());
    std::vector<int> positions(fParameters.size() + 1);
    positions[0] = target;
    for (int k = 0; k < target; ++k) positions[At(fParameters[At(k)].column)] = k;
    fSwept = fMoments.products.GetXProds();
    fSwept.Expand(positions, target + 1);
    RefuseOverflow();

    std::vector<double> diagonal;
    fSwept.GetDiagonal(diagonal);
    fFit.total.sumOfSquares = diagonal[At(target)];
    MCBitSet swept(target + 1);
    for (int k = 0; k < target; ++k) { // the target's row stays: it turns into coefficients and residuals
        if (fCancel.IsCancel()) throw Interrupted();
        if (fParameters[At(k)].reference) continue;
        if (fSwept.Sweep(k, fOptions.tolerance, diagonal, swept, false)) fIndependent.push_back(k);
    }

    fEstimates.resize(fParameters.size());
    for (const int k : fIndependent) fEstimates[At(k)] = {fSwept.GetElem(target, k)};
    fFit.residual.sumOfSquares = std::max(0.0, fSwept.GetElem(target, target));
    fFit.regression.sumOfSquares = fFit.total.sumOfSquares - fFit.residual.sumOfSquares;
}

DoubleDouble Fitting::Intercept() const
{
    if (!fOptions.intercept) return {};
    DoubleDouble sum = fTargetMean + fMeanResidual;
    for (const int k : fIndependent) sum += -(fEstimates[At(k)] * fMeans[At(k)]);
    return sum;
}

// One step of iterative refinement (Bjoerck 1967, BIT 7, 257-278) with the swept inverse: the coefficients are
// corrected by those of the residuals, which are taken from the data once more and in twice the digits.
void Fitting::Refine()
{
    Prediction at;
    at.intercept = Intercept();
    if (fOptions.intercept) at.centre = fTargetMean;
    at.coefficients.resize(At(fDesign.NColumns()));
    for (const int k : fIndependent) at.coefficients[At(fParameters[At(k)].column)] = fEstimates[At(k)].high;

    fCases.Restart();
    ResidualSums sums;
    FoldBlocks<CaseBlock, ResidualSums>(
        fOptions.threads, [&](CaseBlock& block) { return ReadBlock(block, 1); },
        [&](const CaseBlock& block, ResidualSums& out) { ComputeResiduals(block, at, out); },
        [&](const ResidualSums& out) { sums.Append(out); });
    if (fCases.Counts() != fFit.counts) throw Failure(fInput.Name() + ": the file was changed while it was being read");
    fFit.residualsWereRead = true;

    // The means that were subtracted are rounded: r and y hold what is left of them.
    const double weight = fFit.sumOfWeights;
    DoubleDouble residual = sums.rr;
    DoubleDouble total = sums.yy;
    if (fOptions.intercept) {
        fMeanResidual = sums.r * (1.0 / weight);
        residual += -(fMeanResidual * sums.r);
        total += -(sums.y * sums.y * (1.0 / weight));
    }

    std::vector<double> gradient(fParameters.size());
    for (const int k : fIndependent) {
        DoubleDouble& raw = sums.rx[At(fParameters[At(k)].column)];
        if (fOptions.intercept) raw += -(fMeans[At(k)] * sums.r);
        gradient[At(k)] = raw.Rounded();
    }
    for (const int k : fIndependent) {
        double correction = 0.0;
        for (const int l : fIndependent) correction += Inverse(k, l) * gradient[At(l)];
        fEstimates[At(k)] += {correction};
        residual += -ExactProduct(correction, gradient[At(k)]);
    }

    fFit.total.sumOfSquares = total.Rounded();
    fFit.residual.sumOfSquares = std::max(0.0, residual.Rounded());
    fFit.regression.sumOfSquares = (total - DoubleDouble{fFit.residual.sumOfSquares}).Rounded();
}

// ---------------------------------------------------------------------------------------------------------------------
// Statistics

void Fitting::Describe()
{
    DescribeVariance();
    DescribeCovariance();
    DescribeCoefficients();
}

void SetMeanSquare(VarianceSource& source)
{
    if (source.df > 0.0) source.meanSquare = source.sumOfSquares / source.df;
}

void Fitting::DescribeVariance()
{
    const double rank = static_cast<double>(fIndependent.size());
    fFit.regression.df = rank;
    fFit.total.df = fFit.nCases - (fOptions.intercept ? 1.0 : 0.0);
    fFit.residual.df = std::max(0.0, fFit.total.df - rank);
    if (fIndependent.empty()) fFit.regression.sumOfSquares = 0.0;
    fFit.regression.sumOfSquares = std::max(0.0, fFit.regression.sumOfSquares);
    SetMeanSquare(fFit.regression);
    SetMeanSquare(fFit.residual);

    const bool residualIsKnown = !MCMV::IsMissing(fFit.residual.meanSquare);
    if (residualIsKnown) fFit.stdErrorOfEstimate = std::sqrt(fFit.residual.meanSquare);
    if (residualIsKnown && fFit.residual.meanSquare > 0.0 && fFit.regression.df > 0.0) {
        fFit.f = fFit.regression.meanSquare / fFit.residual.meanSquare;
        fFit.significance = MCDistFun::SigF(fFit.f, fFit.regression.df, fFit.residual.df);
    }
    if (!(fFit.total.sumOfSquares > 0.0)) return;
    fFit.rSquared = fFit.regression.sumOfSquares / fFit.total.sumOfSquares;
    if (residualIsKnown)
        fFit.adjustedRSquared = 1.0 - fFit.residual.meanSquare / (fFit.total.sumOfSquares / fFit.total.df);
}

void Fitting::DescribeCovariance()
{
    if (fOptions.intercept) fFit.estimated.push_back(0);
    const int first = fOptions.intercept ? 1 : 0;
    for (const int k : fIndependent) fFit.estimated.push_back(k + first);
    if (MCMV::IsMissing(ResidualMeanSquare())) return;

    fFit.covariance.SetNRows(static_cast<int>(fFit.estimated.size()));
    const int rank = static_cast<int>(fIndependent.size());
    for (int i = 0; i < rank; ++i)
        for (int j = 0; j <= i; ++j)
            fFit.covariance.SetElem(i + first, j + first,
                                    Inverse(fIndependent[At(i)], fIndependent[At(j)]) * ResidualMeanSquare());
    if (!fOptions.intercept) return;

    // The intercept is the mean of the target less what the means of the predictors give.
    DoubleDouble variance{1.0 / fFit.sumOfWeights};
    for (int i = 0; i < rank; ++i) {
        const int k = fIndependent[At(i)];
        DoubleDouble row;
        for (const int l : fIndependent) row += fMeans[At(l)] * Inverse(k, l);
        variance += row * fMeans[At(k)];
        fFit.covariance.SetElem(i + 1, 0, -row.Rounded() * ResidualMeanSquare());
    }
    fFit.covariance.SetElem(0, 0, variance.Rounded() * ResidualMeanSquare());
}

void Fitting::DescribeCoefficients()
{
    if (fOptions.intercept) fFit.coefficients.push_back({.parameter = Parameter{}, .estimate = Intercept().Rounded()});
    for (std::size_t k = 0; k < fParameters.size(); ++k)
        fFit.coefficients.push_back(
            {.parameter = fParameters[k], .aliased = !fParameters[k].reference}); // until it turns up below
    const std::size_t first = fOptions.intercept ? 1 : 0;
    for (const int k : fIndependent) {
        fFit.coefficients[At(k) + first].aliased = false;
        fFit.coefficients[At(k) + first].estimate = fEstimates[At(k)].Rounded();
    }
    if (fFit.covariance.GetNRows() == 0) return;

    const double quantile = MCDistFun::IdfT(0.5 + 0.5 * fOptions.level, fFit.residual.df, 1e-12, 1e-20);
    for (int i = 0; i < fFit.covariance.GetNRows(); ++i) {
        Coefficient& coefficient = fFit.coefficients[At(fFit.estimated[At(i)])];
        coefficient.stdError = std::sqrt(fFit.covariance.GetElem(i, i));
        if (coefficient.stdError > 0.0) {
            coefficient.t = coefficient.estimate / coefficient.stdError;
            // Two lower tails: they keep their digits even where SigT, with one degree of freedom, does not.
            coefficient.significance = 2.0 * MCDistFun::CdfT(-std::fabs(coefficient.t), fFit.residual.df);
        }
        if (MCMV::IsMissing(quantile)) continue;
        coefficient.lower = coefficient.estimate - quantile * coefficient.stdError;
        coefficient.upper = coefficient.estimate + quantile * coefficient.stdError;
    }
}

void Fitting::Warn()
{
    for (const Predictor& p : fDesign.Predictors())
        if (p.IsSuspicious())
            fFit.warnings.push_back(Printable(p.name) + " was taken as a factor because its first value is " +
                                    Quoted(p.firstValue) + ", but " + std::to_string(p.numbers) + " of its " +
                                    std::to_string(p.numbers + p.texts) +
                                    " values are numbers; --missing says what means a missing value");
}

} // namespace

Fit FitModel(const Options& options, InputFile& input, Progress& progress, MCCancelInfo& cancel)
{
    return Fitting(options, input, progress, cancel).Run();
}

} // namespace linreg
