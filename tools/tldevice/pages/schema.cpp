#include <nlohmann/json.hpp>

#include "cli/commands.h"
#include "cli/help.h"
#include "pages/pages.h"

namespace tool {

namespace {

using Json = nlohmann::ordered_json;  // keys in the order of the descriptions

Json ofType(const char* type)
{
    Json schema;
    schema["type"] = type;
    return schema;
}

Json ofOneOf(const std::vector<const char*>& words)
{
    Json schema;
    schema["enum"] = words;
    return schema;
}

Json schemaOf(const FieldName& field)
{
    if (!field.words_.empty())
        return ofOneOf(field.words_);
    switch (field.type_) {
        case Type::TRUTH:
            return ofType("boolean");
        case Type::INTEGER:
            return ofType("integer");
        case Type::NUMBER:
            return ofType("number");
        case Type::TEXTS: {
            Json schema = ofType("array");
            schema["items"] = ofType("string");
            return schema;
        }
        case Type::TEXT:
            break;
    }
    return ofType("string");
}

// Builds the schema of an object: its keys, and which of them are required.
class Object {
public:
    void add(const char* key, const Json& schema, bool always)
    {
        properties_[key] = schema;
        if (always)
            required_.push_back(key);
    }

    void add(const std::vector<FieldName>& fields, bool always = true)
    {
        for (const FieldName& field : fields)
            add(field.name_, schemaOf(field), always);
    }

    void add(const std::vector<ListName>& lists, bool always = true)
    {
        for (const ListName& list : lists) {
            Object row;
            row.add(list.fields_);
            Json schema = ofType("array");
            schema["items"] = row.schema();
            add(list.name_, schema, always);
        }
    }

    void add(const Shape& shape)
    {
        addParts(shape.parts_);
        add(shape.fields_);
        add(shape.maybeFields_, false);
        add(shape.lists_);
        add(shape.maybeLists_, false);
    }

    void addParts(const std::vector<PartShape>& parts)
    {
        for (const PartShape& part : parts) {
            Object object;
            object.add(part.fields_);
            object.add(part.maybeFields_, false);
            object.add(part.lists_);
            add(part.name_, object.schema(), true);
        }
    }

    Json schema() const
    {
        Json schema = ofType("object");
        schema["required"] = required_;
        schema["properties"] = properties_;
        return schema;
    }

private:
    Json properties_ = Json::object();
    Json required_ = Json::array();
};

Json error()
{
    Object error;
    error.add("code", ofOneOf(everyName<FailureCode>()), true);
    error.add("message", ofType("string"), true);
    return error.schema();
}

Object document()
{
    Json one;
    one["const"] = 1;
    Object document;
    document.add("schema", one, true);
    return document;
}

Json reference(const std::string& name)
{
    Json schema;
    schema["$ref"] = "#/$defs/" + name;
    return schema;
}

Json documentOf(const Shape& shape)
{
    Object whole = document();
    whole.add(shape);
    whole.add("error", reference("error"), false);
    return whole.schema();
}

std::vector<Shape> everyShape()
{
    std::vector<Shape> shapes = helpShapes();
    for (const Command* command : commands())
        shapes.insert(shapes.end(), command->answers_.begin(), command->answers_.end());
    return shapes;
}

}  // namespace

std::string schema()
{
    Object failed = document();
    failed.add("error", reference("error"), true);

    Json definitions;
    definitions["error"] = error();
    definitions["error_document"] = failed.schema();
    Json any = Json::array({reference("error_document")});
    for (const Shape& shape : everyShape()) {
        definitions[shape.name_] = documentOf(shape);
        any.push_back(reference(shape.name_));
    }

    Json whole;
    whole["$schema"] = "https://json-schema.org/draft/2020-12/schema";
    whole["title"] = "JSON output of tldevice: answers, run reports and doctor bundles";
    whole["description"] =
        "Keys are only ever added.  In strings, a backslash is doubled, and a byte that is not "
        "valid "
        "UTF-8 becomes \\x and two hexadecimal digits.";
    whole["anyOf"] = any;
    whole["$defs"] = definitions;
    return whole.dump(2) + "\n";
}

}  // namespace tool
