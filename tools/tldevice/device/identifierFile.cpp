#include "device/identifierFile.h"

namespace tool {

const char* const IDENTIFIER_FILE = "/etc/device-searchtype";

namespace {

constexpr std::size_t LONGEST_LINE = 4096;

}  // namespace

IdentifierFile readIdentifierFile()
{
    OrdinaryFile file(IDENTIFIER_FILE);
    const std::string text = file.read(LONGEST_LINE);
    const std::size_t end = text.find('\n');
    return {file.state(), file.error(), end == std::string::npos && text.size() == LONGEST_LINE,
            text.substr(0, end)};
}

}  // namespace tool
