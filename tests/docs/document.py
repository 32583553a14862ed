"""The content of a Markdown document: headings, fenced blocks, links and inline code."""

import dataclasses
import os
import re
import subprocess

FENCE = re.compile(r"^( *)```(.*)$")


@dataclasses.dataclass
class Block:
    """A fenced block. `shown` is the text block that follows it, with its output."""

    document: str
    line: int
    section: str
    language: str
    text: str
    shown: "Block | None" = None

    def __str__(self):
        return f"{self.document}:{self.line}"


class Document:
    def __init__(self, path):
        self.path = path
        self.blocks = []
        self.headings = []
        prose = []
        indent = inside = None
        section = ""
        with open(path, encoding="utf-8") as file:
            lines = file.read().splitlines()
        for number, line in enumerate(lines, 1):
            fence = FENCE.match(line)
            if inside is not None:
                if fence and not fence[2]:
                    self.blocks.append(Block(path, *opened, "\n".join(inside)))
                    inside = None
                else:
                    inside.append(line.removeprefix(indent))
            elif fence:
                indent, inside = fence[1], []
                opened = number, section, fence[2].strip()
                prose.append("")
            else:
                heading = re.match(r"#+ +(.*?)[ #]*$", line)
                if heading:
                    section = heading[1]
                    self.headings.append(section)
                prose.append(line)
        if inside is not None:
            raise SystemExit(f"{path}:{opened[0]}: a block without an end")
        self.prose = "\n".join(prose)
        for block, following in zip(self.blocks, self.blocks[1:]):
            if block.language in ("sh", "bat") and following.language == "text" and \
                    block.section == following.section:
                block.shown = following

    def inline_code(self):
        """All inline code, without the document's line breaks."""
        return [" ".join(code.split()) for code in
                re.findall(r"(?<!`)`([^`]+)`(?!`)", self.prose)]


def read_all():
    """Every document of the project, by path from its root, which is the current directory."""
    names = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", "*.md"], check=True,
                           capture_output=True, text=True).stdout.split()
    return [Document(name) for name in sorted(set(names)) if os.path.exists(name)]
