// The table of exact values made by reference/distribution_table.py, and the calls that it stands for. Shared by the
// tests and the accuracy program.
#pragma once

#include "modelcore/distributions/MCDistFun.h"

#include <cmath>
#include <cstddef>
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

/// A fault code that nobody looks at: a fault shows in the value.
inline long& Err()
{
    static long err = 0;
    return err;
}

/// A function of the table and how many arguments it takes there.
struct ExactCall {
    std::size_t count;
    std::function<double(const Arguments&)> call;
};

inline const std::map<std::string, ExactCall>& ExactCalls()
{
    using MCMath_930::MCDistFun;
    static const std::map<std::string, ExactCall> calls{
        {"CdfStdNorm", {1, [](const Arguments& v) { return MCDistFun::CdfStdNorm(v[0]); }}},
        {"IdfStdNorm", {1, [](const Arguments& v) { return MCDistFun::IdfStdNorm(v[0]); }}},
        {"tavodnlgam", {1, [](const Arguments& v) { return MCDistFun::tavodnlgam(v[0]); }}},
        {"CdfChi", {2, [](const Arguments& v) { return MCDistFun::CdfChi(v[0], v[1]); }}},
        {"SigChi", {2, [](const Arguments& v) { return MCDistFun::SigChi(v[0], v[1]); }}},
        {"IdfChi", {2, [](const Arguments& v) { return MCDistFun::IdfChi(v[0], v[1]); }}},
        {"CdfGam", {3, [](const Arguments& v) { return MCDistFun::CdfGam(v[0], v[1], v[2]); }}},
        {"PdfGamma", {3, [](const Arguments& v) { return MCDistFun::PdfGamma(v[0], v[1], v[2]); }}},
        {"CdfBeta", {3, [](const Arguments& v) { return MCDistFun::CdfBeta(v[0], v[1], v[2]); }}},
        {"IdfBeta", {3, [](const Arguments& v) { return MCDistFun::IdfBeta(v[0], v[1], v[2]); }}},
        {"IdfT", {2, [](const Arguments& v) { return MCDistFun::IdfT(v[0], v[1], 1e-12, 1e-20); }}},
        {"IdfF", {3, [](const Arguments& v) { return MCDistFun::IdfF(v[0], v[1], v[2]); }}},
        {"PdfNormalStandard", {1, [](const Arguments& v) { return MCDistFun::PdfNormalStandard(v[0]); }}},
        {"PdfT", {2, [](const Arguments& v) { return MCDistFun::PdfT(v[0], v[1], Err()); }}},
        {"CdfT", {2, [](const Arguments& v) { return MCDistFun::CdfT(v[0], v[1]); }}},
        {"SigT", {2, [](const Arguments& v) { return MCDistFun::SigT(v[0], v[1]); }}},
        {"CdfF", {3, [](const Arguments& v) { return MCDistFun::CdfF(v[0], v[1], v[2]); }}},
        {"SigF", {3, [](const Arguments& v) { return MCDistFun::SigF(v[0], v[1], v[2]); }}},
        {"NonCentralCdfChi", {3, [](const Arguments& v) { return MCDistFun::NonCentralCdfChi(v[0], v[1], v[2]); }}},
        {"NonCentralCdfF",
         {4, [](const Arguments& v) { return MCDistFun::NonCentralCdfF(v[0], v[1], v[2], v[3], 0.0); }}},
        {"NonCentralCdfT", {3, [](const Arguments& v) { return MCDistFun::NonCentralCdfT(v[0], v[1], v[2], 0.0); }}},
        {"NonCentralPdfT", {3, [](const Arguments& v) { return MCDistFun::NonCentralPdfT(v[0], v[1], v[2], Err()); }}},
        {"CdfBin", {3, [](const Arguments& v) { return MCDistFun::CdfBin(v[0], v[1], v[2], Err()); }}},
        {"PdfBin", {3, [](const Arguments& v) { return MCDistFun::PdfBin(v[0], v[1], v[2], Err()); }}},
        {"PdfNegBin", {3, [](const Arguments& v) { return MCDistFun::PdfNegBin(v[0], v[1], v[2], Err()); }}},
        {"PdfHyper",
         {4,
          [](const Arguments& v) {
              return MCDistFun::PdfHyper(std::lround(v[0]), std::lround(v[1]), std::lround(v[2]), std::lround(v[3]));
          }}},
        {"CDFHyper",
         {4,
          [](const Arguments& v) {
              int err = 0;
              return MCDistFun::CDFHyper(v[0], v[1], v[2], v[3], err);
          }}},
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
