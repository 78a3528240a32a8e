#pragma once

#include <cstddef>
#include <string>
#include <variant>
#include <vector>

namespace tool {

using Value =
    std::variant<std::string, bool, long, unsigned long long, double, std::vector<std::string>>;

/// What a field is called everywhere: `--field NAME`, the JSON key, TL_NAME in a shell, and `title_` for
/// people.  `says_` is its line in the manual.
struct FieldName {
    const char* name_;
    const char* title_;
    const char* says_;
};

/// A field of `Record` and how its value is had.  One table of these drives all forms of an answer.
template <class Record>
struct Field {
    FieldName is_;
    Value (*get_)(const Record&);
};

struct Cell {
    const FieldName* is_;
    Value value_;
};

using Row = std::vector<Cell>;

template <class Record, std::size_t N>
Row rowOf(const Field<Record> (&fields)[N], const Record& record)
{
    Row row;
    for (const Field<Record>& field : fields)
        row.push_back({&field.is_, field.get_(record)});
    return row;
}

template <class Record, std::size_t N>
std::vector<FieldName> namesOf(const Field<Record> (&fields)[N])
{
    std::vector<FieldName> names;
    for (const Field<Record>& field : fields)
        names.push_back(field.is_);
    return names;
}

/// A list within an answer.
struct List {
    const char* name_;  ///< JSON key; TL_NAME_1_FIELD in a shell
    std::vector<Row> rows_;
};

/// What a query answers, before it is given a form.
struct Answer {
    Row fields_;
    std::vector<List> lists_;

    std::string people_;  ///< for people, where they get more than the fields in a column
    std::string error_;   ///< the answer is known to be none: what is wrong, for `errorCode_`
    std::string errorCode_;
};

enum class Form { PEOPLE, PLAIN, JSON, SHELL };

/// A Value as text: "true" and "false" for a bool, blanks between words.
std::string text(const Value& value);

/// The whole answer in one of the forms.  `header` puts a heading above lists for people.
///
/// Throws Failure where a shell could not hold a value.
std::string inForm(Form form, const Answer& answer, bool header);

/// The raw bytes of one field, one line for a record.
std::string oneField(const Answer& answer, const std::string& name);

/// "name" and its value, one line for a field, in the form for people.
std::string inColumn(const Row& row);

/// Rows below each other, with aligned columns.
std::string aligned(const std::vector<Row>& rows, bool header);

/// The JSON answer to what failed.
std::string errorInJson(const std::string& code, const std::string& message);

}  // namespace tool
