// The record behind a variate generator, copied with it.
#pragma once

#include <memory>
#include <utility>

namespace MCMath_930::internal {

/// A record behind a pointer that copies like a value: each copy has a record of its own. An assignment makes the new
/// record before the old one goes, so that the target is as it was when memory runs out. There is no move that would
/// leave nothing behind.
template <class Record>
class CopiedRecord {
public:
    explicit CopiedRecord(std::unique_ptr<Record> record) : fpRecord(std::move(record)) {}
    CopiedRecord(const CopiedRecord& other) : fpRecord(std::make_unique<Record>(*other.fpRecord)) {}
    CopiedRecord& operator=(const CopiedRecord& other)
    {
        fpRecord = std::make_unique<Record>(*other.fpRecord);
        return *this;
    }
    ~CopiedRecord() = default;

    Record* operator->() const { return fpRecord.get(); }

private:
    std::unique_ptr<Record> fpRecord;
};

} // namespace MCMath_930::internal
