#include "common/Program.h"

#include "common/Failure.h"
#include "common/Progress.h"
#include "common/System.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>

namespace procedure {

void Complain(const char* name, std::string message)
{
    for (char& c : message)
        if (static_cast<unsigned char>(c) < ' ') c = ' ';
    std::fprintf(stderr, "%s: %s\n", name, message.c_str());
}

void Print(const std::string& text)
{
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        throw Failure(std::string("standard output cannot be written: ") + std::strerror(errno));
}

int RunProgram(const char* name, const std::function<void()>& run)
{
    System::PrepareStreams();
    try {
        run();
        return 0;
    } catch (const Doubtful&) {
        return kExitDoubtful;
    } catch (const Interrupted& stop) {
        Complain(name, stop.what());
        return kExitInterrupted + InterruptQuery::Signal();
    } catch (const std::bad_alloc&) {
        Complain(name, "the memory does not suffice");
    } catch (const std::exception& error) {
        Complain(name, error.what());
    }
    return kExitBadInput;
}

} // namespace procedure
