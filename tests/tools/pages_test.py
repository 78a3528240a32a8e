"""The installed manual and completions, compared with the command's help, and used in their shells."""

import fcntl
import os
import pty
import re
import select
import struct
import tempfile
import termios
import time

import installed
from installed import KR20V2, PATIENCE, STAGE, TLDEVICE, ToolTest

SHARE = os.path.join(STAGE, "share")
MANUAL = os.path.join(SHARE, "man/man1/tldevice.1")


def without_markup(line):
    line = re.sub(r"\\f[BIR]", "", line)
    for code, character in (("\\-", "-"), ("\\(aq", "'"), ("\\&", ""), ("\\e", "\\")):
        line = line.replace(code, character)
    return line


class PagesTest(ToolTest):
    def options_of(self, command):
        """All spellings of the options in the command's help."""
        text = self.tool(command, "--help").text
        found = set()
        for line in text[text.index("\nOptions:"):].splitlines():
            match = re.match(r"  (?:(-\w), )?(--[a-z-]+)", line)
            if match:
                found.update(name for name in match.groups() if name)
        return found

    def ids(self):
        return [line.split("\t")[1] for line in self.tool("types", "--plain").text.splitlines()]


class Made(PagesTest):
    def test_from_the_descriptions_of_the_commands(self):
        for kind, path in (("man", MANUAL), ("schema", "tldevice/tldevice.schema.json")):
            with open(os.path.join(SHARE, path), "rb") as file:
                made, installed_ = self.execute([os.environ["PAGES"], kind]).out, file.read()
                share = re.search(rb"\.B (/.*)/tldevice/tldevice\.schema\.json", installed_)  # filled in by the build
                if kind == "man":
                    made = made.replace(b"@CMAKE_INSTALL_FULL_DATADIR@", share.group(1))
                self.assertEqual(made, installed_,
                                 "run: cmake --build build/dev --target tldevice-pages-update")


class Manual(PagesTest):
    def setUp(self):
        with open(MANUAL, encoding="utf-8") as file:
            self.lines = file.read().splitlines()

    def section(self, title):
        start = self.lines.index(".SH " + title)
        end = next((i for i in range(start + 1, len(self.lines)) if self.lines[i].startswith(".SH ")), None)
        return self.lines[start + 1:end]

    def test_is_good_markup(self):
        ended = self.execute(["man", "--warnings=w", "-E", "UTF-8", "-l", MANUAL])
        self.assertEnds(ended, 0, err="")

    def test_pleases_a_second_reader(self):
        ended = self.execute(["mandoc", "-Tlint", MANUAL])
        self.assertEnds(ended, 0, "", "")

    def test_shows_operands_and_a_date(self):
        text = without_markup("\n".join(self.section("SYNOPSIS")))
        for line in ("tldevice types [ID] [--field F]", "tldevice help [COMMAND]", "tldevice sandbox --as ID [--] CMD [ARG...]"):
            self.assertIn(line, text)
        self.assertRegex(self.lines[1], r'^\.TH TLDEVICE 1 "20\d\d-\d\d-\d\d" ')

    def test_has_all_sections(self):
        for title in ("NAME", "SYNOPSIS", "DESCRIPTION", "COMMANDS", "OPTIONS", "OUTPUT", "EXIT STATUS", "ENVIRONMENT",
                      "FILES", "NOTES", "EXAMPLES", "SEE ALSO"):
            self.assertIn(".SH " + title, self.lines)

    def test_describes_every_command_and_option(self):
        text = [without_markup(line) for line in self.lines]
        common = set(re.findall(r"(?<![\w-])--?[a-zA-Z][a-z-]*", "\n".join(
            line for line in map(without_markup, self.section("OPTIONS")) if line.startswith("-"))))
        for command in self.commands():
            start = text.index(".SS " + command)
            end = next(i for i in range(start + 1, len(text)) if text[i].startswith((".SS", ".SH")))
            own = set(re.findall(r"(?<![\w-])--?[a-z][a-z-]*", "\n".join(
                line for line in text[start:end] if line.startswith("-"))))
            missing = self.options_of(command) - own - common - {"--help"}
            self.assertEqual(set(), missing, command)

    def test_lists_every_field_of_an_answer(self):
        text = "\n".join(self.section("COMMANDS"))
        for words in (("identify",), ("types", "kr80"), ("properties", "kr20"), ("paths", "etcDir"),
                      ("identify", "--is", "kr20"), ("properties", "kr20", "--platform", "x")):
            for key in self.tool(*words, "--json", kernel=KR20V2).json:
                if key != "schema":
                    self.assertIn(f".B {key}\n", text)

    def test_names_the_exit_codes(self):
        text = [without_markup(line) for line in self.section("EXIT STATUS")]
        listed = [text[i].split()[1] for i in range(len(text)) if text[i].startswith(".B ")]
        self.assertEqual(["0", "1", "2", "3", "4", "N", "124", "125", "126", "127", "128+N"], listed)

    def test_shows_examples_that_work(self):
        lines = self.section("EXAMPLES")
        examples = [without_markup(lines[i + 1]) for i in range(len(lines)) if lines[i] == ".RS"]
        self.assertGreater(len(examples), 10)
        for example in examples:
            self.assertIn("tldevice ", example)
        self.assertTrue(set(self.commands()) <= {word for line in examples for word in line.split()})
        script = "PATH=/mnt/bin:$PATH; cd /tmp; " + "\n".join(
            f"({example}) >>out 2>&1 || echo \"$? $(cat out)\"" for example in examples) + "\ncat out; ls -A /tmp"
        ended = self.in_tmp("set -e\n" + script, kernel=KR20V2)
        self.assertEqual(0, ended.code)
        self.assertIn("yes: this device is kr20v2 (Home Controller KR20v2)\n", ended.text)
        self.assertIn("\nHome Controller KR20v2\n", ended.text)
        self.assertIn("\n/etc/um-state\n", ended.text)
        self.assertIn("\nunpacked\n", ended.text)
        self.assertTrue(ended.text.endswith("\nbundle.json\nout\n"), ended.text[-300:])


class Shell:
    """A real shell on a pseudo-terminal: types a line and the tab key, and checks what appears."""

    WORDS = ()
    PROMPT = "ready> "
    LIST = "\t\t"

    def begin(self):
        raise NotImplementedError

    def setUp(self):
        self.home = tempfile.TemporaryDirectory()
        self.addCleanup(self.home.cleanup)
        self.pid, self.terminal = pty.fork()
        if self.pid == 0:
            os.chdir(self.home.name)
            os.execvpe(self.WORDS[0], self.WORDS, installed.environment(
                {"HOME": self.home.name, "TERM": "dumb", "PATH": os.path.dirname(TLDEVICE) + ":" + os.environ["PATH"],
                 "INPUTRC": "/dev/null"}))
        fcntl.ioctl(self.terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 500, 200, 0, 0))
        self.addCleanup(self.end)
        self.seen = ""
        self.send(self.begin() + "\n")
        self.expect(self.PROMPT)

    def end(self):
        os.close(self.terminal)
        os.kill(self.pid, 9)
        os.waitpid(self.pid, 0)

    def send(self, text):
        os.write(self.terminal, text.encode())

    def expect(self, wanted):
        """Reads until `wanted` appears, and discards what was read so far."""
        deadline = time.monotonic() + PATIENCE
        while wanted not in self.seen:
            ready, _, _ = select.select([self.terminal], [], [], max(0, deadline - time.monotonic()))
            self.assertTrue(ready, f"{wanted!r} did not appear in {self.seen!r}")
            self.seen += re.sub("\x1b\\[[0-9;?]*[A-Za-z]|[\a\x00\r]", "", os.read(self.terminal, 65536).decode(errors="replace"))
        before, self.seen = self.seen.split(wanted, 1)
        return before

    def clear(self):
        self.send("\x15\n")  # clears the line
        self.send("echo clea''red\n")
        self.expect("cleared\n")
        self.expect(self.PROMPT)

    def assertCompletes(self, line, wanted):
        """The shell completes the line to `wanted`."""
        self.send(line + "\t")
        self.expect(wanted)
        self.clear()

    def offered(self, line):
        """The words that the shell lists below the line."""
        self.send(line + self.LIST)
        self.expect(line)
        self.send("\x15echo en''d\n")
        text = self.expect("end\n")
        self.expect(self.PROMPT)
        listed = text.rsplit("echo en", 1)[0].replace(self.PROMPT, "").replace(line, "").splitlines()
        return [word.split("=")[-1] for word in " ".join(row.split(" -- ")[0] for row in listed).split()]

    def test_completes_what_is_unambiguous(self):
        for line, wanted in (("tldevice ident", "tldevice identify "), ("tldevice types partn", "types partner-avr "),
                             ("tldevice identify --is devt", "--is devtab1 "),
                             ("tldevice identify --is=devt", "--is=devtab1"),
                             ("tldevice --color=alw", "--color=always"),
                             ("tldevice --color=always identify --fie", "identify --field "),
                             ("tldevice identify --field kern", "--field kernel "),
                             ("tldevice paths umStateC", "paths umStateCorruptFile "),
                             ("tldevice sandbox cl", "sandbox clean "), ("tldevice help doc", "help doctor "),
                             ("tldevice run --rep", "run --report "),
                             ("tldevice properties --platform lant", "--platform lantern "),
                             ("tldevice properties --diff kr80 devt", "--diff kr80 devtab1 "),
                             ("tldevice doctor --color nev", "--color never ")):
            self.assertCompletes(line, wanted)

    def test_leaves_programs_and_what_stands_behind_them_to_the_shell(self):
        with open(os.path.join(self.home.name, "--the-only-one"), "wb"):
            pass
        for line in ("tldevice run ", "tldevice run -- ", "tldevice run -t 5 -- ", "tldevice sandbox --as kr20 ",
                     "tldevice sandbox --as=kr20 -- ", "tldevice --color=never run --log=x "):
            self.assertCompletes(line + "setpri", line + "setpriv ")
            self.assertCompletes(line + "cat ./--the-", line + "cat ./--the-only-one ")

    def test_completes_files(self):
        with open(os.path.join(self.home.name, "the-only-one"), "wb"):
            pass
        for line in ("tldevice run --log the-on", "tldevice run --log=the-on", "tldevice identify --from=the-on"):
            self.assertCompletes(line, line + "ly-one")

    def test_offers_every_option_of_every_command(self):
        for command in self.commands():
            offered = {word for word in self.offered(f"tldevice {command} -") if word.startswith("-")}
            self.assertEqual(self.options_of(command), offered, command)

    def test_offers_commands_ids_fields_and_path_names(self):
        for line, words in (("", self.commands()), ("identify --is ", self.ids()), ("identify --is=", self.ids()),
                            ("types kr20", ("kr20", "kr200", "kr20v2")), ("properties --diff kr20 ", self.ids()),
                            ("sandbox --as ", self.ids()), ("sandbox ", ("init", "status", "clean")),
                            ("properties --field flag", [f"flag{number}" for number in range(1, 7)]),
                            ("paths umState", ("umStateFile", "umStateBakFile", "umStateCorruptFile")),
                            ("doctor --color ", ("auto", "always", "never"))):
            offered = self.offered("tldevice " + line)
            self.assertEqual(set(words), set(words) & set(offered), (line, offered))

    def test_offers_nothing_where_anything_may_stand(self):
        self.assertEqual([], self.offered("tldevice identify --release "))


class Bash(Shell, PagesTest):
    WORDS = ("bash", "--norc", "--noprofile", "-i")

    def begin(self):
        return f"PS1='rea''dy> '; source {SHARE}/bash-completion/completions/tldevice; bind 'set bell-style none'; " \
               "bind 'set page-completions off'; bind 'set completion-query-items 0'; bind 'set enable-bracketed-paste off'"


class Zsh(Shell, PagesTest):
    WORDS = ("zsh", "-f", "-i")
    LIST = "\t"

    def begin(self):
        return f"PS1='rea''dy> '; fpath=({SHARE}/zsh/site-functions $fpath); autoload -U compinit; compinit -u -D; " \
               "unsetopt list_beep auto_menu list_ambiguous prompt_cr prompt_sp zle_bracketed_paste; LISTMAX=1000; PROMPT_EOL_MARK="


class Fish(PagesTest):
    def complete(self, line):
        script = f"source {SHARE}/fish/vendor_completions.d/tldevice.fish; complete -C '{line}'"
        with tempfile.TemporaryDirectory() as home:
            with open(os.path.join(home, "the-only-one"), "wb"):
                pass
            ended = self.execute(["fish", "--no-config", "-c", script], cwd=home, env={
                "HOME": home, "PATH": os.path.dirname(TLDEVICE) + ":" + os.environ["PATH"]})
        self.assertEqual("", ended.complaint)
        return [line.split("\t")[0] for line in ended.text.splitlines()]

    def test_completes_commands(self):
        self.assertEqual(sorted(self.commands()), sorted(self.complete("tldevice ")))
        self.assertEqual(sorted(self.commands()), sorted(self.complete("tldevice --color=never ")))

    def test_completes_every_option_of_every_command(self):
        for command in self.commands():
            offered = set(self.complete(f"tldevice {command} -")) | set(self.complete(f"tldevice {command} --"))
            self.assertEqual(self.options_of(command), {word for word in offered if word.startswith("-")}, command)

    def test_completes_ids_fields_and_path_names(self):
        self.assertEqual(sorted(self.ids()), sorted(self.complete("tldevice identify --is ")))
        self.assertEqual(["--is=" + name for name in sorted(self.ids())], sorted(self.complete("tldevice identify --is=")))
        self.assertEqual(["kr20", "kr200", "kr20v2"], sorted(self.complete("tldevice types kr20")))
        self.assertEqual(["kernel"], self.complete("tldevice identify --field k"))
        self.assertEqual(["umStateBakFile", "umStateCorruptFile", "umStateFile"],
                         sorted(self.complete("tldevice paths umState")))
        self.assertEqual(["clean", "init", "status"], sorted(self.complete("tldevice sandbox ")))
        self.assertEqual(["always", "auto", "never"], sorted(self.complete("tldevice doctor --color ")))
        self.assertEqual([], self.complete("tldevice identify --release "))

    def test_leaves_programs_and_what_stands_behind_them_to_the_shell(self):
        for line in ("tldevice run ", "tldevice run -- ", "tldevice sandbox --as kr20 -- ", "tldevice --color=never run --log=x "):
            self.assertIn("setpriv", self.complete(line + "setpri"))
            self.assertEqual(["the-only-one"], self.complete(line + "cat the-on"))
            self.assertNotIn("--restarts", self.complete(line + "cat --"))

    def test_completes_files(self):
        self.assertEqual(["the-only-one"], self.complete("tldevice run --log the-on"))
        self.assertEqual(["--log=the-only-one"], self.complete("tldevice run --log=the-on"))


if __name__ == "__main__":
    installed.main()
