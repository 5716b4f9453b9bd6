// The doubles that every domain has to say something about.
#pragma once

#include "modelcore/common/MCMV.h"

#include <limits>

constexpr double kMissing = MCCommon_930::MCMV::gMissingValue;
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
