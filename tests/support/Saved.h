// The saved state of an object: written, and read back from a text.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <new>
#include <random>
#include <sstream>
#include <string>

/// What WriteObjectXML writes: all numbers with all their digits.
template <class T>
std::string Saved(const T& object, int indentation = 1)
{
    std::ostringstream text;
    object.WriteObjectXML(text, indentation);
    return text.str();
}

/// A file with that text, which is gone with the object. No other has its name: tests of one name run side by side, in
/// other suites and other builds.
class SavedFile {
public:
    explicit SavedFile(const std::string& text)
    {
        static const std::string process = std::to_string(std::random_device()()) + "-";
        static int count = 0;
        fPath = ::testing::TempDir() + "modelcore-" + process + std::to_string(++count) + ".xml";
        std::ofstream(fPath, std::ios::binary) << text;
    }
    ~SavedFile() { std::remove(fPath.c_str()); }
    SavedFile(const SavedFile&) = delete;
    SavedFile& operator=(const SavedFile&) = delete;
    const std::string& Path() const { return fPath; }

private:
    std::string fPath;
};

/// What ReadObjectXML returns for that file or text. Throws when memory runs out.
template <class T>
int Restore(T& object, const SavedFile& saved)
{
    std::ifstream file(saved.Path());
    const int lines = object.ReadObjectXML(file);
    if (file.bad()) throw std::bad_alloc(); // which the stream has caught
    return lines;
}
template <class T>
int Restore(T& object, const std::string& text)
{
    return Restore(object, SavedFile(text));
}
