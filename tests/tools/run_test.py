"""tldevice run: a program under supervision, from its first byte to its last."""

import ctypes
import errno
import json
import os
import signal
import subprocess
import tempfile
import time

import installed
from installed import PATIENCE, TLDEVICE, ToolTest

PR_SET_CHILD_SUBREAPER = 36


def setUpModule():
    # Orphans become ours, so that they can be seen.
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

    def run_tool(self, *words, **more):
        return self.tool("run", *words, **more)

    def reported(self, *words, **more):
        """How a run ended, by its report."""
        ended = self.run_tool("--report", self.path("report"), *words, **more)
        with open(self.path("report"), encoding="utf-8") as file:
            report = json.load(file)
        self.assertEqual((1, ended.code), (report["schema"], report["exit_code"]))
        return report

    def begin(self, *words, **more):
        """Starts a run of a child that tells its process id and goes on; returns both."""
        process = subprocess.Popen([TLDEVICE, "run", *words, "--", "sh", "-c", "echo $$; exec sleep 1000"],
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   env=installed.environment(), **more)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stderr.close)
        return process, int(process.stdout.readline())

    def wait_for(self, condition):
        """What `condition` answers as soon as that is true."""
        deadline = time.monotonic() + PATIENCE
        while not condition():
            self.assertLess(time.monotonic(), deadline, "this never happened")
            time.sleep(0.01)
        return condition()

    @staticmethod
    def pid_in(path):
        """The process id in a file; 0 as long as it is not written."""
        try:
            with open(path, encoding="ascii") as file:
                line = file.read()
                return int(line) if line.endswith("\n") else 0
        except FileNotFoundError:
            return 0

    @staticmethod
    def is_gone(pid):
        try:
            os.kill(pid, 0)
        except ProcessLookupError:
            return True
        return False

    def assertNobodyIsLeft(self, pid):
        """The child is gone and reaped, and nobody else was left to us."""
        with self.assertRaises(ProcessLookupError):
            os.kill(pid, 0)
        with self.assertRaises(ChildProcessError):
            os.waitpid(-1, os.WNOHANG)


class RunPassesOn(RunTest):
    def test_the_exit_status(self):
        for status in (0, 1, 2, 3, 4, 123, 124, 127, 255):
            self.assertEnds(self.run_tool("sh", "-c", f"exit {status}"), status, "", "")

    def test_output_of_both_kinds(self):
        self.assertEnds(self.run_tool("--", "sh", "-c", "echo out; echo err >&2"), 0, "out\nerr\n", "")

    def test_bytes_as_they_are(self):
        every = bytes(range(256)) * 5
        self.assertEqual(every, self.run_tool("cat", stdin=every).out)

    def test_standard_input(self):
        self.assertEnds(self.run_tool("cat", stdin=b"hello\n"), 0, "hello\n", "")

    def test_options_of_the_program(self):
        self.assertEnds(self.run_tool("-q", "sh", "-c", "exit 5"), 5, "", "")
        self.assertEnds(self.run_tool("echo", "-t", "--", "--help"), 0, "-t -- --help\n", "")
        self.assertEnds(self.run_tool("--", "echo", "x", "--version"), 0, "x --version\n", "")

    def test_the_environment(self):
        self.assertEnds(self.run_tool("--env", "A=1", "--env=B=x y=z", "--env", "C=", "sh", "-c",
                                      'echo "$A|$B|$C|${C-unset}"'), 0, "1|x y=z||\n", "")

    def test_a_signal_as_128_and_its_number(self):
        for number in (signal.SIGKILL, signal.SIGTERM, signal.SIGSEGV, signal.SIGHUP, signal.SIGUSR1):
            self.assertEnds(self.run_tool("sh", "-c", f"kill -{int(number)} $$"), 128 + number, "", "")

    def test_signals_that_the_caller_ignores_and_none_besides(self):
        # What is ignored in the child: SIGPIPE and SIGALRM would show that our own handling leaks into it.  The other
        # command only executes the program, which an emulator between us may not let ignored signals through to.
        mask = "sh -c 'grep SigIgn /proc/self/status'"
        for held in ("", "trap '' HUP ALRM; "):
            self.assertEqual(self.shell(held + "tldevice sandbox --as kr30 -- " + mask).out,
                             self.shell(held + "tldevice run -- " + mask).out)

    def test_nothing_it_has_open(self):
        ended = self.run_tool("--log", self.path("log"), "--report", self.path("report"), "ls", "/proc/self/fd")
        own = self.execute(["ls", "/proc/self/fd"])
        # One more than without us: the library's log, which the child has as its output as well.
        self.assertLessEqual(len(ended.text.split()), len(own.text.split()) + 1)


class RunRefuses(RunTest):
    def test_a_program_that_is_nowhere(self):
        self.assertEnds(self.run_tool("no-such-program", env={"PATH": "/usr/bin:/bin"}), 127, "",
                        "tldevice: cannot run 'no-such-program': No such file or directory\n")
        self.assertEqual(127, self.run_tool("/no/such/program").code)
        self.assertEqual(127, self.run_tool("").code)

    def test_a_program_that_cannot_be_executed(self):
        plain = self.program("plain", "#!/bin/sh\n", 0o644)
        self.assertEnds(self.run_tool(plain), 126, "", f"tldevice: cannot run '{plain}': Permission denied\n")
        self.assertEqual(126, self.run_tool(self.directory).code)

    def test_a_program_that_the_kernel_does_not_understand(self):
        self.assertEqual(126, self.run_tool(self.program("garbage", "\x7fELF garbage\n")).code)
        self.assertEqual(127, self.run_tool(self.program("lost", "#!/no/such/interpreter\n")).code)

    def test_no_program_of_its_own_that_says_the_same(self):
        said = "exec failed: errno = 8, Exec format error"
        self.assertEqual(255, self.run_tool("sh", "-c", f"echo '{said}'; echo more; exit 255").code)
        self.assertEqual(3, self.run_tool("sh", "-c", f"echo '{said}'; exit 3").code)

    def test_eleven_words(self):
        words = [str(number) for number in range(2, 11)]
        self.assertEnds(self.run_tool("echo", *words), 0, " ".join(words) + "\n", "")
        ended = self.run_tool("echo", *words, "11")
        self.assertEnds(ended, 125, "", "Too many arguments\n"
                        "tldevice: the library supervises ten words at most, the program's name included; "
                        "these are 11\n")

    def test_wrong_use_with_125(self):
        for words in ((), ("--",), ("--bogus", "true"), ("-t", "1.5", "true"), ("-t", "", "true"),
                      ("-t", "s", "true"), ("-t", "1d", "true"), ("-t", "-1", "true"), ("-t", "0x1", "true"),
                      ("-t", "99999999999", "true"), ("-t", "600000h", "true"), ("--restarts", "many", "true"),
                      ("--restarts", "-1", "true"), ("--env", "novalue", "true"), ("--env", "=x", "true"),
                      ("-q", "-v", "true"), ("-t", "1", "-t", "2", "true"), ("--color", "maybe", "true")):
            ended = self.run_tool(*words)
            self.assertEqual((125, ""), (ended.code, ended.text), words)
            self.assertTrue(ended.complaint.endswith("tldevice: Try 'tldevice --help'\n"), words)

    def test_files_that_it_cannot_write(self):
        for option in ("--log", "--report"):
            self.assertEnds(self.run_tool(option, "/no/such/file", "touch", self.path("ran")), 125, "",
                            "tldevice: cannot write '/no/such/file': No such file or directory\n")
        self.assertFalse(os.path.exists(self.path("ran")))

    def test_no_pipe_without_a_reader_keeps_it(self):
        os.mkfifo(self.path("pipe"))
        ended = self.run_tool("--log", self.path("pipe"), "true")
        self.assertEqual((125, True), (ended.code, "No such device or address" in ended.complaint))


class RunSearchesPath(RunTest):
    def directories(self):
        for name in ("first", "second"):
            os.mkdir(self.path(name))
        return self.path("first"), self.path("second")

    def test_in_order(self):
        first, second = self.directories()
        self.program("first/which", "#!/bin/sh\necho first\n")
        self.program("second/which", "#!/bin/sh\necho second\n")
        self.assertEqual("first\n", self.run_tool("which", env={"PATH": f"{first}:{second}"}).text)
        self.assertEqual("second\n", self.run_tool("which", env={"PATH": f"{second}:{first}"}).text)

    def test_beyond_what_cannot_be_executed(self):
        first, second = self.directories()
        self.program("first/which", "#!/bin/sh\necho first\n", 0o644)
        self.assertEqual(126, self.run_tool("which", env={"PATH": f"{first}:{second}"}).code)
        self.program("second/which", "#!/bin/sh\necho second\n")
        self.assertEqual("second\n", self.run_tool("which", env={"PATH": f"{first}:{second}"}).text)

    def test_in_the_working_directory_where_an_element_is_empty(self):
        self.program("which", "#!/bin/sh\necho here\n")
        self.assertEqual("here\n", self.run_tool("which", env={"PATH": ":/bin"}, cwd=self.directory).text)
        self.assertEqual(127, self.run_tool("which", env={"PATH": "/nowhere"}, cwd=self.directory).code)

    def test_as_the_environment_says_that_the_program_gets(self):
        first, _ = self.directories()
        self.program("first/which", "#!/bin/sh\necho first\n")
        self.assertEqual("first\n", self.run_tool("--env", f"PATH={first}:/bin:/usr/bin", "which").text)

    def test_where_there_is_none(self):
        self.assertEqual("hello\n", self.run_tool("echo", "hello", env={"PATH": None}).text)


class RunTimesOut(RunTest):
    def test_with_124(self):
        ended = self.run_tool("-t", "1", "sleep", "1000")
        self.assertEnds(ended, 124, "", "tldevice: 'sleep' took longer than 1 s and was killed\n")

    def test_with_124_though_the_program_will_not_die_of_itself(self):
        ended = self.run_tool("-q", "-t", "1s", "sh", "-c", "trap '' TERM INT HUP; while :; do sleep 1; done")
        self.assertEnds(ended, 124, "", "")

    def test_not_where_there_is_no_limit(self):
        for words in ((), ("-t", "0"), ("-t", "0m")):
            self.assertEnds(self.run_tool(*words, "sh", "-c", "sleep 1; exit 9"), 9, "", "")

    def test_after_what_the_duration_says(self):
        for duration, seconds in (("90", 90), ("90s", 90), ("5m", 300), ("1h", 3600), ("007", 7)):
            ended = self.run_tool("-v", "-t", duration, "true")
            self.assertIn(f"tldevice: started true, for {seconds} s at most\n", ended.complaint)

    def test_though_nobody_reads_its_output(self):
        read, write = os.pipe()
        process = subprocess.Popen([TLDEVICE, "run", "-t", "1", "sh", "-c", 'echo $$ >"$1"; while :; do echo y; done', "sh",
                                    self.path("pid")], stdout=write, stderr=subprocess.DEVNULL,
                                   env=installed.environment())
        os.close(write)
        # The child ends, though the pipe is full and the tool waits for a reader.
        pid = self.wait_for(lambda: self.pid_in(self.path("pid")))
        self.wait_for(lambda: self.is_gone(pid))
        with os.fdopen(read, "rb") as output:
            while output.read(1 << 20):
                pass
        self.assertEqual(124, process.wait(PATIENCE))


class RunRestarts(RunTest):
    def test_what_fails_until_it_succeeds(self):
        counting = 'echo x >>"$1"; [ $(wc -l <"$1") -ge 3 ]'
        report = self.reported("--restarts", "5", "sh", "-c", counting, "sh", self.path("count"))
        self.assertEqual((0, 3, "WP_FINISHED"), (report["exit_code"], report["starts"], report["state"]))

    def test_what_a_signal_ends(self):
        report = self.reported("--restarts", "2", "sh", "-c", "echo x; kill -9 $$")
        self.assertEqual((137, 3, 6), (report["exit_code"], report["starts"], report["log_bytes"]))

    def test_nothing_that_succeeds(self):
        self.assertEqual(1, self.reported("--restarts", "5", "true")["starts"])

    def test_nothing_that_could_not_be_started(self):
        self.assertEqual(0, self.reported("--restarts", "5", "/etc/passwd")["starts"])

    def test_what_timed_out(self):
        report = self.reported("-q", "-t", "1", "--restarts", "1", "sleep", "1000")
        self.assertEqual((124, 2), (report["exit_code"], report["starts"]))


class RunReports(RunTest):
    def ending(self, report):
        return tuple(report[key] for key in ("exit_code", "state", "exit_status", "signal", "errno", "errno_text",
                                             "killed_by_timer", "interrupted_by", "starts", "log_bytes"))

    def test_each_ending(self):
        garbage = self.program("garbage", "\x7fELF garbage\n")
        endings = (
            (("true",),                          (0, "WP_FINISHED", 0, 0, 0, "Success", False, 0, 1, 0)),
            (("sh", "-c", "echo out; exit 3"),   (3, "WP_FINISHED", 3, 0, 0, "Success", False, 0, 1, 4)),
            (("sh", "-c", "kill -15 $$"),        (143, "WP_FINISHED", 0, 15, 0, "Success", False, 0, 1, 0)),
            (("sh", "-c", "kill -9 $$"),         (137, "WP_SIGNAL", 0, 9, 0, "Success", False, 0, 1, 0)),
            (("-t", "1", "sleep", "1000"),       (124, "WP_SIGNAL", 0, 9, errno.ETIME, "Timer expired", True, 0, 1, 0)),
            (("/no/such/prog",),               (127, "WP_NOT_STARTED", 0, 0, errno.ENOENT,
                                                  "No such file or directory", False, 0, 0, 0)),
            (("/etc/passwd",),                   (126, "WP_NOT_STARTED", 0, 0, errno.EACCES, "Permission denied",
                                                  False, 0, 0, 0)),
            ((garbage,),                         (126, "WP_FINISHED", 255, 0, errno.ENOEXEC, "Exec format error",
                                                  False, 0, 1, 42)),
            (("echo",) + ("x",) * 10,            (125, "WP_NOT_STARTED", 0, 0, 0, "Success", False, 0, 0, 0)),
        )
        for words, wanted in endings:
            self.assertEqual(wanted, self.ending(self.reported(*words)), words)

    def test_the_command_and_the_time(self):
        report = self.reported("sh", "-c", "sleep 1", b"odd\xff\\")
        self.assertEqual(["sh", "-c", "sleep 1", "odd\\xff\\\\"], report["command"])
        self.assertGreaterEqual(report["seconds"], 1)
        self.assertEqual("'sh' ended with exit status 0", report["message"])

    def test_an_interruption(self):
        process, pid = self.begin("--report", self.path("report"))
        process.send_signal(signal.SIGTERM)
        self.assertEqual(-signal.SIGTERM, process.wait(PATIENCE))
        with open(self.path("report"), encoding="utf-8") as file:
            report = json.load(file)
        self.assertEqual(("WP_SIGNAL", 9, 15, False), (report["state"], report["signal"], report["interrupted_by"],
                                                       report["killed_by_timer"]))
        self.assertNobodyIsLeft(pid)

    def test_that_it_could_not(self):
        ended = self.run_tool("--report", "/dev/full", "true")
        self.assertEnds(ended, 125, "", "tldevice: cannot write the report: No space left on device\n")


class RunKeepsACopy(RunTest):
    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def test_of_all_starts(self):
        ended = self.run_tool("--log", self.path("log"), "--restarts", "1", "sh", "-c", "echo out; exit 1")
        self.assertEnds(ended, 1, "out\nout\n", "")
        self.assertEqual(b"out\nout\n", self.read("log"))

    def test_quietly(self):
        ended = self.run_tool("-q", "--log", self.path("log"), "sh", "-c", "echo out")
        self.assertEnds(ended, 0, "", "")
        self.assertEqual(b"out\n", self.read("log"))

    def test_and_says_where_it_could_not(self):
        ended = self.run_tool("--log", "/dev/full", "sh", "-c", 'echo out; echo done >"$1"', "sh",
                              self.path("done"))
        self.assertEnds(ended, 125, "out\n", "tldevice: cannot write to the log file: No space left on device\n")
        self.assertEqual(b"done\n", self.read("done"))

    def test_and_leaves_none_of_the_librarys(self):
        ended = self.in_tmp("""
            $T run -- sh -c 'ls /tmp | wc -l'
            $T run -t 1 -q -- sleep 1000; $T run -- no-such-program; $T run --restarts 3 -- false
            ls -A /tmp
        """)
        self.assertEqual("1\n", ended.text)


class RunIsInterrupted(RunTest):
    def test_by_each_signal_with_and_without_a_time_out(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            for words in ((), ("-t", "1h")):
                process, pid = self.begin(*words)
                process.send_signal(number)
                self.assertEqual(-number, process.wait(PATIENCE))
                self.assertEqual(b"", process.stderr.read())
                self.assertNobodyIsLeft(pid)

    def test_between_restarts(self):
        process, pid = self.begin("--restarts", "1000")
        process.send_signal(signal.SIGINT)
        self.assertEqual(-signal.SIGINT, process.wait(PATIENCE))
        self.assertNobodyIsLeft(pid)

    def test_not_by_what_the_caller_ignores(self):
        process = subprocess.Popen(["sh", "-c", "trap '' HUP; exec \"$@\"", "sh", TLDEVICE, "run", "sh", "-c",
                                    "echo $$; read line; echo $line"], stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, env=installed.environment())
        pid = int(process.stdout.readline())
        process.send_signal(signal.SIGHUP)
        out, _ = process.communicate(b"survived\n", PATIENCE)
        self.assertEqual((b"survived\n", 0), (out, process.returncode))
        self.assertNobodyIsLeft(pid)

    def test_though_nobody_reads_its_output(self):
        read, write = os.pipe()
        process = subprocess.Popen([TLDEVICE, "run", "sh", "-c", 'echo $$ >"$1"; while :; do echo y; done', "sh", self.path("pid")],
                                   stdout=write, stderr=subprocess.DEVNULL, env=installed.environment())
        os.close(write)
        pid = self.wait_for(lambda: self.pid_in(self.path("pid")))
        process.send_signal(signal.SIGTERM)
        self.assertEqual(-signal.SIGTERM, process.wait(PATIENCE))
        os.close(read)
        self.assertNobodyIsLeft(pid)

    def test_by_a_reader_that_goes_away(self):
        ended = self.shell("tldevice run -- sh -c 'while :; do echo y; done' | head -n 1; echo ${PIPESTATUS[0]}", shell=("bash",))
        self.assertEnds(ended, 0, "y\n141\n", "")
        with self.assertRaises(ChildProcessError):
            os.waitpid(-1, os.WNOHANG)

    def test_with_an_error_by_a_reader_that_goes_away_where_that_signal_is_ignored(self):
        ended = self.shell("trap '' PIPE; tldevice run -- sh -c 'while :; do echo y; done' | head -n 1; echo ${PIPESTATUS[0]}", shell=("bash",))
        self.assertEqual("y\n125\n", ended.text)
        with self.assertRaises(ChildProcessError):
            os.waitpid(-1, os.WNOHANG)

    def test_with_the_childs_end_known_though_the_caller_ignores_it(self):
        ignoring = "import os, signal, sys; signal.signal(signal.SIGCHLD, signal.SIG_IGN); os.execv(sys.argv[1], sys.argv[1:])"
        self.assertEqual(7, self.execute(["python3", "-c", ignoring, TLDEVICE, "run", "sh", "-c", "exit 7"]).code)


class RunShows(RunTest):
    def test_output_while_the_program_runs(self):
        # Only when the first line was seen is the second one asked for.
        process = subprocess.Popen([TLDEVICE, "run", "sh", "-c", "echo first; read line; echo $line"],
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE, env=installed.environment())
        self.assertEqual(b"first\n", process.stdout.readline())
        out, _ = process.communicate(b"second\n", PATIENCE)
        self.assertEqual((b"second\n", 0), (out, process.returncode))

    def test_a_line_that_is_not_finished(self):
        process = subprocess.Popen([TLDEVICE, "run", "sh", "-c", "printf prompt; read line"],
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE, env=installed.environment())
        self.assertEqual(b"prompt", process.stdout.read(6))
        process.communicate(b"\n", PATIENCE)

    def test_that_standard_output_fails_and_lets_the_program_finish(self):
        for script in ("tldevice run sh -c 'echo x; echo done >\"$1\"' sh \"$1\" >/dev/full",
                       "tldevice run sh -c 'echo x; echo done >\"$1\"' sh \"$1\" >&-"):
            ended = self.shell(script, self.path("done"))
            self.assertEqual(125, ended.code)
            self.assertRegex(ended.complaint, "^tldevice: cannot write to standard output: "
                                              "(No space left on device|Bad file descriptor)\n$")
            os.unlink(self.path("done"))

    def test_nothing_wrong_on_a_closed_output_that_is_not_used(self):
        self.assertEnds(self.shell("tldevice run true >&-"), 0, "", "")

    def test_closed_input_as_closed(self):
        # As where the program is merely executed: an emulator between us may have put something there.
        script = "sh -c 'cat >/dev/null 2>&1; echo $?' <&-"
        self.assertEqual(self.shell("tldevice sandbox --as kr30 -- " + script).text,
                         self.shell("tldevice run -- " + script).text)

    def test_what_happens_when_asked(self):
        ended = self.run_tool("-v", "--restarts", "1", "sh", "-c", "exit 3")
        self.assertEqual("tldevice: started sh -c exit 3\n"
                         "tldevice: 'sh' ended with exit status 3\n"
                         "tldevice: starting it again, 1 of 1\n"
                         "tldevice: started sh -c exit 3\n"
                         "tldevice: 'sh' ended with exit status 3\n", ended.complaint)

    def memory_of(self, *words):
        """The most memory that the tool had, in KiB, and its exit status."""
        with open(os.devnull, "w", encoding="ascii") as null:
            process = subprocess.Popen([TLDEVICE, "run", *words], stdout=null, stderr=null,
                                       env=installed.environment())
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
        return usage.ru_maxrss, process.returncode

    def test_a_gibibyte_without_growing(self):
        size = 1 << 30
        with open(self.path("report"), "w", encoding="ascii"):
            small, _ = self.memory_of("--report", self.path("report"), "head", "-c", "10", "/dev/zero")
        large, status = self.memory_of("--report", self.path("report"), "head", "-c", str(size), "/dev/zero")
        with open(self.path("report"), encoding="utf-8") as file:
            self.assertEqual((0, size), (status, json.load(file)["log_bytes"]))
        self.assertLess(large, small + 4096)


if __name__ == "__main__":
    installed.main()
