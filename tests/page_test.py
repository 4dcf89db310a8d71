#!/usr/bin/env python3
"""Opens the page that `yfw map --html` writes in headless Chromium, and uses it as a reader does.

    page_test.py COMMAND [DIRECTORY]   screenshots go to DIRECTORY when it is given

Without Chromium (scripts/setup browser) it is skipped: exit code 77.
"""

import base64
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
SKIPPED = 77
MARKUP = "</script><script>console.error(1)</script><!--<b>&amp;</b>"
NEIGHBOR = "/network-instances/network-instance/protocols/protocol/bgp/neighbors/neighbor"
NATIVE = "/bgp/instance/instance-as/four-byte-as/default-vrf/bgp-entity/neighbors/neighbor"


class Browser:
    """One page, driven through Chromium's debugging pipe."""

    def __init__(self, chromium, profile):
        command_in, self.out = os.pipe()
        self.into, command_out = os.pipe()
        # The pipe is descriptors 3 and 4 there.
        line = 'exec 3<&"$1" 4>&"$2"; shift 2; exec "$@"'
        arguments = ["--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars", "--remote-debugging-pipe",
                     f"--user-data-dir={profile}", "about:blank"]
        self.process = subprocess.Popen(
            ["bash", "-c", line, "bash", str(command_in), str(command_out), chromium, *arguments],
            pass_fds=(command_in, command_out), stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(command_in)
        os.close(command_out)
        self.rest, self.number, self.session, self.errors, self.requests = b"", 0, None, [], []
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(domain + ".enable")

    def receive(self):
        while b"\0" not in self.rest:
            piece = os.read(self.into, 1 << 20)
            if not piece:
                sys.exit("chromium has ended")
            self.rest += piece
        message, self.rest = self.rest.split(b"\0", 1)
        message = json.loads(message)
        if message.get("method") in ("Runtime.exceptionThrown", "Log.entryAdded", "Runtime.consoleAPICalled"):
            self.errors.append(message["params"])
        elif message.get("method") == "Network.requestWillBeSent":
            self.requests.append(message["params"]["request"]["url"])
        return message

    def call(self, method, **params):
        self.number += 1
        request = {"id": self.number, "method": method, "params": params}
        if self.session:
            request["sessionId"] = self.session
        os.write(self.out, json.dumps(request).encode() + b"\0")
        while (answer := self.receive()).get("id") != self.number:
            pass
        if "error" in answer:
            sys.exit(f"{method}: {answer['error']}")
        return answer["result"]

    def run(self, script):
        result = self.call("Runtime.evaluate", expression=script, awaitPromise=True, returnByValue=True)
        if "exceptionDetails" in result:
            sys.exit(f"{script}: {result['exceptionDetails']}")
        return result["result"].get("value")

    def open(self, url):
        self.call("Page.navigate", url="about:blank")
        self.call("Page.navigate", url=url)
        self.run("new Promise((done) => document.readyState === 'complete' ? done() : addEventListener('load', done))")

    def press(self, key, text=""):
        self.call("Input.dispatchKeyEvent", type="keyDown", key=key, text=text)
        self.call("Input.dispatchKeyEvent", type="keyUp", key=key)

    def rows(self):
        return self.run("[...document.querySelectorAll('.row')].filter((row) => row.checkVisibility()).map((r) => r.id)")

    def size(self, width, height):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)

    def shoot(self, file, scheme):
        self.call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])
        self.run("new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done)))")
        file.write_bytes(base64.b64decode(self.call("Page.captureScreenshot")["data"]))


def check(what, is_so, *shown):
    if not is_so:
        sys.exit(" ".join(map(str, ("not so:", what, *shown))))


def write_page(command, scratch):
    """The page of the mapping with a note that would be markup."""
    mapping = pathlib.Path(scratch) / "mapping"
    shutil.copytree(ROOT / "mapping", mapping)
    description = json.loads((mapping / "bgp.json").read_text())
    description["yfw-mapping:mapping"]["note"][0]["text"] = MARKUP
    (mapping / "bgp.json").write_text(json.dumps(description))
    file = pathlib.Path(scratch) / "map.html"
    subprocess.run([command, "--db", f"{scratch}/db", "--mapping", mapping / "bgp.json", "map", "--html", file],
                   check=True)
    return file.as_uri()


def use(browser, page, shots):
    browser.size(1400, 900)
    browser.open(page)
    check("what the mapping says is text", MARKUP in browser.run("document.getElementById('rows').textContent"))
    everything = browser.rows()
    check("both mapped and unmapped nodes are there", len(everything) > 1500, len(everything))

    # Typed, with the keyboard alone.
    browser.press("/", "/")
    browser.call("Input.insertText", text="neighbors/neighbor/ hold-time")
    found = browser.rows()
    check("a leaf is found", f"{NEIGHBOR}/timers/config/hold-time" in found and len(found) < 6, found)
    text = browser.run("document.getElementById('" + NEIGHBOR + "/timers/config/hold-time').textContent")
    check("with what it becomes", "oc_bgp_nbr_timers_cfg_hld_time" in text and "timers/hold-time VRF" in text, text)
    browser.press("Escape")
    check("Escape clears the search", browser.rows() == everything)

    # A native path, in both directions; what is not mapped is hidden.
    search = NATIVE + "/remote-as/as-yy"
    browser.open(f"{page}#search={search}")
    check("a native path finds its origin", browser.rows() == [f"{NEIGHBOR}/config/peer-as"], browser.rows())
    browser.open(f"{page}#view=native&search={search}")
    check("it has a row of its own", browser.rows() == [search], browser.rows())
    browser.open(f"{page}#{NEIGHBOR}/timers/config/hold-time")
    row = f"document.getElementById('{NEIGHBOR}/timers/config/hold-time')"
    place = browser.run(f"{row}.getBoundingClientRect().top")
    check("a deep link scrolls to its node", 0 < place < 900, place)
    if shots:
        browser.shoot(shots / "light.png", "light")
        browser.size(480, 900)
        browser.shoot(shots / "narrow.png", "light")
        browser.size(1400, 900)
    browser.open(page)
    browser.run("document.getElementById('unmapped').click()")
    mapped = browser.rows()
    check("what is not mapped can be hidden", 300 < len(mapped) < len(everything) / 2, len(mapped))
    check("and what is mapped stays", f"{NEIGHBOR}/config/peer-as" in mapped)
    if shots:
        browser.open(f"{page}#search=table-connection&view=native")
        browser.shoot(shots / "dark.png", "dark")

    # Each letter is to be answered at once.
    took = browser.run("""(() => { const field = document.getElementById('search'), start = performance.now();
        for (const text of ['p', 'pe', 'pee', 'peer', '']) {
            field.value = text; field.dispatchEvent(new Event('input')); document.body.offsetHeight;
        }
        return (performance.now() - start) / 5; })()""")
    print(f"{len(everything)} rows; a letter takes {took:.1f} ms")
    check("a letter takes less than 200 ms", took < 200, took)
    check("nothing is said on the console", not browser.errors, browser.errors)
    others = [url for url in browser.requests if url.split("#")[0] not in (page, "about:blank")]
    check("nothing else is asked for", not others, others)


def main():
    command = sys.argv[1]
    shots = pathlib.Path(sys.argv[2]) if len(sys.argv) > 2 else None
    chromium = shutil.which("chromium")
    if chromium is None:
        print("chromium is not installed: scripts/setup browser")
        sys.exit(SKIPPED)
    with tempfile.TemporaryDirectory(prefix="yfw-page-", ignore_cleanup_errors=True) as scratch:
        page = write_page(command, scratch)
        browser = Browser(chromium, scratch + "/profile")
        try:
            use(browser, page, shots)
        finally:
            browser.process.kill()
            browser.process.wait()


if __name__ == "__main__":
    main()
