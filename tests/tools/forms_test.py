"""The forms of an answer, and what every command has in common."""

import json
import os
import re
import signal
import subprocess

import jsonschema

import installed
from installed import KR20V2, NOBODY, STAGE, TLDEVICE, ToolTest

SHELLS = (("dash",), ("bash",), ("busybox", "ash"))

# Every query that answers with fields, and with lists.
FIELDS = (("identify",), ("identify", "--is", "kr20"), ("types", "kr80"), ("properties", "tq2"),
          ("properties", "kr20", "--platform", "quill"), ("paths", "umStateFile"))
LISTS = (("types",), ("types", "--lint"), ("properties", "--all"), ("properties", "--diff", "r5", "sn"), ("paths",),
         ("paths", "--both"), ("doctor",))
BOTH = (("identify", "--explain"), ("types", "--find", "kr20v2-kr30"))
QUERIES = FIELDS + LISTS + BOTH

# What a document of the schema each command answers with.
DOCUMENTS = {
    ("identify",): "identify", ("identify", "--explain"): "identify", ("identify", "--is", "kr20"): "identify",
    ("types",): "types", ("types", "kr80"): "type", ("types", "--lint"): "lint", ("types", "--find", "kr20v2"): "find",
    ("types", "--find", "nothing"): "find", ("properties",): "properties", ("properties", "--all"): "records",
    ("properties", "kr20", "--platform", "quill", "--manager", "x"): "properties",
    ("properties", "--diff", "r5", "r7"): "differences", ("properties", "--diff", "r5", "r5"): "differences",
    ("paths",): "paths", ("paths", "etcDir"): "path", ("sandbox", "init"): "sandbox",
    ("sandbox", "status"): "sandbox", ("sandbox", "clean"): "sandbox", ("doctor",): "doctor",
    ("doctor", "--bundle"): "bundle", ("--help",): "help", ("types", "--help"): "help", ("--version",): "version",
    ("bogus",): "error_document", ("types", "--bogus"): "error_document", ("types", "kr1"): "error_document",
    ("properties", "irx"): "error_document", ("paths", "nowhere"): "error_document",
    ("identify", "--from", "/no/such"): "error_document", ("sandbox", "--bogus"): "error_document",
    ("identify", "--is", "kr1"): "error_document", (): "error_document",
}

# Those that cannot answer where uname(2) fails.
ASKING = (("identify",), ("identify", "--explain"), ("identify", "--is", "kr20"), ("properties",), ("doctor",),
          ("doctor", "--bundle"))


def unescaped(text):
    """The bytes behind the text of --plain."""
    plain = {"\\": b"\\", "t": b"\t", "n": b"\n", "r": b"\r"}
    out = b""
    for literal, code, other in re.findall(r"([^\\]+)|\\x(..)|\\(.)", text, re.DOTALL):
        out += literal.encode() if literal else bytes.fromhex(code) if code else plain[other]
    return out


def unescaped_json(text):
    """The bytes behind a string of --json."""
    out = b""
    for literal, code, _ in re.findall(r"([^\\]+)|\\x(..)|(\\\\)", text, re.DOTALL):
        out += literal.encode() if literal else bytes.fromhex(code) if code else b"\\"
    return out


def in_words(value):
    return str(value).lower() if isinstance(value, bool) else str(value)


class FourForms(ToolTest):
    def of_fields(self, words):
        """Field names and values in each form."""
        plain = [line.split("\t") for line in self.tool(*words, "--plain", kernel=KR20V2).text.splitlines()]
        answer = self.tool(*words, "--json", kernel=KR20V2).json
        self.assertEqual(1, answer.pop("schema"))
        shell = self.tool(*words, "--shell", kernel=KR20V2).text
        names = re.findall(r"^TL_([A-Z0-9_]+)='", shell, re.MULTILINE)
        show = "; ".join(f"printf '%s\\0' \"$TL_{name}\"" for name in names)
        values = self.execute(["sh", "-c", f'eval "$1"; {show}', "sh", shell]).text.split("\0")[:-1]
        return ([(name, unescaped(value).decode()) for name, value in plain],
                [(name, in_words(value)) for name, value in answer.items()],
                [(name.lower(), value) for name, value in zip(names, values)])

    def alone(self, *words):
        """Runs the command where nobody else changes what it looks at."""
        return self.in_tmp('$T "$@"', *words, kernel=KR20V2)

    def test_hold_the_same_fields_with_the_same_values(self):
        for words in FIELDS:
            with self.subTest(words=words):
                plain, answer, shell = self.of_fields(words)
                self.assertEqual(answer, plain)
                self.assertEqual(answer, shell)

    def test_hold_for_people_what_they_hold_for_programs(self):
        for words in (("identify",), ("types", "kr80"), ("properties", "tq2"), ("paths", "umStateFile")):
            people = self.tool(*words, kernel=KR20V2).text
            shown = [line for line in people.splitlines() if re.match(r"[A-Z][A-Za-z0-9 ]*:", line)]
            plain, _, _ = self.of_fields(words)
            self.assertEqual(len(plain), len(shown), people)
            for (_, value), line in zip(plain, shown):
                if "\n" not in value:
                    self.assertEqual(value, line.split(":", 1)[1].strip())

    def test_give_each_field_alone(self):
        for words in (("identify",), ("types", "kr80"), ("properties", "tq2"), ("paths", "umStateFile")):
            plain, _, _ = self.of_fields(words)
            for name, value in plain:
                self.assertEqual(value + "\n", self.tool(*words, "--field", name, kernel=KR20V2).text)

    def test_hold_the_fields_that_the_help_names(self):
        for words in (("identify",), ("types", "kr80"), ("properties", "tq2"), ("paths", "umStateFile"),
                      ("sandbox", "status")):
            text = self.tool(words[0], "--help").text
            listed = re.findall(r"^  (\w+)", text[text.index("\nFields:"):text.index("\nExit status:")], re.MULTILINE)
            answer = self.tool(*words, "--json", kernel=KR20V2).json
            self.assertEqual(listed, [key for key in answer if key not in ("schema", "paths", "warnings")])

    def test_hold_the_same_rows(self):
        for words in LISTS:
            with self.subTest(words=words):
                answer = self.alone(*words, "--json").json
                (name, rows), = [item for item in answer.items() if item[0] != "schema"]
                self.assertGreater(len(rows), 0)
                plain = [[unescaped(value).decode() for value in line.split("\t")]
                         for line in self.alone(*words, "--plain").text.splitlines()]
                self.assertEqual([[in_words(value) for value in row.values()] for row in rows], plain)

                shell = self.alone(*words, "--shell").text
                self.assertTrue(shell.startswith(f"TL_{name.upper()}='{len(rows)}'\n"))
                keys = re.findall(r"^(TL_[A-Z0-9_]+)='", shell, re.MULTILINE)[1:]
                self.assertEqual([f"TL_{name.upper()}_{number}_{key.upper()}"
                                  for number, row in enumerate(rows, 1) for key in row], keys)

    def test_hold_for_people_every_row(self):
        for words in (("types",), ("types", "--lint"), ("paths",), ("paths", "--both")):
            plain = self.tool(*words, "--plain", kernel=KR20V2).text.splitlines()
            people = self.tool(*words, kernel=KR20V2).text.splitlines()
            for row, line in zip(plain, people):
                self.assertEqual(row.replace("\t", " ").split(), line.split())

    def test_say_of_what_list_a_line_is_where_there_are_fields_too(self):
        for words in BOTH:
            answer = self.tool(*words, "--json", kernel=dict(KR20V2, nodename="kr30")).json
            plain = self.tool(*words, "--plain", kernel=dict(KR20V2, nodename="kr30")).text
            for name, rows in answer.items():
                if isinstance(rows, list):
                    wanted = ["\t".join([name] + [in_words(value) for value in row.values()]) for row in rows]
                    self.assertEqual(wanted, [line for line in plain.splitlines() if line.startswith(name + "\t")])

    def test_exclude_each_other(self):
        for pair in (("--plain", "--json"), ("--json", "--shell"), ("--shell", "--plain"), ("--json", "--field=id")):
            self.assertEqual(2, self.tool("identify", *pair, kernel=KR20V2).code)


class HostileBytes(ToolTest):
    # All bytes that a host name can hold, in pieces that fit.
    NAMES = [bytes(range(first, min(first + 60, 256))) for first in range(1, 256, 60)] + [
        b"' \"$(touch /tmp/oops)`id`\\", b"\r\n\t", "\u00e9\u4e2d\U0001f600".encode(), b"\xc0\xaf\xed\xa0\x80\xf8\xff",
        b"-n", b"\\x41", b"'", b"\n", b" "]

    def test_survive_eval_in_every_shell(self):
        for name in self.NAMES:
            for shell in SHELLS:
                for locale in ("C", "C.UTF-8"):
                    script = 'eval "$(tldevice identify --shell)"; printf %s "$TL_NODENAME"'
                    ended = self.shell(script, shell=shell, kernel=dict(KR20V2, nodename=name),
                                       env={"LC_ALL": locale})
                    self.assertEqual(name, ended.out, (shell, locale))

    def test_come_as_they_are_alone(self):
        for name in self.NAMES:
            ended = self.tool("identify", "--field", "nodename", kernel=dict(KR20V2, nodename=name))
            self.assertEqual(name + b"\n", ended.out)

    def test_are_escaped_and_never_dropped_elsewhere(self):
        for name in self.NAMES:
            kernel = dict(KR20V2, nodename=name)
            answer = self.tool("identify", "--json", kernel=kernel).json
            self.assertEqual(name, unescaped_json(answer["nodename"]))
            plain = dict(line.split("\t") for line in
                         self.tool("identify", "--plain", kernel=kernel).text.splitlines())
            self.assertEqual(name, unescaped(plain["nodename"]))
            people = self.tool("identify", kernel=kernel).text
            shown = re.search("^Nodename: *(.*)$", people, re.MULTILINE).group(1)
            self.assertEqual(name.strip(b" "), unescaped(shown))

    def test_follow_the_rule_of_the_manual(self):
        kernel = dict(KR20V2, nodename=b"a\\b\t\x1b\xc2\x9b\xff\xc3\xa9")
        answer = self.tool("identify", "--json", kernel=kernel)
        self.assertIn(b'"nodename": "a\\\\\\\\b\\t\\u001b\xc2\x9b\\\\xff\xc3\xa9"', answer.out)
        self.assertIn(b"nodename\ta\\\\b\\t\\x1b\\xc2\\x9b\\xff\xc3\xa9\n",
                      self.tool("identify", "--plain", kernel=kernel).out)

    def test_of_the_identifier_file_come_through(self):
        every = bytes(byte for byte in range(1, 256) if byte != 10)
        kernel = dict(NOBODY, nodename="partner-avr")
        places = "mkdir /tmp/.etc; cp /etc/ld.so.cache /tmp/.etc; mount --bind /tmp/.etc /etc\n" \
                 "printf \"$1\" >/etc/device-searchtype\n"
        octal = "".join(f"\\{byte:03o}" for byte in every) + "\\nsecond line\\n"

        alone = self.in_tmp(places + "$T identify --field identifier", octal, kernel=kernel)
        self.assertEqual(every + b"-\n", alone.out)
        answer = self.in_tmp(places + "$T identify --json", octal, kernel=kernel).json
        self.assertEqual(every + b"-", unescaped_json(answer["identifier"]))
        for shell in SHELLS:
            script = 'eval "$($T identify --shell)"; printf %s "$TL_IDENTIFIER"'
            ended = self.in_tmp(places + "export T; " + " ".join(shell) + " -c '" + script + "'", octal, kernel=kernel)
            self.assertEqual(every + b"-", ended.out, shell)

    def test_that_no_shell_can_hold_are_an_error_there(self):
        kernel = dict(NOBODY, nodename="partner-avr")
        places = "mkdir /tmp/.etc; cp /etc/ld.so.cache /tmp/.etc; mount --bind /tmp/.etc /etc\n" \
                 "printf 'a\\000b\\n' >/etc/device-searchtype\n"
        ended = self.in_tmp(places + "$T identify --shell", kernel=kernel)
        self.assertEnds(ended, 4, "", "tldevice: the value of TL_IDENTIFIER holds a NUL byte, which no shell "
                                      "variable can hold; --json shows it\n")
        self.assertEqual("a\0b-", self.in_tmp(places + "$T identify --json", kernel=kernel).json["identifier"])
        self.assertEqual(b"a\0b-\n", self.in_tmp(places + "$T identify --field identifier", kernel=kernel).out)


class Json(ToolTest):
    @classmethod
    def setUpClass(cls):
        with open(os.path.join(STAGE, "share/tldevice/tldevice.schema.json"), encoding="utf-8") as file:
            cls.schema = json.load(file)
        jsonschema.Draft202012Validator.check_schema(cls.schema)
        cls.whole = jsonschema.Draft202012Validator(cls.schema)
        cls.closed = cls.strict(cls.schema)
        del cls.closed["anyOf"]

    @classmethod
    def strict(cls, schema):
        """The schema, refusing keys that it does not name."""
        if isinstance(schema, list):
            return [cls.strict(one) for one in schema]
        if not isinstance(schema, dict):
            return schema
        out = {key: cls.strict(value) for key, value in schema.items()}
        if "properties" in out and out.get("type") == "object":
            out["additionalProperties"] = False
        return out

    def assertValid(self, document, name):
        self.whole.validate(document)
        jsonschema.Draft202012Validator(dict(self.closed, **{"$ref": "#/$defs/" + name})).validate(document)

    def test_follows_the_schema_in_every_answer_and_error(self):
        for kernel in (KR20V2, NOBODY, {"errno": "14"}):
            for words, name in DOCUMENTS.items():
                if "errno" in kernel and words not in ASKING:
                    continue  # nobody asks there
                with self.subTest(words=words, kernel=kernel):
                    form = () if "--bundle" in words else ("--json",)
                    ended = self.in_tmp('$T "$@"', *words, *form, kernel=kernel)
                    unknown = ("errno" in kernel and words in ASKING) or (kernel is NOBODY and words == ("properties",))
                    self.assertValid(ended.json, "error_document" if unknown else name)

    def test_follows_the_schema_where_something_fails(self):
        for script in ("ln -s /etc /tmp/upmand; $T sandbox init --json", "ln -s /etc /tmp/upmand; $T sandbox clean --json",
                       "mount -o remount,bind,ro /tmp; $T sandbox init --json"):
            ended = self.in_tmp(script)
            self.assertEqual(4, ended.code)
            self.assertValid(ended.json, "error_document")

    def test_follows_the_schema_in_a_report(self):
        for words in (("true",), ("sh", "-c", "echo x; kill -9 $$"), ("no-such-program",), ("-t", "1", "sleep", "9")):
            ended = self.in_tmp('$T run -q --report /tmp/report "$@" >/dev/null; cat /tmp/report', *words)
            self.assertValid(ended.json, "report")

    def test_tells_wrong_use_too(self):
        for words, message in ((("--json",), "which command?"), (("bogus", "--json"), "unknown command 'bogus'"),
                               (("identify", "--json", "--bogus"), "unknown option '--bogus'"),
                               (("types", "a", "b", "--json"), "unexpected operand 'b'")):
            ended = self.tool(*words)
            self.assertEqual((2, {"schema": 1, "error": {"code": "usage", "message": message}}),
                             (ended.code, ended.json))


class EveryCommand(ToolTest):
    COMMANDS = ("identify", "types", "properties", "paths", "sandbox", "run", "doctor")

    def test_says_what_it_is_on_standard_output(self):
        for words in ((), *((command,) for command in self.COMMANDS)):
            for option in ("-h", "--help"):
                ended = self.tool(*words, option)
                self.assertEnds(ended, 0, err="")
                self.assertTrue(ended.text.startswith(" ".join(("Usage: tldevice", *words))), ended.text[:80])
            self.assertEnds(self.tool(*words, "--version"), 0, "tldevice 1.0.0\n", "")

    def test_fits_80_columns_with_its_help(self):
        for words in ((), *((command,) for command in self.COMMANDS)):
            for line in self.tool(*words, "--help").text.splitlines():
                self.assertLessEqual(len(line), 80, line)

    def test_shows_every_option_in_its_usage(self):
        common = {"-h", "--help", "--version", "--color", "--plain", "--json", "--shell"}
        for command in self.COMMANDS:
            text = self.tool(command, "--help").text
            usage, rest = text.split("\n\n", 1)
            listed = re.findall(r"^  (?:(-\w), )?(--[a-z-]+)", rest, re.MULTILINE)
            self.assertGreater(len(listed), 2)
            for short, long in listed:
                if long not in common:
                    self.assertTrue(re.search(rf"(?<![\w-])({long}|{short or long})(?![\w-])", usage), (command, long))

    def test_refuses_what_it_does_not_know(self):
        for command in self.COMMANDS:
            code = 125 if command == "run" else 2
            for option in ("--bogus", "-X", "--explai", "--json=yes", "--version=1"):
                ended = self.tool(command, option)
                self.assertEqual((code, ""), (ended.code, ended.text), (command, option))
                self.assertTrue(ended.complaint.endswith("\ntldevice: Try 'tldevice --help'\n"), ended.complaint)
        self.assertEnds(self.tool("--bogus"), 2, "",
                        "tldevice: unknown option '--bogus'\ntldevice: Try 'tldevice --help'\n")
        self.assertEnds(self.tool(), 2, "", "tldevice: which command?\ntldevice: Try 'tldevice --help'\n")

    def test_shows_no_control_characters_of_what_was_typed(self):
        ended = self.tool("types", "\x1b[31mred")
        self.assertEqual(b"tldevice: there is no device type '\\x1b[31mred'; 'tldevice types' lists them\n", ended.err)


class Output(ToolTest):
    ANSWERS = QUERIES + (("sandbox", "status"), ("doctor", "--bundle"), ("--help",), ("--version",), ("run", "--help"),
                         ("properties", "kr20", "--script"), ("identify", "--field", "id"))

    def test_to_a_full_device_is_an_error(self):
        with open("/dev/full", "wb") as full:
            for words in self.ANSWERS:
                for form in ((), ("--json",)):
                    if form and ("--script" in words or "--field" in words or words[0] == "run"):
                        continue
                    process = subprocess.run([TLDEVICE, *words, *form], stdout=full, stderr=subprocess.PIPE,
                                             env=installed.environment(), timeout=installed.PATIENCE, check=False)
                    self.assertEqual(125 if words[0] == "run" else 4, process.returncode, words)
                    self.assertIn(b"tldevice: cannot write to standard output: No space left on device\n",
                                  process.stderr)

    def test_to_a_closed_descriptor_is_an_error_and_lands_in_no_file(self):
        for words in self.ANSWERS:
            ended = self.shell('tldevice "$@" >&-', *words, kernel=KR20V2)
            self.assertNotEqual(0, ended.code, words)
            self.assertIn("tldevice: cannot write to standard output: Bad file descriptor\n", ended.complaint)

    def test_to_a_reader_that_has_gone_is_a_quiet_death(self):
        for words in self.ANSWERS:
            read, write = os.pipe()
            os.close(read)
            process = subprocess.Popen([TLDEVICE, *words], stdout=write, stderr=subprocess.PIPE,
                                       env=installed.environment())
            os.close(write)
            _, complaint = process.communicate(timeout=installed.PATIENCE)
            self.assertEqual((-signal.SIGPIPE, b""), (process.returncode, complaint), words)

    def test_to_a_reader_that_has_gone_is_an_error_where_that_signal_is_ignored(self):
        read, write = os.pipe()
        os.close(read)
        process = subprocess.Popen([TLDEVICE, "types"], stdout=write, stderr=subprocess.PIPE, restore_signals=False,
                                   env=installed.environment())  # Python ignores SIGPIPE, and the child now too
        os.close(write)
        _, complaint = process.communicate(timeout=installed.PATIENCE)
        self.assertEqual((4, b"tldevice: cannot write to standard output: Broken pipe\n"),
                         (process.returncode, complaint))

    def test_needs_no_standard_input(self):
        for words in QUERIES:
            closed = self.in_tmp('$T "$@" <&-', *words, kernel=KR20V2)
            open_ = self.in_tmp('$T "$@"', *words, kernel=KR20V2)
            self.assertEqual((open_.code, open_.out, open_.err), (closed.code, closed.out, closed.err), words)

    def test_needs_no_standard_error(self):
        ended = self.shell("tldevice identify 2>&-", kernel=NOBODY)
        self.assertEqual((3, ""), (ended.code, ended.complaint))

    def test_keeps_diagnostics_apart(self):
        self.assertEqual("", self.tool("types", "kr1").text)
        self.assertNotEqual("", self.tool("types", "kr1").complaint)


if __name__ == "__main__":
    installed.main()
