#include "cli/Arguments.h"
#include "cli/words.h"
#include "commands/words.h"
#include "device/layout.h"
#include "system/output.h"

namespace tool {

namespace {

int add(const char* layout, const tl::FacadeInfo& info, const PathRow& row, std::vector<Place>& out)
{
    out.push_back(placeOf(layout, info, row));
    const Place& place = out.back();
    if (place.error_ != 0)
        complain("cannot access '" + place.path_ + "': " + reason(place.error_));
    return place.error_;
}

int paths(const Arguments& arguments)
{
    const std::string name = arguments.value("NAME");
    std::vector<Place> places;
    int error = 0;
    for (const PathRow& row : pathRows()) {
        if (arguments.has("NAME") && name != row.name_)
            continue;
        if (!arguments.has("sandbox"))
            error |= add("real", tl::release, row, places);
        if (arguments.has("sandbox") || arguments.has("both"))
            error |= add("sandbox", tl::devel, row, places);
    }

    Answer answer;
    if (places.size() == 1)
        answer.fields_ = pathFieldsOf(places[0]);
    else
        answer.lists_.push_back(pathList(places));
    return arguments.print(answer, error == 0 ? EXIT_YES : EXIT_TROUBLE);
}

}  // namespace

const Command& pathsCommand()
{
    static const Command command = [] {
        Command is;
        is.name_ = "paths";
        is.usage_ = {"[NAME] [--real | --sandbox | --both] [--field F]"};
        is.summary_ = "show the update manager's paths and what is there";
        is.says_ = "Directories end in a slash; files do not.";
        is.operands_ = {operand("NAME", PATH_NAMES, "show only this path")};
        is.options_ = {
            flag("--real", "show the real layout (default)"),
            flag("--sandbox", "show the sandbox layout"),
            flag("--both", "show both layouts"),
            fieldOption(),
        };
        is.atMostOneOf_ = {{"real", "sandbox", "both"}};
        is.fields_ = pathFields();
        is.answers_ = {{"path", pathFields()}, {"paths", {}, {{"paths", pathFields()}}}};
        is.examples_ = {{"Print where the update manager keeps its state.",
                         "tldevice paths umStateFile --field path"}};
        is.run_ = paths;
        return is;
    }();
    return command;
}

}  // namespace tool
