// Runs a program as a user does, with what it prints caught.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

/// A folder that is gone with the object.
class TemporaryFolder {
public:
    TemporaryFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "modelcore-XXXXXX").string();
        if (mkdtemp(name.data()) != nullptr) fPath = name;
    }
    ~TemporaryFolder() { std::filesystem::remove_all(fPath); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string File(const std::string& name) const { return (fPath / name).string(); }
    std::string Write(const std::string& name, const std::string& text) const
    {
        std::ofstream(File(name), std::ios::binary) << text;
        return File(name);
    }
    std::size_t Count() const
    {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(fPath), {}));
    }

private:
    std::filesystem::path fPath;
};

inline std::string ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

struct ProgramResult {
    int status = -1; ///< exit status, or -signal
    std::string out;
    std::string err;
};

/// A started program. Standard input is a pipe; what the program prints goes to files, so that it never waits for us.
class Program {
public:
    explicit Program(std::vector<std::string> command)
    {
        std::array<int, 2> input{};
        if (pipe2(input.data(), O_CLOEXEC) != 0) return;
        fPid = fork();
        if (fPid == 0) {
            dup2(input[0], STDIN_FILENO);
            dup2(open(fFolder.File("out").c_str(), O_WRONLY | O_CREAT, 0600), STDOUT_FILENO);
            dup2(open(fFolder.File("err").c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO);
            std::vector<char*> arguments;
            for (std::string& argument : command) arguments.push_back(argument.data());
            arguments.push_back(nullptr);
            execvp(arguments[0], arguments.data());
            _exit(127);
        }
        close(input[0]);
        fInput = input[1];
    }

    void Send(const std::string& text) const
    {
        const auto old = std::signal(SIGPIPE, SIG_IGN); // the program may stop reading
        for (std::size_t sent = 0; sent < text.size();) {
            const ssize_t count = write(fInput, text.data() + sent, text.size() - sent);
            if (count <= 0) break;
            sent += static_cast<std::size_t>(count);
        }
        std::signal(SIGPIPE, old);
    }

    void Signal(int number) const { kill(fPid, number); }

    ProgramResult Finish()
    {
        close(fInput);
        int status = 0;
        waitpid(fPid, &status, 0);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), ReadFile(fFolder.File("out")),
                ReadFile(fFolder.File("err"))};
    }

private:
    TemporaryFolder fFolder;
    pid_t fPid = -1;
    int fInput = -1;
};

inline ProgramResult RunProgram(std::vector<std::string> command, const std::string& input = {})
{
    Program program(std::move(command));
    program.Send(input);
    return program.Finish();
}
