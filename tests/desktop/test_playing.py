"""A marked region, and nothing else, is played."""

import unittest

import numpy as np

from desktop import Desktop, wait_until
from scenario import Scenario
from sound import Recording, level_db, tone, write_wav

TONES_HZ = (330, 550, 770, 990)
TONE_S = 2


class PlayingTest(Scenario):
    def four_tones(self):
        samples = np.concatenate([tone(frequency, TONE_S) for frequency in TONES_HZ])
        return self.start_with(write_wav(self.folder / "four tones.wav", samples))

    def assert_only(self, heard, frequency_hz):
        """Only that tone, at its level in the file; the fades at its ends are left out."""
        steady = heard[Desktop.RATE // 50:-Desktop.RATE // 50]
        for frequency in TONES_HZ:
            level = level_db(steady, frequency)
            if frequency == frequency_hz:
                self.assertAlmostEqual(level, 20 * np.log10(0.5), delta=0.1)
            else:
                self.assertLess(level, -70, f"{frequency} Hz")

    def test_marked_tone_alone_is_heard_for_the_length_of_the_region(self):
        program = self.four_tones()
        start_s, end_s = program.mark(4.1, 5.8)
        self.assertAlmostEqual(start_s, 4.1, delta=0.02)
        self.assertAlmostEqual(end_s, 5.8, delta=0.02)
        with Recording(self.desktop) as recording:
            program.play_through(recording)
        heard = recording.heard()
        self.assertAlmostEqual(len(heard) / Desktop.RATE, end_s - start_s, delta=0.030)
        self.assert_only(heard, TONES_HZ[2])

    def test_space_pauses_and_the_next_space_begins_at_the_region_start(self):
        program = self.four_tones()
        start_s, _ = program.mark(2.1, 7.9)
        with Recording(self.desktop) as recording:
            for _ in range(2):
                program.key("space")
                recording.wait_for_sound()
                recording.next(1)
                program.wait_for(name="Pause")
                program.key("space")
                program.wait_for(name="Play")
                recording.wait_for_silence()
        read_out = program.wait_for(description="Position").get_name()
        self.assertGreater(float(read_out.split(":")[1]), start_s, "the position rests where it paused")
        stretches = recording.stretches()
        self.assertEqual(len(stretches), 2)
        for heard in stretches:
            self.assert_only(heard, TONES_HZ[1])

    def test_sound_and_play_head_return_with_the_sound_server(self):
        program = self.four_tones()
        program.key("ctrl+l")
        with Recording(self.desktop) as recording:
            program.key("space")
            recording.wait_for_sound()
        self.desktop.kill_sound_server()
        self.desktop.start_sound_server()

        def position():
            return program.wait_for(description="Position").get_name()
        with Recording(self.desktop) as recording:
            recording.wait_for_sound()
            before = position()
            wait_until(lambda: position() != before, "the play head to move")
            program.key("space")
            program.wait_for(name="Play")
            recording.wait_for_silence()

    def test_region_marked_while_playing_is_heard_from_its_start(self):
        program = self.four_tones()
        with Recording(self.desktop) as recording:
            program.key("space")
            recording.wait_for_sound()
            start_s, end_s = program.mark(6.3, 7.0)
            program.wait_for(name="Play")
            recording.wait_for_silence()
        # What was heard last is the marked part of the last tone; the first one plays before it.
        length = round((end_s - start_s) * Desktop.RATE)
        self.assert_only(recording.heard()[-length:], TONES_HZ[3])

    def test_drag_out_of_the_window_and_back_stays_in_the_file(self):
        from application import extents
        program = self.four_tones()
        x, y, width, height = extents(program.wait_for(name="Waveform"))
        middle = y + height // 2
        program.drag((x + width // 2, middle), (x + 4 * width, middle))
        program.wait_for_region(4, 8)
        program.drag((x + width // 4, middle), (0, middle), (x + width * 3 // 4, 1000))
        program.wait_for_region(2, 6)


if __name__ == "__main__":
    unittest.main()
