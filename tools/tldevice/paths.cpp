#include "Arguments.h"
#include "bytes.h"
#include "layout.h"
#include "output.h"

namespace tool {

namespace {

int add(const char* layout, const tl::FacadeInfo& info, const PathRow& row, std::vector<Place>& out)
{
    out.push_back(placeOf(layout, info, row));
    const Place& place = out.back();
    if (place.error_ != 0)
        complain("cannot look at '" + place.path_ + "': " + reason(place.error_));
    return place.error_;
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
        answer.fields_ = pathFieldsOf(places[0]);
    } else {
        answer.lists_.push_back(pathList(places));
    }
    return arguments.print(answer, error == 0 ? EXIT_YES : EXIT_TROUBLE);
}

}  // namespace tool
