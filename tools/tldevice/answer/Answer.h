#pragma once

#include <optional>
#include <string>
#include <vector>

#include "answer/Field.h"
#include "system/Failure.h"

namespace tool {

/// A list within an answer.
struct List {
    const char* name_;  ///< JSON key; TL_NAME_1_FIELD in a shell
    std::vector<Row> rows_;
};

/// A nested object of an answer.
struct Part {
    const char* name_;
    Row fields_;
    std::vector<List> lists_;
};

/// The answer to a query, in no particular form yet.
struct Answer {
    Row fields_;
    std::vector<Part> parts_;  ///< nested objects; only JSON has them
    std::vector<List> lists_;

    std::string people_;  ///< the human-readable form; "": fields_ and lists_ in columns
    std::optional<FailureCode> errorCode_;  ///< why there is no answer
    std::string error_;                     ///< the same as a message
};

enum class Form { PEOPLE, PLAIN, JSON, SHELL };

/// A Value as text: "true" or "false" for a bool, blanks between several words, numbers as in JSON.
std::string text(const Value& value);

/// The whole answer in one of the forms.  `header`: human-readable lists get a header line.
///
/// Throws Failure if a shell variable cannot hold a value.
std::string inForm(Form form, const Answer& answer, bool header);

/// The assignment of TL_ERROR, empty or the code: the last line of every --shell answer, and the
/// only one after a failure.
std::string errorForShell(const std::optional<FailureCode>& code);

/// The raw bytes of one field and a newline, or nothing if it is empty.  For a field of a list, a
/// line for each row.
std::string oneField(const Answer& answer, const std::string& name);

/// Human-readable: one line for each field, with its title and value.
std::string inColumn(const Row& row);

/// Human-readable: one line for each row, in aligned columns.
std::string aligned(const std::vector<Row>& rows, bool header);

}  // namespace tool
