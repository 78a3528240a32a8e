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
from installed import KR20V2, PATIENCE, TLDEVICE, ToolTest, kernel_says

ESCAPE = "\x1b"


class Terminal:
    """A pseudo-terminal of 80 columns with a command on it."""

    def __init__(self, words, env=None):
        self.pid, self.master = pty.fork()
        if self.pid == 0:
            try:
                fcntl.ioctl(0, termios.TIOCSWINSZ, struct.pack("HHHH", 24, 80, 0, 0))
                os.execvpe(words[0], words, installed.environment(env))
            finally:
                os._exit(99)
        self.seen = ""

    def read_until(self, wanted):
        """Reads on until `wanted` has appeared; to the end for None."""
        deadline = time.monotonic() + PATIENCE
        while wanted is None or not re.search(wanted, self.seen):
            ready, _, _ = select.select([self.master], [], [], max(0, deadline - time.monotonic()))
            if not ready:
                raise AssertionError(f"{wanted!r} did not appear in {self.seen!r}")
            try:
                data = os.read(self.master, 65536)
            except OSError:  # nobody has the terminal open any more
                data = b""
            if not data:
                if wanted is None:
                    return
                raise AssertionError(f"{wanted!r} did not appear in {self.seen!r}")
            self.seen += data.decode("utf-8", "surrogateescape")

    def press(self, keys):
        os.write(self.master, keys.encode())

    def end(self):
        """Reads to the end; returns how the command ended, as subprocess tells it."""
        self.read_until(None)
        _, status = os.waitpid(self.pid, 0)
        os.close(self.master)
        return os.waitstatus_to_exitcode(status)

    def screen(self):
        """What is left on the screen: carriage returns and erased lines done, colours taken out."""
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
    def on_terminal(self, *words, env=None, kernel=None):
        terminal = Terminal([*(kernel_says(kernel) if kernel else []), TLDEVICE, *words], env)
        terminal.code = terminal.end()
        return terminal


class Colour(TerminalTest):
    EXPLAIN = ("identify", "--explain")

    def explained(self, *more, env=None):
        return self.on_terminal(*self.EXPLAIN, *more, env=env, kernel=dict(KR20V2, nodename="kr30")).seen

    def test_marks_the_winner_and_the_warnings_on_a_terminal(self):
        seen = self.explained()
        self.assertIn(ESCAPE + "[1;32mat 6   kr20v2         wins: the longest id" + ESCAPE + "[0m\r\n", seen)
        self.assertIn(ESCAPE + "[1;33mWarning:" + ESCAPE + "[0m the host name holds kr30", seen)

    def test_marks_the_levels_of_the_doctor(self):
        seen = self.on_terminal("doctor", kernel=dict(KR20V2, nodename="kr30")).seen
        self.assertIn(ESCAPE + "[32mok" + ESCAPE + "[0m    identification", seen)
        self.assertIn(ESCAPE + "[1;33mwarn" + ESCAPE + "[0m  sources", seen)

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


class Status(TerminalTest):
    def test_shows_the_time_and_leaves_nothing_behind(self):
        terminal = Terminal([TLDEVICE, "run", "-t", "1h", "--", "sh", "-c", "echo begin; sleep 3; echo end; sleep 2"])
        terminal.read_until(r"\[1 s of 3600 s\] sh")
        terminal.read_until(r"\[2 s of 3600 s\] sh")
        self.assertEqual(0, terminal.end())
        self.assertEqual(["begin", "end"], terminal.screen())

    def test_goes_before_output_that_comes_in_the_middle_of_a_look(self):
        # Each look at the output's size lasts, so that there is more when it ends.  An emulated tool cannot be held up.
        looks = "?fstat,?newfstatat"
        held_up = [] if installed.EMULATED else \
            ["strace", "-qq", "-o", "/dev/null", "-e", "trace=" + looks, "-e", f"inject={looks}:delay_exit=150000"]
        terminal = Terminal([*held_up, TLDEVICE, "run", "--", "sh", "-c", "echo begin; sleep 2; echo end; sleep 1"],
                            {"ASAN_OPTIONS": "detect_leaks=0"})  # a leak checker cannot look while it is traced
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

    def test_is_not_shown_in_a_pipe(self):
        self.assertEnds(self.tool("run", "sleep", "2"), 0, "", "")


class Keys(TerminalTest):
    def test_interrupt_and_leave_nobody_behind(self):
        for words in ((), ("-t", "1h")):
            terminal = Terminal([TLDEVICE, "run", *words, "--", "sh", "-c", "trap '' INT; echo $$; exec sleep 1000"])
            terminal.read_until(r"\d+\r\n")
            pid = int(re.search(r"\d+", terminal.seen).group())
            terminal.press("\x03")
            self.assertEqual(-signal.SIGINT, terminal.end())
            with self.assertRaises(ProcessLookupError):
                os.kill(pid, 0)

    def test_hang_up_when_the_terminal_goes_away(self):
        terminal = Terminal([TLDEVICE, "run", "--", "sh", "-c", "trap '' HUP; echo $$; exec sleep 1000"])
        terminal.read_until(r"\d+\r\n")
        pid = int(re.search(r"\d+", terminal.seen).group())
        os.close(terminal.master)
        _, status = os.waitpid(terminal.pid, 0)
        self.assertEqual(-signal.SIGHUP, os.waitstatus_to_exitcode(status))
        with self.assertRaises(ProcessLookupError):
            os.kill(pid, 0)


if __name__ == "__main__":
    installed.main()
