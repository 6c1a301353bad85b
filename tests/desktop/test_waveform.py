"""Zooming and marking in the waveform."""

import unittest

from desktop import wait_until
from scenario import Scenario
from sound import tone, write_wav


class WaveformTest(Scenario):
    def setUp(self):
        super().setUp()
        self.program = self.start_with(write_wav(self.folder / "song.wav", tone(440, 10)))

    def assert_bar(self, zoom, enabled):
        """The zoom text and the buttons that can be pressed, soon."""
        from application import has_state
        self.program.wait_for(name=zoom, description="Zoom level")
        for name in ("Pan left", "Pan right", "Zoom out", "Zoom in", "Fit Track", "Fit Region"):
            wait_until(lambda: has_state(self.program.find(name=name), "ENABLED") == (name in enabled),
                       f"{name} as wanted at {zoom}")

    def test_zoom_bar(self):
        program = self.program
        self.assert_bar("1.0x", ["Zoom in", "Fit Region"])
        program.click(name="Zoom in")
        self.assert_bar("2.0x", ["Pan right", "Zoom out", "Zoom in", "Fit Track", "Fit Region"])
        program.click(name="Pan right")
        self.assert_bar("2.0x", ["Pan left", "Pan right", "Zoom out", "Zoom in", "Fit Track", "Fit Region"])
        program.click(name="Zoom out")
        self.assert_bar("1.0x", ["Zoom in", "Fit Region"])
        for zoom in ("2.0x", "4.0x", "8.0x", "16.0x", "32.0x", "50.0x"):
            program.click(name="Zoom in")
            program.wait_for(name=zoom, description="Zoom level")
        self.assert_bar("50.0x", ["Pan right", "Zoom out", "Fit Track", "Fit Region"])
        program.click(name="Fit Track")
        self.assert_bar("1.0x", ["Zoom in", "Fit Region"])

    def test_fit_region_spreads_the_region_over_nine_tenths(self):
        self.program.mark(4, 5)
        self.program.click(name="Fit Region")
        self.program.wait_for(name="9.0x", description="Zoom level")

    def test_drag_out_of_the_window_and_back_stays_in_the_file(self):
        from application import extents
        x, y, width, height = extents(self.program.wait_for(name="Waveform"))
        middle = y + height // 2
        self.program.drag((x + width // 2, middle), (x + 4 * width, middle))
        self.program.wait_for_region(5, 10)
        self.program.drag((x + width // 4, middle), (0, middle), (x + width * 3 // 4, 1000))
        self.program.wait_for_region(2.5, 7.5)


if __name__ == "__main__":
    unittest.main()
