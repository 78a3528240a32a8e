"""tldevice run: a program under supervision, from its first byte to its last."""

import errno
import hashlib
import os
import resource
import shutil
import signal
import subprocess
import sys
import unittest

import installed
from installed import EMULATED, INSTRUMENTED, NO_LEAK_CHECK, PATIENCE, TLDEVICE
from supervised import RunTest, become_subreaper


def setUpModule():
    become_subreaper()


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

    def test_any_number_of_words(self):
        for count in (1, 9, 10, 11, 5000):
            words = [str(number) for number in range(count)]
            self.assertEnds(self.run_tool("echo", *words), 0, " ".join(words) + "\n", "")

    def test_the_environment(self):
        self.assertEnds(self.run_tool("--env", "A=1", "--env=B=x y=z", "--env", "C=", "sh", "-c",
                                      'echo "$A|$B|$C|${C-unset}"'), 0, "1|x y=z||\n", "")

    def test_a_signal_as_128_and_its_number(self):
        for number in (signal.SIGKILL, signal.SIGTERM, signal.SIGSEGV, signal.SIGHUP, signal.SIGUSR1):
            self.assertEnds(self.run_tool("sh", "-c", f"kill -{int(number)} $$"), 128 + number, "", "")

    @unittest.skipIf(EMULATED, "the emulator lets no ignored signals through to the command that only executes a program")
    def test_signals_that_the_caller_ignores_and_none_besides(self):
        # The child's ignored signals: SIGPIPE or SIGALRM would mean that our own handling leaks
        # into it.
        mask = "sh -c 'grep SigIgn /proc/self/status'"
        for held in ("", "trap '' HUP ALRM; "):
            self.assertEqual(self.shell(held + "tldevice sandbox --as kr30 -- " + mask).out,
                             self.shell(held + "tldevice run -- " + mask).out)

    def test_nothing_it_has_open(self):
        ended = self.run_tool("--log", self.path("log"), "--report", self.path("report"), "ls", "/proc/self/fd")
        own = self.execute(["ls", "/proc/self/fd"])
        self.assertEqual(own.text, ended.text)


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
        said = "exec failed: errno = 2, No such file or directory"
        self.assertEnds(self.run_tool("sh", "-c", f"echo '{said}'; exit 255"), 255, said + "\n", "")
        self.assertEqual(255, self.run_tool("sh", "-c", f"echo '{said}'; echo more; exit 255").code)
        self.assertEqual(3, self.run_tool("sh", "-c", f"echo '{said}'; exit 3").code)

    def test_wrong_use_with_125(self):
        for words in ((), ("--",), ("--bogus", "true"), ("--restarts", "many", "true"), ("--restarts", "-1", "true"),
                      ("--restarts", "", "true"), ("--env", "novalue", "true"), ("--env", "=x", "true"),
                      ("-q", "-v", "true"), ("-t", "1", "-t", "2", "true"), ("--color", "maybe", "true"),
                      ("-s", "NONE", "true"), ("-s", "", "true"), ("-s", "0", "true"), ("-s", "65", "true"),
                      ("-s", "-9", "true"), ("-s", "RTMAX+1", "true"), ("-s", "RTMIN-1", "true"),
                      ("-s", "RTMIN+99", "true"), ("--log", "-", "true"), ("--report", "-", "true")):
            ended = self.run_tool(*words)
            self.assertEqual((125, ""), (ended.code, ended.text), words)
            self.assertTrue(ended.complaint.endswith("tldevice: try 'tldevice run --help'\n"), words)

    def test_what_is_no_duration_and_says_what_is(self):
        for duration in ("", ".", "s", "ms", "1e3", "-1", "+1", "0x1", " 1", "1 ", "1 s", "inf", "nan", "1w", "1.2.3",
                         "1,5", "1s5", "1S", "1µs"):
            for option in ("-t", "-k"):
                name = {"-t": "timeout", "-k": "kill-after"}[option]
                ended = self.run_tool(option, duration, "true")
                self.assertEnds(ended, 125, "", f"tldevice: --{name} takes a duration, not '{duration}'; "
                                "for example 90, .1, 1.5s, 500ms, 5m, 1h or 1d\ntldevice: try 'tldevice run --help'\n")

    def test_one_file_for_two(self):
        with open(self.path("file"), "w", encoding="ascii") as file:
            file.write("precious\n")
        os.link(self.path("file"), self.path("hard"))
        os.symlink("file", self.path("soft"))
        for other in ("file", "hard", "soft"):
            ended = self.run_tool("--log", self.path("file"), "--report", self.path(other), "touch", self.path("ran"))
            self.assertEqual((125, "", True), (ended.code, ended.text, "--report and --log name the same file" in ended.complaint))
        self.assertEqual(b"precious\n", self.read("file"))
        self.assertFalse(os.path.exists(self.path("ran")))
        self.assertEqual(0, self.run_tool("--log", "/dev/null", "--report", "/dev/null", "true").code)

    def test_a_directory_to_write_to(self):
        ended = self.run_tool("--log", self.directory, "true")
        self.assertEnds(ended, 125, "", f"tldevice: cannot write '{self.directory}': Is a directory\n")

    @unittest.skipIf(EMULATED, "the emulator needs a thread of its own")
    def test_where_there_is_no_process_to_be_had(self):
        if os.getuid() != 0:
            self.skipTest("root alone may become somebody else")
        ended = self.run_as_nobody("true", env=NO_LEAK_CHECK,
                                   preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NPROC, (0, 0)))
        self.assertEnds(ended, 125, "", "tldevice: cannot run 'true': Resource temporarily unavailable\n")

    @unittest.skipIf(EMULATED or INSTRUMENTED, "the emulator, or the address checker, opens files itself")
    def test_where_there_is_no_descriptor_to_be_had(self):
        complaints = set()
        for most in range(4, 9):
            ended = self.run_tool("true", preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (most, most)))
            self.assertEqual(0 if ended.complaint == "" else 125, ended.code)
            complaints.add(ended.complaint)
        self.assertEqual({"tldevice: cannot run 'true': Too many open files\n", ""}, complaints)

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

    def test_of_the_child_alone(self):
        self.assertEqual(127, self.run_tool("--env", "PATH=/nowhere", "echo").code)
        self.assertEqual(127, self.run_tool("--env", "PATH=/bin", "--env", "PATH=/nowhere", "echo").code)

    def test_beyond_what_is_no_directory(self):
        first, _ = self.directories()
        self.program("first/which", "#!/bin/sh\necho first\n")
        self.program("file", "")
        odd = f"/nowhere:{self.path('file')}:{self.directory}/{'x' * 300}:{first}"
        self.assertEqual("first\n", self.run_tool("which", env={"PATH": odd}).text)

    def test_for_what_may_be_executed_and_not_be_read(self):
        if os.getuid() != 0:
            self.skipTest("root alone may become somebody else")
        shutil.copy("/bin/echo", self.path("secret"))
        os.chmod(self.path("secret"), 0o711)
        self.assertEnds(self.run_as_nobody(self.path("secret"), "ran"), 0, "ran\n", "")

    def test_where_there_is_none(self):
        self.assertEqual("hello\n", self.run_tool("echo", "hello", env={"PATH": None}).text)


class RunHasALimit(RunTest):
    def test_after_what_the_duration_says(self):
        for duration, seconds in (("90", "90"), ("90s", "90"), ("5m", "300"), ("1h", "3600"), ("007", "7"), (".1", "0.1"),
                                  ("1.5s", "1.5"), ("500ms", "0.5"), ("1d", "86400"), ("1.", "1"), ("0.25h", "900"),
                                  ("1.000000001", "1.000000001"), ("0." + "0" * 30 + "1", "0.000000001"),
                                  ("100000d", "8640000000")):
            ended = self.run_tool("-v", "-t", duration, "true")
            self.assertIn(f"tldevice: started true, for at most {seconds} s\n", ended.complaint)

    def test_but_not_where_no_clock_reaches_it(self):
        for words in ((), ("-t", "0"), ("-t", "0m"), ("-t", ".0"), ("-t", "200000d"), ("-t", "9" * 400), ("-t", "9" * 400 + "ms")):
            ended = self.run_tool("-v", *words, "sh", "-c", "exit 9")
            self.assertEqual((9, True), (ended.code, "tldevice: started sh -c exit 9\n" in ended.complaint), words)


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
            (("-t", "1", "sleep", "1000"),       (124, "WP_FINISHED", 0, 15, errno.ETIME, "Timer expired", True, 0, 1, 0)),
            (("-t", ".1", "-s", "KILL", "sleep", "1000"),
                                                 (124, "WP_SIGNAL", 0, 9, errno.ETIME, "Timer expired", True, 0, 1, 0)),
            (("/no/such/prog",),                 (127, "WP_FINISHED", 127, 0, errno.ENOENT,
                                                  "No such file or directory", False, 0, 0, 0)),
            (("/etc/passwd",),                   (126, "WP_FINISHED", 126, 0, errno.EACCES, "Permission denied",
                                                  False, 0, 0, 0)),
            ((garbage,),                         (126, "WP_FINISHED", 126, 0, errno.ENOEXEC, "Exec format error",
                                                  False, 0, 0, 0)),
        )
        for words, wanted in endings:
            self.assertEqual(wanted, self.ending(self.reported(*words)), words)

    def test_the_command_and_the_time(self):
        report = self.reported("sh", "-c", "sleep 1", b"odd\xff\\")
        self.assertEqual(["sh", "-c", "sleep 1", "odd\\xff\\\\"], report["command"])
        self.assertGreaterEqual(report["seconds"], 1)
        self.assertEqual("'sh' exited with status 0", report["message"])

    def test_an_interruption(self):
        process, pid = self.begin("--report", self.path("report"))
        process.send_signal(signal.SIGTERM)
        self.assertEqual(-signal.SIGTERM, process.wait(PATIENCE))
        report = self.report()
        self.assertEqual(("WP_FINISHED", 15, 15, False, False),
                         tuple(report[key] for key in ("state", "signal", "interrupted_by", "killed_by_timer", "killed")))
        self.assertNobodyIsLeft(pid)

    def test_that_it_could_not(self):
        ended = self.run_tool("--report", "/dev/full", "true")
        self.assertEnds(ended, 125, "", "tldevice: cannot write the report: No space left on device\n")


class RunKeepsACopy(RunTest):
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

    def test_up_to_what_a_file_may_hold(self):
        ended = self.run_tool("--log", self.path("log"), "--report", self.path("report"), "sh", "-c", "seq 1000",
                              preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (1000, 1000)))
        self.assertEnds(ended, 125, "".join(f"{number}\n" for number in range(1, 1001)),
                        "tldevice: cannot write to the log file: File too large\n")
        self.assertFalse(self.report()["output_complete"])

    def test_and_ends_as_the_program_where_that_failed_anyway(self):
        report = self.reported("--log", "/dev/full", "sh", "-c", "echo out; exit 3")
        self.assertEqual((3, False), (report["exit_code"], report["output_complete"]))

    def test_and_leaves_none_of_the_librarys(self):
        ended = self.in_tmp("""
            $T run -t 1 -q -- sleep 1000; $T run -- no-such-program; $T run --restarts 3 -- false
            ls -A /tmp
        """)
        self.assertEqual("", ended.text)


class RunShows(RunTest):
    def test_output_while_the_program_runs(self):
        # The second line is only requested after the first was seen.
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
        # Compared with a plain execution, because an emulator may open descriptors.
        script = "sh -c 'cat >/dev/null 2>&1; echo $?' <&-"
        self.assertEqual(self.shell("tldevice sandbox --as kr30 -- " + script).text,
                         self.shell("tldevice run -- " + script).text)

    def test_what_happens_when_asked(self):
        ended = self.run_tool("-v", "--restarts", "1", "sh", "-c", "exit 3")
        self.assertEqual("tldevice: started sh -c exit 3\n"
                         "tldevice: 'sh' exited with status 3\n"
                         "tldevice: restarting, 1 of 1\n"
                         "tldevice: started sh -c exit 3\n"
                         "tldevice: 'sh' exited with status 3\n", ended.complaint)

    def memory_of(self, *words):
        """The peak memory of the tool in KiB, and its exit status."""
        with open(os.devnull, "w", encoding="ascii") as null:
            process = subprocess.Popen([TLDEVICE, "run", *words], stdout=null, stderr=null,
                                       env=installed.environment())
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
        return usage.ru_maxrss, process.returncode

    def test_a_gibibyte_byte_for_byte_and_without_growing(self):
        program = ("import hashlib, sys\nblock = b''.join(hashlib.sha256(b'%d' % n).digest() for n in range(2048))\n"
                   "for n in range(1 << 14): sys.stdout.buffer.write(b'%012d' % n + block[12:])\n")
        block = b"".join(hashlib.sha256(b"%d" % n).digest() for n in range(2048))
        wanted, found, size = hashlib.blake2b(), hashlib.blake2b(), 0
        for number in range(1 << 14):
            wanted.update(b"%012d" % number + block[12:])

        process = self.start("--report", self.path("report"), "--", sys.executable, "-c", program)
        while piece := process.stdout.read(1 << 20):
            found.update(piece)
            size += len(piece)
        self.assertEqual((0, 1 << 30, wanted.digest()), (process.wait(), size, found.digest()))
        self.assertEqual((1 << 30, True), (self.report()["log_bytes"], self.report()["output_complete"]))

        small, _ = self.memory_of("true")
        large, _ = self.memory_of("head", "-c", str(1 << 30), "/dev/zero")
        self.assertLess(large, small + 4096)


if __name__ == "__main__":
    installed.main()
