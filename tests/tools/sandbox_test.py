"""tldevice sandbox: the tree below /tmp/upmand, even if another user has tampered with it."""

import os
import shutil
import subprocess
import tempfile

import installed
from installed import GIVE, GIVEN_AWAY, KR20V2, ORDINARY, ToolTest

# Root without the privilege to override file modes.
MORTAL = "setpriv --bounding-set=-dac_override,-dac_read_search --inh-caps=-dac_override,-dac_read_search "


class SandboxInit(ToolTest):
    def test_makes_every_directory_of_the_layout(self):
        ended = self.in_tmp("umask 022; $T sandbox init && find /tmp/upmand -printf '%y %m %P\\n' | sort")
        self.assertEnds(ended, 0, "the sandbox is complete: /tmp/upmand\n"
                                  "d 755 \n"
                                  "d 755 etc\n"
                                  "d 755 packages\n"
                                  "d 755 tollan\n"
                                  "d 755 var\n"
                                  "d 755 var/cache\n"
                                  "d 755 var/cache/upman\n"
                                  "d 755 var/log\n"
                                  "d 755 var/run\n", "")

    def test_leaves_what_is_there(self):
        ended = self.in_tmp("""
            mkdir -p /tmp/upmand/etc; echo state >/tmp/upmand/etc/um-state
            $T sandbox init --json && $T sandbox init >/dev/null && cat /tmp/upmand/etc/um-state
        """)
        self.assertEqual(0, ended.code)
        self.assertTrue(ended.text.endswith("}\nstate\n"))

    def test_refuses_a_link_and_makes_nothing_behind_it(self):
        ended = self.in_tmp("""
            mkdir /tmp/outside; ln -s /tmp/outside /tmp/upmand
            $T sandbox init; echo $?; find /tmp/outside; readlink /tmp/upmand
        """)
        self.assertEnds(ended, 0, "4\n/tmp/outside\n/tmp/outside\n",
                        "tldevice: '/tmp/upmand' is a symbolic link; refusing to touch it\n")

    def test_refuses_a_dangling_link(self):
        ended = self.in_tmp("ln -s /tmp/outside /tmp/upmand; $T sandbox init; echo $?; ls /tmp")
        self.assertEnds(ended, 0, "4\nupmand\n",
                        "tldevice: '/tmp/upmand' is a symbolic link; refusing to touch it\n")

    def test_refuses_a_link_further_down(self):
        for link in ("etc", "var", "var/cache", "packages"):
            ended = self.in_tmp("""
                mkdir /tmp/outside; mkdir -p $(dirname /tmp/upmand/$1); ln -s /tmp/outside /tmp/upmand/$1
                $T sandbox init; echo $?; find /tmp/outside
            """, link)
            self.assertEnds(ended, 0, "4\n/tmp/outside\n",
                            f"tldevice: '/tmp/upmand/{link}' is a symbolic link; refusing to touch it\n")

    def test_refuses_what_belongs_to_somebody_else(self):
        ended = self.in_tmp(GIVEN_AWAY + "$T sandbox init; echo $?; ls /tmp/upmand/var 2>&1")
        self.assertTrue(ended.text.startswith("4\n"), ended.text)
        self.assertRegex(ended.complaint, r"^tldevice: '/tmp/upmand' belongs to user \d+, not to user 0; "
                                          r"refusing to touch it\n$")

    def test_refuses_what_belongs_to_somebody_else_anywhere_in_the_tree(self):
        for user, prefix in ((0, ""), (1000, ORDINARY)):
            for path in ("etc", "own/file"):
                ended = self.in_tmp(GIVE + """
                    umask 022; mkdir -p /tmp/upmand/etc /tmp/upmand/own; touch /tmp/upmand/own/file; give /tmp/upmand/$1
                    """ + prefix + "$T sandbox init; echo $?; " + prefix + "$T sandbox status --json; ls /tmp/upmand", path)
                self.assertTrue(ended.text.startswith("4\n{") and ended.text.endswith("}\netc\nown\n"), ended.text)
                self.assertIn('"state": "unsafe"', ended.text)
                self.assertRegex(ended.complaint, rf"^tldevice: '/tmp/upmand/{path}' belongs to user \d+, not to user "
                                                  rf"{user}; refusing to touch it\n$")

    def test_refuses_a_file_where_a_directory_should_be(self):
        ended = self.in_tmp("echo mine >/tmp/upmand; $T sandbox init; echo $?; cat /tmp/upmand")
        self.assertEnds(ended, 0, "4\nmine\n", "tldevice: '/tmp/upmand' is not a directory; refusing to touch it\n")
        ended = self.in_tmp("mkdir /tmp/upmand; echo mine >/tmp/upmand/var; $T sandbox init; echo $?; "
                            "cat /tmp/upmand/var")
        self.assertEnds(ended, 0, "4\nmine\n",
                        "tldevice: '/tmp/upmand/var' is not a directory; refusing to touch it\n")

    def test_says_what_it_cannot_make(self):
        ended = self.in_tmp("mount -o remount,bind,ro /tmp; $T sandbox init --json; echo $?")
        self.assertIn('"message": "cannot create \'/tmp/upmand\': Read-only file system"', ended.text)
        self.assertTrue(ended.text.endswith("4\n"))
        ended = self.in_tmp("mkdir -p /tmp/upmand/var; chmod 0555 /tmp/upmand/var; " + MORTAL +
                            "$T sandbox init; echo $?")
        self.assertEnds(ended, 0, "4\n", "tldevice: cannot create '/tmp/upmand/var/cache': Permission denied\n")


class SandboxStatus(ToolTest):
    def state(self, script):
        ended = self.in_tmp(script + "\n$T sandbox status --json")
        answer = ended.json
        return ended.code, answer["state"], [warning["code"] for warning in answer["warnings"]]

    def test_tells_missing_incomplete_and_complete(self):
        self.assertEqual((1, "missing", []), self.state(":"))
        self.assertEqual((1, "incomplete", []), self.state("umask 022; mkdir -p /tmp/upmand/etc"))
        self.assertEqual((0, "complete", []), self.state("umask 022; $T sandbox init >/dev/null"))

    def test_warns_of_a_link(self):
        self.assertEqual((1, "unsafe", ["link"]), self.state("ln -s /etc /tmp/upmand"))
        self.assertEqual((1, "unsafe", ["link"]),
                         self.state("umask 022; mkdir /tmp/upmand; ln -s /etc /tmp/upmand/etc"))

    def test_warns_of_another_owner(self):
        code, state, warnings = self.state(GIVEN_AWAY)
        self.assertEqual((1, "unsafe", "other_owner"), (code, state, warnings[0]))

    def test_warns_of_what_is_no_directory_and_of_what_others_can_write(self):
        self.assertEqual((1, "unsafe", ["not_a_directory"]), self.state("touch /tmp/upmand"))
        self.assertEqual((1, "unsafe", ["writable"]), self.state("mkdir -m 0777 /tmp/upmand"))

    def test_shows_the_paths_and_the_warning(self):
        ended = self.in_tmp("ln -s /nowhere /tmp/upmand; $T sandbox status")
        self.assertEqual(1, ended.code)
        self.assertTrue(ended.text.startswith("Root:  /tmp/upmand\nState: unsafe\n\nsandbox  tollanDir  "))
        self.assertTrue(ended.text.endswith("\nWarning: '/tmp/upmand' is a symbolic link.\n"))


class SandboxClean(ToolTest):
    def test_removes_the_tree_and_nothing_else(self):
        ended = self.in_tmp("""
            $T sandbox init >/dev/null
            mkdir -p /tmp/upmand2 /tmp/upmand/a/b/c; touch /tmp/upmand/a/b/c/d /tmp/upmand/.hidden
            mkfifo /tmp/upmand/a/pipe; ln -s / /tmp/upmand/root; ln -s nowhere /tmp/upmand/a/dangling
            printf x >"/tmp/upmand/a/odd
name"
            $T sandbox clean; echo $?; ls -A /tmp
        """)
        self.assertEnds(ended, 0, "removed /tmp/upmand\n0\nupmand2\n", "")

    def test_has_nothing_to_do_where_there_is_no_tree(self):
        self.assertEnds(self.in_tmp("$T sandbox clean"), 0, "/tmp/upmand does not exist\n", "")

    def test_never_follows_a_link(self):
        ended = self.in_tmp("""
            mkdir -p /tmp/outside/deep /tmp/upmand/etc; echo precious >/tmp/outside/deep/file
            ln -s /tmp/outside /tmp/upmand/link; ln -s /tmp/outside/deep /tmp/upmand/etc/link
            ln /tmp/outside/deep/file /tmp/upmand/hardlink
            $T sandbox clean; echo $?; ls -A /tmp; cat /tmp/outside/deep/file
        """)
        self.assertEnds(ended, 0, "removed /tmp/upmand\n0\noutside\nprecious\n", "")

    def test_leaves_a_link_in_its_own_place_alone(self):
        ended = self.in_tmp("""
            mkdir /tmp/outside; echo precious >/tmp/outside/file; ln -s /tmp/outside /tmp/upmand
            $T sandbox clean; echo $?; cat /tmp/upmand/file
        """)
        self.assertEnds(ended, 0, "4\nprecious\n",
                        "tldevice: '/tmp/upmand' is a symbolic link; refusing to touch it\n")

    def test_leaves_what_belongs_to_somebody_else_alone(self):
        ended = self.in_tmp(GIVEN_AWAY + "before=$(ls -lR /tmp/upmand); " + ORDINARY + "$T sandbox clean --json; echo $?; "
                                         '[ "$before" = "$(ls -lR /tmp/upmand)" ] && echo untouched')
        self.assertTrue(ended.text.endswith("}\n4\nuntouched\n"), ended.text)
        self.assertIn('"code": "unsafe"', ended.text)

    def test_names_the_first_thing_of_somebody_else_and_removes_nothing(self):
        for path in ("etc", "var/log", "var/own/deep", "var/own/file"):
            ended = self.in_tmp(GIVE + """
                $T sandbox init >/dev/null; mkdir -p /tmp/upmand/var/own/deep; touch /tmp/upmand/var/own/file /tmp/upmand/zzz
                give /tmp/upmand/$1; give /tmp/upmand/zzz; before=$(ls -R /tmp/upmand)
                """ + ORDINARY + '$T sandbox clean; echo $?; [ "$before" = "$(ls -R /tmp/upmand)" ] && echo untouched', path)
            self.assertEqual("4\nuntouched\n", ended.text)
            self.assertRegex(ended.complaint, rf"^tldevice: '/tmp/upmand/{path}' belongs to user \d+, not to user 1000; "
                                              r"refusing to touch it\n$")

    def test_removes_everything_below_it_for_root(self):
        ended = self.in_tmp("""
            mkdir -p /tmp/outside /tmp/upmand/etc/theirs; touch /tmp/upmand/etc/theirs/file; echo precious >/tmp/outside/file
            ln -s /tmp/outside /tmp/upmand/etc/link; ln -s /tmp/outside /tmp/upmand/var
            chown -hR 1234 /tmp/upmand 2>/dev/null
            $T sandbox clean; echo $?; ls -A /tmp; cat /tmp/outside/file
        """)
        self.assertEnds(ended, 0, "removed /tmp/upmand\n0\noutside\nprecious\n", "")

    def test_leaves_a_file_in_its_place_alone(self):
        ended = self.in_tmp("echo mine >/tmp/upmand; $T sandbox clean; echo $?; cat /tmp/upmand")
        self.assertEnds(ended, 0, "4\nmine\n", "tldevice: '/tmp/upmand' is not a directory; refusing to touch it\n")

    def test_enters_no_mounted_file_system(self):
        for mount in ("mount -t tmpfs none /tmp/upmand/etc", "mount --bind /tmp/outside /tmp/upmand/etc"):
            ended = self.in_tmp("""
                mkdir -p /tmp/outside /tmp/upmand/etc; echo precious >/tmp/outside/file
                """ + mount + """; echo precious >/tmp/upmand/etc/file
                $T sandbox clean; echo $?; cat /tmp/upmand/etc/file /tmp/outside/file
            """)
            self.assertEnds(ended, 0, "4\nprecious\nprecious\n",
                            "tldevice: a file system is mounted at '/tmp/upmand/etc'; refusing to touch it\n")

    def test_is_itself_no_mount_point(self):
        ended = self.in_tmp("""
            mkdir -p /tmp/outside /tmp/upmand; echo precious >/tmp/outside/file
            mount --bind /tmp/outside /tmp/upmand
            $T sandbox clean; echo $?; cat /tmp/outside/file
        """)
        self.assertEnds(ended, 0, "4\nprecious\n",
                        "tldevice: a file system is mounted at '/tmp/upmand'; refusing to touch it\n")

    def test_removes_a_tree_deeper_than_a_path_can_name(self):
        ended = self.in_tmp("""
            mkdir /tmp/upmand; cd /tmp/upmand
            python3 -c 'import os
for level in range(3000):
    os.mkdir("directory"); os.chdir("directory")'
            cd /; $T sandbox clean; echo $?; ls -A /tmp
        """)
        self.assertEnds(ended, 0, "removed /tmp/upmand\n0\n", "")

    def test_removes_many_files_and_directories(self):
        ended = self.in_tmp("""
            mkdir /tmp/upmand; cd /tmp/upmand
            python3 -c 'import os
for number in range(2000):
    open("file%d" % number, "w").close(); os.mkdir("directory%d" % number)'
            cd /; $T sandbox clean; echo $?; ls -A /tmp
        """)
        self.assertEnds(ended, 0, "removed /tmp/upmand\n0\n", "")

    def test_removes_what_it_can_and_names_what_it_cannot(self):
        ended = self.in_tmp("""
            mkdir -p /tmp/upmand/keep/inner /tmp/upmand/other; touch /tmp/upmand/keep/file /tmp/upmand/other/file
            chmod 0555 /tmp/upmand/keep
            """ + MORTAL + "$T sandbox clean; echo $?; find /tmp/upmand | sort")
        self.assertEqual("4\n/tmp/upmand\n/tmp/upmand/keep\n/tmp/upmand/keep/file\n/tmp/upmand/keep/inner\n",
                         ended.text)
        self.assertEqual({"tldevice: cannot remove '/tmp/upmand/keep/file': Permission denied",
                          "tldevice: cannot remove '/tmp/upmand/keep/inner': Permission denied"},
                         set(ended.complaint.splitlines()))

    def test_names_what_a_read_only_file_system_keeps(self):
        ended = self.in_tmp("$T sandbox init >/dev/null; mount -o remount,bind,ro /tmp; $T sandbox clean; echo $?")
        self.assertEqual("4\n", ended.text)
        self.assertIn("tldevice: cannot remove '/tmp/upmand/etc': Read-only file system\n", ended.complaint)

    def test_removes_an_empty_directory_that_cannot_be_read(self):
        ended = self.in_tmp("mkdir -p /tmp/upmand/dark; chmod 0 /tmp/upmand/dark; " + MORTAL +
                            "$T sandbox clean; echo $?; ls -A /tmp")
        self.assertEnds(ended, 0, "removed /tmp/upmand\n0\n", "")

    def test_reaches_nothing_outside_while_somebody_swaps_directories_for_links(self):
        ended = self.in_tmp("""
            mkdir -p /tmp/outside/sub; for i in 1 2 3 4 5 6 7 8; do echo precious >/tmp/outside/sub/$i; done
            python3 -c '
import os
while not os.path.exists("/tmp/stop"):
    for step in (lambda: os.makedirs("/tmp/upmand/etc/sub"), lambda: os.rename("/tmp/upmand/etc", "/tmp/upmand/aside"),
                 lambda: os.symlink("/tmp/outside", "/tmp/upmand/etc"), lambda: os.unlink("/tmp/upmand/etc")):
        try:
            step()
        except OSError:
            pass' &
            swapper=$!
            for i in $(seq 60); do $T sandbox init; $T sandbox clean; done >/dev/null 2>&1
            touch /tmp/stop; wait $swapper
            find /tmp/outside | sort | wc -l
        """)
        self.assertEnds(ended, 0, "10\n", "")


class SandboxAtOnce(ToolTest):
    def test_never_fails_for_the_work_of_another(self):
        ended = self.in_tmp("""
            work() { for i in $(seq 100); do $T sandbox $1 >/dev/null || echo failed; done; }
            work init & work clean & work init & work clean & wait
            $T sandbox init && $T sandbox clean && ls -A /tmp
        """)
        self.assertEnds(ended, 0, "the sandbox is complete: /tmp/upmand\nremoved /tmp/upmand\n", "")


class SandboxAs(ToolTest):
    REAL = "tldevice: the paths are the real ones unless the program chooses the sandbox itself\n"

    def test_gives_the_program_the_host_name(self):
        before = os.uname().nodename
        self.assertEnds(self.tool("sandbox", "--as", "kr30v2", "--", "uname", "-n"), 0, "kr30v2\n", self.REAL)
        self.assertEqual(before, os.uname().nodename)

    def test_works_without_privilege(self):
        # The other user may lack access to the installation, for example below root's home
        # directory.
        elsewhere = tempfile.TemporaryDirectory()
        self.addCleanup(elsewhere.cleanup)
        os.chmod(elsewhere.name, 0o755)
        tree = shutil.copytree(installed.STAGE, os.path.join(elsewhere.name, "stage"), symlinks=True)
        words = [os.path.join(tree, "bin", "tldevice"), "sandbox", "--as", "kr80", "--",
                 "sh", "-c", "uname -n; id -u; id -g"]
        user, group = os.getuid(), os.getgid()
        if user == 0:
            user = group = 1234
            words = ["setpriv", "--reuid=1234", "--regid=1234", "--clear-groups", *words]
            if subprocess.run(["setpriv", "--reuid=1234", "true"], stderr=subprocess.DEVNULL,
                              check=False).returncode != 0:  # root of a user namespace with no other users
                user = group = 0
                words = words[4:]
        ended = self.execute(words, cwd="/")
        if installed.EMULATED and user != 0:
            # An emulator has threads, and a process with threads cannot enter a user namespace.
            self.assertEnds(ended, 125, "", "tldevice: cannot set a private host name: Invalid argument; "
                                            "run as root, or allow unprivileged user namespaces\n")
        else:
            self.assertEnds(ended, 0, f"kr80\n{user}\n{group}\n", self.REAL)

    def test_makes_the_library_answer_with_it(self):
        machine = os.uname()
        held = self.tool("types", "--find", machine.version + " " + machine.release).code == 0
        ended = self.tool("sandbox", "--as", "kr30v2", "--", installed.TLDEVICE, "identify", "--json")
        fields = ended.json
        self.assertEqual("kr30v2", fields["nodename"])
        self.assertEqual(not held, (fields["id"], fields["source"]) == ("kr30v2", "nodename"))

    def test_says_when_the_kernel_itself_holds_an_id(self):
        ended = self.tool("sandbox", "--as", "kr30", "--", "true", kernel=KR20V2)
        self.assertEnds(ended, 0, "", "tldevice: the kernel's release already contains kr20v2 and takes precedence "
                                      "over the host name: the program will be told that\n" + self.REAL)

    def test_ends_as_the_program_ends(self):
        self.assertEqual(7, self.tool("sandbox", "--as", "kr30", "--", "sh", "-c", "exit 7").code)
        self.assertEqual(-15, self.tool("sandbox", "--as", "kr30", "--", "sh", "-c", "kill $$").code)
        self.assertEnds(self.tool("sandbox", "--as", "kr30", "--", "no-such-program",
                                  env={"PATH": "/usr/bin:/bin"}), 127, "",
                        "tldevice: cannot run 'no-such-program': No such file or directory\n")
        self.assertEnds(self.tool("sandbox", "--as", "kr30", "--", "/etc/passwd"), 126, "",
                        "tldevice: cannot run '/etc/passwd': Permission denied\n")

    def test_needs_no_dashes_in_front_of_the_program(self):
        self.assertEnds(self.tool("sandbox", "--as", "kr30", "uname", "-n"), 0, "kr30\n", self.REAL)
        self.assertEnds(self.tool("sandbox", "--as=kr30", "echo", "--json", "init"), 0, "--json init\n", self.REAL)

    def test_passes_options_on_to_the_program(self):
        self.assertEnds(self.tool("sandbox", "--as", "kr30", "--", "echo", "--as", "--", "--json"), 0,
                        "--as -- --json\n", self.REAL)

    def test_refuses_with_125(self):
        for words in (("--as", "kr31", "--", "true"), ("--as", "kr30"), ("init", "--as", "kr30", "--", "true"),
                      ("--as", "kr30", "--json", "--", "true")):
            ended = self.tool("sandbox", *words)
            self.assertEqual(125, ended.code, words)
            self.assertTrue(ended.complaint.endswith("tldevice: try 'tldevice sandbox --help'\n"))


    def test_says_what_to_do_where_the_kernel_does_not_allow_it(self):
        ended = self.execute(["unshare", "--user", "--map-root-user", "sh", "-c",
                              'echo 0 >/proc/sys/user/max_uts_namespaces && exec "$@"', "sh",
                              installed.TLDEVICE, "sandbox", "--as", "kr30", "--", "true"])
        self.assertEnds(ended, 125, "", "tldevice: cannot set a private host name: No space left on device; "
                                        "run as root, or allow unprivileged user namespaces\n")


class SandboxWords(ToolTest):
    def test_needs_an_action_that_it_knows(self):
        for words in ((), ("destroy",), ("clean", "--", "true"), ("clean", "status")):
            self.assertEqual(2, self.tool("sandbox", *words).code, words)


if __name__ == "__main__":
    installed.main()
