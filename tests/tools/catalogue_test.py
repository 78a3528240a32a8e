"""tldevice types, properties and paths: the library's tables, as the command shows them."""

import subprocess

import installed
from installed import EMULATED, INSTRUMENTED, KR20V2, NOBODY, SERVED, TYPES, ToolTest



class Types(ToolTest):
    def test_lists_the_whole_catalogue(self):
        lines = self.tool("types", "--plain").text.splitlines()
        self.assertEqual(["\t".join((row["value"], row["id"], row["serverName"], row["uuid"])) for row in TYPES],
                         lines)
        self.assertIn("8\tkr20v2\tHome Controller KR20v2\ttl:tollan_kr20v2_homecontroller-", lines)

    def test_does_not_wait_for_an_identifier_file_that_is_none(self):
        setup = "mkdir /tmp/.etc; cp /etc/ld.so.cache /tmp/.etc; mount --bind /tmp/.etc /etc\n"
        for fault in ("mkfifo", "mkdir", "ln -s /dev/zero", "ln -s /nowhere", "truncate -s 2G", "ln -s device-searchtype"):
            for words in ("types", "types partner-avr", "identify"):
                limit = "" if INSTRUMENTED or EMULATED else "ulimit -v 4000000; "
                ended = self.in_tmp(setup + fault + " /etc/device-searchtype; " + limit + "timeout 20 $T " + words + " --plain", kernel=dict(NOBODY, nodename="partner-avr"))
                self.assertEqual(0, ended.code, (fault, words, ended.complaint))
                self.assertRegex(ended.text, r"(?m)^30\tpartner-avr\tPartner Receiver\t$" if words != "identify" else
                                 r"^partner-avr\tPartner Receiver\t30\t\t")

    def test_shows_one_type(self):
        self.assertEnds(self.tool("types", "kr80"), 0,
                        "No:         36\nId:         kr80\nName:       Home Controller KR80\n"
                        "Identifier: tl:tollan_kr80_homecontroller-\n", "")

    def test_does_not_know_other_ids(self):
        for name in ("kr21", "KR80", "", "Invalid device", "kr80\n"):
            ended = self.tool("types", name, "--json")
            self.assertEqual((2, "usage"), (ended.code, ended.json["error"]["code"]), name)

    def test_says_what_find_answers_and_why(self):
        self.assertEnds(self.tool("types", "--find", "my-kr20v2-board"), 0,
                        '"my-kr20v2-board"\n'
                        "    at 3   kr20v2         wins: the longest id\n"
                        "    at 3   kr20           shadowed: kr20 inside kr20v2\n"
                        "\n"
                        "No:         8\nId:         kr20v2\nName:       Home Controller KR20v2\n"
                        "Identifier: tl:tollan_kr20v2_homecontroller-\n", "")

    def test_says_that_a_text_names_none(self):
        ended = self.tool("types", "--find", "laptop")
        self.assertEqual(1, ended.code)
        self.assertEqual('tldevice: no device type id in "laptop"\n', ended.complaint)

    def test_finds_bytes_that_are_no_text(self):
        ended = self.tool("types", "--find", b"\xff\x1b[31mkr50\n", "--json")
        self.assertEqual([("kr50", 6, "wins"), ("r5", 7, "shadowed")],
                         [(m["id"], m["offset"], m["verdict"]) for m in ended.json["matches"]])

    def test_finds_the_catalogue_in_order(self):
        ended = self.tool("types", "--lint")
        self.assertEqual(0, ended.code)
        self.assertTrue(ended.text.endswith(f"Each of the {len(TYPES)} ids finds itself.\n"))

    def test_lists_every_id_that_another_hides(self):
        ids = [line.split("\t")[1] for line in self.tool("types", "--plain").text.splitlines()]
        hidden = {(a, b) for a in ids for b in ids if a != b and a in b}
        findings = self.tool("types", "--lint", "--json").json["findings"]
        listed = {(f["id"], f["message"].split()[2].rstrip(":")) for f in findings
                  if f["code"] == "shadows"}
        self.assertEqual(hidden, listed)
        self.assertIn(("kr20", "kr20v2"), hidden)

    def test_lists_short_ids(self):
        findings = self.tool("types", "--lint", "--json").json["findings"]
        short = [f["id"] for f in findings if f["code"] == "short_id"]
        ids = [line.split("\t")[1] for line in self.tool("types", "--plain").text.splitlines()]
        self.assertEqual([i for i in ids if len(i) <= 3], short)


class Properties(ToolTest):
    def test_takes_this_device_by_default(self):
        self.assertEnds(self.tool("properties", "--field", "platform", kernel=KR20V2), 0, "quill\n", "")

    def test_ends_with_3_where_this_device_is_unknown(self):
        ended = self.tool("properties", "--field", "platform", kernel=NOBODY)
        self.assertEnds(ended, 3, "", "tldevice: this device could not be identified; "
                                      "'tldevice identify --explain' shows why\n")

    def test_prints_a_record_for_people(self):
        ended = self.tool("properties", "sn")
        self.assertEnds(ended, 0, (
            "Id:             sn\n"
            "Served as:      sn\n"
            "Code name:      wren\n"
            "Update manager: soundnode\n"
            "Platform:       nimbo\n"
            "Package dir:    /tollan/\n"
            "Flag 1:         false\n"
            "Flag 2:         false\n"
            "Flag 3:         true\n"
            "Flag 4:         false\n"
            "Flag 5:         false\n"
            "Flag 6:         false\n"
            "Log dir script:\n"
            "    #!/bin/sh\n"
            "\n"
            "    if [ ! -e /var/log/upmanlogs ]\n"
            "    then\n"
            "        if [ ! -e /var/log/upmanlogs ]\n"
            "        then\n"
            "            mkdir -p /var/log/upmanlogs\n"
            "        fi\n"
            "    fi\n"), "")

    def test_shows_as_what_a_commercial_variant_is_served(self):
        answer = self.tool("properties", "pr100v2", "--json").json
        self.assertEqual(("pr100v2", "kr100v2"), (answer["id"], answer["served_as"]))

    def test_has_no_record_of_a_type_that_is_not_served(self):
        unserved = [row["id"] for row in TYPES if row["enumerator"] not in SERVED]
        self.assertIn("irx", unserved)
        for name in unserved:
            ended = self.tool("properties", name)
            self.assertEnds(ended, 1, "", f"tldevice: the update manager has no record of {name}\n")

    def test_prints_every_record(self):
        answer = self.tool("properties", "--all", "--json").json
        self.assertEqual([row["id"] for row in TYPES if row["enumerator"] in SERVED],
                         [record["id"] for record in answer["records"]])
        for record in answer["records"]:
            alone = self.tool("properties", record["id"], "--json").json
            alone.pop("schema")
            self.assertEqual(record, alone)

    def test_prints_one_field_of_all(self):
        ended = self.tool("properties", "--all", "--field", "platform")
        self.assertEqual(len(SERVED), len(ended.text.splitlines()))

    def test_prints_the_script_byte_for_byte(self):
        script = self.tool("properties", "kr20", "--script").out
        self.assertEqual(self.tool("properties", "kr20", "--json").json["log_dir_script"],
                         script.decode())
        self.assertTrue(script.startswith(b"#!/bin/sh\n\nif [ ! -e /var/log/upmanlogs ]\nthen\n"))
        self.assertTrue(script.endswith(b"fi\n"))
        self.assertEqual(0, subprocess.run(["sh", "-n"], input=script, check=False).returncode)

    def test_matches_platforms_as_the_library_does(self):
        self.assertEnds(self.tool("properties", "kr20", "--platform", "quill"), 0,
                        "yes: the platform of kr20 is 'quill'\n", "")
        self.assertEnds(self.tool("properties", "kr20", "--platform", "all"), 1,
                        "no: the platform of kr20 is 'quill', not 'all'\n", "")
        self.assertEqual(1, self.tool("properties", "kr20", "--platform", "Quill").code)

    def test_matches_update_managers_as_the_library_does(self):
        self.assertEnds(self.tool("properties", "tq2", "--manager", "ux300"), 0,
                        "yes: the update manager's name of tq2 is 'ux300'\n", "")
        self.assertEqual(1, self.tool("properties", "tq2", "--manager", "lantern").code)

    def test_matches_both_where_both_are_asked(self):
        both = ("properties", "tq2", "--platform", "lantern", "--manager")
        self.assertEqual(0, self.tool(*both, "ux300").code)
        ended = self.tool(*both, "kr20", "--json")
        self.assertEqual((1, False), (ended.code, ended.json["yes"]))

    def test_tells_two_records_apart(self):
        ended = self.tool("properties", "--diff", "r5", "r7")
        self.assertEnds(ended, 1, "served_as\n  r5: r5\n  r7: r7\ncode_name\n  r5: r5\n  r7: r7\n"
                                  "update_manager_name\n  r5: r5\n  r7: r7\n", "")

    def test_finds_no_difference_between_a_variant_and_what_it_is_served_as(self):
        self.assertEnds(self.tool("properties", "--diff", "pr100v2", "kr100v2"), 0,
                        "pr100v2 and kr100v2 have the same record\n", "")

    def test_refuses_what_does_not_go_together(self):
        for words in (("kr20", "--all"), ("--all", "--script"), ("kr20", "--diff", "r5", "r7"),
                      ("kr20", "--script", "--json"), ("kr20", "--script", "--field", "id"),
                      ("--all", "--manager", "x"), ("--diff", "r5"), ("--diff", "r5", "r7", "sn")):
            self.assertEqual(2, self.tool("properties", *words).code, words)


class Paths(ToolTest):
    NAMES = ["tollanDir", "etcDir", "umDebugFile", "umStatusFile", "umExclusionFile", "umStateFile",
             "umStateBakFile", "umStateCorruptFile", "syslogFile", "varCacheDir", "varLogDir", "varRunDir",
             "varUpmanCacheDir", "packagesDir"]

    def test_lists_the_real_layout_by_default(self):
        rows = [line.split("\t") for line in self.tool("paths", "--plain").text.splitlines()]
        self.assertEqual(self.NAMES, [row[1] for row in rows])
        self.assertEqual({"real"}, {row[0] for row in rows})
        self.assertEqual("/etc/um-state", rows[5][2])
        self.assertEqual(self.tool("paths", "--plain").text, self.tool("paths", "--real", "--plain").text)

    def test_lists_the_sandbox(self):
        rows = [line.split("\t") for line in self.tool("paths", "--sandbox", "--plain").text.splitlines()]
        self.assertEqual(self.NAMES, [row[1] for row in rows])
        self.assertEqual("/tmp/upmand/etc/um-state", rows[5][2])

    def test_lists_both(self):
        rows = self.tool("paths", "--both", "--json").json["paths"]
        self.assertEqual(28, len(rows))
        for real, sandbox in zip(rows[::2], rows[1::2]):
            self.assertEqual(("real", "sandbox", real["name"], "/tmp/upmand" + real["path"]),
                             (real["layout"], sandbox["layout"], sandbox["name"], sandbox["path"]))

    def test_prints_one_path_for_a_script(self):
        self.assertEnds(self.tool("paths", "umStateFile", "--field", "path"), 0, "/etc/um-state\n", "")
        self.assertEnds(self.tool("paths", "packagesDir", "--sandbox", "--field", "path"), 0,
                        "/tmp/upmand/packages/\n", "")

    def test_does_not_know_other_names(self):
        self.assertEnds(self.tool("paths", "umStatefile"), 2, "",
                        "tldevice: unknown path 'umStatefile'; did you mean 'umStateFile'?\n"
                        "tldevice: try 'tldevice paths --help'\n")
        self.assertEnds(self.tool("paths", "somewhere"), 2, "",
                        "tldevice: unknown path 'somewhere'; 'tldevice paths' lists them\n"
                        "tldevice: try 'tldevice paths --help'\n")

    def test_says_what_is_there_without_following_links(self):
        script = """
            mkdir -p /tmp/upmand/etc /tmp/upmand/tollan /tmp/upmand/var
            echo state >/tmp/upmand/etc/um-state
            ln -s /nowhere /tmp/upmand/etc/um-debug
            ln -s /etc /tmp/upmand/packages
            mkfifo /tmp/upmand/etc/um-status
            $T paths --sandbox --json
        """
        ended = self.in_tmp(script)
        found = {row["name"]: (row["exists"], row["kind"]) for row in ended.json["paths"]}
        self.assertEqual((True, "directory"), found["tollanDir"])
        self.assertEqual((True, "file"), found["umStateFile"])
        self.assertEqual((True, "link"), found["umDebugFile"])
        self.assertEqual((True, "link"), found["packagesDir"])
        self.assertEqual((True, "pipe"), found["umStatusFile"])
        self.assertEqual((False, "missing"), found["umStateBakFile"])
        self.assertEqual((False, "missing"), found["varLogDir"])


if __name__ == "__main__":
    installed.main()
