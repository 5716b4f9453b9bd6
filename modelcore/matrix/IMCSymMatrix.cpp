// IMCSymMatrix: what the kinds share of elements, rows, reductions and extraction.
#include "modelcore/matrix/IMCSymMatrix.h"

#include "modelcore/common/MCBitSet.h"
#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/internal/PortableMath.h"
#include "modelcore/matrix/internal/Places.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace MCMath_930 {

using internal::PortableLog;
using MCCommon_930::MCMV;

IMCSymMatrix::~IMCSymMatrix() = default;

bool IMCSymMatrix::StorePacked(int n, std::vector<double>&& packed, IMCSymMatrix& out)
{
    if (!IsPacked(out) || !IsPackedOrder(n)) return false;
    out.TakePacked(n, std::move(packed));
    return true;
}

bool IMCSymMatrix::CopyLowerTriangle(std::vector<double>& packed) const
{
    if (!IsPackedOrder(GetNRows())) return false;
    packed.assign(PackedSize(GetNRows()), 0.0);
    double* row = packed.data();
    for (int i = 0; i < GetNRows(); row += ++i)
        for (int j = GetIndexFirstInRow(i); j <= i; ++j) row[j] = GetElem(i, j);
    return true;
}

void IMCSymMatrix::TakePacked(int /*n*/, std::vector<double>&& /*packed*/) {}

bool IMCSymMatrix::GetRow(int i, std::vector<double>& row) const
{
    if (!IsRow(i)) return false;
    row.assign(static_cast<std::size_t>(GetNRows()), 0.0);
    for (int j = GetIndexFirstInRow(i); j <= GetIndexLastInRow(i); ++j)
        row[static_cast<std::size_t>(j)] = GetElem(i, j);
    return true;
}

bool IMCSymMatrix::PutRow(int i, const std::vector<double>& row)
{
    if (!IsRow(i) || !Fits(row)) return false;
    const int first = GetIndexFirstInRow(i);
    const int last = GetIndexLastInRow(i);
    for (int j = 0; j < GetNRows(); ++j)
        if ((j < first || j > last) && row[static_cast<std::size_t>(j)] != 0.0) return false;
    for (int j = first; j <= last; ++j) SetElem(i, j, row[static_cast<std::size_t>(j)]);
    return true;
}

void IMCSymMatrix::GetDiagonal(std::vector<double>& diag) const
{
    diag.resize(Order());
    for (int i = 0; i < GetNRows(); ++i) diag[static_cast<std::size_t>(i)] = GetElem(i, i);
}

bool IMCSymMatrix::GetNCheckDiagonal(double scale, std::vector<double>& diag) const
{
    GetDiagonal(diag);
    bool valid = true;
    for (double& d : diag) {
        d *= scale;
        valid = valid && d >= 0.0;
    }
    return valid;
}

bool IMCSymMatrix::IsZeroRow(int i) const
{
    if (!IsRow(i)) return false;
    for (int j = GetIndexFirstInRow(i); j <= GetIndexLastInRow(i); ++j)
        if (GetElem(i, j) != 0.0) return false;
    return true;
}

bool IMCSymMatrix::IncrVecByRow(int i, double a, std::vector<double>& v) const
{
    if (!IsRow(i) || !Fits(v)) return false;
    for (int j = GetIndexFirstInRow(i); j <= GetIndexLastInRow(i); ++j)
        v[static_cast<std::size_t>(j)] += a * GetElem(i, j);
    return true;
}

int IMCSymMatrix::LTChol(double tol, double& logDet, bool check)
{
    std::vector<double> diag;
    GetNCheckDiagonal(1.0, diag);
    const int refused = LTChol(diag, tol, check);
    if (refused < 0) return refused;
    logDet = 0.0;
    for (int i = 0; i < GetNRows(); ++i)
        if (GetElem(i, i) != 0.0) logDet += 2.0 * PortableLog(GetElem(i, i));
    return refused;
}

double IMCSymMatrix::Trace() const
{
    double sum = 0.0;
    for (int i = 0; i < GetNRows(); ++i) sum += GetElem(i, i);
    return sum;
}

double IMCSymMatrix::TraceOfProduct(const IMCSymMatrix& B) const
{
    if (B.GetNRows() != GetNRows()) return MCMV::Missing();
    double trace = 0.0;
    for (int i = 0; i < GetNRows(); ++i) {
        double sum = 0.0;
        for (int j = std::max(GetIndexFirstInRow(i), B.GetIndexFirstInRow(i)); j < i; ++j)
            sum += GetElem(i, j) * B.GetElem(i, j);
        trace += 2.0 * sum + GetElem(i, i) * B.GetElem(i, i);
    }
    return trace;
}

bool IMCSymMatrix::MaxMinDiag(double& max, double& min) const
{
    if (GetNRows() < 1) return false;
    max = min = GetElem(0, 0);
    for (int i = 1; i < GetNRows(); ++i) {
        max = std::max(max, GetElem(i, i));
        min = std::min(min, GetElem(i, i));
    }
    return true;
}

bool IMCSymMatrix::MaxMinDiagOffDiag(double& maxDiag, double& minDiag, double& maxOffDiag, double& minOffDiag) const
{
    if (!MaxMinDiag(maxDiag, minDiag)) return false;
    maxOffDiag = minOffDiag = GetNRows() > 1 ? GetElem(1, 0) : 0.0;
    for (int i = 1; i < GetNRows(); ++i) {
        if (GetIndexFirstInRow(i) > 0) { // a zero that is not stored
            maxOffDiag = std::max(maxOffDiag, 0.0);
            minOffDiag = std::min(minOffDiag, 0.0);
        }
        for (int j = GetIndexFirstInRow(i); j < i; ++j) {
            maxOffDiag = std::max(maxOffDiag, GetElem(i, j));
            minOffDiag = std::min(minOffDiag, GetElem(i, j));
        }
    }
    return true;
}

void IMCSymMatrix::AddToDiagonal(double x)
{
    for (int i = 0; i < GetNRows(); ++i) SetElem(i, i, GetElem(i, i) + x);
}

bool IMCSymMatrix::SetRowColToConst(int i, double x)
{
    return IsRow(i) && PutRow(i, std::vector<double>(static_cast<std::size_t>(GetNRows()), x));
}

bool IMCSymMatrix::ExtractFirstNRows(int m, IMCSymMatrix& out) const
{
    if (m < 0 || m > GetNRows()) return false;
    std::vector<int> rows(static_cast<std::size_t>(m));
    std::iota(rows.begin(), rows.end(), 0);
    return ExtractSubmatrix(rows, out);
}

bool IMCSymMatrix::ExtractSubmatrix(const std::vector<int>& rows, IMCSymMatrix& out) const
{
    const int n = static_cast<int>(rows.size()); // distinct rows are no more than an int counts
    if (!IsPacked(out) || !internal::AreDistinct(rows, GetNRows()) || !IsPackedOrder(n)) return false;
    std::vector<double> part(PackedSize(n));
    double* to = part.data();
    for (std::size_t i = 0; i < rows.size(); ++i)
        for (std::size_t j = 0; j <= i; ++j) *to++ = GetElem(rows[i], rows[j]);
    return StorePacked(n, std::move(part), out);
}

bool IMCSymMatrix::ExtractSubmatrix(const MCBitSet& rows, IMCSymMatrix& out) const
{
    return ExtractSubmatrix(rows.Members(), out);
}

} // namespace MCMath_930
