"""A headless Chromium that a test drives through pipes; it fetches nothing from a network."""

import json
import os
import select
import shutil
import subprocess
import tempfile
import time

FLAGS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking",
         "--disable-component-update", "--disable-sync", "--disable-dev-shm-usage", "--remote-debugging-pipe"]

PATIENCE = 60  # seconds


def find_browser():
    """The path of Chromium, or None."""
    return shutil.which("chromium")


class Browser:
    """One page of a browser with a profile of its own. Used in a `with` statement."""

    def __enter__(self):
        self._profile = tempfile.TemporaryDirectory(prefix="ostra_browser_", ignore_cleanup_errors=True)
        to_browser, self._output = os.pipe()
        self._input, from_browser = os.pipe()
        # The browser reads 3 and writes 4. Both ends are moved out of the way first, as they may have these numbers.
        ends = [os.dup(to_browser), os.dup(from_browser)]
        high = [self._raise_number(end) for end in ends]

        def connect():
            os.dup2(high[0], 3)
            os.dup2(high[1], 4)

        self._process = subprocess.Popen([find_browser(), *FLAGS, f"--user-data-dir={self._profile.name}", "about:blank"],
                                         preexec_fn=connect, pass_fds=(3, 4), close_fds=True, stdin=subprocess.DEVNULL,
                                         stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        for end in (to_browser, from_browser, *ends, *high):
            os.close(end)
        self._reader = os.fdopen(self._input, "rb")
        self._number, self._received, self._session = 0, b"", None
        self.events = []
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self._session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(f"{domain}.enable")
        return self

    def __exit__(self, *_):
        self._process.terminate()
        self._process.wait(timeout=30)
        os.close(self._output)
        self._reader.close()
        self._profile.cleanup()

    @staticmethod
    def _raise_number(descriptor):
        import fcntl
        return fcntl.fcntl(descriptor, fcntl.F_DUPFD_CLOEXEC, 64)

    def _receive(self):
        """The next message of the browser. Raises TimeoutError when none comes for a minute."""
        while b"\0" not in self._received:
            if not select.select([self._reader], [], [], PATIENCE)[0]:
                raise TimeoutError("the browser does not answer")
            read = os.read(self._reader.fileno(), 1 << 20)
            if not read:
                raise ConnectionError("the browser has ended")
            self._received += read
        message, _, self._received = self._received.partition(b"\0")
        return json.loads(message)

    def call(self, method, **parameters):
        """Calls a method of the browser's protocol and returns its result; events that arrive meanwhile are kept."""
        self._number += 1
        message = {"id": self._number, "method": method, "params": parameters}
        if self._session:
            message["sessionId"] = self._session
        os.write(self._output, json.dumps(message).encode() + b"\0")
        while True:
            answer = self._receive()
            if answer.get("id") == self._number:
                if "error" in answer:
                    raise RuntimeError(f"{method}: {answer['error']['message']}")
                return answer["result"]
            self.events.append(answer)

    def open(self, url):
        """Opens a page, waits until it is loaded, and returns the events on the way."""
        self.events.clear()
        failed = self.call("Page.navigate", url=url).get("errorText")
        if failed:
            raise RuntimeError(f"{url}: {failed}")
        deadline = time.monotonic() + PATIENCE
        while self.evaluate("document.readyState") != "complete":
            if time.monotonic() > deadline:
                raise TimeoutError(f"{url} is not loaded after {PATIENCE} seconds")
            time.sleep(0.02)
        return self.events

    def evaluate(self, expression):
        """The value of an expression of JavaScript in the page; a promise is awaited."""
        result = self.call("Runtime.evaluate", expression=expression, awaitPromise=True, returnByValue=True)
        if "exceptionDetails" in result:
            raise RuntimeError(f"{expression}: {result['exceptionDetails']['text']}")
        return result["result"].get("value")
