"""An OpenAI-compatible chat server on the loopback for the walkthrough.

A streamed request gets the same answer as server-sent events, a piece at a
time, slowly enough that a screenshot catches it half written, ending with the
page references. A request that does not ask for a stream (a settings form's
check) gets one short completion as JSON.

A request without a key, or with KEY, is answered; any other key gets 401 and
an error body as OpenAI words it. The key is compared here, in memory: the
request log holds whether it matched, never the key.

Usage: chat_server.py PORT_FILE REQUEST_LOG
Writes its port to PORT_FILE once it listens, and one JSON line per request to
REQUEST_LOG: the path, the model, whether it streams, the last user message
and the key ("none", "right" or "wrong").
"""
import http.server
import json
import sys
import threading
import time

# An obviously fake key, typed into the settings by the walkthrough.
KEY = "fvk-walkthrough-not-a-real-key"

ANSWER = [
    "Proof of work ",
    "secures the chain: ",
    "rewriting a block means redoing ",
    "the work of every block after it.",
    "\n.....REFS.....\n1",
]

CHECK_ANSWER = "I am fine, thank you."

WRONG_KEY_MESSAGE = "Incorrect API key provided. The loopback server knows another one."


def last_user_text(messages):
    for message in reversed(messages or []):
        if message.get("role") == "user":
            content = message.get("content")
            if isinstance(content, list):
                return " ".join(part.get("text", "") for part in content
                                if isinstance(part, dict))
            return content
    return None


class Handler(http.server.BaseHTTPRequestHandler):
    delay = 0.8
    log_path = None
    log_lock = threading.Lock()

    def log_message(self, *args):
        pass

    def record(self, request, key):
        entry = {
            "path": self.path,
            "model": request.get("model"),
            "stream": bool(request.get("stream")),
            "question": last_user_text(request.get("messages")),
            "key": key,
        }
        with Handler.log_lock, open(Handler.log_path, "a") as log:
            log.write(json.dumps(entry) + "\n")

    def send_json(self, status, body):
        data = json.dumps(body).encode()
        self.send_response(status)
        self.send_header("Content-Type", "application/json")
        self.send_header("Content-Length", str(len(data)))
        self.end_headers()
        self.wfile.write(data)

    def do_POST(self):
        length = int(self.headers.get("Content-Length", 0))
        try:
            request = json.loads(self.rfile.read(length) or b"{}")
        except ValueError:
            request = {}
        authorization = self.headers.get("Authorization", "")
        token = authorization[len("Bearer "):].strip() if authorization.startswith("Bearer ") else ""
        key = "none" if not token else "right" if token == KEY else "wrong"
        self.record(request, key)

        if key == "wrong":
            self.send_json(401, {"error": {
                "message": WRONG_KEY_MESSAGE,
                "type": "invalid_request_error",
                "param": None,
                "code": "invalid_api_key",
            }})
            return
        if not request.get("stream"):
            self.send_json(200, {
                "id": "chatcmpl-walkthrough",
                "object": "chat.completion",
                "created": int(time.time()),
                "model": request.get("model") or "",
                "choices": [{
                    "index": 0,
                    "message": {"role": "assistant", "content": CHECK_ANSWER},
                    "finish_reason": "stop",
                }],
            })
            return

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


def main():
    Handler.log_path = sys.argv[2]
    open(Handler.log_path, "w").close()
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
    with open(sys.argv[1], "w") as port_file:
        port_file.write(str(server.server_address[1]))
    server.serve_forever()


if __name__ == "__main__":
    main()
