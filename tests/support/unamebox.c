// unamebox [-v BUILD] [-r RELEASE] [-n HOST] [-e ERRNO] CMD...
//
// Runs CMD so that uname(2), in CMD and all its descendants, returns these fields or fails with
// ERRNO.
//
// The kernel passes each of their uname(2) calls to us (a seccomp user notification), and we write
// the result.  So CMD makes the real call, nothing in it is replaced, and it may be an emulator
// that runs a foreign program.  Needs no privileges.  Exits with CMD's status, with 128+N if signal
// N ended it, and with 77 if the kernel does not support this.
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

static struct utsname answer;
static int failure;  // the errno to return instead
static int status;   // CMD's wait status, once it is reaped

// Reaps CMD as soon as it has ended: before Linux 6.11, a zombie keeps its filter, so that the
// descriptor would not hang up.
static void reap(int signal)
{
    (void)signal;
    const int error = errno;
    while (waitpid(-1, &status, WNOHANG) > 0) {
    }
    errno = error;
}

static void put(char field[sizeof answer.version], const char* text)
{
    memset(field, 0, sizeof answer.version);
    strncpy(field, text, sizeof answer.version - 1);
}

// The descriptor for the kernel's notifications, or -1.
static int askMeAboutUname(void)
{
    struct sock_filter code[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(struct seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_uname, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    struct sock_fprog program = {sizeof code / sizeof *code, code};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return -1;
    return (int)syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER,
                        &program);
}

static void answerOne(int listener)
{
    struct seccomp_notif call = {0};
    if (ioctl(listener, SECCOMP_IOCTL_NOTIF_RECV, &call) != 0)
        return;  // the caller is gone

    struct seccomp_notif_resp reply = {.id = call.id, .error = -failure};
    struct iovec from = {&answer, sizeof answer};
    struct iovec to = {(void*)(size_t)call.data.args[0], sizeof answer};
    if (failure == 0 &&
        process_vm_writev((pid_t)call.pid, &from, 1, &to, 1, 0) != (ssize_t)sizeof answer)
        reply.error = -EFAULT;
    ioctl(listener, SECCOMP_IOCTL_NOTIF_SEND, &reply);
}

int main(int argc, char** argv)
{
    uname(&answer);
    for (int option; (option = getopt(argc, argv, "+v:r:n:e:")) != -1;) {
        switch (option) {
            case 'v': put(answer.version, optarg); break;
            case 'r': put(answer.release, optarg); break;
            case 'n': put(answer.nodename, optarg); break;
            case 'e': failure = atoi(optarg); break;
            default: return 2;
        }
    }
    if (optind == argc) {
        fprintf(stderr, "usage: unamebox [-v BUILD] [-r RELEASE] [-n HOST] [-e ERRNO] CMD...\n");
        return 2;
    }

    const struct sigaction reaping = {.sa_handler = reap};
    sigaction(SIGCHLD, &reaping, NULL);

    int channel[2];
    if (pipe2(channel, O_CLOEXEC) != 0)
        return 77;

    // The child shares our descriptors until it executes CMD, so we can use the one that it gets.
    int listener = -1;
    const pid_t child = (pid_t)syscall(SYS_clone, CLONE_FILES | SIGCHLD, 0, 0, 0, 0);
    if (child == 0) {
        listener = askMeAboutUname();
        const int error = errno;
        if (write(channel[1], &listener, sizeof listener) != sizeof listener || listener < 0) {
            fprintf(stderr, "unamebox: no seccomp user notification: %s\n", strerror(error));
            _exit(77);
        }
        execvp(argv[optind], argv + optind);
        fprintf(stderr, "unamebox: %s: %s\n", argv[optind], strerror(errno));
        _exit(127);
    }
    if (child < 0 || read(channel[0], &listener, sizeof listener) != sizeof listener)
        return 77;

    // The descriptor hangs up when the last process with the filter is gone.
    struct pollfd question = {listener, POLLIN, 0};
    while (listener >= 0) {
        if (poll(&question, 1, -1) == 1) {
            if ((question.revents & POLLIN) == 0)
                break;
            answerOne(listener);
        }
    }

    int last = 0;
    if (waitpid(child, &last, 0) == child)
        status = last;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
