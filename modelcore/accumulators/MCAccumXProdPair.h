// Covariances and correlations of all pairs of variables, each from the cases that have both values.
#pragma once

#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/matrix/MCSymMatrix.h"
#include "modelcore/modelcore_export.h"

#include <array>
#include <cstddef>
#include <iosfwd>
#include <vector>

namespace MCMath_930 {

/// Pairwise-complete covariances of nVars variables.
///
/// The pair of the variables i and j, i > j, has the number k = i(i-1)/2 + j; x is the value of variable i and y that
/// of variable j. Each pair collects its cases in a batch of raw sums. A batch of nAccum cases is folded into the
/// running statistics of the pair: its weight N, means, variances and covariance (divisor N - 1). Between folds these
/// trail the data by up to nAccum - 1 cases; Finish folds what is left.
///
/// The fold works with raw sums: it loses the digits that the means share with the raw products, so it suits data whose
/// means are not much larger than their standard deviations.
class MODELCORE_EXPORT MCAccumXProdPair {
public:
    /// nVars variables (none when that is not an order a packed matrix can have), batches of nAccum cases (at least 1).
    MCAccumXProdPair(int nVars, int nAccum);

    /// A deep copy.
    MCAccumXProdPair(const MCAccumXProdPair& other) = default;

    /// Deep as well. When memory runs out, this object is as it was.
    MCAccumXProdPair& operator=(const MCAccumXProdPair& other) { return internal::AssignByCopy(*this, other); }

    /// Takes everything over; other has no variables afterwards and keeps its size of a batch.
    MCAccumXProdPair(MCAccumXProdPair&& other) noexcept = default;
    MCAccumXProdPair& operator=(MCAccumXProdPair&& other) noexcept = default;

    virtual ~MCAccumXProdPair();

    /// The number of variables.
    int GetNVars() const { return fnVars; }

    /// The number of cases in a batch.
    int GetNAccum() const { return fnAccum; }

    /// Sets the size of a batch, at least 1. A batch that is as large already is folded at its pair's next case.
    void SetNAccum(int nAccum);

    /// Forgets all cases; variables and size of a batch stay.
    void InitAll();

    /// Forgets the cases of unfinished batches; the running statistics stay.
    void InitAccumCounts();

    /// Adds a case of weight w in which the variables i and j have the values xi and xj.
    /// @return  false, and nothing changed, unless 0 <= j < i < nVars; false as well, the case being added, when the
    ///          batch is full and its fold finds a total weight that is not above 1 (the batch then stays)
    bool Update(int i, double xi, int j, double xj, double w);

    /// The same for the pair k, 0 <= k < nVars(nVars-1)/2. Missing values are not looked for: callers leave a pair out
    /// when it has one.
    bool Update(int k, double x, double y, double w);

    /// Folds the unfinished batches, pair by pair; pairs whose batch weighs 0 are passed over. Stops at the first pair
    /// whose total weight is not above 1.
    /// @return  whether no pair stopped it
    bool Finish();

    /// The running covariances: element (i, j) is that of the pair, element (i, i) the running variance of variable i
    /// from the pair with the most weight, the first of equals in the order of k. Where nothing has been folded yet,
    /// elements are 0. The matrix is current until the next call of a member of this object; GetCorr writes to the
    /// same. So neither may run while another thread uses the object, although both are const.
    const MCSymMatrix& GetCovar() const;

    /// The covariances c of GetCovar as c(i,j) / sqrt(sqrt(c(i,i))) / sqrt(sqrt(c(j,j))), system-missing where c(i,i)
    /// or c(j,j) is not above 0. Mind the fourth roots: for variances of 1 this is the correlation; a correlation in
    /// general is this element divided by the same two roots once more. The diagonal is sqrt(c(i,i)).
    const MCSymMatrix& GetCorr() const;

    /// Adds what other has accumulated: the running statistics of each pair are pooled (Chan, Golub & LeVeque 1979),
    /// the batches added. When this object has no variables, it takes variables and size of a batch from other.
    /// @return  false, and nothing changed, when the two differ in variables
    bool Merge(const MCAccumXProdPair& other);

    /// Merges the given accumulators in their order; null entries are skipped. While this object has no variables, an
    /// entry without any adds nothing and the first with some sets the variables. All entries are looked at before the
    /// first is merged.
    /// @return  false, and nothing changed, when there is no entry that is not null, or when one differs in variables
    ///          from what those before it have made of this object
    bool Merge(const std::vector<MCAccumXProdPair*>& others);

    /// The same.
    bool Merge(const std::vector<const MCAccumXProdPair*>& others);

    /// Writes the state to the diagnostic text stream.
    virtual void Display() const;

    /// Saves the state as an element of a flat value stream, every bit of it: number of variables, size of a batch, and
    /// the thirteen numbers of each pair.
    /// @param indent  the depth of its tags, in tabs
    /// @return  the number of lines written; 0 when writing failed
    virtual int WriteObjectXML(std::ostream& stream, int indent) const;

    /// Restores a state that was saved so. The stream stands before its element.
    /// @return  the number of lines read; 0, and nothing changed but the place in the stream, when they are not such a
    ///          state
    virtual int ReadObjectXML(std::ifstream& stream);

private:
    struct Batch {
        double count = 0.0; // Update calls
        double w = 0.0;     // sums of the weights and of the weighted values and products
        double wx = 0.0;
        double wy = 0.0;
        double wxx = 0.0;
        double wyy = 0.0;
        double wxy = 0.0;
    };
    struct Pair {
        Batch batch;
        double total = 0.0; // N of the folded cases
        double meanX = 0.0;
        double meanY = 0.0;
        double varX = 0.0;
        double varY = 0.0;
        double covar = 0.0;

        std::array<double*, 13> Numbers()
        {
            return {&batch.count, &batch.w, &batch.wx, &batch.wy, &batch.wxx, &batch.wyy, &batch.wxy,
                    &total,       &meanX,   &meanY,    &varX,     &varY,      &covar};
        }
    };

    static std::size_t NPairs(int nVars);
    static bool IncrStats(Pair& pair);
    static void MergePair(Pair& pair, const Pair& other);

    internal::EmptiedOnMove<int> fnVars = 0;
    int fnAccum = 1;
    std::vector<Pair> fvPairs;
    mutable MCSymMatrix fCovar; // what GetCovar and GetCorr refer to
};

} // namespace MCMath_930
