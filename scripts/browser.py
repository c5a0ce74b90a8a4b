"""Headless Chromium, driven through chromedriver."""
import base64
import contextlib
import json
import re
import subprocess
import tempfile
import urllib.error
import urllib.request

ARGUMENTS = [
    "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
    "--disable-background-networking", "--disable-component-update", "--disable-sync",
    "--hide-scrollbars", "--force-device-scale-factor=1", "--font-render-hinting=none"]


class Browser:
    """One browser with one page. Use it in a with statement."""

    def __enter__(self):
        with contextlib.ExitStack() as stack:
            profile = stack.enter_context(tempfile.TemporaryDirectory(ignore_cleanup_errors=True))
            driver = stack.enter_context(subprocess.Popen(
                ["chromedriver", "--port=0"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True))
            stack.callback(driver.terminate)
            started = re.compile(r"started successfully on port (\d+)")
            port = next(found[1] for line in driver.stdout if (found := started.search(line)))
            self._url = f"http://127.0.0.1:{port}/session"
            wanted = {"browserName": "chrome", "goog:loggingPrefs": {"browser": "ALL", "performance": "ALL"},
                      "goog:chromeOptions": {"args": ARGUMENTS + [f"--user-data-dir={profile}"]}}
            self._url += "/" + self._call("", {"capabilities": {"alwaysMatch": wanted}})["sessionId"]
            stack.callback(self._call, "", method="DELETE")
            self._stack = stack.pop_all()
        return self

    def __exit__(self, *_):
        self._stack.close()

    def _call(self, path, body=None, method="POST"):
        data = json.dumps(body or {}).encode() if method == "POST" else None
        request = urllib.request.Request(self._url + path, data, {"Content-Type": "application/json"},
                                         method=method)
        try:
            with urllib.request.urlopen(request, timeout=60) as answer:
                return json.load(answer)["value"]
        except urllib.error.HTTPError as error:
            raise RuntimeError(json.load(error)["value"]["message"]) from None

    def open(self, path):
        self._call("/url", {"url": f"file://{path}"})

    def run(self, script, *arguments):
        """Runs the function body `script` in the page and returns its result."""
        return self._call("/execute/sync", {"script": script, "args": arguments})

    def devtools(self, command, **parameters):
        return self._call("/goog/cdp/execute", {"cmd": command, "params": parameters})

    def log(self, kind):
        """The entries since the last call, of the console ("browser") or the network
        ("performance")."""
        return self._call("/se/log", {"type": kind})

    def set_width(self, width, height=900, mobile=False):
        self.devtools("Emulation.setDeviceMetricsOverride", width=width, height=height,
                      deviceScaleFactor=1, mobile=mobile)

    def set_media(self, media="", scheme="light"):
        self.devtools("Emulation.setEmulatedMedia", media=media,
                      features=[{"name": "prefers-color-scheme", "value": scheme}])

    def press_enter(self):
        for kind in ("keyDown", "keyUp"):
            self.devtools("Input.dispatchKeyEvent", type=kind, key="Enter", code="Enter", text="\r",
                          windowsVirtualKeyCode=13)

    def type(self, text):
        self.devtools("Input.insertText", text=text)

    def screenshot(self):
        return base64.b64decode(self._call("/screenshot", method="GET"))
