#include "common/OutputFile.h"

#include "common/Failure.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
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
    const bool exists = fs::exists(path, error);
    fPlace = (exists ? fs::canonical(path, error) : fs::weakly_canonical(path, error)).string();
    if (error) fPlace = path;
    const fs::file_status status = fs::status(fPlace, error);
    if (fs::is_directory(status)) Refuse("it is a directory");
    fIsFile = !fs::exists(status) || fs::is_regular_file(status);
    if (!fIsFile) return;

    const bool readOnly =
        (status.permissions() & (fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write)) ==
        fs::perms::none;
    if (exists && (readOnly || access(fPlace.c_str(), W_OK) != 0)) Refuse("it is read-only");
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
        std::ostringstream text;
        write(text);
        fDirect = std::move(text).str();
        return;
    }
    std::string name = fPlace + ".XXXXXX";
    const int descriptor = mkstemp(name.data());
    if (descriptor < 0) Refuse(std::strerror(errno));
    fTemporary = name;
    // mkstemp makes a private file; the document gets the mode of the file that it replaces, or that of any new file.
    const mode_t mask = umask(0);
    umask(mask);
    struct stat older {};
    const bool replaces = stat(fPlace.c_str(), &older) == 0;
    fchmod(descriptor, replaces ? older.st_mode & 07777 : 0666 & ~mask);
    close(descriptor);

    std::ofstream file(fTemporary, std::ios::binary);
    write(file);
    file.close();
    if (!file) Refuse("the disk may be full");
}

// Without blocking, so that a pipe that nobody reads can be given up.
void OutputFile::WriteDirect(MCMath_930::MCCancelInfo& cancel) const
{
    constexpr int kMilliseconds = 200;
    const auto stopIfAsked = [&] {
        if (cancel.IsCancel()) throw Interrupted();
    };
    struct Descriptor {
        int number = -1;
        ~Descriptor()
        {
            if (number >= 0) close(number);
        }
    } file;
    for (;;) {
        file.number = open(fPlace.c_str(), O_WRONLY | O_APPEND | O_NONBLOCK | O_CLOEXEC);
        if (file.number >= 0) break;
        if (errno != ENXIO && errno != EINTR) Refuse(std::strerror(errno)); // ENXIO: a named pipe without a reader
        stopIfAsked();
        poll(nullptr, 0, kMilliseconds);
    }
    for (std::size_t written = 0; written < fDirect.size();) {
        const ssize_t count = write(file.number, fDirect.data() + written, fDirect.size() - written);
        if (count >= 0) {
            written += static_cast<std::size_t>(count);
            continue;
        }
        if (errno != EAGAIN && errno != EINTR) Refuse(std::strerror(errno));
        stopIfAsked();
        pollfd wanted{file.number, POLLOUT, 0};
        poll(&wanted, 1, kMilliseconds);
    }
}

void OutputFile::PutInPlace(MCMath_930::MCCancelInfo& cancel)
{
    if (!fIsFile) {
        WriteDirect(cancel);
        return;
    }
    if (std::rename(fTemporary.c_str(), fPlace.c_str()) != 0) Refuse(std::strerror(errno));
    fTemporary.clear();
}

} // namespace procedure
