"""The forms of an answer, and everything that all commands have in common."""

import json
import os
import re
import signal
import subprocess

import jsonschema

import installed
from installed import KR20V2, NOBODY, STAGE, TLDEVICE, ToolTest

SHELLS = (("dash",), ("bash",), ("busybox", "ash"))

# Queries whose answers have fields, and lists.
FIELDS = (("identify",), ("identify", "--is", "kr20"), ("types", "kr80"), ("properties", "tq2"),
          ("properties", "kr20", "--platform", "quill"), ("paths", "umStateFile"))
LISTS = (("types",), ("types", "--lint"), ("properties", "--all"), ("properties", "--diff", "r5", "sn"), ("paths",),
         ("paths", "--both"))
BOTH = (("identify", "--explain"), ("types", "--find", "kr20v2-kr30"), ("doctor",), ("sandbox", "status"))
QUERIES = FIELDS + LISTS + BOTH

# The document of the schema that each command prints.
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

# Commands that cannot answer if uname(2) fails.
ASKING = (("identify",), ("identify", "--explain"), ("identify", "--is", "kr20"), ("properties",), ("doctor",),
          ("doctor", "--bundle"))


def unescaped(text):
    """The bytes that --plain has escaped."""
    plain = {"\\": b"\\", "t": b"\t", "n": b"\n", "r": b"\r"}
    out = b""
    for literal, code, other in re.findall(r"([^\\]+)|\\x(..)|\\(.)", text, re.DOTALL):
        out += literal.encode() if literal else bytes.fromhex(code) if code else plain[other]
    return out


def unescaped_json(text):
    """The bytes that --json has escaped."""
    out = b""
    for literal, code, _ in re.findall(r"([^\\]+)|\\x(..)|(\\\\)", text, re.DOTALL):
        out += literal.encode() if literal else bytes.fromhex(code) if code else b"\\"
    return out


def settled(text):
    """The same without what other processes change meanwhile: the free space."""
    return re.sub(r"\d+ MiB of", "some MiB of", text)


def in_words(value):
    return str(value).lower() if isinstance(value, bool) else str(value)


class FourForms(ToolTest):
    def of_fields(self, words):
        """Field names and values in each form; --plain has no names, but the same order."""
        answer = self.tool(*words, "--json", kernel=KR20V2).json
        self.assertEqual(1, answer.pop("schema"))
        line, = self.tool(*words, "--plain", kernel=KR20V2).text.splitlines()
        plain = [unescaped(value).decode() for value in line.split("\t")]
        shell = self.tool(*words, "--shell", kernel=KR20V2).text
        names = re.findall(r"^TL_([A-Z0-9_]+)='", shell, re.MULTILINE)
        self.assertEqual("ERROR", names.pop())
        show = "; ".join(f"printf '%s\\0' \"$TL_{name}\"" for name in names)
        values = self.execute(["sh", "-c", f'eval "$1"; {show}', "sh", shell]).text.split("\0")[:-1]
        return (list(zip(answer, plain, strict=True)),
                [(name, in_words(value)) for name, value in answer.items()],
                [(name.lower(), value) for name, value in zip(names, values)])

    def alone(self, *words, nodename=KR20V2["nodename"]):
        """Runs the command where no other process changes what it examines."""
        return self.in_tmp('$T "$@"', *words, kernel=dict(KR20V2, nodename=nodename))

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
                self.assertEqual(value and value + "\n", self.tool(*words, "--field", name, kernel=KR20V2).text)

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
                self.assertTrue(shell.endswith("\nTL_ERROR=''\n"))
                keys = re.findall(r"^(TL_[A-Z0-9_]+)='", shell, re.MULTILINE)[1:-1]
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
            answer = self.alone(*words, "--json", nodename="kr30").json
            plain = self.alone(*words, "--plain", nodename="kr30").text
            for name, rows in answer.items():
                if isinstance(rows, list):
                    wanted = [settled("\t".join([name] + [in_words(value) for value in row.values()])) for row in rows]
                    self.assertEqual(wanted, [settled(line) for line in plain.splitlines() if line.startswith(name + "\t")])

    def test_have_one_shape_for_one_row_and_for_many(self):
        for one, many in ((("types", "kr80"), ("types",)), (("paths", "umStateFile"), ("paths",)),
                          (("properties", "tq2"), ("properties", "--all"))):
            self.assertIn(self.tool(*one, "--plain").text, self.tool(*many, "--plain").text)

    def test_tell_a_shell_of_every_error(self):
        for words, code, error in ((("identify",), 3, "unidentified"), (("types", "--bogus"), 2, "usage"), (("bogus",), 2, "usage"),
                                   (("identify", "--from", "/no/such"), 4, "unreadable"), (("types", "kr80"), 0, ""),
                                   (("types", "--find", "x"), 1, "not_found"), (("doctor", "--bundle"), 2, "usage"),
                                   (("--help",), 0, ""), (("identify", "--is", "kr1"), 2, "usage")):
            for line in ((*words, "--shell"), ("--shell", *words)):
                ended = self.tool(*line, kernel=NOBODY)
                self.assertEqual((code, f"TL_ERROR='{error}'"), (ended.code, ended.text.splitlines()[-1]), line)

    def test_give_the_fields_of_lists_alone(self):
        self.assertEqual("tq\n", self.tool("types", "--find", "tq", "--field", "id").text)
        self.assertIn("short_id\n", self.tool("types", "--lint", "--field", "code").text)
        self.assertEqual("missing\n", self.alone("sandbox", "status", "--field", "state").text)
        self.assertIn("code_name\n", self.tool("properties", "--diff", "r5", "sn", "--field", "field").text)
        self.assertEqual("true\n", self.tool("properties", "kr20", "--platform", "quill", "--field", "yes").text)
        self.assertIn("identification\n", self.tool("doctor", "--field", "name").text)

    def test_exclude_each_other(self):
        for pair in (("--plain", "--json"), ("--json", "--shell"), ("--shell", "--plain"), ("--json", "--field=id")):
            self.assertEqual(2, self.tool("identify", *pair, kernel=KR20V2).code)


class HostileBytes(ToolTest):
    # All bytes that a host name can contain, in pieces that fit.
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
            plain, = self.tool("identify", "--plain", kernel=kernel).text.splitlines()
            self.assertEqual(name, unescaped(plain.split("\t")[list(answer).index("nodename") - 1]))
            people = self.tool("identify", kernel=kernel).text
            shown = re.search("^Nodename: *(.*)$", people, re.MULTILINE).group(1)
            self.assertEqual(name.strip(b" "), unescaped(shown))

    def test_follow_the_rule_of_the_manual(self):
        kernel = dict(KR20V2, nodename=b"a\\b\t\x1b\xc2\x9b\xff\xc3\xa9")
        answer = self.tool("identify", "--json", kernel=kernel)
        self.assertIn(b'"nodename": "a\\\\\\\\b\\t\\u001b\xc2\x9b\\\\xff\xc3\xa9"', answer.out)
        self.assertIn(b"\ta\\\\b\\t\\x1b\\xc2\\x9b\\xff\xc3\xa9\ttrue\n",
                      self.tool("identify", "--plain", kernel=kernel).out)

    def test_that_hide_or_turn_text_are_escaped_like_control_characters(self):
        for character in ("\u200b", "\u200f", "\u202e", "\u2066", "\u2069", "\ufeff", "\u00ad", "\u061c", "\u2028", "\u3000",
                          "\u00a0", "\ufe0f", "\U000e0041"):
            kernel = dict(KR20V2, nodename=("a" + character + "b").encode())
            shown = "a" + "".join(f"\\x{byte:02x}" for byte in character.encode()) + "b"
            self.assertIn(f"Nodename:   {shown}\n", self.tool("identify", kernel=kernel).text)
            self.assertIn(f"\t{shown}\ttrue\n", self.tool("identify", "--plain", kernel=kernel).text)
            self.assertIn(shown, self.tool("types", "a" + character + "b").complaint)
            self.assertEqual("a" + character + "b", self.tool("identify", "--json", kernel=kernel).json["nodename"])
        kernel = dict(KR20V2, nodename="\u00e9\u4e2d\u05d0\u0663\U0001f600".encode())
        self.assertIn("\u00e9\u4e2d\u05d0\u0663\U0001f600\n", self.tool("identify", kernel=kernel).text)

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
        self.assertEnds(ended, 4, "TL_ERROR='not_for_shells'\n", "tldevice: the value of TL_IDENTIFIER contains a NUL byte, which no shell "
                                      "variable can hold; use --json\n")
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
        """The schema, made to refuse unknown keys."""
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
                    continue  # nothing to fail there
                with self.subTest(words=words, kernel=kernel):
                    form = () if "--bundle" in words else ("--json",)
                    ended = self.in_tmp('$T "$@"', *words, *form, kernel=kernel)
                    unknown = ("errno" in kernel and words[0] != "doctor") or (kernel is NOBODY and words == ("properties",))
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
        for words, message in ((("--json",), "missing command"), (("bogus", "--json"), "unknown command 'bogus'; 'tldevice --help' lists them"),
                               (("identify", "--json", "--bogus"), "unknown option '--bogus'"),
                               (("types", "a", "b", "--json"), "unexpected operand 'b'")):
            ended = self.tool(*words)
            self.assertEqual((2, {"schema": 1, "error": {"code": "usage", "message": message}}),
                             (ended.code, ended.json))


class EveryCommand(ToolTest):
    def test_says_what_it_is_on_standard_output(self):
        for words in ((), *((command,) for command in self.commands())):
            for option in ("-h", "--help"):
                ended = self.tool(*words, option)
                self.assertEnds(ended, 0, err="")
                self.assertTrue(ended.text.startswith(" ".join(("Usage: tldevice", *words))), ended.text[:80])
            for option in ("-V", "--version"):
                self.assertEnds(self.tool(*words, option), 0, "tldevice 1.0.0\n", "")

    def test_breaks_no_line_of_its_help_in_a_file(self):
        for command in self.commands():
            says = self.tool(command, "--help").text.split("\n\n")[1]
            self.assertEqual(1, len(says.splitlines()), says)

    def test_shows_every_option_in_its_usage(self):
        common = {"-h", "--help", "-V", "--version", "--color", "--plain", "--json", "--shell"}
        for command in self.commands():
            text = self.tool(command, "--help").text
            usage, rest = text.split("\n\n", 1)
            listed = re.findall(r"^  (?:(-\w), )?(--[a-z-]+)", rest, re.MULTILINE)
            self.assertGreater(len(listed), 2)
            for short, long in listed:
                if long not in common:
                    self.assertTrue(re.search(rf"(?<![\w-])({long}|{short or long})(?![\w-])", usage), (command, long))

    def test_refuses_what_it_does_not_know(self):
        for command in self.commands():
            code = 125 if command == "run" else 2
            for option in ("--bogus", "-X", "--explai", "--json=yes", "--version=1", "--color"):
                ended = self.tool(command, option)
                self.assertEqual((code, ""), (ended.code, ended.text), (command, option))
                self.assertTrue(ended.complaint.endswith(f"\ntldevice: try 'tldevice {command} --help'\n"), ended.complaint)
        self.assertEnds(self.tool("--bogus"), 2, "",
                        "tldevice: unknown option '--bogus'\ntldevice: try 'tldevice --help'\n")
        self.assertEnds(self.tool(), 2, "", "tldevice: missing command\ntldevice: try 'tldevice --help'\n")

    def test_names_the_word_that_was_probably_meant(self):
        for words, meant in ((("idenify",), "identify"), (("types", "kr20v"), "kr20v2"), (("types", "--fnd", "x"), "--find"),
                             (("identify", "--explai"), "--explain"), (("identify", "--field", "nam"), "name"),
                             (("properties", "--diff", "kr20", "kr31"), "kr30"), (("identify", "--is", "KR80"), "kr80"),
                             (("sandbox", "statsu"), "status"), (("doctor", "--color=alway"), "always")):
            ended = self.tool(*words)
            self.assertEqual((2, ""), (ended.code, ended.text), words)
            self.assertIn(f"; did you mean '{meant}'?\n", ended.complaint)

    def test_says_what_was_typed(self):
        for words, said in ((("types", "kr20", "--find", "x"), "'kr20' and --find are mutually exclusive"),
                            (("--json", "types", "--plain"), "--plain and --json are mutually exclusive"),
                            (("types", "--json=yes"), "--json takes no value"),
                            (("identify", "--is"), "--is needs a value: ID"),
                            (("properties", "--diff", "kr20"), "--diff needs 2 values: A B"),
                            (("identify", "--is", "kr20", "--is=kr30"), "--is was given more than once"),
                            (("doctor", "--color", "no"), "unknown colour mode 'no'; the colour modes are auto, always, never"),
                            (("--json", "run", "true"), "run does not take --json"), (("run",), "missing program"),
                            (("run", "-q", "-v", "true"), "--quiet and --verbose are mutually exclusive")):
            command = next(word for word in words if not word.startswith("-"))
            self.assertEnds(self.tool(*words), 125 if command == "run" else 2, err=f"tldevice: {said}\n"
                            f"tldevice: try 'tldevice {command} --help'\n")

    def test_takes_common_options_in_front_of_it(self):
        for words in (("--json",), ("--plain",), ("--shell",), ("--color=never",), ("--color", "never")):
            self.assertEqual(self.tool("identify", *words, kernel=KR20V2).out,
                             self.tool(*words, "identify", kernel=KR20V2).out)
        for option in ("-h", "--help", "-V", "--version"):
            self.assertEqual(self.tool("types", option).out, self.tool(option, "types").out)
        self.assertEqual("error", list(self.tool("--json", "identify", "--bogus").json)[1])

    def test_is_explained_by_help(self):
        self.assertEnds(self.tool("help"), 0, self.tool("--help").text, "")
        for command in self.commands():
            self.assertEnds(self.tool("help", command), 0, self.tool(command, "--help").text, "")

    def test_refuses_what_does_not_exist_in_one_way(self):
        ids = (("types", "nope"), ("properties", "nope"), ("properties", "--diff", "kr20", "nope"),
               ("identify", "--is", "nope"), ("sandbox", "--as", "nope", "true"))
        for words in ids:
            self.assertEnds(self.tool(*words), 125 if words[0] == "sandbox" else 2, "",
                            "tldevice: unknown device type 'nope'; 'tldevice types' lists them\n"
                            f"tldevice: try 'tldevice {words[0]} --help'\n")
            if words[0] != "sandbox":
                self.assertEqual("usage", self.tool(*words, "--json").json["error"]["code"])
        self.assertEqual(1, self.tool("properties", "irx").code)

    def test_shows_no_control_characters_of_what_was_typed(self):
        ended = self.tool("types", "\x1b[31mred")
        self.assertEqual(b"tldevice: unknown device type '\\x1b[31mred'; 'tldevice types' lists them\n"
                         b"tldevice: try 'tldevice types --help'\n", ended.err)


class Output(ToolTest):
    ANSWERS = QUERIES + (("sandbox", "status"), ("doctor", "--bundle"), ("--help",), ("--version",), ("run", "--help"),
                         ("properties", "kr20", "--script"), ("identify", "--field", "release"))

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
                                   env=installed.environment())  # Python ignores SIGPIPE, and the child inherits that
        os.close(write)
        _, complaint = process.communicate(timeout=installed.PATIENCE)
        self.assertEqual((4, b"tldevice: cannot write to standard output: Broken pipe\n"),
                         (process.returncode, complaint))

    def test_needs_no_standard_input(self):
        for words in QUERIES:
            closed = self.in_tmp('$T "$@" <&-', *words, kernel=KR20V2)
            open_ = self.in_tmp('$T "$@"', *words, kernel=KR20V2)
            self.assertEqual((open_.code, settled(open_.text), open_.err), (closed.code, settled(closed.text), closed.err), words)

    def test_needs_no_standard_error(self):
        ended = self.shell("tldevice identify 2>&-", kernel=NOBODY)
        self.assertEqual((3, ""), (ended.code, ended.complaint))

    def test_keeps_diagnostics_apart(self):
        self.assertEqual("", self.tool("types", "kr1").text)
        self.assertNotEqual("", self.tool("types", "kr1").complaint)


if __name__ == "__main__":
    installed.main()
