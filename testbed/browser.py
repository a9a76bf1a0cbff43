"""A headless Chromium, spoken to by the DevTools protocol over a pipe: no port, no driver beside it."""

from __future__ import annotations

import base64
import fcntl
import json
import os
import select
import subprocess
import time
from pathlib import Path
from typing import Any

PROGRAM = "/usr/bin/chromium-headless-shell"
_KEYS = {"Enter": 13, "Escape": 27, "Home": 36, "ArrowLeft": 37, "ArrowUp": 38, "ArrowRight": 39, "ArrowDown": 40}


class Browser:
    """One page of a browser. Use it as a context manager; its profile is kept in `folder`."""

    def __init__(self, folder: Path):
        folder.mkdir(parents=True, exist_ok=True)
        # Not 3 and 4, where the browser expects its ends.
        there, self._to = (fcntl.fcntl(end, fcntl.F_DUPFD_CLOEXEC, 10) for end in os.pipe())
        self._from, back = (fcntl.fcntl(end, fcntl.F_DUPFD_CLOEXEC, 10) for end in os.pipe())

        def ends() -> None:
            os.dup2(there, 3)
            os.dup2(back, 4)

        # The page under test is this project's own; a container has no sandbox to offer.
        command = [PROGRAM, "--remote-debugging-pipe", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                   "--disable-background-networking", "--hide-scrollbars", f"--user-data-dir={folder}/profile", "about:blank"]
        with (folder / "browser.log").open("wb") as log:
            self._process = subprocess.Popen(command, preexec_fn=ends, pass_fds=(3, 4), stdin=subprocess.DEVNULL, stdout=log,
                                             stderr=log, env=os.environ | {"HOME": str(folder)})
        os.close(there)
        os.close(back)
        self._number = 0
        self._pending = b""
        self._session: str | None = None
        self.faults: list[str] = []
        """What went wrong in the page: uncaught errors, and resources that could not be loaded."""
        page = next(target for target in self.call("Target.getTargets")["targetInfos"] if target["type"] == "page")
        self._session = self.call("Target.attachToTarget", targetId=page["targetId"], flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(f"{domain}.enable")

    def __enter__(self) -> Browser:
        return self

    def __exit__(self, *_: object) -> None:
        self._process.terminate()
        self._process.wait(10)
        os.close(self._to)
        os.close(self._from)

    def call(self, method: str, **parameters: object) -> dict[str, Any]:
        """Calls a method of the protocol and returns its result."""
        self._number += 1
        message = {"id": self._number, "method": method, "params": parameters}
        if self._session:
            message["sessionId"] = self._session
        os.write(self._to, json.dumps(message).encode() + b"\0")
        while True:
            answer = self._receive()
            if answer.get("id") == self._number:
                if "error" in answer:
                    raise RuntimeError(f"{method}: {answer['error']['message']}")
                return answer["result"]
            self._note(answer)

    def _receive(self, timeout: float = 60.0) -> dict[str, Any]:
        while b"\0" not in self._pending:
            if not select.select([self._from], [], [], timeout)[0]:
                raise TimeoutError("the browser does not answer")
            received = os.read(self._from, 1 << 20)
            if not received:
                raise RuntimeError("the browser has ended")
            self._pending += received
        message, _, self._pending = self._pending.partition(b"\0")
        return json.loads(message)

    def _note(self, event: dict[str, Any]) -> None:
        details = event.get("params", {})
        if event.get("method") == "Runtime.exceptionThrown":
            exception = details["exceptionDetails"]
            self.faults.append(exception.get("exception", {}).get("description", exception["text"]))
        elif event.get("method") == "Log.entryAdded" and details["entry"]["level"] == "error":
            self.faults.append(f"{details['entry']['text']} {details['entry'].get('url', '')}")

    def open(self, url: str) -> None:
        self.call("Page.navigate", url=url)

    def screen(self, width: int, height: int, *, dark: bool = False, phone: bool = False) -> None:
        """What the page is shown on."""
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=2 if phone else 1,
                  mobile=phone)
        self.call("Emulation.setEmulatedMedia",
                  features=[{"name": "prefers-color-scheme", "value": "dark" if dark else "light"}])

    def offline_but(self, *patterns: str) -> None:
        """Whatever an address matches is not reachable."""
        self.call("Network.setBlockedURLs", urls=list(patterns))

    def value(self, expression: str) -> Any:
        """The value of an expression in the page; of a promise, what it holds when it is kept."""
        answer = self.call("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in answer:
            raise RuntimeError(answer["exceptionDetails"]["exception"]["description"])
        return answer["result"].get("value")

    def wait(self, expression: str, timeout: float = 20.0) -> Any:
        """Waits until an expression is true in the page and returns it."""
        deadline = time.monotonic() + timeout
        while not (found := self.value(expression)):
            if time.monotonic() > deadline:
                raise TimeoutError(f"{expression}; faults: {self.faults}; page: {self.value('document.body.innerText')[:1500]}")
            time.sleep(0.05)
        return found

    def press(self, key: str) -> None:
        """Presses a key: a letter, or one of _KEYS."""
        # The code of a letter is that of its capital; a full stop's would be another key's.
        text = {} if key in _KEYS and key != "Enter" else {"text": "\r" if key == "Enter" else key}
        code = _KEYS[key] if key in _KEYS else ord(key.upper()) if key.isalnum() else 0
        self.call("Input.dispatchKeyEvent", type="keyDown", key=key, windowsVirtualKeyCode=code, **text)
        self.call("Input.dispatchKeyEvent", type="keyUp", key=key, windowsVirtualKeyCode=code)

    def type(self, text: str) -> None:
        for letter in text:
            self.press(letter)

    def screenshot(self, file: Path) -> None:
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_bytes(base64.b64decode(self.call("Page.captureScreenshot", format="png")["data"]))
