// IMCSymMatrix: the products that all kinds share, made of A*S, A*L and A*L'.
#include "modelcore/common/MCMV.h"
#include "modelcore/matrix/IMCSymMatrix.h"
#include "modelcore/matrix/MCSymMatrix.h"
#include "modelcore/matrix/internal/DenseRows.h"
#include "modelcore/matrix/internal/RowProducts.h"

#include <algorithm>
#include <utility>

namespace MCMath_930 {

using internal::DenseRows;
using internal::DotInOrder;
using internal::Transposed;
using MCCommon_930::MCMV;

namespace {

/// Rows of S that are spelled out at a time where no more than that is needed.
constexpr std::size_t kRowsAtOnce = 64;

bool IsSquareOf(const IMCRectMatrix& matrix, int n)
{
    return matrix.GetNRows() == n && matrix.GetNCols() == n;
}

} // namespace

// What cannot fail after the room is there is formed where it is wanted.
bool IMCSymMatrix::StoreSmallTriangle(int order, const internal::LeftOperand& left, const double* right,
                                      std::size_t inner, IMCSymMatrix& out)
{
    const auto n = static_cast<std::size_t>(order);
    if (order > internal::kMostTriangleRows || !internal::IsSmallOperand(inner, n) || !IsPacked(out)) return false;
    auto& packed = static_cast<MCSymMatrix&>(out);
    if (!packed.ResizeNRows(order)) return false;
    internal::StoreSmallTriangle(packed.GetPtr(), n, left.a, left.lineStep, left.termStep, inner, right,
                                 static_cast<std::ptrdiff_t>(n));
    return true;
}

bool IMCSymMatrix::StoreOuterProducts(int order, const double* left, const double* right, std::size_t count,
                                      IMCSymMatrix& out)
{
    const auto n = static_cast<std::size_t>(order);
    if (StoreSmallTriangle(order, {left, 1, n}, right, count, out)) return true;
    if (!IsPackedOrder(order)) return false;
    std::vector<double> result(PackedSize(order));
    internal::AddOuterProducts(result.data(), n, left, right, count);
    return StorePacked(order, std::move(result), out);
}

bool IMCSymMatrix::StoreSymmetricProduct(int order, const double* left, const double* right, std::size_t inner,
                                         IMCSymMatrix& out)
{
    if (StoreSmallTriangle(order, {left, inner}, right, inner, out)) return true;
    if (!IsPackedOrder(order)) return false;
    const auto n = static_cast<std::size_t>(order);
    std::vector<double> result(PackedSize(order));
    const auto row = [&result](int i) { return result.data() + static_cast<std::ptrdiff_t>(i) * (i + 1) / 2; };
    if (const internal::TileWorkspace work(order); work) {
        internal::AddProduct<internal::ZeroFactor::Multiplies>(
            work, order, static_cast<int>(inner), row, [](int i) { return i + 1; },
            [&](int i, int k) { return left[static_cast<std::size_t>(i) * inner + static_cast<std::size_t>(k)]; },
            internal::RowsOperand{[&](int k) { return right + static_cast<std::size_t>(k) * n; }});
        return StorePacked(order, std::move(result), out);
    }
    for (int i = 0; i < order; ++i)
        internal::AddRows(row(i), right, order, inner, left + static_cast<std::size_t>(i) * inner, 1,
                          static_cast<std::size_t>(i) + 1);
    return StorePacked(order, std::move(result), out);
}

// The lower triangle of the rows of a product that is symmetric.
bool IMCSymMatrix::StoreLowerTriangle(const MCRectMatrix& square, IMCSymMatrix& out)
{
    std::vector<double> result;
    result.reserve(PackedSize(square.GetNRows()));
    for (int i = 0; i < square.GetNRows(); ++i) {
        const double* const row = square.GetRowPtr(i);
        result.insert(result.end(), row, row + i + 1);
    }
    return StorePacked(square.GetNRows(), std::move(result), out);
}

void IMCSymMatrix::MultiplyBy(Factor factor, const IMCSymMatrix& matrix, const double* a, std::size_t rows, double* out)
{
    switch (factor) {
    case Factor::kS: return matrix.MultiplyByS(a, rows, out);
    case Factor::kL: return matrix.MultiplyByL(a, rows, out);
    case Factor::kLTrans: return matrix.MultiplyByLTrans(a, rows, out);
    }
}

MCRectMatrix IMCSymMatrix::SquareRows() const
{
    MCRectMatrix square(GetNRows(), GetNRows());
    std::vector<double> row;
    for (int i = 0; i < GetNRows(); ++i) {
        GetRow(i, row);
        square.SetRow(i, row);
    }
    return square;
}

bool IMCSymMatrix::ComputeSV(const std::vector<double>& v, std::vector<double>& out) const
{
    if (!Fits(v)) return false;
    std::vector<double> result(static_cast<std::size_t>(GetNRows()));
    MultiplyByS(v.data(), 1, result.data());
    out.swap(result);
    return true;
}

bool IMCSymMatrix::ComputeLV(const std::vector<double>& v, std::vector<double>& out) const
{
    if (!Fits(v)) return false;
    std::vector<double> result(static_cast<std::size_t>(GetNRows()));
    MultiplyByLTrans(v.data(), 1, result.data());
    out.swap(result);
    return true;
}

bool IMCSymMatrix::ComputeLTransV(const std::vector<double>& v, std::vector<double>& out) const
{
    if (!Fits(v)) return false;
    std::vector<double> result(static_cast<std::size_t>(GetNRows()));
    MultiplyByL(v.data(), 1, result.data());
    out.swap(result);
    return true;
}

double IMCSymMatrix::ComputeVSV(const std::vector<double>& v) const
{
    return ComputeVSW(v, v);
}

double IMCSymMatrix::ComputeVSW(const std::vector<double>& v, const std::vector<double>& w) const
{
    std::vector<double> sw;
    if (!Fits(v) || !ComputeSV(w, sw)) return MCMV::Missing();
    return DotInOrder(v.data(), sw.data(), sw.size());
}

double IMCSymMatrix::ComputeVSWParts(const std::vector<double>& v, int firstV, int nV, const std::vector<double>& w,
                                     int firstW, int nW) const
{
    if (!Fits(v) || !Fits(w) || !IsPart(firstV, nV) || !IsPart(firstW, nW)) return MCMV::Missing();
    double sum = 0.0;
    for (int i = firstV; i < firstV + nV; ++i) {
        double rowSum = 0.0;
        const int last = std::min(firstW + nW - 1, GetIndexLastInRow(i));
        for (int j = std::max(firstW, GetIndexFirstInRow(i)); j <= last; ++j)
            rowSum += GetElem(i, j) * w[static_cast<std::size_t>(j)];
        sum += v[static_cast<std::size_t>(i)] * rowSum;
    }
    return sum;
}

double IMCSymMatrix::ComputeRowDotProductS(int i, const std::vector<double>& v) const
{
    if (!Fits(v)) return MCMV::Missing();
    return DotProductColVecIIncrPart(i, v.data(), 1, 0, GetNRows());
}

double IMCSymMatrix::ComputeDotProduct2Rows(int i, int j) const
{
    if (!IsRow(i) || !IsRow(j)) return MCMV::Missing();
    double sum = 0.0;
    const int last = std::min(GetIndexLastInRow(i), GetIndexLastInRow(j));
    for (int k = std::max(GetIndexFirstInRow(i), GetIndexFirstInRow(j)); k <= last; ++k)
        sum += GetElem(i, k) * GetElem(j, k);
    return sum;
}

bool IMCSymMatrix::ComputeRS(const IMCRectMatrix& R, MCRectMatrix& out) const
{
    if (R.GetNCols() != GetNRows()) return false;
    const DenseRows r(R);
    MCRectMatrix result(R.GetNRows(), GetNRows());
    MultiplyByS(r.Ptr(), r.NRows(), result.GetPtr());
    out = std::move(result);
    return true;
}

bool IMCSymMatrix::ComputeRTransS(const IMCRectMatrix& R, MCRectMatrix& out) const
{
    if (R.GetNRows() != GetNRows()) return false;
    const DenseRows r(R);
    MCRectMatrix result(R.GetNCols(), GetNRows());
    MultiplyByS(Transposed(r.Ptr(), r.NRows(), r.NCols()).data(), r.NCols(), result.GetPtr());
    out = std::move(result);
    return true;
}

bool IMCSymMatrix::ComputeRSRTrans(const IMCRectMatrix& R, IMCSymMatrix& out) const
{
    MCRectMatrix rs;
    if (!IsPacked(out) || !ComputeRS(R, rs)) return false;
    const DenseRows r(R);
    const std::vector<double> right = Transposed(r.Ptr(), r.NRows(), r.NCols());
    return StoreSymmetricProduct(R.GetNRows(), rs.GetPtr(), right.data(), r.NCols(), out);
}

bool IMCSymMatrix::ComputeRTransSR(const IMCRectMatrix& R, IMCSymMatrix& out) const
{
    MCRectMatrix rs;
    if (!IsPacked(out) || !ComputeRTransS(R, rs)) return false;
    const DenseRows r(R);
    return StoreSymmetricProduct(R.GetNCols(), rs.GetPtr(), r.Ptr(), r.NRows(), out);
}

bool IMCSymMatrix::ComputeRTransSV(const IMCRectMatrix& R, const std::vector<double>& v, std::vector<double>& out) const
{
    std::vector<double> sv;
    if (R.GetNRows() != GetNRows() || !ComputeSV(v, sv)) return false;
    const DenseRows r(R);
    std::vector<double> result(r.NCols());
    for (std::size_t i = 0; i < r.NRows(); ++i) internal::AddScaled(result.data(), sv[i], r.Row(i), r.NCols());
    out.swap(result);
    return true;
}

bool IMCSymMatrix::ComputeRVD(const IMCRectMatrix& R, const std::vector<double>& d, MCRectMatrix& out) const
{
    MCRectMatrix result;
    if (!Fits(d) || !ComputeRS(R, result)) return false;
    for (int i = 0; i < result.GetNRows(); ++i)
        for (int j = 0; j < result.GetNCols(); ++j)
            result.SetElem(i, j, result.GetElem(i, j) * d[static_cast<std::size_t>(j)]);
    out = std::move(result);
    return true;
}

// Rows of V add their terms to all rows of the result, so that the sum of each element runs over them in order: many at
// a time where they store all of the columns that are wanted.
bool IMCSymMatrix::ComputeRVDParts(const IMCRectMatrix& R, int firstR, int nR, const std::vector<double>& d, int firstD,
                                   int nD, MCRectMatrix& out) const
{
    MCRectMatrix result;
    if (R.GetNCols() != GetNRows() || !Fits(d) || !IsPart(firstR, nR) || !IsPart(firstD, nD) ||
        !result.SetNRowsCols(R.GetNRows(), nD))
        return false;
    const DenseRows r(R);
    const auto width = static_cast<std::size_t>(nD);
    std::vector<double> row;
    std::vector<double> whole; // the parts of rows firstWhole ... k-1 of V
    int firstWhole = firstR;
    const auto addWhole = [&](int next) {
        if (!whole.empty() && r.NRows() > 0)
            internal::AddRowsTimesRows(result.GetPtr(), {r.Ptr() + firstWhole, r.NCols()}, r.NRows(),
                                       static_cast<std::size_t>(next - firstWhole), whole.data(), width, false);
        whole.clear();
        firstWhole = next;
    };
    for (int k = firstR; k < firstR + nR; ++k) {
        const int first = std::max(firstD, GetIndexFirstInRow(k));
        const int end = std::min(firstD + nD, GetIndexLastInRow(k) + 1);
        GetRow(k, row);
        if (end - first == nD) {
            whole.insert(whole.end(), row.begin() + first, row.begin() + end);
            if (whole.size() == kRowsAtOnce * width) addWhole(k + 1);
            continue;
        }
        addWhole(k);
        firstWhole = k + 1;
        for (std::size_t i = 0; i < r.NRows() && first < end; ++i)
            internal::AddScaled(result.GetRowPtr(static_cast<int>(i)) + (first - firstD), r.Row(i)[k],
                                row.data() + first, static_cast<std::size_t>(end - first));
    }
    addWhole(firstR + nR);
    for (int i = 0; i < result.GetNRows(); ++i)
        for (int j = 0; j < nD; ++j) result.GetRowPtr(i)[j] *= d[static_cast<std::size_t>(firstD + j)];
    out = std::move(result);
    return true;
}

bool IMCSymMatrix::ComputeGSG(const IMCRectMatrix& G, MCRectMatrix& out) const
{
    MCRectMatrix gs;
    if (!IsSquareOf(G, GetNRows()) || !ComputeRS(G, gs)) return false;
    const DenseRows g(G);
    return internal::StoreProduct(gs.GetPtr(), g.NRows(), g.NRows(), g.Ptr(), g.NCols(), out);
}

// S*(M*S) is the transpose of (M*S)'*S.
bool IMCSymMatrix::ComputeGMG(const IMCRectMatrix& M, MCRectMatrix& out) const
{
    MCRectMatrix ms;
    MCRectMatrix result;
    if (!IsSquareOf(M, GetNRows()) || !ComputeRS(M, ms) || !ComputeRTransS(ms, result)) return false;
    const auto n = static_cast<std::size_t>(GetNRows());
    const std::vector<double> transposed = Transposed(result.GetPtr(), n, n);
    std::copy(transposed.begin(), transposed.end(), result.GetPtr());
    out = std::move(result);
    return true;
}

bool IMCSymMatrix::ComputeGMGNG(const IMCRectMatrix& M, const IMCRectMatrix& N, MCRectMatrix& out) const
{
    MCRectMatrix gmg;
    if (!IsSquareOf(N, GetNRows()) || !ComputeGMG(M, gmg)) return false;
    const DenseRows n(N);
    internal::StoreProduct(gmg.GetPtr(), n.NRows(), n.NRows(), n.Ptr(), n.NCols(), gmg);
    return ComputeRS(gmg, out);
}

// S*L' first; then L*(S*L') is the transpose of (S*L')'*L', and symmetric.
bool IMCSymMatrix::ComputeLSLTrans(const IMCSymMatrix& L, IMCSymMatrix& out) const
{
    if (!IsPacked(out) || L.GetNRows() != GetNRows() || !IsPackedOrder(GetNRows())) return false;
    const auto n = static_cast<std::size_t>(GetNRows());
    MCRectMatrix square = SquareRows();
    std::vector<double> product(n * n);
    L.MultiplyByLTrans(square.GetPtr(), n, product.data());
    L.MultiplyByLTrans(Transposed(product.data(), n, n).data(), n, square.GetPtr());
    return StoreLowerTriangle(square, out);
}

bool IMCSymMatrix::ComputeLTransSL(const IMCSymMatrix& L, IMCSymMatrix& out) const
{
    if (!IsPacked(out) || L.GetNRows() != GetNRows() || !IsPackedOrder(GetNRows())) return false;
    const auto n = static_cast<std::size_t>(GetNRows());
    MCRectMatrix square = SquareRows();
    std::vector<double> product(n * n);
    L.MultiplyByL(square.GetPtr(), n, product.data());
    L.MultiplyByL(Transposed(product.data(), n, n).data(), n, square.GetPtr());
    return StoreLowerTriangle(square, out);
}

bool IMCSymMatrix::ComputeSS(const IMCSymMatrix& second, MCRectMatrix& out) const
{
    return second.GetNRows() == GetNRows() && second.ComputeRS(SquareRows(), out);
}

bool IMCSymMatrix::ComputeSTransS(IMCSymMatrix& out) const
{
    if (!IsPacked(out) || !IsPackedOrder(GetNRows())) return false;
    std::vector<double> result(PackedSize(GetNRows()));
    const auto n = static_cast<std::size_t>(GetNRows());
    std::vector<double> rows;
    std::vector<double> row;
    for (int i = 0; i < GetNRows(); ++i) {
        GetRow(i, row);
        rows.insert(rows.end(), row.begin(), row.end());
        if (rows.size() == kRowsAtOnce * n || i + 1 == GetNRows()) {
            internal::AddOuterProducts(result.data(), n, rows.data(), rows.data(), rows.size() / n);
            rows.clear();
        }
    }
    return StorePacked(GetNRows(), std::move(result), out);
}

double IMCSymMatrix::TraceOfProductOfThree(const IMCSymMatrix& B, const IMCSymMatrix& C) const
{
    if (B.GetNRows() != GetNRows() || C.GetNRows() != GetNRows()) return MCMV::Missing();
    double sum = 0.0;
    std::vector<double> row;
    std::vector<double> product;
    for (int i = 0; i < GetNRows(); ++i) {
        B.GetRow(i, row);
        ComputeSV(row, product);
        for (int j = C.GetIndexFirstInRow(i); j <= C.GetIndexLastInRow(i); ++j)
            sum += product[static_cast<std::size_t>(j)] * C.GetElem(i, j);
    }
    return sum;
}

double IMCSymMatrix::DotProductColVecIIncrPart(int j, const double* v, int incr, int first, int count) const
{
    if (!IsRow(j) || !IsPart(first, count)) return MCMV::Missing();
    double sum = 0.0;
    const int last = std::min(first + count - 1, GetIndexLastInRow(j));
    for (int i = std::max(first, GetIndexFirstInRow(j)); i <= last; ++i)
        sum += GetElem(i, j) * v[static_cast<std::ptrdiff_t>(i) * incr];
    return sum;
}

double IMCSymMatrix::DotProductLColVecIIncrPart(int j, const double* v, int incr, int first, int count) const
{
    if (!IsRow(j) || !IsPart(first, count)) return MCMV::Missing();
    const int start = std::clamp(j, first, first + count);
    return DotProductColVecIIncrPart(j, v, incr, start, first + count - start);
}

double IMCSymMatrix::DotProductLColDenseRowPart(int j, const double* row, int first, int count) const
{
    return DotProductLColVecIIncrPart(j, row, 1, first, count);
}

bool IMCSymMatrix::ComputeVecPartByL(const std::vector<double>& v, int first, int count, std::vector<double>& out) const
{
    return Fits(v) && ComputeVecIIncrPartByL(v.data(), 1, first, count, out);
}

bool IMCSymMatrix::ComputeVecIIncrPartByL(const double* v, int incr, int first, int count,
                                          std::vector<double>& out) const
{
    if (!IsPart(first, count)) return false;
    std::vector<double> result(static_cast<std::size_t>(GetNRows()));
    for (int i = first; i < first + count; ++i) {
        const double factor = v[static_cast<std::ptrdiff_t>(i) * incr];
        for (int j = GetIndexFirstInRow(i); j <= i; ++j) result[static_cast<std::size_t>(j)] += factor * GetElem(i, j);
    }
    out.swap(result);
    return true;
}

bool IMCSymMatrix::ComputeSymRowByL(int i, const IMCSymMatrix& sym, std::vector<double>& out) const
{
    std::vector<double> row;
    return sym.GetNRows() == GetNRows() && sym.GetRow(i, row) && ComputeLTransV(row, out);
}

bool IMCSymMatrix::ComputeProductLAndSquare(const IMCRectMatrix& square, MCRectMatrix& out) const
{
    if (!IsSquareOf(square, GetNRows())) return false;
    const DenseRows a(square);
    const std::size_t n = a.NRows();
    std::vector<double> product(n * n);
    MultiplyByLTrans(Transposed(a.Ptr(), n, n).data(), n, product.data());
    MCRectMatrix result(GetNRows(), GetNRows());
    const std::vector<double> transposed = Transposed(product.data(), n, n);
    std::copy(transposed.begin(), transposed.end(), result.GetPtr());
    out = std::move(result);
    return true;
}

bool IMCSymMatrix::UpdateDenseColumnPart(int j, double a, double* column, int incr, int first, int count) const
{
    if (!IsRow(j) || !IsPart(first, count)) return false;
    const int last = std::min(first + count - 1, GetIndexLastInRow(j));
    for (int i = std::max(first, j); i <= last; ++i) column[static_cast<std::ptrdiff_t>(i) * incr] += a * GetElem(i, j);
    return true;
}

} // namespace MCMath_930
