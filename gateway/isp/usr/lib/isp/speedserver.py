"""The provider's speed-test server: HTTP, on port 8080. What a file is like stands in its path.

  GET /BYTES            that many bytes
  GET /BYTES/RATE       at most RATE bytes a second
  GET /BYTES/cut        the length is announced, half of it comes, the connection ends
  GET /BYTES/hang       half of it comes, then nothing
  GET /BYTES/silent     the connection ends without an answer
  PUT /...              takes what comes; /cut ends the connection after the first bytes
"""
import http.server
import socketserver
import time

PIECE = 16384


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_GET(self):
        size, _, manner = self.path.strip("/").partition("/")
        if not size.isdigit() or manner not in ("", "cut", "hang", "silent") and not manner.isdigit():
            self.send_error(404)
            return
        self.close_connection = True
        if manner == "silent":
            return
        self.send_response(200)
        self.send_header("Content-Length", size)
        self.end_headers()
        self._send(int(size) // 2 if manner in ("cut", "hang") else int(size), int(manner) if manner.isdigit() else 0)
        if manner == "hang":
            time.sleep(3600)

    def _send(self, left, rate):
        piece = min(PIECE, max(rate // 20, 1)) if rate else PIECE
        while left > 0:
            self.wfile.write(bytes(min(piece, left)))
            left -= piece
            if rate:
                time.sleep(piece / rate)

    def do_PUT(self):
        self.close_connection = True
        if self.path.endswith("/cut"):
            self.rfile.read(1)
            return
        if self.path.endswith("/refused"):
            self.send_error(403)
            return
        if self.headers.get("Transfer-Encoding", "") == "chunked":
            self._read_pieces()
        else:
            self._read(int(self.headers["Content-Length"]))
        self.send_response(201)
        self.send_header("Content-Length", "0")
        self.end_headers()

    def _read(self, left):
        while left > 0:
            got = self.rfile.read(min(PIECE, left))
            if not got:
                return
            left -= len(got)

    def _read_pieces(self):
        while size := int(self.rfile.readline() or "0", 16):
            self._read(size + 2)
        self.rfile.readline()

    def log_message(self, *_):
        pass


class Server(socketserver.ThreadingMixIn, http.server.HTTPServer):
    daemon_threads = True
    request_queue_size = 64


if __name__ == "__main__":
    Server(("", 8080), Handler).serve_forever()
