"""The manual and the completions: as installed, against what the command itself says, and in their shells."""

import os
import pty
import re
import select
import tempfile
import time

import installed
from installed import KR20V2, PATIENCE, STAGE, ToolTest

COMMANDS = ("identify", "types", "properties", "paths", "sandbox", "run", "doctor")
SHARE = os.path.join(STAGE, "share")
MANUAL = os.path.join(SHARE, "man/man1/tldevice.1")


def without_markup(line):
    line = re.sub(r"\\f[BIR]", "", line)
    for code, character in (("\\-", "-"), ("\\(aq", "'"), ("\\&", ""), ("\\e", "\\")):
        line = line.replace(code, character)
    return line


class PagesTest(ToolTest):
    def options_of(self, command):
        """Every way to spell an option, as the command's own help lists them."""
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
    def test_from_the_tables_of_the_command(self):
        words = [os.environ["PAGES"]]
        for kind, path in (("man", MANUAL), ("bash", "bash-completion/completions/tldevice"),
                           ("zsh", "zsh/site-functions/_tldevice"),
                           ("fish", "fish/vendor_completions.d/tldevice.fish")):
            with open(os.path.join(SHARE, path), "rb") as file:
                self.assertEqual(self.execute([*words, kind]).out, file.read(),
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

    def test_has_all_sections(self):
        for title in ("NAME", "SYNOPSIS", "DESCRIPTION", "COMMANDS", "OPTIONS", "ANSWERS", "EXIT STATUS", "ENVIRONMENT",
                      "FILES", "EXAMPLES", "SEE ALSO"):
            self.assertIn(".SH " + title, self.lines)

    def test_describes_every_command_and_option(self):
        text = [without_markup(line) for line in self.lines]
        common = {line.split()[0].rstrip(",") for line in map(without_markup, self.section("OPTIONS"))
                  if line.startswith("-")}
        for command in COMMANDS:
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
        self.assertTrue(set(COMMANDS) <= {word for line in examples for word in line.split()})
        script = "PATH=/mnt/bin:$PATH; cd /tmp; " + "\n".join(
            f"({example}) >>out 2>&1 || echo \"$? $(cat out)\"" for example in examples) + "\ncat out; ls -A /tmp"
        ended = self.in_tmp("set -e\n" + script, kernel=KR20V2)
        self.assertEqual(0, ended.code)
        self.assertIn("yes: this device is kr20v2 (Home Controller KR20v2)\n", ended.text)
        self.assertIn("\nHome Controller KR20v2\n", ended.text)
        self.assertIn("\n/etc/um-state\n", ended.text)
        self.assertIn("\nunpacked\n", ended.text)
        self.assertTrue(ended.text.endswith("\nbundle.json\nout\n"), ended.text[-300:])


class Bash(PagesTest):
    def complete(self, *words):
        """What bash offers for the last of these words."""
        script = 'source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _tldevice; printf "%s\\n" "${COMPREPLY[@]}"'
        ended = self.execute(["bash", "-c", script, "bash",
                              os.path.join(SHARE, "bash-completion/completions/tldevice"), "tldevice", *words])
        self.assertEqual("", ended.complaint)
        return ended.text.split()

    def test_completes_commands(self):
        self.assertEqual(list(COMMANDS), [word for word in self.complete("") if not word.startswith("-")])
        self.assertEqual(["identify"], self.complete("id"))

    def test_completes_every_option_of_every_command(self):
        for command in COMMANDS:
            self.assertEqual(self.options_of(command), set(self.complete(command, "-")), command)

    def test_completes_ids_fields_and_path_names(self):
        self.assertEqual(self.ids(), self.complete("identify", "--is", ""))
        self.assertEqual({"kr20v2", "kr20", "kr200"}, set(self.complete("types", "kr20")))
        self.assertEqual(self.ids(), self.complete("properties", "--diff", "kr20", ""))
        self.assertEqual(self.ids(), self.complete("sandbox", "--as", ""))
        self.assertEqual(["kernel"], self.complete("identify", "--field", "k"))
        self.assertEqual(["flag1", "flag2", "flag3", "flag4", "flag5", "flag6"],
                         self.complete("properties", "--field", "fl"))
        self.assertEqual(["umStateFile", "umStateBakFile", "umStateCorruptFile"], self.complete("paths", "umState"))
        self.assertEqual(["init", "status", "clean"], [w for w in self.complete("sandbox", "") if w[0] != "-"])
        self.assertEqual(["auto", "always", "never"], self.complete("doctor", "--color", ""))
        self.assertEqual(["lantern"], self.complete("properties", "--platform", "l"))
        self.assertEqual([], self.complete("identify", "--release", ""))

    def test_completes_programs_and_files(self):
        self.assertIn("uname", self.complete("run", "una"))
        self.assertIn("uname", self.complete("sandbox", "--as", "kr20", "--", "una"))
        with tempfile.TemporaryDirectory() as directory:
            open(os.path.join(directory, "the-only-one"), "wb").close()
            self.assertEqual([os.path.join(directory, "the-only-one")],
                             self.complete("run", "--log", os.path.join(directory, "the-")))


class Fish(PagesTest):
    def complete(self, line):
        script = f"source {SHARE}/fish/vendor_completions.d/tldevice.fish; complete -C '{line}'"
        with tempfile.TemporaryDirectory() as home:
            ended = self.execute(["fish", "--no-config", "-c", script], env={"HOME": home})
        self.assertEqual("", ended.complaint)
        return [line.split("\t")[0] for line in ended.text.splitlines()]

    def test_completes_commands(self):
        self.assertEqual(sorted(COMMANDS), sorted(self.complete("tldevice ")))

    def test_completes_every_option_of_every_command(self):
        for command in COMMANDS:
            offered = set(self.complete(f"tldevice {command} -")) | set(self.complete(f"tldevice {command} --"))
            self.assertEqual(self.options_of(command), {word for word in offered if word.startswith("-")}, command)

    def test_completes_ids_fields_and_path_names(self):
        self.assertEqual(sorted(self.ids()), sorted(self.complete("tldevice identify --is ")))
        self.assertEqual(["kr20", "kr200", "kr20v2"], sorted(self.complete("tldevice types kr20")))
        self.assertEqual(["kernel"], self.complete("tldevice identify --field k"))
        self.assertEqual(["umStateBakFile", "umStateCorruptFile", "umStateFile"],
                         sorted(self.complete("tldevice paths umState")))
        self.assertEqual(["clean", "init", "status"], sorted(self.complete("tldevice sandbox ")))
        self.assertEqual(["always", "auto", "never"], sorted(self.complete("tldevice doctor --color ")))


class Zsh(PagesTest):
    """A real zsh on a pseudo-terminal: the tabulator key is pressed, and what appears is looked at."""

    def press(self, line, wanted):
        """Types a line and the tabulator, until `wanted` appears."""
        self.seen = ""
        with tempfile.TemporaryDirectory() as home:
            pid, terminal = pty.fork()
            if pid == 0:
                os.execvpe("zsh", ["zsh", "-f", "-i"], installed.environment({"HOME": home, "TERM": "dumb"}))
            try:
                self.send(terminal, f"PS1='rea''dy> '; fpath=({SHARE}/zsh/site-functions $fpath); autoload -U compinit; "
                                    "compinit -u -D; unsetopt list_beep\n")
                self.expect(terminal, "ready> ")
                self.send(terminal, line + "\t")
                self.expect(terminal, wanted)
            finally:
                os.close(terminal)
                os.kill(pid, 9)
                os.waitpid(pid, 0)

    @staticmethod
    def send(terminal, text):
        os.write(terminal, text.encode())

    def expect(self, terminal, wanted):
        """Reads until `wanted` has appeared, and forgets what was read up to there."""
        deadline = time.monotonic() + PATIENCE
        while wanted not in self.seen:
            ready, _, _ = select.select([terminal], [], [], max(0, deadline - time.monotonic()))
            self.assertTrue(ready, f"{wanted!r} did not appear in {self.seen!r}")
            self.seen += re.sub("\x1b\\[[0-9;?]*[A-Za-z]|[\a\x00]", "", os.read(terminal, 4096).decode(errors="replace"))
        self.seen = self.seen.split(wanted, 1)[1]

    def test_completes_words(self):
        for line, wanted in (("tldevice ident", "tldevice identify "), ("tldevice types partn", "types partner-avr "),
                             ("tldevice identify --is devt", "--is devtab1 "),
                             ("tldevice identify --field kern", "--field kernel "),
                             ("tldevice paths umStateC", "paths umStateCorruptFile "),
                             ("tldevice sandbox cl", "sandbox clean "),
                             ("tldevice run --rep", "run --report "),
                             ("tldevice properties --platform lant", "--platform lantern "),
                             ("tldevice properties --diff kr80 devt", "--diff kr80 devtab1 "),
                             ("tldevice doctor --color nev", "--color never ")):
            self.press(line, wanted)

    def test_offers_every_option_of_every_command(self):
        with open(os.path.join(SHARE, "zsh/site-functions/_tldevice"), encoding="utf-8") as file:
            text = file.read()
        for command in COMMANDS:
            part = text[text.index(f"            {command}) _arguments"):]
            part = part[:part.index(" ;;\n")]
            offered = set()
            for names in re.findall(r"'(?:\*|\([^)]*\))'(\{[^}]*\}|[-a-z]+)'\[", part):
                offered.update(names.strip("{}").split(","))
            self.assertEqual(self.options_of(command), offered, command)


if __name__ == "__main__":
    installed.main()
