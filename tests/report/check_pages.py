#!/usr/bin/env python3
"""Parses pages of hostile records as a browser would and checks that no text became markup.

  check_pages.py HOSTILE_PAGES [COUNT]

HOSTILE_PAGES writes the pages. KVR_REPORT_PAGES sets their number; from 1,000 pages on the first
has 10,000 tests.
"""

import os
import pathlib
import subprocess
import sys
import tempfile

import html5lib

ELEMENTS = set("""html head meta link title style body main h1 h2 h3 p dl dt dd ol li a section div
table thead tbody tr th td details summary pre figure svg path circle text""".split())
ATTRIBUTES = set("""lang charset name content http-equiv rel href class id role tabindex aria-label
aria-labelledby scope viewBox x y cx cy r d transform""".split())


def wrong_in(path):
    parser = html5lib.HTMLParser(html5lib.getTreeBuilder("etree"), namespaceHTMLElements=False)
    tree = parser.parse(path.read_bytes(), transport_encoding="utf-8")
    for position, error, detail in parser.errors:
        yield f"{position}: {error} {detail}"
    for element in tree.iter():
        if not isinstance(element.tag, str):
            yield "a comment"
            continue
        tag = element.tag.split("}")[-1]
        if tag not in ELEMENTS:
            yield f"element {tag}"
        for name, value in element.attrib.items():
            if str(name).split("}")[-1] not in ATTRIBUTES:
                yield f"attribute {name} of {tag}"
            if name == "href" and not (value.startswith("#t") or value == "data:,"):
                yield f"a link to {value}"


def main():
    count = os.environ.get("KVR_REPORT_PAGES", sys.argv[2] if len(sys.argv) > 2 else "40")
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([sys.argv[1], folder, count], check=True)
        paths = sorted(pathlib.Path(folder).iterdir(), key=lambda path: int(path.stem))
        if len(paths) != int(count):
            sys.exit(f"{len(paths)} pages instead of {count}")
        wrong = [f"{path.name}: {what}" for path in paths for what in wrong_in(path)]
        size = sum(path.stat().st_size for path in paths)
    print("\n".join(wrong[:20]))
    print(f"{len(paths)} pages, {size} bytes, {len(wrong)} faults")
    sys.exit(bool(wrong))


main()
