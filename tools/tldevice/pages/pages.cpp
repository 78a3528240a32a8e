// tldevice-pages man|schema [FILE]: generates the manual or the JSON Schema from the descriptions
// of the commands, and prints it or writes it to FILE.
//
// The results are committed, so that a cross build has nothing to run.  A test compares them;
// `cmake --build . --target tldevice-pages-update` regenerates them.

#include "pages/pages.h"

#include <fstream>
#include <iostream>

int main(int argc, char** argv)
{
    const std::string kind = argc > 1 ? argv[1] : "";
    if (kind != "man" && kind != "schema")
        return 2;
    const std::string page = kind == "man" ? tool::manual() : tool::schema();
    if (argc < 3)
        return std::cout << page << std::flush ? 0 : 1;
    std::ofstream file(argv[2]);
    return file << page << std::flush ? 0 : 1;
}
