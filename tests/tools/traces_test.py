"""What every command touches, recorded by strace."""

import os
import re

import installed
from installed import NO_LEAK_CHECK, ToolTest

# Calls that change something if they succeed, and their path arguments.
CHANGES = ("mkdir", "mkdirat", "rmdir", "unlink", "unlinkat", "rename", "renameat", "renameat2", "link", "linkat",
           "symlink", "symlinkat", "chmod", "fchmodat", "fchmodat2", "chown", "lchown", "fchownat", "truncate", "creat",
           "mknod", "mknodat", "utime", "utimes", "utimensat", "futimesat", "setxattr", "lsetxattr", "removexattr",
           "mount", "umount2", "pivot_root", "chroot", "sethostname", "fchmod", "fchown", "ftruncate", "fsetxattr",
           "socket")  # a log message would need one
OPENS = ("open", "openat", "openat2")
WRITING = re.compile(r"O_(WRONLY|RDWR|CREAT|TRUNC|APPEND)")

STRACE = "strace -f -qq -y -o /tmp/.trace -e trace=" + ",".join("?" + call for call in CHANGES + OPENS) + " "

QUERIES = ("identify", "identify --explain", "identify --json", "identify --is kr20", "identify --release kr20",
           "identify --from /proc/version", "types", "types kr20", "types --find kr20", "types --lint",
           "properties", "properties kr20", "properties --all", "properties kr20 --script", "properties --diff kr20 tq2",
           "properties kr20 --platform quill", "paths", "paths --both", "paths etcDir", "sandbox status", "doctor",
           "doctor --bundle", "--help", "run --help", "--version", "bogus")


class Recorded(ToolTest):
    def recorded(self, words, setup=""):
        """What a command changed or opened for writing: (call, path) of each."""
        ended = self.in_tmp(setup + "\n" + STRACE + "$T " + words + " >/dev/null 2>&1 </dev/null; cat /tmp/.trace",
                            env=NO_LEAK_CHECK)
        self.assertIn("openat(", ended.text)  # the trace is not empty
        found = []
        for line in ended.text.splitlines():
            match = re.match(r"\d+ +(\w+)\((.*)$", line)
            if not match or (match.group(1) in OPENS and not WRITING.search(match.group(2))):
                continue
            found.append((match.group(1), self.path_in(match.group(2))))
        return found

    @staticmethod
    def path_in(arguments):
        """The path argument of a call, with the directory that it is relative to."""
        directory = re.match(r"(?:AT_FDCWD|\d+)<([^>]*)>", arguments)
        name = re.search(r'"((?:[^"\\]|\\.)*)"', arguments)
        if not name:
            return directory.group(1) if directory else arguments
        return os.path.normpath(os.path.join(directory.group(1) if directory else "/", name.group(1)))

    def assertStaysWithin(self, allowed, words, setup=""):
        found = self.recorded(words, setup)
        for call, path in found:
            self.assertRegex(path, f"^({allowed})$", (words, call))
        return found


class Queries(Recorded):
    def test_change_nothing_and_log_nothing(self):
        for words in QUERIES:
            with self.subTest(words=words):
                found = self.recorded(words, "mkdir -p /tmp/upmand/etc; touch /tmp/watchprocess.abcdef")
                looking = words.startswith("doctor")  # connects to the log, without writing to it
                self.assertEqual([], [(call, path) for call, path in found if not (looking and call == "socket")])


class Sandbox(Recorded):
    TREE = r"/tmp/upmand(/.*)?"
    HOSTILE = {
        "nothing there": ":",
        "a tree": "$T sandbox init >/dev/null; touch /tmp/upmand/file; ln -s / /tmp/upmand/root",
        "links inside": "mkdir -p /tmp/outside/sub /tmp/upmand; touch /tmp/outside/file; "
                        "for name in etc var tollan packages other; do ln -s /tmp/outside /tmp/upmand/$name; done",
        "a link": "mkdir /tmp/outside; touch /tmp/outside/file; ln -s /tmp/outside /tmp/upmand",
        "a dangling link": "ln -s /tmp/outside /tmp/upmand",
        "a file": "touch /tmp/upmand",
        "a file inside": "mkdir /tmp/upmand; touch /tmp/upmand/var",
        "a mount": "mkdir -p /tmp/outside /tmp/upmand/etc; touch /tmp/outside/file; "
                   "mount --bind /tmp/outside /tmp/upmand/etc",
        "another owner": installed.GIVEN_AWAY,
    }

    def test_touches_nothing_outside(self):
        for name, setup in self.HOSTILE.items():
            for words in ("sandbox init", "sandbox clean", "sandbox status", "sandbox init --json"):
                with self.subTest(tree=name, words=words):
                    self.assertStaysWithin(self.TREE, words, setup)

    def test_makes_and_removes_what_it_should(self):
        made = self.assertStaysWithin(self.TREE, "sandbox init")
        self.assertEqual({"/tmp/upmand" + path for path in ("", "/etc", "/packages", "/tollan", "/var", "/var/cache",
                                                            "/var/cache/upman", "/var/log", "/var/run")},
                         {path for call, path in made if call == "mkdirat"})
        removed = self.assertStaysWithin(self.TREE, "sandbox clean", self.HOSTILE["a tree"])
        self.assertEqual(11, len([call for call, _ in removed if call == "unlinkat"]))

    def test_opens_no_directory_of_the_tree_through_a_link(self):
        ended = self.in_tmp("$T sandbox init >/dev/null; mkdir -p /tmp/upmand/a/b; " + STRACE +
                            "$T sandbox clean >/dev/null; cat /tmp/.trace",
                            env=NO_LEAK_CHECK)
        opened = [line for line in ended.text.splitlines() if re.search(r'openat\(\d+<', line)]
        self.assertGreater(len(opened), 5)
        for line in opened:
            self.assertIn("O_NOFOLLOW", line)

    def test_as_a_device_changes_the_host_name_and_maps_the_user_alone(self):
        found = self.assertStaysWithin(r"/proc/self/(setgroups|uid_map|gid_map)|/kr30|/dev/null",
                                       "sandbox --as kr30 -- true")
        self.assertIn("sethostname", [call for call, _ in found])


class Run(Recorded):
    def test_writes_its_log_and_the_files_that_it_is_told_to(self):
        found = self.assertStaysWithin(r"/tmp/watchprocess\.[A-Za-z0-9]{6}|/tmp/report|/tmp/copy|/dev/null",
                                       "run --restarts 1 --log /tmp/copy --report /tmp/report -- false")
        removed = [path for call, path in found if call == "unlink"]
        self.assertEqual(2, len(removed))
        self.assertEqual({"/tmp/copy", "/tmp/report"},
                         {path for call, path in found if call == "openat"} - set(removed))

    def test_says_nothing_of_its_log_where_that_cannot_be_had(self):
        found = self.recorded("run -t 10 -- true", "mount -t tmpfs -o nr_inodes=3,mode=1777 none /tmp; touch /tmp/other; "
                              "touch /tmp/.trace")
        self.assertIn("openat", [call for call, path in found if path.startswith("/tmp/watchprocess.")])
        self.assertEqual([], [call for call, _ in found if call in ("socket", "unlink")])


if __name__ == "__main__":
    installed.main()
