#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// A directory for one test, removed with its contents at the end.  path() ends in "/".
class TemporaryDirectory {
public:
    TemporaryDirectory()
    {
        std::string name = std::filesystem::temp_directory_path() / "tldevice-test.XXXXXX";
        path_ = std::string(::mkdtemp(name.data())) + "/";
    }
    ~TemporaryDirectory() { std::filesystem::remove_all(path_); }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::string& path() const { return path_; }

    /// Writes a file below the directory.  \returns its path.
    std::string file(const std::string& name, const std::string& content) const
    {
        std::ofstream(path_ + name, std::ios::binary) << content;
        return path_ + name;
    }

private:
    std::string path_;
};

inline std::string contentOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}
