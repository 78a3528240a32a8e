// copiesItsInput: standard input to standard output, up to its end.
#include <cstdio>

int main()
{
    for (int character = std::getchar(); character != EOF; character = std::getchar())
        std::putchar(character);
}
