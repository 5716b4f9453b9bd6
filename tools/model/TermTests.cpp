#include "model/TermTests.h"

#include "model/SweepRows.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace model {

using MCCommon_930::MCMV;
using MCMath_930::MCBitSet;
using MCMath_930::MCExtended;
using MCMath_930::MCExtendedSym;
using MCMath_930::MCSymMatrix;

namespace {

/// Hypotheses with more rows and columns than this are not written out; the term is then tested by what it adds.
constexpr std::size_t kMaxHypothesis = 4000000;
/// A row of a hypothesis that leaves less than this of itself beside the others says nothing new.
constexpr double kRedundant = 1e-12;

bool Contains(const Term& big, const Term& small)
{
    return big.covariates.size() == small.covariates.size() && big.factors.size() > small.factors.size() &&
           std::ranges::all_of(small.covariates,
                               [&](const Term::Covariate& c) {
                                   return std::ranges::find(big.covariates, c) != big.covariates.end();
                               }) &&
           std::ranges::all_of(small.factors,
                               [&](std::size_t f) { return std::ranges::find(big.factors, f) != big.factors.end(); });
}

double Rounded(double x)
{
    return x;
}
double Rounded(MCExtended x)
{
    return x.high;
}

class Testing {
public:
    explicit Testing(const SweptModel& model)
        : fModel(model), fTerms(model.design.Terms()), fIsSwept(model.parameters.size(), 0)
    {
        for (const int k : model.independent) fIsSwept[At(k)] = 1;
        for (std::size_t k = 0; k < model.parameters.size(); ++k)
            if (fIsSwept[k] == 0) fUnswept.push_back(static_cast<int>(k));
    }

    TermTest Test(std::size_t number) const
    {
        TermTest test;
        test.name = fTerms[number].name;
        std::vector<std::size_t> containing;
        for (std::size_t t = 0; t < fTerms.size(); ++t)
            if (Contains(fTerms[t], fTerms[number])) containing.push_back(t);
        const bool done = containing.empty() ? TestParameters(number, test) : TestHypothesis(number, containing, test);
        if (!done) TestWhatItAdds(number, containing, test);
        return test;
    }

private:
    double Inverse(int k, int l) const { return -fModel.swept.GetElem(k, l); }

    /// How much of the swept column k is in the unswept column j, in units of their lengths.
    double Share(int j, int k) const
    {
        const double b = fModel.swept.GetElem(std::max(j, k), std::min(j, k));
        const double length = fModel.diagonal[At(j)];
        return length > 0.0 ? b * std::sqrt(fModel.diagonal[At(k)] / length) : 0.0;
    }

    /// effects' M^(-1) effects by the Cholesky factor of M, in blocks where it is large. Rows that depend on those before
    /// them are left out, and do not count.
    static void Quadratic(MCSymMatrix& matrix, const std::vector<double>& effects, TermTest& test)
    {
        std::vector<double> diagonal;
        matrix.GetDiagonal(diagonal);
        const int redundant = matrix.LTChol(diagonal, kRedundant, false);
        test.df = matrix.GetNRows() - redundant;
        std::vector<double> solution;
        if (!(test.df > 0.0) || !matrix.LTSubstitute(effects, solution)) return;
        test.sum = 0.0;
        for (const double x : solution) test.sum += x * x;
    }

    // A term that no other contains: all its estimates are 0.
    bool TestParameters(std::size_t number, TermTest& test) const
    {
        std::vector<int> own;
        for (const int k : fModel.independent)
            if (At(fModel.parameters[At(k)].term) == number) own.push_back(k);
        // What other terms' aliased columns take from it is not the term's alone.
        for (const int j : fUnswept) {
            if (At(fModel.parameters[At(j)].term) == number) continue;
            for (const int k : own)
                if (std::fabs(Share(j, k)) > 1e-6) return false;
        }
        if (own.empty()) return false;
        MCSymMatrix matrix;
        std::vector<double> effects;
        const auto order = static_cast<int>(own.size());
        matrix.SetNRows(order);
        for (int i = 0; i < order; ++i) {
            for (int j = 0; j <= i; ++j) matrix.SetElem(i, j, Inverse(own[At(i)], own[At(j)]));
            effects.push_back(fModel.estimates[At(own[At(i)])]);
        }
        test.kind = TermTest::Kind::TypeThree;
        Quadratic(matrix, effects, test);
        return test.df > 0.0;
    }

    // The rows of the hypothesis: for each cell of the term without the last level of any of its centred factors, the
    // effect of that cell in sum-to-zero coding, as a combination of the parameters of the term and of those that
    // contain it.
    bool TestHypothesis(std::size_t number, const std::vector<std::size_t>& containing, TermTest& test) const
    {
        const Term& term = fTerms[number];
        std::vector<int> columns;
        for (std::size_t k = 0; k < fModel.parameters.size(); ++k) {
            const auto t = At(fModel.parameters[k].term);
            if (t == number || std::ranges::find(containing, t) != containing.end())
                columns.push_back(static_cast<int>(k));
        }
        std::vector<std::size_t> counts;
        std::size_t nRows = 1;
        for (std::size_t f = 0; f < term.factors.size(); ++f) {
            const std::size_t levels = fModel.design.Predictors()[term.factors[f]].levels.size();
            counts.push_back(levels - (term.hasMargin[f] ? 1 : 0));
            nRows *= counts.back();
        }
        if (nRows == 0 || nRows * columns.size() > kMaxHypothesis) return false;

        // Every cell of a term must exist, or its average is none.
        for (const std::size_t t : containing) {
            std::size_t cells = 1;
            for (const std::size_t f : fTerms[t].factors) cells *= fModel.design.Predictors()[f].levels.size();
            if (fTerms[t].cells.size() != cells) return false;
        }
        std::vector<std::vector<double>> rows;
        std::vector<std::size_t> level(counts.size(), 0);
        for (std::size_t r = 0; r < nRows; ++r) {
            std::vector<double>& row = rows.emplace_back();
            for (const int k : columns) row.push_back(Weight(term, level, fModel.parameters[At(k)]));
            for (std::size_t f = 0; f < level.size() && ++level[f] == counts[f]; ++f) level[f] = 0;
        }
        for (const std::vector<double>& row : rows)
            if (!IsEstimable(row, columns)) return false;

        // L G L' and L b, over the parameters that were swept.
        std::vector<int> used;
        std::vector<std::size_t> places;
        for (std::size_t c = 0; c < columns.size(); ++c)
            if (fIsSwept[At(columns[c])] != 0) {
                used.push_back(columns[c]);
                places.push_back(c);
            }
        MCSymMatrix matrix;
        std::vector<double> effects;
        const auto order = static_cast<int>(nRows);
        matrix.SetNRows(order);
        std::vector<double> product(used.size());
        for (int i = 0; i < order; ++i) {
            double effect = 0.0;
            for (std::size_t a = 0; a < used.size(); ++a) {
                effect += rows[At(i)][places[a]] * fModel.estimates[At(used[a])];
                product[a] = 0.0;
                for (std::size_t b = 0; b < used.size(); ++b)
                    product[a] += Inverse(used[a], used[b]) * rows[At(i)][places[b]];
            }
            for (int j = 0; j <= i; ++j) {
                double sum = 0.0;
                for (std::size_t a = 0; a < used.size(); ++a) sum += product[a] * rows[At(j)][places[a]];
                matrix.SetElem(i, j, sum);
            }
            effects.push_back(effect);
        }
        test.kind = TermTest::Kind::TypeThree;
        Quadratic(matrix, effects, test);
        return test.df > 0.0;
    }

    double Weight(const Term& term, const std::vector<std::size_t>& level, const Parameter& parameter) const
    {
        const Term& other = fTerms[At(parameter.term)];
        if (other.factors.empty()) return 1.0;
        const Term::Cell& cell = other.cells[At(parameter.cell)];
        double weight = 1.0;
        for (std::size_t g = 0; g < other.factors.size(); ++g) {
            const auto found = std::ranges::find(term.factors, other.factors[g]);
            const auto nLevels = static_cast<double>(fModel.design.Predictors()[other.factors[g]].levels.size());
            if (found == term.factors.end()) {
                weight /= nLevels;
                continue;
            }
            const auto f = static_cast<std::size_t>(found - term.factors.begin());
            weight *= (cell.levels[g] == level[f] ? 1.0 : 0.0) - (term.hasMargin[f] ? 1.0 / nLevels : 0.0);
        }
        return weight;
    }

    /// A combination l of the parameters is estimable when that of each unswept column follows from those of the
    /// columns that it depends on.
    bool IsEstimable(const std::vector<double>& row, const std::vector<int>& columns) const
    {
        for (const int j : fUnswept) {
            double sum = 0.0;
            double size = 0.0;
            for (std::size_t c = 0; c < columns.size(); ++c) {
                const int k = columns[c];
                double part = k == j ? -row[c] : 0.0;
                if (fIsSwept[At(k)] != 0 && row[c] != 0.0 && std::fabs(Share(j, k)) > 1e-9)
                    part = row[c] * fModel.swept.GetElem(std::max(j, k), std::min(j, k));
                sum += part;
                size += std::fabs(part);
            }
            if (std::fabs(sum) > 1e-6 * size) return false;
        }
        return true;
    }

    void TestWhatItAdds(std::size_t number, const std::vector<std::size_t>& containing, TermTest& test) const
    {
        test.df = 0.0;
        test.sum = MCMV::Missing();
        test.kind = TermTest::Kind::None;
        if (fModel.exactProducts != nullptr) {
            MCExtendedSym work = *fModel.exactProducts;
            std::vector<int> scales; // near 1, so that no product leaves the range of a double
            work.Equilibrate(scales);
            AddTerm(work, number, containing, test);
            if (test.df > 0.0) test.sum = std::ldexp(test.sum, -2 * scales.back());
        } else if (fModel.crossProducts != nullptr) {
            MCSymMatrix work = *fModel.crossProducts;
            AddTerm(work, number, containing, test);
        }
    }

    template <class Matrix>
    void AddTerm(Matrix& work, std::size_t number, const std::vector<std::size_t>& containing, TermTest& test) const
    {
        const int target = work.GetNRows() - 1;
        std::vector<double> diagonal;
        work.GetDiagonal(diagonal);
        MCBitSet swept(target + 1);
        const auto sweep = [&](bool ofTerm) {
            std::vector<int> rows;
            for (int k = 0; k < target; ++k) {
                const Parameter& parameter = fModel.parameters[At(k)];
                const auto t = At(parameter.term);
                const bool isContaining = std::ranges::find(containing, t) != containing.end();
                if (!parameter.reference && !isContaining && (t == number) == ofTerm) rows.push_back(k);
            }
            return static_cast<double>(SweepRows(work, rows, fModel.tolerance, diagonal, swept).size());
        };
        sweep(false);
        const auto without = work.GetElem(target, target);
        test.df = sweep(true);
        if (!(test.df > 0.0)) return;
        test.kind = TermTest::Kind::TypeTwo;
        test.sum = std::max(0.0, Rounded(without - work.GetElem(target, target)));
    }

    const SweptModel& fModel;
    const std::vector<Term>& fTerms;
    std::vector<char> fIsSwept;
    std::vector<int> fUnswept;
};

} // namespace

std::vector<TermTest> TestTerms(const SweptModel& model)
{
    const Testing testing(model);
    std::vector<TermTest> tests;
    for (std::size_t t = 0; t < model.design.Terms().size(); ++t) tests.push_back(testing.Test(t));
    return tests;
}

} // namespace model
