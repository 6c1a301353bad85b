"""The settings window: what is chosen and cleared there is stored, and it outlives no main window.
And what a screen reader can do, in this and in the main window."""

import unittest

import numpy as np

from desktop import wait_until
from scenario import Scenario
from sound import tone, write_wav

AS_LEFT = {"regionStart": 20.5, "regionEnd": 122.25, "speed": 90, "speedStep": 5, "pitch": 5,
           "eqEnabled": True, "eqGains": [1, 0, 0, 0, 0], "loopEnabled": True,
           "loopDelaySeconds": 1, "loopDelayMilliseconds": 1}


def stored(**settings):
    """For the open file."""
    return lambda program, path: all(np.allclose(program.stored_settings(path)[name], value)
                                     for name, value in settings.items())


def preference(key, *row):
    return lambda program, _: program.stored(key) == (row or None)


def shown(is_shown=True, **control):
    return lambda program, _: bool(program.find(**control)) == is_shown


def enabled(name, value):
    from application import is_enabled
    return lambda program, _: is_enabled(program.find(name=name)) == value


def opened(**window):
    """And closed again."""
    found = []

    def is_over(program, _):
        if program.find(**window):
            found.append(True)
            program.key("Escape")
        return found and not program.find(**window)
    return is_over


def scrolled(is_down):
    from gi.repository import Atspi
    return lambda program, _: is_down == bool(
        Atspi.Value.get_current_value(program.find(role="scroll bar")))


def zoom(text):
    return shown(description="Zoom level", name=text)


def settings_window():
    for kind, key, type_, limits in (
            ("Size limit", "maxSize", "int", {"1 MB": 1 << 20, "50 MB": 50 << 20,
                                              "100 MB": 100 << 20, "Unlimited": 0}),
            ("Age limit", "maxAge", "double", {
                "7 days": 604_800, "14 days": 1_209_600, "1 month": 2_592_000,
                "6 months": 15_552_000, "1 year": 31_536_000}),
            ("Age limit", "maxAge", "int", {"Indefinite": 0})):
        for name, limit in limits.items():
            yield kind, name, "Toggle", preference(f"waveformCacheSettings.{key}", type_, limit)
    yield "Size limit", "Custom", "Toggle", shown(name="Custom size")
    yield "Age limit", "Custom", "Toggle", shown(name="Custom age")
    for name, result in (("Change…", opened(name="Download Folder", role="dialog")),
                         ("Reset to Default", preference("AMB.downloadDirectory")),
                         ("Clear Cache…", opened(name="Clear Cache", role="alert"))):
        yield "push button", name, "Press", result


def main_window():
    def press(kind="push button", **results):
        for name, result in results.items():
            yield kind, name.replace("_", " "), "Press", result

    def number(field, key, step, more, less):
        for kind, name, action, value in (
                ("push button", more.format(field), "Press", AS_LEFT[key] + step),
                ("push button", less.format(field), "Press", AS_LEFT[key]),
                ("text", field, "Increase", AS_LEFT[key] + step),
                ("text", field, "Decrease", AS_LEFT[key])):
            yield kind, name, action, stored(**{key: value})

    for start in ("Start", "End"):
        for unit, step in (("minutes", 60), ("seconds", 1), ("milliseconds", 0.001)):
            yield from number(f"{start} {unit}", f"region{start}", step, "{} up", "{} down")
    for unit in ("Seconds", "Milliseconds"):
        yield from number(f"Loop delay {unit.lower()}", f"loopDelay{unit}", 1, "{} up", "{} down")
    yield from number("Speed", "speed", 5, "Increase speed", "Decrease speed")
    yield from number("Pitch", "pitch", 1, "Raise pitch", "Lower pitch")
    for band, name in enumerate(("60Hz", "250Hz", "1kHz", "4kHz", "12kHz")):
        gains = AS_LEFT["eqGains"]
        more = [gain + 0.5 * (place == band) for place, gain in enumerate(gains)]
        yield "slider", f"{name} gain", "Increase", stored(eqGains=more)
        yield "slider", f"{name} gain", "Decrease", stored(eqGains=gains)
    yield "scroll bar", "", "Increase", scrolled(True)
    yield "scroll bar", "", "Decrease", scrolled(False)
    yield from press(
        Pan_left=enabled("Pan left", False), Pan_right=enabled("Pan left", True),
        Zoom_in=zoom("3.4x"), Zoom_out=zoom("1.7x"), Fit_Track=zoom("1.0x"), Fit_Region=zoom("1.7x"),
        Play=shown(name="Pause"), Pause=shown(name="Play"))
    yield from press(
        "menu item", Stop_and_Reset=shown(description="Position", name="00:20.500"),
        Decrease_Speed=stored(speed=85), Increase_Speed=stored(speed=90),
        Pitch_Up_1_Cent=stored(pitch=6), Pitch_Down_1_Cent=stored(pitch=5))
    yield "menu item", "Playback", "ShowMenu", shown(name="Playback", role="popup menu")
    yield ("menu item", "Toggle Loop", "Press", lambda *of: stored(loopEnabled=False)(*of) and
           shown(False, name="Playback", role="popup menu")(*of))
    yield "check box", "Loop", "Toggle", stored(loopEnabled=True)
    yield from press(Reset_speed=stored(speed=100), Reset_pitch=stored(pitch=0),
                     Reset_equaliser=stored(eqGains=[0] * 5))
    yield "check box", "Equaliser", "Toggle", stored(eqEnabled=False)
    yield "combo box", "Speed step", "ShowMenu", shown(name="Speed step", role="popup menu")
    yield "combo box", "Speed step", "Press", shown(False, name="Speed step", role="popup menu")
    for step in (1, 2, 5, 10, 25):
        yield "menu item", f"{step}%", "Press", stored(speedStep=step)
    yield "menu item", "Custom", "Press", shown(name="Custom speed step")
    for kind in ("push button", "menu item"):
        yield from press(kind, **{"Open File...": opened(name="Open File", role="dialog"),
                                  "Open from URL...": opened(name="Open from URL", role="dialog"),
                                  "Settings": opened(name="Settings", role="frame")})
    yield from press(Help=opened(name="Help", role="dialog"))
    yield from press("menu item", Ambrel_Help=opened(name="Help", role="dialog"))
    for name in ("File", "Speed", "Pitch", "Help", "Open Recent"):
        yield "menu item", name, "ShowMenu", opened(name=name, role="popup menu")
    yield "push button", "Recent", "ShowMenu", opened(name="Recent", role="popup menu")
    yield from press("menu item", **{"song.wav": zoom("1.0x")}, Clear_Recents=enabled("Recent", False))
    yield "menu item", "Quit", "Press", lambda program, _: program.process.poll() == 0


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

    def assert_stored(self, program, key, kind, value):
        wait_until(lambda: program.stored(key) == (kind, value), f"{key} to be stored as {value}")

    def test_what_is_chosen_typed_and_cleared_is_stored(self):
        path = write_wav(self.folder / "song.wav", tone(440, 2))
        program = self.start_with(path)
        program.key("ctrl+Up")
        wait_until(lambda: program.stored_settings(path), "the settings to be stored")
        self.open_settings(program)
        program.wait_for(description="Entries", name="1")
        program.click(name="7 days", group="Age limit")
        self.assert_stored(program, "waveformCacheSettings.maxAge", "double", 604_800)
        program.click(name="Custom", group="Size limit")
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

    def test_every_action_that_a_screen_reader_is_offered_does_what_it_says(self):
        from application import actions, perform
        from gi.repository import Atspi
        path = write_wav(self.folder / "song.wav", tone(440, 190, 8000), 8000)
        first = self.start_with(path)
        first.key("ctrl+q")
        self.assert_ends(first, 5)
        first.store_settings(path, AS_LEFT)
        first.store("AMB.downloadDirectory", "string", str(self.folder))
        program = self.start(home=first.home)
        program.wait_for_window()

        def offered(done):
            """And every control that can have the focus gets it."""
            found = set()
            for control in program.controls(hidden=True):
                role, has = control.get_role_name(), control.get_state_set().contains
                if role != "menu item" and not has(Atspi.StateType.SHOWING):
                    continue
                kind = control.get_parent().get_name() if role == "radio button" else role
                key = kind, control.get_name()
                new = {(*key, action) for action in actions(control)} - done
                found |= new
                if (*key, "SetFocus") in new:
                    perform(control, "SetFocus")
                    wait_until(lambda: control.get_state_set().contains(Atspi.StateType.FOCUSED),
                               f"the focus on {key}")
            return found

        def carry_out(rows, only):
            for kind, name, action, result in rows:
                with self.subTest(kind=kind, name=name, action=action):
                    program.act(action, name=name,
                                **{"group" if kind.endswith(" limit") else "role": kind})
                    wait_until(lambda: result(program, path), f"what {action} says")
            self.assertFalse({row for row in only if row[2] != "SetFocus"} - {row[:3] for row in rows})

        program.act("Press", name="song.wav", role="list item")
        program.wait_until_loaded()
        program.act("Press", name="Fit Region")
        wait_until(lambda: zoom("1.7x")(program, path), "the zoom")
        in_main_window = offered(set())
        program.key("Escape")
        self.open_settings(program)
        carry_out(list(settings_window()), offered(in_main_window))
        program.key("Escape")
        self.wait_until_active(program, name="Ambrel", role="frame")
        carry_out(list(main_window()), in_main_window)

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
