// What the rejection methods share.
#pragma once

namespace MCMath_930::internal {

/// Each of the methods accepts a trial with probability 0.3 or more unless it says otherwise, so that a thousand
/// refusals in a row mean a broken uniform source (one that returns a NaN, or the same number for ever). The variate is
/// then missing; without a bound the caller would hang.
constexpr int kMaxTrials = 1000;

} // namespace MCMath_930::internal
