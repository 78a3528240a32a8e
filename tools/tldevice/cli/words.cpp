#include "cli/words.h"

#include <algorithm>

#include "cli/commands.h"
#include "text/nearest.h"
#include "text/wrap.h"

namespace tool {

namespace {

std::vector<std::string> commandNames(const Command&)
{
    std::vector<std::string> names;
    for (const Command* command : commands())
        names.emplace_back(command->name_);
    return names;
}

void addNames(const std::vector<FieldName>& fields, std::vector<std::string>& names)
{
    for (const FieldName& field : fields)
        if (std::find(names.begin(), names.end(), field.name_) == names.end())
            names.emplace_back(field.name_);
}

// All fields of its answers, except in nested objects, which only JSON has.
std::vector<std::string> fieldNames(const Command& command)
{
    std::vector<std::string> names;
    for (const Shape& shape : command.answers_) {
        if (!shape.parts_.empty())
            continue;
        addNames(shape.fields_, names);
        addNames(shape.maybeFields_, names);
        for (const auto* lists : {&shape.lists_, &shape.maybeLists_})
            for (const ListName& list : *lists)
                addNames(list.fields_, names);
    }
    return names;
}

std::vector<std::string> colourWords(const Command&)
{
    return {"auto", "always", "never"};
}

}  // namespace

// clang-format off
const Words FIELD_NAMES   { Words::Are::LISTED, fieldNames,   "field",       nullptr };
const Words COMMAND_NAMES { Words::Are::LISTED, commandNames, "command",     "tldevice --help" };
const Words COLOUR_WORDS  { Words::Are::LISTED, colourWords,  "colour mode", nullptr };
// clang-format on

Option fieldOption()
{
    return option("--field", "F", FIELD_NAMES, "print only the value of this field");
}

std::string suggestion(const std::string& word, const std::vector<std::string>& known)
{
    const std::string meant = nearest(word, known);
    return meant.empty() ? "" : "; did you mean '" + meant + "'?";
}

std::string refusal(const Words& words, const Command& command, const std::string& word)
{
    if (words.called_ == nullptr)
        return "";
    const std::vector<std::string> known = words.list_(command);
    if (std::find(known.begin(), known.end(), word) != known.end())
        return "";

    const std::string no = std::string("unknown ") + words.called_ + " '" + word + "'";
    const std::string meant = suggestion(word, known);
    if (!meant.empty())
        return no + meant;
    return no + "; " +
           (words.listedBy_ != nullptr
                ? std::string("'") + words.listedBy_ + "' lists them"
                : std::string("the ") + words.called_ + "s are " + joined(known, ", "));
}

}  // namespace tool
