"""A browser for tests: headless Chromium through chromedriver, by the WebDriver protocol (W3C)."""

import base64
import json
import os
import socket
import subprocess
import time
import urllib.error
import urllib.request

ELEMENT = "element-6066-11e4-a52e-4f735466cecf"


class Failure(AssertionError):
    pass


class NotNow(Failure):
    """The page has redrawn the element meanwhile, or a notice lies over it: try again, as people do."""


def wait_for(what, condition, seconds=20):
    """Until the condition returns something true, which is returned."""
    end = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise Failure(f"Not within {seconds} s: {what}")
        time.sleep(0.02)


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


class Browser:
    def __init__(self, folder, width=1440, height=900, nice=0):
        self._port = free_port()
        self._log = open(os.path.join(folder, "chromedriver.log"), "ab")
        self._driver = subprocess.Popen(
            ["chromedriver", f"--port={self._port}"], stdout=self._log, stderr=self._log,
            start_new_session=True, preexec_fn=lambda: os.nice(nice))
        self._session = None
        arguments = ["--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--disable-gpu",
                     "--no-first-run", "--disable-extensions", "--disable-background-networking",
                     "--disable-component-update", "--hide-scrollbars",
                     f"--window-size={width},{height}", f"--user-data-dir={folder}/profile"]
        wait_for("chromedriver", self._ready)
        answer = self._call("POST", "/session", {"capabilities": {"alwaysMatch": {
            "browserName": "chrome", "goog:chromeOptions": {"args": arguments},
            "goog:loggingPrefs": {"browser": "ALL"}}}})
        self._session = answer["sessionId"]
        self.devtools("Emulation.setDeviceMetricsOverride", width=width, height=height,
                      deviceScaleFactor=1, mobile=False)

    def close(self):
        try:
            if self._session:
                self._call("DELETE", f"/session/{self._session}")
        except (OSError, Failure):
            pass
        self._driver.terminate()
        try:
            self._driver.wait(10)
        except subprocess.TimeoutExpired:
            self._driver.kill()
            self._driver.wait()
        self._log.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def _ready(self):
        try:
            return self._call("GET", "/status")["ready"]
        except OSError:
            return False

    def _call(self, method, path, body=None):
        request = urllib.request.Request(
            f"http://127.0.0.1:{self._port}{path}", method=method,
            data=None if body is None else json.dumps(body).encode(),
            headers={"Content-Type": "application/json"})
        try:
            with urllib.request.urlopen(request, timeout=60) as response:
                return json.load(response)["value"]
        except urllib.error.HTTPError as e:
            error = json.load(e)["value"]
            passes = error["error"] in ("stale element reference", "element click intercepted")
            raise (NotNow if passes else Failure)(error["message"]) from None

    def _do(self, method, path, body=None):
        return self._call(method, f"/session/{self._session}{path}", body)

    def devtools(self, command, **parameters):
        return self._do("POST", "/goog/cdp/execute", {"cmd": command, "params": parameters})

    def open(self, url):
        self._do("POST", "/url", {"url": url})

    def run(self, script, *arguments):
        return self._do("POST", "/execute/sync", {"script": script, "args": list(arguments)})

    def find(self, css, seconds=20):
        def look():
            found = self._do("POST", "/elements", {"using": "css selector", "value": css})
            return found[0][ELEMENT] if found else None
        return wait_for(f"an element {css}", look, seconds)

    def click(self, css):
        self._touch(css, "click", {})

    def button(self, text, within="body"):
        """Clicks the button of this text."""
        script = ("const b = [...document.querySelectorAll(arguments[1] + ' button')]"
                  ".find(b => b.textContent.trim() === arguments[0] && !b.disabled);"
                  "if (b) b.click(); return Boolean(b);")
        wait_for(f"a button '{text}'", lambda: self.run(script, text, within))

    def type(self, css, text):
        self.key(css, "\ue009a\ue000" + text)  # Ctrl-A: over what stands there

    def text(self, css="body"):
        return self.run("return document.querySelector(arguments[0])?.innerText ?? ''", css)

    def pointer(self, *steps):
        """Steps: ("move", x, y), ("down",), ("up",), in pixels of the window."""
        actions = []
        for step in steps:
            if step[0] == "move":
                actions.append({"type": "pointerMove", "duration": 30, "origin": "viewport",
                                "x": round(step[1]), "y": round(step[2])})
            else:
                actions.append({"type": f"pointer{step[0].capitalize()}", "button": 0})
        self._do("POST", "/actions", {"actions": [
            {"type": "pointer", "id": "mouse", "parameters": {"pointerType": "mouse"},
             "actions": actions}]})

    def key(self, css, key):
        self._touch(css, "value", {"text": key})

    def _touch(self, css, how, body):
        def touched():
            try:
                self._do("POST", f"/element/{self.find(css)}/{how}", body)
                return True
            except NotNow:
                return False
        wait_for(f"{css} where it can be reached", touched)

    def complaints(self):
        """What the browser's console has complained about since the last call."""
        entries = self._do("POST", "/se/log", {"type": "browser"})
        return [e["message"] for e in entries if e["level"] == "SEVERE"]

    def screenshot(self, path):
        with open(path, "wb") as file:
            file.write(base64.b64decode(self._do("GET", "/screenshot")))
