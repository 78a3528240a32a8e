// printsEnvironment NAME: the variable's value, or "(unset)".
#include <cstdio>
#include <cstdlib>

int main(int, char** argv)
{
    const char* const value = std::getenv(argv[1]);
    std::printf("%s\n", value == nullptr ? "(unset)" : value);
}
