#pragma once

namespace tl {

/// Sleeps for less than a second, or until a signal arrives.
void pause(unsigned int microseconds);

}  // namespace tl
