#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "Answer.h"

namespace tool {

using Json = nlohmann::ordered_json;  // keys stay in the order of the field tables

/// An object that holds the schema's number, and nothing else yet.
Json document();

Json json(const Value& value);
Json json(const Row& row);

/// The fields and lists of an answer, without the schema's number.
Json json(const Answer& answer);

Json json(const std::vector<Row>& rows);

/// Indented, with a newline at the end.
std::string printed(const Json& json);

}  // namespace tool
