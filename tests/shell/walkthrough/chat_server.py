"""An OpenAI-compatible chat server on the loopback for the walkthrough.

Every POST streams the same answer as server-sent events, a piece at a time,
slowly enough that a screenshot catches it half written, and ends with the
page references. Writes its port to the file named by the first argument.
"""
import http.server
import json
import sys
import time

ANSWER = [
    "Proof of work ",
    "secures the chain: ",
    "rewriting a block means redoing ",
    "the work of every block after it.",
    "\n.....REFS.....\n1",
]


class Handler(http.server.BaseHTTPRequestHandler):
    delay = 0.8

    def log_message(self, *args):
        pass

    def do_POST(self):
        length = int(self.headers.get("Content-Length", 0))
        self.rfile.read(length)
        self.send_response(200)
        self.send_header("Content-Type", "text/event-stream")
        self.end_headers()
        for piece in ANSWER:
            event = {"choices": [{"delta": {"content": piece}}]}
            self.wfile.write(b"data: " + json.dumps(event).encode() + b"\n\n")
            self.wfile.flush()
            time.sleep(Handler.delay)
        self.wfile.write(b"data: [DONE]\n\n")
        self.wfile.flush()


server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
with open(sys.argv[1], "w") as port_file:
    port_file.write(str(server.server_address[1]))
server.serve_forever()
