"""Ambrel as a user meets it: found by accessible name, driven by real keys and a real pointer."""

import contextlib
import json
import os
import pathlib
import re
import sqlite3
import subprocess
import tempfile

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

from desktop import SLOWNESS, wait_until

PROGRAM = pathlib.Path(os.environ["AMBREL_BINARY_DIR"]) / "bin" / "ambrel"


class Application:
    """One run of the program; use it in a with statement, which ends it."""

    def __init__(self, desktop, *arguments, home=None):
        """`home` is another run's, to come back to what that one stored."""
        self.home = home or desktop.fresh_home()
        self._desktop, self._found = desktop, {}
        self._log = tempfile.TemporaryFile("w+", dir=desktop.folder)
        self.process = desktop.spawn(str(PROGRAM), *map(str, arguments), env=self.home,
                                     stdin=subprocess.DEVNULL, stdout=self._log, stderr=self._log)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        self._log.close()

    def log(self):
        self._log.seek(0)
        return self._log.read()

    def wait_for_end(self, seconds):
        """The exit status."""
        return self.process.wait(seconds * SLOWNESS)

    def stored(self, key):
        """Type and value under that key; None when there is none."""
        if not self.store_path.exists():
            return None
        with contextlib.closing(sqlite3.connect(self.store_path)) as database:
            return database.execute("SELECT type, value FROM preference WHERE key = ?",
                                    (key,)).fetchone()

    def stored_settings(self, path):
        """The record that is stored for a file; None when there is none."""
        row = self.stored(f"settings.{path}")
        if row is None:
            return None
        assert row[0] == "data", row
        return json.loads(row[1])

    def store_settings(self, path, settings):
        self.store(f"settings.{path}", "data", json.dumps(settings).encode())

    def store(self, *row):
        """Key, type and value, as if an earlier run had stored them."""
        with contextlib.closing(sqlite3.connect(self.store_path)) as database, database:
            database.execute("REPLACE INTO preference VALUES (?, ?, ?)", row)

    @contextlib.contextmanager
    def locked_store(self):
        """While another program is writing to it."""
        with contextlib.closing(sqlite3.connect(self.store_path)) as database:
            database.execute("BEGIN IMMEDIATE")
            yield

    @property
    def store_path(self):
        return pathlib.Path(self.home["XDG_DATA_HOME"]) / "ambrel" / "preferences.sqlite"

    # Controls

    def find(self, **wanted):
        """The first visible control with that name, role, description and group, or None; an item
        also of a closed menu."""
        hidden = wanted.get("role") == "menu item"
        key = tuple(wanted.items())
        last = self._found.get(key)
        if last and (hidden or has_state(last, "SHOWING")) and _matches(last, wanted):
            return last
        self._found[key] = next((control for control in self.controls(hidden)
                                 if _matches(control, wanted)), None)
        return self._found[key]

    def wait_for(self, seconds=30, **wanted):
        try:
            return wait_until(lambda: self.find(**wanted), f"a control with {wanted}", seconds)
        except AssertionError as failure:
            failure.add_note(f"There were: {self.texts()}\nThe program wrote: {self.log()}")
            raise

    def wait_until_gone(self, **wanted):
        wait_until(lambda: not self.find(**wanted), f"no control with {wanted}")

    def texts(self):
        """Every name on screen, for messages."""
        return [control.get_name() for control in self.controls() if control.get_name()]

    def controls(self, hidden=False):
        """All that are shown; all there are with `hidden`."""
        if self.process.poll() is not None:
            raise RuntimeError(f"ended with status {self.process.returncode}: {self.log()}")
        root = Atspi.get_desktop(0)
        root.set_cache_mask(Atspi.Cache.NONE)
        for index in range(root.get_child_count()):
            try:
                program = root.get_child_at_index(index)
                if program and program.get_process_id() == self.process.pid:
                    yield from _below(program, hidden)
            except GLib.Error:
                pass  # it went away while it was looked at

    # Keys and pointer

    def key(self, *keys):
        _xdotool("key", "--clearmodifiers", *keys)

    def type(self, text):
        _xdotool("type", "--clearmodifiers", text)

    def play_through(self, recording):
        """Plays the region to its end, until nothing is heard any more."""
        self.key("space")
        self.wait_for(name="Pause")
        self.wait_for(name="Play")
        recording.wait_for_silence()

    def pointer(self, *steps):
        _xdotool(*steps)

    def click(self, **wanted):
        """Until a field that is clicked into has the focus: the window manager holds a click back
        for a moment, and keys sent meanwhile would overtake it."""
        control = self.wait_for(**wanted)
        is_field = control.get_role_name() == "text"
        x, y, width, height = extents(control)
        _xdotool("mousemove", x + width // 2, y + height // 2, "click", 1)
        if is_field:
            wait_until(lambda: has_state(control, "FOCUSED"), f"the focus on {wanted}")

    def act(self, action, **wanted):
        """What a screen reader does: an action that the control offers."""
        perform(self.wait_for(**wanted), action)

    def drag(self, *points):
        """Press at the first point, move over the others, release at the last."""
        steps = ["mousemove", *points[0], "mousedown", 1]
        for (x1, y1), (x2, y2) in zip(points, points[1:]):
            for step in range(1, 9):
                steps += ["mousemove", round(x1 + (x2 - x1) * step / 8),
                          round(y1 + (y2 - y1) * step / 8)]
        _xdotool(*steps, "mouseup", 1)

    def drop(self, *dragged):
        """Drags files, or a text, onto the middle of the window, from another program's."""
        self.wait_for_window()
        x, y, width, height = extents(self.wait_for(role="frame", name="Ambrel"))
        source = self._desktop.spawn(str(PROGRAM.parent.parent / "tests" / "DragSource"), *map(str, dragged))
        wait_until(lambda: subprocess.run(
            ["xdotool", "search", "--onlyvisible", "--pid", str(source.pid)],
            capture_output=True).stdout, "what can be dragged")
        steps = ["mousemove", 10, 10, "mousedown", 1, "mousemove", 30, 30]
        for distance in 4, 2, 1:  # as slowly as a hand: each step is answered by the window
            steps += ["sleep", 0.2, "mousemove", x + width // 2 - distance, y + height // 2]
        _xdotool(*steps, "sleep", 0.2, "mouseup", 1)
        wait_until(lambda: source.poll() is not None, "the end of the drag")

    def mark(self, start_s, end_s):
        """Drags over the waveform of the whole file; the region it got, (start, end) in seconds."""
        length_s = self.region()[2]
        x, y, width, height = extents(self.wait_for(name="Waveform"))
        self.drag(*((x + round(time / length_s * width), y + height // 2) for time in (start_s, end_s)))
        return self.wait_for_region(start_s, end_s, within_s=2 * length_s / width)

    def wait_for_region(self, start_s, end_s, within_s=0.02):
        """Until it is about this one, past all that a drag brings on the way; start and end."""
        def reached():
            region = self.region()[:2]
            return all(abs(a - b) < within_s for a, b in zip(region, (start_s, end_s))) and region
        return wait_until(reached, f"the region {start_s} to {end_s}")

    def region(self):
        """Start, end and length of the file, in seconds, as a screen reader is told."""
        text = self.wait_for(name="Waveform").get_description()
        match = re.fullmatch(r"Region (\S+) to (\S+) of (\S+)", text)
        assert match, text
        return tuple(_seconds(time) for time in match.groups())

    def wait_until_loaded(self, seconds=30):
        self.wait_for(seconds, name="Waveform")
        self.wait_for_window()

    def wait_for_window(self):
        """Until the window manager has put the window, or its alert, in place and given it the keys."""
        wait_until(lambda: any(has_state(control, "ACTIVE") for control in self.controls()),
                   "an active window")


def extents(control):
    """x, y, width and height on the screen."""
    area = Atspi.Component.get_extents(control, Atspi.CoordType.SCREEN)
    return area.x, area.y, area.width, area.height


def has_state(control, state):
    """False also for one that is gone."""
    with contextlib.suppress(GLib.Error):
        return control.get_state_set().contains(getattr(Atspi.StateType, state))
    return False


def actions(control):
    """Names of those it offers."""
    count = control.get_n_actions() if control.get_action_iface() else 0
    return [control.get_action_name(index) for index in range(count)]


def perform(control, action):
    control.do_action(actions(control).index(action))


def _below(control, hidden):
    for index in range(control.get_child_count()):
        child = control.get_child_at_index(index)
        if child and (hidden or has_state(child, "SHOWING")):
            yield child
            yield from _below(child, hidden)


def _matches(control, wanted):
    """Not one that is gone."""
    found = {"name": control.get_name, "role": control.get_role_name,
             "description": control.get_description, "group": lambda: control.get_parent().get_name()}
    with contextlib.suppress(GLib.Error):
        return all(found[key]() == value for key, value in wanted.items())
    return False


def _seconds(text):
    minutes, seconds = text.split(":")
    return int(minutes) * 60 + float(seconds)


def _xdotool(*arguments):
    subprocess.run(["xdotool", *map(str, arguments)], check=True)
