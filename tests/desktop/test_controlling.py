"""The desktop controls Ambrel by media keys and MPRIS, and shows what it plays."""

import os
import subprocess
import unittest

from desktop import wait_until
from scenario import Scenario
from sound import tone, write_wav

NAME, PATH = "org.mpris.MediaPlayer2", "/org/mpris/MediaPlayer2"
PLAYER, PROPERTIES = NAME + ".Player", "org.freedesktop.DBus.Properties"
SCREEN_SAVER = """<node><interface name='org.freedesktop.ScreenSaver'>
    <method name='Inhibit'><arg type='s' direction='in'/><arg type='s' direction='in'/>
        <arg type='u' direction='out'/></method>
    <method name='UnInhibit'><arg type='u' direction='in'/></method></interface></node>"""


class ControllingTest(Scenario):
    def setUp(self):
        super().setUp()
        from gi.repository import Gio, GLib
        self.bus = Gio.DBusConnection.new_for_address_sync(
            os.environ["DBUS_SESSION_BUS_ADDRESS"],
            Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
            | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION)
        self.addCleanup(self.bus.close_sync)
        self.variant, self.main = GLib.Variant, GLib.MainContext.default()
        self.told, self.held = {}, []
        self.bus.signal_subscribe(None, PROPERTIES, "PropertiesChanged", PATH, None, 0,
                                  lambda *signal: self.told.update(signal[5].unpack()[1]))
        self.bus.signal_subscribe(None, PLAYER, "Seeked", PATH, None, 0,
                                  lambda *signal: self.told.update(jumped_to=signal[5].unpack()[0]))
        self.bus.register_object("/org/freedesktop/ScreenSaver",
                                 Gio.DBusNodeInfo.new_for_xml(SCREEN_SAVER).interfaces[0],
                                 self.screen_saver)
        self.ask_bus("RequestName", "su", "org.freedesktop.ScreenSaver", 4)

    def screen_saver(self, _connection, _sender, _path, _interface, method, arguments, answer):
        if method == "Inhibit":
            self.held.append(len(self.held) + 7)
            answer.return_value(self.variant("(u)", (self.held[-1],)))
        else:
            self.held.remove(arguments.unpack()[0])
            answer.return_value(None)

    def call(self, interface, method, types="", *arguments, name=NAME + ".ambrel", path=PATH):
        return self.bus.call_sync(name, path, interface, method,
                                  self.variant(f"({types})", arguments), None, 0, -1, None).unpack()

    def ask_bus(self, *call):
        return self.call("org.freedesktop.DBus", *call, name="org.freedesktop.DBus", path="/")[0]

    def get(self, name):
        return self.call(PROPERTIES, "Get", "ss", PLAYER, name)[0]

    def set(self, name, types, value):
        self.call(PROPERTIES, "Set", "ssv", PLAYER, name, self.variant(types, value))

    def wait_until_told(self, **properties):
        def is_told():
            while self.main.iteration(False):
                pass
            return properties.items() <= self.told.items()
        wait_until(is_told, f"{properties} to be told")

    def test_what_the_desktop_does_is_done_and_told(self):
        path = write_wav(self.folder / "a song.wav", tone(440, 20))
        program = self.start_with(path)
        self.wait_until_told(CanPlay=True)
        track = self.get("Metadata")
        self.assertTrue(track.pop("mpris:trackid"))
        self.assertEqual(track, {"mpris:length": 20_000_000, "xesam:title": "a song",
                                 "xesam:url": path.as_uri()})
        start = round(1000 * program.mark(2, 18)[0]) * 1000  # microseconds
        self.assertEqual(self.get("PlaybackStatus"), "Stopped")
        plays = False
        for command, status in (("PlayPause", "Playing"), ("Play", "Playing"), ("Pause", "Paused"),
                                ("XF86AudioPlay", "Playing"), ("XF86AudioPlay", "Paused"),
                                ("XF86AudioPause", "Paused"), ("Play", "Playing"),
                                ("Stop", "Stopped"), ("Pause", "Stopped"), ("Play", "Playing")):
            with self.subTest(command, status=status):
                before, played = self.get("Position"), plays
                if command.startswith("XF86"):
                    program.key(command)
                else:
                    self.call(PLAYER, command)
                if command == "Play" and played:
                    self.assertGreaterEqual(self.get("Position"), before)
                self.wait_until_told(PlaybackStatus=status)
                plays = status == "Playing"
                wait_until(lambda: self.wait_until_told() or len(self.held) == plays,
                           "the screen to stay on while it plays, and only then")
                wait_until(lambda: self.get("Position") > start or not plays, "the position to move on")
        mixer = subprocess.run(["pactl", "list", "sink-inputs"], capture_output=True, text=True).stdout
        for shown in ('media.name = "a song"', 'application.icon_name = "io.github.ambrel.Ambrel"'):
            self.assertIn(shown, mixer)
        self.wait_until_told(jumped_to=start)
        self.set("LoopStatus", "s", "Track")
        self.wait_until_told(LoopStatus="Track")
        for rate, speed in ((0.29, 29), (9.0, 300), (-1.0, 5)):
            self.set("Rate", "d", rate)
            self.wait_until_told(Rate=speed / 100)
            wait_until(lambda: program.stored_settings(path)["speed"] == speed, f"a speed of {speed}")
        self.assertNotIn("Position", self.told)
        self.call(NAME, "Quit")
        self.assert_ends(program)
        self.assertTrue(program.stored_settings(path)["loopEnabled"])

    def test_what_cannot_be_is_refused(self):
        from gi.repository import GLib
        program = self.start_with(write_wav(self.folder / "song.wav", tone(440, 2)))
        self.wait_until_told(CanPlay=True)
        shown = self.call(PROPERTIES, "GetAll", "s", PLAYER)
        second = self.start("--new-window")
        second.wait_for_window()
        second_name = f"{NAME}.ambrel.instance{second.process.pid}"
        wait_until(lambda: self.ask_bus("NameHasOwner", "s", second_name), "a name of its own")
        for error, name, call in (
                ("NotSupported", "", (PLAYER, "Seek", "x", 1)), ("NotSupported", "", (PLAYER, "Next")),
                ("InvalidArgs", "", (PLAYER, "Play", "s", "loud")),
                ("UnknownInterface", "", (PLAYER, "Explode")), ("UnknownMethod", "", (PROPERTIES, "Get")),
                ("UnknownProperty", "", (PROPERTIES, "Get", "ss", PLAYER, "Colour")),
                ("PropertyReadOnly", "", (PROPERTIES, "Set", "ssv", PLAYER, "Volume", self.variant("d", 0))),
                ("InvalidArgs", "", (PROPERTIES, "Set", "ssv", PLAYER, "Rate", self.variant("s", "1"))),
                ("Failed", second_name, (PROPERTIES, "Set", "ssv", PLAYER, "Rate", self.variant("d", 1)))):
            with self.subTest(call):
                with self.assertRaises(GLib.Error) as refused:
                    self.call(*call, name=name or NAME + ".ambrel")
                self.assertIn("org.freedesktop.DBus.Error." + error, refused.exception.message)
        self.call(PLAYER, "Play", name=second_name)  # nothing is open there
        self.assertEqual(self.call(PROPERTIES, "GetAll", "s", PLAYER), shown)
        self.quit(second)
        self.quit(program)


if __name__ == "__main__":
    unittest.main()
