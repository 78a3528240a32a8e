// within SECONDS COMMAND...: runs COMMAND and kills it if it takes longer.  For machines without
// timeout(1).  Exits with COMMAND's status, or with 128 plus the number of the signal that ended
// it.
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

static pid_t child;

static void end(int signal)
{
    (void)signal;
    kill(child, SIGKILL);
}

int main(int argc, char* argv[])
{
    if (argc < 3) {
        fputs("usage: within SECONDS COMMAND...\n", stderr);
        return 2;
    }

    child = fork();
    if (child == 0) {
        execvp(argv[2], argv + 2);
        perror(argv[2]);
        _exit(127);
    }
    signal(SIGALRM, end);
    alarm((unsigned int)atoi(argv[1]));

    int status;
    while (waitpid(child, &status, 0) == -1)
        ;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}
