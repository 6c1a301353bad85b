"""Files that open, files that do not, and what the window says about them."""

import os
import unittest

from desktop import wait_until
from scenario import Scenario
from sound import tone, write_wav


class OpeningTest(Scenario):
    def assert_refused(self, path):
        """One alert that names the file and the reason; OK brings the welcome screen back."""
        program = self.start(path)
        program.wait_for(name="Error", role="alert")
        message = next((text for text in program.texts() if path.name in text), None)
        self.assertIsNotNone(message, program.texts())
        self.assertIn("could not be opened", message)
        program.click(name="OK")
        program.wait_until_gone(name="OK")
        program.wait_for(name="Open File…")
        self.assertIsNone(program.find(name="Waveform"))
        self.quit(program)

    def test_what_is_no_sound_is_refused_and_a_fifo_does_not_hang(self):
        text, fifo = self.folder / "take3.mp3", self.folder / "pipe.wav"
        text.write_text("Not a note of music in here.\n" * 40)
        os.mkfifo(fifo)
        for path in text, fifo:
            with self.subTest(path.name):
                self.assert_refused(path)

    def test_odd_names_open_like_any_other(self):
        for name in ("take: 3 #1? 100% \"loud\" & ’soft’.wav", "a\nb 🎸.wav", "-x.wav", "é" * 122 + ".wav"):
            with self.subTest(name=name):
                path = write_wav(self.folder / name, tone(440, 0.5))
                program = self.start_with(os.path.relpath(path))
                program.wait_for(name=name)
                self.quit(program)
                self.assertIsNotNone(program.stored_settings(path))

    def test_file_url_opens(self):
        path = write_wav(self.folder / "50 % #2.wav", tone(440, 0.5))
        program = self.start_with(path.as_uri().replace("file://", "file://localhost"))
        program.wait_for(name=path.name)

    def test_file_chosen_in_the_open_panel_opens(self):
        path = write_wav(self.folder / "chosen.wav", tone(440, 0.5))
        program = self.start()
        from application import has_state
        program.wait_for_window()
        program.key("ctrl+o")
        dialog = program.wait_for(role="dialog")
        wait_until(lambda: has_state(dialog, "ACTIVE"), "the dialog to have the keys")
        program.type(path)

        def accepted():
            program.key("Return")  # as often as it takes: the dialog looks the file up in its own time
            return not program.find(role="dialog")
        wait_until(accepted, "the file being taken")
        program.wait_until_loaded()
        program.wait_for(name=path.name)

    def test_what_is_dropped_opens(self):
        text, song = self.folder / "notes.txt", write_wav(self.folder / "dropped.wav", tone(440, 0.5))
        text.write_text("No music in here.")
        program = self.start()
        program.wait_for(name="Open File…")
        program.drop(text, song)
        program.wait_until_loaded()
        program.wait_for(name=song.name)
        address = "https://example.org/a%20b?c=d"
        program.drop(address)
        field = program.wait_for(name="URL", role="text")
        wait_until(lambda: field.get_text(0, 99) == address, "the address in the sheet")


if __name__ == "__main__":
    unittest.main()
