// printsArguments WORD...: its argument vector, its own name first, each word on a line and in brackets.
#include <cstdio>

int main(int argc, char** argv)
{
    for (int i = 0; i < argc; ++i)
        std::printf("[%s]\n", argv[i]);
}
