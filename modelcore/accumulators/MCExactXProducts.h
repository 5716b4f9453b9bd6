// Weighted count, sums and cross products without any rounding.
#pragma once

#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/modelcore_export.h"

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <span>
#include <vector>

namespace MCMath_930 {

class MCExtendedSym;
class MCRectMatrix;
class MCSymMatrix;
struct MCExtended;

namespace internal {
class ExactBlocks;
class MCExactSums;
struct WeighedRows;
} // namespace internal

/// The columns of a variable: that of its values, and that of what is missing in those, or -1.
struct MCColumnPair {
    int high = 0; ///< the column of the values
    int low = -1; ///< the column of what is missing in those; -1: none
};

/// The weighted number of cases W, the sums and the sums of products of p variables, kept exactly until they are read.
///
/// Nothing is rounded while cases are added, so the result depends on the cases alone: in any order, cut into any parts,
/// on any machine and merged in any order they give the same bytes. Cases can be taken away again as exactly as they
/// were added. What is read, means and cross products, is the exact value rounded once, or the sum of two doubles with
/// about 32 digits.
///
/// A block has one row per case as in MCMeansXProducts: columns 0 to p-1 are the variables, then come the frequency
/// weight, if there is one, and the regression weight, if there is one; a case weighs their product as a double, or 1
/// without either. Any finite double may be a value or a weight, negative weights and subnormal numbers too. A block
/// with a NaN, an infinity or the system-missing value is refused as a whole.
///
/// Rows are worked on 512 at a time, each column being cut into slices of 22 bits whose products add up without
/// rounding: values of one slice (0 and 1, integers below 2 million) cost about what plain sums cost, full doubles take
/// three slices and a few times that; docs/exact.md has figures. Fewer rows wait until they are 512. A sum takes 40 to
/// 56 bytes of usual data; data from 1e-300 to 1e300 take up to 800.
class MODELCORE_EXPORT MCExactXProducts {
public:
    /// No variables; with the intercept and a frequency weight.
    MCExactXProducts();

    /// p variables and no cases yet; no variables when p is not an order that a packed matrix can have. With the
    /// intercept, cross products are those of deviations from the means, without it raw ones. The other flags say which
    /// weight columns a block has.
    MCExactXProducts(int p, bool intercept, bool frequencyWeight, bool regressionWeight);

    /// A deep copy.
    MCExactXProducts(const MCExactXProducts& other);

    /// Deep as well. When memory runs out, this object is as it was.
    MCExactXProducts& operator=(const MCExactXProducts& other) { return internal::AssignByCopy(*this, other); }

    /// Takes everything over; other has no variables afterwards and keeps its three flags.
    MCExactXProducts(MCExactXProducts&& other) noexcept;
    MCExactXProducts& operator=(MCExactXProducts&& other) noexcept;

    virtual ~MCExactXProducts();

    /// Appends count variables that were 0 in every case so far.
    /// @return  false, and nothing changed, when count < 0 or there would be more than MCSymMatrix::kMaxRows
    bool AppendZeroVars(int count);

    /// Spreads the variables out to p: what was variable j becomes variable positions[j], and the others were 0 in every
    /// case so far. Variables may change places.
    /// @return  false, and nothing changed, unless p is an order that a packed matrix can have and positions holds one
    ///          place in [0, p) for each variable, no place twice
    bool Expand(const std::vector<int>& positions, int p);

    /// The number of variables p.
    int GetNVars() const { return fnVars; }

    /// Whether cross products are read as those of deviations from the means.
    bool IsIntercept() const { return fbIntercept; }

    /// Whether blocks have a column of frequency weights.
    bool IsFrequencyWeight() const { return fbFrequencyWeight; }

    /// Whether blocks have a column of regression weights.
    bool IsRegressionWeight() const { return fbRegressionWeight; }

    /// Forgets all cases; the variables and the flags stay.
    void Clear();

    /// Replaces what is accumulated by the block X, of which nRows > 0 takes the first nRows rows, nRows <= 0 all.
    /// @return  false, and nothing changed, when X has not the right number of columns, or a value that cannot be added
    bool Compute(const MCRectMatrix& X, int nRows);

    /// Adds the rows of the block X.
    /// @return  false, and nothing changed, when X has not the right number of columns, or a value that cannot be added
    bool Update(const MCRectMatrix& X, int nRows);

    /// Takes the rows of the block X away again. Rows that were never added leave sums less them.
    /// @return  false, and nothing changed, when X has not the right number of columns, or a value that cannot be added
    bool Remove(const MCRectMatrix& X, int nRows);

    /// Adds rows that stand column by column, which saves turning them: element (r, j) is x[j*columnStep + r].
    /// @param weights  one for each row; null: every row weighs 1. The weight flags do not matter here.
    /// @return  false, and nothing changed, when there is a value that cannot be added
    bool UpdateColumns(const double* x, std::size_t columnStep, std::size_t nRows, const double* weights);

    /// Adds one case of weight w. Cases wait in a buffer of 512.
    /// @param x  at least p values, the first p are used
    /// @return   false, and nothing changed, when x is too short, or a value or w cannot be added
    bool AddCase(const std::vector<double>& x, double w);

    /// Takes one case away again, exactly.
    /// @param x  at least p values, the first p are used
    /// @return   false, and nothing changed, when x is too short, or a value or w cannot be added
    bool DeleteCase(const std::vector<double>& x, double w);

    /// Adds up the rows that wait, so that results are read and merged without adding them up on the side each time.
    void FinishUpdate();

    /// Adds what other has accumulated. When this object has no variables yet, it takes their number and the flags from
    /// other. The result is that of all cases accumulated in one object, whatever the order.
    /// @return  false, and nothing changed, when the two differ in variables or intercept flag
    bool Merge(const MCExactXProducts& other);

    /// Merges the given accumulators; null entries are skipped. While this object has no variables, an entry without
    /// any changes nothing and the first with some sets variables and flags. All entries are looked at before the first
    /// is merged.
    /// @return  false, and nothing changed, when there is no entry that is not null, or when one differs in variables
    ///          or intercept flag from what those before it have made of this object
    bool Merge(const std::vector<MCExactXProducts*>& others);

    /// The same.
    bool Merge(const std::vector<const MCExactXProducts*>& others);

    /// Whether the two have the same variables, the same flags and exactly the same sums.
    bool Equal(const MCExactXProducts& other) const;

    /// The weighted number of cases W, rounded to the nearest double.
    double GetNCases() const;

    /// The p means, each the double nearest to the exact quotient; infinite beyond all doubles.
    /// @return  false, and the argument as it was, when W is 0
    bool GetMeans(std::vector<double>& means) const;

    /// The means as sums of two doubles, high as above and low the nearest to the rest.
    bool GetMeans(std::vector<double>& high, std::vector<double>& low) const;

    /// The cross products, each the double nearest to the exact value: with the intercept the sum of
    /// w*(x_i - m_i)*(x_j - m_j) with the exact means m, without it the sum of w*x_i*x_j. A constant column has exact
    /// zeros.
    /// @return  false, and the argument as it was, when W is 0 and the means are needed
    bool GetXProds(MCSymMatrix& products) const;

    /// The cross products as sums of two doubles, high as above and low the nearest to the rest.
    bool GetXProds(MCSymMatrix& high, MCSymMatrix& low) const;

    /// Means and cross products of variables that are kept as pairs of columns, x = high + low: powers and products of
    /// other columns that a double would round, for a regression that does not feel the rounding. The columns are put
    /// together before anything is rounded.
    /// @param variables  the columns of each variable, in the order of the results
    /// @return  false, and the arguments as they were, when a column is not there, or W is 0 and the means are needed;
    ///          without the intercept they are 0 when W is 0
    bool GetExtended(const std::vector<MCColumnPair>& variables, std::vector<MCExtended>& means,
                     MCExtendedSym& products) const;

    /// Writes the state to the diagnostic text stream: flags, W, means and cross products as doubles.
    virtual void Display() const;

    /// Saves the state as an element of a flat value stream: number of variables, the three flags, then W and for each
    /// variable its sum and its products with those up to itself, each a text like "-1f3p-12", an odd integer in
    /// hexadecimal digits times a power of two. Objects that are Equal write the same bytes, on every machine.
    /// @param indent  the depth of its tags, in tabs
    /// @return  the number of lines written; 0 when writing failed
    virtual int WriteObjectXML(std::ostream& stream, int indent) const;

    /// Restores a state that WriteObjectXML has saved. The stream stands before its element.
    /// @return  the number of lines read; 0, and nothing changed but the place in the stream, when they are not such a
    ///          state
    virtual int ReadObjectXML(std::ifstream& stream);

private:
    bool AddMatrix(const MCRectMatrix& X, int nRows, bool remove);
    bool AddRows(const internal::WeighedRows& rows, bool remove);
    bool MergeAll(std::span<const MCExactXProducts* const> others);
    internal::MCExactSums Total() const;
    internal::MCExactSums& Sums();
    internal::ExactBlocks& Blocks();
    bool AddWaiting(internal::ExactBlocks& blocks, internal::MCExactSums& sums) const;
    std::size_t NVars() const { return static_cast<std::size_t>(static_cast<int>(fnVars)); }

    internal::EmptiedOnMove<int> fnVars = 0;
    bool fbIntercept = true;
    bool fbFrequencyWeight = true;
    bool fbRegressionWeight = false;
    std::unique_ptr<internal::MCExactSums> fpSums;   // null before the first case
    std::unique_ptr<internal::ExactBlocks> fpBlocks; // null before the first block
    std::vector<double> fvWaiting;                   // fnWaiting rows of p values and the weight
    internal::EmptiedOnMove<std::size_t> fnWaiting = 0;
};

} // namespace MCMath_930
