// Weighted count, means and cross products, one case at a time.
#pragma once

#include "modelcore/matrix/MCSymMatrix.h"
#include "modelcore/modelcore_export.h"

#include <vector>

namespace MCMath_930 {

/// The weighted number of cases W, the means and the packed matrix of cross products of p variables.
///
/// With the intercept the matrix holds cross products of deviations from the means,
/// C(i,j) = sum of w*(x_i - m_i)*(x_j - m_j); without it raw ones, C(i,j) = sum of w*x_i*x_j. The means are kept in
/// both cases. Results of separate pieces of data merge into that of the whole.
///
/// Missing values are not looked for: callers leave incomplete cases out. NaN and infinities flow into the variables
/// that carry them.
class MODELCORE_EXPORT MCMeansXProdData {
public:
    /// No variables; with the intercept.
    MCMeansXProdData() = default;

    /// p variables and no cases yet; no variables when p is not an order that a packed matrix can have.
    MCMeansXProdData(int p, bool intercept);

    MCMeansXProdData(const MCMeansXProdData& other) = default;
    MCMeansXProdData& operator=(const MCMeansXProdData& other) = default;
    virtual ~MCMeansXProdData();

    /// Starts afresh with p variables and no cases; the intercept flag stays.
    /// @return  false, and nothing changed, when p < 0 or p > MCSymMatrix::kMaxRows
    bool SetNVars(int p);

    /// Sets the intercept flag for the cases that follow; what is accumulated is not converted.
    void SetIntercept(bool intercept) { fbIntercept = intercept; }

    bool IsIntercept() const { return fbIntercept; }
    int GetNVars() const { return fnVars; }

    /// The weighted number of cases W.
    double GetNCases() const { return fdNCases; }

    /// The p means; 0 while there are no cases.
    const std::vector<double>& GetMeans() const { return fvMeans; }

    /// The cross products. The reference is current until the next change of this object; copy the matrix to sweep it.
    const MCSymMatrix& GetXProds() const { return fXProds; }

    /// Forgets all cases; the variables and the intercept flag stay.
    void Clear();

    /// Adds one case of weight w (Welford 1962, West 1979): with W' = W + w and the means of before,
    /// C += (W*w/W')*(x - m)(x - m)' with the intercept, C += w*x*x' without it, then m += (x - m)*(w/W'). A case of
    /// weight 0 changes nothing.
    /// @param x  at least p values, the first p are used
    /// @return   false, and nothing changed, when x is too short
    bool AddCase(const std::vector<double>& x, double w);

    /// Takes back a case that was added with weight w; AddCase undone, up to rounding. W must stay above 0: emptying
    /// the accumulator is what Clear is for. Digits that an outlier has pushed out do not come back.
    /// @param x  at least p values, the first p are used
    /// @return   false, and nothing changed, when x is too short
    bool DeleteCase(const std::vector<double>& x, double w);

    /// Adds what other has accumulated (Chan, Golub & LeVeque 1979). When this object has no variables yet, it takes
    /// number of variables and intercept flag from other. The bits depend on which of the two is merged into which.
    /// @return  false, and nothing changed, when the two differ in variables or intercept flag. True otherwise, also
    ///          when the total weight is not above 0: then no case is merged.
    bool Merge(const MCMeansXProdData& other);

    /// Merges the given accumulators in their order; null entries are skipped. All entries are looked at before the
    /// first is merged.
    /// @return  false, and nothing changed, when there is no entry that is not null, or when one differs from another
    ///          or from this object (if this has variables) in variables or intercept flag
    bool Merge(const std::vector<MCMeansXProdData*>& others);
    bool Merge(const std::vector<const MCMeansXProdData*>& others);

    /// Writes the state to the diagnostic text stream.
    virtual void Display() const;

protected:
    /// C += f*d*d' with d = x - means (with the intercept) or d = x: each C(i,j) receives (f*d_i)*d_j.
    /// @param x  at least p values
    void UpdateXX(const std::vector<double>& x, double f);

    int fnVars = 0;
    bool fbIntercept = true;
    double fdNCases = 0.0;
    std::vector<double> fvMeans;
    MCSymMatrix fXProds;
};

} // namespace MCMath_930
