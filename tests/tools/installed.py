"""What the tests of the installed command share: the command, a kernel that says what they want, a /tmp of their own.

    STAGE      where the command is installed
    UNAMEBOX   runs a command so that uname(2) answers what it is told
"""

import json
import os
import shlex
import subprocess
import sys
import unittest

STAGE = os.environ["STAGE"]
TLDEVICE = os.path.join(STAGE, "bin", "tldevice")
UNAMEBOX = os.environ["UNAMEBOX"]


def machine_of(path):
    """What kind of machine a program is for, by its ELF header."""
    with open(path, "rb") as file:
        return file.read(20)[18:]


EMULATED = machine_of(TLDEVICE) != machine_of(sys.executable)

# Shell that makes /tmp/upmand somebody else's: by chown where that is allowed.  Where it is not, a user namespace holds us
# alone, and a directory of the machine that is not ours is put there.
GIVEN_AWAY = """
    mkdir -p /tmp/upmand/etc && echo precious >/tmp/upmand/etc/file
    chown -R 1234 /tmp/upmand 2>/dev/null ||
        for other in /etc /var/cache/man /var/cache/apt/archives/partial; do
            [ "$(stat -c %u $other)" = 0 ] || { mount --bind $other /tmp/upmand; break; }
        done
"""

PATIENCE = 100  # seconds; nothing here takes that long, but the machine may be busy

KR20V2 = {"version": "#1 Tue Mar 6 2012", "release": "3.2.0-kr20v2", "nodename": "attic"}
NOBODY = {"version": "#1 Tue Mar 6 2012", "release": "3.2.0", "nodename": "attic"}


def kernel_says(texts):
    """The words in front of a command for which the kernel answers with these texts, bytes or str."""
    options = {"version": "-v", "release": "-r", "nodename": "-n", "errno": "-e"}
    words = [UNAMEBOX]
    for name, text in texts.items():
        words += [options[name], text]
    return words


def in_private_tmp(script, *arguments, processes=False):
    """Words that run a shell script where /tmp is empty, ours alone and gone afterwards.

    With `processes`, only those that the script starts are to be seen.  The script finds the command as $T.  The installed tree is bound to /mnt, since it may itself be below /tmp.
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
    """How a command ended and what it said."""

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
        """Runs the command; with `kernel`, where the kernel says that."""
        prefix = kernel_says(kernel) if kernel else []
        return self.execute(prefix + [TLDEVICE, *words], env=env, stdin=stdin, **more)

    def in_tmp(self, script, *arguments, kernel=None, env=None, processes=False, **more):
        """Runs a shell script in a /tmp of its own, and among processes of its own; the command is $T."""
        prefix = kernel_says(kernel) if kernel else []
        return self.execute(prefix + in_private_tmp(script, *arguments, processes=processes), env=env, **more)

    def shell(self, script, *arguments, shell=("sh",), kernel=None, env=None, **more):
        """Runs shell, in which `tldevice` is the command."""
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
