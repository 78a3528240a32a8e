#pragma once

#include <initializer_list>
#include <string_view>

namespace tl {

/// Says the parts, put together, on both of the supervisor's outlets: syslog(3) at `LOG_ERR`, and a
/// line on standard error.  `errno` is left as it was.
void report(std::initializer_list<std::string_view> parts);

}  // namespace tl
