#include <ostream>

#include "tl/WatchProcess.h"

namespace {

const char* name(tl::WatchProcessState_t state)
{
    switch (state) {
        // clang-format off
        case tl::WP_NOT_STARTED:            return "WP_NOT_STARTED";
        case tl::WP_EXECUTING:              return "WP_EXECUTING";
        case tl::WP_TIMED_OUT_SIGKILL_SENT: return "WP_TIMED_OUT_SIGKILL_SENT";
        case tl::WP_FINISHED:               return "WP_FINISHED";
        case tl::WP_SIGNAL:                 return "WP_SIGNAL";
        case tl::WP_STOPPED:                return "WP_STOPPED";
        case tl::WP_ERROR:                  return "WP_ERROR";
            // clang-format on
    }
    return "invalid WatchProcessState_t";
}

}  // namespace

std::ostream& tl::operator<<(std::ostream& stream, WatchProcessState_t state)
{
    return stream << name(state);
}
