/* oldsyscalls RELEASE COMMAND...: runs COMMAND where every system call newer than the kernel RELEASE answers ENOSYS, as it would
 * there.
 *
 * A seccomp filter by number, since a call's number only ever follows those that were there before it.  Exits with 77 where there
 * is no such filter. */
#define _GNU_SOURCE
#include <errno.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>
#include <sys/prctl.h>
#include <unistd.h>

#if defined(__x86_64__)
#define ARCHITECTURE AUDIT_ARCH_X86_64
#define LAST(x86_64, arm) x86_64
#define NOT_COUNTED 0x40000000u /* x32's calls */
#elif defined(__arm__)
#define ARCHITECTURE AUDIT_ARCH_ARM
#define LAST(x86_64, arm) arm
#define NOT_COUNTED 0x000f0000u /* ARM's own: cacheflush, set_tls */
#endif

static const struct {
    const char* release;
    unsigned last;
} KERNELS[] = {
    {"2.6.32", LAST(298, 364)}, /* perf_event_open */
    {"3.2", LAST(311, 377)},    /* process_vm_writev */
};

static unsigned lastCallOf(const char* release)
{
    for (size_t i = 0; i < sizeof KERNELS / sizeof *KERNELS; ++i)
        if (strcmp(release, KERNELS[i].release) == 0)
            return KERNELS[i].last;
    return 0;
}

int main(int argc, char* argv[])
{
    const unsigned last = argc > 2 ? lastCallOf(argv[1]) : 0;
    if (last == 0) {
        fputs("usage: oldsyscalls 2.6.32|3.2 COMMAND...\n", stderr);
        return 2;
    }

    struct sock_filter code[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(struct seccomp_data, arch)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, ARCHITECTURE, 0, 4),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(struct seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, NOT_COUNTED, 2, 0),
        BPF_JUMP(BPF_JMP | BPF_JGT | BPF_K, last, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    struct sock_fprog filter = {sizeof code / sizeof *code, code};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) || prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter)) {
        perror("oldsyscalls: seccomp");
        return 77;
    }
    execvp(argv[2], argv + 2);
    perror(argv[2]);
    return 127;
}
