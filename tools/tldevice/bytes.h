#pragma once

#include <string>

/// How bytes that no reader expects are shown.  Nothing is ever dropped, and every form can be undone.
///
///     escaped       people, --plain   \\ \t \n \r, and \xHH for other control characters and for
///                                     what is not UTF-8
///     jsonText      --json            \\, and \xHH for what is not UTF-8; JSON knows the others
///     shellQuoted   --shell           'as it is', with each ' as '\''
namespace tool {

std::string escaped(const std::string& bytes);

std::string jsonText(const std::string& bytes);

/// What jsonText() was made of.
std::string bytesOfJsonText(const std::string& text);

std::string shellQuoted(const std::string& bytes);

}  // namespace tool
