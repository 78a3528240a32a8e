#pragma once

#include <string>

#include "system/OrdinaryFile.h"

namespace tool {

/// "/etc/device-searchtype", whose first line is the identifier prefix of one type.
extern const char* const IDENTIFIER_FILE;

/// What the library would find there.  The library reads one line of whatever is there, so check
/// this first: a pipe would block it forever, and an endless line would use up all memory.
struct IdentifierFile {
    OrdinaryFile::State state_;
    int error_;              ///< errno, if CLOSED
    bool endless_;           ///< its first line is longer than any prefix
    std::string firstLine_;  ///< without the newline

    bool isSafe() const { return state_ == OrdinaryFile::READABLE && !endless_; }
};

IdentifierFile readIdentifierFile();

}  // namespace tool
