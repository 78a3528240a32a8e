#pragma once

#include <string>
#include <vector>

#include "answer/Answer.h"
#include "device/evidence.h"

/// The identity of a device, as an answer.
namespace tool {

Answer identityAnswer(const Evidence& evidence);
/// With sources, matches and warnings.
Answer explainedAnswer(const Evidence& evidence);

List matchList(const std::vector<Source>& sources);

/// The matches in a text, human-readable.
std::string matchesForPeople(const Source& source, bool colour);

std::vector<FieldName> identityFields();
std::vector<FieldName> sourceFields();
std::vector<FieldName> matchFields();

}  // namespace tool
