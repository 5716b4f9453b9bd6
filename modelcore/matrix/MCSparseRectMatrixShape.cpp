// MCSparseRectMatrix: shape, copies of rows, extraction.
#include "modelcore/matrix/MCSparseRectMatrix.h"

#include "modelcore/common/MCBitSet.h"
#include "modelcore/matrix/MCRectMatrix.h"

#include <algorithm>
#include <utility>

namespace MCMath_930 {

/// Rows of any length, formed aside: how many slots they need is known at the end.
struct MCSparseRectMatrix::RowList {
    void Add(int column, double value)
    {
        indices.push_back(column);
        values.push_back(value);
    }

    void EndRow()
    {
        longest = std::max(longest, indices.size() - (ends.empty() ? 0 : ends.back()));
        ends.push_back(indices.size());
    }

    void AddNonZero(const std::vector<double>& row, int firstColumn)
    {
        for (std::size_t j = 0; j < row.size(); ++j)
            if (row[j] != 0.0) Add(firstColumn + static_cast<int>(j), row[j]);
        EndRow();
    }

    /// The elements of row i whose columns are in [first, first+count), those columns counted from `from` on.
    void AddPart(const MCSparseRectMatrix& source, int i, int first, int count, int from)
    {
        const Stored row = source.StoredRow(i);
        for (int k = 0; k < row.count; ++k)
            if (row.indices[k] >= first && row.indices[k] - first < count)
                Add(from + (row.indices[k] - first), row.values[k]);
        EndRow();
    }

    void AddRow(const IMCRectMatrix& source, int i, int firstColumn)
    {
        if (source.GetMatrixType() == kSparseMatrix)
            return AddPart(static_cast<const MCSparseRectMatrix&>(source), i, 0, source.GetNCols(), firstColumn);
        source.GetRow(i, work);
        AddNonZero(work, firstColumn);
    }

    /// Writes the rows into those of a matrix from first on, which has slots enough.
    void WriteTo(MCSparseRectMatrix& matrix, int first) const
    {
        std::size_t begin = 0;
        for (const std::size_t end : ends) {
            matrix.WriteRow(first++, indices.data() + begin, values.data() + begin, static_cast<int>(end - begin));
            begin = end;
        }
    }

    std::vector<std::size_t> ends;
    std::vector<int> indices;
    std::vector<double> values;
    std::size_t longest = 0;
    std::vector<double> work;
};

namespace {

/// Stores a result that was formed aside in a matrix of either type. False, and out as it was, when it is too large for
/// a dense one.
bool Store(MCSparseRectMatrix&& result, IMCRectMatrix& out)
{
    if (out.GetMatrixType() == IMCRectMatrix::kDenseMatrix)
        return result.CreateFullMatrix(static_cast<MCRectMatrix&>(out));
    static_cast<MCSparseRectMatrix&>(out) = std::move(result);
    return true;
}

} // namespace

// False, and nothing changed, when there can be no matrix of that size.
bool MCSparseRectMatrix::Assign(const RowList& list, int cols)
{
    const int rows = static_cast<int>(list.ends.size());
    MCSparseRectMatrix whole(std::max(rows, 1), cols, std::max(static_cast<int>(list.longest), 1));
    if (!whole.IsValidMatrix()) return false;
    whole.fnRows = rows;
    list.WriteTo(whole, 0);
    Swap(whole);
    return true;
}

bool MCSparseRectMatrix::SetNRowsCols(int rows, int cols)
{
    if (rows < 0 || !IsShape(std::max(rows, fnCapacity), cols, fnSlots)) return false;
    if (rows > fnCapacity) Reserve(rows);
    Clear();
    fnRows = rows;
    fnCols = cols;
    return true;
}

bool MCSparseRectMatrix::Resize(int rows, int cols)
{
    if (rows < 0 || !IsShape(std::max(rows, fnCapacity), cols, fnSlots)) return false;
    if (rows > fnCapacity) Reserve(rows);
    if (rows < fnRows) EmptyRows(rows, fnRows - rows);
    fnRows = rows;
    for (int i = 0; cols < fnCols && i < fnRows; ++i) MoveRowColumns(i, 0, cols);
    fnCols = cols;
    return true;
}

void MCSparseRectMatrix::Clear()
{
    EmptyRows(0, fnRows);
    fnRows = 0;
}

// From the last slot to the first: the elements that stay move towards the end of the row.
void MCSparseRectMatrix::MoveRowColumns(int i, long long by, int cols)
{
    int* const indices = fvIndices.data() + Slot(i, 0);
    double* const values = fvValues.data() + Slot(i, 0);
    int to = fnSlots;
    for (int k = fnSlots - 1; k >= 0 && indices[k] >= 0; --k) {
        const long long moved = indices[k] + by;
        if (moved < 0 || moved >= cols) continue;
        --to;
        indices[to] = static_cast<int>(moved);
        values[to] = values[k];
    }
    std::fill_n(indices, to, -1);
    std::fill_n(values, to, 0.0);
}

bool MCSparseRectMatrix::ShiftRows(int by)
{
    const int distance = std::clamp(by, -fnRows, fnRows);
    const auto move = [&](auto& slots) {
        const auto begin = slots.begin();
        const auto end = begin + static_cast<std::ptrdiff_t>(Slot(fnRows, 0));
        const auto offset = static_cast<std::ptrdiff_t>(Slot(std::max(distance, -distance), 0));
        if (distance > 0)
            std::copy_backward(begin, end - offset, end);
        else
            std::copy(begin + offset, end, begin);
    };
    move(fvIndices);
    move(fvValues);
    EmptyRows(distance > 0 ? 0 : fnRows + distance, std::max(distance, -distance));
    return true;
}

bool MCSparseRectMatrix::ShiftColumns(int by)
{
    for (int i = 0; i < fnRows; ++i) MoveRowColumns(i, by, fnCols);
    return true;
}

bool MCSparseRectMatrix::ExpandSquare(const MCBitSet& kept)
{
    if (fnRows != fnCols || kept.Count() != fnRows) return false;
    std::vector<int> places;
    for (int i = kept.Next(0); i >= 0; i = kept.Next(i + 1)) places.push_back(i);
    MCSparseRectMatrix wide(std::max(fnCapacity, kept.Size()), kept.Size(), fnSlots);
    if (!wide.IsValidMatrix()) return false;
    wide.fnRows = kept.Size();
    std::vector<int> moved;
    for (int i = 0; i < fnRows; ++i) {
        const Stored row = StoredRow(i);
        moved.clear();
        for (int k = 0; k < row.count; ++k) moved.push_back(places[static_cast<std::size_t>(row.indices[k])]);
        wide.WriteRow(places[static_cast<std::size_t>(i)], moved.data(), row.values, row.count);
    }
    Swap(wide);
    return true;
}

bool MCSparseRectMatrix::CreateBlockDiagonal(const std::vector<const IMCRectMatrix*>& blocks)
{
    int rows = 0;
    int cols = 0;
    if (!SumOfShapes(blocks, rows, cols) || cols < 1) return false;
    RowList list;
    int firstCol = 0;
    for (const IMCRectMatrix* const block : blocks) {
        for (int i = 0; i < block->GetNRows(); ++i) list.AddRow(*block, i, firstCol);
        firstCol += block->GetNCols();
    }
    return Assign(list, firstCol);
}

bool MCSparseRectMatrix::CopyRowToRow(const IMCRectMatrix& source, int sourceRow, int row)
{
    return CopyRows(source, sourceRow, 1, row);
}

bool MCSparseRectMatrix::CopyColToRow(const IMCRectMatrix& source, int sourceCol, int row)
{
    std::vector<double> col;
    RowList list;
    if (!IsRow(row) || source.GetNRows() != fnCols || !source.GetCol(sourceCol, col)) return false;
    list.AddNonZero(col, 0);
    if (list.longest > static_cast<std::size_t>(fnSlots)) return false;
    list.WriteTo(*this, row);
    return true;
}

// The source's rows are read before the first is written: it may be this matrix.
bool MCSparseRectMatrix::CopyRows(const IMCRectMatrix& source, int firstSource, int count, int first)
{
    if (source.GetNCols() != fnCols || !HasRows(source, firstSource, count, first)) return false;
    RowList list;
    for (int i = firstSource; i < firstSource + count; ++i) list.AddRow(source, i, 0);
    if (list.longest > static_cast<std::size_t>(fnSlots)) return false;
    list.WriteTo(*this, first);
    return true;
}

bool MCSparseRectMatrix::ExtractRows(const std::vector<int>& rows, IMCRectMatrix& out) const
{
    MCSparseRectMatrix part(std::max(static_cast<int>(rows.size()), 1), fnCols, fnSlots);
    if (!part.IsValidMatrix() || !std::all_of(rows.begin(), rows.end(), [this](int i) { return IsRow(i); }))
        return false;
    for (const int i : rows) {
        const Stored row = StoredRow(i);
        part.WriteRow(part.fnRows++, row.indices, row.values, row.count);
    }
    return Store(std::move(part), out);
}

bool MCSparseRectMatrix::ExtractColumns(const std::vector<int>& cols, IMCRectMatrix& out) const
{
    if (!std::all_of(cols.begin(), cols.end(), [this](int j) { return IsCol(j); })) return false;
    if (cols.empty())
        return out.GetMatrixType() == kDenseMatrix && static_cast<MCRectMatrix&>(out).SetNRowsCols(fnRows, 0);

    using Place = std::pair<int, int>; // a column and its position in the result
    std::vector<Place> places;
    for (std::size_t p = 0; p < cols.size(); ++p) places.emplace_back(cols[p], static_cast<int>(p));
    std::sort(places.begin(), places.end());
    RowList list;
    std::vector<std::pair<int, double>> elements;
    for (int i = 0; i < fnRows; ++i) {
        elements.clear();
        const Stored row = StoredRow(i);
        for (int k = 0; k < row.count; ++k) {
            auto place = std::lower_bound(places.begin(), places.end(), Place(row.indices[k], 0));
            for (; place != places.end() && place->first == row.indices[k]; ++place)
                elements.emplace_back(place->second, row.values[k]);
        }
        std::sort(elements.begin(), elements.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
        for (const auto& [column, value] : elements) list.Add(column, value);
        list.EndRow();
    }
    MCSparseRectMatrix part;
    return part.Assign(list, static_cast<int>(cols.size())) && Store(std::move(part), out);
}

bool MCSparseRectMatrix::ExtractSubSparseRectMat(int firstRow, int nRows, int firstCol, int nCols,
                                                 MCSparseRectMatrix& out) const
{
    if (firstRow < 0 || nRows < 0 || nRows > fnRows - firstRow || firstCol < 0 || nCols < 1 ||
        nCols > fnCols - firstCol)
        return false;
    RowList list;
    for (int i = firstRow; i < firstRow + nRows; ++i) list.AddPart(*this, i, firstCol, nCols, 0);
    return out.Assign(list, nCols);
}

} // namespace MCMath_930
