#pragma once

#include <string>

namespace platformx {

long long milliseconds();
void say(const std::string& text);

}  // namespace platformx
