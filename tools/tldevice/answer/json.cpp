#include "answer/json.h"

#include "text/bytes.h"

namespace tool {

namespace {

constexpr int SCHEMA = 1;

// Escapes a text, or each text of an array, for JSON.
Value escapedTexts(const Value& value)
{
    if (value.is_string())
        return jsonText(value.get<std::string>());
    Value out = value;
    if (value.is_array())
        for (Value& element : out)
            element = jsonText(element.get<std::string>());
    return out;
}

Value error(FailureCode code, const std::string& message)
{
    Value object;
    object["code"] = nameOf(code);
    object["message"] = jsonText(message);
    return object;
}

void addLists(const std::vector<List>& lists, Value& object)
{
    for (const List& list : lists)
        object[list.name_] = json(list.rows_);
}

}  // namespace

Value document()
{
    Value whole;
    whole["schema"] = SCHEMA;
    return whole;
}

Value json(const Row& row)
{
    Value object = Value::object();
    for (const Cell& cell : row)
        object[cell.is_->name_] = escapedTexts(cell.value_);
    return object;
}

Value json(const std::vector<Row>& rows)
{
    Value array = Value::array();
    for (const Row& row : rows)
        array.push_back(json(row));
    return array;
}

Value json(const Answer& answer)
{
    Value object = json(answer.fields_);
    for (const Part& part : answer.parts_) {
        Value& within = object[part.name_] = json(part.fields_);
        addLists(part.lists_, within);
    }
    addLists(answer.lists_, object);
    if (answer.errorCode_)
        object["error"] = error(*answer.errorCode_, answer.error_);
    return object;
}

Value errorDocument(FailureCode code, const std::string& message)
{
    Value whole = document();
    whole["error"] = error(code, message);
    return whole;
}

std::string printed(const Value& json)
{
    return json.dump(2) + "\n";
}

}  // namespace tool
