"""The documents and the reference of both public headers as one offline site, for scripts/doc."""

import re
from pathlib import Path

from docutils import nodes
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
html_show_copyright = html_show_sphinx = html_show_sourcelink = html_copy_source = False
pygments_dark_style = "native"


class RowAnchors(SphinxTransform):
    """An anchor for each row of a table that begins with code: log texts, statuses, causes, options."""

    default_priority = 500

    def apply(self, **_):
        for row in self.document.findall(nodes.row):
            for literal in row[0].findall(nodes.literal):
                anchor = re.sub(r"[^a-z0-9]+", "-", literal.astext().lower()).strip("-")
                if anchor and anchor not in self.document.ids:
                    row[0]["ids"].append(anchor)
                    self.document.ids[anchor] = row[0]


def leave_folders_unlinked(_app, _env, reference, text):
    """A link to a folder of the source tree: the site has no page of it."""
    target = (ROOT / reference["refdoc"]).parent / reference["reftarget"]
    return text if target.is_dir() else None


def follow_the_system(app, failure):
    """Debian's build of the theme is dark only when a button says so, and that needs a server. So the
    rules for dark are repeated for who has asked the system for it."""
    if failure is None:
        style = Path(app.outdir, "_static/styles/furo.css")
        rules = style.read_text()
        dark = re.search(r'body\[data-theme="dark"\] ({[^{}]*--color[^{}]*})', rules)[1]
        style.write_text(f"{rules}\n@media (prefers-color-scheme: dark) {{ body {dark} }}\n")


def setup(app):
    app.connect("build-finished", follow_the_system)
    app.add_transform(RowAnchors)
    app.connect("missing-reference", leave_folders_unlinked)
