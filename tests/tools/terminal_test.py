"""On a terminal: colour, headings, a status line, and the keys that interrupt."""

import fcntl
import os
import pty
import re
import select
import signal
import struct
import termios
import time

import installed
from installed import KR20V2, NOBODY, PATIENCE, TLDEVICE, ToolTest, in_private_tmp, kernel_says

ESCAPE = "\x1b"


class Terminal:
    """A pseudo-terminal with a command on it."""

    def __init__(self, words, env=None, columns=80):
        self.pid, self.master = pty.fork()
        if self.pid == 0:
            try:
                fcntl.ioctl(0, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
                os.execvpe(words[0], words, installed.environment(env))
            finally:
                os._exit(99)
        self.seen = ""

    def read_until(self, wanted):
        """Reads until `wanted` appears; None: to the end."""
        deadline = time.monotonic() + PATIENCE
        while wanted is None or not re.search(wanted, self.seen):
            ready, _, _ = select.select([self.master], [], [], max(0, deadline - time.monotonic()))
            if not ready:
                raise AssertionError(f"{wanted!r} did not appear in {self.seen!r}")
            try:
                data = os.read(self.master, 65536)
            except OSError:  # no process has the terminal open any more
                data = b""
            if not data:
                if wanted is None:
                    return
                raise AssertionError(f"{wanted!r} did not appear in {self.seen!r}")
            self.seen += data.decode("utf-8", "surrogateescape")

    def press(self, keys):
        os.write(self.master, keys.encode())

    def end(self):
        """Reads to the end; returns the exit status as subprocess does."""
        self.read_until(None)
        _, status = os.waitpid(self.pid, 0)
        os.close(self.master)
        return os.waitstatus_to_exitcode(status)

    def screen(self):
        """The final screen: carriage returns and erasures applied, colours removed."""
        lines, line, column = [], "", 0
        for code, character in re.findall(ESCAPE + r"\[([0-9;]*[A-Za-z])|(.)", self.seen, re.DOTALL):
            if code == "K":
                line = line[:column]
            elif character == "\r":
                column = 0
            elif character == "\n":
                lines.append(line)
                line, column = "", 0
            elif character:
                line = line[:column].ljust(column) + character + line[column + 1:]
                column += 1
        return lines + ([line] if line else [])


class TerminalTest(ToolTest):
    def on_terminal(self, *words, env=None, kernel=None, columns=80):
        # In a /tmp of its own: doctor lists what other tests leave there for a moment.
        terminal = Terminal([*(kernel_says(kernel) if kernel else []), *in_private_tmp('exec "$T" "$@"', *words)], env, columns)
        terminal.code = terminal.end()
        return terminal


class Colour(TerminalTest):
    EXPLAIN = ("identify", "--explain")

    def explained(self, *more, env=None):
        return self.on_terminal(*self.EXPLAIN, *more, env=env, kernel=dict(KR20V2, nodename="kr30")).seen

    def test_marks_the_winner_and_the_warnings_on_a_terminal(self):
        seen = self.explained()
        self.assertIn(ESCAPE + "[1;32mat 6   kr20v2         wins: the longest id" + ESCAPE + "[0m\r\n", seen)
        self.assertIn(ESCAPE + "[1;33mWarning:" + ESCAPE + "[0m the host name contains kr30", seen)

    def test_marks_the_levels_of_the_doctor(self):
        seen = self.on_terminal("doctor", kernel=dict(KR20V2, nodename="kr30")).seen
        self.assertIn(ESCAPE + "[32mok" + ESCAPE + "[0m    identification:", seen)
        self.assertIn(ESCAPE + "[1;33mwarn" + ESCAPE + "[0m  sources:", seen)

    def test_says_the_same_with_and_without(self):
        coloured = re.sub(ESCAPE + r"\[[0-9;]*m", "", self.explained()).replace("\r\n", "\n")
        self.assertEqual(self.tool(*self.EXPLAIN, kernel=dict(KR20V2, nodename="kr30")).text, coloured)

    def test_stays_away_where_it_is_not_wanted(self):
        self.assertNotIn(ESCAPE, self.explained(env={"NO_COLOR": "1"}))
        self.assertNotIn(ESCAPE, self.explained(env={"TERM": "dumb"}))
        self.assertNotIn(ESCAPE, self.explained(env={"TERM": None}))
        self.assertNotIn(ESCAPE, self.explained("--color", "never"))
        self.assertNotIn(ESCAPE, self.tool(*self.EXPLAIN, kernel=KR20V2).text)

    def test_comes_where_it_is_asked_for(self):
        self.assertIn(ESCAPE, self.explained("--color=always", env={"NO_COLOR": "1", "TERM": "dumb"}))
        self.assertIn(ESCAPE, self.tool(*self.EXPLAIN, "--color", "always", kernel=KR20V2).text)
        self.assertIn(ESCAPE, self.explained(env={"NO_COLOR": ""}))

    def test_never_touches_what_is_made_for_programs(self):
        for form in ("--json", "--plain", "--shell"):
            self.assertNotIn(ESCAPE, self.tool(*self.EXPLAIN, "--color=always", form, kernel=KR20V2).text)


class Heading(TerminalTest):
    def test_stands_above_lists_on_a_terminal_alone(self):
        self.assertEqual("NO ID          NAME                          IDENTIFIER",
                         self.on_terminal("types").screen()[0])
        self.assertEqual("LAYOUT  NAME                PATH                   EXISTS  KIND",
                         self.on_terminal("paths", env={"TERM": "dumb"}).screen()[0])
        self.assertTrue(self.tool("types", "--color=always").text.startswith("1  "))
        self.assertTrue(self.on_terminal("types", "--plain").seen.startswith("1\t"))


class Width(TerminalTest):
    def test_of_every_answer_is_that_of_a_serial_console(self):
        for words in (("identify",), ("identify", "--explain"), ("types",), ("types", "--lint"), ("paths", "--both"),
                      ("properties",), ("sandbox", "status"), ("doctor",), ("--help",)):
            for line in self.on_terminal(*words, kernel=KR20V2).screen():
                self.assertLessEqual(len(line), 80, (words, line))

    def widest(self, columns, *words):
        # Usage lines, examples and commands are not wrapped, so that they can be copied.
        return max(len(line) for line in self.on_terminal(*words, kernel=NOBODY, columns=columns).screen()
                   if not re.match(r"Usage:|  +tldevice |  # |  (?:id=|eval)|      \$ ", line))

    def test_of_text_is_that_of_the_terminal_between_40_and_100_columns(self):
        for words in (("doctor",), ("--help",), *((command, "--help") for command in ("identify", "sandbox", "doctor"))):
            for columns, least, most in ((20, 30, 40), (40, 30, 40), (60, 50, 60), (100, 81, 100), (250, 81, 100)):
                if words == ("--help",):
                    least = min(least, 50)
                with self.subTest(words=words, columns=columns):
                    self.assertTrue(least < self.widest(columns, *words) < most, self.widest(columns, *words))


class Status(TerminalTest):
    def test_shows_the_time_and_leaves_nothing_behind(self):
        terminal = Terminal([TLDEVICE, "run", "-t", "1h", "--", "sh", "-c", "echo begin; sleep 4; echo end; sleep 2"])
        self.assertEqual(0, terminal.end())
        # Two different times before the output goes on: a busy machine may miss a second.
        self.assertRegex(terminal.seen[:terminal.seen.index("end")], r"(?s)\[(\d) s of 3600 s\] sh.*\[(?!\1)\d s of 3600 s\] sh")
        self.assertEqual(["begin", "end"], terminal.screen())

    def test_goes_before_output_that_comes_in_the_middle_of_a_look(self):
        # Slows down each check of the output's size, so that there is more afterwards.  Not
        # possible in an emulator.
        looks = "?fstat,?newfstatat"
        held_up = [] if installed.EMULATED else \
            ["strace", "-qq", "-o", "/dev/null", "-e", "trace=" + looks, "-e", f"inject={looks}:delay_exit=150000"]
        terminal = Terminal([*held_up, TLDEVICE, "run", "--", "sh", "-c", "echo begin; sleep 2; echo end; sleep 1"],
                            {"ASAN_OPTIONS": "detect_leaks=0"})  # a leak checker cannot run under a tracer
        self.assertEqual(0, terminal.end())
        self.assertRegex(terminal.seen, r"\[\d+ s\] sh")
        self.assertEqual(["begin", "end"], terminal.screen())

    def test_does_not_disturb_a_line_that_is_not_finished(self):
        terminal = Terminal([TLDEVICE, "run", "sh", "-c", "printf prompt; read line; sleep 2; echo; sleep 2"])
        terminal.read_until("prompt")
        terminal.press("\n")
        self.assertEqual(0, terminal.end())
        self.assertNotRegex(terminal.seen, r"prompt[^\n]*\[\d+ s\]")
        self.assertRegex(terminal.seen, r"\[\d+ s\] sh")

    def test_is_not_shown_where_it_could_not_be_taken_away(self):
        for words, env in ((("-q",), None), ((), {"TERM": "dumb"})):
            terminal = self.on_terminal("run", *words, "sleep", "2", env=env)
            self.assertEqual((0, ""), (terminal.code, terminal.seen))

    def test_is_runs_own_whatever_the_programs_environment_says(self):
        terminal = self.on_terminal("run", "--env", "TERM=dumb", "sleep", "3")
        self.assertRegex(terminal.seen, r"\[\d s\] sleep")

    def test_is_not_shown_in_a_pipe(self):
        self.assertEnds(self.tool("run", "sleep", "2"), 0, "", "")


class Reading(TerminalTest):
    ASKS = "read line </dev/tty && echo \"got $line\""

    def test_is_the_programs_where_run_has_the_terminal(self):
        for words in ((), ("--foreground",), ("-t", "1h")):
            terminal = Terminal([TLDEVICE, "run", *words, "--", "sh", "-c", "echo ready; " + self.ASKS])
            terminal.read_until("ready")
            terminal.press("hello\n")
            self.assertEqual(0, terminal.end())
            self.assertIn("got hello", terminal.seen)

    def test_stops_a_group_of_its_own(self):
        terminal = Terminal(["sh", "-c", f"{TLDEVICE} run -t .5 -- sh -c '{self.ASKS}' </dev/null; echo code $?"])
        self.assertEqual(0, terminal.end())
        self.assertIn("code 124", terminal.seen)

    def test_is_the_programs_where_that_is_asked_for(self):
        terminal = Terminal(["sh", "-c", f"{TLDEVICE} run --foreground -- sh -c 'echo ready; {self.ASKS}' </dev/null; echo code $?"])
        terminal.read_until("ready")
        terminal.press("hello\n")
        self.assertEqual(0, terminal.end())
        self.assertRegex(terminal.seen, "got hello\r\ncode 0")


class Keys(TerminalTest):
    def test_reach_a_program_in_the_foreground_once(self):
        # -v names each signal that run sends: here the terminal sends it, and two at once may look like one.
        terminal = Terminal([TLDEVICE, "run", "-v", "--", "sh", "-c",
                             "trap 'echo got it' INT; echo ready; read a; read b; exit 0"])
        terminal.read_until("ready\r\n")
        terminal.press("\x03")
        terminal.read_until("got it\r\n")
        terminal.press("\n\n")
        self.assertEqual(-signal.SIGINT, terminal.end())
        self.assertEqual(1, terminal.seen.count("got it\r\n"))
        self.assertNotIn("sending", terminal.seen)

    def test_stop_both_and_the_shell_lets_them_go_on(self):
        for stdin in ("", "</dev/null"):
            terminal = Terminal(["bash", "--norc", "--noprofile", "-i"], env={"PS1": "> ", "INPUTRC": "/dev/null"})
            terminal.read_until("> ")
            terminal.press(f"{TLDEVICE} run -- sh -c 'echo re''ady; while [ ! -e /tmp/.go.$PPID ]; do sleep .1; done; exit 5' {stdin}\n")
            terminal.read_until("ready\r\n")
            terminal.press("\x1a")
            terminal.read_until("Stopped")
            terminal.press("touch /tmp/.go.$(jobs -p); fg >/dev/null; echo code $?; rm -f /tmp/.go.*; exit\n")
            terminal.end()
            self.assertIn("code 5", terminal.seen)

    def test_interrupt_and_leave_nobody_behind(self):
        for words in (("-k", ".2"), ("-k", ".2", "-t", "1h")):
            terminal = Terminal([TLDEVICE, "run", *words, "--", "sh", "-c", "trap '' INT; echo $$; exec sleep 1000"])
            terminal.read_until(r"\d+\r\n")
            pid = int(re.search(r"\d+", terminal.seen).group())
            terminal.press("\x03")
            self.assertEqual(-signal.SIGINT, terminal.end())
            with self.assertRaises(ProcessLookupError):
                os.kill(pid, 0)

    def test_hang_up_when_the_terminal_goes_away(self):
        terminal = Terminal([TLDEVICE, "run", "-k", ".2", "--", "sh", "-c", "trap '' HUP; echo $$; exec sleep 1000"])
        terminal.read_until(r"\d+\r\n")
        pid = int(re.search(r"\d+", terminal.seen).group())
        os.close(terminal.master)
        _, status = os.waitpid(terminal.pid, 0)
        self.assertEqual(-signal.SIGHUP, os.waitstatus_to_exitcode(status))
        with self.assertRaises(ProcessLookupError):
            os.kill(pid, 0)


if __name__ == "__main__":
    installed.main()
