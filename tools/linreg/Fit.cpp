#include "Fit.h"

#include "ExactFit.h"
#include "Moments.h"
#include "Residuals.h"
#include "common/Cell.h"
#include "common/Failure.h"
#include "common/Results.h"
#include "common/TextTable.h"
#include "common/Workers.h"
#include "model/SweepRows.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <type_traits>
#include <utility>

namespace linreg {

using namespace procedure;

namespace {

using MCCommon_930::MCMV;
using MCMath_930::ExactProduct;
using MCMath_930::ExactSum;
using MCMath_930::MCBitSet;
using MCMath_930::MCCancelInfo;
using MCMath_930::MCDistFun;
using MCMath_930::MCExtended;
using MCMath_930::MCExtendedSym;
using MCMath_930::MCMeansXProdData;
using MCMath_930::MCSymMatrix;

/// Beyond so many points a scatter plot shows cells.
constexpr std::int64_t kMaxPoints = 4000;

class Fitting {
public:
    Fitting(const Options& options, InputFile& input, Progress& progress, MCCancelInfo& cancel)
        : fOptions(options), fInput(&input), fProgress(&progress), fCancel(cancel), fDesign(options.intercept),
          fName(input.Name()), fRefines(input.IsRegular() && !options.onePass && !options.exact),
          fReadings(fRefines ? 2 : 1)
    {
        fCases.emplace(input, options, fDesign);
    }

    Fitting(const Options& options, Design design, Sums sums, MCCancelInfo& cancel)
        : fOptions(options), fCancel(cancel), fDesign(std::move(design)), fName("the states"), fSums(std::move(sums)),
          fRefines(false), fReadings(0)
    {}

    Fit Run(std::ostream* predictions, ResidualPicture* residuals)
    {
        const bool again = predictions != nullptr || residuals != nullptr;
        if (again && !fInput->IsRegular())
            throw Failure(fName + ": predictions and charts need another reading; give a file");
        fReadings += again ? 1 : 0;
        if (fCases) Accumulate();
        if (!fOptions.savePath.empty()) {
            fFit.state = SaveState(fOptions, fDesign, fSums);
            if (fSums.exact) fFit.exactState = SaveExactSums(*fSums.exact);
        }
        Prepare();
        if (fSums.exact)
            SolveExactly();
        else
            Solve();
        if (fRefines) Refine();
        Describe();
        if (again) Predict(predictions, residuals);
        if (fProgress != nullptr) fProgress->Clear();
        fFit.variables = Variables(fOptions, fDesign);
        Warn();
        return std::move(fFit);
    }

private:
    bool ReadBlock(CaseBlock& block);
    void Accumulate();
    void AccumulateMoments();
    void AccumulateExactly();
    void Prepare();
    void Solve();
    void SolveExactly();
    void Refine();
    void Predict(std::ostream* predictions, ResidualPicture* residuals);
    void Describe();
    void DescribeTerms();
    void DescribeVariance();
    void DescribeCovariance();
    void DescribeCoefficients();
    void RefuseOverflow() const;
    void Warn();

    MCExtended Intercept() const;
    template <class Number, class Matrix>
    Matrix InverseAt(const std::vector<MCExtended>& rest) const;
    double Inverse(int k, int l) const { return -fSwept.GetElem(k, l); }
    MCExtended ExtendedInverse(int k, int l) const
    {
        if (!fSums.exact) return {Inverse(k, l)};
        return -fExactlySwept.GetElem(k, l);
    }
    double ResidualMeanSquare() const { return fFit.residual.meanSquare; }

    const Options& fOptions;
    InputFile* fInput = nullptr; // null: there are only sums
    Progress* fProgress = nullptr;
    MCCancelInfo& fCancel;
    Design fDesign;
    std::optional<CaseReader> fCases;
    std::string fName; // of the data, for messages
    Sums fSums;
    bool fRefines;
    int fReadings;
    int fReading = 0;             // the one that goes on
    std::int64_t fRowsBefore = 0; // of earlier readings

    std::vector<Parameter> fParameters; // without the intercept; parameter k is row k of fSwept
    MCSymMatrix fSwept;                 // the cross products, swept on the parameters; the target is the last row
    MCSymMatrix fCrossProducts;         // before
    std::vector<double> fDiagonal;      // of them
    MCExtendedSym fExactlySwept;        // fSwept and fCrossProducts with all their digits, from exact sums
    MCExtendedSym fExactProducts;
    std::vector<int> fIndependent; // parameters that could be swept
    std::vector<MCExtended> fEstimates;
    std::vector<MCExtended> fMeans; // of each parameter's column
    MCExtended fTargetMean;
    MCExtended fMeanResidual; // what the estimates leave of the mean of the target
    Fit fFit;
};

bool Fitting::ReadBlock(CaseBlock& block)
{
    if (fCancel.IsCancel()) throw Interrupted();
    const bool more = fCases->NextBlock(block);
    const auto size = static_cast<double>(fInput->Size());
    fProgress->Show(size > 0.0 ? (fReading + static_cast<double>(fInput->BytesRead()) / size) / fReadings : -1.0,
                    fRowsBefore + fCases->Counts().rows);
    return more;
}

void Fitting::Accumulate()
{
    if (fOptions.exact)
        AccumulateExactly();
    else
        AccumulateMoments();
    const CaseCounts& counts = fCases->Counts();
    if (counts.used == 0)
        throw Failure(fName + ": no cases are left: " + std::to_string(counts.rows) + " rows, " +
                      std::to_string(counts.missing) + " with a missing value, " + std::to_string(counts.unweighted) +
                      " with a weight that is missing or not positive");
    fRowsBefore = counts.rows;
    fSums.counts = counts;
}

void Fitting::AccumulateExactly()
{
    fCases->CarryRests();
    fSums.exact.emplace();
    std::optional<ExactColumns> columns;
    FoldBlocks<CaseBlock, ExactSums>(
        fOptions.threads,
        [&](CaseBlock& block) {
            const bool more = ReadBlock(block);
            if (more && !columns) columns.emplace(fDesign);
            return more;
        },
        [&](const CaseBlock& block, ExactSums& out) {
            if (!out.Compute(block, *columns, fOptions.intercept))
                throw Failure(fName + ": a weight or a product of the model is out of range");
        },
        [&](const ExactSums& out) { fSums.exact->Append(out); });
    fSums.frequencies = fSums.exact->frequencies.GetNCases();
    fSums.weights = fSums.exact->products.GetNCases();
}

void Fitting::AccumulateMoments()
{
    // A common offset of a column costs digits and carries no information beside the intercept.
    const std::vector<double> none;
    const std::vector<double>& shift = fOptions.intercept ? fCases->FirstCase() : none;
    Moments moments{MCMeansXProdData(0, fOptions.intercept)};
    FoldBlocks<CaseBlock, BlockMoments>(
        fOptions.threads, [&](CaseBlock& block) { return ReadBlock(block); },
        [&](const CaseBlock& block, BlockMoments& out) { ComputeMoments(block, fOptions.intercept, shift, out); },
        [&](const BlockMoments& out) { moments.Append(out); });
    fSums.frequencies = moments.frequencies;
    fSums.weights = moments.products.GetNCases();
    fSums.shift = shift;
    fSums.means = moments.products.GetMeans();
    fSums.products = moments.products.GetXProds();
}

// Levels, parameters and means, once all sums are there.
void Fitting::Prepare()
{
    fFit.counts = fSums.counts;
    fFit.nCases = fSums.frequencies;
    fFit.sumOfWeights = fSums.weights;
    fDesign.FinishLevels(fOptions.references);
    if (fFit.nCases < fDesign.NDeterminable())
        throw Failure(fName + ": fewer cases than parameters: " + std::to_string(fSums.counts.used) +
                      " rows can be used for " + std::to_string(fDesign.NDeterminable()) + " parameters");
    fParameters = fDesign.Parameters();
    if (fOptions.intercept) fParameters.erase(fParameters.begin());
    if (fSums.exact) return; // the means come with the cross products
    const auto mean = [&](int column) {
        return ExactSum(fSums.means[At(column)], At(column) < fSums.shift.size() ? fSums.shift[At(column)] : 0.0);
    };
    fTargetMean = mean(0);
    for (const Parameter& parameter : fParameters) fMeans.push_back(mean(parameter.column));
}

void Fitting::RefuseOverflow() const
{
    const int target = fSwept.GetNRows() - 1;
    for (int k = 0; k <= target; ++k) {
        if (std::isfinite(fSwept.GetElem(k, k))) continue;
        throw Failure(fName + ": column '" + (k == target ? fOptions.target : fParameters[At(k)].Name()) +
                      "' has numbers too large to be squared and summed");
    }
}

void Fitting::Solve()
{
    const int target = static_cast<int>(fParameters.size());
    std::vector<int> positions(fParameters.size() + 1);
    positions[0] = target;
    for (int k = 0; k < target; ++k) positions[At(fParameters[At(k)].column)] = k;
    fSwept = fSums.products;
    fSwept.Expand(positions, target + 1);
    RefuseOverflow();
    fCrossProducts = fSwept;

    std::vector<double>& diagonal = fDiagonal;
    fSwept.GetDiagonal(diagonal);
    fFit.total.sumOfSquares = diagonal[At(target)];
    std::vector<int> rows; // the target's stays: it turns into coefficients and residuals
    for (int k = 0; k < target; ++k)
        if (!fParameters[At(k)].reference) rows.push_back(k);
    MCBitSet swept(target + 1);
    fIndependent = SweepRows(fSwept, rows, fOptions.tolerance, diagonal, swept, [&] {
        if (fCancel.IsCancel()) throw Interrupted();
    });

    fEstimates.resize(fParameters.size());
    for (const int k : fIndependent) fEstimates[At(k)] = {fSwept.GetElem(target, k)};
    fFit.residual.sumOfSquares = std::max(0.0, fSwept.GetElem(target, target));
    fFit.regression.sumOfSquares = fFit.total.sumOfSquares - fFit.residual.sumOfSquares;
}

void Fitting::SolveExactly()
{
    const int target = static_cast<int>(fParameters.size());
    const ExactColumns columns(fDesign);
    std::vector<MCMath_930::MCColumnPair> variables;
    std::vector<int> rows;
    for (int k = 0; k < target; ++k) {
        const Parameter& parameter = fParameters[At(k)];
        variables.push_back(columns.Of(parameter.column));
        if (!parameter.reference) rows.push_back(k);
    }
    variables.push_back(columns.Of(0));
    std::vector<MCExtended> means;
    fSums.exact->products.GetExtended(variables, means, fExactProducts);
    fTargetMean = means.back();
    fMeans.assign(means.begin(), means.end() - 1);
    fExactProducts.Round(fSwept);
    RefuseOverflow();
    fCrossProducts = fSwept;
    fSwept.GetDiagonal(fDiagonal);

    fExactlySwept = fExactProducts;
    fIndependent = SweepExactly(fExactlySwept, rows, fOptions.tolerance, fCancel);
    fExactlySwept.Round(fSwept);
    fEstimates.resize(fParameters.size());
    for (const int k : fIndependent) fEstimates[At(k)] = fExactlySwept.GetElem(target, k);

    // Below this share of the total the residual sum is nothing but the rounding of 32 digits and of the data.
    constexpr double kNothing = 1e-28;
    const MCExtended total = fExactProducts.GetElem(target, target);
    MCExtended residual = fExactlySwept.GetElem(target, target);
    if (!(residual.high > kNothing * total.high)) residual = {};
    fFit.total.sumOfSquares = total.high;
    fFit.residual.sumOfSquares = residual.high;
    fFit.regression.sumOfSquares = (total - residual).high;
}

MCExtended Fitting::Intercept() const
{
    if (!fOptions.intercept) return {};
    MCExtended sum = fTargetMean + fMeanResidual;
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

    fCases->Restart();
    ++fReading;
    ResidualSums sums;
    FoldBlocks<CaseBlock, ResidualSums>(
        fOptions.threads, [&](CaseBlock& block) { return ReadBlock(block); },
        [&](const CaseBlock& block, ResidualSums& out) { ComputeResiduals(block, at, out); },
        [&](const ResidualSums& out) { sums.Append(out); });
    if (fCases->Counts() != fFit.counts) throw Failure(fName + ": the file was changed while it was being read");
    fFit.residualsWereRead = true;
    fRowsBefore += fCases->Counts().rows;

    // The means that were subtracted are rounded: r and y hold what is left of them.
    const double weight = fFit.sumOfWeights;
    MCExtended residual = sums.rr;
    MCExtended total = sums.yy;
    if (fOptions.intercept) {
        fMeanResidual = sums.r * (1.0 / weight);
        residual += -(fMeanResidual * sums.r);
        total += -(sums.y * sums.y * (1.0 / weight));
    }

    std::vector<double> gradient(fParameters.size());
    for (const int k : fIndependent) {
        MCExtended& raw = sums.rx[At(fParameters[At(k)].column)];
        if (fOptions.intercept) raw += -(fMeans[At(k)] * sums.r);
        gradient[At(k)] = raw.high;
    }
    for (const int k : fIndependent) {
        double correction = 0.0;
        for (const int l : fIndependent) correction += Inverse(k, l) * gradient[At(l)];
        fEstimates[At(k)] += {correction};
        residual += -ExactProduct(correction, gradient[At(k)]);
    }

    fFit.total.sumOfSquares = total.high;
    fFit.residual.sumOfSquares = std::max(0.0, residual.high);
    fFit.regression.sumOfSquares = (total - MCExtended{fFit.residual.sumOfSquares}).high;
}

// ---------------------------------------------------------------------------------------------------------------------
// Statistics

void Fitting::Describe()
{
    DescribeVariance();
    DescribeCovariance();
    DescribeCoefficients();
    DescribeTerms();
}

void Fitting::DescribeTerms()
{
    std::vector<double> estimates;
    for (const MCExtended& estimate : fEstimates) estimates.push_back(estimate.high);
    const SweptModel swept{fDesign,         fParameters,        fSwept,
                           &fCrossProducts, fIndependent,       estimates,
                           fDiagonal,       fOptions.tolerance, fSums.exact ? &fExactProducts : nullptr};
    for (TermTest& test : TestTerms(swept)) {
        TermLine& line = fFit.terms.emplace_back();
        line.test = std::move(test);
        if (!(line.test.df > 0.0) || !(ResidualMeanSquare() > 0.0)) continue; // missing is below 0
        line.f = line.test.sum / line.test.df / ResidualMeanSquare();
        line.significance = MCDistFun::SigF(line.f, line.test.df, fFit.residual.df);
    }
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
    MCExtended variance{1.0 / fFit.sumOfWeights};
    if (fSums.exact) variance.low = -std::fma(variance.high, fFit.sumOfWeights, -1.0) / fFit.sumOfWeights;
    for (int i = 0; i < rank; ++i) {
        const int k = fIndependent[At(i)];
        MCExtended row;
        for (const int l : fIndependent) row += fMeans[At(l)] * ExtendedInverse(k, l);
        variance += row * fMeans[At(k)];
        fFit.covariance.SetElem(i + 1, 0, -row.high * ResidualMeanSquare());
    }
    fFit.covariance.SetElem(0, 0, variance.high * ResidualMeanSquare());
}

void Fitting::DescribeCoefficients()
{
    if (fOptions.intercept) fFit.coefficients.push_back({.parameter = Parameter{}, .estimate = Intercept().high});
    for (std::size_t k = 0; k < fParameters.size(); ++k)
        fFit.coefficients.push_back(
            {.parameter = fParameters[k], .aliased = !fParameters[k].reference}); // until it turns up below
    const std::size_t first = fOptions.intercept ? 1 : 0;
    for (const int k : fIndependent) {
        fFit.coefficients[At(k) + first].aliased = false;
        fFit.coefficients[At(k) + first].estimate = fEstimates[At(k)].high;
        fFit.coefficients[At(k) + first].tolerance = std::min(1.0, 1.0 / (Inverse(k, k) * fDiagonal[At(k)]));
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
    // The inverse of sums that were rounded is not refined: it has their digits less those that collinearity costs.
    // That of exact sums has all, but joint tests take it as doubles.
    const bool isExact = fSums.exact.has_value();
    const auto isTestedJointly = [&](const Parameter& parameter) {
        return parameter.term >= 0 && fFit.terms[At(parameter.term)].test.df > 1.0;
    };
    constexpr double kDigitsShown = 7.0;
    double least = kDigitsShown;
    std::string worst;
    for (const Coefficient& c : fFit.coefficients) {
        if (MCMV::IsMissing(c.tolerance) || (isExact && !isTestedJointly(c.parameter))) continue;
        const double digits = c.tolerance > 0.0 ? DecimalExponent(c.tolerance / 1e-15) : 0.0;
        if (digits < least) {
            least = digits;
            worst = c.parameter.Name();
        }
    }
    const std::string what = isExact ? "joint tests of several parameters" : "standard errors and tests";
    if (least < kDigitsShown)
        fFit.warnings.push_back(what + " have about " + FormatCount(std::max(0.0, least)) +
                                " correct digits: " + Printable(worst) + " nearly depends on other predictors");
    for (const Predictor& p : fDesign.Predictors())
        if (p.IsSuspicious())
            fFit.warnings.push_back(Printable(p.name) + " was taken as a factor because its first value is " +
                                    Quoted(p.firstValue) + ", but " + std::to_string(p.numbers) + " of its " +
                                    std::to_string(p.numbers + p.texts) +
                                    " values are numbers; --missing says what means a missing value");
}

// ---------------------------------------------------------------------------------------------------------------------
// Predictions

/// A block of predictions: lines of the output, and points for the charts.
struct Predicted {
    std::string lines;
    std::vector<double> fitted, residuals, frequencies;
};

// Rows of the design and the inverse come in doubles or, from exact sums, in twice their digits.
MCExtended Product(MCExtended coefficient, double x)
{
    return ExactProduct(coefficient.high, x);
}
MCExtended Product(MCExtended coefficient, MCExtended x)
{
    return coefficient * x;
}
double Element(const MCSymMatrix& matrix, int i, int j)
{
    return matrix.GetElem(std::max(i, j), std::min(i, j));
}
MCExtended Element(const MCExtendedSym& matrix, int i, int j)
{
    return matrix.GetElem(i, j);
}
double Rounded(double x)
{
    return x;
}
double Rounded(MCExtended x)
{
    return x.high;
}

/// What a prediction and its error are made of. Columns of covariates are taken from their means, so that common
/// offsets cost no digits; those of factors as they are, most of which are 0.
struct RowPredictor {
    RowPredictor(int nColumns, std::size_t nValues)
        : coefficients(At(nColumns)), rows(At(nColumns), -1), centres(nValues), rests(nValues, -1)
    {}

    MCExtended intercept; // at the centres
    double meanSquare = MCMV::Missing();
    double quantile = MCMV::Missing();
    bool hasIntercept = true;
    bool isExact = false;
    MCSymMatrix inverse;        // of the cross products: the intercept at the centres first
    MCExtendedSym exactInverse; // instead
    std::vector<MCExtended> coefficients;
    std::vector<int> rows; // of inverse, by column; -1: no estimate
    std::vector<MCExtended> centres;
    std::vector<int> rests; // places of the low parts among those of a case, -1: there is none
    std::size_t nRests = 0;

    void Covariate(const CaseBlock& block, std::size_t i, std::size_t j, double& x) const
    {
        x = block.values[i * centres.size() + j] - centres[j].high;
    }
    void Covariate(const CaseBlock& block, std::size_t i, std::size_t j, MCExtended& x) const
    {
        const double rest = rests[j] < 0 ? 0.0 : block.rests[i * nRests + At(rests[j])];
        x = MCExtended{block.values[i * centres.size() + j], rest} - centres[j];
    }
    static void Cell(const CaseBlock& block, std::size_t c, double& x) { x = block.CellValue(c); }
    static void Cell(const CaseBlock& block, std::size_t c, MCExtended& x)
    {
        x = {block.CellValue(c), block.cellRests.empty() ? 0.0 : block.cellRests[c]};
    }

    template <class Number, class Inverse>
    void Compute(const CaseBlock& block, const Inverse& of, std::vector<double>& fitted,
                 std::vector<double>& leverage) const
    {
        const std::size_t nCells = fitted.empty() ? 0 : block.cellColumns.size() / fitted.size();
        std::vector<std::pair<int, Number>> row; // of the inverse
        for (std::size_t i = 0; i < fitted.size(); ++i) {
            MCExtended sum = intercept;
            row.clear();
            if (hasIntercept) row.emplace_back(0, Number{1.0});
            const auto add = [&](std::size_t column, Number x) {
                if (rows[column] < 0 || Rounded(x) == 0.0) return;
                sum += Product(coefficients[column], x);
                row.emplace_back(rows[column], x);
            };
            Number x{};
            for (std::size_t j = 1; j < centres.size(); ++j) {
                Covariate(block, i, j, x);
                add(j, x);
            }
            for (std::size_t c = i * nCells; c < (i + 1) * nCells; ++c) {
                Cell(block, c, x);
                add(At(block.cellColumns[c]), x);
            }
            fitted[i] = sum.high;
            Number quadratic{};
            for (std::size_t a = 0; a < row.size(); ++a) {
                Number part = row[a].second * Element(of, row[a].first, row[a].first) * 0.5;
                for (std::size_t b = 0; b < a; ++b) part += row[b].second * Element(of, row[a].first, row[b].first);
                quadratic += part * row[a].second * 2.0;
            }
            leverage[i] = std::max(0.0, Rounded(quadratic));
        }
    }

    void Run(const CaseBlock& block, Predicted& out) const
    {
        const std::size_t n = At(block.cases);
        const std::size_t nValues = centres.size();
        std::vector<double> fitted(n), leverage(n);
        if (isExact)
            Compute<MCExtended>(block, exactInverse, fitted, leverage);
        else
            Compute<double>(block, inverse, fitted, leverage);
        out.fitted.clear();
        out.residuals.clear();
        out.frequencies.clear();
        for (std::size_t i = 0; i < n; ++i) {
            const double target = block.values[i * nValues];
            const double weight = block.Frequency(i) * block.Weight(i);
            if (MCMV::IsMissing(target) || !(block.Frequency(i) > 0.0) || !(weight > 0.0)) continue;
            out.fitted.push_back(fitted[i]);
            out.residuals.push_back(target - fitted[i]);
            out.frequencies.push_back(block.Frequency(i));
        }
        out.lines.clear();
        for (std::size_t r = 0; r < block.caseOfRow.size(); ++r) {
            out.lines += block.rowTexts[r];
            const int place = block.caseOfRow[r];
            if (place < 0) {
                out.lines += ",,,,,,\n";
                continue;
            }
            const auto i = At(place);
            const double target = block.values[i * nValues];
            const double error = MCMV::IsMissing(meanSquare) ? meanSquare : std::sqrt(meanSquare * leverage[i]);
            const double margin =
                MCMV::IsMissing(error) || MCMV::IsMissing(quantile) ? MCMV::Missing() : quantile * error;
            const double weight = block.Weight(i);
            const double numbers[] = {fitted[i],
                                      MCMV::IsMissing(target) ? MCMV::Missing() : target - fitted[i],
                                      error,
                                      MCMV::IsMissing(margin) ? margin : fitted[i] - margin,
                                      MCMV::IsMissing(margin) ? margin : fitted[i] + margin,
                                      weight > 0.0 ? leverage[i] * weight : MCMV::Missing()};
            for (const double number : numbers) out.lines.append(",").append(CsvNumber(number));
            out.lines += '\n';
        }
    }
};

void Store(MCSymMatrix& matrix, int i, int j, double x)
{
    matrix.SetElem(i, j, x);
}
void Store(MCExtendedSym& matrix, int i, int j, MCExtended x)
{
    matrix.SetElem(i, j, {x.high, x.low});
}

// The inverse of the cross products, the intercept first: at a point where columns that are taken from their means
// are 0, and rest has the means of the others.
template <class Number, class Matrix>
Matrix Fitting::InverseAt(const std::vector<MCExtended>& rest) const
{
    const int rank = static_cast<int>(fIndependent.size()), first = fOptions.intercept ? 1 : 0;
    const auto inverse = [&](int i, int j) {
        const MCExtended x = ExtendedInverse(fIndependent[At(i)], fIndependent[At(j)]);
        if constexpr (std::is_same_v<Number, double>)
            return x.high;
        else
            return x;
    };
    const auto mean = [&](int i) {
        if constexpr (std::is_same_v<Number, double>)
            return rest[At(i)].high;
        else
            return rest[At(i)];
    };
    Matrix result;
    result.SetNRows(rank + first);
    for (int i = 0; i < rank; ++i)
        for (int j = 0; j <= i; ++j) Store(result, i + first, j + first, inverse(i, j));
    if (first == 0) return result;
    Number variance{1.0 / fFit.sumOfWeights};
    for (int i = 0; i < rank; ++i) {
        Number sum{};
        for (int j = 0; j < rank; ++j) sum += mean(j) * inverse(i, j);
        Store(result, i + 1, 0, -sum);
        variance += sum * mean(i);
    }
    Store(result, 0, 0, variance);
    return result;
}

void Fitting::Predict(std::ostream* predictions, ResidualPicture* residuals)
{
    fCases->RestartForPredictions();
    ++fReading;
    const auto nValues = static_cast<std::size_t>(1 + fDesign.CovariateTerms().size());
    RowPredictor model(fDesign.NColumns(), nValues);
    model.hasIntercept = fOptions.intercept;
    model.meanSquare = ResidualMeanSquare();
    if (fFit.residual.df > 0.0)
        model.quantile = MCDistFun::IdfT(0.5 + 0.5 * fOptions.level, fFit.residual.df, 1e-12, 1e-20);
    const int first = fOptions.intercept ? 1 : 0;
    const int rank = static_cast<int>(fIndependent.size());
    MCExtended intercept = Intercept();
    model.isExact = fSums.exact.has_value();
    const auto digits = [&](MCExtended x) { return model.isExact ? x : MCExtended{x.high}; };
    if (model.isExact) {
        const ExactColumns columns(fDesign);
        for (std::size_t j = 0; j < nValues; ++j)
            if (columns.Of(static_cast<int>(j)).low >= 0) model.rests[j] = static_cast<int>(model.nRests++);
    }
    std::vector<MCExtended> rest(At(rank)); // means of the columns that are not taken from theirs
    for (int i = 0; i < rank; ++i) {
        const int k = fIndependent[At(i)];
        const auto column = At(fParameters[At(k)].column);
        model.coefficients[column] = digits(fEstimates[At(k)]);
        model.rows[column] = i + first;
        const bool centred = fOptions.intercept && column < nValues;
        if (!centred) rest[At(i)] = digits(fMeans[At(k)]);
        if (!centred) continue;
        model.centres[column] = digits(fMeans[At(k)]);
        intercept += model.isExact ? model.coefficients[column] * model.centres[column]
                                   : ExactProduct(model.coefficients[column].high, model.centres[column].high);
    }
    model.intercept = digits(intercept);
    if (model.isExact)
        model.exactInverse = InverseAt<MCExtended, MCExtendedSym>(rest);
    else
        model.inverse = InverseAt<double, MCSymMatrix>(rest);

    std::vector<std::string> names = fCases->RepeatedColumns();
    if (predictions != nullptr) {
        std::string header;
        for (const std::string& name : names) header.append(header.empty() ? "" : ",").append(CsvField(name));
        for (const char* const word : {"prediction", "residual", "stdError", "lower", "upper", "leverage"}) {
            std::string name = word;
            while (std::ranges::find(names, name) != names.end()) name += '_';
            header.append(",").append(name);
        }
        *predictions << header << '\n';
    }
    const double spread = MCMV::IsMissing(ResidualMeanSquare()) ? 0.0 : std::sqrt(ResidualMeanSquare());
    if (residuals != nullptr && fFit.counts.used > kMaxPoints && spread > 0.0) {
        // Nearly all fitted values and residuals; cells keep their mean points, so that the others show where they are.
        const double mean = fTargetMean.high;
        const double deviation = std::sqrt(fFit.regression.sumOfSquares / fFit.sumOfWeights);
        residuals->points = MCMath_930::MCScatterPlotData(mean - 4.0 * deviation, mean + 4.0 * deviation, 120,
                                                          -6.0 * spread, 6.0 * spread, 80);
    }
    FoldBlocks<CaseBlock, Predicted>(
        fOptions.threads, [&](CaseBlock& block) { return ReadBlock(block); },
        [&](const CaseBlock& block, Predicted& out) { model.Run(block, out); },
        [&](const Predicted& out) {
            if (predictions != nullptr) *predictions << out.lines;
            if (residuals == nullptr) return;
            for (std::size_t i = 0; i < out.fitted.size(); ++i) {
                residuals->points.UpdateData(out.frequencies[i], 1.0, out.fitted[i], out.residuals[i]);
                residuals->residuals.Update(out.residuals[i], out.frequencies[i]);
                ++residuals->cases;
            }
        });
}

} // namespace

Fit FitModel(const Options& options, InputFile& input, Progress& progress, MCCancelInfo& cancel,
             std::ostream* predictions, ResidualPicture* residuals)
{
    return Fitting(options, input, progress, cancel).Run(predictions, residuals);
}

Fit FitStates(Options& options, MCCancelInfo& cancel)
{
    Design design(true);
    Sums sums;
    LoadStates(options.inputs, options, design, sums);
    return Fitting(options, std::move(design), std::move(sums), cancel).Run(nullptr, nullptr);
}

} // namespace linreg
