#pragma once

#include <string>

namespace tl {

/// Says `text` on both of the supervisor's outlets: syslog(3) at `LOG_ERR`, and a line on standard error.
/// `errno` is left as it was.
void report(const std::string& text);

}  // namespace tl
