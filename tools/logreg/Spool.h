// Cases kept in a temporary file between one reading and the next.
#pragma once

#include "model/CaseReader.h"

#include <cstdio>
#include <memory>

namespace logreg {

/// Blocks of cases as numbers, in a file that has no name: reading them again costs a fraction of reading text, a pipe
/// can be read as often as a file, and whatever ends the program leaves nothing behind.
class Spool {
public:
    /// Throws Failure when there is no room for temporary files.
    Spool();

    void Write(const model::CaseBlock& block);
    void Rewind();
    /// False when there are no more.
    bool Read(model::CaseBlock& block);

private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, Close> fFile;
};

} // namespace logreg
