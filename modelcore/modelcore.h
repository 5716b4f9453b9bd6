// The whole public interface of modelcore, and nothing else.
#pragma once

#include "modelcore/accumulators/MCMeansXProdData.h"
#include "modelcore/accumulators/MCMeansXProducts.h"
#include "modelcore/accumulators/MCProvMeans.h"
#include "modelcore/common/MCBitSet.h"
#include "modelcore/common/MCCancelInfo.h"
#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/MCException.h"
#include "modelcore/common/MCMV.h"
#include "modelcore/common/MCQueryCancel.h"
#include "modelcore/common/MCStatus.h"
#include "modelcore/matrix/IMCRectMatrix.h"
#include "modelcore/matrix/IMCSymMatrix.h"
#include "modelcore/matrix/MCRectMatrix.h"
#include "modelcore/matrix/MCSymMatrix.h"
#include "modelcore/modelcore_export.h"
