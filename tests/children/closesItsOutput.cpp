// closesItsOutput READY GO: closes both streams and whatever else it inherited but GO, which ends READY as well, and
// exits with 3 when GO comes to its end.
#include <unistd.h>

#include <cstdlib>

int main(int, char** argv)
{
    const int ready = std::atoi(argv[1]);
    const int go = std::atoi(argv[2]);
    for (int fd = 1; fd < 256; ++fd)
        if (fd != ready && fd != go)
            ::close(fd);
    ::close(ready);  // the last one: whoever waits for it knows that the others are closed

    char byte = 0;
    (void)!::read(go, &byte, 1);
    return 3;
}
