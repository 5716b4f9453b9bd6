// MCSymMatrix: products with the packed triangle, traces of products, cross products accumulated in place.
#include "modelcore/matrix/MCSymMatrix.h"

#include "modelcore/common/MCMV.h"
#include "modelcore/kernels/Kernels.h"
#include "modelcore/matrix/MCSparseVector.h"
#include "modelcore/matrix/internal/DenseRows.h"
#include "modelcore/matrix/internal/RowProducts.h"
#include "modelcore/matrix/internal/SparseForm.h"
#include "modelcore/matrix/internal/TriangleProducts.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace MCMath_930 {

using internal::DenseRows;
using internal::DotInOrder;
using internal::Transposed;
using MCCommon_930::MCMV;

namespace {

/// Rows of the full matrix that are spelled out at a time; with fewer rows to multiply it does not pay.
constexpr int kRowsAtOnce = 256;
constexpr std::size_t kFewRows = 4;

/// Rows of so many elements, one after the other.
template <class Element>
struct RowsAt {
    Element* first;
    std::ptrdiff_t length;

    Element* operator()(int i) const { return first + i * length; }
    double operator()(int i, int k) const { return first[i * length + k]; }
};
template <class Element>
RowsAt(Element*, int) -> RowsAt<Element>;

std::vector<double> Gathered(const double* v, int incr, int count)
{
    std::vector<double> gathered;
    for (int i = 0; i < count; ++i) gathered.push_back(v[static_cast<std::ptrdiff_t>(i) * incr]);
    return gathered;
}

} // namespace

void MCSymMatrix::MultiplyByS(const double* a, std::size_t rows, double* out) const
{
    const auto n = static_cast<std::size_t>(fnRows);
    if (rows < kFewRows) {
        for (; rows > 0; --rows, a += n, out += n) internal::MultiplyPacked(GetPtr(), n, a, out);
        return;
    }
    std::vector<double> full(n * static_cast<std::size_t>(std::min(kRowsAtOnce, fnRows)));
    for (int first = 0; first < fnRows; first += kRowsAtOnce) {
        const int count = std::min(kRowsAtOnce, fnRows - first);
        FillFullRows(first, count, full.data());
        internal::AddRowsTimesRows(out, {a + first, n}, rows, static_cast<std::size_t>(count), full.data(), n,
                                   first == 0);
    }
}

// With few rows the tile is not filled, and its zeros above the diagonal ask for finite factors.
bool MCSymMatrix::MultipliesLByTile(const double* a, std::size_t rows) const
{
    return rows >= kFewRows && fnRows >= kOrderForBlocks && internal::AllFinite(a, rows * Order());
}

void MCSymMatrix::MultiplyByL(const double* a, std::size_t rows, double* out) const
{
    const std::size_t n = Order();
    std::fill_n(out, rows * n, 0.0);
    if (MultipliesLByTile(a, rows)) {
        if (const internal::TileWorkspace work(fnRows); work)
            return internal::AddProductWithL(
                work, static_cast<int>(rows), fnRows, RowsAt{out, fnRows}, [this](int) { return fnRows; },
                RowsAt{a, fnRows}, [this](int k) { return Row(k); });
    }
    for (std::size_t k = 0; k < n; ++k)
        for (std::size_t r = 0; r < rows; ++r)
            internal::AddScaled(out + r * n, a[r * n + k], Row(static_cast<int>(k)), k + 1);
}

void MCSymMatrix::MultiplyByLTrans(const double* a, std::size_t rows, double* out) const
{
    const std::size_t n = Order();
    if (MultipliesLByTile(a, rows)) {
        if (const internal::TileWorkspace work(fnRows); work) {
            std::fill_n(out, rows * n, 0.0);
            return internal::AddProductWithLTrans(
                work, static_cast<int>(rows), fnRows, RowsAt{out, fnRows}, [this](int) { return fnRows; },
                RowsAt{a, fnRows}, [this](int k) { return Row(k); });
        }
    }
    for (std::size_t j = 0; j < n; ++j)
        for (std::size_t r = 0; r < rows; ++r) out[r * n + j] = DotInOrder(a + r * n, Row(static_cast<int>(j)), j + 1);
}

// Of the second product only the lower triangle is formed. Its left factor is (S*L')' or (S*L)'.
bool MCSymMatrix::StoreSandwich(const MCSymMatrix& L, bool transposed, IMCSymMatrix& out) const
{
    const std::size_t n = Order();
    std::vector<double> product(n * n);
    {
        std::vector<double> full(n * n);
        CopyToSquare(full.data());
        transposed ? L.MultiplyByL(full.data(), n, product.data()) : L.MultiplyByLTrans(full.data(), n, product.data());
    }
    const internal::TileWorkspace work(fnRows);
    if (!work || !L.MultipliesLByTile(product.data(), n)) return false;
    std::vector<double> result(fvElem.size());
    const auto line = [&result](int i) { return result.data() + RowStart(i); };
    const auto length = [](int i) { return i + 1; };
    const auto left = [columns = RowsAt{product.data(), fnRows}](int i, int k) { return columns(k, i); };
    const auto row = [&L](int k) { return L.Row(k); };
    if (transposed)
        internal::AddProductWithL(work, fnRows, fnRows, line, length, left, row);
    else
        internal::AddProductWithLTrans(work, fnRows, fnRows, line, length, left, row);
    return StorePacked(fnRows, std::move(result), out);
}

bool MCSymMatrix::ComputeLSLTrans(const IMCSymMatrix& L, IMCSymMatrix& out) const
{
    return (fnRows >= kOrderForBlocks && L.GetNRows() == fnRows && IsPacked(L) && IsPacked(out) &&
            StoreSandwich(static_cast<const MCSymMatrix&>(L), false, out)) ||
           IMCSymMatrix::ComputeLSLTrans(L, out);
}

bool MCSymMatrix::ComputeLTransSL(const IMCSymMatrix& L, IMCSymMatrix& out) const
{
    return (fnRows >= kOrderForBlocks && L.GetNRows() == fnRows && IsPacked(L) && IsPacked(out) &&
            StoreSandwich(static_cast<const MCSymMatrix&>(L), true, out)) ||
           IMCSymMatrix::ComputeLTransSL(L, out);
}

// In the room of the result, which most callers use again.
bool MCSymMatrix::ComputeSV(const std::vector<double>& v, std::vector<double>& out) const
{
    if (!Fits(v)) return false;
    if (&out == &v) return IMCSymMatrix::ComputeSV(v, out);
    out.resize(Order());
    internal::MultiplyPacked(GetPtr(), Order(), v.data(), out.data());
    return true;
}

// R*S*R' or R'*S*R with operands that stay in the innermost cache, all intermediate results in one piece of memory.
bool MCSymMatrix::StoreSmallSandwich(const IMCRectMatrix& R, bool transposed, IMCSymMatrix& out) const
{
    const std::size_t n = Order();
    const int order = transposed ? R.GetNCols() : R.GetNRows();
    const auto m = static_cast<std::size_t>(order);
    if (order > internal::kMostTriangleRows || !internal::IsSmallOperand(n, n) || !internal::IsSmallOperand(n, m))
        return false;
    const DenseRows r(R);
    const auto work = std::make_unique_for_overwrite<double[]>(n * n + 2 * n * m);
    double* const full = work.get();
    double* const product = full + n * n; // R*S or R'*S
    double* const columns = product + n * m;
    CopyToSquare(full);
    if (!transposed) internal::SpreadRows(columns, m, r.Ptr(), n, n, m);
    const internal::LeftOperand left =
        transposed ? internal::LeftOperand(r.Ptr(), 1, m) : internal::LeftOperand(r.Ptr(), n);
    internal::AddRowsTimesRows(product, left, m, n, full, n, true);
    return StoreSmallTriangle(order, {product, n}, transposed ? r.Ptr() : columns, n, out);
}

bool MCSymMatrix::ComputeRSRTrans(const IMCRectMatrix& R, IMCSymMatrix& out) const
{
    return (R.GetNCols() == fnRows && IsPacked(out) && StoreSmallSandwich(R, false, out)) ||
           IMCSymMatrix::ComputeRSRTrans(R, out);
}

bool MCSymMatrix::ComputeRTransSR(const IMCRectMatrix& R, IMCSymMatrix& out) const
{
    return (R.GetNRows() == fnRows && IsPacked(out) && StoreSmallSandwich(R, true, out)) ||
           IMCSymMatrix::ComputeRTransSR(R, out);
}

// No kernel here: X may be this matrix.
bool MCSymMatrix::ComputeAXpY(double a, const IMCSymMatrix& X)
{
    if (X.GetNRows() != fnRows) return false;
    if (!IsPacked(X)) {
        for (int i = 0; i < fnRows; ++i)
            for (int j = X.GetIndexFirstInRow(i); j <= i; ++j) Row(i)[j] += a * X.GetElem(i, j);
        return true;
    }
    const auto& x = static_cast<const MCSymMatrix&>(X).fvElem;
    for (std::size_t i = 0; i < fvElem.size(); ++i) fvElem[i] += a * x[i];
    return true;
}

double MCSymMatrix::ComputeVSWii(const std::vector<double>& v, const double* w, int incr) const
{
    return ComputeVSW(v, Gathered(w, incr, fnRows));
}

double MCSymMatrix::ComputeViiSW(const double* v, int incr, const std::vector<double>& w) const
{
    return ComputeVSW(Gathered(v, incr, fnRows), w);
}

double MCSymMatrix::ComputeSpVSSpW(const MCSparseVector& v, const MCSparseVector& w) const
{
    return internal::SparseForm(*this, fnRows, fnRows, v, w);
}

double MCSymMatrix::ComputeVBW(const std::vector<double>& v, int firstRow, int nRows, const std::vector<double>& w,
                               int firstCol, int nCols) const
{
    if (!IsPart(firstRow, nRows) || !IsPart(firstCol, nCols) || v.size() < static_cast<std::size_t>(nRows) ||
        w.size() < static_cast<std::size_t>(nCols))
        return MCMV::Missing();
    double sum = 0.0;
    for (int i = 0; i < nRows; ++i) {
        double rowSum = 0.0;
        for (int j = 0; j < nCols; ++j)
            rowSum += fvElem[PackedIndex(firstRow + i, firstCol + j)] * w[static_cast<std::size_t>(j)];
        sum += v[static_cast<std::size_t>(i)] * rowSum;
    }
    return sum;
}

double MCSymMatrix::ComputeBlockVSV(int block, const std::vector<double>& v) const
{
    return ComputeBlockVSW(block, v, v);
}

double MCSymMatrix::ComputeBlockVSW(int block, const std::vector<double>& v, const std::vector<double>& w) const
{
    if (block < 0 || block >= fnBlocks) return MCMV::Missing();
    const int size = GetBlockSize();
    return ComputeVBW(v, block * size, size, w, block * size, size);
}

double MCSymMatrix::ComputeVSymSubW(const std::vector<double>& v, const std::vector<int>& rows,
                                    const std::vector<double>& w) const
{
    MCRectMatrix sub;
    if (v.size() < rows.size() || w.size() < rows.size() || !ExtractRectangle(rows, rows, sub)) return MCMV::Missing();
    double sum = 0.0;
    for (std::size_t i = 0; i < rows.size(); ++i)
        sum += v[i] * DotInOrder(w.data(), sub.GetRowPtr(static_cast<int>(i)), rows.size());
    return sum;
}

bool MCSymMatrix::ComputeSSubBSSub(const std::vector<int>& rows, const IMCSymMatrix& B, IMCSymMatrix& out) const
{
    MCRectMatrix sub;
    return ExtractRectangle(rows, rows, sub) && B.ComputeRSRTrans(sub, out);
}

bool MCSymMatrix::ComputeRSRTrans2(const IMCRectMatrix& R, MCRectMatrix& out) const
{
    MCSymMatrix product;
    if (!ComputeRSRTrans(R, product)) return false;
    MCRectMatrix result(product.fnRows, product.fnRows);
    product.CopyToSquare(result.GetPtr());
    out = std::move(result);
    return true;
}

bool MCSymMatrix::ComputeRDiagSRDiagTrans(const IMCRectMatrix& R, const std::vector<double>& d, IMCSymMatrix& out) const
{
    if (R.GetNCols() != fnRows || !Fits(d)) return false;
    MCRectMatrix scaled(R.GetNRows(), fnRows);
    for (int i = 0; i < R.GetNRows(); ++i)
        for (int j = 0; j < fnRows; ++j) scaled.SetElem(i, j, R.GetElem(i, j) * d[static_cast<std::size_t>(j)]);
    return ComputeRSRTrans(scaled, out);
}

bool MCSymMatrix::ComputeMGN(const IMCRectMatrix& M, const IMCRectMatrix& N, MCRectMatrix& out) const
{
    MCRectMatrix mg;
    if (N.GetNRows() != fnRows || !ComputeRS(M, mg)) return false;
    const DenseRows n(N);
    return internal::StoreProduct(mg.GetPtr(), static_cast<std::size_t>(M.GetNRows()), n.NRows(), n.Ptr(), n.NCols(),
                                  out);
}

bool MCSymMatrix::ComputeRTransByR(const IMCRectMatrix& R)
{
    const DenseRows r(R);
    return StoreOuterProducts(R.GetNCols(), r.Ptr(), r.Ptr(), r.NRows(), *this);
}

bool MCSymMatrix::ComputeRByRTrans(const IMCRectMatrix& R)
{
    const DenseRows r(R);
    const std::vector<double> transposed = Transposed(r.Ptr(), r.NRows(), r.NCols());
    return StoreOuterProducts(R.GetNRows(), transposed.data(), transposed.data(), r.NCols(), *this);
}

bool MCSymMatrix::ComputeRTransSymR(const IMCRectMatrix& R, const IMCSymMatrix& sym)
{
    return sym.ComputeRTransSR(R, *this);
}

double MCSymMatrix::ComputeDotProduct2RowsPart(int i, int j, int first, int count) const
{
    if (!IsRow(i) || !IsRow(j) || !IsPart(first, count)) return MCMV::Missing();
    double sum = 0.0;
    for (int k = first; k < first + count; ++k) sum += GetElem(i, k) * GetElem(j, k);
    return sum;
}

double MCSymMatrix::ComputeDotProductRowPart(int i, const std::vector<double>& v, int first, int count) const
{
    if (!Fits(v)) return MCMV::Missing();
    return DotProductColVecIIncrPart(i, v.data(), 1, first, count);
}

double MCSymMatrix::ComputeDotProduct2LRows(int i, int j) const
{
    if (!IsRow(i) || !IsRow(j)) return MCMV::Missing();
    return DotInOrder(Row(i), Row(j), static_cast<std::size_t>(std::min(i, j)) + 1);
}

bool MCSymMatrix::SetToVV(const std::vector<double>& v)
{
    return SetToVW(v, v);
}

bool MCSymMatrix::SetToVW(const std::vector<double>& v, const std::vector<double>& w)
{
    if (v.size() != w.size() || v.size() > static_cast<std::size_t>(kMaxRows)) return false;
    ResizeNRows(static_cast<int>(v.size()));
    double* to = GetPtr();
    for (std::size_t i = 0; i < v.size(); ++i)
        for (std::size_t j = 0; j <= i; ++j) *to++ = v[i] * w[j];
    return true;
}

bool MCSymMatrix::IncrementByVV(const std::vector<double>& v)
{
    return UpdateXX(v, 1.0);
}

bool MCSymMatrix::UpdateXX(const std::vector<double>& x, double f)
{
    return UpdateXXPart(x, 0, fnRows, f);
}

bool MCSymMatrix::UpdateXXCentered(const std::vector<double>& x, const std::vector<double>& means, double f)
{
    if (!Fits(x) || !Fits(means)) return false;
    std::vector<double> deviation(static_cast<std::size_t>(fnRows));
    for (std::size_t i = 0; i < deviation.size(); ++i) deviation[i] = x[i] - means[i];
    return UpdateXX(deviation, f);
}

bool MCSymMatrix::UpdateXXPart(const std::vector<double>& x, int first, int count, double f)
{
    if (!Fits(x) || !IsPart(first, count)) return false;
    const double* const part = x.data() + first;
    for (int i = 0; i < count; ++i)
        internal::AddScaled(Row(first + i) + first, f * part[i], part, static_cast<std::size_t>(i) + 1);
    return true;
}

bool MCSymMatrix::UpdateZZ(const IMCRectMatrix& Z, const std::vector<double>& weights)
{
    if (Z.GetNCols() != fnRows || weights.size() < static_cast<std::size_t>(Z.GetNRows())) return false;
    constexpr std::size_t kRowsOfZ = 32;
    const DenseRows z(Z);
    std::vector<double> weighted(std::min(kRowsOfZ, z.NRows()) * z.NCols());
    for (std::size_t first = 0; first < z.NRows(); first += kRowsOfZ) {
        const std::size_t count = std::min(kRowsOfZ, z.NRows() - first);
        double* to = weighted.data();
        for (std::size_t r = first; r < first + count; ++r)
            for (std::size_t j = 0; j < z.NCols(); ++j) *to++ = z.Row(r)[j] * weights[r];
        internal::AddOuterProducts(GetPtr(), z.NCols(), weighted.data(), z.Row(first), count);
    }
    return true;
}

} // namespace MCMath_930
