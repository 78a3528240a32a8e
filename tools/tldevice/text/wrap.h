#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace tool {

/// The width of human-readable text on standard output: that of the terminal, between 40 and 100
/// columns, minus the last one, where some serial terminals wrap.  0: not a terminal, no limit.
std::size_t textColumns();

/// Wraps `text` at textColumns().  The first line starts in column `first` (0: `column`); the
/// others are indented to `column`.
std::string wrapped(const std::string& text, std::size_t column, std::size_t first = 0);

/// The words in one line, with the separator between them.
std::string joined(const std::vector<std::string>& words, const char* separator);

}  // namespace tool
