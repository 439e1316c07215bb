"""Serves one file over connections that are cut: what a download over a bad connection is measured with."""

import os
import re
import socket
import threading
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer


class Handler(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_GET(self):
        size = os.path.getsize(self.server.path)
        asked = re.fullmatch(r"bytes=([0-9]+)-", self.headers.get("Range", ""))
        first = int(asked[1]) if asked else 0
        self.send_response(206 if asked else 200)
        self.send_header("ETag", '"unchanged"')
        self.send_header("Content-Length", str(size - first))
        if asked:
            self.send_header("Content-Range", f"bytes {first}-{size - 1}/{size}")
        self.end_headers()
        self.wfile.flush()
        count = min(self.server.cut_every, size - first)
        with open(self.server.path, "rb") as file:
            self.server.sent += self.connection.sendfile(file, first, count)
        self.close_connection = True
        self.connection.shutdown(socket.SHUT_RDWR)

    def log_message(self, *arguments):
        pass


class CutHost(ThreadingHTTPServer):
    """Serves the file at `path`, of which each connection carries at most `cut_every` bytes, until `close`."""

    daemon_threads = True

    def __init__(self, path, cut_every):
        super().__init__(("127.0.0.1", 0), Handler)
        self.path = path
        self.cut_every = cut_every
        self.sent = 0
        self.address = f"http://127.0.0.1:{self.server_address[1]}"
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def count(self, measure):
        """Calls `measure` and returns its result and how many million bytes were sent meanwhile."""
        before = self.sent
        result = measure()
        return result, (self.sent - before) / 1e6

    def close(self):
        self.shutdown()
        self.server_close()
