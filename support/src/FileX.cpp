#include "tlshared/FileX.h"

#include <sys/stat.h>

int FileX::mkdir(const std::string& path, unsigned int mode)
{
    return ::mkdir(path.c_str(), mode);
}
