// The table of exact values made by reference/distribution_table.py, and the calls that it stands for. Shared by the
// tests and the accuracy program.
#pragma once

#include "modelcore/common/MCMV.h"
#include "modelcore/distributions/MCDistFun.h"

#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <type_traits>
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
        for (std::string word; words >> word;)
            point.args.push_back(word == "missing" ? MCCommon_930::MCMV::Missing()
                                                   : std::strtod(word.c_str(), nullptr));
        point.expected = point.args.back();
        point.args.pop_back();
        point.sensitivity = 1.0;
        if (point.function.starts_with("Idf") && point.function != "IdfStdNorm" && point.region != "domain") {
            point.sensitivity = point.args.back();
            point.args.pop_back();
        }
        points.push_back(std::move(point));
    }
    return points;
}

/// The bounds of the relative error by function, from the table of the guide: "| `CdfChi` | 1e-13 | ...".
inline std::map<std::string, double> ReadBounds(const std::string& path)
{
    std::map<std::string, double> bounds;
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);) {
        const std::size_t end = line.find("` | ");
        if (!line.starts_with("| `") || end == std::string::npos) continue;
        const std::string function = line.substr(3, end - 3);
        const double bound = std::strtod(line.c_str() + end + 4, nullptr);
        if (bound > 0.0 && bound < 1.0) bounds[function] = bound;
    }
    return bounds;
}

using Arguments = std::vector<double>;

/// A function of the table and how many arguments it takes there.
struct ExactCall {
    std::size_t count;
    std::function<double(const Arguments&)> call;
};

/// The argument at a place: a number, a tolerance that the table leaves out, or a fault code that nobody looks at.
template <class Parameter>
decltype(auto) TakeArgument(const Arguments& values, std::size_t place)
{
    using Type = std::remove_cvref_t<Parameter>;
    if constexpr (std::is_lvalue_reference_v<Parameter> && !std::is_const_v<std::remove_reference_t<Parameter>>) {
        static Type code;
        return (code);
    } else if constexpr (std::is_integral_v<Type>) {
        return static_cast<Type>(std::lround(values[place]));
    } else {
        return place < values.size() ? values[place] : 0.0;
    }
}

template <class... Parameters>
ExactCall Of(std::size_t count, double (*function)(Parameters...))
{
    return {count, [function](const Arguments& values) {
                return [&]<std::size_t... Place>(std::index_sequence<Place...>)
                {
                    return function(TakeArgument<Parameters>(values, Place)...);
                }
                (std::index_sequence_for<Parameters...>());
            }};
}

inline const std::map<std::string, ExactCall>& ExactCalls()
{
    using D = MCMath_930::MCDistFun;
    // clang-format off
    static const std::map<std::string, ExactCall> calls{
        {"CdfStdNorm", Of(1, D::CdfStdNorm)}, {"IdfStdNorm", Of(1, D::IdfStdNorm)}, {"tavodnlgam", Of(1, D::tavodnlgam)},
        {"PdfNormalStandard", Of(1, D::PdfNormalStandard)}, {"CdfNorm", Of(3, D::CdfNorm)},
        {"IdfNorm", Of(3, D::IdfNorm)}, {"PdfNormal", Of(3, D::PdfNormal)}, {"CdfChi", Of(2, D::CdfChi)},
        {"SigChi", Of(2, D::SigChi)}, {"IdfChi", Of(2, D::IdfChi)}, {"CdfGam", Of(3, D::CdfGam)},
        {"IdfGam", Of(3, D::IdfGam)}, {"PdfGamma", Of(3, D::PdfGamma)}, {"CdfBeta", Of(3, D::CdfBeta)},
        {"IdfBeta", Of(3, D::IdfBeta)}, {"CdfT", Of(2, D::CdfT)}, {"SigT", Of(2, D::SigT)}, {"IdfT", Of(2, D::IdfT)},
        {"PdfT", Of(2, D::PdfT)}, {"CdfF", Of(3, D::CdfF)}, {"SigF", Of(3, D::SigF)}, {"IdfF", Of(3, D::IdfF)},
        {"CdfBin", Of(3, D::CdfBin)}, {"IdfBin", Of(3, D::IdfBin)}, {"PdfBin", Of(3, D::PdfBin)},
        {"PdfNegBin", Of(3, D::PdfNegBin)}, {"PdfHyper", Of(4, D::PdfHyper)}, {"CDFHyper", Of(4, D::CDFHyper)},
        {"NonCentralCdfChi", Of(3, D::NonCentralCdfChi)}, {"NonCentralCdfF", Of(4, D::NonCentralCdfF)},
        {"NonCentralCdfT", Of(3, D::NonCentralCdfT)}, {"NonCentralPdfT", Of(3, D::NonCentralPdfT)},
        {"FindNCParamChi", Of(3, D::FindNCParamChi)}, {"FindNCParamF", Of(4, D::FindNCParamF)},
        {"FindNCParamT", Of(3, D::FindNCParamT)}};
    // clang-format on
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
