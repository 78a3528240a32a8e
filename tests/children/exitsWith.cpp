// exitsWith CODE: ends in the ordinary way.
#include <cstdlib>

int main(int, char** argv)
{
    return std::atoi(argv[1]);
}
