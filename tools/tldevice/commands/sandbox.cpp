#include "cli/Arguments.h"
#include "cli/words.h"
#include "commands/words.h"
#include "device/layout.h"
#include "sandbox/asDevice.h"
#include "sandbox/state.h"
#include "system/output.h"
#include "text/bytes.h"

namespace tool {

namespace {

int say(const Arguments& arguments, const SandboxTree& tree, State state,
        const std::string& forPeople)
{
    Answer answer;
    answer.fields_ = sandboxFieldsOf(tree, state);
    answer.people_ = forPeople;
    return arguments.print(answer, EXIT_YES);
}

int init(const Arguments& arguments)
{
    SandboxTree tree;
    tree.make();
    return say(arguments, tree, State::COMPLETE, "the sandbox is complete: " + tree.root() + "\n");
}

int status(const Arguments& arguments)
{
    const SandboxTree tree;
    const SandboxTree::Survey survey = tree.survey();
    Answer answer = sandboxAnswer(tree, survey);
    answer.people_ = inColumn(answer.fields_) + "\n" +
                     aligned(pathList(placesOf("sandbox", tl::devel)).rows_, arguments.header());
    for (const Warning& warning : survey.warnings_)
        answer.people_ += "\nWarning: " + escaped(warning.message_) + ".\n";
    return arguments.print(answer, stateOf(survey) == State::COMPLETE ? EXIT_YES : EXIT_NO);
}

int clean(const Arguments& arguments)
{
    SandboxTree tree;
    if (!tree.survey().exists_)
        return say(arguments, tree, State::MISSING, tree.root() + " does not exist\n");

    const std::vector<std::string> kept = tree.remove();
    if (kept.empty())
        return say(arguments, tree, State::MISSING, "removed " + tree.root() + "\n");
    for (std::size_t i = 1; i < kept.size(); ++i)
        complain(kept[i]);
    throw Failure{EXIT_TROUBLE, FailureCode::NOT_REMOVED, kept[0]};
}

std::vector<std::string> actions(const Command&)
{
    return {"init", "status", "clean"};
}

const Words ACTIONS{Words::Are::LISTED, actions, "action"};

int sandbox(const Arguments& arguments)
{
    if (arguments.has("as"))
        return becomeProgramAs(arguments.value("as"), arguments.program());

    const std::string action = arguments.value("ACTION");
    if (action == "init")
        return init(arguments);
    if (action == "status")
        return status(arguments);
    if (action == "clean")
        return clean(arguments);
    throw wrongUse("missing action: init, status, clean or --as ID CMD");
}

}  // namespace

const Command& sandboxCommand()
{
    static const Command command = [] {
        Command is;
        is.name_ = "sandbox";
        is.usage_ = {"init | status | clean [--field F]", "--as ID [--] CMD [ARG...]"};
        is.summary_ = "manage the sandbox, or run a program as another device";
        is.says_ =
            "The sandbox layout keeps all of the update manager's files below \"/tmp/upmand\".  "
            "init creates its directories, status shows them and clean removes \"/tmp/upmand\".  "
            "They follow no symbolic link, and refuse to change anything if part of the tree "
            "belongs to another user; only root's clean removes everything.  --as runs CMD in a "
            "new UTS namespace with the host name ID and exits with CMD's status; 125, 126 and "
            "127 mean the same as for run.  CMD uses the real paths unless it chooses the "
            "sandbox itself.";
        is.operands_ = {operand("ACTION", ACTIONS, "init, status or clean"), program()};
        is.options_ = {option("--as", "ID", DEVICE_TYPES, "run CMD with the host name ID"),
                       fieldOption()};
        is.atMostOneOf_ = {
            {"as", "ACTION"}, {"as", "plain"}, {"as", "json"}, {"as", "shell"}, {"as", "field"}};
        is.runsProgram_ = "as";
        is.fields_ = sandboxFields();
        is.answers_ = {{"sandbox",
                        sandboxFields(),
                        {},
                        {},
                        {{"paths", pathFields()}, {"warnings", warningFields()}}}};
        is.examples_ = {{"Create the sandbox, on a workstation.", "tldevice sandbox init"},
                        {"Run a program as on a kr30, with the real paths.",
                         "tldevice sandbox --as kr30 uname -n"},
                        {"Remove the sandbox.", "tldevice sandbox clean"}};
        is.run_ = sandbox;
        return is;
    }();
    return command;
}

}  // namespace tool
