#pragma once

#include "cli/Command.h"
#include "health/Check.h"

namespace tool {

/// The full report for a support ticket: `examined`, the answers of the other queries, and the
/// machine.
Answer bundled(const Patient& patient, const Answer& examined);
Shape bundleShape(const Shape& examined);

}  // namespace tool
