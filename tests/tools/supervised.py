"""Shared by the tests of `tldevice run`: programs to run, the result of a run, and leftover processes."""

import ctypes
import json
import os
import shutil
import signal
import subprocess
import tempfile
import time

import installed
from installed import PATIENCE, STAGE, TLDEVICE, ToolTest

PR_SET_CHILD_SUBREAPER = 36
NOBODY = 65534


def become_subreaper():
    """Adopts orphans, so that tests can see them."""
    ctypes.CDLL(None, use_errno=True).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)


class RunTest(ToolTest):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = directory.name

    def path(self, name):
        return os.path.join(self.directory, name)

    def program(self, name, text, mode=0o755):
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write(text)
        os.chmod(self.path(name), mode)
        return self.path(name)

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def pipe(self, name):
        os.mkfifo(self.path(name))
        return self.path(name)

    def run_tool(self, *words, **more):
        return self.tool("run", *words, **more)

    def run_as_nobody(self, *words, **more):
        """A run by user nobody, of a copy, because nobody may lack access to the installed tree."""
        os.chmod(self.directory, 0o755)
        stage = shutil.copytree(STAGE, self.path("stage"), symlinks=True)
        return self.execute([os.path.join(stage, "bin/tldevice"), "run", *words], user=NOBODY, cwd="/", **more)

    def reported(self, *words, **more):
        """The result of a run, from its report."""
        ended = self.run_tool("--report", self.path("report"), *words, **more)
        report = self.report()
        self.assertEqual((1, ended.code), (report["schema"], report["exit_code"]))
        return report

    def report(self):
        return json.loads(self.read("report"))

    def start(self, *words, **more):
        """Starts a run in the background, with pipes for its output."""
        more.setdefault("stdout", subprocess.PIPE)
        more.setdefault("stderr", subprocess.PIPE)
        process = subprocess.Popen([TLDEVICE, "run", *words], env=installed.environment(), **more)
        for file in (process.stdin, process.stdout, process.stderr):
            if file:
                self.addCleanup(file.close)
        return process

    def begin(self, *words, script="echo $$; exec sleep 1000", **more):
        """Starts a run of a child that reports its process id and continues; returns both."""
        process = self.start(*words, "--", "sh", "-c", script, **more)
        return process, int(process.stdout.readline())

    def wait_for(self, condition):
        """Waits until `condition` returns something true, and returns that."""
        deadline = time.monotonic() + PATIENCE
        while not condition():
            self.assertLess(time.monotonic(), deadline, "this never happened")
            time.sleep(0.01)
        return condition()

    @staticmethod
    def pid_in(path):
        """The process id in a file; 0 until it is written."""
        try:
            with open(path, encoding="ascii") as file:
                line = file.read()
                return int(line) if line.endswith("\n") else 0
        except FileNotFoundError:
            return 0

    @staticmethod
    def state_of(pid):
        """The kernel's state letter of a process: R, S, T, Z; None if it does not exist."""
        try:
            with open(f"/proc/{pid}/stat", encoding="ascii", errors="replace") as file:
                return file.read().rpartition(")")[2].split()[0]
        except (FileNotFoundError, ProcessLookupError):
            return ""

    def is_gone(self, pid):
        return self.state_of(pid) == ""

    def is_dead(self, pid):
        """Whether it is gone, or a zombie."""
        return self.state_of(pid) in ("", "Z")

    def orphan_ended_by(self, pid):
        """Reaps an adopted process; returns its exit status as subprocess does."""
        return os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1])

    def assertNobodyIsLeft(self, pid):
        """The child is gone and reaped, and no orphan was left."""
        with self.assertRaises(ProcessLookupError):
            os.kill(pid, 0)
        with self.assertRaises(ChildProcessError):
            os.waitpid(-1, os.WNOHANG)

    def end(self, pid):
        """Ends an orphan that a test has left intentionally."""
        os.kill(pid, signal.SIGKILL)
        os.waitpid(pid, 0)
