#include "Arguments.h"
#include "SandboxTree.h"
#include "asDevice.h"
#include "bytes.h"
#include "catalogue.h"
#include "layout.h"
#include "output.h"

namespace tool {

namespace {

constexpr const char* COMPLETE = "complete";

struct State {
    std::string root_;
    std::string is_;
};

// clang-format off
const Field<State> STATE_FIELDS[] = {
    { { "root",  "root",  "the sandbox's directory" },                      [](const State& s) -> Value { return s.root_; } },
    { { "state", "state", "complete, incomplete, missing or unsafe" },      [](const State& s) -> Value { return s.is_; } },
};
// clang-format on

std::string stateOf(const SandboxTree& tree, const std::vector<Warning>& warnings)
{
    if (!warnings.empty())
        return "unsafe";
    if (!tree.exists())
        return "missing";
    return tree.isComplete() ? COMPLETE : "incomplete";
}

int say(const Arguments& arguments, const SandboxTree& tree, const char* state,
        const std::string& forPeople)
{
    Answer answer;
    answer.fields_ = rowOf(STATE_FIELDS, State{tree.root(), state});
    answer.people_ = forPeople;
    return arguments.print(answer, EXIT_YES);
}

int init(const Arguments& arguments)
{
    SandboxTree tree;
    tree.make();
    return say(arguments, tree, COMPLETE, "the sandbox is complete: " + tree.root() + "\n");
}

int status(const Arguments& arguments)
{
    Answer answer = sandboxAnswer();
    answer.people_ =
        inColumn(answer.fields_) + "\n" + aligned(answer.lists_[0].rows_, arguments.header());
    for (const Row& warning : answer.lists_[1].rows_)
        answer.people_ += "\nWarning: " + escaped(text(warning.back().value_)) + ".\n";
    return arguments.print(answer,
                           text(answer.fields_.back().value_) == COMPLETE ? EXIT_YES : EXIT_NO);
}

int clean(const Arguments& arguments)
{
    SandboxTree tree;
    if (!tree.exists())
        return say(arguments, tree, "missing", "there is no " + tree.root() + "\n");

    const std::vector<std::string> kept = tree.remove();
    if (kept.empty())
        return say(arguments, tree, "missing", "removed " + tree.root() + "\n");
    for (std::size_t i = 1; i < kept.size(); ++i)
        complain(kept[i]);
    throw Failure{EXIT_TROUBLE, "not_removed", kept[0]};
}

int runAs(const Arguments& arguments)
{
    const auto refused = [](const std::string& message) {
        return Failure{EXIT_SUPERVISOR, "usage", message};
    };
    const std::string id = arguments.value("as");
    if (arguments.has("ACTION") || arguments.form() != Form::PEOPLE)
        throw refused("--as goes with a program alone");
    if (arguments.program().empty())
        throw refused("--as needs a program: tldevice sandbox --as " + escaped(id) + " -- CMD");
    if (tl::DeviceType::toEnum(id) == DT_INVALID)
        throw refused("there is no device type '" + escaped(id) + "'; 'tldevice types' lists them");
    return becomeProgramAs(id, arguments.program());
}

}  // namespace

int sandbox(const Arguments& arguments)
{
    if (arguments.has("as"))
        return runAs(arguments);
    if (!arguments.program().empty())
        throw wrongUse(&arguments.command(), "a program goes with --as ID");

    const std::string action = arguments.value("ACTION");
    if (action == "init")
        return init(arguments);
    if (action == "status")
        return status(arguments);
    if (action == "clean")
        return clean(arguments);
    throw wrongUse(
        &arguments.command(),
        (action.empty() ? "nothing to do" : "there is no action '" + escaped(action) + "'") +
            ": init, status, clean or --as ID -- CMD");
}

Answer sandboxAnswer()
{
    const SandboxTree tree;
    const std::vector<Warning> warnings = tree.warnings();
    return {rowOf(STATE_FIELDS, State{tree.root(), stateOf(tree, warnings)}),
            {pathList(placesOf("sandbox", tl::devel)), warningList(warnings)},
            "",
            "",
            ""};
}

std::vector<FieldName> sandboxFields()
{
    return namesOf(STATE_FIELDS);
}

}  // namespace tool
