#include "Fit.h"

#include "LinkFunction.h"
#include "Spool.h"
#include "common/Cell.h"
#include "common/Failure.h"
#include "common/Results.h"
#include "common/TextTable.h"
#include "common/Workers.h"
#include "model/SweepRows.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace logreg {

using namespace procedure;
using namespace model;
using MCCommon_930::MCMV;
using MCMath_930::MCBitSet;
using MCMath_930::MCCancelInfo;
using MCMath_930::MCDistFun;
using MCMath_930::MCMathFun;
using MCMath_930::MCMeansXProdData;
using MCMath_930::MCMeansXProducts;
using MCMath_930::MCRectMatrix;
using MCMath_930::MCSymMatrix;

namespace {

/// The linear predictor: columns of covariates are taken from their shifts.
struct LinearPredictor {
    double intercept = 0.0;
    std::vector<double> coefficients; ///< by design column, 0 for the target
};

/// What one pass over a block gives.
struct BlockSums {
    MCRectMatrix rows;
    MCMeansXProducts products; ///< of working residual and predictors, weighted
    double logLik = 0.0;
    double leastMove = 0.0; ///< of the last step: how far it moves a case towards its outcome, least and most
    double mostMove = 0.0;
};

struct PassSums {
    MCMeansXProdData products;
    double logLik = 0.0;
    double leastMove = std::numeric_limits<double>::infinity();
    double mostMove = 0.0;
};

/// A point of the iteration, with the normal equations there.
struct Point {
    LinearPredictor at;
    PassSums sums;
    MCSymMatrix swept;
    std::vector<int> independent;
    std::vector<double> diagonal;
    std::vector<double> means; ///< weighted, by parameter, of the shifted columns
    double interceptStep = 0.0;
    std::vector<double> step; ///< by parameter
    double decrement = 0.0;   ///< twice what the step is to gain in log-likelihood
};

class Fitting {
public:
    Fitting(const Options& options, InputFile& input, Progress& progress, MCCancelInfo& cancel)
        : fOptions(options), fInput(input), fProgress(progress), fCancel(cancel), fDesign(options.intercept),
          fCases(input, options, fDesign)
    {}

    Fit Run(std::ostream* predictions)
    {
        if (predictions != nullptr && !fInput.IsRegular())
            throw Failure(fInput.Name() + ": predictions need another reading; give a file");
        ReadCases();
        fFull.assign(fDesign.Terms().size(), 1);
        Point point;
        fFit.converged = Iterate(point, fFull, &fFit.history);
        Describe(point);
        if (fOptions.ratioTests) TestRatios();
        if (predictions != nullptr) Predict(point, *predictions);
        fProgress.Clear();
        fFit.variables = Variables(fOptions, fDesign);
        Warn();
        return std::move(fFit);
    }

private:
    void ReadCases();
    void Pass(Point& point, const std::vector<double>* step, double interceptStep);
    void Solve(Point& point, const std::vector<char>& terms, const std::vector<int>* keep) const;
    bool Iterate(Point& point, const std::vector<char>& terms, std::vector<Iteration>* history);
    void NoteSeparation(const Point& before, bool complete);
    void Describe(const Point& point);
    void TestRatios();
    void Predict(const Point& point, std::ostream& out);
    void Warn();
    void StopIfAsked()
    {
        if (fCancel.IsCancel()) throw Interrupted();
    }

    const Options& fOptions;
    InputFile& fInput;
    Progress& fProgress;
    MCCancelInfo& fCancel;
    Design fDesign;
    CaseReader fCases;
    Spool fSpool;
    std::vector<double> fShift; // of the target (0) and the columns of covariates
    std::vector<Parameter> fParameters;
    std::vector<char> fFull;           // all terms
    std::vector<std::size_t> fDiverge; // parameters that have no finite estimate
    bool fComplete = false;            // every case is told right
    std::vector<double> fColumnEvents; // weights of events, and of all cases, by column of a cell
    std::vector<double> fColumnCases;
    Fit fFit;
};

void Fitting::ReadCases()
{
    CaseBlock block;
    const auto size = static_cast<double>(fInput.Size());
    for (;;) {
        StopIfAsked();
        if (!fCases.NextBlock(block)) break;
        fProgress.Show(size > 0.0 ? static_cast<double>(fInput.BytesRead()) / size : -1.0, fCases.Counts().rows);
        const std::size_t nValues = block.values.size() / At(block.cases);
        const std::size_t nCells = block.cellColumns.size() / At(block.cases);
        fColumnEvents.resize(At(block.columns));
        fColumnCases.resize(At(block.columns));
        for (std::size_t i = 0; i < At(block.cases); ++i) {
            const double weight = block.Frequency(i) * block.Weight(i);
            fFit.nCases += block.Frequency(i);
            fFit.sumOfWeights += weight;
            const bool event = block.values[i * nValues] == 1.0;
            if (event) fFit.events += weight;
            for (std::size_t c = i * nCells; c < (i + 1) * nCells; ++c) {
                fColumnCases[At(block.cellColumns[c])] += weight;
                if (event) fColumnEvents[At(block.cellColumns[c])] += weight;
            }
        }
        fSpool.Write(block);
    }
    const CaseCounts& counts = fCases.Counts();
    if (counts.used == 0)
        throw Failure(fInput.Name() + ": no cases are left: " + std::to_string(counts.rows) + " rows, " +
                      std::to_string(counts.missing) + " with a missing value, " + std::to_string(counts.unweighted) +
                      " with a weight that is missing or not positive");
    fFit.counts = counts;
    fFit.targetValues = fCases.TargetValues();
    std::string seen;
    for (const std::string& value : fCases.TargetValues()) seen.append(seen.empty() ? "" : ", ").append(Quoted(value));
    if (!(fFit.events > 0.0))
        throw Failure(fInput.Name() + ": column " + Quoted(fOptions.target) + " is never " + Quoted(*fOptions.event) +
                      "; it is " + seen + "; --event names the value whose probability is modelled");
    if (!(fFit.events < fFit.sumOfWeights))
        throw Failure(fInput.Name() + ": column " + Quoted(fOptions.target) + " is always " + Quoted(*fOptions.event) +
                      ": there is nothing to tell apart");
    if (fCases.HasManyTargetValues())
        fFit.warnings.push_back(Printable(fOptions.target) + " has more than two values (" + Printable(seen) +
                                ", ...): all but " + Quoted(*fOptions.event) + " were taken as no event");
    fDesign.FinishLevels(fOptions.references);
    if (fFit.nCases < fDesign.NDeterminable())
        throw Failure(fInput.Name() + ": fewer cases than parameters: " + std::to_string(counts.used) +
                      " rows can be used for " + std::to_string(fDesign.NDeterminable()) + " parameters");
    fParameters = fDesign.Parameters();
    if (fOptions.intercept) fParameters.erase(fParameters.begin());
    // Without an intercept a shift would make another model.
    if (fOptions.intercept) fShift = fCases.FirstCase();
    if (!fShift.empty()) fShift[0] = 0.0;
}

void SumBlock(const CaseBlock& block, Link link, bool intercept, const std::vector<double>& shift,
              const LinearPredictor& at, const std::vector<double>* step, double interceptStep, BlockSums& out)
{
    const auto columns = static_cast<int>(at.coefficients.size());
    if (out.rows.GetNRows() != block.cases || out.rows.GetNCols() != columns + 1)
        out.rows.SetNRowsCols(block.cases, columns + 1);
    if (out.products.GetNVars() != columns) out.products = MCMeansXProducts(columns, intercept, false, true);
    out.logLik = 0.0;
    out.leastMove = std::numeric_limits<double>::infinity();
    out.mostMove = 0.0;
    const std::size_t nValues = block.values.size() / At(block.cases);
    const std::size_t nCells = block.cellColumns.size() / At(block.cases);
    for (std::size_t i = 0; i < At(block.cases); ++i) {
        double* const row = out.rows.GetRowPtr(static_cast<int>(i));
        FillDesignRow(block, i, shift, row);
        std::fill(row + block.columns, row + columns, 0.0); // levels that later blocks brought
        const auto linear = [&](double start, const std::vector<double>& coefficients) {
            for (std::size_t j = 1; j < nValues; ++j) start += coefficients[j] * row[j];
            for (std::size_t c = i * nCells; c < (i + 1) * nCells; ++c)
                start += coefficients[At(block.cellColumns[c])] * block.CellValue(c);
            return start;
        };
        const bool event = block.values[i * nValues] == 1.0;
        const CaseTerms terms = TermsAt(link, linear(at.intercept, at.coefficients), event);
        const double weight = block.Frequency(i) * block.Weight(i);
        out.logLik += weight * terms.logLik;
        row[0] = terms.residual;
        row[columns] = weight * terms.weight;
        if (step == nullptr) continue;
        const double move = (event ? 1.0 : -1.0) * linear(interceptStep, *step);
        out.leastMove = std::min(out.leastMove, move);
        out.mostMove = std::max(out.mostMove, std::fabs(move));
    }
    out.products.Compute(out.rows, block.cases);
}

// step: the last one, by design column, to see whether it moves every case towards its outcome.
void Fitting::Pass(Point& point, const std::vector<double>* step, double interceptStep)
{
    point.sums = PassSums{MCMeansXProdData(fDesign.NColumns(), fOptions.intercept)};
    fSpool.Rewind();
    FoldBlocks<CaseBlock, BlockSums>(
        fOptions.threads,
        [&](CaseBlock& block) {
            StopIfAsked();
            return fSpool.Read(block);
        },
        [&](const CaseBlock& block, BlockSums& out) {
            SumBlock(block, fOptions.link, fOptions.intercept, fShift, point.at, step, interceptStep, out);
        },
        [&](const BlockSums& out) {
            point.sums.products.Merge(out.products);
            point.sums.logLik += out.logLik;
            point.sums.leastMove = std::min(point.sums.leastMove, out.leastMove);
            point.sums.mostMove = std::max(point.sums.mostMove, out.mostMove);
        });
}

// The step at the point. keep: the parameters of the first point, so that none comes or goes while weights change.
void Fitting::Solve(Point& point, const std::vector<char>& terms, const std::vector<int>* keep) const
{
    const int target = static_cast<int>(fParameters.size());
    std::vector<int> positions(fParameters.size() + 1);
    positions[0] = target;
    for (int k = 0; k < target; ++k) positions[At(fParameters[At(k)].column)] = k;
    point.swept = point.sums.products.GetXProds();
    point.swept.Expand(positions, target + 1);
    point.swept.GetDiagonal(point.diagonal);
    for (const double length : point.diagonal)
        if (!std::isfinite(length))
            throw Failure(fInput.Name() + ": a predictor has numbers too large to be squared and summed");
    const std::vector<double>& means = point.sums.products.GetMeans();
    point.means.assign(fParameters.size(), 0.0);
    point.step.assign(fParameters.size(), 0.0);
    const double before = point.diagonal[At(target)];
    constexpr double kLater = 1e-13;
    std::vector<int> rows;
    for (int k = 0; k < target; ++k) {
        const Parameter& parameter = fParameters[At(k)];
        point.means[At(k)] = means[At(parameter.column)];
        if (parameter.reference || terms[At(parameter.term)] == 0) continue;
        if (keep == nullptr || std::ranges::binary_search(*keep, k)) rows.push_back(k);
    }
    MCBitSet swept(target + 1);
    point.independent =
        SweepRows(point.swept, rows, keep != nullptr ? kLater : fOptions.tolerance, point.diagonal, swept);
    point.interceptStep = fOptions.intercept ? means[0] : 0.0;
    for (const int k : point.independent) {
        point.step[At(k)] = point.swept.GetElem(target, k);
        point.interceptStep -= point.step[At(k)] * point.means[At(k)];
    }
    const double weights = point.sums.products.GetNCases();
    point.decrement = std::max(0.0, before - point.swept.GetElem(target, target)) +
                      (fOptions.intercept ? weights * means[0] * means[0] : 0.0);
}

bool Fitting::Iterate(Point& point, const std::vector<char>& terms, std::vector<Iteration>* history)
{
    constexpr int kMaxHalvings = 20;
    constexpr int kFirstLook = 8;   // for separation: a step of a fit that converges is small by now
    constexpr double kMoves = 0.02; // in units of the linear predictor
    constexpr double kSlack = 1e-3; // of the largest move: what an undecided case may go back
    const MCCommon_930::MCTimeUtil timer;
    MCMath_930::MCIterationReporter reporter;

    point.at.coefficients.assign(At(fDesign.NColumns()), 0.0);
    point.at.intercept = fOptions.intercept ? LinkOf(fOptions.link, fFit.events / fFit.sumOfWeights) : 0.0;
    Pass(point, nullptr, 0.0);
    Solve(point, terms, nullptr);
    const std::vector<int> kept = point.independent;
    const auto toColumns = [&](const Point& from) {
        std::vector<double> columns(from.at.coefficients.size());
        for (std::size_t k = 0; k < fParameters.size(); ++k) columns[At(fParameters[k].column)] = from.step[k];
        return columns;
    };
    const auto report = [&](int number, int halvings) {
        reporter.SetInfo(&point.at.coefficients, number, halvings, -2.0 * point.sums.logLik, timer.GetWallSeconds());
        if (history != nullptr)
            history->push_back({reporter.DiscreteMeasure("iterNum"), reporter.DiscreteMeasure("stepHalving"),
                                reporter.ScaleMeasure("loglik")});
    };
    report(0, 0);
    bool converged = false;
    int sightings = 0;
    for (int iteration = 1; iteration <= fOptions.maxIterations && !converged; ++iteration) {
        // Twice the expected gain is the square of the step in standard errors. One more step, then, is exact.
        converged = point.decrement <= fOptions.convergence * fOptions.convergence;
        const std::vector<double> step = toColumns(point);
        Point next;
        int halvings = 0;
        for (double length = 1.0;; length *= 0.5, ++halvings) {
            next.at.intercept = point.at.intercept + length * point.interceptStep;
            next.at.coefficients = point.at.coefficients;
            for (std::size_t j = 0; j < step.size(); ++j) next.at.coefficients[j] += length * step[j];
            Pass(next, iteration >= kFirstLook ? &step : nullptr, point.interceptStep);
            // Rounding may take a little off where there is nothing to gain any more.
            const double noise = 1e-12 * std::fabs(point.sums.logLik);
            if (next.sums.logLik >= point.sums.logLik - noise || halvings == kMaxHalvings) break;
        }
        Solve(next, terms, &kept);
        const bool moves = next.sums.mostMove > kMoves && next.sums.leastMove >= -kSlack * next.sums.mostMove;
        sightings = iteration >= kFirstLook && moves ? sightings + 1 : 0;
        std::swap(point, next);
        report(iteration, halvings);
        if (sightings >= 2 && history != nullptr)
            NoteSeparation(next, point.sums.leastMove > kSlack * point.sums.mostMove);
        // Separated data have a limit of the likelihood and none of the parameters.
        const double gain = std::fabs(point.sums.logLik - next.sums.logLik);
        if (sightings >= 2 && gain <= 1e-10 * (1.0 + std::fabs(point.sums.logLik))) return false;
    }
    return converged;
}

// What still moves while the data gain no more is what separates them.
void Fitting::NoteSeparation(const Point& before, bool complete)
{
    fComplete = complete;
    fDiverge.clear();
    double largest = 0.0;
    std::vector<double> moves(fParameters.size());
    for (std::size_t k = 0; k < fParameters.size(); ++k) {
        const bool isCell = fParameters[k].cell >= 0 && fDesign.Terms()[At(fParameters[k].term)].covariates.empty();
        // An indicator moves its cases by the step itself, a covariate by the step times its deviation.
        const double unit = isCell ? 1.0 : std::sqrt(before.diagonal[k] / before.sums.products.GetNCases());
        moves[k] = std::fabs(before.step[k]) * unit;
        largest = std::max(largest, moves[k]);
    }
    constexpr double kShare = 0.05;
    for (std::size_t k = 0; k < moves.size(); ++k)
        if (moves[k] > kShare * largest) fDiverge.push_back(k);
}

// ---------------------------------------------------------------------------------------------------------------------
// Statistics

void Fitting::Describe(const Point& point)
{
    fFit.separated = !fDiverge.empty();
    fFit.converged = !fFit.separated && fFit.converged;
    const int first = fOptions.intercept ? 1 : 0;
    const auto rank = static_cast<double>(point.independent.size());
    fFit.deviance = -2.0 * point.sums.logLik;
    const double p = fOptions.intercept ? fFit.events / fFit.sumOfWeights : Probability(fOptions.link, 0.0);
    fFit.nullDeviance =
        -2.0 * (fFit.events * MCMathFun::Log(p) + (fFit.sumOfWeights - fFit.events) * MCMathFun::LogOnePlus(-p));
    fFit.df = rank;
    if (rank > 0.0) {
        fFit.chiSquare = std::max(0.0, fFit.nullDeviance - fFit.deviance);
        fFit.significance = MCDistFun::SigChi(fFit.chiSquare, rank);
    }
    const double parameters = rank + first;
    fFit.aic = fFit.deviance + 2.0 * parameters;
    fFit.bic = fFit.deviance + parameters * MCMathFun::Log(fFit.nCases);
    if (fFit.nullDeviance > 0.0) {
        fFit.mcFadden = 1.0 - fFit.deviance / fFit.nullDeviance;
        const double n = fFit.sumOfWeights;
        fFit.nagelkerke = -MCMathFun::ExpMinusOne((fFit.deviance - fFit.nullDeviance) / n) /
                          -MCMathFun::ExpMinusOne(-fFit.nullDeviance / n);
    }

    const auto inverse = [&](int k, int l) { return -point.swept.GetElem(k, l); };
    if (fOptions.intercept) fFit.coefficients.push_back({.parameter = Parameter{}});
    for (const Parameter& parameter : fParameters)
        fFit.coefficients.push_back({.parameter = parameter, .aliased = !parameter.reference});
    for (const std::size_t k : fDiverge) fFit.coefficients[k + At(first)].separated = true;
    double intercept = point.at.intercept;
    // Of which the columns are not taken from their shift.
    std::vector<double> offset(fParameters.size(), 0.0);
    for (const int k : point.independent) {
        Coefficient& c = fFit.coefficients[At(k + first)];
        const auto column = At(fParameters[At(k)].column);
        c.aliased = false;
        if (c.separated) continue;
        c.estimate = point.at.coefficients[column];
        const double length = point.diagonal[At(k)];
        c.tolerance = length > 0.0 ? std::min(1.0, 1.0 / (inverse(k, k) * length)) : MCMV::Missing();
    }
    for (const int k : point.independent) {
        const auto column = At(fParameters[At(k)].column);
        if (column < fShift.size()) offset[At(k)] = fShift[column];
        intercept -= point.at.coefficients[column] * offset[At(k)];
    }

    // Covariances, with the intercept at the origin of the columns as they are in the data.
    const int order = static_cast<int>(point.independent.size()) + first;
    fFit.covariance.SetNRows(order);
    if (fOptions.intercept) fFit.estimated.push_back(0);
    for (const int k : point.independent) fFit.estimated.push_back(k + first);
    for (int i = first; i < order; ++i)
        for (int j = first; j <= i; ++j)
            fFit.covariance.SetElem(i, j, inverse(point.independent[At(i - first)], point.independent[At(j - first)]));
    if (fOptions.intercept) {
        double variance = 1.0 / point.sums.products.GetNCases();
        for (int i = first; i < order; ++i) {
            const int k = point.independent[At(i - first)];
            double sum = 0.0;
            for (const int l : point.independent) sum += (point.means[At(l)] + offset[At(l)]) * inverse(k, l);
            variance += sum * (point.means[At(k)] + offset[At(k)]);
            fFit.covariance.SetElem(i, 0, -sum);
        }
        fFit.covariance.SetElem(0, 0, variance);
        fFit.coefficients[0].estimate = intercept;
        fFit.coefficients[0].separated = fFit.separated && fComplete;
    }
    const double quantile = MCDistFun::IdfStdNorm(0.5 + 0.5 * fOptions.level);
    for (int i = 0; i < order; ++i) {
        Coefficient& c = fFit.coefficients[At(fFit.estimated[At(i)])];
        if (!c.HasEstimate()) continue;
        c.stdError = std::sqrt(fFit.covariance.GetElem(i, i));
        if (!(c.stdError > 0.0)) continue;
        c.t = c.estimate / c.stdError;
        c.significance = 2.0 * MCDistFun::CdfStdNorm(-std::fabs(c.t));
        c.lower = c.estimate - quantile * c.stdError;
        c.upper = c.estimate + quantile * c.stdError;
    }

    std::vector<double> estimates;
    for (const Parameter& parameter : fParameters) estimates.push_back(point.at.coefficients[At(parameter.column)]);
    const SweptModel swept{fDesign,           fParameters, point.swept,    nullptr,
                           point.independent, estimates,   point.diagonal, fOptions.tolerance};
    for (TermTest& test : TestTerms(swept)) {
        TermLine& line = fFit.terms.emplace_back();
        line.wald = std::move(test);
        const bool diverges = std::ranges::any_of(
            fDiverge, [&](std::size_t k) { return fDesign.Terms()[At(fParameters[k].term)].name == line.wald.name; });
        if (diverges || !(line.wald.df > 0.0)) {
            line.wald.sum = MCMV::Missing();
            continue;
        }
        line.waldSignificance = MCDistFun::SigChi(line.wald.sum, line.wald.df);
    }
}

// What a term adds to the model of all terms that do not contain it.
void Fitting::TestRatios()
{
    const std::vector<Term>& terms = fDesign.Terms();
    const auto contains = [&](std::size_t big, std::size_t small) {
        const Term& b = terms[big];
        const Term& s = terms[small];
        const auto inBig = [&](std::size_t f) { return std::ranges::find(b.factors, f) != b.factors.end(); };
        const auto covariateInBig = [&](const Term::Covariate& c) {
            return std::ranges::find(b.covariates, c) != b.covariates.end();
        };
        return b.covariates.size() == s.covariates.size() && b.factors.size() > s.factors.size() &&
               std::ranges::all_of(s.factors, inBig) && std::ranges::all_of(s.covariates, covariateInBig);
    };
    for (std::size_t t = 0; t < terms.size(); ++t) {
        std::vector<char> with(terms.size(), 1);
        bool isWhole = true;
        for (std::size_t other = 0; other < terms.size(); ++other)
            if (contains(other, t)) {
                with[other] = 0;
                isWhole = false;
            }
        std::vector<char> without = with;
        without[t] = 0;
        Point point;
        double deviance = fFit.deviance;
        double df = fFit.df;
        if (!isWhole) {
            Iterate(point, with, nullptr);
            deviance = -2.0 * point.sums.logLik;
            df = static_cast<double>(point.independent.size());
        }
        Iterate(point, without, nullptr);
        TermLine& line = fFit.terms[t];
        line.ratioDf = df - static_cast<double>(point.independent.size());
        if (!(line.ratioDf > 0.0)) continue;
        line.ratio = std::max(0.0, -2.0 * point.sums.logLik - deviance);
        line.ratioSignificance = MCDistFun::SigChi(line.ratio, line.ratioDf);
    }
}

void Fitting::Predict(const Point& point, std::ostream& out)
{
    fCases.RestartForPredictions();
    const std::vector<std::string> names = fCases.RepeatedColumns();
    std::string header;
    for (const std::string& name : names) header.append(header.empty() ? "" : ",").append(CsvField(name));
    for (const char* const word : {"probability", "linear", "stdError", "lower", "upper"}) {
        std::string name = word;
        while (std::ranges::find(names, name) != names.end()) name += '_';
        header.append(",").append(name);
    }
    out << header << '\n';
    // The covariance with the intercept at the shifts, where columns of covariates are small.
    const int first = fOptions.intercept ? 1 : 0;
    const int order = static_cast<int>(point.independent.size()) + first;
    MCSymMatrix covariance = fFit.covariance;
    if (fOptions.intercept) {
        double variance = 1.0 / point.sums.products.GetNCases();
        for (int i = first; i < order; ++i) {
            double sum = 0.0;
            for (int j = first; j < order; ++j)
                sum += point.means[At(point.independent[At(j - first)])] *
                       covariance.GetElem(std::max(i, j), std::min(i, j));
            variance += sum * point.means[At(point.independent[At(i - first)])];
            covariance.SetElem(i, 0, -sum);
        }
        covariance.SetElem(0, 0, variance);
    }
    std::vector<int> rowOf(At(fDesign.NColumns()), -1);
    for (int i = first; i < order; ++i) rowOf[At(fParameters[At(point.independent[At(i - first)])].column)] = i;
    const double quantile = MCDistFun::IdfStdNorm(0.5 + 0.5 * fOptions.level);
    const auto predict = [&](const CaseBlock& block, std::string& lines) {
        lines.clear();
        const std::size_t n = At(block.cases);
        const std::size_t nValues = n == 0 ? 0 : block.values.size() / n;
        const std::size_t nCells = n == 0 ? 0 : block.cellColumns.size() / n;
        std::vector<std::pair<int, double>> row;
        for (std::size_t r = 0; r < block.caseOfRow.size(); ++r) {
            lines += block.rowTexts[r];
            if (block.caseOfRow[r] < 0) {
                lines += ",,,,,\n";
                continue;
            }
            const auto i = At(block.caseOfRow[r]);
            double eta = point.at.intercept;
            row.clear();
            if (fOptions.intercept) row.emplace_back(0, 1.0);
            const auto add = [&](std::size_t column, double x) {
                eta += point.at.coefficients[column] * x;
                if (rowOf[column] >= 0 && x != 0.0) row.emplace_back(rowOf[column], x);
            };
            for (std::size_t j = 1; j < nValues; ++j)
                add(j, block.values[i * nValues + j] - (fShift.empty() ? 0.0 : fShift[j]));
            for (std::size_t c = i * nCells; c < (i + 1) * nCells; ++c)
                add(At(block.cellColumns[c]), block.CellValue(c));
            double variance = 0.0;
            for (std::size_t a = 0; a < row.size(); ++a) {
                double part = 0.5 * row[a].second * covariance.GetElem(row[a].first, row[a].first);
                for (std::size_t b = 0; b < a; ++b)
                    part += row[b].second * covariance.GetElem(std::max(row[a].first, row[b].first),
                                                               std::min(row[a].first, row[b].first));
                variance += 2.0 * part * row[a].second;
            }
            // A separated model has no errors to speak of.
            const double error = fFit.separated ? MCMV::Missing() : std::sqrt(std::max(0.0, variance));
            const bool known = !MCMV::IsMissing(error);
            for (const double number : {Probability(fOptions.link, eta), eta, error,
                                        known ? Probability(fOptions.link, eta - quantile * error) : MCMV::Missing(),
                                        known ? Probability(fOptions.link, eta + quantile * error) : MCMV::Missing()})
                lines.append(",").append(CsvNumber(number));
            lines += '\n';
        }
    };
    const auto size = static_cast<double>(fInput.Size());
    FoldBlocks<CaseBlock, std::string>(
        fOptions.threads,
        [&](CaseBlock& block) {
            StopIfAsked();
            const bool more = fCases.NextBlock(block);
            fProgress.Show(size > 0.0 ? static_cast<double>(fInput.BytesRead()) / size : -1.0, fCases.Counts().rows);
            return more;
        },
        predict, [&](const std::string& lines) { out << lines; });
}

void Fitting::Warn()
{
    for (const model::Predictor& p : fDesign.Predictors())
        if (p.IsSuspicious())
            fFit.warnings.push_back(Printable(p.name) + " was taken as a factor because its first value is " +
                                    Quoted(p.firstValue) + ", but " + std::to_string(p.numbers) + " of its " +
                                    std::to_string(p.numbers + p.texts) +
                                    " values are numbers; --missing says what means a missing value");
    if (fFit.separated) {
        constexpr std::size_t kNamed = 5;
        std::string named;
        for (std::size_t i = 0; i < std::min(kNamed, fDiverge.size()); ++i) {
            const Parameter& parameter = fParameters[fDiverge[i]];
            named.append(named.empty() ? "" : ", ").append(Printable(parameter.Name()));
            const auto column = At(parameter.column);
            if (parameter.cell < 0) continue;
            if (!(fColumnEvents[column] > 0.0)) named += " (no event)";
            if (!(fColumnEvents[column] < fColumnCases[column])) named += " (events only)";
        }
        if (fDiverge.size() > kNamed) named += " and " + std::to_string(fDiverge.size() - kNamed) + " more";
        fFit.warnings.push_back((fComplete ? "complete separation: " : "quasi-complete separation: ") + named +
                                (fComplete ? " tell all cases apart" : " tell some cases apart without an error") +
                                "; no finite estimates of them maximize the likelihood");
    } else if (!fFit.converged) {
        fFit.warnings.push_back("no convergence after " + std::to_string(fOptions.maxIterations) +
                                " iterations: the results are those of the last one");
    }
}

} // namespace

Fit FitModel(const Options& options, InputFile& input, Progress& progress, MCCancelInfo& cancel,
             std::ostream* predictions)
{
    return Fitting(options, input, progress, cancel).Run(predictions);
}

} // namespace logreg
