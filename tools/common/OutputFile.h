// A file that appears whole or not at all.
#pragma once

#include <functional>
#include <ostream>
#include <string>

namespace procedure {

/// Output that is written to a temporary file beside its place and takes that place, or that of an older file, only
/// when it is complete. What was not put in place is removed. Something that is no file, such as a pipe or /dev/stdout,
/// is written to directly when the output is put in place.
class OutputFile {
public:
    /// Looks whether path can be written, so that nobody waits for a result that has no place. Throws Failure.
    explicit OutputFile(const std::string& path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Lets write fill the temporary file. Throws Failure when it cannot be written.
    void Write(const std::function<void(std::ostream&)>& write);

    /// Moves the temporary file to its place.
    void PutInPlace();

private:
    [[noreturn]] void Refuse(const std::string& why) const;

    std::string fPath;      // as the user named it
    std::string fPlace;     // where it leads
    std::string fTemporary; // empty: none
    std::function<void(std::ostream&)> fDirect;
    bool fIsFile = true;
};

} // namespace procedure
