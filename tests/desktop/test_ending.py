"""However Ambrel is ended, it ends at once, in order, and with the settings saved."""

import signal
import unittest

from scenario import Scenario
from sound import Recording, tone, write_wav


class EndingTest(Scenario):
    def test_every_end_saves_what_was_marked_and_typed_without_return(self):
        ends = {"ctrl+q": lambda program: program.key("ctrl+q"),
                "the window": lambda program: program.key("alt+F4"),
                **{number.name: lambda program, number=number: program.process.send_signal(number)
                   for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP)}}
        path = write_wav(self.folder / "song.wav", tone(440, 4))
        for name, end in ends.items():
            with self.subTest(name):
                program = self.start_with(path)
                start_s, end_s = program.mark(1, 3)
                program.click(name="Speed", role="text")
                program.type("80")
                end(program)  # before the delayed save can have run
                self.assert_ends(program)
                settings = program.stored_settings(path)
                self.assertAlmostEqual(settings["regionStart"], start_s, delta=0.001)
                self.assertAlmostEqual(settings["regionEnd"], end_s, delta=0.001)
                self.assertEqual(settings["speed"], 80)

    def test_a_lock_on_the_store_neither_delays_the_end_nor_loses_a_change(self):
        path = write_wav(self.folder / "song.wav", tone(440, 4))
        program = self.start(path, home=self.leave(path).home)
        with program.locked_store():
            program.wait_until_loaded()
            program.click(name="Speed", role="text")
            program.type("80\n")
            program.process.send_signal(signal.SIGTERM)
            self.assert_ends(program, seconds=0.6)
        self.start(home=program.home).wait_for_window()
        self.assertEqual(program.stored_settings(path)["speed"], 80)

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
