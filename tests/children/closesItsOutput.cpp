// closesItsOutput READY GO: closes both streams and everything else it inherited, including READY,
// except GO; exits with 3 at the end of GO.
#include <unistd.h>

#include <cstdlib>

int main(int, char** argv)
{
    const int ready = std::atoi(argv[1]);
    const int go = std::atoi(argv[2]);
    for (int fd = 1; fd < 256; ++fd)
        if (fd != ready && fd != go)
            ::close(fd);
    ::close(ready);  // last: the reader then knows that the others are closed

    char byte = 0;
    (void)!::read(go, &byte, 1);
    return 3;
}
