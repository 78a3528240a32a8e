#pragma once

#include <string>

#include "answer/Answer.h"

namespace tool {

/// An object with only the schema number.
Value document();

/// The fields of a row, the rows of a list, and a whole answer without the schema number.  Escapes
/// bytes that are not UTF-8.
Value json(const Row& row);
Value json(const std::vector<Row>& rows);
Value json(const Answer& answer);

/// A document that reports a failure.
Value errorDocument(FailureCode code, const std::string& message);

/// Indented, with a newline at the end.
std::string printed(const Value& json);

}  // namespace tool
