"""tldevice doctor: a healthy machine, and one fault at a time."""

import json
import os
import re
import unittest

import installed
from installed import GIVE, GIVEN_AWAY, NOBODY, ORDINARY, STATIC, TYPES, ToolTest

HEALTHY = {"version": "#1 Tue Mar 6 2012", "release": "3.2.0-kr20v2", "nodename": "attic"}
PARTNER = {"version": "#1 Tue Mar 6 2012", "release": "3.2.0", "nodename": "partner-avr"}

# Runs a script, the first argument, on a healthy device: only the programs are those of the
# machine.
DEVICE = """
    d=/tmp/.device; mkdir $d; mount -t tmpfs device $d
    for name in bin sbin lib lib32 lib64 libx32 usr; do
        if [ -h /$name ]; then cp -P /$name $d; elif [ -d /$name ]; then mkdir $d/$name; mount --rbind /$name $d/$name; fi
    done
    mkdir -p $d/proc $d/dev $d/etc $d/tmp $d/mnt $d/packages $d/tollan $d/var/cache/upman $d/var/log $d/var/run
    mkdir -p $d/mnt/internal/upmanlogs $d/mnt/stage; ln -s /mnt/internal/upmanlogs $d/var/log/upmanlogs
    mount --rbind /proc $d/proc; mount --rbind /mnt $d/mnt/stage; mount -t tmpfs -o mode=1777 tmp $d/tmp
    for device in null zero full random urandom; do : >$d/dev/$device; mount --bind /dev/$device $d/dev/$device; done
    cp /etc/ld.so.cache /etc/passwd $d/etc
    cd $d; mkdir old; pivot_root . old; umount -l /old; rmdir /old; cd /
    exec sh -c "T=/mnt/stage/bin/tldevice; $1"
"""

# Runs a command with a system logger listening: the command inherits the socket, so both end
# together.
LOGGED = """python3 -c '
import os, socket, sys
log = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
log.bind("/dev/log")
log.set_inheritable(True)
os.execvp(sys.argv[1], sys.argv[1:])' """

MORTAL = "setpriv --bounding-set=-dac_override,-dac_read_search --inh-caps=-dac_override,-dac_read_search "


class DoctorTest(ToolTest):
    def examined(self, fault="", kernel=None, prefix=LOGGED, words="--json"):
        return self.in_tmp(DEVICE, fault + "\n" + prefix + "$T doctor " + words, kernel=kernel or HEALTHY, processes=True)

    def found(self, **how):
        """Exit code, and whatever is not ok: level, name, message."""
        ended = self.examined(**how)
        return ended.code, self.faults(ended)

    @staticmethod
    def faults(ended):
        return [(check["level"], check["name"], check["message"])
                for check in ended.json["checks"] if check["level"] != "ok"]


class Doctor(DoctorTest):
    def assertFound(self, code, level, name, message, **how):
        """Only this fault is found; checks that depend on it may be "cannot tell"."""
        ended, found = self.found(**how)
        self.assertEqual((code, [(level, name, message)]),
                         (ended, [fault for fault in found if fault[0] != "cannot tell"]))

    def test_finds_nothing_wrong_on_a_healthy_machine(self):
        ended = self.examined(words="")
        ended.out = re.sub(rb"\d+ MiB of \d+ MiB", b"ROOM", ended.out)
        self.assertEnds(ended, 0, (
            "ok    identification: kr20v2 (Home Controller KR20v2), decided by the release\n"
            "ok    sources: consistent, and no id is truncated\n"
            f"ok    catalogue: each of the {len(TYPES)} ids finds itself\n"
            "ok    properties: the update manager knows it as kr20v2\n"
            "ok    identifier: the identifier prefix is in the catalogue\n"
            "ok    kernel: release 3.2.0-kr20v2 is of kernel class 2.6\n"
            "ok    state file: /etc/um-state: not present: the update manager starts afresh\n"
            "ok    state backup: /etc/um-state.bak: not present: a lost state file cannot be restored\n"
            "ok    corrupt state: /etc/um-state.corrupt: not present\n"
            "ok    status file: /etc/um-status: not present: the update manager has not reported yet\n"
            "ok    exclusions: /etc/um-exclusions: not present: nothing is excluded from updates\n"
            "ok    debug file: /etc/um-debug: not present\n"
            "ok    packages: /packages is writable, ROOM free\n"
            "ok    cache: /var/cache/upman is writable, ROOM free\n"
            "ok    logs: /var/log is writable, ROOM free\n"
            "ok    run: /var/run is writable, ROOM free\n"
            "ok    log directory: /var/log/upmanlogs is a link to /mnt/internal/upmanlogs\n"
            "ok    temporary files: /tmp is writable, ROOM free\n"
            "ok    output logs: none left over\n"
            "ok    sandbox: /tmp/upmand does not exist\n"
            "ok    syslog: a system logger listens on /dev/log\n"
            "0 fail, 0 warn\n"), "")

    def test_finds_nothing_wrong_with_a_sandbox_of_ones_own(self):
        self.assertEqual((0, []), self.found(fault="umask 022; $T sandbox init >/dev/null"))

    def test_finds_a_device_without_a_name(self):
        self.assertFound(1, "fail", "identification",
                         "no id in the kernel's build string, its release or the host name", kernel=NOBODY)

    def test_finds_a_contradiction(self):
        self.assertFound(0, "warn", "sources", "the host name contains kr30, but the release decided: kr20v2",
                         kernel=dict(HEALTHY, nodename="kr30"))

    def test_finds_an_id_that_may_be_cut(self):
        self.assertFound(0, "warn", "sources",
                         "the build string fills its 64 bytes and ends in kr20: a longer id may have been truncated",
                         kernel={"version": "#1 ".ljust(60, "_") + "kr20", "release": "3.2.0", "nodename": "attic"})

    def test_finds_a_type_without_a_record(self):
        self.assertFound(1, "fail", "properties", "the update manager has no record of irx",
                         kernel=dict(HEALTHY, release="3.2.0-irx"))

    def test_finds_a_kernel_of_no_class(self):
        self.assertFound(0, "warn", "kernel", "release 6.1.0-kr20v2 is of no kernel class that the library knows",
                         kernel=dict(HEALTHY, release="6.1.0-kr20v2"))

    def test_finds_that_the_identifier_file_is_missing(self):
        self.assertFound(1, "fail", "identifier", "/etc/device-searchtype does not exist", kernel=PARTNER)

    def test_finds_that_the_identifier_file_is_empty(self):
        for contents in ("", "\\n", "\\nsecond\\n"):
            self.assertFound(1, "fail", "identifier", "the first line of /etc/device-searchtype is empty",
                             kernel=PARTNER, fault=f"printf '{contents}' >/etc/device-searchtype")

    def test_finds_what_an_editor_left_in_the_identifier_file(self):
        code, found = self.found(kernel=PARTNER, fault="printf 'avr\\r\\n' >/etc/device-searchtype")
        self.assertEqual((0, [("warn", "identifier", "the first line of /etc/device-searchtype contains blanks "
                                                     "or unprintable characters: the prefix is \"avr\r-\"")]), (code, found))

    def test_finds_that_the_identifier_file_is_no_file(self):
        for fault in ("mkfifo /etc/device-searchtype", "mkdir /etc/device-searchtype"):
            self.assertFound(1, "fail", "identifier", "/etc/device-searchtype is not a regular file",
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
        ended = self.in_tmp(GIVEN_AWAY + "$T doctor --json", kernel=HEALTHY)
        found = [fault for fault in self.faults(ended) if fault[1] == "sandbox"]
        self.assertEqual((1, "fail"), (ended.code, found[0][0]))
        self.assertRegex(found[0][2], r"^'/tmp/upmand' belongs to user \d+, not to user 0$")

    def test_finds_a_sandbox_that_others_can_write(self):
        self.assertFound(0, "warn", "sandbox", "'/tmp/upmand' is writable by other users",
                         fault="umask 022; $T sandbox init >/dev/null; chmod go+w /tmp/upmand")

    def test_finds_a_sandbox_that_is_not_complete(self):
        self.assertFound(0, "warn", "sandbox", "/tmp/upmand is incomplete",
                         fault="umask 022; mkdir -p /tmp/upmand/etc")

    def test_finds_a_temporary_directory_that_cannot_be_written(self):
        self.assertFound(1, "fail", "temporary files", "cannot write to /tmp: Read-only file system",
                         prefix=LOGGED + "sh -c 'mount -o remount,bind,ro /tmp && exec \"$@\"' sh ")

    def test_finds_that_nobody_listens_to_the_log(self):
        self.assertFound(0, "warn", "syslog", "cannot connect to /dev/log: No such file or directory", prefix="")

    def test_says_what_to_do_about_everything_that_it_finds(self):
        ended = self.examined(kernel=NOBODY, prefix="", fault="ln -s /etc /tmp/upmand; touch /tmp/watchprocess.abcdef")
        for check in ended.json["checks"]:
            self.assertEqual(check["level"] != "ok", check["advice"] != "", check)

    def test_breaks_no_line_in_a_file(self):
        ended = self.examined(kernel=NOBODY, prefix="", words="", fault="ln -s /etc /tmp/upmand")
        for line in ended.text.splitlines()[:-1]:
            self.assertRegex(line, "^(ok    |warn  |fail  |cannot tell  |      -> |      \\$ )")
        self.assertEqual("2 fail, 1 warn, 3 cannot tell", ended.text.splitlines()[-1])

    def test_goes_on_where_uname_fails(self):
        ended = self.examined(kernel={"errno": "14"})
        names = {check["name"]: check["level"] for check in ended.json["checks"]}
        self.assertEqual((1, "fail", "ok", "ok"),
                         (ended.code, names["identification"], names["packages"], names["catalogue"]))
        self.assertEqual("cannot tell", names["identifier"])

    def test_tells_the_worst_to_programs(self):
        for fault, level in (("", "ok"), ("touch /etc/um-state.corrupt", "warn"), ("rmdir /packages", "fail")):
            ended = self.examined(fault=fault)
            self.assertEqual((1 if level == "fail" else 0, level), (ended.code, ended.json["worst"]))
        self.assertEqual("fail\n", self.examined(fault="rmdir /packages", words="--field worst").text)

    def test_cannot_tell_others_what_is_for_root(self):
        ended = self.examined(fault="touch /etc/um-state; chmod 0 /etc/um-state; chmod 0555 /packages",
                              prefix=LOGGED + ORDINARY)
        self.assertEqual(0, ended.code, ended.text)
        uncertain = {check["name"]: check["message"] for check in ended.json["checks"] if check["level"] == "cannot tell"}
        self.assertEqual({"state file": "cannot read /etc/um-state: Permission denied",
                          "packages": "cannot write to /packages: Permission denied"}, uncertain)


class BrokenDevices(DoctorTest):
    # What is broken, and the first line of the output.
    DEVICES = (
        ("ln -s /gone /etc/um-state",              "fail  state file: /etc/um-state is a dangling link"),
        ("mkfifo /etc/um-state",                   "fail  state file: /etc/um-state is not a regular file"),
        ("mkdir /etc/um-exclusions",               "fail  exclusions: /etc/um-exclusions is not a regular file"),
        ("ln -s um-status /etc/um-status",         "fail  status file: /etc/um-status is a dangling link"),
        ("ln -s /dev/zero /etc/um-state.bak",      "warn  state backup: /etc/um-state.bak is not a regular file"),
        ("touch /etc/um-state.corrupt",            "warn  corrupt state: /etc/um-state.corrupt: a corrupt state file was set "
                                                   "aside"),
        ("rmdir /packages",                        "fail  packages: /packages does not exist: packages are stored there"),
        ("rmdir /packages; touch /packages",       "fail  packages: /packages is not a directory: packages are stored there"),
        ("rmdir /packages; ln -s /gone /packages", "fail  packages: /packages is a dangling link: packages are stored there"),
        ("mount -t tmpfs -o ro none /packages",    "fail  packages: cannot write to /packages: Read-only file system"),
        ("mount -t tmpfs -o size=64k none /var/cache/upman; cat /dev/zero >/var/cache/upman/file 2>/dev/null",
                                                   "fail  cache: /var/cache/upman is full"),
        ("mount -t tmpfs -o nr_inodes=1 none /var/run",
                                                   "fail  run: /var/run can hold no more files: no free inodes"),
        ("mount -t tmpfs -o size=2m none /tmp",    "warn  temporary files: /tmp is nearly full: 2048 KiB of 2048 KiB free"),
        ("mount -t tmpfs -o nr_inodes=100 none /packages; for i in $(seq 97); do touch /packages/$i; done",
                                                   "warn  packages: /packages can hold few more files: 2 of 100 inodes free"),
        ("rm -r /mnt/internal",                    "fail  log directory: /var/log/upmanlogs is a dangling link to "
                                                   "/mnt/internal/upmanlogs"),
        ("rm /var/log/upmanlogs",                  "warn  log directory: /var/log/upmanlogs does not exist: logs are lost"),
        ("rm /var/log/upmanlogs; touch /var/log/upmanlogs",
                                                   "fail  log directory: /var/log/upmanlogs is not a directory"),
    )

    def test_are_told_by_the_first_line(self):
        for fault, line in self.DEVICES:
            with self.subTest(fault=fault):
                ended = self.examined(fault=fault, words="")
                first, advice, *_ = ended.text.splitlines()
                self.assertEqual((1 if line.startswith("fail") else 0, line), (ended.code, first))
                self.assertTrue(advice.startswith("      -> "), advice)
                self.assertEqual("1 fail, 0 warn" if ended.code else "0 fail, 1 warn", ended.text.splitlines()[-1])

    def test_a_file_system_that_does_not_count_its_space_is_not_full(self):
        ended = self.examined(fault="mount -t ramfs none /packages")
        self.assertIn(("packages", "ok", "/packages is writable; its file system does not count space"),
                      [(check["name"], check["level"], check["message"]) for check in ended.json["checks"]])

    def test_that_have_no_name_are_told_so_first(self):
        for kernel, line in ((NOBODY, "fail  identification: no id in the kernel's build string, its release or the host name"),
                             ({"errno": "14"}, "fail  identification: uname failed: Bad address"),
                             (dict(HEALTHY, release="3.2.0-irx"),
                              "fail  properties: the update manager has no record of irx")):
            self.assertEqual(line, self.examined(kernel=kernel, words="").text.splitlines()[0])

    def test_are_mended_by_the_commands_that_are_advised(self):
        for fault in ("rmdir /packages", "rm /var/log/upmanlogs", "touch /tmp/watchprocess.abcdef /tmp/watchprocess.ABC123",
                      "umask 022; mkdir -p /tmp/upmand/etc", "$T sandbox init >/dev/null; chmod -R go+w /tmp/upmand"):
            mend = "PATH=/mnt/stage/bin:$PATH; umask 022; $T doctor --field command | sh >/dev/null 2>&1; "
            self.assertEqual((0, []), self.found(fault=fault + "; " + mend), fault)


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


class OutputLogs(ToolTest):
    HELD = "touch /tmp/watchprocess.abcdef; "
    # Until its program runs and its own file is removed.
    SUPERVISOR = ("$T run -q -- sh -c ': >/tmp/begun; exec sleep 1000' & "
                  'until [ -e /tmp/begun ] && [ "$(echo /tmp/watchprocess.*)" = /tmp/watchprocess.abcdef ]; do sleep 0.01; done; ')

    def states(self, script, prefix=""):
        """Level, message and advice of each line about output files; `script` prepares them."""
        ended = self.in_tmp(script + "\n" + prefix + "$T doctor --json 3<&- >/tmp/answer; kill $! 2>/dev/null; cat /tmp/answer",
                            processes=True)
        return [(check["level"], check["message"], check["advice"]) for check in ended.json["checks"]
                if check["name"] == "output logs"]

    def test_are_ok_while_somebody_has_them_open(self):
        self.assertEqual([("ok", "in use: /tmp/watchprocess.abcdef", "")],
                         self.states(self.HELD + "exec 3</tmp/watchprocess.abcdef"))

    def test_are_left_over_where_nobody_wants_them(self):
        self.assertEqual([("warn", "left over by a supervisor that was killed or crashed: /tmp/watchprocess.ABC123 "
                                   "/tmp/watchprocess.abcdef", "read them to learn what failed, then remove them")],
                         self.states(self.HELD + "touch /tmp/watchprocess.ABC123 /tmp/watchprocess.longername /tmp/other "
                                                 "'/tmp/watchprocess.; rm *'; ln -s /nowhere /tmp/watchprocess.linked; "
                                                 "mkfifo /tmp/watchprocess.thepip; mkdir /tmp/watchprocess.direct"))

    def test_are_no_fault_where_there_are_none(self):
        self.assertEqual([("ok", "none left over", "")], self.states(":"))

    def assertUncertain(self, script, prefix=""):
        self.assertEqual([("cannot tell", "not open, but a process of their owner may still need them: "
                                          "/tmp/watchprocess.abcdef",
                           "run doctor again as root, or once the supervising programs have ended")],
                         self.states(self.HELD + script, prefix))

    @unittest.skipIf(STATIC, "a program with the static library does not show that it has it")
    def test_are_uncertain_while_a_process_of_their_owner_has_the_library(self):
        self.assertUncertain(self.SUPERVISOR)

    def test_are_uncertain_while_a_process_of_their_owner_cannot_be_looked_into(self):
        self.assertUncertain(":", prefix=ORDINARY)

    def test_are_uncertain_where_processes_are_hidden(self):
        self.assertUncertain("mount -t proc -o hidepid=2 proc /proc", prefix=ORDINARY)

    @unittest.skipIf(STATIC, "a program with the static library does not show that it has it")
    def test_are_left_over_where_only_others_have_the_library(self):
        states = self.states(GIVE + self.HELD + "chown 1234 /tmp/watchprocess.abcdef 2>/dev/null || exit 7\n" + self.SUPERVISOR) \
            if os.getuid() == 0 else [("warn",)]  # the namespace has only one user
        self.assertEqual(["warn"], [state[0] for state in states])

    def test_are_told_one_by_one(self):
        self.assertEqual(["warn", "ok"], [level for level, *_ in self.states(
            self.HELD + "touch /tmp/watchprocess.ABC123; exec 3</tmp/watchprocess.abcdef")])


if __name__ == "__main__":
    installed.main()
