// Eigenvalues and eigenvectors of symmetric matrices.
#pragma once

#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/matrix/MCRectMatrix.h"
#include "modelcore/matrix/MCSymMatrix.h"
#include "modelcore/modelcore_export.h"

#include <utility>
#include <vector>

namespace MCMath_930 {

/// The eigenvalues, and on request the eigenvectors, of a symmetric matrix H, or of the generalised problem
/// H*v = lambda*E*v with a symmetric positive semi-definite E; and a test and repair of H as a positive definite
/// matrix.
///
/// H is reduced to a tridiagonal matrix by Householder reflections in packed storage (EISPACK's tred3; Martin, Reinsch
/// and Wilkinson, Num. Math. 11, 1968), that is diagonalised by the implicit QL iteration (Dubrulle, Martin and
/// Wilkinson, Num. Math. 12, 1968; EISPACK's imtql1 and imtql2) and the vectors are transformed back (trbak3). An
/// element of the subdiagonal counts as zero when its magnitude is at most the tolerance times the sum of the
/// magnitudes of its two neighbours on the diagonal. Every number is the one that the plain loops give, on every
/// processor.
///
/// For larger matrices there is a faster road, SetMethod(MethodDivideAndConquer): the same reduction, divide and conquer
/// in place of the iteration, and the vectors transformed back by blocks of reflections, with nearly all of the work on
/// them in matrix products. Its results are as accurate, and also the same on every processor; they are other bits.
///
/// The generalised problem is solved as the ordinary one for G*H*G', where G is the inverse of the Cholesky factor L of
/// E, L*L' = E. When E is singular, G is the generalised inverse whose rows and columns of redundant variables are 0:
/// each of them adds an eigenvalue 0.
///
/// The object owns copies of H and E. Results are kept until the next Compute, SetHMatrix or accepted SetEMatrix; a
/// change of tolerance, iteration limit or method takes effect at the next Compute. Memory: for eigenvalues two packed
/// matrices of the order of H, for vectors two square ones more, four with divide and conquer.
///
/// Members that return an int return the number of eigenvalues that were found: n on success, fewer when one of them
/// did not converge within the iteration limit (those found are the leading ones, and nothing says that they are the
/// smallest or the largest), below 1 on failure: for a matrix of order 0, when the first eigenvalue did not converge,
/// and for a matrix with NaN elements.
///
/// A matrix with elements near the ends of the range of a double is multiplied by a power of two before the reduction
/// and its eigenvalues are divided by it at the end: an eigenvalue beyond the range becomes an infinity, and one below
/// is rounded as any double there. When memory runs out in a computation, the results are empty and the problem stays.
class MODELCORE_EXPORT MCEigenValues {
public:
    /// How the tridiagonal matrix is decomposed.
    enum Method : int {
        MethodQL,              ///< the implicit QL iteration
        MethodDivideAndConquer ///< divide and conquer
    };

    /// An empty problem, of order 0.
    MCEigenValues() = default;

    /// A tolerance that is not above 0 gives 1e-12, a limit that is not above 0 gives 30.
    MCEigenValues(double tolerance, int maxIter);

    /// The ordinary problem for H, with the same rules.
    MCEigenValues(const MCSymMatrix& H, double tolerance, int maxIter);

    /// The generalised problem; the ordinary one when E is refused, which IsValidEMatrix tells.
    MCEigenValues(const MCSymMatrix& H, const MCSymMatrix& E, double tolerance, int maxIter);

    /// A copy owns the problem and the results. What was moved from is an empty problem.
    MCEigenValues(const MCEigenValues&) = default;
    MCEigenValues(MCEigenValues&&) noexcept = default;
    MCEigenValues& operator=(const MCEigenValues& other) { return internal::AssignByCopy(*this, other); }
    MCEigenValues& operator=(MCEigenValues&&) noexcept = default;
    ~MCEigenValues() = default;

    /// Relative convergence tolerance of the QL iteration. 2.2e-16 gives eigenvalues and vectors to working precision;
    /// the default 1e-12 leaves a residual of that size relative to the largest eigenvalue.
    /// @return  false, and nothing changed, unless t > 0
    bool SetTolerance(double t);

    /// The tolerance, as set or 1e-12.
    double GetTolerance() const { return fTolerance; }

    /// The largest number of QL sweeps for one eigenvalue. A large matrix whose eigenvalues spread over many orders of
    /// magnitude needs more than 30 for the first: up to 240 at order 300 and a spread of 1e20.
    /// @return  false, and nothing changed, for m < 1
    bool SetMaxIter(int m);

    /// The limit, as set or 30.
    int GetMaxIter() const { return fnMaxIter; }

    /// The method, MethodQL unless set. Divide and conquer (Cuppen, Num. Math. 36, 1981; Gu and Eisenstat, SIAM J. Matrix
    /// Anal. Appl. 16, 1995) delivers in ascending order, always all n values, and to working precision whatever the
    /// tolerance: residual and loss of orthogonality below 10 n eps of the largest eigenvalue in all tests, also for
    /// clustered and graded spectra. Values have the same bits alone and with vectors. For a matrix with an element that
    /// is not finite the QL iteration runs.
    /// @return  false, and nothing changed, for a method that there is not
    bool SetMethod(Method method);

    /// The method, as set or MethodQL.
    Method GetMethod() const { return fMethod; }

    /// Copies H and starts over with the ordinary problem: results and an E set before are dropped.
    void SetHMatrix(const MCSymMatrix& H);

    /// Makes this the generalised problem with E, in place of an E set before; results are dropped. A pivot of the
    /// Cholesky factor counts as zero when it is at most 1e-12 of the diagonal element of E.
    /// @return  false, and nothing changed, when E has another order than H, a negative diagonal element or rank 0
    bool SetEMatrix(const MCSymMatrix& E);

    /// Whether an E has been accepted.
    bool IsValidEMatrix() const { return fnRankE > 0; }

    /// Eigenvalues in the order in which they were found, by the QL iteration.
    /// @param values  set to n values when at least one was found: those found, then zeros; else as it was
    int Compute(std::vector<double>& values);

    /// Eigenvalues and eigenvectors.
    /// @param vectors  set to the n x n matrix whose column j is the eigenvector of length 1 that belongs to values[j].
    ///                 In the generalised problem the columns z are eigenvectors of G*H*G'; G'*z solves the problem
    ///                 itself when E is positive definite.
    int Compute(std::vector<double>& values, MCRectMatrix& vectors);

    /// Eigenvalues in ascending or descending order; of an incomplete result the leading ones that were found. Takes
    /// the results of an earlier Compute when there are any, otherwise computes them.
    int GetSorted(std::vector<double>& values, bool descending);

    /// The same with the columns of the vectors in the same order. Equal eigenvalues may come in either order. Computes
    /// when an earlier Compute was without vectors.
    int GetSorted(std::vector<double>& values, MCRectMatrix& vectors, bool descending);

    /// Whether no eigenvalue of H is below eps (1e-6 unless eps > 0). It is H that is looked at, with or without an E;
    /// the results kept in this object stay.
    /// @return  false, and isPD as it was, when not all eigenvalues were found
    bool IsPDHMatrix(double eps, bool& isPD) const;

    /// H with every eigenvalue below eps (1e-6 unless eps > 0) raised to eps: the sum of lambda*v*v' over the
    /// eigenvectors v, in the order in which they were found; H itself, changed set to false, when no eigenvalue is
    /// below. It is H that is repaired, with or without an E; the results kept in this object stay.
    /// @return  false, and out and changed as they were, when not all eigenvalues were found
    bool GetPDHMatrix(double eps, MCSymMatrix& out, bool& changed) const;

    /// The same for callers who need not know whether H was changed.
    bool GetPDHMatrix(double eps, MCSymMatrix& out) const;

    /// Writes the problem, the intermediate and the final results to the diagnostic text stream.
    void Display() const;

private:
    int Decompose(bool withVectors, std::vector<double>* values, MCRectMatrix* vectors);
    void ComputeResults();
    void DropResults() noexcept;
    void DropEMatrix();

    // The steps (MCEigenValuesSteps.cpp)
    void TriDiag();
    void ScaleProblem();
    void UnscaleValues();
    void Tred3();
    int EigenValuesTQLI();
    bool DivideAndConquer();
    void BackTransVectors();
    int FindSplit(int l) const;
    template <class Vectors>
    void SweepQL(int l, int m, Vectors& vectors);
    template <class Vectors>
    int IterateQL(Vectors& vectors);

    internal::EmptiedOnMove<int> fnRows;
    double fTolerance = 1e-12;
    int fnMaxIter = 30;
    Method fMethod = MethodQL;
    internal::EmptiedOnMove<bool> fComputeVectors;
    MCSymMatrix fmH;
    MCSymMatrix fmE;
    std::vector<double> fvEDiag;
    MCSymMatrix fmCholE;
    MCSymMatrix fmInvCholE;
    MCSymMatrix fmVHV;
    internal::EmptiedOnMove<int> fnRankE;
    MCSymMatrix fmOrthInfo;
    int fnScaledBy = 0; // the power of two that the reduced matrix was multiplied by
    std::vector<double> fvDiag3;
    std::vector<double> fvSubdiag3;
    internal::EmptiedOnMove<int> fnComputed;
    std::vector<double> fvEigenVal;
    MCRectMatrix fmEigenVectors;
    std::vector<std::pair<double, int>> fvEigPairs;
};

} // namespace MCMath_930
