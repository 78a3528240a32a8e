#!/usr/bin/env python3
"""Lists the system calls of one launch, as Markdown: trace.py BUILD.  Standard library only.

oneLaunch brackets what is looked at with getppid(2).  Two limits of open files must give the same calls.
"""
import re
import subprocess
import sys
import tempfile

# Not the library's: oneLaunch waits for the end by waitid(2), and mkstemp(3) needs fresh randomness now and then.
IGNORED = ("waitid", "getrandom")
EXPECTED = 12


def trace(build, limit):
    with tempfile.NamedTemporaryFile("r", encoding="utf-8") as log:
        subprocess.run(["prlimit", f"--nofile={limit}:{limit}", "strace", "-f", "-o", log.name, f"{build}/oneLaunch"],
                       check=True, capture_output=True)
        return log.read().splitlines()


def sections(lines):
    """The calls between each pair of getppid(), as (in the parent, the call's name, the whole line)."""
    parent = lines[0].split()[0]
    inside, found, exec_done = False, [], set()
    for line in lines:
        pid, call = line.split(None, 1)
        name = re.match(r"(\w+)\(", call)
        if name is None:
            continue  # the second half of a call, a signal or an end
        name = name.group(1)
        if pid == parent and name == "getppid":
            inside = not inside
            if inside:
                found.append([])
            continue
        if not inside or name in IGNORED or pid in exec_done:
            continue
        if pid != parent and name == "execve":
            exec_done.add(pid)
        found[-1].append((pid == parent, name, call))
    return found


def names(section):
    return sorted((in_parent, name) for in_parent, name, _ in section)


def main(build):
    low, high = (sections(trace(build, limit)) for limit in (64, 4096))
    if names(low[0]) != names(high[0]):
        sys.exit("trace: the calls depend on the limit of open files")
    launch = low[0]
    poll = [call for call in low[1] if call[0]]  # not what cat(1) does meanwhile
    for in_parent, title in ((True, "parent"), (False, "child, up to the new program")):
        calls = [name for parent, name, _ in launch if parent == in_parent]
        print(f"- {title}: {', '.join(calls)} ({len(calls)})")
    print(f"- a further poll of a child that runs: {', '.join(name for _, name, _ in poll)} ({len(poll)})")
    print(f"\n{len(launch)} in all; the same with a limit of 64 and of 4096 open files.")
    if len(launch) != EXPECTED or len(poll) != 1:
        sys.exit(f"trace: {len(launch)} calls for a launch and {len(poll)} for a poll; expected {EXPECTED} and 1")


if __name__ == "__main__":
    main(sys.argv[1])
