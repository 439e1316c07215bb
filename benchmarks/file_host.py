"""Serves local files over HTTP with sendfile(): fast enough that the server is not what is measured."""

import os
import threading
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer


class Handler(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_GET(self):
        path = self.server.files.get(self.path)
        if path is None:
            self.send_error(404)
            return
        with open(path, "rb") as file:
            length = os.fstat(file.fileno()).st_size
            self.send_response(200)
            self.send_header("Content-Length", str(length))
            self.end_headers()
            self.wfile.flush()
            self.connection.sendfile(file)

    def log_message(self, *arguments):
        pass


class FileHost(ThreadingHTTPServer):
    """Serves `files`, a dictionary from URL paths to local paths, until `close`."""

    daemon_threads = True

    def __init__(self, files):
        super().__init__(("127.0.0.1", 0), Handler)
        self.files = files
        self.address = f"http://127.0.0.1:{self.server_address[1]}"
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def close(self):
        self.shutdown()
        self.server_close()
