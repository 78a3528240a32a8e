#pragma once

#include <string>
#include <vector>

#include "answer/Answer.h"
#include "cli/Command.h"

namespace tool {

/// Help for `command`; null: the overview.
Answer helpAnswer(const Command* command);
Answer versionAnswer();

/// The shapes of these two answers.
std::vector<Shape> helpShapes();

}  // namespace tool
