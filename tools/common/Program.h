// The outermost level of a program.
#pragma once

#include <functional>
#include <string>

namespace procedure {

/// Runs the program and returns its exit status. What it throws becomes one line on standard error.
int RunProgram(const char* name, const std::function<void()>& run);

/// Writes "NAME: MESSAGE" to standard error, one line whatever names and values the message quotes.
void Complain(const char* name, std::string message);

/// Writes text to standard output. Throws Failure when that is impossible.
void Print(const std::string& text);

} // namespace procedure
