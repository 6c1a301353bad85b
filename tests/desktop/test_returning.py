"""Who comes back finds everything as it was left; a file opened anew starts afresh."""

import base64
import contextlib
import json
import pathlib
import sqlite3
import subprocess
import time
import unittest

import numpy as np

from desktop import Desktop, wait_until
from scenario import Scenario
from sound import Recording, level_db, tone, write_wav

AS_LEFT = {"regionStart": 1.25, "regionEnd": 2.25, "speed": 50, "speedStep": 7.5, "pitch": 300,
           "eqEnabled": True, "eqGains": [0, 0, -3, 0, 1.5], "loopEnabled": False,
           "loopDelaySeconds": 2, "loopDelayMilliseconds": 250}
DEFAULTS = {"regionStart": 0, "regionEnd": 4, "speed": 100, "speedStep": 5, "pitch": 0,
            "eqEnabled": False, "eqGains": [0] * 5, "loopEnabled": False,
            "loopDelaySeconds": 0, "loopDelayMilliseconds": 0}


class ReturningTest(Scenario):
    def song(self):
        return write_wav(self.folder / "song.wav", tone(330, 4))

    def test_all_settings_come_back_from_the_recent_list_and_are_heard(self):
        path = self.song()
        first = self.leave(path, AS_LEFT)
        self.assertEqual(json.loads(first.stored("recentFiles")[1]), [str(path)])
        desktops = pathlib.Path(first.home["XDG_DATA_HOME"]) / "recently-used.xbel"
        self.assertIn(path.as_uri(), desktops.read_text())
        program = self.start(home=first.home)
        entry = program.wait_for(name="song.wav")
        self.assertEqual(entry.get_description(), str(self.folder))
        program.wait_for_window()
        program.click(name="song.wav")
        program.wait_until_loaded()
        self.assertEqual(program.region(), (1.25, 2.25, 4))
        with Recording(self.desktop) as recording:
            program.play_through(recording)
        heard = recording.heard()
        self.assertAlmostEqual(len(heard) / Desktop.RATE, 2, delta=0.06)
        steady = heard[Desktop.RATE // 2:-Desktop.RATE // 2]
        transposed = 330 * 2 ** (300 / 1200)
        self.assertGreater(level_db(steady, transposed), level_db(steady, 330) + 40)
        self.quit(program)
        self.assertEqual(program.stored_settings(path), AS_LEFT)

    def test_the_window_comes_back_as_it_was_left_but_on_the_screen(self):
        from application import extents
        home = self.leave(self.song())
        for stored, shown in (("800x700+1200+1000", (480, 324, 800, 700)),
                              ("1x1-5000+100 maximised", (0, 19, 1280, 1005)),
                              ("800x700+100+60", (100, 60, 800, 700))):
            home.store("AMB.window", "string", stored)
            program = self.start(home=home.home)
            program.wait_for_window()
            frame = program.find(role="frame", name="Ambrel")
            wait_until(lambda: extents(frame) == shown, f"{shown}, not {extents(frame)}")
            if stored == "800x700+100+60":
                program.pointer("getactivewindow", "windowsize", "--sync", 900, 750)
                wait_until(lambda: extents(frame)[2:] == (900, 750), "the new size")
                stored = "900x750+100+60"
            self.quit(program)
            self.assertEqual(program.stored("AMB.window"), ("string", stored))

    def test_stored_waveform_equals_peaks_computed_from_ffmpegs_output(self):
        path = self.folder / "stereo [1] #2.flac"
        noise = np.random.default_rng(1).uniform(-0.7, 0.7, (48_000 * 5 + 123, 2))
        wav = write_wav(self.folder / "noise.wav", noise * np.linspace(0, 1, len(noise))[:, None], 48_000)
        subprocess.run(["ffmpeg", "-loglevel", "error", "-i", wav, path], check=True)
        program = self.leave(path)
        kind, row = program.stored(f"waveformCache.{path}")
        self.assertEqual(kind, "data")
        self.assertRegex(row.decode(), r'^\{"samplesData":"[^"]*","fileSize":\d+,'
                                       r'"modDate":\d+(\.\d+)?,"lastAccessed":\d+(\.\d+)?\}$')
        record = json.loads(row)
        self.assertEqual(record["fileSize"], path.stat().st_size)
        stored = np.frombuffer(base64.b64decode(record["samplesData"]), "<f4")

        decoded = subprocess.run(["ffmpeg", "-loglevel", "error", "-i", path, "-f", "f32le", "-"],
                                 check=True, capture_output=True).stdout
        mono = np.abs(np.frombuffer(decoded, "<f4").reshape(-1, 2).mean(axis=1, dtype="f8"))
        bucket = int(len(mono) / 48_000 * 44_100) // 2000
        peaks = np.array([part.mean() for part in np.split(mono, range(bucket, len(mono), bucket))])
        self.assertEqual(len(stored), len(peaks))
        np.testing.assert_allclose(stored, peaks / peaks.max(), atol=2e-6)

    def test_a_file_opened_anew_starts_afresh_and_stores_that(self):
        path = self.song()
        first = self.leave(path, AS_LEFT)
        program = self.start(path, home=first.home)
        program.wait_until_loaded()
        wait_until(lambda: program.stored_settings(path) == DEFAULTS, "the defaults to be stored")

    def test_what_is_set_while_another_program_locks_the_store_is_saved_later(self):
        path = self.song()
        first = self.leave(path)
        with contextlib.closing(sqlite3.connect(first.store_path)) as lock:
            lock.execute("BEGIN EXCLUSIVE")
            program = self.start(path, home=first.home)
            program.wait_until_loaded()
            with Recording(self.desktop) as recording:
                program.key("space")
                recording.wait_for_sound()
            program.key("ctrl+Right")
            time.sleep(1)
            self.assertEqual(program.stored_settings(path)["speed"], 100)
            self.assertIsNone(program.find(name="OK"))
            lock.rollback()
        wait_until(lambda: program.stored_settings(path)["speed"] == 105, "the speed to be stored")
        self.quit(program)

    def test_each_key_acts_once_on_any_layout(self):
        # Keys by their place: what a Dvorak keyboard prints on R and L is another letter.
        right, left, up, down, r, l = "Right", "Left", "Up", "Down", "27", "46"
        for layout in ("us", "fr", "de", "us dvorak"):
            with self.subTest(layout):
                subprocess.run(["setxkbmap", *layout.split()], check=True)
                self.addCleanup(subprocess.run, ["setxkbmap", "us"], check=True)
                path = self.song()
                program = self.start_with(path)
                for key in (right, right, left, right, up, down, up, "shift+" + up, "alt+" + l):
                    program.key("ctrl+" + key)
                program.key("space")
                program.wait_for(name="Pause")
                program.key("ctrl+" + r)
                program.wait_for(name="Play")
                program.wait_for(name="00:00.000", description="Position")
                self.quit(program)
                self.assertEqual(program.stored_settings(path),
                                 {**DEFAULTS, "speed": 110, "pitch": 2, "loopEnabled": True})

    def test_a_kill_in_the_middle_of_a_drag_loses_nothing_that_stood(self):
        from application import extents
        path = self.song()
        program = self.start_with(path)
        x, y, width, height = extents(program.wait_for(name="Waveform"))
        program.pointer("mousemove", x + width // 4, y + height // 2, "mousedown", 1,
                        "mousemove", x + width // 2, y + height // 2,
                        "mousemove", x + width * 3 // 4, y + height // 2)
        region = wait_until(lambda: program.region()[1] < 4 and program.region()[:2], "a region")
        time.sleep(0.5)  # how long a value must have stood to be safe
        program.process.kill()
        settings = program.stored_settings(path)
        self.assertAlmostEqual(settings["regionStart"], region[0], delta=0.002)
        self.assertAlmostEqual(settings["regionEnd"], region[1], delta=0.002)
        program.pointer("mouseup", 1)


if __name__ == "__main__":
    unittest.main()
