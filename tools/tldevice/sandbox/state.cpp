#include "sandbox/state.h"

#include "device/layout.h"

namespace tool {

namespace {

struct Sandbox {
    std::string root_;
    State state_;
};

// clang-format off
const Field<Sandbox> SANDBOX_FIELDS[] = {
    { "root",  "root",  "root directory of the sandbox",  &Sandbox::root_ },
    { "state", "state", "state of the sandbox",           &Sandbox::state_ },
};
// clang-format on

}  // namespace

State stateOf(const SandboxTree::Survey& survey)
{
    if (!survey.warnings_.empty())
        return State::UNSAFE;
    if (!survey.exists_)
        return State::MISSING;
    return survey.complete_ ? State::COMPLETE : State::INCOMPLETE;
}

Row sandboxFieldsOf(const SandboxTree& tree, State state)
{
    return rowOf(SANDBOX_FIELDS, Sandbox{tree.root(), state});
}

Answer sandboxAnswer(const SandboxTree& tree, const SandboxTree::Survey& survey)
{
    Answer answer;
    answer.fields_ = sandboxFieldsOf(tree, stateOf(survey));
    answer.lists_ = {pathList(placesOf("sandbox", tl::devel)), warningList(survey.warnings_)};
    return answer;
}

std::vector<FieldName> sandboxFields()
{
    return namesOf(SANDBOX_FIELDS);
}

}  // namespace tool
