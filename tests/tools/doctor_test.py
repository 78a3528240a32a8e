"""tldevice doctor: a healthy machine, and one fault at a time."""

import json

import installed
from installed import GIVEN_AWAY, NOBODY, ToolTest

HEALTHY = {"version": "#1 Tue Mar 6 2012", "release": "3.2.0-kr20v2", "nodename": "attic"}
PARTNER = {"version": "#1 Tue Mar 6 2012", "release": "3.2.0", "nodename": "partner-avr"}

# A /dev and an /etc of our own.  The programs of the machine still find their libraries.
PRIVATE_PLACES = """
    mkdir /tmp/.dev /tmp/.etc
    for device in null zero full random urandom; do
        touch /tmp/.dev/$device; mount --bind /dev/$device /tmp/.dev/$device
    done
    mount --rbind /tmp/.dev /dev
    cp /etc/ld.so.cache /etc/passwd /tmp/.etc; mount --bind /tmp/.etc /etc
"""

# Runs a command with a system logger listening: the socket is the command's own, so it ends with it.
LOGGED = """python3 -c '
import os, socket, sys
log = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
log.bind("/dev/log")
log.set_inheritable(True)
os.execvp(sys.argv[1], sys.argv[1:])' """

MORTAL = "setpriv --bounding-set=-dac_override,-dac_read_search --inh-caps=-dac_override,-dac_read_search "


class DoctorTest(ToolTest):
    def examined(self, fault="", kernel=None, prefix=LOGGED, words="--json"):
        return self.in_tmp(PRIVATE_PLACES + fault + "\n" + prefix + "$T doctor " + words, kernel=kernel or HEALTHY,
                           processes=True)

    def found(self, **how):
        """Exit code, and what is not ok: level, name, message."""
        ended = self.examined(**how)
        return ended.code, self.faults(ended)

    @staticmethod
    def faults(ended):
        return [(check["level"], check["name"], check["message"])
                for check in ended.json["checks"] if check["level"] != "ok"]


class Doctor(DoctorTest):
    def assertFound(self, code, level, name, message, **how):
        self.assertEqual((code, [(level, name, message)]), self.found(**how))

    def test_finds_nothing_wrong_on_a_healthy_machine(self):
        ended = self.examined(words="")
        self.assertEnds(ended, 0, (
            "ok    identification   kr20v2 (Home Controller KR20v2), decided by the release\n"
            "ok    sources          they do not contradict each other, and no id is cut\n"
            "ok    catalogue        each of the 37 ids finds itself\n"
            "ok    properties       the update manager knows it as kr20v2\n"
            "ok    identifier       the prefix is in the catalogue\n"
            "ok    kernel           release 3.2.0-kr20v2 is of class 2.6\n"
            "ok    sandbox          there is none; tldevice sandbox init makes one\n"
            "ok    temporary files  no log of a supervised program is left over\n"
            "ok    syslog           /dev/log is listened to\n"), "")

    def test_finds_nothing_wrong_with_a_sandbox_of_ones_own(self):
        self.assertEqual((0, []), self.found(fault="umask 022; $T sandbox init >/dev/null"))

    def test_finds_a_device_without_a_name(self):
        self.assertFound(1, "fail", "identification",
                         "no id in the kernel's build string, its release or the host name", kernel=NOBODY)

    def test_finds_a_contradiction(self):
        self.assertFound(0, "warn", "sources", "the host name holds kr30, but the release decided: kr20v2",
                         kernel=dict(HEALTHY, nodename="kr30"))

    def test_finds_an_id_that_may_be_cut(self):
        self.assertFound(0, "warn", "sources",
                         "the build string fills its 64 bytes and ends in kr20: a longer id may have been cut there",
                         kernel={"version": "#1 ".ljust(60, "_") + "kr20", "release": "3.2.0", "nodename": "attic"})

    def test_finds_a_type_without_a_record(self):
        self.assertFound(1, "fail", "properties", "the update manager has no record of irx",
                         kernel=dict(HEALTHY, release="3.2.0-irx"))

    def test_finds_a_kernel_of_no_class(self):
        self.assertFound(0, "warn", "kernel", "release 6.1.0-kr20v2 is of no class that the library knows",
                         kernel=dict(HEALTHY, release="6.1.0-kr20v2"))

    def test_finds_that_the_identifier_file_is_missing(self):
        self.assertFound(1, "fail", "identifier", "there is no /etc/device-searchtype", kernel=PARTNER)

    def test_finds_that_the_identifier_file_is_empty(self):
        for contents in ("", "\\n", "\\nsecond\\n"):
            self.assertFound(1, "fail", "identifier", "the first line of /etc/device-searchtype is empty",
                             kernel=PARTNER, fault=f"printf '{contents}' >/etc/device-searchtype")

    def test_finds_what_an_editor_left_in_the_identifier_file(self):
        code, found = self.found(kernel=PARTNER, fault="printf 'avr\\r\\n' >/etc/device-searchtype")
        self.assertEqual((0, [("warn", "identifier", "the first line of /etc/device-searchtype holds more than "
                                                     "letters: the prefix is \"avr\r-\"")]), (code, found))

    def test_finds_that_the_identifier_file_is_no_file(self):
        for fault in ("mkfifo /etc/device-searchtype", "mkdir /etc/device-searchtype"):
            self.assertFound(1, "fail", "identifier", "/etc/device-searchtype is not an ordinary file",
                             kernel=PARTNER, fault=fault)

    def test_finds_that_the_identifier_file_cannot_be_read(self):
        self.assertFound(1, "fail", "identifier", "cannot read /etc/device-searchtype: Permission denied",
                         kernel=PARTNER, fault="echo avr >/etc/device-searchtype; chmod 0 /etc/device-searchtype",
                         prefix=MORTAL + LOGGED)

    def test_is_content_with_a_good_identifier_file(self):
        self.assertEqual((0, []), self.found(kernel=PARTNER, fault="echo avr >/etc/device-searchtype"))

    def test_finds_a_sandbox_that_is_a_link(self):
        self.assertFound(1, "fail", "sandbox", "'/tmp/upmand' is a symbolic link", fault="ln -s /etc /tmp/upmand")

    def test_finds_a_sandbox_that_is_no_directory(self):
        self.assertFound(1, "fail", "sandbox", "'/tmp/upmand' is not a directory", fault="touch /tmp/upmand")

    def test_finds_a_sandbox_of_somebody_else(self):
        # Before /etc is taken away.
        ended = self.in_tmp(GIVEN_AWAY + PRIVATE_PLACES + LOGGED + "$T doctor --json", kernel=HEALTHY)
        code, found = ended.code, self.faults(ended)
        self.assertEqual((1, "fail", "sandbox"), (code, *found[0][:2]))
        self.assertRegex(found[0][2], r"^'/tmp/upmand' belongs to user \d+, not to user 0$")

    def test_finds_a_sandbox_that_others_can_write(self):
        self.assertFound(0, "warn", "sandbox", "'/tmp/upmand' can be written by others",
                         fault="umask 022; $T sandbox init >/dev/null; chmod go+w /tmp/upmand")

    def test_finds_a_sandbox_that_is_not_complete(self):
        self.assertFound(0, "warn", "sandbox", "/tmp/upmand is not complete",
                         fault="umask 022; mkdir -p /tmp/upmand/etc")

    def test_finds_logs_that_nobody_owns(self):
        self.assertFound(0, "warn", "temporary files",
                         "2 logs of supervised programs without a living owner: /tmp/watchprocess.abcdef, ...",
                         fault="touch /tmp/watchprocess.abcdef /tmp/watchprocess.ABC123 /tmp/watchprocess.longername "
                               "/tmp/other; rm /tmp/watchprocess.ABC123; touch /tmp/watchprocess.zzzzzz; "
                               "ln -s /nowhere /tmp/watchprocess.linked")

    def test_finds_a_temporary_directory_that_cannot_be_written(self):
        self.assertFound(1, "fail", "temporary files", "cannot write to /tmp: Read-only file system",
                         prefix=LOGGED + "sh -c 'mount -o remount,bind,ro /tmp && exec \"$@\"' sh ")

    def test_finds_that_nobody_listens_to_the_log(self):
        self.assertFound(0, "warn", "syslog", "cannot reach /dev/log: No such file or directory", prefix="")

    def test_says_what_to_do_about_everything_that_it_finds(self):
        ended = self.examined(kernel=NOBODY, prefix="", fault="ln -s /etc /tmp/upmand; touch /tmp/watchprocess.abcdef")
        for check in ended.json["checks"]:
            self.assertEqual(check["level"] != "ok", check["advice"] != "", check)

    def test_fits_a_serial_console(self):
        ended = self.examined(kernel=NOBODY, prefix="", words="",
                              fault="ln -s /etc /tmp/upmand; touch /tmp/watchprocess.abcdef")
        self.assertIn("\n                       -> ", ended.text)
        for line in ended.text.splitlines():
            self.assertLess(len(line), 80, line)


class Bundle(DoctorTest):
    def bundle(self, **how):
        ended = self.examined(words="--bundle", **how)
        return ended.code, ended.json

    def test_holds_all_that_the_other_commands_answer(self):
        code, bundle = self.bundle()
        self.assertEqual(0, code)
        self.assertEqual(1, bundle["schema"])
        explained = self.tool("identify", "--explain", "--json", kernel=HEALTHY).json
        explained.pop("schema")
        self.assertEqual(explained, bundle["identify"])
        properties = self.tool("properties", "kr20v2", "--json").json
        properties.pop("schema")
        self.assertEqual(properties, bundle["properties"])
        self.assertEqual(14, len(bundle["paths"]))
        self.assertEqual("missing", bundle["sandbox"]["state"])
        self.assertEqual([], bundle["leftovers"])
        self.assertEqual({"ok"}, {check["level"] for check in bundle["checks"]})

    def test_is_complete_on_a_machine_where_everything_is_wrong(self):
        code, bundle = self.bundle(kernel=NOBODY, prefix="", fault="ln -s /etc /tmp/upmand; "
                                                                   "touch /tmp/watchprocess.abcdef")
        self.assertEqual((1, "Invalid device", {}), (code, bundle["identify"]["id"], bundle["properties"]))
        self.assertEqual(["/tmp/watchprocess.abcdef"], bundle["leftovers"])

    def test_is_not_held_up_by_a_pipe(self):
        code, bundle = self.bundle(kernel=PARTNER, fault="mkfifo /etc/device-searchtype")
        self.assertEqual((1, "partner-avr", ""), (code, bundle["identify"]["id"], bundle["identify"]["identifier"]))

    def test_can_be_asked_again_at_a_desk(self):
        _, bundle = self.bundle(kernel=dict(HEALTHY, nodename=b"odd\xff\\name"))
        ended = self.tool("identify", "--from", "-", "--field", "nodename", stdin=json.dumps(bundle).encode())
        self.assertEqual(b"odd\xff\\name\n", ended.out)

    def test_has_one_form(self):
        for form in ("--plain", "--shell"):
            self.assertEqual(2, self.tool("doctor", "--bundle", form).code)


class Owners(ToolTest):
    def test_of_a_log_are_those_who_have_it_open(self):
        ended = self.in_tmp("touch /tmp/watchprocess.abcdef; exec 3</tmp/watchprocess.abcdef; "
                            "sh -c 'exec 3<&3; '\"$T\"' doctor --bundle' 3<&3 >/tmp/bundle; cat /tmp/bundle", processes=True)
        self.assertEqual([], ended.json["leftovers"])

    def test_of_a_log_are_supervisors_that_live(self):
        ended = self.in_tmp("$T run -q -- sh -c 'sleep 1000' & "
                            "until ls /tmp/watchprocess.* >/dev/null 2>&1; do sleep 0.01; done; "
                            "touch /tmp/watchprocess.abcdef; "
                            "$T doctor --bundle >/tmp/bundle; kill $!; wait; cat /tmp/bundle", processes=True)
        self.assertEqual([], ended.json["leftovers"])


if __name__ == "__main__":
    installed.main()
