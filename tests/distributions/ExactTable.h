// The table of exact values made by tests/tools/distribution_table.py, and the calls that it stands for. Shared by the
// tests and the accuracy program.
#pragma once

#include "modelcore/distributions/MCDistFun.h"

#include <cmath>
#include <cstdlib>
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
    double sensitivity; ///< by what a relative error of the value is multiplied; 1 except for quantiles
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
        for (std::string word; words >> word;) point.args.push_back(std::strtod(word.c_str(), nullptr));
        point.expected = point.args.back();
        point.args.pop_back();
        point.sensitivity = 1.0;
        if (point.function.starts_with("Idf") && point.function != "IdfStdNorm") {
            point.sensitivity = point.args.back();
            point.args.pop_back();
        }
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
        {"CdfChi", [](const Arguments& v) { return MCDistFun::CdfChi(v[0], v[1]); }},
        {"SigChi", [](const Arguments& v) { return MCDistFun::SigChi(v[0], v[1]); }},
        {"IdfChi", [](const Arguments& v) { return MCDistFun::IdfChi(v[0], v[1]); }},
        {"CdfGam", [](const Arguments& v) { return MCDistFun::CdfGam(v[0], v[1], v[2]); }},
        {"PdfGamma", [](const Arguments& v) { return MCDistFun::PdfGamma(v[0], v[1], v[2]); }},
        {"CdfBeta", [](const Arguments& v) { return MCDistFun::CdfBeta(v[0], v[1], v[2]); }},
        {"IdfBeta", [](const Arguments& v) { return MCDistFun::IdfBeta(v[0], v[1], v[2]); }},
        {"IdfT", [](const Arguments& v) { return MCDistFun::IdfT(v[0], v[1], 1e-12, 1e-20); }},
        {"IdfF", [](const Arguments& v) { return MCDistFun::IdfF(v[0], v[1], v[2]); }},
        {"PdfNormalStandard", [](const Arguments& v) { return MCDistFun::PdfNormalStandard(v[0]); }},
        {"PdfT",
         [](const Arguments& v) {
             long err = 0;
             return MCDistFun::PdfT(v[0], v[1], err);
         }},
        {"CdfT", [](const Arguments& v) { return MCDistFun::CdfT(v[0], v[1]); }},
        {"SigT", [](const Arguments& v) { return MCDistFun::SigT(v[0], v[1]); }},
        {"CdfF", [](const Arguments& v) { return MCDistFun::CdfF(v[0], v[1], v[2]); }},
        {"SigF", [](const Arguments& v) { return MCDistFun::SigF(v[0], v[1], v[2]); }},
    };
    return calls;
}

/// The relative error of a value; for a quantile, the relative error of the smaller tail that the exact distribution
/// has there: its row carries, before the exact quantile, how the one changes with the other.
inline double PointError(const ExactPoint& point, double actual)
{
    if (actual == point.expected) return 0.0;
    const double error = std::fabs(actual - point.expected) / std::fabs(point.expected) * point.sensitivity;
    return std::isnan(error) ? HUGE_VAL : error;
}
