// How the calling application tells a computation to stop.
#pragma once

#include "modelcore/modelcore_export.h"

namespace MCCommon_930 {

/// Implemented by the calling application and polled by the library, through MCCancelInfo, between the steps of a long
/// computation. The virtual operations stand in the order of the binary interface.
class MODELCORE_EXPORT MCQueryCancel {
public:
    virtual ~MCQueryCancel() = default;

    /// True when the computation shall stop. May do work: show a dialog, handle pending events.
    virtual bool CheckCancel() = 0;

    /// True when a stop is pending. Meant to be cheap and without side effects; the answer is not remembered.
    virtual bool PeekCancel() = 0;

protected:
    MCQueryCancel() = default;
    MCQueryCancel(const MCQueryCancel&) = default;
    MCQueryCancel& operator=(const MCQueryCancel&) = default;
};

} // namespace MCCommon_930
