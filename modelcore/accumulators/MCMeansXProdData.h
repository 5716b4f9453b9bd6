// Weighted count, means and cross products, one case at a time.
#pragma once

#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/matrix/MCSymMatrix.h"
#include "modelcore/modelcore_export.h"

#include <iosfwd>
#include <memory>
#include <span>
#include <vector>

namespace MCMath_930 {

namespace internal {
class StateReader;
class StateWriter;
class WaitingTerms;
} // namespace internal

/// The weighted number of cases W, the means and the packed matrix of cross products of p variables.
///
/// With the intercept the matrix holds cross products of deviations from the means,
/// C(i,j) = sum of w*(x_i - m_i)*(x_j - m_j); without it raw ones, C(i,j) = sum of w*x_i*x_j. The means are kept in
/// both cases. Results of separate pieces of data merge into that of the whole.
///
/// The matrix is updated for some tens of cases at a time; every element still receives the same operations in the same
/// order as with an update at every case. Whatever looks at the matrix brings it up to date first, so that nobody sees
/// the difference. Const members may run on several threads at once: the first of them does that for all.
///
/// Missing values are not looked for: callers leave incomplete cases out. NaN and infinities flow into the variables
/// that carry them.
class MODELCORE_EXPORT MCMeansXProdData {
public:
    /// No variables; with the intercept.
    MCMeansXProdData();

    /// p variables and no cases yet; no variables when p is not an order that a packed matrix can have.
    MCMeansXProdData(int p, bool intercept);

    /// A deep copy.
    MCMeansXProdData(const MCMeansXProdData& other);

    /// Deep as well. When memory runs out, this object is as it was.
    MCMeansXProdData& operator=(const MCMeansXProdData& other) { return internal::AssignByCopy(*this, other); }

    /// Takes everything over; other has no variables afterwards and keeps its intercept flag.
    MCMeansXProdData(MCMeansXProdData&& other) noexcept;
    MCMeansXProdData& operator=(MCMeansXProdData&& other) noexcept;

    virtual ~MCMeansXProdData();

    /// Starts afresh with p variables and no cases; the intercept flag stays.
    /// @return  false, and nothing changed, when p < 0 or p > MCSymMatrix::kMaxRows
    bool SetNVars(int p);

    /// Appends count variables that were 0 in every case so far, for example indicators of levels that turn up late:
    /// their means and cross products are exact zeros.
    /// @return  false, and nothing changed, when count < 0 or there would be more than MCSymMatrix::kMaxRows
    bool AppendZeroVars(int count);

    /// Sets the intercept flag for the cases that follow; what is accumulated is not converted.
    void SetIntercept(bool intercept) { fbIntercept = intercept; }

    /// Whether the products of the cases that follow are those of deviations from the means.
    bool IsIntercept() const { return fbIntercept; }

    /// The number of variables p.
    int GetNVars() const { return fnVars; }

    /// The weighted number of cases W.
    double GetNCases() const { return fdNCases; }

    /// The p means; 0 while there are no cases.
    const std::vector<double>& GetMeans() const { return fvMeans; }

    /// The cross products. The reference is current only until the next case or other change of this object; copy the
    /// matrix to sweep it.
    const MCSymMatrix& GetXProds() const { return XProds(); }

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

    /// Merges the given accumulators in their order; null entries are skipped. While this object has no variables, an
    /// entry without any changes nothing and the first with some sets variables and intercept flag. All entries are
    /// looked at before the first is merged.
    /// @return  false, and nothing changed, when there is no entry that is not null, or when one differs in variables
    ///          or intercept flag from what those before it have made of this object
    bool Merge(const std::vector<MCMeansXProdData*>& others);

    /// The same.
    bool Merge(const std::vector<const MCMeansXProdData*>& others);

    /// Writes the state to the diagnostic text stream.
    virtual void Display() const;

    /// Saves the state as an element of a flat value stream, every bit of it: number of variables, intercept flag, W,
    /// means, packed cross products.
    /// @param indent  the depth of its tags, in tabs
    /// @return  the number of lines written; 0 when writing failed
    virtual int WriteObjectXML(std::ostream& stream, int indent) const;

    /// Restores a state that an object of the same class has saved. The stream stands before its element.
    /// @return  the number of lines read; 0, and nothing changed but the place in the stream, when they are not such a
    ///          state
    virtual int ReadObjectXML(std::ifstream& stream);

protected:
    /// C += f*d*d' with d = x - means (with the intercept) or d = x: each C(i,j) receives (f*d_i)*d_j.
    /// @param x  at least p values
    void UpdateXX(const std::vector<double>& x, double f);

    /// The cross products, up to date, to be changed in place.
    MCSymMatrix& XProds() const;

    /// How many doubles MergeAlike needs.
    std::size_t MergeRoom() const { return 3 * fvMeans.size(); }

    /// Merge of an accumulator with the same variables and intercept flag; a total weight that is not above 0 merges
    /// nothing.
    /// @param room  MergeRoom() doubles to work in
    void MergeAlike(const MCMeansXProdData& other, std::span<double> room) noexcept;

    /// What WriteObjectXML and ReadObjectXML of a class without further data do, with the element of that name.
    int WriteState(std::ostream& stream, int indent, const char* name) const;
    /// The reading half; see ReadObjectXML of the classes.
    int ReadState(std::ifstream& stream, const char* name);

    /// Writes the fields of this class to an element that has begun.
    void WriteFields(internal::StateWriter& writer) const;
    /// Reads into this object, which a caller throws away when it fails.
    bool ReadFields(internal::StateReader& reader);

    /// The number of variables.
    internal::EmptiedOnMove<int> fnVars = 0;
    /// Whether products are about the means.
    bool fbIntercept = true;
    /// The sum of weights.
    internal::EmptiedOnMove<double> fdNCases = 0.0;
    /// The mean of each variable.
    std::vector<double> fvMeans;

private:
    bool MergeAll(std::span<const MCMeansXProdData* const> others);
    void MakeRoom();

    mutable MCSymMatrix fXProds;                       // without the terms that wait
    std::unique_ptr<internal::WaitingTerms> fpWaiting; // null before the first case
};

} // namespace MCMath_930
