#!/usr/bin/env python3
"""fromOutside.py SUBJECT PAUSE OPERATION: makes each system call of an operation fail in turn, from outside, with strace.

This also reaches the calls that libc and libstdc++ make inside of theirs.  A first run lists the calls between the subject's two
marks; each then fails once with every plausible error.  The subject checks itself and must survive."""
import os
import re
import subprocess
import sys
import tempfile

ERRORS = {
    "access": ["EACCES", "EIO"], "faccessat": ["EACCES", "EIO"], "clone": ["EAGAIN", "ENOMEM"], "clone3": ["ENOSYS"],
    "fcntl": ["EINVAL"], "fstat": ["EIO"], "newfstatat": ["EIO", "ENOMEM"], "ioctl": ["ENOTTY"],
    "lseek": ["ESPIPE"], "mkdir": ["EACCES"], "open": ["EMFILE"], "openat": ["EACCES", "EMFILE", "ENFILE", "EINTR"],
    "read": ["EIO", "EINTR"], "getrandom": ["ENOSYS"], "rt_sigaction": ["EINVAL"], "rt_sigprocmask": ["EINVAL"],
    "sendto": ["ENOBUFS", "ECONNREFUSED"], "connect": ["ECONNREFUSED"], "socket": ["EMFILE"], "uname": ["EFAULT"],
    "unlink": ["EROFS"], "wait4": ["ECHILD"], "write": ["EIO", "ENOSPC"], "brk": ["ENOMEM"], "mmap": ["ENOMEM"],
}
# Calls that are not made to fail: they do not return, or only read the time.  A close() that fails
# here would leave the descriptor open, which no kernel does; the sweep from inside really closes
# it.
PASSED_OVER = {"close", "exit_group", "munmap", "clock_nanosleep", "clock_gettime", "getpid", "gettid", "set_robust_list", "rseq"}
MARK = "setpgid(-1, -1)"


def strace(subject, argument, *options):
    # A leak checker traces, too, and a process can have only one tracer.
    env = {**os.environ, "ASAN_OPTIONS": "detect_leaks=0"}
    with tempfile.NamedTemporaryFile("r", suffix=".strace") as trace:
        run = subprocess.run(["strace", "-o", trace.name, *options, subject, *argument], capture_output=True, text=True, timeout=60,
                             env=env)
        return run, trace.read()


def calls_between_marks(trace):
    """[(name, number of earlier calls of that name)] for the caller's calls between the marks."""
    seen, between, marks = {}, [], 0
    for line in trace.splitlines():
        if line.startswith(MARK):
            marks += 1
        name = re.match(r"(\w+)\(", line)
        if not name:
            continue
        seen[name.group(1)] = seen.get(name.group(1), 0) + 1
        if marks == 1 and not line.startswith(MARK):
            between.append((name.group(1), seen[name.group(1)]))
    assert marks == 2, trace
    return between


def main(subject, pause, operation):
    try:
        subprocess.run(["strace", "-o", "/dev/null", "true"], check=True, capture_output=True)
    except (OSError, subprocess.CalledProcessError) as error:
        print(f"strace does not work here: {error}")
        return 77
    with tempfile.NamedTemporaryFile("w") as file:
        file.write("ridge\n")
        file.flush()
        argument = [operation, pause if operation == "start" else file.name]
        run, trace = strace(subject, argument)
        assert run.returncode == 0 and "ok" in run.stdout, run.stdout + run.stderr
        calls = calls_between_marks(trace)
        tried, failed = 0, 0
        for name, occurrence in calls:
            if name in PASSED_OVER:
                continue
            if name not in ERRORS:
                print(f"nobody says how {name} fails")
                failed += 1
            for error in ERRORS.get(name, []):
                tried += 1
                run, _ = strace(subject, argument, "-e", f"trace={name}", "-e", f"inject={name}:error={error}:when={occurrence}")
                if run.returncode != 0 or "ok" not in run.stdout:
                    print(f"{name} number {occurrence} fails with {error}: status {run.returncode}: {run.stdout}{run.stderr}")
                    failed += 1
    print(f"{operation}: {len(calls)} system calls, {tried} refusals, {failed} problems")
    if "TLDEVICE_RESULTS" in os.environ:
        with open(os.environ["TLDEVICE_RESULTS"], "a") as results:
            results.write(f"from outside\t{operation}\tpoints={len(calls)}\tfailures injected={tried}\n")
    return 1 if failed or not tried else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
