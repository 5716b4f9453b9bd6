#include "common/CommandLine.h"

#include "common/Failure.h"

#include <iostream>

namespace procedure {

bool ParseCommandLine(CLI::App& app, int argc, char** argv)
{
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        std::cout << app.help();
        return false;
    } catch (const CLI::ParseError& error) {
        throw Failure(std::string(error.what()) + " (--help lists the options)");
    }
    return true;
}

void CheckOption(bool holds, const char* complaint)
{
    if (!holds) throw Failure(complaint);
}

} // namespace procedure
