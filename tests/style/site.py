"""The site of the documents is made without a warning, is whole, and has an anchor for what programs say."""

import re
import subprocess
import sys
import tempfile
from pathlib import Path


def anchors(page):
    return set(re.findall(r' id="([^"]+)"', page.read_text()))


def anchor_of(text):
    return re.sub(r"[^a-z0-9]+", "-", text.lower()).strip("-")


def texts_of_rows(document):
    """The code in the first cells of a document's tables."""
    cells = re.findall(r"(?m)^\| (`.*?) \|", Path(document).read_text())
    return {text for cell in cells for text in re.findall(r"`([^`]*)`", cell) if anchor_of(text)}


with tempfile.TemporaryDirectory() as folder:
    subprocess.run(["scripts/doc", folder], check=True, stdout=subprocess.DEVNULL)
    site = Path(folder, "site")
    missing = []
    for document, least in (("docs/log.md", 120), ("docs/check.md", 28), ("README.md", 10)):
        texts = texts_of_rows(document)
        if len(texts) < least:
            missing.append(f"{document}: only {len(texts)} rows were found")
        there = anchors(site / Path(document).with_suffix(".html"))
        missing += [f"{document}: {text}" for text in texts if anchor_of(text) not in there]
    headings = re.findall(r"(?m)^### (.*)$", Path("docs/doctor.md").read_text())
    there = anchors(site / "docs/doctor.html")
    slugs = [re.sub(r"[^\w\- ]", "", heading).lower().replace(" ", "-") for heading in headings] # as doctor makes them
    missing += [f"docs/doctor.md: {slug}" for slug in slugs if slug not in there]
    missing += [] if len(headings) >= 40 else [f"docs/doctor.md: only {headings} were found"]
    for header, page in (("include/solvane/solvane.h", "solvane"), ("rig/include/solvane/rig.h", "rig")):
        functions = re.findall(r"(?m)^(?:SOLVANE|SOLVANE_RIG)_API .*?(\w+)\(", Path(header).read_text())
        there = anchors(site / f"docs/site/{page}.html")
        missing += [f"{header}: {name}" for name in functions if f"c.{name}" not in there]
        missing += [] if len(functions) > 20 else [f"{header}: only {functions} were found"]
    files = 0
    for page in [*site.rglob("*.html"), *site.rglob("*.css")]:
        for name in re.findall(r' (?:src|srcset|href)="([^"#?:]+)["#?]|url\("?([^"():]+)"?\)', page.read_text()):
            files += 1
            missing += [] if (page.parent / max(name)).exists() else [f"{page.relative_to(site)}: {max(name)}"]
    missing += [] if files > 1000 else [f"only {files} links were found"]
for text in missing:
    print(f"not there: {text}")
sys.exit(bool(missing))
