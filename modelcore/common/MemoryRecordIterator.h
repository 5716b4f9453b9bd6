// Rows of data that lie in the caller's memory.
#pragma once

#include "modelcore/common/MultiPassRecordIter.h"
#include "modelcore/common/Record.h"
#include "modelcore/modelcore_export.h"

namespace MCCommon_930 {

/// Reads rows out of arrays of the caller: a leading column (say the target), a matrix stored row by row, and an
/// optional trailing column (say a weight). The arrays are pointed to, not owned, and must outlive the iterator; the
/// row handed out is the iterator's own. A copy reads the same arrays from the same position into a row of its own.
class MODELCORE_EXPORT MemoryRecordIterator : public MultiPassRecordIter {
public:
    /// @param nRecords  number of rows; below 1 the iterator starts finished
    /// @param nVars     columns of the matrix; a negative number counts as 0
    /// @param lead      nRecords values
    /// @param data      nRecords * nVars values, row by row
    /// @param trail     nRecords values, or null for no trailing column
    MemoryRecordIterator(int nRecords, int nVars, double* lead, double* data, double* trail);

    MemoryRecordIterator(const MemoryRecordIterator&) = default;
    MemoryRecordIterator& operator=(const MemoryRecordIterator&) = default;
    ~MemoryRecordIterator() override;

    bool HasMore() const override { return fFinished == 0; }

    /// The row at the current position: the leading value, the matrix row, the trailing value when there is such a
    /// column. Null when finished.
    Record* Next() override;

    /// 1 once the last row has been delivered, else 0.
    int GetFailReason() const override { return fFinished; }

    /// Back to the first row; returns 0. It makes no difference that there is none: after it an iterator of no rows
    /// says HasMore, and Next must not be called.
    int NewPass() override;

    /// Writes counts and position to the diagnostic text stream.
    void Display() const;

private:
    Record* CopyWideRow(const double* from);

    int fnRecords;
    int fnVars;
    double* fpLead;
    double* fpData;
    double* fpTrail;
    Record fRecord;
    int fFinished;
    int fPosition = 0;
};

} // namespace MCCommon_930
