#!/usr/bin/env python3
"""Opens a page in headless Chromium at three widths and in print, and checks what a reader would see.

  check_browser.py PAGE CHROMIUM AXE [SCREENSHOTS]

Drives Chromium through its remote debugging pipe: console messages, requests, text that overlaps or
is cut, and the rules of axe-core, whose file AXE is. Prints A4 and Letter and reads the PDFs with
pdftotext, and so the PDF that kvr-report has left beside the page, if any. SCREENSHOTS is a folder for pictures, kept out of the tree.
"""

import base64
import html
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

WIDTHS = (360, 800, 1400)

# Texts of one picture whose boxes overlap, text beyond the picture, and boxes that cut their text.
FAULTS = """(() => {
  const faults = [];
  for (const svg of document.querySelectorAll('svg')) {
    const frame = svg.getBoundingClientRect();
    const boxes = [...svg.querySelectorAll('text')].map(t => [t.textContent, t.getBoundingClientRect()]);
    boxes.forEach(([text, a], i) => {
      if (a.left < frame.left - 1 || a.right > frame.right + 1 || a.top < frame.top - 1 ||
          a.bottom > frame.bottom + 1) faults.push('cut: ' + text);
      for (const [other, b] of boxes.slice(i + 1)) {
        const wide = Math.min(a.right, b.right) - Math.max(a.left, b.left);
        const high = Math.min(a.bottom, b.bottom) - Math.max(a.top, b.top);
        if (wide > 1 && high > 2) faults.push('overlap: ' + text + ' | ' + other);
      }
    });
  }
  for (const box of document.querySelectorAll('td, th, dt, dd, h1, h2, h3, p, li')) {
    if (box.scrollWidth > box.clientWidth + 1 && box.clientWidth > 0)
      faults.push('wide: ' + box.tagName + ' ' + box.textContent.slice(0, 60));
  }
  if (document.documentElement.scrollWidth > innerWidth + 1) faults.push('the page scrolls sideways');
  return faults;
})()"""


class Browser:
    """One tab, by messages that end in a zero byte on two pipes."""

    def __init__(self, chromium, profile):
        to_browser, self.out = os.pipe()
        self.back, from_browser = os.pipe()
        # Chromium reads descriptor 3 and writes descriptor 4; two high numbers first, so that
        # neither is overwritten before it is copied.
        command = f'exec 8<&{to_browser} 9>&{from_browser}; exec "$0" "$@" 3<&8 4>&9'
        self.process = subprocess.Popen(
            ["bash", "-c", command, chromium, "--headless", "--no-sandbox", "--disable-gpu",
             "--remote-debugging-pipe", f"--user-data-dir={profile}", "about:blank"],
            pass_fds=(to_browser, from_browser), stderr=subprocess.DEVNULL)
        os.close(to_browser)
        os.close(from_browser)
        self.rest, self.number, self.events, self.session = b"", 0, [], None
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]

    def message(self):
        while b"\0" not in self.rest:
            piece = os.read(self.back, 1 << 20)
            if not piece:
                sys.exit("Chromium has ended")
            self.rest += piece
        text, self.rest = self.rest.split(b"\0", 1)
        return json.loads(text)

    def call(self, method, **parameters):
        self.number += 1
        request = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            request["sessionId"] = self.session
        os.write(self.out, json.dumps(request).encode() + b"\0")
        while True:
            answer = self.message()
            if answer.get("id") == self.number:
                if "error" in answer:
                    sys.exit(f"{method}: {answer['error']}")
                return answer["result"]
            self.events.append(answer)

    def wait(self, method):
        while not any(event.get("method") == method for event in self.events):
            self.events.append(self.message())

    def evaluate(self, script):
        result = self.call("Runtime.evaluate", expression=script, returnByValue=True,
                           awaitPromise=True)
        if "exceptionDetails" in result:
            sys.exit(str(result["exceptionDetails"]))
        return result["result"].get("value")

    def end(self):
        self.process.kill()
        self.process.wait()


def faults_of_pdf(name, path, page):
    """Each sheet says which of how many it is; what a report must say and each heading is there."""
    text = subprocess.run(["pdftotext", "-layout", path, "-"], check=True, capture_output=True,
                          text=True).stdout
    sheets = text.split("\f")[:-1]
    missing = [f"{name}: no 'page {i} of {len(sheets)}'" for i, sheet in enumerate(sheets, 1)
               if f"page {i} of {len(sheets)}" not in sheet]
    words = " ".join(text.split())
    headings = re.findall(r"<h[12]>(.*?)</h[12]>", page.read_text(encoding="utf-8"))
    wanted = ["Identification", "SHA-256", "End of report", "not stated", "Tested by",
              *(html.unescape(heading) for heading in headings)]
    missing += [f"{name}: no '{each}'" for each in wanted if " ".join(each.split()) not in words]
    print(f"{name}: {len(sheets)} sheets, {len(wanted)} texts")
    return missing, len(sheets)


def print_pdf(browser, name, width, height, folder, page):
    pdf = browser.call("Page.printToPDF", paperWidth=width, paperHeight=height,
                       displayHeaderFooter=False, preferCSSPageSize=False, printBackground=False)
    path = folder / f"{name}.pdf"
    path.write_bytes(base64.b64decode(pdf["data"]))
    return faults_of_pdf(name, path, page)


def main():
    page, chromium, axe = (pathlib.Path(word).resolve() for word in sys.argv[1:4])
    pictures = pathlib.Path(sys.argv[4]).resolve() if len(sys.argv) > 4 else None
    wrong = []
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as work:
        folder = pathlib.Path(work)
        browser = Browser(str(chromium), str(folder / "profile"))
        for domain in ("Page", "Runtime", "Log", "Network"):
            browser.call(f"{domain}.enable")
        browser.call("Page.navigate", url=page.as_uri())
        browser.wait("Page.loadEventFired")
        for width in WIDTHS:
            browser.call("Emulation.setDeviceMetricsOverride", width=width, height=900,
                         deviceScaleFactor=1, mobile=False)
            wrong += [f"{width} px: {fault}" for fault in browser.evaluate(FAULTS)]
            if pictures:
                shot = browser.call("Page.captureScreenshot", captureBeyondViewport=False)
                (pictures / f"{width}.png").write_bytes(base64.b64decode(shot["data"]))
        browser.call("Emulation.setEmulatedMedia", media="print")
        browser.call("Emulation.setDeviceMetricsOverride", width=690, height=1000,
                     deviceScaleFactor=1, mobile=False)  # a sheet of A4 less its margins
        wrong += [f"print: {fault}" for fault in browser.evaluate(FAULTS)]
        browser.call("Emulation.setEmulatedMedia", media="")
        for event in browser.events:
            method, details = event.get("method"), event.get("params", {})
            if method in ("Runtime.consoleAPICalled", "Log.entryAdded", "Runtime.exceptionThrown"):
                wrong.append(f"console: {details}")
            if method == "Network.requestWillBeSent":
                url = details["request"]["url"]
                if url != page.as_uri() and not url.startswith("data:"):
                    wrong.append(f"request: {url}")
        wrong += print_pdf(browser, "A4", 8.27, 11.69, folder, page)[0]
        found, sheets = print_pdf(browser, "Letter", 8.5, 11, folder, page)
        wrong += found
        if (own := page.with_suffix(".pdf")).exists():
            found, own_sheets = faults_of_pdf("--pdf", own, page)
            wrong += found
            if own_sheets != sheets:
                wrong.append(f"--pdf: {own_sheets} sheets, not {sheets}")
        # By the debugger: the page itself forbids every script.
        browser.evaluate(axe.read_text())
        found = browser.evaluate("axe.run(document).then(r => r.violations.map(v => v.id + ': ' + "
                                 "v.nodes.map(n => n.target + ' ' + n.failureSummary).slice(0, 3)))")
        wrong += [f"axe: {violation}" for violation in found]
        browser.end()
    print("\n".join(wrong[:40]))
    print(f"{page.name}: {len(wrong)} faults")
    sys.exit(bool(wrong))


main()
