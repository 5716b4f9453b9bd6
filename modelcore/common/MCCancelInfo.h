// What a computation polls to learn whether it shall stop.
#pragma once

#include "modelcore/common/MCQueryCancel.h"
#include "modelcore/modelcore_export.h"

namespace MCMath_930 {

/// Cancellation that latches: once the query has said stop, every later poll says stop without asking again. It points
/// to the application's query, which may be null (then only SetCancel stops it) and which it never deletes.
///
/// Several threads may share one object only if the query tolerates concurrent calls and the threads poll in turn: the
/// latch is a plain bool.
class MODELCORE_EXPORT MCCancelInfo {
public:
    /// Not cancelled, with the application's query.
    explicit MCCancelInfo(MCCommon_930::MCQueryCancel* query = nullptr) : fpQuery(query) {}

    /// Replaces the query; the latch stays as it is.
    void SetCancelPtr(MCCommon_930::MCQueryCancel* query) { fpQuery = query; }
    /// The query; null when there is none.
    MCCommon_930::MCQueryCancel* GetCancelPtr() const { return fpQuery; }

    /// Sets the latch, as if the query had said stop.
    void SetCancel() { fCancelled = true; }

    /// True when the latch is set; otherwise asks the query's CheckCancel (false without a query) and latches its
    /// answer.
    bool IsCancel();

    /// True when the latch is set; otherwise the answer of the query's PeekCancel (false without a query), not latched.
    bool WillCancel() const;

    /// Writes the state to the diagnostic text stream; the query is not asked.
    void Display() const;

private:
    MCCommon_930::MCQueryCancel* fpQuery;
    bool fCancelled = false;
};

} // namespace MCMath_930
