// What a description says of each column.
#pragma once

#include "Describe.h"

#include "modelcore/modelcore.h"

#include <string>
#include <utility>
#include <vector>

namespace describe {

/// The number rounded to the digits that do not depend on how the data were cut into parts.
double Rounded(double x, int digits = 12);

struct Quantile {
    double share = 0.0;
    double value = MCCommon_930::MCMV::Missing();
    double lowest = MCCommon_930::MCMV::Missing(); ///< the true one lies between these for certain
    double highest = MCCommon_930::MCMV::Missing();
};

struct Bin {
    double from = 0.0;
    double to = 0.0;
    double cases = 0.0;
};

/// One column. Numbers that do not exist are missing.
struct ColumnSummary {
    std::string name;
    std::string kind; ///< number, whole number, binary, factor, identifier, constant or empty
    std::string why;
    double values = 0.0;
    double missing = 0.0;
    double different = 0.0; ///< values, an estimate unless differentIsExact
    bool differentIsExact = true;
    std::vector<std::pair<std::string, double>> missingCodes;

    // Of the numbers.
    double numbers = 0.0;
    double mean = MCCommon_930::MCMV::Missing();
    double stdDeviation = MCCommon_930::MCMV::Missing();
    double skewness = MCCommon_930::MCMV::Missing();
    double kurtosis = MCCommon_930::MCMV::Missing();
    double minimum = MCCommon_930::MCMV::Missing();
    double maximum = MCCommon_930::MCMV::Missing();
    std::vector<Quantile> quantiles;
    double quantileError = 0.0; ///< largest relative error of a quantile
    double rankError = 0.0;     ///< largest error of a share
    std::vector<Bin> bins;

    bool levelsAreKnown = true;
    std::vector<std::pair<std::string, double>> levels; ///< the most frequent values

    bool IsNumeric() const { return numbers > 0.0; }
};

struct Correlation {
    int first = 0; ///< places of the columns
    int second = 0;
    PairStatistics statistics;
};

struct Summary {
    std::vector<ColumnSummary> columns;
    std::vector<Correlation> correlations; ///< of all pairs of columns that are taken as numbers
    std::vector<std::string> warnings;
};

Summary Summarize(const Options& options, const Description& data);

} // namespace describe
