"""tldevice run: how it ends a program, and how run itself ends."""

import errno
import os
import resource
import select
import signal
import subprocess

import installed
from installed import EMULATED, PATIENCE, TLDEVICE
from supervised import RunTest, become_subreaper

LONG_AGO = "-t", ".05"


def ignoring_term():
    """For preexec_fn: programs inherit it, so they need no time to set it up."""
    signal.signal(signal.SIGTERM, signal.SIG_IGN)


def setUpModule():
    become_subreaper()


class AtTheLimit(RunTest):
    def ending(self, *words, **more):
        report = self.reported(*words, **more)
        self.assertEqual((124, True, errno.ETIME), (report["exit_code"], report["killed_by_timer"], report["errno"]))
        return tuple(report[key] for key in ("state", "exit_status", "signal", "killed"))

    def test_is_said(self):
        self.assertEnds(self.run_tool("-t", ".5", "sleep", "1000"), 124, "",
                        "tldevice: 'sleep' took longer than 0.5 s and was ended by signal 15, Terminated\n")
        self.assertEnds(self.run_tool("-t", "1000ms", "sh", "-c", "trap 'exit 3' TERM; while :; do :; done"), 124, "",
                        "tldevice: 'sh' took longer than 1 s and exited with status 3\n")
        self.assertEnds(self.run_tool("-q", "-t", ".1", "sleep", "1000"), 124, "", "")

    def test_ends_by_term(self):
        self.assertEqual(("WP_FINISHED", 0, 15, False), self.ending(*LONG_AGO, "sleep", "1000"))

    def test_may_end_as_the_program_likes(self):
        self.assertEqual(("WP_FINISHED", 3, 0, False),
                         self.ending("-t", "1", "sh", "-c", "trap 'exit 3' TERM; while :; do sleep .1; done"))

    def test_ends_by_another_signal(self):
        for given, number in (("INT", 2), ("sigusr1", 10), ("SIGHUP", 1), ("14", 14), ("RTMIN+1", signal.SIGRTMIN + 1),
                              ("RTMAX", signal.SIGRTMAX)):
            if EMULATED and number > 32:
                continue  # the emulator reserves some of them
            self.assertEqual(("WP_SIGNAL", 0, number, False), self.ending(*LONG_AGO, "-s", given, "sleep", "1000"))
        self.assertEqual(("WP_SIGNAL", 0, 9, True), self.ending(*LONG_AGO, "-s", "KILL", "sleep", "1000"))

    def test_kills_what_does_not_end(self):
        self.assertEqual(("WP_SIGNAL", 0, 9, True),
                         self.ending(*LONG_AGO, "-k", ".2", "sleep", "1000", preexec_fn=ignoring_term))

    def test_kills_nothing_where_that_is_never(self):
        process = self.start("-t", ".5", "-k", "0", "--report", self.path("report"), "sh", "-c",
                             "trap 'echo got it' TERM; while ! read line; do :; done; exit 5", stdin=subprocess.PIPE)
        self.assertEqual(b"got it\n", process.stdout.readline())
        process.stdin.write(b"end\n")
        process.stdin.flush()
        self.assertEqual(124, process.wait(PATIENCE))
        self.assertEqual((5, False), (self.report()["exit_status"], self.report()["killed"]))

    def test_reaches_what_is_stopped(self):
        self.assertEqual(("WP_FINISHED", 0, 15, False), self.ending("-t", ".5", "sh", "-c", "kill -STOP $$"))

    def test_names_each_signal_where_all_is_said(self):
        ended = self.run_tool("-v", *LONG_AGO, "-k", ".2", "sleep", "1000", preexec_fn=ignoring_term)
        self.assertEqual("tldevice: started sleep 1000, for at most 0.05 s\n"
                         "tldevice: sending TERM to 'sleep'\n"
                         "tldevice: sending CONT to 'sleep'\n"
                         "tldevice: sending KILL to 'sleep'\n"
                         "tldevice: sending KILL to the rest of the process group of 'sleep'\n"
                         "tldevice: 'sleep' took longer than 0.05 s and was ended by signal 9, Killed\n", ended.complaint)

    def test_is_kept_though_nobody_reads(self):
        # Standard output and error are full before the limit, or soon after.
        for words in ((), ("-v",)):
            read, write = os.pipe()
            process = self.start(*words, "-t", "1", "sh", "-c", 'echo $$ >"$1"; exec cat /dev/zero', "sh", self.path("pid"),
                                 stdout=write, stderr=write)
            os.close(write)
            pid = self.wait_for(lambda: self.pid_in(self.path("pid")))
            self.wait_for(lambda: self.is_gone(pid))
            with os.fdopen(read, "rb") as output:
                while output.read(1 << 20):
                    pass
            self.assertEqual(124, process.wait(PATIENCE))
            os.unlink(self.path("pid"))

    def test_is_not_waited_for_a_reader_for_ever(self):
        read, write = os.pipe()
        process = self.start("-t", "1", "cat", "/dev/zero", stdout=write)
        os.close(write)
        self.assertEqual(124, process.wait(PATIENCE))
        self.assertIn(b"the output was not read for 10 s: the rest is lost\n", process.stderr.read())
        os.close(read)


class TheGroup(RunTest):
    def test_is_the_programs_own(self):
        ended = self.run_tool("sh", "-c", "echo $$; cut -d' ' -f5 /proc/$$/stat")
        self.assertEqual(1, len(set(ended.text.split())))

    def test_is_the_callers_where_that_is_asked_for(self):
        ended = self.run_tool("--foreground", "cut", "-d ", "-f5", "/proc/self/stat")
        self.assertEqual(f"{os.getpgrp()}\n", ended.text)

    def test_ends_as_a_whole(self):
        for rest, ending in (("sleep 1000", -signal.SIGTERM), ("(trap '' TERM; exec sleep 1000)", -signal.SIGKILL)):
            # An orphan from the start: a child of the script's shell could be reaped by it.
            process, pid = self.begin("-t", ".5", script=f"({rest} & echo $!); sleep 1000")
            self.assertEqual(124, process.wait(PATIENCE))
            self.assertEqual(ending, self.orphan_ended_by(pid))

    def test_is_killed_before_its_leader_is_reaped_where_run_is_interrupted(self):
        # It prints its process id: before that, the signals may still end it.
        process, pid = self.begin(script="(trap '' INT TERM; exec sh -c 'echo $$; exec sleep 1000') & exec sleep 1000")
        process.send_signal(signal.SIGINT)
        self.assertEqual(-signal.SIGINT, process.wait(PATIENCE))
        self.assertEqual(-signal.SIGKILL, self.orphan_ended_by(pid))

    def test_is_left_alone_where_the_program_ends_by_itself(self):
        process, pid = self.begin("-t", "1h", script="sleep 1000 >/dev/null 2>&1 & echo $!")
        self.assertEqual(0, process.wait(PATIENCE))
        self.assertEqual("S", self.wait_for(lambda: self.state_of(pid).replace("R", "")))
        self.end(pid)

    def test_is_spared_in_the_foreground(self):
        process, pid = self.begin("--foreground", "-t", ".5", script="sleep 1000 >/dev/null 2>&1 & echo $!; exec sleep 1000")
        self.assertEqual(124, process.wait(PATIENCE))
        self.assertFalse(self.is_dead(pid))
        self.end(pid)


class Interrupted(RunTest):
    # Signals that end a process by default.
    NAMES = ("HUP INT QUIT ILL TRAP ABRT BUS FPE USR1 SEGV USR2 PIPE ALRM TERM STKFLT XCPU XFSZ VTALRM PROF IO PWR SYS "
             "RTMIN RTMAX").split()
    # The emulator uses these itself, does not die by them or prints a message.
    NOT_EMULATED = "QUIT ILL TRAP ABRT BUS FPE SEGV SYS RTMIN RTMAX".split()

    def test_by_each_signal(self):
        for name in self.NAMES:
            if EMULATED and name in self.NOT_EMULATED:
                continue
            number = getattr(signal, "SIG" + name)
            for words in ((), ("-t", "1h"), ("--foreground",)):
                with self.subTest(signal=name, words=words):
                    process, pid = self.begin(*words)
                    process.send_signal(number)
                    self.assertEqual((-number, b""), (process.wait(PATIENCE), process.stderr.read()))
                    self.assertNobodyIsLeft(pid)

    def test_by_the_same_signal_though_the_program_ends_otherwise(self):
        process, pid = self.begin(script="trap 'exit 5' HUP; echo $$; while :; do sleep .1; done")
        process.send_signal(signal.SIGHUP)
        self.assertEqual(-signal.SIGHUP, process.wait(PATIENCE))
        self.assertTrue(self.is_gone(pid))

    def test_though_the_program_does_not_end_by_it(self):
        process, pid = self.begin("-k", ".2", script="trap '' INT; echo $$; exec sleep 1000")
        process.send_signal(signal.SIGINT)
        self.assertEqual(-signal.SIGINT, process.wait(PATIENCE))
        self.assertNobodyIsLeft(pid)

    def test_and_passes_on_what_it_got(self):
        process, _ = self.begin("--report", self.path("report"))
        process.send_signal(signal.SIGUSR1)
        self.assertEqual(-signal.SIGUSR1, process.wait(PATIENCE))
        self.assertEqual((10, 10), (self.report()["signal"], self.report()["interrupted_by"]))

    def test_between_restarts(self):
        process, pid = self.begin("--restarts", "1000")
        process.send_signal(signal.SIGINT)
        self.assertEqual(-signal.SIGINT, process.wait(PATIENCE))
        self.assertNobodyIsLeft(pid)

    def test_not_by_what_the_caller_ignores(self):
        process = self.start("sh", "-c", "echo $$; read line; echo $line", stdin=subprocess.PIPE,
                             preexec_fn=lambda: [signal.signal(number, signal.SIG_IGN)
                                                 for number in (signal.SIGHUP, signal.SIGALRM)])
        pid = int(process.stdout.readline())
        process.send_signal(signal.SIGHUP)
        process.send_signal(signal.SIGALRM)
        out, _ = process.communicate(b"survived\n", PATIENCE)
        self.assertEqual((b"survived\n", 0), (out, process.returncode))
        self.assertNobodyIsLeft(pid)

    def test_though_nobody_reads_its_output(self):
        read, write = os.pipe()
        process = self.start("sh", "-c", 'echo $$ >"$1"; exec cat /dev/zero', "sh", self.path("pid"), stdout=write)
        pid = self.wait_for(lambda: self.pid_in(self.path("pid")))
        self.wait_for(lambda: select.select([], [write], [], 0)[1] == [])  # full
        os.close(write)
        process.send_signal(signal.SIGTERM)
        self.assertEqual(-signal.SIGTERM, process.wait(PATIENCE))
        os.close(read)
        self.assertNobodyIsLeft(pid)

    def test_without_a_core_dump(self):
        before = resource.getrlimit(resource.RLIMIT_CORE)
        try:
            resource.setrlimit(resource.RLIMIT_CORE, (resource.RLIM_INFINITY, resource.RLIM_INFINITY))
        except ValueError:  # root can lack that capability, too
            self.skipTest("core dumps are limited, and nobody here may raise the limit")
        self.addCleanup(resource.setrlimit, resource.RLIMIT_CORE, before)
        process, _ = self.begin(cwd=self.directory)
        process.send_signal(signal.SIGQUIT)
        _, status = os.waitpid(process.pid, 0)
        process.returncode = 0
        self.assertEqual((signal.SIGQUIT, False), (os.WTERMSIG(status), os.WCOREDUMP(status)))

    def test_by_a_kill_takes_the_program_along(self):
        for words in ((), ("--foreground",)):
            process, pid = self.begin(*words)
            process.kill()
            self.assertEqual(-signal.SIGKILL, process.wait(PATIENCE))
            self.assertEqual(-signal.SIGKILL, self.orphan_ended_by(pid))

    def test_stops_and_goes_on_with_its_program(self):
        process, pid = self.begin(script="echo $$; read line; exit 5", stdin=subprocess.PIPE,
                                  preexec_fn=lambda: os.setpgid(0, 0))
        process.send_signal(signal.SIGTSTP)
        self.assertTrue(os.WIFSTOPPED(os.waitpid(process.pid, os.WUNTRACED)[1]))
        self.wait_for(lambda: self.state_of(pid) == "T")
        process.send_signal(signal.SIGCONT)
        self.wait_for(lambda: self.state_of(pid) == "S")
        process.communicate(b"\n", PATIENCE)
        self.assertEqual(5, process.returncode)


class InAnother(RunTest):
    def test_passes_on_the_exit_status(self):
        self.assertEnds(self.run_tool(TLDEVICE, "run", "sh", "-c", "echo out; exit 7"), 7, "out\n", "")

    def test_is_ended_with_its_program(self):
        process, pid = self.begin("-t", "1", TLDEVICE, "run")
        self.assertEqual(124, process.wait(PATIENCE))
        self.assertTrue(self.is_dead(pid))

    def test_goes_with_it_when_that_is_killed(self):
        process, pid = self.begin(TLDEVICE, "run")
        process.kill()
        process.wait(PATIENCE)
        self.wait_for(lambda: self.is_dead(pid))
        while True:  # the inner run and its program, in any order
            try:
                os.waitpid(-1, 0)
            except ChildProcessError:
                break


if __name__ == "__main__":
    installed.main()
