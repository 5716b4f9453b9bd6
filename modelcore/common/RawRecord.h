// A row of raw data cells.
#pragma once

#include "modelcore/common/RawData.h"
#include "modelcore/modelcore_export.h"

#include <cstddef>
#include <vector>

namespace MCCommon_930 {

/// A row of typed cells. Copies are deep; a row that was moved from is empty.
class MODELCORE_EXPORT RawRecord {
public:
    /// n default cells; none when n is negative.
    explicit RawRecord(int n) { Resize(n); }

    /// Cell i, 0 <= i < Size(); not checked.
    RawData& operator[](int i) { return fvCells[static_cast<std::size_t>(i)]; }
    const RawData& operator[](int i) const { return fvCells[static_cast<std::size_t>(i)]; }

    /// The cells, contiguous.
    RawData* GetAll() { return fvCells.data(); }
    const RawData* GetAll() const { return fvCells.data(); }

    /// The number of cells.
    int Size() const { return static_cast<int>(fvCells.size()); }

    /// Changes the count to max(n, 0). When that is another count all cells are replaced by default ones, none is kept.
    ///
    /// @return  true
    bool Resize(int n);

    /// Writes the cells to the diagnostic text stream.
    void Display() const;

private:
    std::vector<RawData> fvCells;
};

} // namespace MCCommon_930
