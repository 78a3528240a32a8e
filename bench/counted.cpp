// Runs one column a given number of times and does nothing else, for a tool that counts
// instructions: the difference between two numbers of times is the cost of the work itself.
//
//     counted                     lists the columns
//     counted QUESTION/COLUMN N   runs one

#include <cstdio>
#include <cstdlib>

#include "columns.h"

int main(int argc, char** argv)
{
    for (const bench::Column& column : bench::columns()) {
        const std::string name = column.question + "/" + column.name;
        if (!column.prepare)
            continue;
        if (argc < 3) {
            std::puts(name.c_str());
        } else if (name == argv[1]) {
            column.prepare()(std::strtoull(argv[2], nullptr, 10));
            return 0;
        }
    }
    return argc < 3 ? 0 : 2;
}
