// copiesItsInput: copies standard input to standard output.
#include <cstdio>

int main()
{
    for (int character = std::getchar(); character != EOF; character = std::getchar())
        std::putchar(character);
}
