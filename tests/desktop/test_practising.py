"""What the panels set is heard, stored, and said to who cannot see it."""

import os
import subprocess
import time
import unittest

import numpy as np

from desktop import Desktop, wait_until
from scenario import Scenario
from sound import Recording, level_db, tone, write_wav

TONE_HZ = 330


class PractisingTest(Scenario):
    def setUp(self):
        super().setUp()
        self.path = write_wav(self.folder / "song.wav", tone(TONE_HZ, 8))
        self.program = self.start_with(self.path)

    def type(self, name, text):
        """Into a field, as a user does; Return commits."""
        self.program.click(name=name, role="text")
        self.program.type(text)
        self.program.key("Return")

    def enter(self, name, text):
        """And leave the field."""
        self.type(name, text)
        self.program.key("Escape")

    def shown(self, field):
        """The text in a field."""
        return self.program.wait_for(name=field, role="text").get_text(0, -1)

    def setting(self, name, value):
        wait_until(lambda: (self.program.stored_settings(self.path) or {}).get(name) == value,
                   f"{name} to be stored as {value}")

    def test_half_speed_three_semitones_up_is_heard_while_playing(self):
        program = self.program
        with Recording(self.desktop) as recording:
            program.key("space")
            recording.wait_for_sound()
            self.type("Speed", "50")
            self.type("Pitch", "300")
            self.setting("speed", 50)
            self.setting("pitch", 300)
            tail = recording.next(1.5)
            program.key("Escape", "space")
            program.wait_for(name="Play")
        tail = tail.mean(axis=1)
        spectrum = np.abs(np.fft.rfft(tail * np.hanning(len(tail)), 2 ** 20))
        peak_hz = np.argmax(spectrum) * Desktop.RATE / 2 ** 20
        cents = 1200 * np.log2(peak_hz / (TONE_HZ * 2 ** (300 / 1200)))
        self.assertLess(abs(cents), 1)

    def test_what_changes_out_of_focus_is_said(self):
        from gi.repository import Atspi, GLib
        said, focused = [], []

        def hear(event):
            if event.source.get_role_name() == "notification":
                said.append(event.source.get_name())
            elif "focused" in event.type and event.detail1:
                focused.append(event.source.get_name())
        listener = Atspi.EventListener.new(hear)
        for event in ("showing", "focused"):
            listener.register(f"object:state-changed:{event}")
            self.addCleanup(listener.deregister, f"object:state-changed:{event}")

        def is_said(text):
            while GLib.MainContext.default().iteration(False):
                pass
            return said and said[-1] == text
        wait_until(lambda: is_said("song.wav, 8 seconds"), "the file to be said")
        for act, text in ((lambda: self.program.key("space"), "Playing"),
                          (lambda: self.program.key("ctrl+r"), "Stopped"),
                          (lambda: self.program.key(*["ctrl+Right"] * 3), "Speed 115%"),
                          (lambda: self.program.key("ctrl+Down"), "Pitch -1 cent"),
                          (lambda: self.program.key("ctrl+l"), "Loop on"),
                          (lambda: self.enter("Start minutes", "5"), "Start 8 seconds"),
                          (lambda: self.enter("Start minutes", "5"), "Start 8 seconds"),
                          (lambda: self.type("Speed", "80"), "Speed 80%")):
            with self.subTest(text):
                said.clear()
                act()
                wait_until(lambda: is_said(text), f"{text} to be said, not {said}")
                self.assertEqual(said, [text])
        self.assertEqual(focused[-1], "")  # not the field that was left

    def test_a_held_step_button_repeats_until_it_is_let_go_or_left(self):
        from application import extents
        program = self.program
        for button, field, leave in (("Increase speed", "Speed", False), ("Lower pitch", "Pitch", True),
                                     ("Start milliseconds up", "Start milliseconds", True)):
            with self.subTest(button, leave=leave):
                x, y, width, height = extents(program.wait_for(name=button))
                program.pointer("mousemove", x + width // 2, y + height // 2, "mousedown", 1)
                values = {self.shown(field)}

                def repeats():
                    values.add(self.shown(field))
                    return len(values) > 4
                wait_until(repeats, f"{button} to repeat")
                program.pointer(*(("mousemove", 1, 1) if leave else ("mouseup", 1)))
                last = [self.shown(field), time.monotonic()]

                def rests():
                    """For longer than a repeat takes."""
                    if self.shown(field) != last[0]:
                        last[:] = self.shown(field), time.monotonic()
                    return time.monotonic() > last[1] + 0.3
                wait_until(rests, f"{field} to rest")
                program.pointer("mouseup", 1)
                self.assertEqual(self.shown(field), last[0])

    def test_a_typed_region_is_heard_at_once_while_playing(self):
        steps_hz = [330 * 1.2 ** step for step in range(8)]
        self.path = write_wav(self.folder / "scale.wav",
                              np.concatenate([tone(hz, 1) for hz in steps_hz]))
        self.quit(self.program)
        self.program = program = self.start_with(self.path)
        program.key("ctrl+l")
        self.enter("End seconds", "1")

        def is_heard(step):
            mono = recording.last(0.1).mean(axis=1)
            levels = [level_db(mono, hz) for hz in steps_hz]
            return levels[step] > -10 and sorted(levels)[-2] < -40
        with Recording(self.desktop) as recording:
            program.key("space")
            wait_until(lambda: is_heard(0), "the first tone")
            self.type("End seconds", "7")
            wait_until(lambda: is_heard(0), "the region's start", 1)
            self.type("Start seconds", "5")
            wait_until(lambda: is_heard(5), "the new start", 1)
            program.type("6")  # over what Return left selected
            program.key("Return")
            wait_until(lambda: is_heard(6), "the next start", 1)
            program.key("Escape", "space")
            recording.wait_for_silence()

    def test_a_german_desktop_changes_no_number(self):
        locales = self.folder / "locales"
        locales.mkdir()
        subprocess.run(["localedef", "-i", "de_DE", "-f", "UTF-8", locales / "de_DE.UTF-8"], check=True)
        german = {"LOCPATH": str(locales), "LC_ALL": "de_DE.UTF-8"}
        comma = subprocess.run(["locale", "decimal_point"], env={**os.environ, **german},
                               capture_output=True, text=True, check=True).stdout
        self.assertEqual(comma.strip(), ",")
        first = self.program
        self.quit(first)
        left = {**first.stored_settings(self.path), "eqEnabled": True,
                "eqGains": [-2.5, 0, 0, 0, 0], "speedStep": 7.5, "regionStart": 1.25}
        first.store_settings(self.path, left)

        self.program = program = self.start(home={**first.home, **german})
        program.wait_for_window()
        program.click(name="song.wav")
        program.wait_until_loaded()
        program.wait_for(name="-2.5", description="60Hz value")
        program.wait_for(name="1.0x", description="Zoom level")
        self.assertEqual(self.shown("Custom speed step"), "7.5")
        self.assertEqual(program.region(), (1.25, 8, 8))
        for text, step in (("1,5", 7.5), ("1.5", 1.5), ("1.234", 1.234)):
            self.type("Custom speed step", text)
            wait_until(lambda: self.shown("Custom speed step") == str(step), f"{step} to be shown")
            self.setting("speedStep", step)
        self.quit(program)
        self.assertEqual(program.stored_settings(self.path), {**left, "speedStep": 1.234})

    def test_loop_pause_is_right_pass_after_pass(self):
        program = self.program
        self.enter("End seconds", "0")
        self.enter("End milliseconds", "400")
        program.click(name="Loop", role="check box")  # a click leaves the keys to the transport
        self.setting("loopEnabled", True)
        self.enter("Loop delay milliseconds", "300")
        with Recording(self.desktop) as recording:
            program.click(name="Play")
            recording.wait_for_sound()
            wait_until(lambda: len(recording.stretches()) >= 5, "five passes")
            program.key("space")
            recording.wait_for_silence(0.5)
        loud = np.flatnonzero(np.abs(recording.samples().mean(axis=1)) > 0.01)
        gaps = np.diff(loud) / Desktop.RATE
        pauses = gaps[gaps > 0.1]
        self.assertGreaterEqual(len(pauses), 4)
        for length in pauses:
            self.assertAlmostEqual(length, 0.3, delta=0.005)

    def test_a_loop_without_a_pause_is_one_sound(self):
        program = self.program
        for field, value in (("Start milliseconds", "100"), ("End seconds", "0"),
                             ("End milliseconds", "500")):  # whole periods of the tone
            self.enter(field, value)
        program.key("ctrl+l")
        with Recording(self.desktop) as recording:
            program.key("space")
            recording.wait_for_sound()
            wait_until(lambda: len(recording.heard()) > 2 * Desktop.RATE, "five passes")
            program.key("space")
            recording.wait_for_silence(0.5)
        heard = recording.heard()[Desktop.RATE // 20:-Desktop.RATE // 20]
        levels = [level_db(heard[at:at + 960], TONE_HZ) for at in range(0, len(heard) - 960, 480)]
        self.assertLess(max(levels) - min(levels), 1)

    def test_equaliser_is_heard(self):
        program = self.program
        program.click(name="Equaliser")
        program.wait_for(name="250Hz gain")
        program.key("Escape")
        with Recording(self.desktop) as recording:
            program.key("space")
            recording.wait_for_sound()
            for band in ("60Hz gain", "250Hz gain", "1kHz gain"):
                slider = program.wait_for(name=band)
                self.assertEqual(slider.get_minimum_increment(), 0.5)
                slider.set_current_value(-12)
            self.setting("eqGains", [-12, -12, -12, 0, 0])
            tail = recording.next(0.5).mean(axis=1)
            program.key("space")
            recording.wait_for_silence()
        self.assertLess(level_db(tail, TONE_HZ), 20 * np.log10(0.5) - 6)

    def test_tour_by_tab_reads_as_a_person_would_say_it(self):
        self.program.click(name="Equaliser")
        self.program.wait_for(name="12kHz gain")
        self.program.key("ctrl+l")
        self.program.wait_for(name="Loop delay milliseconds")

        from application import has_state
        controls = list(self.program.controls())

        def has_moved():
            """The focus; it is looked for from where it was."""
            for place in (*range(at, len(controls)), *range(at)):
                if has_state(controls[place], "FOCUSED"):
                    return place != at and (place, controls[place].get_name())
        said = []
        at = next(place for place, control in enumerate(controls) if has_state(control, "FOCUSED"))
        while not said or said[0] not in said[1:]:
            self.program.key("Tab")
            at, name = wait_until(has_moved, f"the focus to move on from {said[-1:]}")
            if name and name not in said[-1:]:
                said.append(name)
        said.pop()
        steps = [f"{end} {unit}{button}" for end in ("Start", "End")
                 for unit in ("minutes", "seconds", "milliseconds") for button in (" up", "", " down")]
        self.assertEqual(said, [
            "Open File...", "Open from URL...", "Recent", "Settings", "Help",
            "Zoom in", "Fit Region", *steps, "Play",
            "Decrease speed", "Speed", "Increase speed", "Speed step",
            "Lower pitch", "Pitch", "Raise pitch", "Equaliser",
            "60Hz gain", "250Hz gain", "1kHz gain", "4kHz gain", "12kHz gain", "Loop",
            *(f"Loop delay {unit}{button}" for unit in ("seconds", "milliseconds")
              for button in (" up", "", " down"))])

    def test_a_screen_reader_hears_of_a_field_before_it_hears_of_its_text(self):
        # It takes what comes of a text for the focus moving there, and then does not say where it is.
        from gi.repository import Atspi, GLib
        told = []
        listener = Atspi.EventListener.new(
            lambda event: told.append((event.type, event.source.get_name())))
        kinds = ("object:state-changed:focused", "object:text-caret-moved")
        for kind in kinds:
            listener.register(kind)
        main = GLib.MainContext.default()

        def is_told(kind):
            while main.iteration(False):
                pass
            return (kind, "Start minutes") in told
        self.program.click(name="Pitch", role="text")
        self.program.click(name="Start minutes", role="text")
        for kind in kinds:
            wait_until(lambda: is_told(kind), kind)
            listener.deregister(kind)
        focused, moved = (told.index((kind, "Start minutes")) for kind in kinds)
        self.assertLess(focused, moved)


if __name__ == "__main__":
    unittest.main()
