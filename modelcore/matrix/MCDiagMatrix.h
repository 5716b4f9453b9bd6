// The diagonal matrix behind the interface of symmetric matrices.
#pragma once

#include "modelcore/matrix/IMCSymMatrix.h"

#include <cstddef>
#include <vector>

namespace MCMath_930 {

/// A diagonal matrix of order n: whatever is written against IMCSymMatrix runs on it at the cost of its diagonal alone.
///
/// Stored as its n diagonal elements; all others are 0 and cannot be set to anything else. Its lower triangle L is its
/// diagonal. The matrix owns its elements; copies are deep.
class MODELCORE_EXPORT MCDiagMatrix : public IMCSymMatrix {
public:
    /// An empty matrix, order 0.
    MCDiagMatrix() = default;

    /// The zero matrix of order n; an empty one when n is negative.
    explicit MCDiagMatrix(int n);

    /// The matrix with the given diagonal.
    explicit MCDiagMatrix(std::vector<double> diagonal);

    MCDiagMatrix(const MCDiagMatrix& other) = default;
    MCDiagMatrix(MCDiagMatrix&& other) = default;
    MCDiagMatrix& operator=(const MCDiagMatrix& other) = default;
    MCDiagMatrix& operator=(MCDiagMatrix&& other) = default;
    ~MCDiagMatrix() override;

    int GetMatrixKind() const override { return kDiagonalMatrix; }
    int GetNRows() const override { return static_cast<int>(fvDiag.size()); }
    double GetElem(int i, int j) const override { return i == j ? fvDiag[static_cast<std::size_t>(i)] : 0.0; }

    /// Stores x when i = j. False, and nothing changed, otherwise.
    bool SetElem(int i, int j, double x) override;

    /// The diagonal.
    const std::vector<double>& AsVector() const { return fvDiag; }

    /// Replaces the diagonal by the first n values of diagonal. False, and nothing changed, when it is shorter.
    bool ReplaceDiagonal(const std::vector<double>& diagonal);

    /// Makes this the zero matrix of order n. False, and nothing changed, for a negative n.
    bool SetNRows(int n);

    /// Changes the order to n; elements that lie in both the old and the new matrix stay, new ones are 0. False, and
    /// nothing changed, for a negative n.
    bool Resize(int n);

    int GetIndexFirstInRow(int i) const override { return IsRow(i) ? i : -1; }
    int GetIndexLastInRow(int i) const override { return IsRow(i) ? i : -1; }

    using IMCSymMatrix::LTChol;
    int LTChol(const std::vector<double>& refDiag, double tol, bool check) override;
    int LTChol(const std::vector<double>& refDiag, double tol, MCBitSet& kept, bool check) override;
    int LTDetInverse(double det[2], int job) override;
    int CholInverse(const std::vector<double>& refDiag, double tol, IMCSymMatrix& out) const override;
    bool LTSolve(const std::vector<double>& b, std::vector<double>& x) const override;
    void LTLLTrans() override;
    void LTLTransL() override;

    /// Replaces every element that is not 0 by its reciprocal; zeros stay, which makes it the generalised inverse of a
    /// singular matrix. Always true.
    bool LTInverse();

    bool ComputeAXpY(double a, const IMCSymMatrix& X) override;

    /// L*S*L', L'*S*L and S*S2 with S diagonal, without spelling it out. With a diagonal L the first two are diagonal.
    bool ComputeLSLTrans(const IMCSymMatrix& L, IMCSymMatrix& out) const override;
    bool ComputeLTransSL(const IMCSymMatrix& L, IMCSymMatrix& out) const override;
    bool ComputeSS(const IMCSymMatrix& second, MCRectMatrix& out) const override;
    bool ComputeSTransS(IMCSymMatrix& out) const override;
    double TraceOfProductOfThree(const IMCSymMatrix& B, const IMCSymMatrix& C) const override;

    /// The determinant as det[0]*10^det[1], the elements multiplied in order and the mantissa brought to
    /// 1 <= |det[0]| < 10 after each; stops at a product of 0, with mantissa 0. The first argument has no effect.
    /// @return  false, and det as it was, for order 0
    bool ComputeDeterminant(double tol, double* det) const override;

    void MultiplyByNumber(double x) override;
    void ChangeSign() override;
    void ZeroOut() override;
    void ZeroOutNonDiag() override;
    void Clear() override;
    void ClearAll() override;

    using IMCSymMatrix::ExtractSubmatrix;
    bool ExtractSubmatrix(const std::vector<int>& rows, IMCSymMatrix& out) const override;
    bool FillDenseMatrix(MCSymMatrix& out) const override;

    void Display() const override;

protected:
    void MultiplyByS(const double* a, std::size_t rows, double* out) const override;
    void MultiplyByL(const double* a, std::size_t rows, double* out) const override;
    void MultiplyByLTrans(const double* a, std::size_t rows, double* out) const override;

private:
    std::vector<double> fvDiag;
};

} // namespace MCMath_930
