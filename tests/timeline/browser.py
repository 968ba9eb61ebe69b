"""A headless Chromium, driven through chromedriver's WebDriver interface."""

import json
import subprocess
import tempfile
import urllib.error
import urllib.request

KEYS = {"Enter": "\ue007", "Escape": "\ue00c", "ArrowRight": "\ue014", "Shift": "\ue008"}
FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--disable-sync", "--hide-scrollbars"]
# Whatever a page asks for by name is nowhere to be found: files are all it can load.
OFFLINE = "--host-resolver-rules=MAP * ~NOTFOUND, EXCLUDE localhost"


class Browser:
    def __init__(self, driver, chromium, width, height, is_dark=False):
        self.profile = tempfile.TemporaryDirectory()
        self.process = subprocess.Popen([driver, "--port=0"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.port = self._wait_for_port()
        arguments = [*FLAGS, OFFLINE, f"--user-data-dir={self.profile.name}", f"--window-size={width},{height}"]
        if is_dark:
            arguments.append("--force-dark-mode")
        options = {"binary": chromium, "args": arguments}
        answer = self._call("POST", "/session", {"capabilities": {"alwaysMatch": {
            "goog:chromeOptions": options, "goog:loggingPrefs": {"browser": "ALL"}}}})
        self.session = "/session/" + answer["sessionId"]

    def _wait_for_port(self):
        for line in self.process.stdout:
            if "started successfully on port" in line:
                return int(line.rsplit(" ", 1)[1].rstrip(".\n"))
        raise RuntimeError("chromedriver did not start")

    def _call(self, method, path, body=None):
        data = json.dumps(body).encode() if method == "POST" else None
        request = urllib.request.Request(f"http://localhost:{self.port}{path}", data, method=method,
                                         headers={"Content-Type": "application/json"})
        opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
        try:
            with opener.open(request, timeout=100) as answer:
                return json.load(answer)["value"]
        except urllib.error.HTTPError as error:
            raise RuntimeError(error.read().decode()) from None

    def do(self, command, body=None, method="POST"):
        return self._call(method, self.session + command, {} if body is None else body)

    def open(self, path):
        self.do("/url", {"url": f"file://{path}"})

    def run(self, script, *arguments):
        return self.do("/execute/sync", {"script": script, "args": list(arguments)})

    def text(self, selector):
        return self.run("return document.querySelector(arguments[0]).textContent", selector)

    def settle(self):
        """Waits until the page has drawn what was changed."""
        self.do("/execute/async", {"script": "const done = arguments[0];"
                                             "requestAnimationFrame(() => requestAnimationFrame(() => done()));", "args": []})

    def click(self, x, y):
        """A press and a release at a position of the window."""
        self.do("/actions", {"actions": [{"type": "pointer", "id": "mouse", "parameters": {"pointerType": "mouse"},
                                          "actions": [{"type": "pointerMove", "x": int(x), "y": int(y), "duration": 0},
                                                      {"type": "pointerDown", "button": 0}, {"type": "pointerUp", "button": 0}]}]})
        self.settle()

    def click_on(self, selector):
        x, y = self.run("const e = document.querySelector(arguments[0]); e.scrollIntoView({block: 'center'});"
                        "const b = e.getBoundingClientRect(); return [b.left + b.width / 2, b.top + b.height / 2];", selector)
        self.click(x, y)

    def type(self, text):
        """Keys as from a keyboard, to what has the focus."""
        strokes = [KEYS[text]] if text in KEYS else list(text)
        actions = [{"type": kind, "value": key} for key in strokes for kind in ("keyDown", "keyUp")]
        self.do("/actions", {"actions": [{"type": "key", "id": "keyboard", "actions": actions}]})
        self.settle()

    def complaints(self):
        """What the page has written to the console as errors."""
        return [entry["message"] for entry in self.do("/se/log", {"type": "browser"}) if entry["level"] == "SEVERE"]

    def close(self):
        try:
            self.do("", method="DELETE")
        finally:
            self.process.terminate()
            self.process.wait()
            self.process.stdout.close()
            self.profile.cleanup()
