"""The settings window: what is chosen and cleared there is stored, and it outlives no main window."""

import unittest

from desktop import wait_until
from scenario import Scenario
from sound import tone, write_wav


class SettingsTest(Scenario):
    def wait_until_active(self, program, **window):
        from application import is_active
        wait_until(lambda: is_active(program.wait_for(**window)), f"{window} to be active")

    def open_settings(self, program):
        program.key("ctrl+comma")
        self.wait_until_active(program, name="Settings", role="frame")

    def clear(self, program):
        program.click(name="Clear Cache…")
        self.wait_until_active(program, name="Clear Cache", role="alert")
        program.click(name="Clear Cache & Settings")

    def choose(self, program, group, preset):
        from application import extents
        choices = program.wait_for(name=group)
        button = next(choices.get_child_at_index(index) for index in range(choices.get_child_count())
                      if choices.get_child_at_index(index).get_name() == preset)
        x, y, width, height = extents(button)
        program.pointer("mousemove", x + width // 2, y + height // 2, "click", 1)

    def assert_stored(self, program, key, kind, value):
        wait_until(lambda: program.stored(key) == (kind, value), f"{key} to be stored as {value}")

    def test_what_is_chosen_typed_and_cleared_is_stored(self):
        path = write_wav(self.folder / "song.wav", tone(440, 2))
        program = self.start_with(path)
        program.key("ctrl+Up")
        wait_until(lambda: program.stored_settings(path), "the settings to be stored")
        self.open_settings(program)
        program.wait_for(description="Entries", name="1")
        self.choose(program, "Age limit", "7 days")
        self.assert_stored(program, "waveformCacheSettings.maxAge", "double", 604_800)
        self.choose(program, "Size limit", "Custom")
        program.wait_for(name="Custom size")
        program.type("20")
        program.key("Return")
        self.assert_stored(program, "waveformCacheSettings.maxSize", "int", 20 * 1_048_576)

        self.clear(program)
        program.wait_for(description="Entries", name="0")
        program.wait_for(description="Total size", name="0.0 MB")
        self.assertIsNone(program.stored(f"waveformCache.{path}"))
        self.assertIsNone(program.stored_settings(path))
        self.assertIsNotNone(program.stored("recentFiles"))

        for close in ("Escape", "ctrl+w"):
            self.wait_until_active(program, name="Settings", role="frame")
            program.key(close)
            program.wait_until_gone(name="Settings", role="frame")
            self.wait_until_active(program, name="Ambrel", role="frame")
            self.open_settings(program)
            self.assertEqual(program.wait_for(name="Custom size").get_text(0, -1), "20")
        program.key("ctrl+Up")  # also from here
        wait_until(lambda: program.stored_settings(path), "the open file's settings to be stored anew")
        self.assertEqual(program.stored_settings(path)["pitch"], 2)

        program.pointer("search", "--onlyvisible", "--name", "^Ambrel$", "windowactivate", "--sync")
        program.key("alt+F4")
        self.assert_ends(program)

    def test_what_is_cleared_before_the_end_is_gone_but_the_open_file_is_saved(self):
        path = write_wav(self.folder / "song.wav", tone(440, 2))
        program = self.start_with(path)
        program.key("ctrl+Up")
        program.click(name="Settings")
        self.wait_until_active(program, name="Settings", role="frame")
        self.clear(program)
        program.key("ctrl+q")
        self.assert_ends(program)
        self.assertIsNone(program.stored(f"waveformCache.{path}"))
        self.assertEqual(program.stored_settings(path)["pitch"], 1)


if __name__ == "__main__":
    unittest.main()
