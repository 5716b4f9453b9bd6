// Reading rows one after the other.
#pragma once

#include "modelcore/common/Record.h"
#include "modelcore/modelcore_export.h"

namespace MCCommon_930 {

/// A source of rows, read once from the first to the last. The virtual operations stand in the order of the binary
/// interface.
class MODELCORE_EXPORT RecordIterator {
public:
    virtual ~RecordIterator() = default;

    /// Whether Next will deliver a row.
    virtual bool HasMore() const = 0;

    /// The next row, owned by the iterator and overwritten by the next call; null when there is none.
    virtual Record* Next() = 0;

    /// Why there are no more rows: 0 while there are, otherwise a code of the source.
    virtual int GetFailReason() const = 0;

protected:
    RecordIterator() = default;
    RecordIterator(const RecordIterator&) = default;
    RecordIterator& operator=(const RecordIterator&) = default;
};

} // namespace MCCommon_930
