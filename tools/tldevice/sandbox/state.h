#pragma once

#include <vector>

#include "answer/Answer.h"
#include "sandbox/SandboxTree.h"

namespace tool {

/// The state of the sandbox.
enum class State { COMPLETE, INCOMPLETE, MISSING, UNSAFE };

// clang-format off
inline constexpr Name<State> STATES[] = {
    { State::COMPLETE,   "complete" },
    { State::INCOMPLETE, "incomplete" },
    { State::MISSING,    "missing" },
    { State::UNSAFE,     "unsafe" },
};

constexpr const auto& tableOf(State)
{
    return STATES;
}
// clang-format on

State stateOf(const SandboxTree::Survey& survey);

/// Root and state; and the answer of `sandbox status`.
Row sandboxFieldsOf(const SandboxTree& tree, State state);
Answer sandboxAnswer(const SandboxTree& tree, const SandboxTree::Survey& survey);

std::vector<FieldName> sandboxFields();

}  // namespace tool
