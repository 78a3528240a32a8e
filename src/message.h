#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace tl {

/// The parts, concatenated.  Use this for messages: each chain of `+` would cost half a kilobyte of
/// code.
std::string message(std::initializer_list<std::string_view> parts);

/// `value` in decimal, whatever the locale.
std::string decimal(int value);
std::string decimal(unsigned long value);

/// A line on standard output, flushed.
void printLine(const std::string& text);

}  // namespace tl
