// The packed symmetric matrix with twice the digits: sweep and solve.
#pragma once

#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/matrix/MCExtended.h"
#include "modelcore/modelcore_export.h"

#include <cstddef>
#include <vector>

namespace MCMath_930 {

class MCBitSet;
class MCSymMatrix;

/// A symmetric matrix of order n whose elements are sums of two doubles, about 32 digits: cross products that are swept
/// without losing the digits of a badly conditioned regression.
///
/// Elements stand as in MCSymMatrix, (i, j) with i >= j at i(i+1)/2 + j, and the sweeps follow the same rules. Elements
/// should lie between 1e-140 and 1e140 in magnitude, or be 0: products of larger ones overflow, of smaller ones lose
/// digits. Equilibrate brings others there. An accumulator's results are put in by Set:
///
///     MCSymMatrix high, low;
///     products.GetXProds(high, low); // of MCExactXProducts
///     MCExtendedSym s;
///     s.Set(high, low);
class MODELCORE_EXPORT MCExtendedSym {
public:
    /// An empty matrix, order 0.
    MCExtendedSym() = default;

    /// The zero matrix of order n; an empty one when n is not in [0, MCSymMatrix::kMaxRows].
    explicit MCExtendedSym(int n);

    MCExtendedSym(const MCExtendedSym& other) = default;

    /// A copy that runs out of memory leaves the matrix as it was.
    MCExtendedSym& operator=(const MCExtendedSym& other) { return internal::AssignByCopy(*this, other); }

    /// Takes the storage over; other is empty afterwards.
    MCExtendedSym(MCExtendedSym&& other) noexcept = default;
    MCExtendedSym& operator=(MCExtendedSym&& other) noexcept = default;

    /// Makes this the zero matrix of order n. False, and nothing changed, when n is not in [0, MCSymMatrix::kMaxRows].
    bool SetNRows(int n);

    /// Takes order and elements high + low. False, and nothing changed, when the two differ in order.
    bool Set(const MCSymMatrix& high, const MCSymMatrix& low);

    int GetNRows() const { return fnRows; }

    /// The element (i, j); indexes are not checked.
    MCExtended GetElem(int i, int j) const { return fvElem[Index(i, j)]; }

    /// Stores x as the elements (i, j) and (j, i); indexes are not checked.
    void SetElem(int i, int j, MCExtended x) { fvElem[Index(i, j)] = x; }

    /// The diagonal, rounded to doubles: n values.
    void GetDiagonal(std::vector<double>& diagonal) const;

    /// The elements rounded to doubles.
    void Round(MCSymMatrix& out) const;

    /// Multiplies element (i, j) by 2^(exponents[i] + exponents[j]), with exponents that bring each diagonal element that
    /// is above 0 into [1/2, 2); a row whose diagonal element is not keeps its own scale, exponent 0. No digit is lost
    /// that does not underflow.
    void Equilibrate(std::vector<int>& exponents);

    /// Sweeps on row k in place, as MCSymMatrix::Sweep does: with p the pivot S(k,k) before, S(k,k) = -1/p,
    /// S(i,k) = S(i,k)/|p|, S(i,j) = S(i,j) - S(i,k)*S(j,k)/p. A row that is not swept yet is refused when
    /// p <= tol*origDiag[k], or when a swept row j would become collinear, that is unless
    /// (S(j,j) - S(k,j)*S(k,j)/p)*tol*origDiag[j] > -1. With exact cross products 1e-24 is a tolerance that refuses
    /// nothing but what depends on other rows to the last digit of the data.
    /// @param k         row, 0 <= k < n
    /// @param tol       smallest pivot allowed, relative to origDiag[k]; > 0
    /// @param origDiag  the diagonal before any sweep: at least n values, all of them >= 0
    /// @param swept     at least n bits; bit j set = row j is swept now; bit k is flipped on success
    /// @param check     whether the arguments are looked at
    /// @return  false when an argument is invalid or the row is refused. Matrix and bit set are then untouched.
    bool Sweep(int k, double tol, const std::vector<double>& origDiag, MCBitSet& swept, bool check);

    /// Sweeps on the given rows in turn. A row that is refused stays as it is, aliased, and the next one is tried.
    /// @return  true when no row was refused. False, and nothing changed, when an argument is invalid; false after all
    ///          rows were tried when some row was refused: those whose bit in swept did not flip.
    bool SweepOnMany(const std::vector<int>& rows, double tol, const std::vector<double>& origDiag, MCBitSet& swept,
                     bool check);

    /// SweepOnMany on all rows, ascending.
    bool SweepOnAll(double tol, const std::vector<double>& origDiag, MCBitSet& swept, bool check);

    /// Solves S*x = b for a positive definite S, by sweeps of a copy, the largest remaining pivot first. x may be b.
    /// @param tol  smallest pivot allowed, relative to the diagonal; > 0
    /// @return  false, and x as it was, when b is shorter than n, tol is not above 0, or a pivot is refused
    bool Solve(const std::vector<MCExtended>& b, std::vector<MCExtended>& x, double tol) const;

    /// Writes order and elements to the diagnostic text stream, rounded to doubles.
    void Display() const;

private:
    static std::size_t Index(int i, int j)
    {
        const auto row = static_cast<std::size_t>(i > j ? i : j), column = static_cast<std::size_t>(i > j ? j : i);
        return row * (row + 1) / 2 + column;
    }
    bool ArgumentsValid(double tol, const std::vector<double>& origDiag, const MCBitSet& swept) const;
    bool PivotAllowed(int k, double tol, const std::vector<double>& origDiag, const MCBitSet& swept) const;

    internal::EmptiedOnMove<int> fnRows = 0;
    std::vector<MCExtended> fvElem;
};

} // namespace MCMath_930
