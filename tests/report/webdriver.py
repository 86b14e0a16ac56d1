"""Drives a headless Chromium through chromedriver's HTTP interface, with Python's own library only."""

import base64
import json
import re
import shutil
import subprocess
import tempfile
import time
import urllib.error
import urllib.request

ELEMENT = "element-6066-11e4-a52e-4f735466cecf"


def available():
    """Whether this machine has the browser and its driver."""
    return all(shutil.which(program) for program in ("chromium", "chromedriver"))


class Browser:
    """A browser of its own, with a fresh profile. Use as a context."""

    def __init__(self, width=1280, height=900, dark=False):
        self.dark = dark
        self.size = (width, height)
        self.profile = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)

    def __enter__(self):
        self.driver = subprocess.Popen(
            ["chromedriver", "--port=0"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
            text=True)
        try:
            for line in self.driver.stdout:
                started = re.search(r"successfully on port (\d+)", line)
                if started:
                    break
            self.base = f"http://127.0.0.1:{started[1]}"
            self._open_session()
        except BaseException:
            self.__exit__()
            raise
        return self

    def _open_session(self):
        width, height = self.size
        arguments = [
            "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
            "--disable-background-networking", "--disable-component-update", "--disable-sync",
            "--disable-dev-shm-usage", "--hide-scrollbars", f"--window-size={width},{height}",
            f"--user-data-dir={self.profile.name}"]
        options = {"args": arguments}
        session = self._call("POST", "/session", {"capabilities": {"alwaysMatch": {
            "browserName": "chrome", "goog:chromeOptions": options,
            "goog:loggingPrefs": {"browser": "ALL"}}}})
        self.base += f"/session/{session['sessionId']}"
        # A window cannot be as narrow as a phone; the page in it can.
        self.devtools("Emulation.setDeviceMetricsOverride", width=width, height=height,
                      deviceScaleFactor=1, mobile=width < 500)
        self.devtools("Emulation.setEmulatedMedia", features=[
            {"name": "prefers-color-scheme", "value": "dark" if self.dark else "light"},
            {"name": "prefers-reduced-motion", "value": "reduce"}])

    def __exit__(self, *_):
        try:
            if "/session/" in getattr(self, "base", ""):
                self._call("DELETE", "")
        finally:
            self.driver.terminate()
            self.driver.wait()
            self.driver.stdout.close()
            self.profile.cleanup()

    def _call(self, method, path, body=None):
        request = urllib.request.Request(
            self.base + path, method=method, headers={"Content-Type": "application/json"},
            data=None if body is None else json.dumps(body).encode())
        # No proxy stands between this machine and itself.
        opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
        try:
            with opener.open(request, timeout=120) as response:
                return json.load(response)["value"]
        except urllib.error.HTTPError as error:
            told = json.load(error)["value"]
            raise AssertionError(f"{method} {path}: {told['message']}") from None

    def devtools(self, command, **parameters):
        return self._call("POST", "/goog/cdp/execute", {"cmd": command, "params": parameters})

    def open(self, url):
        self._call("POST", "/url", {"url": url})

    def run(self, script, *arguments):
        """What the script returns; it sees its arguments as `arguments`."""
        return self._call("POST", "/execute/sync", {"script": script, "args": list(arguments)})

    def find(self, selector):
        found = self._call("POST", "/elements", {"using": "css selector", "value": selector})
        assert found, f"nothing on the page is {selector}"
        return found[0][ELEMENT]

    def text(self, selector):
        """What a person reads there."""
        return self._call("GET", f"/element/{self.find(selector)}/text")

    def texts(self, selector):
        """The same of each such element that is seen."""
        return self.run("return [...document.querySelectorAll(arguments[0])]"
                        ".filter((e) => e.checkVisibility()).map((e) => e.innerText ?? e.textContent)", selector)

    def click(self, selector):
        self.run("document.querySelector(arguments[0])?.scrollIntoView({block: 'center'})", selector)
        self._call("POST", f"/element/{self.find(selector)}/click", {})

    def type(self, selector, text):
        self._call("POST", f"/element/{self.find(selector)}/value", {"text": text})

    def press(self, *keys):
        """Keys for what has the focus."""
        actions = [{"type": kind, "value": key} for key in keys for kind in ("keyDown", "keyUp")]
        self._call("POST", "/actions",
                   {"actions": [{"type": "key", "id": "keys", "actions": actions}]})

    def until(self, script, *arguments):
        """Waits for what the script returns to be true."""
        deadline = time.monotonic() + 60
        while not self.run(script, *arguments):
            assert time.monotonic() < deadline, f"never came true: {script} {arguments}"

    def console_errors(self):
        log = self._call("POST", "/se/log", {"type": "browser"})
        return [entry["message"] for entry in log if entry["level"] in ("SEVERE", "WARNING")]

    def screenshot(self, path, whole=False):
        if whole:
            shot = self.devtools("Page.captureScreenshot", captureBeyondViewport=True)["data"]
        else:
            shot = self._call("GET", "/screenshot")
        with open(path, "wb") as file:
            file.write(base64.b64decode(shot))
