// Weighted count, means and cross products, block by block.
#pragma once

#include "modelcore/accumulators/MCMeansXProdData.h"

#include <cstddef>
#include <vector>

namespace MCMath_930 {

class MCRectMatrix;

namespace internal {
class ProductSums;
struct WeightedRows;
} // namespace internal

/// MCMeansXProdData fed from blocks of rows.
///
/// A block has one row per case: columns 0 to p-1 are the variables, then come the frequency weight, if there is one,
/// and the regression weight, if there is one; a case weighs their product, or 1 without either. The block must have
/// exactly these columns. nRows > 0 limits it to its first nRows rows; nRows <= 0, or more than there are, means all.
///
/// There are two roads. On the block road, Compute and Update, each block is read twice, once for its means and once
/// for the deviations from them, and merged exactly with what came before. On the one-pass road, StartUpdateOnePass,
/// UpdateOnePass for each block and FinishUpdateOnePass, raw sums are kept and centred at the end; it reads each row
/// once, but loses the digits that means share with raw products, so it suits data whose means are not much larger
/// than their standard deviations.
class MODELCORE_EXPORT MCMeansXProducts : public MCMeansXProdData {
public:
    /// No variables; with the intercept and a frequency weight.
    MCMeansXProducts() = default;

    /// p variables and no cases yet; no variables when p is not an order that a packed matrix can have. The flags say
    /// which weight columns a block has.
    MCMeansXProducts(int p, bool intercept, bool frequencyWeight, bool regressionWeight);

    /// A deep copy.
    MCMeansXProducts(const MCMeansXProducts& other) = default;

    /// Deep as well. When memory runs out, this object is as it was.
    MCMeansXProducts& operator=(const MCMeansXProducts& other) { return internal::AssignByCopy(*this, other); }

    /// Takes everything over; other has no variables afterwards and keeps its three flags.
    MCMeansXProducts(MCMeansXProducts&& other) noexcept = default;
    MCMeansXProducts& operator=(MCMeansXProducts&& other) noexcept = default;

    ~MCMeansXProducts() override;

    /// Whether blocks have a column of frequency weights.
    bool IsFrequencyWeight() const { return fbFrequencyWeight; }

    /// Whether blocks have a column of regression weights.
    bool IsRegressionWeight() const { return fbRegressionWeight; }

    /// Replaces what is accumulated by the block X. The mean of a column whose values are all equal is exactly that
    /// value, so its centred cross products are exactly 0; other means are the weighted sum divided by W. Sums are
    /// taken row by row; C(i,j) receives (w*(x_i - m_i))*(x_j - m_j) of each row, without the intercept (w*x_i)*x_j.
    /// A block whose total weight is 0 gives W = 0 with means and cross products 0.
    /// @return  false, and nothing changed, when X has not the right number of columns
    bool Compute(const MCRectMatrix& X, int nRows);

    /// Adds the block X: accumulates it as Compute does, then merges what was there before into the result. A block
    /// whose total weight is 0 changes nothing. With negative weights the two together may weigh 0 or less: nothing is
    /// merged then, and what was there before is replaced by the block, as by Compute.
    /// @return  false, and nothing changed, when X has not the right number of columns
    bool Update(const MCRectMatrix& X, int nRows);

    /// Begins the block road: forgets all cases.
    void StartUpdate();

    /// Ends the block road. The results are complete after every Update, so that nothing is left to do.
    void FinishUpdate();

    /// Begins the one-pass road: sets its sums to 0. Results of before stay until FinishUpdateOnePass.
    void StartUpdateOnePass();

    /// Adds the block X to the one-pass sums.
    /// @return  false, and nothing changed, when X has not the right number of columns, or when the number of variables
    ///          has changed since the last StartUpdateOnePass
    bool UpdateOnePass(const MCRectMatrix& X, int nRows);

    /// Replaces what is accumulated by the result of the one-pass sums: means m_i = sum_i/W and cross products
    /// products(i,j) - m_i*sum_j, corrected for the means whatever the intercept flag says; all 0 when the one-pass
    /// weights sum to 0, and when SetNVars has changed the number of variables since the sums were taken, which are
    /// then of no use. The sums stay until the next StartUpdateOnePass.
    void FinishUpdateOnePass();

    /// As the base does, with the weight flags and, if they have a weight above 0, the one-pass sums.
    void Display() const override;

    /// As the base does, with the weight flags and the one-pass sums behind its fields.
    int WriteObjectXML(std::ostream& stream, int indent) const override;
    int ReadObjectXML(std::ifstream& stream) override;

private:
    bool ReadBlock(const MCRectMatrix& X, int nRows, internal::WeightedRows& block) const;
    void ComputeMeans(const internal::WeightedRows& block, std::vector<std::size_t>& columns) noexcept;
    void ComputeInPlace(const internal::WeightedRows& block, internal::ProductSums& sums,
                        std::vector<std::size_t>& columns) noexcept;

    bool fbFrequencyWeight = true;
    bool fbRegressionWeight = false;
    internal::EmptiedOnMove<double> fdOnePassNCases = 0.0;
    std::vector<double> fvOnePassSums;
    MCSymMatrix fOnePassXProds;
};

} // namespace MCMath_930
