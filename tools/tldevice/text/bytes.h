#pragma once

#include <string>

/// Escapes unusual bytes.  Nothing is dropped, and every form is reversible.
///
///     escaped       human-readable, --plain  \\ \t \n \r, and \xHH for other control characters,
///                                            bidirectional and invisible ones, and invalid UTF-8
///     jsonText      --json                   \\, and \xHH for invalid UTF-8; JSON escapes the rest
///     shellQuoted   --shell                  'raw bytes', with each ' as '\''
namespace tool {

std::string escaped(const std::string& bytes);

std::string jsonText(const std::string& bytes);

/// Reverses jsonText().
std::string bytesOfJsonText(const std::string& text);

std::string shellQuoted(const std::string& bytes);

}  // namespace tool
