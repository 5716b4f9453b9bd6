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
    /// @param nVars     columns of the matrix; a negative number counts as 0, and with more than INT_MAX - 2, which no
    ///                  row can hold, there are no rows and no columns
    /// @param lead      nRecords values
    /// @param data      nRecords * nVars values, row by row
    /// @param trail     nRecords values, or null for no trailing column
    MemoryRecordIterator(int nRecords, int nVars, const double* lead, const double* data, const double* trail);

    /// Moving copies: the arrays are the caller's.
    MemoryRecordIterator(const MemoryRecordIterator&) = default;
    /// When memory runs out for the row, nothing changes.
    MemoryRecordIterator& operator=(const MemoryRecordIterator& other);
    ~MemoryRecordIterator() override;

    /// Whether Next will deliver a row; after NewPass it says so even when there is none.
    bool HasMore() const override { return fFinished == 0; }

    /// The row at the current position: the leading value, the matrix row, the trailing value when there is such a
    /// column. Null when finished.
    Record* Next() override;

    /// 1 once the last row has been delivered, else 0.
    int GetFailReason() const override { return fFinished; }

    /// Back to the first row; returns 0. It makes no difference that there is none: after it an iterator of no rows
    /// says HasMore until Next has given null.
    int NewPass() override;

    /// Writes counts and position to the diagnostic text stream.
    void Display() const;

private:
    Record* CopyWideRow(const double* from);

    int fnRecords;
    int fnVars;
    const double* fpLead;
    const double* fpData;
    const double* fpTrail;
    Record fRecord;
    int fFinished;
    int fPosition = 0;
};

} // namespace MCCommon_930
