#include "Spool.h"

#include "common/Failure.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include <unistd.h>

namespace logreg {

using model::CaseBlock;
using procedure::Failure;

namespace {

[[noreturn]] void Refuse()
{
    throw Failure(std::string("the temporary file of the cases cannot be used: ") + std::strerror(errno) +
                  " (TMPDIR names the folder)");
}

template <class T>
void Put(std::FILE* file, const std::vector<T>& values)
{
    if (!values.empty() && std::fwrite(values.data(), sizeof(T), values.size(), file) != values.size()) Refuse();
}

template <class T>
void Get(std::FILE* file, std::vector<T>& values, std::size_t count)
{
    values.resize(count);
    if (count > 0 && std::fread(values.data(), sizeof(T), count, file) != count) Refuse();
}

} // namespace

Spool::Spool()
{
    std::error_code error;
    std::filesystem::path folder = std::filesystem::temp_directory_path(error);
    if (error) folder = ".";
    std::string name = (folder / "logreg-XXXXXX").string();
    const int descriptor = mkstemp(name.data());
    if (descriptor < 0) Refuse();
    unlink(name.c_str());
    fFile.reset(fdopen(descriptor, "w+b"));
    if (!fFile) Refuse();
}

void Spool::Write(const CaseBlock& block)
{
    const std::array<std::size_t, 7> sizes{static_cast<std::size_t>(block.cases),
                                           static_cast<std::size_t>(block.columns),
                                           block.values.size(),
                                           block.cellColumns.size(),
                                           block.cellValues.size(),
                                           block.frequencies.size(),
                                           block.weights.size()};
    if (std::fwrite(sizes.data(), sizeof sizes, 1, fFile.get()) != 1) Refuse();
    Put(fFile.get(), block.values);
    Put(fFile.get(), block.cellColumns);
    Put(fFile.get(), block.cellValues);
    Put(fFile.get(), block.frequencies);
    Put(fFile.get(), block.weights);
}

void Spool::Rewind()
{
    if (std::fseek(fFile.get(), 0, SEEK_SET) != 0) Refuse();
}

bool Spool::Read(CaseBlock& block)
{
    std::array<std::size_t, 7> sizes{};
    if (std::fread(sizes.data(), sizeof sizes, 1, fFile.get()) != 1) {
        if (std::ferror(fFile.get()) != 0) Refuse();
        return false;
    }
    block.cases = static_cast<int>(sizes[0]);
    block.columns = static_cast<int>(sizes[1]);
    Get(fFile.get(), block.values, sizes[2]);
    Get(fFile.get(), block.cellColumns, sizes[3]);
    Get(fFile.get(), block.cellValues, sizes[4]);
    Get(fFile.get(), block.frequencies, sizes[5]);
    Get(fFile.get(), block.weights, sizes[6]);
    return true;
}

} // namespace logreg
