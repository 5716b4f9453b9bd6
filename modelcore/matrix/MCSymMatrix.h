// The packed symmetric matrix: storage, structure operations and the sweep.
#pragma once

#include "modelcore/matrix/IMCSymMatrix.h"
#include "modelcore/modelcore_export.h"

#include <cstddef>
#include <span>
#include <vector>

namespace MCMath_930 {

class MCBitSet;

/// A symmetric matrix of order n held as its lower triangle: cross products, covariances, information matrices.
///
/// The n(n+1)/2 elements stand in one array, row by row: element (i, j) with i >= j has the packed index
/// i(i+1)/2 + j, so row i has i + 1 stored elements and the diagonal element (k, k) the index (k+1)(k+2)/2 - 1. An
/// element above the diagonal is the one below it. A packed index is an int, so the order is at most kMaxRows; a
/// larger or a negative order is refused wherever one is given. The matrix owns its elements; copies are deep.
///
/// Which rows are swept is not kept here: the caller holds that in a bit set and passes it to every sweep.
class MODELCORE_EXPORT MCSymMatrix : public IMCSymMatrix {
public:
    /// The largest order whose packed indexes are ints.
    static constexpr int kMaxRows = 65535;

    // ---------------------------------------------------------------------------------------------------------------
    // Storage and elements

    /// An empty matrix, order 0.
    MCSymMatrix() = default;

    /// The zero matrix of order n; an empty one when n is not in [0, kMaxRows].
    explicit MCSymMatrix(int n);

    MCSymMatrix(const MCSymMatrix& other) = default;
    MCSymMatrix& operator=(const MCSymMatrix& other);

    /// Takes the storage over; other is empty afterwards.
    MCSymMatrix(MCSymMatrix&& other) noexcept;
    MCSymMatrix& operator=(MCSymMatrix&& other) noexcept;

    ~MCSymMatrix() override;

    int GetMatrixKind() const override { return kPackedMatrix; }
    int GetNRows() const override { return fnRows; }

    double GetElem(int i, int j) const override { return fvElem[PackedIndex(i, j)]; }

    /// Stores x as the elements (i, j) and (j, i); indexes are not checked. Always true.
    bool SetElem(int i, int j, double x) override
    {
        fvElem[PackedIndex(i, j)] = x;
        return true;
    }

    /// The element at a packed index, 0 <= index < n(n+1)/2; not checked.
    double GetElem(int index) const { return fvElem[static_cast<std::size_t>(index)]; }

    /// Stores x at a packed index; not checked. Always true.
    bool SetElem(int index, double x)
    {
        fvElem[static_cast<std::size_t>(index)] = x;
        return true;
    }

    /// The packed elements, n(n+1)/2 of them, front to back; valid until the order changes.
    double* GetPtr() { return fvElem.data(); }
    const double* GetPtr() const { return fvElem.data(); }
    std::span<double> AsSpan() { return fvElem; }
    std::span<const double> AsSpan() const { return fvElem; }

    /// The i + 1 stored elements (i, 0) to (i, i) of row i; null for i outside [0, n).
    double* GetRowPtr(int i) { return i >= 0 && i < fnRows ? Row(i) : nullptr; }
    const double* GetRowPtr(int i) const { return i >= 0 && i < fnRows ? Row(i) : nullptr; }

    // ---------------------------------------------------------------------------------------------------------------
    // Structure

    /// Makes this the zero matrix of order n.
    /// @return  false, and nothing changed, when n is not in [0, kMaxRows]
    bool SetNRows(int n);

    /// Changes the order to n. Elements that lie in both the old and the new matrix stay, new ones are 0.
    /// @return  false, and nothing changed, when n is not in [0, kMaxRows]
    bool Resize(int n);

    bool GetRow(int i, std::vector<double>& row) const override;
    bool PutRow(int i, const std::vector<double>& row) override;
    void GetDiagonal(std::vector<double>& diag) const override;
    void AddToDiagonal(double x) override;
    void MultiplyByNumber(double x) override;
    void ChangeSign() override;
    double Trace() const override;
    void ZeroOut() override;
    void Clear() override;

    /// Spreads the matrix out to order n: what was row (and column) i becomes row positions[i], and every element of
    /// the other rows is 0. Rows may change places.
    /// @return  false, and nothing changed, unless n is in [0, kMaxRows] and positions holds one place in [0, n) for
    ///          each row, no place twice
    bool Expand(const std::vector<int>& positions, int n);

    /// The same with places given as bits: the rows go in order to the set bits, the new order is kept.Size().
    /// @return  false, and nothing changed, unless as many bits are set as there are rows
    bool Expand(const MCBitSet& kept);

    /// Removes row and column k.
    /// @return  false, and nothing changed, for k outside [0, n)
    bool DeleteOneRow(int k);

    void Display() const override;

    // ---------------------------------------------------------------------------------------------------------------
    // Sweep (MCSymMatrixSweep.cpp)
    //
    // All members take the tolerance, the diagonal before any sweep and the set of swept rows in this order, and all
    // share one rule. With check true they look at their arguments first; with check false they trust them, but the
    // tests of the pivot always run. origDiag and the matrix must not overlap.

    /// Sweeps on row k in place: the symmetric sweep operator (Beaton 1964; Dempster 1969).
    ///
    /// With p the pivot S(k,k) before:  S(k,k) = -1/p,  S(i,k) = S(i,k)/|p|,  S(i,j) = S(i,j) - S(i,k)*S(j,k)/p, the
    /// last computed as S(i,j) + c*(S(j,k)/|p|) with c = -S(i,k) for p > 0 and c = S(i,k) otherwise, product and sum
    /// rounded separately. A second sweep on the same row undoes the first, up to rounding.
    ///
    /// A row that is not swept yet is refused when p <= tol*origDiag[k]: what earlier sweeps left of it is nothing but
    /// rounding error, so it depends on rows already swept, and is aliased. It is refused as well when sweeping it
    /// would make a swept row j collinear, that is unless (S(j,j) - S(k,j)*S(k,j)/p)*tol*origDiag[j] > -1.
    ///
    /// @param k         row, 0 <= k < n
    /// @param tol       smallest pivot allowed, relative to origDiag[k]; > 0
    /// @param origDiag  the diagonal before any sweep, at least n values >= 0
    /// @param swept     at least n bits; bit j set = row j is swept now; bit k is flipped on success
    /// @param check     whether the arguments are looked at
    /// @return  false when an argument is invalid or the row is refused. Matrix and bit set are then untouched.
    bool Sweep(int k, double tol, const std::vector<double>& origDiag, MCBitSet& swept, bool check);
    bool Sweep(int k, double tol, const double* origDiag, MCBitSet& swept, bool check);

    /// The sweep in its original form: element by element, as the rule is written, with nothing gathered or reordered.
    /// Takes the same arguments, refuses the same and leaves the same bits as Sweep, but is slower. It is there to
    /// compare with.
    bool SweepOrig(int k, double tol, const std::vector<double>& origDiag, MCBitSet& swept, bool check);
    bool SweepOrig(int k, double tol, const double* origDiag, MCBitSet& swept, bool check);

    /// Sweeps on the given rows in turn, in the order given. A row that is refused stays as it is, aliased, and the
    /// next one is tried; a row named twice is swept twice.
    ///
    /// @return  true when no row was refused. False, and nothing changed, when an argument is invalid, a row number
    ///          outside [0, n) among them; false after all rows were tried when some row was refused: those whose bit
    ///          in swept did not flip.
    bool SweepOnMany(const std::vector<int>& rows, double tol, const std::vector<double>& origDiag, MCBitSet& swept,
                     bool check);
    bool SweepOnMany(const std::vector<int>& rows, double tol, const double* origDiag, MCBitSet& swept, bool check);

    /// SweepOnMany on the rows whose bit is set in selected, ascending. The set bits are those before the first sweep,
    /// so selected may be swept itself: that undoes every sweep. A set bit at n or beyond is an invalid argument.
    bool SweepOnSelected(const MCBitSet& selected, double tol, const std::vector<double>& origDiag, MCBitSet& swept,
                         bool check);
    bool SweepOnSelected(const MCBitSet& selected, double tol, const double* origDiag, MCBitSet& swept, bool check);

    /// SweepOnMany on all rows, ascending. A row that is swept already is swept back.
    bool SweepOnAll(double tol, const std::vector<double>& origDiag, MCBitSet& swept, bool check);
    bool SweepOnAll(double tol, const double* origDiag, MCBitSet& swept, bool check);

private:
    static constexpr bool IsOrder(int n) { return n >= 0 && n <= kMaxRows; }

    // 64 bits: the product i*(i+1) leaves 32 bits from row 46341 on.
    static constexpr std::size_t RowStart(int i)
    {
        const auto row = static_cast<std::size_t>(i);
        return row * (row + 1) / 2;
    }
    static constexpr std::size_t PackedIndex(int i, int j)
    {
        return i >= j ? RowStart(i) + static_cast<std::size_t>(j) : RowStart(j) + static_cast<std::size_t>(i);
    }
    double* Row(int i) { return fvElem.data() + RowStart(i); }
    const double* Row(int i) const { return fvElem.data() + RowStart(i); }

    bool SweepArgumentsValid(double tol, const double* origDiag, const MCBitSet& swept) const;
    bool RowsValid(const std::vector<int>& rows) const;
    bool PivotAllowed(int k, double tol, const double* origDiag, const MCBitSet& swept) const;

    int fnRows = 0;
    std::vector<double> fvElem;
};

} // namespace MCMath_930
