"""docs/log.md has every text of the library's log, and no other."""

import glob
import re
import sys

# Texts for WMI and for the compiler.
NOT_LOGGED = re.compile(r'static_assert\([^;]*;|L"[^"]*"|"\[HH:MM:SS\."|"mmm\] "')


def texts_of_the_code():
    """The literals of src/ with letters, adjacent ones joined, without names of pins and digits."""
    found = set()
    for path in glob.glob("src/*/**/*.cpp", recursive=True) + glob.glob("src/*/**/*.h", recursive=True):
        with open(path) as file:
            code = re.sub(r"(?m)//.*$|^#.*$", "", file.read())
        code = re.sub(r'"\s*\n\s*"', "", NOT_LOGGED.sub("", code))
        found |= {text.replace("\\n", "").strip()
                  for text in re.findall(r'"((?:[^"\\\n]|\\.)*)"', code)}
    return {text for text in found if re.search("[A-Za-z]", text) and not
            re.fullmatch(r"\w*_Pin|\w{16}", text)}


def texts_of_the_legend():
    with open("docs/log.md") as file:
        legend = file.read()
    return legend, [span.strip() for row in re.findall(r"(?m)^\| (`.*?) \|", legend)
                    for span in re.findall(r"`([^`]*)`", row)]


code = texts_of_the_code()
legend, spans = texts_of_the_legend()
missing = sorted(text for text in code if text not in legend)
# A text of the document may consist of several.
invented = sorted({span for span in spans
                   if not any(text in span or span in text for text in code)} -
                  {"..", "[10:25:29.554]", "0x90"})
for name, texts in (("docs/log.md lacks", missing), ("docs/log.md has what no code logs", invented)):
    for text in texts:
        print(f"{name}: {text!r}")
COUNT = 143
if len(code) != COUNT:
    print(f"{len(code)} texts were found in the code, not {COUNT}")
sys.exit(bool(missing or invented) or len(code) != COUNT)
