"""Sounds to download from a server on this machine, which behaves and misbehaves as it is told."""

import html
import http.server
import subprocess
import threading


def mp3(folder, seconds=3):
    """The bytes of a tone."""
    path = folder / "tone.mp3"
    subprocess.run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i", f"sine=440:d={seconds}", path],
                   check=True)
    return path.read_bytes()


class Server(http.server.ThreadingHTTPServer):
    """Answers for as long as a with statement lasts, under `address`.

    /NAME.mp3 is a sound; below /slow/ it comes in drops, without end until `break_off` is set. /page?N
    is a page with the Nth of `titles` and a link to a sound. Everything else is not found.
    """

    daemon_threads = True

    def __init__(self, sound, titles=()):
        super().__init__(("127.0.0.1", 0), _Answer)
        self.sound = sound
        self.titles = titles
        self.break_off = threading.Event()
        self.address = f"http://127.0.0.1:{self.server_port}"
        self._thread = threading.Thread(target=self.serve_forever, args=(0.05,), daemon=True)

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *_):
        self.break_off.set()
        self.shutdown()
        self._thread.join()
        self.server_close()


class _Answer(http.server.BaseHTTPRequestHandler):
    def do_HEAD(self):
        self.do_GET()

    def do_GET(self):
        path, _, query = self.path.partition("?")
        try:
            if path.endswith(".mp3"):
                self._send_sound(slowly=path.startswith("/slow/"))
            elif path == "/page":
                self._send_page(self.server.titles[int(query)])
            else:
                self.send_error(404)
        except ConnectionError:
            pass  # the other side has had enough

    def _send_sound(self, slowly):
        sound = self.server.sound
        self._send_headers("audio/mpeg", len(sound) * (1000 if slowly else 1))
        if self.command == "HEAD":
            return
        if not slowly:
            self.wfile.write(sound)
        while slowly and not self.server.break_off.wait(0.02):
            self.wfile.write(sound[:2000])

    def _send_page(self, title):
        page = (f"<html><head><title>{html.escape(title)}</title></head>"
                f"<body><audio src='/linked.mp3'></audio></body></html>").encode()
        self._send_headers("text/html; charset=utf-8", len(page))
        if self.command != "HEAD":
            self.wfile.write(page)

    def _send_headers(self, kind, length):
        self.send_response(200)
        self.send_header("Content-Type", kind)
        self.send_header("Content-Length", str(length))
        self.end_headers()

    def log_message(self, *_):
        pass
