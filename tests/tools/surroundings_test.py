"""tldevice run in unusual surroundings: hostile, full, closed, ignored, blocked."""

import os
import signal
import subprocess
import unittest

import installed
from installed import EMULATED, INSTRUMENTED, NO_LEAK_CHECK, PATIENCE, TLDEVICE
from supervised import RunTest, become_subreaper

LITERAL = "/tmp/watchprocess.XXXXXX"


def setUpModule():
    become_subreaper()


class HostileTmp(RunTest):
    """The library's output file cannot be created, and its literal template name is occupied."""

    PLANTS = {
        "nothing": ":",
        "a file": f"echo planted >{LITERAL}",
        "a link": f"ln -s /media/secret {LITERAL}",
        "a dangling link": f"ln -s /media/nothing {LITERAL}",
        "a pipe": f"mkfifo {LITERAL}",
        "a directory": f"mkdir {LITERAL}",
    }
    # Mount options of a /tmp, and commands that damage it further.
    TROUBLES = {
        "without inodes": ("nr_inodes=2", ":"),
        "full": ("size=4k,nr_inodes=100", "head -c 10000 /dev/zero >/tmp/filler 2>/dev/null"),
        "read-only": ("size=4k", "mount -o remount,ro /tmp"),
    }
    SCRIPT = """
        mount -t tmpfs none /media; echo secret >/media/secret; chmod 600 /media/secret
        mount -t tmpfs -o mode=1777,{options} none /tmp
        {plant}
        {worse}
        look() {{ find /tmp /media -printf '%p %M %u %s %l\n' | grep -v '^/media '; }}
        before=$(look)
        $T run -t 10 --log /media/log --report /media/report -- sh -c 'echo out; exit 3'
        echo $?; cat /media/log
        $T run -t .2 -q -- sleep 1000; echo $?
        $T run -- no-such-program; echo $?
        rm -f /media/log /media/report
        [ "$before" = "$(look)" ] || look
        cat /media/secret
    """

    def test_changes_nothing(self):
        for trouble, (options, worse) in self.TROUBLES.items():
            for what, plant in self.PLANTS.items():
                with self.subTest(tmp=trouble, planted=what):
                    ended = self.in_tmp(self.SCRIPT.format(options=options, plant=plant, worse=worse))
                    self.assertEqual("out\n3\nout\n124\n127\nsecret\n", ended.text)
                    self.assertEqual("tldevice: cannot run 'no-such-program': No such file or directory\n", ended.complaint)


class Readers(RunTest):
    def test_that_go_away_end_nothing(self):
        script = 'i=0; while [ $i -lt 20000 ]; do echo y; i=$((i+1)); done; echo done >"$1"; exit 3'
        for held in ("", "trap '' PIPE; "):
            ended = self.shell(held + "tldevice run --report \"$3\" -- sh -c \"$1\" sh \"$2\" | head -n 1; echo ${PIPESTATUS[0]}",
                               script, self.path("done"), self.path("report"), shell=("bash",))
            self.assertEnds(ended, 0, "y\n3\n", "")
            self.assertEqual(b"done\n", self.read("done"))
            self.assertFalse(self.report()["output_complete"])
            os.unlink(self.path("done"))

    def test_of_standard_error_that_are_gone(self):
        read, write = os.pipe()
        os.close(read)
        for words, code in ((("-v", "sh", "-c", "exit 5"), 5), (("-v", "-t", ".1", "sleep", "1000"), 124),
                            (("no-such-program",), 127)):
            self.assertEqual(code, self.start(*words, stderr=write).wait(PATIENCE))
        os.close(write)

    def test_that_are_slow_slow_the_program(self):
        # Until the reader starts, the program cannot write more than the pipes and one piece hold.
        process = self.start("sh", "-c", 'head -c 1000000 /dev/zero; echo >"$1"', "sh", self.path("written"))
        self.assertEqual(bytes(1), os.read(process.stdout.fileno(), 1))
        self.assertFalse(os.path.exists(self.path("written")))
        out, _ = process.communicate(timeout=PATIENCE)
        self.assertEqual((0, 999999, True), (process.returncode, len(out), os.path.exists(self.path("written"))))


class LateOutput(RunTest):
    def test_does_not_end_who_writes_it(self):
        script = ("(while read line; do head -c 100000 /dev/zero; done; echo survived >\"$2\") <\"$1\" & "
                  "echo $!; exit 4")
        process = self.start("sh", "-c", script, "sh", self.pipe("lines"), self.path("survived"))
        out, err = process.communicate(timeout=PATIENCE)  # returns without waiting for the writer
        self.assertEqual((4, b""), (process.returncode, err))
        with open(self.path("lines"), "wb") as lines:
            lines.write(b"write\n" * 20)
        self.assertEqual(0, self.orphan_ended_by(int(out)))
        self.assertEqual(b"survived\n", self.read("survived"))
        ended = os.waitstatus_to_exitcode(os.waitpid(-1, 0)[1])  # the reader that was left behind
        if not EMULATED:  # an emulator with closed descriptors does not exit cleanly
            self.assertEqual(0, ended)
        with self.assertRaises(ChildProcessError):
            os.waitpid(-1, os.WNOHANG)

    def test_is_not_waited_for(self):
        ended = self.run_tool("sh", "-c", '(while :; do echo y; done) & echo $! >"$1"', "sh", self.path("pid"))
        self.assertEqual((0, b""), (ended.code, ended.err))
        self.end(self.pid_in(self.path("pid")))
        os.waitpid(-1, 0)

    def test_is_all_there_up_to_the_end(self):
        ended = self.run_tool("sh", "-c", 'sleep 1000 & echo $! >"$1"; head -c 60000 /dev/zero', "sh", self.path("pid"))
        self.assertEqual((0, 60000), (ended.code, len(ended.out)))
        self.end(self.pid_in(self.path("pid")))
        os.waitpid(-1, 0)

    def test_keeps_nobody_from_seeing_the_end_of_other_files(self):
        read, write = os.pipe()
        process = self.start("sh", "-c", "exec 9>&-; sleep 1000 & echo $!", stdin=subprocess.DEVNULL,
                             preexec_fn=lambda: os.dup2(write, 9), close_fds=False)
        os.close(write)
        out, _ = process.communicate(timeout=PATIENCE)
        with os.fdopen(read, "rb") as file:
            self.assertEqual(b"", file.read())
        self.end(int(out))
        os.waitpid(-1, 0)


class Callers(RunTest):
    BLOCKED = (signal.SIGALRM, signal.SIGCHLD, signal.SIGTERM)

    def signals_of(self, prefix):
        """The signals blocked and ignored in a program, according to the kernel."""
        def odd():
            signal.signal(signal.SIGCHLD, signal.SIG_IGN)
            signal.signal(signal.SIGHUP, signal.SIG_IGN)
            signal.pthread_sigmask(signal.SIG_BLOCK, self.BLOCKED)
        return self.execute([*prefix, "grep", "-E", "Sig(Blk|Ign)", "/proc/self/status"], preexec_fn=odd).text

    @unittest.skipIf(EMULATED, "the kernel sees the emulator's signals")
    def test_signals_are_the_programs(self):
        self.assertEqual(self.signals_of(["env"]), self.signals_of([TLDEVICE, "run"]))

    def test_signals_do_not_matter(self):
        for ignored in ((), (signal.SIGCHLD,), (signal.SIGALRM,)):
            for blocked in ((), self.BLOCKED):
                def odd():
                    for number in ignored:
                        signal.signal(number, signal.SIG_IGN)
                    signal.pthread_sigmask(signal.SIG_BLOCK, blocked)
                self.assertEqual(7, self.run_tool("sh", "-c", "exit 7", preexec_fn=odd).code)
                ended = self.run_tool("-q", "-k", ".2", "-t", ".2", "sleep", "1000", preexec_fn=odd)
                self.assertEqual(124, ended.code)

    def test_blocked_signals_stay_blocked(self):
        process = self.start("sh", "-c", "echo; read line; exit 5", stdin=subprocess.PIPE,
                             preexec_fn=lambda: signal.pthread_sigmask(signal.SIG_BLOCK, self.BLOCKED))
        process.stdout.readline()
        process.send_signal(signal.SIGTERM)
        process.communicate(b"\n", PATIENCE)
        self.assertEqual(5, process.returncode)

    def test_children_from_before_do_not_matter(self):
        # One process that ends meanwhile, and one that does not.
        ended = self.execute(["sh", "-c", '(sleep .2; exit 3) & sleep 1000 >/dev/null 2>&1 & echo $!; exec "$@"', "sh",
                              TLDEVICE, "run", "-t", "1h", "sh", "-c", "sleep 1; exit 5"])
        self.assertEqual(5, ended.code)
        pid = int(ended.text)
        self.assertFalse(self.is_dead(pid))
        self.end(pid)
        try:
            os.waitpid(-1, 0)
        except ChildProcessError:
            pass

    def test_may_be_the_process_of_number_1(self):
        ended = self.in_tmp("$T run sh -c 'exit 5'; echo $?; $T run -q -t .1 sleep 1000; echo $?", processes=True)
        self.assertEnds(ended, 0, "5\n124\n", "")

    @unittest.skipIf(EMULATED, "the emulator cannot end by a signal as number 1")
    def test_may_make_it_number_1(self):
        self.assertEqual(5, self.in_tmp("exec $T run sh -c 'exit 5'", processes=True).code)
        self.assertEqual(128 + 15, self.in_tmp("exec $T run sh -c 'kill -TERM 1; exec sleep 1000'", processes=True).code)

    @unittest.skipIf(EMULATED, "the emulator has threads, which cannot be in another namespace")
    def test_may_have_its_children_in_another_process_namespace(self):
        private = ["unshare", "--pid"] if os.getuid() == 0 else ["unshare", "--user", "--map-root-user", "--pid"]
        self.assertEqual(5, self.execute([*private, TLDEVICE, "run", "sh", "-c", "exit 5"], env=NO_LEAK_CHECK).code)
        self.assertEqual(124, self.execute([*private, TLDEVICE, "run", "-q", "-t", ".1", "sleep", "1000"],
                                           env=NO_LEAK_CHECK).code)

    @unittest.skipIf(INSTRUMENTED, "an address checker needs /proc")
    def test_may_be_without_proc(self):
        ended = self.in_tmp("export LD_LIBRARY_PATH=$(echo /mnt/lib*); mount -t tmpfs none /proc; $T run -t 10 -- echo hello; $T run -q -t .1 sleep 1000; echo $?; "
                            "$T run -- sh -c 'sleep .2 & exit 6'; echo $?", processes=True)
        self.assertEnds(ended, 0, "hello\n124\n6\n", "")

    def test_may_have_closed_everything(self):
        for closed in ("<&-", ">&-", "2>&-", "<&- >&- 2>&-"):
            ended = self.shell(f"tldevice run sh -c 'exit 6' {closed}; echo $?; tldevice run -q -t .1 sleep 1000 {closed}; echo $?")
            self.assertEnds(ended, 0, "6\n124\n", "")

    @unittest.skipIf(EMULATED, "the emulator wakes up for reasons of its own")
    def test_costs_nothing_while_it_waits(self):
        process, pid = self.begin("-t", "1h", script="echo $$; read line", stdin=subprocess.PIPE)
        self.wait_for(lambda: self.state_of(pid) == "S" and self.state_of(process.pid) == "S")

        def wakings():
            with open(f"/proc/{process.pid}/status", encoding="ascii") as file:
                return [line for line in file if "ctxt_switches" in line]
        before = wakings()
        subprocess.run(["sleep", "1"], check=True)
        self.assertEqual(before, wakings())
        process.communicate(b"\n", PATIENCE)


if __name__ == "__main__":
    installed.main()
