"""Of two starts the second hands its file to the program that runs already."""

import signal
import subprocess
import unittest

from desktop import wait_until
from scenario import Scenario
from sound import tone, write_wav


class HandingOverTest(Scenario):
    def song(self, name):
        return write_wav(self.folder / name, tone(440, 1))

    def wait_until_active(self, program):
        from application import has_state
        wait_until(lambda: has_state(program.find(role="frame", name="Ambrel"), "ACTIVE"),
                   "the window in front")

    def test_the_first_to_run_comes_to_the_front_and_opens_the_file(self):
        first = self.start_with(self.song("first.wav"))
        beside = self.start("--new-window", self.song("beside.wav"))
        beside.wait_until_loaded()
        for arguments, shown in ([], "first.wav"), ([self.song("second.wav")], "second.wav"):
            self.wait_until_active(beside)
            self.assert_ends(self.start(*arguments))
            self.wait_until_active(first)
            first.wait_for(name=shown)
            beside.key("alt+Tab")
        self.wait_until_active(beside)
        beside.wait_for(name="beside.wav")
        self.quit(beside)

    def test_one_that_hangs_delays_the_next_by_seconds_only(self):
        hanging = self.start_with(self.song("first.wav"))
        hanging.process.send_signal(signal.SIGSTOP)
        self.addCleanup(hanging.process.send_signal, signal.SIGCONT)
        program = self.start(self.song("second.wav"))
        wait_until(lambda: subprocess.run(
            ["xdotool", "search", "--all", "--onlyvisible", "--pid", str(program.process.pid),
             "--name", "^Ambrel$"],
            capture_output=True).stdout, "a window of its own", seconds=5)


if __name__ == "__main__":
    unittest.main()
