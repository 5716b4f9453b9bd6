// Running linreg and reading its document.
#pragma once

#include "support/Program.h"

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

inline std::vector<std::string> LinregCommand(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), LINREG_PROGRAM);
    return arguments;
}

inline ProgramResult Linreg(std::vector<std::string> arguments, const std::string& input = {})
{
    return RunProgram(LinregCommand(std::move(arguments)), input);
}

/// Runs linreg with --xml and returns the document; a failure of the run is a failure of the test.
inline std::string LinregDocument(std::vector<std::string> arguments, const std::string& input = {})
{
    const TemporaryFolder folder;
    arguments.insert(arguments.end(), {"--quiet", "--xml", folder.File("fit.xml")});
    const ProgramResult result = Linreg(arguments, input);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out + result.err, "");
    return ReadFile(folder.File("fit.xml"));
}

/// The text of a Statistic in the block of a document that begins with the given element; empty when it is not there.
inline std::string StatisticText(const std::string& document, const std::string& blockStart, const std::string& name)
{
    const std::size_t begin = document.find(blockStart);
    if (begin == std::string::npos) return {};
    const std::string block = document.substr(begin, document.find("</StructuredData>", begin) - begin);
    const std::string key = "<Statistic name=\"" + name + "\" value=\"";
    const std::size_t value = block.find(key);
    if (value == std::string::npos) return {};
    const std::size_t start = value + key.size();
    return block.substr(start, block.find('"', start) - start);
}

inline double Number(const std::string& text)
{
    return text.empty() || text == "__MISSING__" ? std::nan("") : std::strtod(text.c_str(), nullptr);
}

/// A number of the model as a whole: "rSquared", "F", "residualDF", ...
inline double ModelStatistic(const std::string& document, const std::string& name)
{
    return Number(StatisticText(document, "<StructuredData description=\"Model\"", name));
}

/// A number of one parameter: "estimate", "stdError", ...
inline double ParameterStatistic(const std::string& document, const std::string& parameter, const std::string& name)
{
    return Number(StatisticText(document, "<RegressionParameter name=\"" + parameter + "\"", name));
}
