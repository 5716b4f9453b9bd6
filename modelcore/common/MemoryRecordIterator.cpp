// MemoryRecordIterator.
#include "modelcore/common/MemoryRecordIterator.h"

#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/internal/Index.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <utility>

namespace MCCommon_930 {

namespace {

using MCMath_930::internal::AsSize;

constexpr int kMostVars = std::numeric_limits<int>::max() - 2; // a row has two values more
constexpr std::size_t kChunk = 4;
constexpr std::size_t kWide = 64; // from this many columns on the library's copy is the faster one

// Rows are short as a rule, and then calling the library's copy costs more than the copy.
inline void CopyShortRow(const double* from, std::size_t count, double* to)
{
    std::size_t j = 0;
    for (; j + kChunk <= count; j += kChunk) std::memcpy(to + j, from + j, kChunk * sizeof(double));
    for (; j < count; ++j) to[j] = from[j];
}

} // namespace

MemoryRecordIterator::~MemoryRecordIterator() = default;

MemoryRecordIterator::MemoryRecordIterator(int nRecords, int nVars, const double* lead, const double* data,
                                           const double* trail)
    : fnRecords(nVars > kMostVars ? 0 : nRecords), fnVars(nVars > kMostVars ? 0 : std::max(nVars, 0)), fpLead(lead),
      fpData(data), fpTrail(trail), fRecord(fnVars + (trail != nullptr ? 2 : 1)), fFinished(fnRecords < 1 ? 1 : 0)
{}

MemoryRecordIterator& MemoryRecordIterator::operator=(const MemoryRecordIterator& other)
{
    if (this == &other) return *this;
    Record row(other.fRecord); // the one step that needs memory
    MultiPassRecordIter::operator=(other);
    fnRecords = other.fnRecords;
    fnVars = other.fnVars;
    fpLead = other.fpLead;
    fpData = other.fpData;
    fpTrail = other.fpTrail;
    fRecord = std::move(row);
    fFinished = other.fFinished;
    fPosition = other.fPosition;
    return *this;
}

Record* MemoryRecordIterator::Next()
{
    if (fPosition >= fnRecords) { // finished, or no rows at all
        fFinished = 1;
        return nullptr;
    }
    const std::size_t p = AsSize(fPosition);
    const std::size_t nVars = AsSize(fnVars);
    const double* const from = fpData + p * nVars;
    double* const row = fRecord.GetAll();
    row[0] = fpLead[p];
    if (fpTrail != nullptr) row[nVars + 1] = fpTrail[p];
    if (++fPosition == fnRecords) fFinished = 1;
    if (nVars >= kWide) return CopyWideRow(from);
    CopyShortRow(from, nVars, row + 1);
    return &fRecord;
}

// Apart from Next, which then needs no registers saved.
Record* MemoryRecordIterator::CopyWideRow(const double* from)
{
    std::copy_n(from, fnVars, fRecord.GetAll() + 1);
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
