// The charts of an evaluation.
#pragma once

#include "Evaluation.h"
#include "common/Chart.h"

namespace evaluate {

using procedure::Chart;

/// What share of the events is found among the cases with the highest scores, beside chance and beside a score that
/// makes no mistake.
Chart DrawGains(const Options& options, const Evaluation& evaluation);

/// How many times likelier than on average the event is in each segment, and in all segments up to it.
Chart DrawLift(const Options& options, const Evaluation& evaluation);

/// The receiver operating characteristic.
Chart DrawRoc(const Options& options, const Evaluation& evaluation);

/// What was observed in groups of cases with neighbouring scores, beside what the scores say.
Chart DrawCalibration(const Options& options, const Evaluation& evaluation);

/// How many events and other cases there are at each score, and where the cutoff lies.
Chart DrawHistogram(const Options& options, const Evaluation& evaluation);

} // namespace evaluate
