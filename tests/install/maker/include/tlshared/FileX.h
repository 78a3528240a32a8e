#pragma once

#include <string>

class FileX {
public:
    static bool exists(const std::string& path);
    static int mkdir(const std::string& path, unsigned int mode);
};
