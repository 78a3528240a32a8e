// printsArguments WORD...: its argument vector, including its name: one word per line, in brackets.
#include <cstdio>

int main(int argc, char** argv)
{
    for (int i = 0; i < argc; ++i)
        std::printf("[%s]\n", argv[i]);
}
