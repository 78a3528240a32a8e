"""The README shows real output of the command."""

import os
import re

import installed
from installed import ToolTest


class Readme(ToolTest):
    def test_shows_real_output_in_its_first_screen(self):
        with open(os.environ["README"], encoding="utf-8") as file:
            text = file.read()
        block = re.search(r"```console\n(\$ tldevice .*?)```", text, re.DOTALL)
        self.assertLess(text[:block.start()].count("\n"), 24)

        shown = re.split(r"^\$ (.*)\n", block.group(1), flags=re.MULTILINE)[1:]
        commands = dict(zip(shown[::2], shown[1::2]))
        self.assertTrue(any(" identify --explain" in command for command in commands))
        self.assertTrue(any(" run " in command for command in commands))
        for command, output in commands.items():
            ended = self.shell("exec 2>&1\n" + command)
            self.assertEqual(output, ended.text, command)


if __name__ == "__main__":
    installed.main()
