#include "columns.h"

#include <cstdio>
#include <cstdlib>

std::vector<bench::Column>& bench::columns()
{
    static std::vector<Column> all;
    return all;
}

void bench::fail(const std::string& reason)
{
    std::fprintf(stderr, "%s\n", reason.c_str());
    std::exit(1);
}
