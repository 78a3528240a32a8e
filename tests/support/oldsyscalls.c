// oldsyscalls COMMAND...: runs COMMAND with every system call newer than Linux 2.6.32 failing with
// ENOSYS, as it would there.
//
// A seccomp filter by number: newer calls always have higher numbers.  It allows three newer calls,
// which only the tests make, not the library or the command: the two that unamebox needs to
// intercept uname(2), and prlimit64(2), which implements setrlimit(3).  Exits with 77 if the kernel
// has no such filters.
#define _GNU_SOURCE
#include <errno.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <stddef.h>
#include <stdio.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#if defined(__x86_64__)
#define ARCHITECTURE AUDIT_ARCH_X86_64
#define LAST 298                /* perf_event_open, the last call of 2.6.32 */
#define NOT_COUNTED 0x40000000u /* x32's calls */
#elif defined(__arm__)
#define ARCHITECTURE AUDIT_ARCH_ARM
#define LAST 364                /* perf_event_open */
#define NOT_COUNTED 0x000f0000u /* ARM's own: cacheflush, set_tls */
#endif

int main(int argc, char* argv[])
{
    if (argc < 2) {
        fputs("usage: oldsyscalls COMMAND...\n", stderr);
        return 2;
    }

    struct sock_filter code[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(struct seccomp_data, arch)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, ARCHITECTURE, 0, 7),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(struct seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, NOT_COUNTED, 5, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_seccomp, 4, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_process_vm_writev, 3, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_prlimit64, 2, 0),
        BPF_JUMP(BPF_JMP | BPF_JGT | BPF_K, LAST, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    struct sock_fprog filter = {sizeof code / sizeof *code, code};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter)) {
        perror("oldsyscalls: seccomp");
        return 77;
    }
    execvp(argv[1], argv + 1);
    perror(argv[1]);
    return 127;
}
