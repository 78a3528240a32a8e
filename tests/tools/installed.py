"""Shared by the tests of the installed command: the command, a kernel under their control, a private /tmp.

    STAGE      where the command is installed
    UNAMEBOX   runs a command with other results of uname(2)
"""

import glob
import json
import os
import re
import shlex
import subprocess
import sys
import unittest

STAGE = os.environ["STAGE"]
TLDEVICE = os.path.join(STAGE, "bin", "tldevice")
UNAMEBOX = os.environ["UNAMEBOX"]


def machine_of(path):
    """The machine that a program is built for, from its ELF header."""
    with open(path, "rb") as file:
        return file.read(20)[18:]


EMULATED = machine_of(TLDEVICE) != machine_of(sys.executable)


def holds(path, name):
    with open(path, "rb") as file:
        return name in file.read()


# Built with an address checker, which needs terabytes of address space.
INSTRUMENTED = holds(TLDEVICE, b"__asan_init")
# Linked with the static libraries.
STATIC = glob.glob(os.path.join(STAGE, "lib*", "**", "libtldevice.so*"), recursive=True) == []
# The environment for a command without leak checks, because it is traced or cannot create
# processes.
NO_LEAK_CHECK = {"ASAN_OPTIONS": os.environ.get("ASAN_OPTIONS", "") + ":detect_leaks=0"}

# Shell code that gives /tmp/upmand to another user: by chown if allowed.  Otherwise our user
# namespace has no other user, so it bind-mounts a directory there that does not belong to us.
GIVEN_AWAY = """
    mkdir -p /tmp/upmand/etc && echo precious >/tmp/upmand/etc/file
    chown -R 1234 /tmp/upmand 2>/dev/null ||
        for other in /etc /var/cache/man /var/cache/apt/archives/partial; do
            [ "$(stat -c %u $other)" = 0 ] || { mount --bind $other /tmp/upmand; break; }
        done
"""

def golden(name):
    """The rows of a golden table, each as a dictionary with the headings as keys."""
    with open(os.path.join(os.path.dirname(__file__), "../device", name + ".golden"), encoding="utf-8") as file:
        heading, *rows = [[cell.strip('"') for cell in re.split("  +", line.rstrip("\n"))] for line in file]
    return [dict(zip(heading, row)) for row in rows]


# Every device type except DT_INVALID, and those with a record, by enumerator.
TYPES = golden("catalogue")[1:]
SERVED = {row["key"] for row in golden("properties")}
# Runs a command as user 1000 of its own namespace, mapped to our user: it owns our files, but has
# no privileges.
ORDINARY = "unshare --user --map-user=1000 --map-group=1000 "

# Shell code: gives a path away as above, by chown or a bind mount.
GIVE = """
    give() {
        chown -h 1234 "$1" 2>/dev/null || { [ -d "$1" ] && mount --bind /etc "$1" || mount --bind /etc/passwd "$1"; }
    }
"""

PATIENCE = 100  # seconds; nothing takes that long, but the machine may be busy

KR20V2 = {"version": "#1 Tue Mar 6 2012", "release": "3.2.0-kr20v2", "nodename": "attic"}
NOBODY = {"version": "#1 Tue Mar 6 2012", "release": "3.2.0", "nodename": "attic"}


def kernel_says(texts):
    """The prefix of a command that makes uname(2) return these texts, bytes or str."""
    options = {"version": "-v", "release": "-r", "nodename": "-n", "errno": "-e"}
    words = [UNAMEBOX]
    for name, text in texts.items():
        words += [options[name], text]
    return words


def in_private_tmp(script, *arguments, processes=False):
    """The prefix that runs a shell script with an empty, private and temporary /tmp.

    With `processes`, it sees only the processes that it starts.  $T is the command.  The installed tree is bound to /mnt,
    because it may itself be below /tmp.
    """
    namespaces = ["unshare", "--mount"] if os.getuid() == 0 else \
                 ["unshare", "--user", "--map-root-user", "--mount"]
    if processes:
        namespaces += ["--pid", "--fork", "--kill-child"]
    setup = ("set -e; " + ("mount -t proc proc /proc; " if processes else "") + "mount --bind " + shlex.quote(STAGE) + " /mnt; "
             "mount -t tmpfs -o mode=1777 none /tmp; cd /; set +e; T=/mnt/bin/tldevice\n")
    return namespaces + ["sh", "-c", setup + script, "sh", *arguments]


def environment(changes=None):
    changed = dict(os.environ, LC_ALL="C", TERM="xterm")
    for name in ("NO_COLOR", "COLUMNS"):
        changed.pop(name, None)
    changed.update(changes or {})
    return {name: value for name, value in changed.items() if value is not None}


class Ended:
    """The exit status and output of a command."""

    def __init__(self, process):
        self.code = process.returncode
        self.out = process.stdout
        self.err = process.stderr

    @property
    def text(self):
        return self.out.decode("utf-8", "surrogateescape")

    @property
    def complaint(self):
        return self.err.decode("utf-8", "surrogateescape")

    @property
    def json(self):
        return json.loads(self.out)


class ToolTest(unittest.TestCase):
    maxDiff = None

    def execute(self, words, env=None, stdin=b"", **more):
        process = subprocess.run(words, input=stdin, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                 env=environment(env), timeout=PATIENCE, check=False, **more)
        return Ended(process)

    def tool(self, *words, kernel=None, env=None, stdin=b"", **more):
        """Runs the command; `kernel`: what uname(2) returns."""
        prefix = kernel_says(kernel) if kernel else []
        return self.execute(prefix + [TLDEVICE, *words], env=env, stdin=stdin, **more)

    def commands(self):
        """Every subcommand, from the help."""
        text = self.tool("--help").text
        return re.findall(r"(?m)^  (\w+)", text[text.index("\nCommands:"):text.index("\nCommon options:")])

    def in_tmp(self, script, *arguments, kernel=None, env=None, processes=False, **more):
        """Runs a shell script in a private /tmp and, with `processes`, a process namespace; $T is the command."""
        prefix = kernel_says(kernel) if kernel else []
        return self.execute(prefix + in_private_tmp(script, *arguments, processes=processes), env=env, **more)

    def shell(self, script, *arguments, shell=("sh",), kernel=None, env=None, **more):
        """Runs a shell script that can call `tldevice`."""
        setup = "tldevice() { " + shlex.quote(TLDEVICE) + ' "$@"; }\n'
        prefix = kernel_says(kernel) if kernel else []
        return self.execute(prefix + [*shell, "-c", setup + script, "sh", *arguments], env=env, **more)

    def assertEnds(self, ended, code, out=None, err=None):
        self.assertEqual(code, ended.code, ended.complaint)
        if out is not None:
            self.assertEqual(out, ended.text)
        if err is not None:
            self.assertEqual(err, ended.complaint)


def main():
    unittest.main(verbosity=2)
