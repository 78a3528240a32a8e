#pragma once

#include <string>

void LogXMessage(unsigned int level, const char* format, ...);
void LogXMessage(unsigned int level, const std::string& text);
