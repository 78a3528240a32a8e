#include "Arguments.h"
#include "bytes.h"
#include "layout.h"
#include "output.h"

namespace tool {

namespace {

struct Place {
    const char* layout_;
    const char* name_;
    std::string path_;
    std::string kind_;
};

// clang-format off
const Field<Place> PATH_FIELDS[] = {
    { { "layout", "layout", "real or sandbox" },                                                    [](const Place& p) -> Value { return std::string(p.layout_); } },
    { { "name",   "name",   "what the library calls it" },                                          [](const Place& p) -> Value { return std::string(p.name_); } },
    { { "path",   "path",   "the path" },                                                           [](const Place& p) -> Value { return p.path_; } },
    { { "exists", "exists", "whether something is there, be it a dangling link" },                  [](const Place& p) -> Value { return p.kind_ != "missing" && p.kind_ != "unknown"; } },
    { { "kind",   "kind",   "directory, file, link, pipe, socket, device, missing or unknown" },    [](const Place& p) -> Value { return p.kind_; } },
};
// clang-format on

int add(const char* layout, const tl::FacadeInfo& info, const PathRow& row, std::vector<Place>& out)
{
    int error = 0;
    const std::string& path = info.*row.path_;
    out.push_back({layout, row.name_, path, kindOf(path, error)});
    if (error != 0)
        complain("cannot look at '" + path + "': " + reason(error));
    return error;
}

bool isPathName(const std::string& name)
{
    for (const PathRow& row : pathRows())
        if (name == row.name_)
            return true;
    return false;
}

}  // namespace

int paths(const Arguments& arguments)
{
    arguments.atMostOneOf({"real", "sandbox", "both"});
    const std::string name = arguments.value("NAME");
    if (arguments.has("NAME") && !isPathName(name))
        throw Failure{
            EXIT_NO, "not_found",
            "there is no path named '" + escaped(name) + "'; 'tldevice paths' lists them"};

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
    if (places.size() == 1) {
        answer.fields_ = rowOf(PATH_FIELDS, places[0]);
    } else {
        answer.lists_.push_back({"paths", {}});
        for (const Place& place : places)
            answer.lists_[0].rows_.push_back(rowOf(PATH_FIELDS, place));
    }
    return arguments.print(answer, error == 0 ? EXIT_YES : EXIT_TROUBLE);
}

std::vector<FieldName> pathFields()
{
    return namesOf(PATH_FIELDS);
}

}  // namespace tool
