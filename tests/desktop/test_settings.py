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
GAINS = {"60Hz gain": 1, "250Hz gain": 0, "1kHz gain": 0, "4kHz gain": 0, "12kHz gain": 0}
NUMBERS = {"Start minutes": 0, "Start seconds": 20, "Start milliseconds": 500,
           "End minutes": 2, "End seconds": 2, "End milliseconds": 250,
           "Loop delay seconds": 1, "Loop delay milliseconds": 1, "Speed": 90, "Pitch": 5}
RAISED = {"regionStart": 81.501, "regionEnd": 183.251, "speed": 95, "pitch": 6,
          "loopDelaySeconds": 2, "loopDelayMilliseconds": 2}
BUTTONS = {"Speed": ("Increase speed", "Decrease speed"), "Pitch": ("Raise pitch", "Lower pitch")}


def stored(**settings):
    """For the open file."""
    return lambda program, path: all(np.allclose(program.stored_settings(path)[name], value)
                                     for name, value in settings.items())


def preference(key, *row):
    return lambda program, _: program.stored(key) == (row or None)


def shown(is_shown=True, **control):
    return lambda program, _: bool(program.find(**control)) == is_shown


def reads(role, name, value):
    def is_read(program, _):
        control = program.wait_for(role=role, name=name)
        return value == (float(control.get_text(0, -1).rstrip("%")) if role == "text" else
                         control.get_current_value())
    return is_read


def has(state, is_there, **control):
    from application import has_state
    return lambda program, _: has_state(program.wait_for(**control), state) == is_there


def opened(**window):
    """And closed again."""
    from application import has_state
    found = []

    def is_over(program, _):
        if found and not has_state(found[0], "SHOWING"):
            return True
        if control := found[0] if found else program.find(**window):
            found[:] = [control]
            program.key("Escape")  # as often as it takes: it may not have the keys yet
    return is_over


def zoom(text):
    return lambda program, _: program.wait_for(description="Zoom level").get_name() == text


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


def numbers():
    """All of them up, and down again, in each way that is offered; what is shown is stored."""
    for kind, actions, fields, raised in (
            ("push button", ("Press", "Press"), NUMBERS, RAISED),
            ("text", ("Increase", "Decrease"), NUMBERS, RAISED),
            ("slider", ("Increase", "Decrease"), GAINS, {"eqGains": [1.5, 0.5, 0.5, 0.5, 0.5]})):
        role, step = ("slider", 0.5) if kind == "slider" else ("text", 1)
        for turn, is_up in enumerate((True, False)):
            for field, value in fields.items():
                buttons = BUTTONS.get(field, (f"{field} up", f"{field} down"))
                name = buttons[turn] if kind == "push button" else field
                more = 5 if field == "Speed" else step
                yield kind, name, actions[turn], reads(role, field, value + more * is_up)
            yield kind, "all", None, stored(**(raised if is_up else AS_LEFT))


def main_window():
    def press(kind="push button", **results):
        for name, result in results.items():
            yield kind, name.replace("_", " "), "Press", result

    yield from numbers()
    yield "scroll bar", "", "Increase", lambda *of: not reads("scroll bar", "", 0)(*of)
    yield "scroll bar", "", "Decrease", reads("scroll bar", "", 0)
    yield from press(
        Pan_left=has("ENABLED", False, name="Pan left"), Pan_right=has("ENABLED", True, name="Pan left"),
        Zoom_in=zoom("3.4x"), Zoom_out=zoom("1.7x"), Fit_Track=zoom("1.0x"), Fit_Region=zoom("1.7x"),
        Play=shown(name="Pause"), Pause=shown(name="Play"))
    yield from press(
        "menu item", Stop_and_Reset=shown(description="Position", name="00:20.500"),
        Decrease_Speed=reads("text", "Speed", 85), Increase_Speed=reads("text", "Speed", 90),
        Pitch_Up_1_Cent=reads("text", "Pitch", 6), Pitch_Down_1_Cent=reads("text", "Pitch", 5))
    yield "menu item", "Playback", "ShowMenu", shown(name="Playback", role="popup menu")
    yield ("menu item", "Toggle Loop", "Press", lambda *of: stored(loopEnabled=False)(*of) and
           shown(False, name="Playback", role="popup menu")(*of))
    yield "check box", "Loop", "Toggle", has("CHECKED", True, name="Loop", role="check box")
    yield from press(Reset_speed=reads("text", "Speed", 100), Reset_pitch=reads("text", "Pitch", 0),
                     Reset_equaliser=reads("slider", "60Hz gain", 0))
    yield "check box", "Equaliser", "Toggle", stored(
        loopEnabled=True, speed=100, pitch=0, eqGains=[0] * 5, eqEnabled=False)
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
    yield from press("menu item", **{"song.wav": zoom("1.0x"),
                                     "Clear_Recents": has("ENABLED", False, name="Recent")})
    yield "menu item", "Quit", "Press", lambda program, _: program.process.poll() == 0


class SettingsTest(Scenario):
    def wait_until_active(self, program, **window):
        from application import has_state
        wait_until(lambda: has_state(program.wait_for(**window), "ACTIVE"), f"{window} to be active")

    def open_settings(self, program):
        program.key("ctrl+comma")
        self.wait_until_active(program, name="Settings", role="frame")

    def clear(self, program):
        """Return and Escape do no harm: only the button clears."""
        before = program.wait_for(description="Entries").get_name()
        for harmless in "Return", "Escape", None:
            program.click(name="Clear Cache…")
            self.wait_until_active(program, name="Clear Cache", role="alert")
            if harmless:
                program.key(harmless)
                program.wait_until_gone(name="Clear Cache", role="alert")
        self.assertEqual(program.wait_for(description="Entries").get_name(), before)
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
        from application import actions, has_state, perform
        path = write_wav(self.folder / "song.wav", tone(440, 190, 8000), 8000)
        first = self.leave(path, AS_LEFT)
        first.store("AMB.downloadDirectory", "string", str(self.folder))
        program = self.start(home=first.home)
        program.wait_for_window()

        def offered(done=()):
            """Controls by kind, name and action; every one that can have the focus gets it."""
            found = {}
            for control in program.controls(hidden=True):
                role = control.get_role_name()
                if role != "menu item" and not has_state(control, "SHOWING"):
                    continue
                kind = control.get_parent().get_name() if role == "radio button" else role
                key = kind, control.get_name()
                new = {(*key, action): control for action in actions(control)
                       if (*key, action) not in done}
                found |= new
                if (*key, "SetFocus") in new:
                    perform(control, "SetFocus")
                    wait_until(lambda: has_state(control, "FOCUSED"), f"the focus on {key}")
            return found

        def carry_out(rows, offers):
            for kind, name, action, result in rows:
                with self.subTest(kind=kind, name=name, action=action):
                    control = offers.get((kind, name, action))
                    if action and not (control and action in actions(control)):
                        control = program.wait_for(role=kind, name=name)  # made anew meanwhile
                    if action:
                        perform(control, action)
                    wait_until(lambda: result(program, path), f"what {action} says")
            self.assertFalse({row for row in offers if row[2] != "SetFocus"} - {row[:3] for row in rows})

        program.act("Press", name="song.wav", role="list item")
        program.wait_until_loaded()
        program.act("Press", name="Fit Region")
        wait_until(lambda: zoom("1.7x")(program, path), "the zoom")
        in_main_window = offered()
        program.key("Escape")
        self.open_settings(program)
        carry_out(list(settings_window()), offered(in_main_window))
        program.key("Escape")
        self.wait_until_active(program, name="Ambrel", role="frame")
        carry_out(list(main_window()), in_main_window)


if __name__ == "__main__":
    unittest.main()
