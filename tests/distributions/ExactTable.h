// The table of exact values made by tests/tools/distribution_table.py, and the calls that it stands for. Shared by the
// tests and the accuracy program.
#pragma once

#include "modelcore/distributions/MCDistFun.h"

#include <cmath>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

struct ExactPoint {
    std::string function, region;
    std::vector<double> args;
    double expected;
};

inline std::vector<ExactPoint> ReadExactTable(const std::string& path)
{
    std::vector<ExactPoint> points;
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);) {
        std::istringstream words(line);
        ExactPoint point;
        words >> point.function >> point.region;
        for (std::string word; words >> word;) point.args.push_back(std::stod(word));
        point.expected = point.args.back();
        point.args.pop_back();
        points.push_back(std::move(point));
    }
    return points;
}

using Arguments = std::vector<double>;

inline const std::map<std::string, std::function<double(const Arguments&)>>& ExactCalls()
{
    using MCMath_930::MCDistFun;
    static const std::map<std::string, std::function<double(const Arguments&)>> calls{
        {"CdfStdNorm", [](const Arguments& v) { return MCDistFun::CdfStdNorm(v[0]); }},
        {"IdfStdNorm", [](const Arguments& v) { return MCDistFun::IdfStdNorm(v[0]); }},
        {"tavodnlgam", [](const Arguments& v) { return MCDistFun::tavodnlgam(v[0]); }},
        {"CdfBeta", [](const Arguments& v) { return MCDistFun::CdfBeta(v[0], v[1], v[2]); }},
        {"CdfT", [](const Arguments& v) { return MCDistFun::CdfT(v[0], v[1]); }},
        {"SigT", [](const Arguments& v) { return MCDistFun::SigT(v[0], v[1]); }},
        {"CdfF", [](const Arguments& v) { return MCDistFun::CdfF(v[0], v[1], v[2]); }},
        {"SigF", [](const Arguments& v) { return MCDistFun::SigF(v[0], v[1], v[2]); }},
    };
    return calls;
}

inline double RelativeError(double actual, double expected)
{
    if (actual == expected) return 0.0;
    const double error = std::fabs(actual - expected) / std::fabs(expected);
    return std::isnan(error) ? HUGE_VAL : error;
}
