#include "common/OutputFile.h"

#include "common/Failure.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace procedure {

namespace fs = std::filesystem;

OutputFile::OutputFile(const std::string& path) : fPath(path), fPlace(path)
{
    // /dev/stdout leads to whatever standard output is, which may be a file; it is not ours to replace.
    if (path.starts_with("/dev/")) {
        fIsFile = false;
        return;
    }
    std::error_code error;
    // A link stays a link: the file behind it is the one to replace.
    if (fs::exists(path, error)) fPlace = fs::canonical(path, error).string();
    const fs::file_status status = fs::status(fPlace, error);
    if (fs::is_directory(status)) Refuse("it is a directory");
    fIsFile = !fs::exists(status) || fs::is_regular_file(status);
    if (!fIsFile) return;

    const fs::path folder = fs::path(fPlace).parent_path();
    if (access(folder.empty() ? "." : folder.c_str(), W_OK | X_OK) != 0) Refuse(std::strerror(errno));
}

OutputFile::~OutputFile()
{
    if (!fTemporary.empty()) std::remove(fTemporary.c_str());
}

void OutputFile::Refuse(const std::string& why) const
{
    throw Failure(fPath + ": cannot be written: " + why);
}

void OutputFile::Write(const std::function<void(std::ostream&)>& write)
{
    if (!fIsFile) {
        fDirect = write;
        return;
    }
    std::string name = fPlace + ".XXXXXX";
    const int descriptor = mkstemp(name.data());
    if (descriptor < 0) Refuse(std::strerror(errno));
    fTemporary = name;
    // mkstemp makes a private file; the document gets the rights that any new file of this user has.
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(descriptor, 0666 & ~mask);
    close(descriptor);

    std::ofstream file(fTemporary, std::ios::binary);
    write(file);
    file.close();
    if (!file) Refuse("the disk may be full");
}

void OutputFile::PutInPlace()
{
    if (!fIsFile) {
        std::ofstream device(fPlace, std::ios::binary | std::ios::app);
        fDirect(device);
        device.close();
        if (!device) Refuse("writing failed");
        return;
    }
    if (std::rename(fTemporary.c_str(), fPlace.c_str()) != 0) Refuse(std::strerror(errno));
    fTemporary.clear();
}

} // namespace procedure
