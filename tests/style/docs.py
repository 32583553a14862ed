"""The documentation shows the examples as they are, and its links and paths lead somewhere."""

import os
import re
import sys
import urllib.parse

import document


def slugs(headings):
    """The anchors of a document's headings, as GitHub makes them."""
    made = []
    for heading in headings:
        text = re.sub(r"!?\[([^]]*)\]\([^)]*\)", r"\1", heading).lower()
        slug = re.sub(r"[^\w\- ]", "", text).replace(" ", "-")
        again = 0
        while (name := f"{slug}-{again}" if again else slug) in made:
            again += 1
        made.append(name)
    return made


def web_complaint(link):
    """Checks only the form of an address: no test needs the network."""
    parts = urllib.parse.urlsplit(link)
    well_formed = re.fullmatch(r"([\w-]+\.)+[a-z]{2,}(:\d+)?", parts.netloc) and \
        not re.search(r"[\s<>\"{}|\\^`]", link)
    return "" if parts.scheme in ("http", "https") and well_formed else f"{link} is no address"


def link_complaint(page, link):
    """Why a link of a document leads nowhere; empty if it leads somewhere."""
    if re.match(r"\w+:", link):
        return web_complaint(link)
    name, _, anchor = link.partition("#")
    path = os.path.normpath(os.path.join(os.path.dirname(page.path), name)) if name else page.path
    if not os.path.exists(path):
        return f"no {link}"
    if anchor:
        if path not in documents:
            return f"{link}: an anchor in what is no document"
        if anchor not in slugs(documents[path].headings):
            return f"{link}: no such heading"
    return ""


def links(page):
    """Where links and images of a document lead, those at its end ("[name]: ...") too."""
    prose = re.sub(r"(?<!`)`[^`]+`(?!`)", "`code`", page.prose)
    return [link.strip() for link in re.findall(r"\]\(\s*([^)\s]+)[^)]*\)", prose) +
            re.findall(r"(?m)^ {0,3}\[[^]]+\]:\s+(\S+)", prose) +
            re.findall(r"<(https?:[^>]*)>", prose) +
            re.findall(r"""\b(?:src|href)=["']([^"']*)""", prose)]


def paths(page):
    """Paths of the project that a document names, as code or at the margin of a figure."""
    rooms = ("bench", "bindings", "cmake", "docs", "examples", "include", "rig", "scripts", "src",
             "tests", "tools")
    code = [word for code in page.inline_code() for word in code.split()[:1]
            if word.startswith(tuple(f"{room}/" for room in rooms)) and
            not word.endswith((".dll", ".exe", ".sys"))]  # those are built
    return code + [word for block in page.blocks if block.language == ""
                   for word in re.findall(r"(?m)^([\w.]+/\S*)  ", block.text)]


failures = []
documents = {page.path: page for page in document.read_all()}
for page in documents.values():
    with open(page.path, encoding="utf-8") as file:
        text = file.read()
    failures += [f"{page.path}: {wrong}" for link in links(page)
                 if (wrong := link_complaint(page, link))]
    failures += [f"{page.path}: no {path}" for path in paths(page) if not os.path.exists(path)]
    for example in re.findall(r"\(`(examples/[^`]+)`\)", text):
        with open(example, encoding="utf-8") as file:
            if file.read().strip() not in text:
                failures.append(f"{page.path}: {example} is not shown as it is")
print("\n".join(failures) or f"{len(documents)} documents are in order")
sys.exit(1 if failures else 0)
