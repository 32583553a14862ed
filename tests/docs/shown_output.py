"""Compares a command's output in a document with its real output, ignoring times."""

import difflib
import re


def without_times(line):
    """The line with its times replaced, and everything whose width depends on them."""
    line = re.sub(r"\[\d\d:\d\d:\d\d\.\d{3}\]", "[time]", line.rstrip())
    # Dots are polls whose answer did not change: their number depends on time.
    line = re.sub(r"\[time\] \.* ?(<<<|>>>)", r"[time] \1", line)
    line = re.sub(r"^ *\d+\.\d{6} (edge|call|event|note)", r"N \1", line)  # of the journal
    line = re.sub(r"\d+(\.\d+)? ms\b", "N ms", line)
    if line.startswith("ms "):  # the times above a waveform
        line = re.sub(r"\d+(\.\d+)?", "N", line)
    is_waveform = re.search(r"\bN\b|[┌┐]|____", line) or line.startswith("events ")
    return without_runs(line) if is_waveform else line


def without_runs(line):
    return re.sub(r"([ _─])\1+", r"\1", line)


def between(lane):
    """What joins the parts of a lane: blanks for events, which have no line of their own."""
    return " " if lane.startswith("events") else ""


def unfolded(lines):
    """The lines with each waveform joined into one row: a long one is shown in several rows."""
    parts = []
    for part in "\n".join(lines).split("\n\n"):
        if parts and part.startswith("ms N") and parts[-1].startswith("ms N"):
            times, *lanes = zip(parts[-1].split("\n"), part.split("\n"))
            parts[-1] = "\n".join(
                [times[0] + times[1].removeprefix("ms")] +
                [without_runs(lane + between(lane) + rest.partition(" ")[2]).rstrip()
                 for lane, rest in lanes])
        else:
            parts.append(part)
    return "\n\n".join(parts).split("\n")


def difference(shown, printed):
    """The differences between the shown and the real output; empty if there are none.

    A shown line of three dots stands for any lines.
    """
    expected = unfolded(without_times(line) for line in shown.splitlines())
    actual = unfolded(without_times(line) for line in printed.rstrip("\n").splitlines())
    pattern = "".join(r"(?:.*\n)*?" if line == "..." else re.escape(line) + r"\n"
                      for line in expected)
    if re.fullmatch(pattern, "".join(line + "\n" for line in actual)):
        return ""
    return "\n".join(difflib.unified_diff(expected, actual, "shown", "printed", lineterm="", n=1))
