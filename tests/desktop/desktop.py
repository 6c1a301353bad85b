"""A desktop of the test's own: display, window manager, session bus with accessibility, sound server.

Nothing of it touches the user's session, and nothing of it is left when the test ends, however it
ends: every process started here dies with this one.
"""

import contextlib
import ctypes
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import time

# The sanitizers' builds are several times slower than what users get.
SLOWNESS = 4 if "ASAN_OPTIONS" in os.environ else 1

_PR_SET_PDEATHSIG, _PR_SET_CHILD_SUBREAPER = 1, 36
_libc = ctypes.CDLL(None, use_errno=True)


def wait_until(condition, what, seconds=30):
    """The condition's first true value; fails the test when there is none in time."""
    deadline = time.monotonic() + seconds * SLOWNESS
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise AssertionError(f"not within {seconds * SLOWNESS} s: {what}")
        time.sleep(0.02)


def _die_with_parent():
    _libc.prctl(_PR_SET_PDEATHSIG, signal.SIGKILL)


class Desktop:
    """Started by the constructor, ended by stop(). One a process: the accessibility library keeps
    the first bus it sees."""

    SINK = "speakers"
    RATE = 48_000  # frames per second of the sink
    SOUND = os.environ.get("AMBREL_SOUND_SERVERS", "pulseaudio").split()

    def __init__(self):
        # Orphans (the accessibility bus daemonises) become ours, so that stop() finds them.
        _libc.prctl(_PR_SET_CHILD_SUBREAPER, 1)
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="ambrel-desktop-"))
        self._processes = []
        try:
            self._set_environment()
            self._start_display()
            self._start_session_bus()
            self.start_sound_server()
            self._start_window_manager()
        except BaseException:
            self.stop()
            raise

    def stop(self):
        for process in reversed(self._processes):
            process.kill()
            process.wait()
        while children := list(_children()):  # those of a child that ends become ours
            for pid in children:
                os.kill(pid, signal.SIGKILL)
                os.waitpid(pid, 0)
        shutil.rmtree(self.folder, ignore_errors=True)

    def spawn(self, *command, **options):
        """A process that ends with this one, at the latest."""
        return subprocess.Popen(command, preexec_fn=_die_with_parent, **options)

    def fresh_home(self):
        """Environment with empty home and XDG folders, for one run of the application."""
        home = pathlib.Path(tempfile.mkdtemp(dir=self.folder, prefix="home-"))
        folders = {"XDG_DATA_HOME": "data", "XDG_CONFIG_HOME": "config", "XDG_CACHE_HOME": "cache"}
        for name in folders.values():
            (home / name).mkdir()
        return {**os.environ, "HOME": str(home),
                **{variable: str(home / name) for variable, name in folders.items()}}

    def start_sound_server(self):
        """PulseAudio without rewinds, or the null sink's first start stalls for nearly two seconds.
        PipeWire with long cycles: it plays silence instead of one that is late, and a virtual
        machine may stand still for tens of milliseconds."""
        if self.SOUND[0] == "pulseaudio":
            socket = os.environ["PULSE_SERVER"].removeprefix("unix:")
            self._daemon(
                "pulseaudio", "-n", "--daemonize=no", "--use-pid-file=no", "--disable-shm=yes",
                "--exit-idle-time=-1", "--realtime=yes", "--high-priority=yes",
                "-L", f"module-native-protocol-unix auth-anonymous=1 socket={socket}")
        else:
            config = pathlib.Path(os.environ["XDG_CONFIG_HOME"]) / "pipewire/pipewire.conf.d/long.conf"
            config.parent.mkdir(parents=True, exist_ok=True)
            config.write_text("context.properties = { default.clock.min-quantum = 4096 "
                              "default.clock.max-quantum = 4096 }")
            for server in self.SOUND:  # the others end when the first does not answer yet
                self._daemon(server)
                wait_until(lambda: _output("pw-cli", "info", "0"), "PipeWire")
        sink = f"sink_name={self.SINK} norewinds=1 format=float32le rate={self.RATE} channels=2"
        wait_until(lambda: _output("pactl", "load-module", "module-null-sink", *sink.split()),
                   "a sound server")
        # The sink's thread runs in real time, but the main one, which hands it the sound, does not:
        # on a busy machine what that is late with is heard as a hole.
        for server in self._sound_servers():
            with contextlib.suppress(PermissionError):
                os.sched_setscheduler(server.pid, os.SCHED_RR, os.sched_param(4))

    def kill_sound_server(self):
        for server in self._sound_servers():
            self._processes.remove(server)
            server.kill()
            server.wait()

    def _sound_servers(self):
        return [process for process in self._processes if process.args[0] in self.SOUND]

    def _set_environment(self):
        runtime = self.folder / "runtime"
        runtime.mkdir(mode=0o700)
        for variable in list(os.environ):
            if variable.startswith(("QT_", "XDG_", "PULSE_", "WAYLAND_", "DBUS_", "DESKTOP_", "KDE_",
                                    "GTK_", "XAUTHORITY")):
                del os.environ[variable]
        os.environ.update(
            XDG_RUNTIME_DIR=str(runtime),
            PULSE_SERVER=f"unix:{runtime}/pulse/native",
            PULSE_COOKIE=str(runtime / "cookie"),
            QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1",
            LC_ALL="C.UTF-8",
        )
        os.environ.update({variable: value for variable, value in self.fresh_home().items()
                           if variable == "HOME" or variable.startswith("XDG_")})

    def _daemon(self, *command, **options):
        with open(self.folder / f"{command[0]}.log", "wb") as log:
            self._processes.append(self.spawn(*command, stdin=subprocess.DEVNULL, stdout=log,
                                              stderr=log, **options))

    def _start_display(self):
        """Without auto-repeat: on a busy machine a key may be let go long after it was pressed."""
        reading, writing = os.pipe()
        self._daemon("Xvfb", "-displayfd", str(writing), "-screen", "0", "1280x1024x24", "-nolisten",
                     "tcp", "-noreset", "-r", pass_fds=[writing])
        os.close(writing)
        with os.fdopen(reading) as answer:
            os.environ["DISPLAY"] = ":" + answer.readline().strip()

    def _start_session_bus(self):
        reading, writing = os.pipe()
        self._daemon("dbus-daemon", "--session", "--nofork", f"--print-address={writing}",
                     pass_fds=[writing])
        os.close(writing)
        with os.fdopen(reading) as answer:
            os.environ["DBUS_SESSION_BUS_ADDRESS"] = answer.readline().strip()

    def _start_window_manager(self):
        """By itself it lets go of its keys when the first one is sent, and takes them anew: Alt+F4
        can fall in between."""
        config = self.folder / "openbox.xml"
        usual = pathlib.Path("/etc/xdg/openbox/rc.xml").read_text()
        config.write_text(usual.replace(
            "</keyboard>", "<rebindOnMappingNotify>no</rebindOnMappingNotify></keyboard>"))
        self._daemon("openbox", "--sm-disable", "--config-file", str(config))
        wait_until(lambda: "window id" in _output("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"),
                   "a window manager")


def _output(*command):
    return subprocess.run(command, capture_output=True, text=True).stdout


def _children():
    return map(int, pathlib.Path(f"/proc/self/task/{os.getpid()}/children").read_text().split())
