#include "modelcore/matrix/MCDiagMatrix.h"

#include "modelcore/common/MCBitSet.h"
#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/MCMV.h"
#include "modelcore/common/internal/Index.h"
#include "modelcore/matrix/MCRectMatrix.h"
#include "modelcore/matrix/MCSymMatrix.h"
#include "modelcore/matrix/internal/FactorDeterminant.h"
#include "modelcore/matrix/internal/Places.h"
#include "modelcore/matrix/internal/ReferenceDiagonal.h"
#include "modelcore/matrix/internal/TriangleProducts.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace MCMath_930 {

using internal::AsSize;
using MCCommon_930::MCMV;

namespace {

/// Stores a diagonal result in a diagonal or a packed matrix; false, and out as it was, when out is neither.
bool StoreDiagonal(MCDiagMatrix&& result, IMCSymMatrix& out)
{
    const int kind = out.GetMatrixKind();
    if (kind == IMCSymMatrix::kPackedMatrix) return result.FillDenseMatrix(static_cast<MCSymMatrix&>(out));
    if (kind != IMCSymMatrix::kDiagonalMatrix) return false;
    static_cast<MCDiagMatrix&>(out) = std::move(result);
    return true;
}

/// L*S*L, all three diagonal.
bool StoreScaledTwice(const MCDiagMatrix& S, const IMCSymMatrix& L, IMCSymMatrix& out)
{
    if (L.GetNRows() != S.GetNRows()) return false;
    std::vector<double> diag(S.AsVector());
    for (int i = 0; i < S.GetNRows(); ++i) {
        double& d = diag[AsSize(i)];
        d = d * L.GetElem(i, i) * L.GetElem(i, i);
    }
    return StoreDiagonal(MCDiagMatrix(std::move(diag)), out);
}

/// The packed elements (i, k) of L times element `of(i, k)` of the diagonal, as left factors of a tile. Empty where the
/// plain loops are to be taken: L is small or not packed, or a value not finite, which zeros above the diagonal of a tile
/// would turn into a NaN.
template <class Of>
std::vector<double> ScaledTriangle(const std::vector<double>& diag, const IMCSymMatrix& L, Of of)
{
    constexpr int kSmallestOrder = 32;
    if (L.GetMatrixKind() != IMCSymMatrix::kPackedMatrix || L.GetNRows() < kSmallestOrder) return {};
    const std::span<const double> elements = static_cast<const MCSymMatrix&>(L).AsSpan();
    std::vector<double> scaled(elements.begin(), elements.end());
    double* to = scaled.data();
    for (int i = 0; i < L.GetNRows(); ++i)
        for (int k = 0; k <= i; ++k, ++to) *to = diag[AsSize(of(i, k))] * *to;
    const bool finite =
        internal::AllFinite(elements.data(), elements.size()) && internal::AllFinite(scaled.data(), scaled.size());
    return finite ? scaled : std::vector<double>();
}

} // namespace

MCDiagMatrix::MCDiagMatrix(int n)
{
    SetNRows(n);
}

MCDiagMatrix::MCDiagMatrix(std::vector<double> diagonal) : fvDiag(std::move(diagonal)) {}

MCDiagMatrix::~MCDiagMatrix() = default;

bool MCDiagMatrix::SetElem(int i, int j, double x)
{
    if (i != j) return false;
    fvDiag[AsSize(i)] = x;
    return true;
}

bool MCDiagMatrix::ReplaceDiagonal(const std::vector<double>& diagonal)
{
    if (!Fits(diagonal)) return false;
    if (&diagonal != &fvDiag) std::copy_n(diagonal.begin(), fvDiag.size(), fvDiag.begin());
    return true;
}

bool MCDiagMatrix::SetNRows(int n)
{
    if (n < 0) return false;
    fvDiag.assign(AsSize(n), 0.0);
    return true;
}

bool MCDiagMatrix::Resize(int n)
{
    if (n < 0) return false;
    fvDiag.resize(AsSize(n), 0.0);
    return true;
}

int MCDiagMatrix::LTChol(const std::vector<double>& refDiag, double tol, bool check)
{
    MCBitSet kept;
    return LTChol(refDiag, tol, kept, check);
}

int MCDiagMatrix::LTChol(const std::vector<double>& refDiag, double tol, MCBitSet& kept, bool check)
{
    if (check && !internal::CholeskyArgumentsValid(refDiag, tol, GetNRows())) return -1;
    if (kept.Size() < GetNRows()) kept.Resize(GetNRows());
    kept.Clear();
    for (int i = 0; i < GetNRows(); ++i) {
        double& d = fvDiag[AsSize(i)];
        kept.Set(i, d > tol * refDiag[AsSize(i)]);
        d = kept.IsIn(i) ? std::sqrt(d) : 0.0;
    }
    return GetNRows() - kept.Count();
}

int MCDiagMatrix::LTDetInverse(double det[2], int job)
{
    const auto zeros = static_cast<int>(std::count(fvDiag.begin(), fvDiag.end(), 0.0));
    if (job % 10 != 0)
        internal::SetFactorDeterminant(det, GetNRows(), zeros, [this](int i) { return fvDiag[AsSize(i)]; });
    if (job / 10 % 10 != 0) LTInverse();
    return zeros;
}

int MCDiagMatrix::CholInverse(const std::vector<double>& refDiag, double tol, IMCSymMatrix& out) const
{
    if (!Fits(refDiag)) return -1;
    MCDiagMatrix inverse(*this);
    const int rank = GetNRows() - inverse.LTChol(refDiag, tol, false);
    inverse.LTInverse();
    inverse.LTLTransL();
    return StoreDiagonal(std::move(inverse), out) ? rank : -1;
}

bool MCDiagMatrix::LTSolve(const std::vector<double>& b, std::vector<double>& x) const
{
    if (!Fits(b)) return false;
    std::vector<double> solution(fvDiag.size());
    for (std::size_t i = 0; i < fvDiag.size(); ++i)
        if (fvDiag[i] != 0.0) solution[i] = b[i] / fvDiag[i] / fvDiag[i];
    x.swap(solution);
    return true;
}

void MCDiagMatrix::LTLLTrans()
{
    for (double& d : fvDiag) d *= d;
}

void MCDiagMatrix::LTLTransL()
{
    LTLLTrans();
}

bool MCDiagMatrix::LTInverse()
{
    for (double& d : fvDiag)
        if (d != 0.0) d = 1.0 / d;
    return true;
}

bool MCDiagMatrix::ComputeAXpY(double a, const IMCSymMatrix& X)
{
    if (X.GetNRows() != GetNRows()) return false;
    for (int i = 0; i < GetNRows(); ++i)
        for (int j = X.GetIndexFirstInRow(i); j < i; ++j)
            if (X.GetElem(i, j) != 0.0) return false;
    for (int i = 0; i < GetNRows(); ++i) fvDiag[AsSize(i)] += a * X.GetElem(i, i);
    return true;
}

bool MCDiagMatrix::ComputeLSLTrans(const IMCSymMatrix& L, IMCSymMatrix& out) const
{
    const int n = GetNRows();
    if (L.GetMatrixKind() == kDiagonalMatrix) return StoreScaledTwice(*this, L, out);
    if (!IsPacked(out) || L.GetNRows() != n || !IsPackedOrder(n)) return false;
    std::vector<double> result(PackedSize(n));
    const auto line = [&](int i) { return result.data() + PackedSize(i); };
    const std::vector<double> scaled = ScaledTriangle(fvDiag, L, [](int, int k) { return k; });
    if (const internal::TileWorkspace work(n); work && !scaled.empty()) {
        internal::AddProductWithLTrans(
            work, n, n, line, [](int i) { return i + 1; },
            [&](int i, int k) { return k <= i ? scaled[PackedSize(i) + AsSize(k)] : 0.0; },
            [&](int j) { return static_cast<const MCSymMatrix&>(L).GetRowPtr(j); });
        return StorePacked(n, std::move(result), out);
    }
    for (int i = 0; i < n; ++i)
        for (int j = L.GetIndexFirstInRow(i); j <= i; ++j)
            for (int k = std::max(L.GetIndexFirstInRow(i), L.GetIndexFirstInRow(j)); k <= j; ++k)
                line(i)[j] += fvDiag[AsSize(k)] * L.GetElem(i, k) * L.GetElem(j, k);
    return StorePacked(n, std::move(result), out);
}

bool MCDiagMatrix::ComputeLTransSL(const IMCSymMatrix& L, IMCSymMatrix& out) const
{
    const int n = GetNRows();
    if (L.GetMatrixKind() == kDiagonalMatrix) return StoreScaledTwice(*this, L, out);
    if (!IsPacked(out) || L.GetNRows() != n || !IsPackedOrder(n)) return false;
    std::vector<double> result(PackedSize(n));
    const auto line = [&](int i) { return result.data() + PackedSize(i); };
    const std::vector<double> scaled = ScaledTriangle(fvDiag, L, [](int i, int) { return i; });
    if (const internal::TileWorkspace work(n); work && !scaled.empty()) {
        internal::AddProductWithL(
            work, n, n, line, [](int i) { return i + 1; },
            [&](int i, int k) { return k >= i ? scaled[PackedSize(k) + AsSize(i)] : 0.0; },
            [&](int k) { return static_cast<const MCSymMatrix&>(L).GetRowPtr(k); });
        return StorePacked(n, std::move(result), out);
    }
    for (int k = 0; k < n; ++k)
        for (int i = L.GetIndexFirstInRow(k); i <= k; ++i)
            for (int j = L.GetIndexFirstInRow(k); j <= i; ++j)
                line(i)[j] += fvDiag[AsSize(k)] * L.GetElem(k, i) * L.GetElem(k, j);
    return StorePacked(n, std::move(result), out);
}

bool MCDiagMatrix::ComputeSS(const IMCSymMatrix& second, MCRectMatrix& out) const
{
    if (second.GetNRows() != GetNRows()) return false;
    MCRectMatrix result(GetNRows(), GetNRows());
    for (int i = 0; i < GetNRows(); ++i)
        for (int j = second.GetIndexFirstInRow(i); j <= second.GetIndexLastInRow(i); ++j)
            result.SetElem(i, j, fvDiag[AsSize(i)] * second.GetElem(i, j));
    out = std::move(result);
    return true;
}

bool MCDiagMatrix::ComputeSTransS(IMCSymMatrix& out) const
{
    MCDiagMatrix square(*this);
    square.LTLLTrans();
    return StoreDiagonal(std::move(square), out);
}

double MCDiagMatrix::TraceOfProductOfThree(const IMCSymMatrix& B, const IMCSymMatrix& C) const
{
    if (B.GetNRows() != GetNRows() || C.GetNRows() != GetNRows()) return MCMV::Missing();
    double sum = 0.0;
    for (int i = 0; i < GetNRows(); ++i) {
        const int last = std::min(B.GetIndexLastInRow(i), C.GetIndexLastInRow(i));
        for (int j = std::max(B.GetIndexFirstInRow(i), C.GetIndexFirstInRow(i)); j <= last; ++j)
            sum += B.GetElem(i, j) * fvDiag[AsSize(j)] * C.GetElem(i, j);
    }
    return sum;
}

bool MCDiagMatrix::ComputeDeterminant(double /*tol*/, double* det) const
{
    if (fvDiag.empty()) return false;
    internal::ScaledDeterminant product(det);
    for (const double d : fvDiag)
        if (!product.Multiply(d)) break;
    return true;
}

bool MCDiagMatrix::FillDenseMatrix(MCSymMatrix& out) const
{
    std::vector<double> packed;
    return CopyLowerTriangle(packed) && StorePacked(GetNRows(), std::move(packed), out);
}

void MCDiagMatrix::MultiplyByNumber(double x)
{
    for (double& d : fvDiag) d *= x;
}

void MCDiagMatrix::ChangeSign()
{
    for (double& d : fvDiag) d = -d;
}

void MCDiagMatrix::ZeroOut()
{
    std::fill(fvDiag.begin(), fvDiag.end(), 0.0);
}

void MCDiagMatrix::ZeroOutNonDiag() {}

void MCDiagMatrix::Clear()
{
    fvDiag.clear();
}

void MCDiagMatrix::ClearAll()
{
    std::vector<double>().swap(fvDiag);
}

bool MCDiagMatrix::ExtractSubmatrix(const std::vector<int>& rows, IMCSymMatrix& out) const
{
    if (out.GetMatrixKind() != kDiagonalMatrix) return IMCSymMatrix::ExtractSubmatrix(rows, out);
    if (!internal::AreDistinct(rows, GetNRows())) return false;
    std::vector<double> part;
    for (const int i : rows) part.push_back(fvDiag[AsSize(i)]);
    static_cast<MCDiagMatrix&>(out).fvDiag.swap(part);
    return true;
}

void MCDiagMatrix::Display() const
{
    MCDisplay_930::DisplayStart("MCDiagMatrix");
    MCDisplay_930::Display("Number of rows", GetNRows());
    MCDisplay_930::Display("Diagonal", fvDiag);
    MCDisplay_930::DisplayEnd("MCDiagMatrix");
}

void MCDiagMatrix::MultiplyByS(const double* a, std::size_t rows, double* out) const
{
    for (; rows > 0; --rows)
        for (const double d : fvDiag) *out++ = *a++ * d;
}

void MCDiagMatrix::MultiplyByL(const double* a, std::size_t rows, double* out) const
{
    MultiplyByS(a, rows, out);
}

void MCDiagMatrix::MultiplyByLTrans(const double* a, std::size_t rows, double* out) const
{
    MultiplyByS(a, rows, out);
}

} // namespace MCMath_930
