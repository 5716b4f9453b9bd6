// Reading rows several times.
#pragma once

#include "modelcore/common/RecordIterator.h"
#include "modelcore/modelcore_export.h"

namespace MCCommon_930 {

/// A source of rows that can be read again from the first one.
class MODELCORE_EXPORT MultiPassRecordIter : public RecordIterator {
public:
    ~MultiPassRecordIter() override = default;

    /// Starts again at the first row. 0 when that worked, otherwise a code of the source.
    virtual int NewPass() = 0;

protected:
    MultiPassRecordIter() = default;
    MultiPassRecordIter(const MultiPassRecordIter&) = default;
    MultiPassRecordIter& operator=(const MultiPassRecordIter&) = default;
};

} // namespace MCCommon_930
