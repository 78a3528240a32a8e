#include "answer/json.h"

#include <nlohmann/json.hpp>

#include "text/bytes.h"

namespace tool {

namespace {

using Json = nlohmann::ordered_json;  // keys in the order of the field tables

constexpr int SCHEMA = 1;

Json inJson(const std::string& bytes)
{
    return jsonText(bytes);
}

Json inJson(const std::vector<std::string>& words)
{
    Json array = Json::array();
    for (const std::string& word : words)
        array.push_back(jsonText(word));
    return array;
}

template <class TruthOrNumber>
Json inJson(TruthOrNumber value)
{
    return value;
}

Json inJson(const Value& value)
{
    return std::visit([](const auto& one) { return inJson(one); }, value);
}

Json document()
{
    Json whole;
    whole["schema"] = SCHEMA;
    return whole;
}

std::string printed(const Json& whole)
{
    return whole.dump(2) + "\n";
}

void addFields(const Row& row, Json& object)
{
    for (const Cell& cell : row)
        object[cell.is_->name_] = inJson(cell.value_);
}

void addLists(const std::vector<List>& lists, Json& object)
{
    for (const List& list : lists) {
        Json& array = object[list.name_] = Json::array();
        for (const Row& row : list.rows_)
            addFields(row, array.emplace_back(Json::object()));
    }
}

void addError(FailureCode code, const std::string& message, Json& object)
{
    Json& error = object["error"];
    error["code"] = nameOf(code);
    error["message"] = jsonText(message);
}

}  // namespace

std::string json(const Value& value)
{
    return inJson(value).dump();
}

std::string jsonDocument(const Answer& answer)
{
    Json whole = document();
    addFields(answer.fields_, whole);
    for (const Part& part : answer.parts_) {
        Json& within = whole[part.name_] = Json::object();
        addFields(part.fields_, within);
        addLists(part.lists_, within);
    }
    addLists(answer.lists_, whole);
    if (answer.errorCode_)
        addError(*answer.errorCode_, answer.error_, whole);
    return printed(whole);
}

std::string jsonDocument(const Row& row)
{
    Json whole = document();
    addFields(row, whole);
    return printed(whole);
}

std::string jsonDocument(FailureCode code, const std::string& message)
{
    Json whole = document();
    addError(code, message, whole);
    return printed(whole);
}

}  // namespace tool
