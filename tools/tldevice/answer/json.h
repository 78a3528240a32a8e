#pragma once

#include <string>

#include "answer/Answer.h"

namespace tool {

/// A value by itself, on one line.  Its strings must be UTF-8.
std::string json(const Value& value);

/// Whole documents: an object that begins with the schema number, indented, with a newline at the
/// end.  Bytes that are not UTF-8 are escaped.
std::string jsonDocument(const Answer& answer);
std::string jsonDocument(const Row& row);

/// A document that reports a failure.
std::string jsonDocument(FailureCode code, const std::string& message);

}  // namespace tool
