#include "platformx.h"

#include <chrono>
#include <cstdio>

long long platformx::milliseconds()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

void platformx::say(const std::string& text)
{
    std::fprintf(stderr, "maker: %s\n", text.c_str());
}
