// The whole public interface of modelcore, and nothing else.
#pragma once

#include "modelcore/common/MCBitSet.h"
#include "modelcore/common/MCCancelInfo.h"
#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/MCException.h"
#include "modelcore/common/MCMV.h"
#include "modelcore/common/MCQueryCancel.h"
#include "modelcore/common/MCStatus.h"
#include "modelcore/modelcore_export.h"
