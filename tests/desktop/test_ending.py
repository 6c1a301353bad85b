"""However Ambrel is ended, it ends at once, in order, and with the settings saved."""

import signal
import unittest

from scenario import Scenario
from sound import Recording, tone, write_wav


class EndingTest(Scenario):
    def assert_ends_with_all_saved(self, end):
        """Marks a region, types a speed without Return, and ends the program before the delayed
        save can have run."""
        path = write_wav(self.folder / "song.wav", tone(440, 4))
        program = self.start_with(path)
        start_s, end_s = program.mark(1, 3)
        program.click(name="Speed", role="text")
        program.type("80")
        end(program)
        self.assert_ends(program)
        settings = program.stored_settings(path)
        self.assertAlmostEqual(settings["regionStart"], start_s, delta=0.001)
        self.assertAlmostEqual(settings["regionEnd"], end_s, delta=0.001)
        self.assertEqual(settings["speed"], 80)

    def test_quit_saves(self):
        self.assert_ends_with_all_saved(lambda program: program.key("ctrl+q"))

    def test_closing_the_window_saves(self):
        self.assert_ends_with_all_saved(lambda program: program.key("alt+F4"))

    def test_signals_save(self):
        for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            with self.subTest(number.name):
                self.assert_ends_with_all_saved(lambda program: program.process.send_signal(number))

    def test_closing_while_loading(self):
        program = self.start(self.hours_of_silence())
        program.wait_for(description="Progress")
        program.wait_for_window()
        program.key("alt+F4")
        self.assert_ends(program)

    def test_closing_while_playing(self):
        program = self.start_with(write_wav(self.folder / "long.wav", tone(440, 20)))
        with Recording(self.desktop) as recording:
            program.key("space")
            recording.wait_for_sound()
            program.key("alt+F4")
            self.assert_ends(program)

    def test_ending_while_the_alert_is_open(self):
        for end in (lambda program: program.key("ctrl+q"),
                    lambda program: program.process.send_signal(signal.SIGTERM)):
            program = self.start(self.folder / "missing.wav")
            program.wait_for(name="OK")
            program.wait_for_window()
            end(program)
            self.assert_ends(program)

    def hours_of_silence(self):
        """A file that takes much longer to read than to write: its samples are a hole."""
        path = write_wav(self.folder / "hours.wav", [])
        data_bytes = 6 * 3600 * 44_100 * 2
        with open(path, "r+b") as file:
            for offset, size in (4, 36 + data_bytes), (40, data_bytes):
                file.seek(offset)
                file.write(size.to_bytes(4, "little"))
            file.truncate(44 + data_bytes)
        return path


if __name__ == "__main__":
    unittest.main()
