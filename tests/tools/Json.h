// Running a program with --format json and looking things up in what it prints.
#pragma once

#include "support/Program.h"

#include "modelcore/modelcore.h"

#include <cmath>
#include <string>
#include <vector>

inline MCXML_930::JsonObject JsonOf(const char* program, std::vector<std::string> arguments,
                                    const std::string& input = {}, int status = 0)
{
    arguments.insert(arguments.begin(), program);
    arguments.insert(arguments.end(), {"--format", "json"});
    const ProgramResult result = RunProgram(arguments, input);
    EXPECT_EQ(result.status, status) << result.err;
    MCXML_930::JsonObject json;
    MCXML_930::JsonObject::Problem problem;
    EXPECT_TRUE(MCXML_930::JsonObject::Parse(result.out, json, &problem)) << problem.GetText() << result.out;
    return json;
}

/// A number of the row of a table whose first member is name; of an object when name is empty. NaN when it is not there.
inline double NumberIn(const MCXML_930::JsonObject& json, const std::string& table, const std::string& name,
                       const std::string& field)
{
    const MCXML_930::JsonObject& part = json[table];
    double number = std::nan("");
    if (name.empty()) {
        part[field].Read(number);
        return number;
    }
    for (const MCXML_930::JsonObject& row : part.Elements())
        if (row.Size() > 0 && row.At(0)->GetText() == name) {
            row[field].Read(number);
            return number;
        }
    return number;
}
