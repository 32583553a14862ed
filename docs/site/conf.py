"""The documents and the reference of both public headers as one offline site, for scripts/doc."""

import re
import shutil
from pathlib import Path

from docutils import nodes
from sphinx import addnodes
from sphinx.transforms import SphinxTransform

ROOT = Path(__file__).resolve().parents[2]

project = "Solvane"
release = re.search('#define SOLVANE_VERSION "(.*)"', (ROOT / "include/solvane/solvane.h").read_text())[1]
extensions = ["myst_parser", "breathe"]
include_patterns = ["*.md", "docs/*.md", "docs/site/*.rst", "rig/*.md", "bindings/*/*.md",
                    "tests/*/*.md"]
exclude_patterns = ["build", ".git"]
root_doc = "docs/site/index"
nitpicky = True
nitpick_ignore_regex = [("c:identifier", r"u?int\d+_t|size_t")]
smartquotes = False  # the system's texts are to be found as they are
highlight_language = "none"

myst_heading_anchors = 4

breathe_default_project = "solvane"
breathe_domain_by_extension = {"h": "c"}
breathe_show_include = False

html_theme = "furo"
html_title = f"Solvane {release}"
html_show_search_summary = False  # a page that is no server's may not read others
html_show_copyright = html_show_sphinx = html_show_sourcelink = html_copy_source = False
pygments_dark_style = "native"


class Anchors(SphinxTransform):
    """An anchor for each row of a table that begins with code: log texts, statuses, causes, options; the search
    leads to it, too. And for each heading the one that it has on other sites, which `solvane doctor` names:
    docutils makes "i-o" of "I/O"."""

    default_priority = 500

    def apply(self, **_):
        for section in self.document.findall(nodes.section):
            slug = section.get("myst-anchor", "").partition("#")[2]
            if slug and slug not in self.document.ids:
                section["ids"].append(slug)
                self.document.ids[slug] = section
        for row in self.document.findall(nodes.row):
            for literal in row[0].findall(nodes.literal):
                anchor = re.sub(r"[^a-z0-9]+", "-", literal.astext().lower()).strip("-")
                if anchor and anchor not in self.document.ids:
                    row[0]["ids"].append(anchor)
                    self.document.ids[anchor] = row[0]
                    row[0].insert(0, addnodes.index(entries=[("single", literal.astext(), anchor, "", None)]))


def leave_folders_unlinked(_app, _env, reference, text):
    """A link to a folder of the source tree: the site has no page of it."""
    target = (ROOT / reference["refdoc"]).parent / reference["reftarget"]
    return text if target.is_dir() else None


def complete(app, failure):
    """What Debian's build of the theme needs a server for: a style sheet; and the dark colours, which only a button
    chooses, so that they are repeated for who has asked the system for them. And the pictures of HTML in documents."""
    if failure is None:
        style = Path(app.outdir, "_static/styles/furo.css")
        rules = style.read_text()
        server = "@import url(/javascript/normalize.css/normalize.css);"
        assert server in rules
        rules = rules.replace(server, Path("/usr/share/javascript/normalize.css/normalize.min.css").read_text())
        dark = re.search(r'body\[data-theme="dark"\] ({[^{}]*--color[^{}]*})', rules)[1]
        style.write_text(f"{rules}\n@media (prefers-color-scheme: dark) {{ body {dark} }}\n")
        shutil.copytree(ROOT / "docs/pictures", Path(app.outdir, "docs/pictures"), dirs_exist_ok=True)


def setup(app):
    app.connect("build-finished", complete)
    app.add_transform(Anchors)
    app.connect("missing-reference", leave_folders_unlinked)
