// exitsWith CODE: exits normally.
#include <cstdlib>

int main(int, char** argv)
{
    return std::atoi(argv[1]);
}
