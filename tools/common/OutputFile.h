// A file that appears whole or not at all.
#pragma once

#include "modelcore/modelcore.h"

#include <functional>
#include <ostream>
#include <string>

namespace procedure {

/// Output that is written to a temporary file beside its place and takes that place, or that of an older file, only
/// when it is complete. What was not put in place is removed. An older file keeps its mode; one that is read-only is
/// refused. Something that is no file, such as a pipe or /dev/stdout, is written to directly when the output is put in
/// place.
class OutputFile {
public:
    /// Looks whether path can be written, so that nobody waits for a result that has no place. Throws Failure.
    explicit OutputFile(const std::string& path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Lets write fill the temporary file. Throws Failure when it cannot be written.
    void Write(const std::function<void(std::ostream&)>& write);

    /// Moves the temporary file to its place. Throws Failure when that is impossible and Interrupted when the user stops
    /// a pipe that nobody reads.
    void PutInPlace(MCMath_930::MCCancelInfo& cancel);

    /// Whether both lead to the same file, which one of them would lose.
    bool IsSameFile(const OutputFile& other) const { return fIsFile && other.fIsFile && fPlace == other.fPlace; }
    const std::string& Path() const { return fPath; }

private:
    [[noreturn]] void Refuse(const std::string& why) const;
    void WriteDirect(MCMath_930::MCCancelInfo& cancel) const;

    std::string fPath;      // as the user named it
    std::string fPlace;     // where it leads
    std::string fTemporary; // empty: none
    std::string fDirect;    // what goes to something that is no file
    bool fIsFile = true;
};

} // namespace procedure
