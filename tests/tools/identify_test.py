"""tldevice identify: which device, and why, from the strings of a real kernel."""

import tempfile

import installed
from installed import KR20V2, NOBODY, TYPES, ToolTest


class Identify(ToolTest):
    def test_prints_every_field_for_people(self):
        ended = self.tool("identify", kernel=KR20V2)
        self.assertEnds(ended, 0, out=(
            "Id:         kr20v2\n"
            "Name:       Home Controller KR20v2\n"
            "Type:       8\n"
            "Identifier: tl:tollan_kr20v2_homecontroller-\n"
            "Kernel:     2.6\n"
            "Decided by: release\n"
            "Version:    #1 Tue Mar 6 2012\n"
            "Release:    3.2.0-kr20v2\n"
            "Nodename:   attic\n"
            "Identified: true\n"), err="")

    def test_finds_every_id_in_each_of_the_three_sources(self):
        for name in (row["id"] for row in TYPES):
            for source, text in (("version", "#1 " + name + " Tue"), ("release", "3.2.0-" + name),
                                 ("nodename", "the-" + name)):
                # The other sources contain no id.
                kernel = dict({"version": "#1", "release": "3.2.0", "nodename": "_"}, **{source: text})
                with self.subTest(id=name, source=source):
                    ended = self.tool("identify", "--json", kernel=kernel)
                    fields = ended.json
                    self.assertEqual((0, name, source),
                                     (ended.code, fields["id"], fields["source"]), ended.complaint)

    def test_gives_each_field_alone(self):
        wanted = {"id": "kr20v2", "name": "Home Controller KR20v2", "type": "8",
                  "identifier": "tl:tollan_kr20v2_homecontroller-", "kernel": "2.6", "source": "release",
                  "version": KR20V2["version"], "release": KR20V2["release"],
                  "nodename": KR20V2["nodename"]}
        for field, value in wanted.items():
            self.assertEnds(self.tool("identify", "--field", field, kernel=KR20V2), 0, value + "\n", "")

    def test_ends_with_3_where_no_source_holds_an_id(self):
        ended = self.tool("identify", "--field", "id", kernel=NOBODY)
        self.assertEnds(ended, 3, "",
                        "tldevice: this device could not be identified: no source contains an id; "
                        "--explain shows what was searched\n")

    def test_ends_with_3_where_uname_fails(self):
        ended = self.tool("identify", "--json", kernel={"errno": "14"})
        self.assertEqual(3, ended.code)
        self.assertEqual({"schema": 1, "error": {"code": "unidentified",
                                                 "message": "uname failed: Bad address"}}, ended.json)

    def test_names_the_kernel_class_as_the_library_does(self):
        for release in ("2.6.31", "3.2.0", "2.4.20", "4.9.0", "2.60", "30.1", "3", ""):
            # An emulator may raise the release of an old kernel, so compare with what the command
            # saw.
            ran = self.tool("identify", "--json", kernel=dict(NOBODY, release=release)).json
            said = self.tool("identify", "--json", "--release", ran["release"]).json
            self.assertEqual(ran["kernel"], said["kernel"], release)

    def test_prints_no_error_beside_an_identified_device(self):
        self.assertNotIn("error", self.tool("identify", "--json", kernel=KR20V2).json)

    def test_says_that_it_could_not_identify_in_json_and_shows_where_it_looked(self):
        answer = self.tool("identify", "--json", kernel=NOBODY).json
        self.assertEqual("unidentified", answer["error"]["code"])
        self.assertEqual("3.2.0", answer["release"])


class Identified(ToolTest):
    def test_is_told_in_every_form(self):
        for kernel, word in ((KR20V2, "true"), (NOBODY, "false")):
            self.assertEqual(word == "true", self.tool("identify", "--json", kernel=kernel).json["identified"])
            self.assertEqual(word + "\n", self.tool("identify", "--field", "identified", kernel=kernel).text)
            self.assertIn(f"Identified: {word}\n", self.tool("identify", kernel=kernel).text)
            self.assertIn(f"TL_IDENTIFIED='{word}'\n", self.tool("identify", "--shell", kernel=kernel).text)
            self.assertTrue(self.tool("identify", "--plain", kernel=kernel).text.endswith(f"\t{word}\n"))

    def test_has_no_id_and_no_name_where_it_is_not(self):
        for field in ("id", "name", "source", "identifier"):
            self.assertEqual((3, ""), (self.tool("identify", "--field", field, kernel=NOBODY).code,
                                       self.tool("identify", "--field", field, kernel=NOBODY).text))
        self.assertEnds(self.tool("types", "--find", "nothing", "--field", "id"), 1, "")


class Warnings(ToolTest):
    DISNEY = dict(NOBODY, nodename="disney")
    TEXT = "tldevice: warning: 'sn' is part of a longer word in the host name, \"disney\": possibly by chance\n"

    def test_go_to_standard_error_without_an_explanation(self):
        for words in ((), ("--json",), ("--plain",), ("--shell",), ("--field", "id"), ("--is", "sn")):
            ended = self.tool("identify", *words, kernel=self.DISNEY)
            self.assertEqual((0, self.TEXT), (ended.code, ended.complaint), words)
        self.assertEqual("sn\n", self.tool("identify", "--field", "id", kernel=self.DISNEY).text)

    def test_are_said_once(self):
        self.assertEqual("", self.tool("identify", "--explain", kernel=self.DISNEY).complaint)
        ended = self.tool("identify", "--explain", kernel=NOBODY)
        self.assertEqual((3, "", 1), (ended.code, ended.complaint, ended.text.count("could not be identified")))

    def test_escape_what_was_typed_once(self):
        answer = self.tool("identify", "--from", "/no/su\\ch\x1b", "--json").json
        self.assertEqual("cannot read '/no/su\\\\ch\x1b': No such file or directory", answer["error"]["message"])


class IdentifyIs(ToolTest):
    def test_gives_each_field_alone(self):
        self.assertEnds(self.tool("identify", "--is", "kr20", "--field", "yes", kernel=KR20V2), 1, "false\n", "")
        self.assertEnds(self.tool("identify", "--field", "yes", "--is", "kr20v2", kernel=KR20V2), 0, "true\n", "")

    def test_says_yes(self):
        self.assertEnds(self.tool("identify", "--is", "kr20v2", kernel=KR20V2), 0,
                        "yes: this device is kr20v2 (Home Controller KR20v2)\n", "")

    def test_says_no_and_names_both_sides(self):
        self.assertEnds(self.tool("identify", "--is", "kr20", kernel=KR20V2), 1,
                        "no: this device is kr20v2 (Home Controller KR20v2), "
                        "not kr20 (Home Controller KR20)\n", "")

    def test_says_no_of_a_device_that_is_none(self):
        self.assertEnds(self.tool("identify", "--is", "kr20", kernel=NOBODY), 1,
                        "no: this device could not be identified, not kr20 (Home Controller KR20)\n", "")

    def test_is_wrong_use_of_an_id_that_does_not_exist(self):
        ended = self.tool("identify", "--is", "kr21", kernel=KR20V2)
        self.assertEnds(ended, 2, "", "tldevice: unknown device type 'kr21'; did you mean 'kr20'?\n"
                                      "tldevice: try 'tldevice identify --help'\n")

    def test_tells_programs_as_well(self):
        answer = self.tool("identify", "--is", "kr20", "--json", kernel=KR20V2).json
        self.assertEqual(("kr20v2", "kr20", False),
                         (answer["id"], answer["wanted"], answer["yes"]))


class Explain(ToolTest):
    def explained(self, **texts):
        return self.tool("identify", "--explain", kernel=dict(NOBODY, **texts))

    def warnings(self, **texts):
        answer = self.tool("identify", "--explain", "--json", kernel=dict(NOBODY, **texts)).json
        return [(warning["code"], warning["message"]) for warning in answer["warnings"]]

    def test_shows_the_winner_and_what_it_shadows(self):
        self.assertIn('Release "3.2.0-kr20v2"\n'
                      "    at 6   kr20v2         wins: the longest id\n"
                      "    at 6   kr20           shadowed: kr20 inside kr20v2\n",
                      self.explained(release="3.2.0-kr20v2").text)

    def test_shows_how_a_tie_broke(self):
        self.assertIn('Host name "kr50-and-kr30"\n'
                      "    at 9   kr30           wins: the longest id\n"
                      "    at 0   kr50           tied: as long as kr30, which comes first in byte order\n"
                      "    at 1   r5             shorter: shorter than kr30\n",
                      self.explained(nodename="kr50-and-kr30").text)

    def test_says_which_sources_were_not_consulted_and_what_they_hold(self):
        ended = self.explained(version="#1 kr80", release="3.2.0", nodename="kr25")
        self.assertIn('Release "3.2.0"\n'
                      "    not consulted: the build string already decided\n"
                      "    no id found\n", ended.text)
        self.assertIn('Host name "kr25"\n'
                      "    not consulted: the build string already decided\n"
                      "    at 0   kr25           would win: the longest id\n", ended.text)

    def test_ends_with_the_verdict(self):
        self.assertTrue(self.explained(release="3.2.0-kr20v2").text.endswith(
            "\nThis device is kr20v2 (Home Controller KR20v2), decided by the release.\n"))
        self.assertTrue(self.explained().text.endswith(
            "\nThis device could not be identified: no source contains an id.\n"))

    def test_warns_of_a_contradiction(self):
        self.assertEqual([("contradiction",
                           "the host name contains kr25, but the build string decided: kr80")],
                         self.warnings(version="#1 kr80", nodename="kr25"))

    def test_warns_of_no_contradiction_where_sources_agree(self):
        self.assertEqual([], self.warnings(version="#1 kr80", release="3.2.0-kr80", nodename="kr80"))

    def test_warns_where_a_match_touches_the_end_of_a_full_field(self):
        version = "#1 ".ljust(60, "_") + "kr20"
        self.assertEqual([("truncation",
                           "the build string fills its 64 bytes and ends in kr20: "
                           "a longer id may have been truncated")], self.warnings(version=version))

    def test_warns_where_an_id_itself_may_have_been_cut(self):
        version = "#1 ".ljust(61, "_") + "par"
        self.assertEqual([("truncation",
                           'the build string fills its 64 bytes and ends in "par": '
                           "partner-avr may have been truncated")], self.warnings(version=version))

    def test_does_not_warn_of_a_match_at_the_end_of_a_field_with_room_left(self):
        self.assertEqual([], self.warnings(version="#1 ".ljust(59, "_") + "kr20"))

    def test_warns_of_the_row_that_hides_every_id(self):
        warnings = self.warnings(nodename="kr20 Invalid device")
        self.assertEqual(["invalid_row"], [code for code, _ in warnings])

    def test_warns_of_a_short_id_within_a_word(self):
        self.assertEqual([("short_id",
                           "'sn' is part of a longer word in the host name, \"snowman\": "
                           "possibly by chance")], self.warnings(nodename="snowman"))
        self.assertEqual([], self.warnings(nodename="the-sn"))

    def test_lists_every_occurrence_with_its_offset(self):
        answer = self.tool("identify", "--explain", "--json",
                           kernel=dict(NOBODY, nodename="kr20.kr20v2.kr20")).json
        places = {(match["id"], match["offset"], match["verdict"]) for match in answer["matches"]}
        self.assertEqual({("kr20v2", 5, "wins"), ("kr20", 0, "shorter"), ("kr20", 5, "shadowed"),
                          ("kr20", 12, "shorter")}, places)

    def test_fits_a_serial_console(self):
        ended = self.explained(version="#".ljust(64, "1"), release="3.2.0-" + "kr20v2" * 9,
                               nodename="kr30v2-partner-avr-devtab1")
        for line in ended.text.splitlines():
            self.assertLessEqual(len(line), 80, line)


class IdentifyFrom(ToolTest):
    def from_text(self, text, *more):
        return self.tool("identify", "--from", "-", *more, stdin=text)

    def test_reads_a_uname_line(self):
        lines = {
            b"Linux attic 2.6.31-kr30 #1 SMP Tue Mar 6 2012 armv7l GNU/Linux\n":
                ("attic", "2.6.31-kr30", "#1 SMP Tue Mar 6 2012"),
            b"Linux attic 2.6.31-kr30 #1 SMP Tue Mar 6 2012 armv5tejl unknown\n":
                ("attic", "2.6.31-kr30", "#1 SMP Tue Mar 6 2012"),
            b"Linux vm 6.1.0-kr30 #1 SMP PREEMPT_DYNAMIC @0 x86_64 x86_64 x86_64 GNU/Linux":
                ("vm", "6.1.0-kr30", "#1 SMP PREEMPT_DYNAMIC @0"),
        }
        for line, (nodename, release, version) in lines.items():
            answer = self.from_text(line, "--json").json
            self.assertEqual((nodename, release, version, "kr30"),
                             (answer["nodename"], answer["release"], answer["version"], answer["id"]))

    def test_reads_proc_version_and_takes_the_build_host_for_no_host_name(self):
        banners = {
            b"Linux version 3.2.0-kr20v2 (root@kr30-builder) (gcc version 4.6.3 (Debian 4.6.3-1)) #1 SMP Tue Mar 6 2012\n":
                ("3.2.0-kr20v2", "#1 SMP Tue Mar 6 2012", "kr20v2"),
            b"Linux version 2.6.31 (kr30@kr30) (gcc version 4.3.2 (Sourcery G++ Lite) ) #1 PREEMPT Tue kr80\n":
                ("2.6.31", "#1 PREEMPT Tue kr80", "kr80"),
            b"Linux version 6.1.0 (kr30@kr30) (gcc-12 (Debian 12.2.0-14) 12.2.0, GNU ld 2.40) #1 SMP\r\n":
                ("6.1.0", "#1 SMP", "Invalid device"),
        }
        for line, (release, version, name) in banners.items():
            ended = self.from_text(line, "--json")
            answer = ended.json
            self.assertEqual(("", release, version, name),
                             (answer["nodename"], answer["release"], answer["version"], answer["id"]))
            self.assertEqual(3 if name == "Invalid device" else 0, ended.code)

    def test_reads_a_device_whose_name_is_version(self):
        self.assertEnds(self.from_text(b"Linux version 3.2.0-kr30 #1 armv7l GNU/Linux\n", "--field", "nodename"), 0,
                        "version\n", "")

    def test_passes_over_what_stands_before_the_line(self):
        line = b"Linux attic 2.6.31-kr30 #1 SMP armv7l GNU/Linux\r\n"
        for before in (b"\n", b"\xef\xbb\xbf", b"root@attic:~# uname -a\r\n", b"Linux\nLinux is here\n\n",
                       b"\xef\xbb\xbf$ cat note\nLinux attic kr80 x\n"):
            self.assertEnds(self.from_text(before + line + b"Linux b 3.2.0-kr80 #1\n", "--field", "id"), 0, "kr30\n", "")
        self.assertEqual("kr30", self.from_text(b"\xef\xbb\xbf" + self.tool("identify", "--json", "--release",
                                                                           "3.2.0-kr30").out, "--json").json["id"])

    def test_reads_its_own_answer_byte_for_byte(self):
        odd = b"kr30\xff\\x41\\\xc3\xa9"
        first = self.tool("identify", "--json", "--nodename", odd)
        again = self.from_text(first.out, "--field", "nodename")
        self.assertEqual(odd + b"\n", again.out)

    def test_reads_a_file(self):
        with tempfile.NamedTemporaryFile() as file:
            file.write(b"Linux a 3.2.0-kr80 #1 armv7l GNU/Linux\n")
            file.flush()
            self.assertEnds(self.tool("identify", "--from", file.name, "--field", "id"), 0, "kr80\n", "")

    def test_names_the_file_that_cannot_be_read(self):
        self.assertEnds(self.tool("identify", "--from", "/no/such"), 4, "",
                        "tldevice: cannot read '/no/such': No such file or directory\n")
        self.assertEnds(self.tool("identify", "--from", "/"), 4, "",
                        "tldevice: cannot read '/': Is a directory\n")

    def test_refuses_what_is_neither(self):
        for text in (b"", b"hello\n", b"{", b"{}", b'{"release": 1}', b"[]", b"Linux", b"Linux kr30", b"Linux kr30 3.2.0",
                     b"Linux kr30 kr80 #1", b"Linux kr30 3 #1", b"Linux kr30 .2 #1", b"Linux kr30 3.x #1",
                     b"linux kr30 3.2.0 #1", b"x Linux kr30 3.2.0 #1", b"Linux version 3.2.0 (kr30@kr30\n",
                     b"Linux version 3.2.0 (kr30@kr30) (gcc)\n", b"\xff\xfeL\0i\0n\0u\0x\0"):
            ended = self.from_text(text, "--json")
            self.assertEqual((4, "unreadable"), (ended.code, ended.json["error"]["code"]), text)

    def test_names_the_file_that_it_refuses(self):
        neither = " contains no 'uname -a' line, no copy of \"/proc/version\" and no JSON from 'tldevice identify'\n"
        self.assertEnds(self.from_text(b"Linux"), 4, "", "tldevice: standard input" + neither)
        self.assertEnds(self.tool("identify", "--from", "/etc/passwd"), 4, "", "tldevice: '/etc/passwd'" + neither)
        self.assertEnds(self.tool("identify", "--from", "/dev/zero"), 4, "", "tldevice: '/dev/zero'" + neither)
        self.assertEnds(self.from_text(b"{}"), 4, "", "tldevice: the JSON in standard input does not come from 'tldevice "
                                                      "identify': it has no \"version\"\n")

    def test_takes_no_prefix_for_another_device_from_this_ones_file(self):
        ended = self.from_text(b"Linux partner-avr 3.2.0 #1 armv7l GNU/Linux\n", "--field", "identifier")
        self.assertEnds(ended, 0, "", "")

    def test_excludes_texts_of_its_own(self):
        ended = self.tool("identify", "--from", "-", "--release", "x")
        self.assertEqual(2, ended.code)

    def test_says_that_device(self):
        ended = self.from_text(b"Linux attic 3.2.0-kr30 #1 armv7l GNU/Linux\n", "--is", "kr20")
        self.assertIn("no: that device is kr30", ended.text)


if __name__ == "__main__":
    installed.main()
