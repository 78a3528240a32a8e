#pragma once

#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "text/names.h"

namespace tool {

/// A value of an answer.  Its strings hold raw bytes; every form escapes them in its own way.
/// It is no JSON value: nearly every source includes this header, and the JSON library's takes
/// seconds to compile.
using Value = std::variant<std::string, std::vector<std::string>, bool, long long,
                           unsigned long long, double>;

/// The type of a field's value, for the schema.
enum class Type { TEXT, TEXTS, TRUTH, INTEGER, NUMBER };

/// The name of a field in `--field NAME`, in JSON and, as TL_NAME, in a shell; its human-readable
/// title; and its line in the manual.
struct FieldName {
    const char* name_;
    const char* title_;
    const char* says_;
    Type type_;
    std::vector<const char*> words_;  ///< all possible values; empty: any
};

/// The description of `field`, with its possible values.
std::string described(const FieldName& field);

template <class T>
constexpr Type typeOf()
{
    if (std::is_same_v<T, bool>)
        return Type::TRUTH;
    if (std::is_same_v<T, std::vector<std::string>>)
        return Type::TEXTS;
    if (std::is_integral_v<T>)
        return Type::INTEGER;
    return std::is_floating_point_v<T> ? Type::NUMBER : Type::TEXT;
}

/// A field of `Record` and how to get its value: a member, or a function that takes the record.
/// One table of these drives all forms of an answer, the manual and the schema.
///
///     const Field<Place> PATH_FIELDS[] = {
///         { "path",   "path",   "the path",                    &Place::path_ },
///         { "exists", "exists", "whether anything exists there",  [](const Place& p) { return ...; } },
///     };
template <class Record>
class Field {
public:
    /// `words`: all possible values, if the type does not define them.
    template <class Get>
    Field(const char* name, const char* title, const char* says, Get get,
          std::vector<const char*> words = {})
        : is_{name, title, says, typeOf<Result<Get>>(), std::move(words)},
          get_([get](const Record& record) { return valueOf(std::invoke(get, record)); })
    {
        if constexpr (std::is_enum_v<Result<Get>>)
            is_.words_ = everyName<Result<Get>>();
    }

    const FieldName& is() const { return is_; }
    Value of(const Record& record) const { return get_(record); }

private:
    template <class Get>
    using Result = std::decay_t<std::invoke_result_t<Get, const Record&>>;

    template <class T>
    static Value valueOf(const T& value)
    {
        if constexpr (std::is_enum_v<T>)
            return std::string(nameOf(value));
        else if constexpr (std::is_same_v<T, bool> || !std::is_integral_v<T>)
            return value;
        else if constexpr (std::is_signed_v<T>)
            return static_cast<long long>(value);
        else
            return static_cast<unsigned long long>(value);
    }

    FieldName is_;
    std::function<Value(const Record&)> get_;
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
        row.push_back({&field.is(), field.of(record)});
    return row;
}

template <class Record, std::size_t N, class Records>
std::vector<Row> rowsOf(const Field<Record> (&fields)[N], const Records& records)
{
    std::vector<Row> rows;
    rows.reserve(records.size());
    for (const Record& record : records)
        rows.push_back(rowOf(fields, record));
    return rows;
}

template <class Record, std::size_t N>
std::vector<FieldName> namesOf(const Field<Record> (&fields)[N])
{
    std::vector<FieldName> names;
    for (const Field<Record>& field : fields)
        names.push_back(field.is());
    return names;
}

}  // namespace tool
