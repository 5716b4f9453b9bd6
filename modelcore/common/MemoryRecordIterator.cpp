// RecordIterator, MultiPassRecordIter and MemoryRecordIterator.
#include "modelcore/common/MemoryRecordIterator.h"

#include "modelcore/common/MCDisplay.h"

#include <algorithm>
#include <cstddef>

namespace MCCommon_930 {

RecordIterator::~RecordIterator() = default;
MultiPassRecordIter::~MultiPassRecordIter() = default;
MemoryRecordIterator::~MemoryRecordIterator() = default;

MemoryRecordIterator::MemoryRecordIterator(int nRecords, int nVars, double* lead, double* data, double* trail)
    : fnRecords(nRecords), fnVars(std::max(nVars, 0)), fpLead(lead), fpData(data), fpTrail(trail),
      fRecord(fnVars + (trail != nullptr ? 2 : 1)), fFinished(nRecords < 1 ? 1 : 0)
{}

Record* MemoryRecordIterator::Next()
{
    if (fFinished != 0) return nullptr;
    const auto p = static_cast<std::size_t>(fPosition);
    const auto nVars = static_cast<std::size_t>(fnVars);
    double* const row = fRecord.GetAll();
    row[0] = fpLead[p];
    std::copy_n(fpData + p * nVars, nVars, row + 1);
    if (fpTrail != nullptr) row[nVars + 1] = fpTrail[p];
    if (++fPosition == fnRecords) fFinished = 1;
    return &fRecord;
}

int MemoryRecordIterator::NewPass()
{
    fFinished = 0;
    fPosition = 0;
    return 0;
}

void MemoryRecordIterator::Display() const
{
    MCDisplay_930::DisplayStart("MemoryRecordIterator");
    MCDisplay_930::Display("Number of records", fnRecords);
    MCDisplay_930::Display("Number of variables", fnVars);
    MCDisplay_930::Display("Trailing column indicator", fpTrail != nullptr);
    MCDisplay_930::Display("Position of the next record", fPosition);
    MCDisplay_930::Display("Finished indicator", fFinished);
    MCDisplay_930::DisplayEnd("MemoryRecordIterator");
}

} // namespace MCCommon_930
