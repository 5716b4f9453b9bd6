// RecordIterator, MultiPassRecordIter and MemoryRecordIterator.
#include "modelcore/common/MemoryRecordIterator.h"

#include "modelcore/common/MCDisplay.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace MCCommon_930 {

namespace {

constexpr std::size_t kChunk = 4;
constexpr std::size_t kWide = 64;       // from this many columns on the library's copy is the faster one
constexpr std::uintptr_t kAhead = 4096; // bytes

// Rows are short as a rule, and then calling the library's copy costs more than the copy.
inline void CopyShortRow(const double* from, std::size_t count, double* to)
{
    std::size_t j = 0;
    for (; j + kChunk <= count; j += kChunk) std::memcpy(to + j, from + j, kChunk * sizeof(double));
    for (; j < count; ++j) to[j] = from[j];
}

// The processor's own prefetching stops at every page; this does not. An address behind the data is harmless.
inline void FetchAhead(const double* from)
{
#if defined(__GNUC__)
    __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(from) + kAhead));
#else
    static_cast<void>(from);
#endif
}

} // namespace

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
    const double* const from = fpData + p * nVars;
    double* const row = fRecord.GetAll();
    FetchAhead(from);
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
