// printsOnBothStreams: two lines on each stream, alternately.
#include <cstdio>

int main()
{
    for (int line = 1; line <= 2; ++line) {
        std::printf("output %d\n", line);
        std::fflush(stdout);
        std::fprintf(stderr, "error %d\n", line);
    }
}
