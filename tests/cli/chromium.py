# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""A headless Chromium that shows a page, controlled through the pipe of its DevTools protocol."""

import base64
import contextlib
import json
import os
import shutil
import subprocess
import tempfile
import time

LONGEST_WAIT = 60


def find_program():
    return next(filter(None, map(shutil.which, ["chromium", "chromium-browser", "google-chrome"])), None)


class Page:
    """A tab. Requests to a network, errors and messages of the console are collected."""

    def __init__(self, commands, answers, width, height, dark):
        self._commands, self._answers = commands, answers
        self._number, self._session, self._buffer = 0, None, b""
        self.requests, self.problems = [], []
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self._session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(f"{domain}.enable")
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1,
                  mobile=width < 600)
        self.call("Emulation.setTouchEmulationEnabled", enabled=width < 600)
        scheme = "dark" if dark else "light"
        self.call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])

    def _receive(self):
        while b"\0" not in self._buffer:
            part = os.read(self._answers, 1 << 20)
            if not part:
                raise EOFError("chromium has ended")
            self._buffer += part
        message, _, self._buffer = self._buffer.partition(b"\0")
        return json.loads(message)

    def _collect(self, event):
        method, values = event.get("method"), event.get("params", {})
        if method == "Network.requestWillBeSent":
            url = values["request"]["url"]
            if not url.startswith("data:"):
                self.requests.append(url)
        elif method == "Runtime.exceptionThrown":
            self.problems.append(values["exceptionDetails"])
        elif method == "Runtime.consoleAPICalled":
            self.problems.append(values["args"])
        elif method == "Log.entryAdded" and values["entry"]["level"] == "error":
            self.problems.append(values["entry"])

    def call(self, method, **values):
        self._number += 1
        message = {"id": self._number, "method": method, "params": values}
        if self._session:
            message["sessionId"] = self._session
        os.write(self._commands, json.dumps(message).encode() + b"\0")
        while True:
            answer = self._receive()
            if answer.get("id") == self._number:
                if "error" in answer:
                    raise RuntimeError(f"{method}: {answer['error']}")
                return answer["result"]
            self._collect(answer)

    def open(self, path):
        self.call("Page.navigate", url=path.resolve().as_uri())
        self.wait_for("document.readyState === 'complete'")

    def evaluate(self, script):
        answer = self.call("Runtime.evaluate", expression=script, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in answer:
            raise RuntimeError(f"{script}: {answer['exceptionDetails']}")
        return answer["result"].get("value")

    def wait_for(self, condition):
        end = time.monotonic() + LONGEST_WAIT
        while not self.evaluate(condition):
            if time.monotonic() > end:
                raise TimeoutError(f"not reached: {condition}")
            time.sleep(0.02)

    def press(self, key, text=""):
        values = {"key": key, "code": key if len(key) > 1 else ""}
        codes = {"ArrowLeft": 37, "ArrowUp": 38, "ArrowRight": 39, "ArrowDown": 40}
        self.call("Input.dispatchKeyEvent", type="keyDown" if text else "rawKeyDown", text=text,
                  windowsVirtualKeyCode=codes.get(key, 0), **values)
        self.call("Input.dispatchKeyEvent", type="keyUp", windowsVirtualKeyCode=codes.get(key, 0), **values)

    def mouse(self, kind, x, y, **values):
        self.call("Input.dispatchMouseEvent", type=kind, x=x, y=y, **values)

    def touch(self, kind, *points):
        self.call("Input.dispatchTouchEvent", type=kind,
                  touchPoints=[{"x": x, "y": y, "id": number} for number, (x, y) in enumerate(points)])

    def screenshot(self, path):
        data = self.call("Page.captureScreenshot", captureBeyondViewport=False)["data"]
        path.write_bytes(base64.b64decode(data))


@contextlib.contextmanager
def show(path, width=1000, height=900, dark=False):
    """A page in a new Chromium, which has a profile of its own and ends with the context."""
    to_child, commands = os.pipe()
    answers, from_child = os.pipe()

    def take_places():
        # The descriptors could be 3 and 4 themselves: they are moved out of the way first.
        high = [os.dup2(to_child, 100), os.dup2(from_child, 101)]
        os.dup2(high[0], 3)
        os.dup2(high[1], 4)

    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as profile:
        process = subprocess.Popen(
            [find_program(), "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
             "--remote-debugging-pipe", "--disable-background-networking", "--no-first-run",
             f"--user-data-dir={profile}", "about:blank"],
            preexec_fn=take_places, close_fds=False, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        os.close(to_child)
        os.close(from_child)
        try:
            page = Page(commands, answers, width, height, dark)
            page.open(path)
            yield page
        finally:
            os.close(commands)
            process.terminate()
            process.wait()
            os.close(answers)
