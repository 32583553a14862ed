"""The documentation shows the examples as they are, and links to files that exist."""

import os
import re
import subprocess
import sys

failures = []
files = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", "*.md"], check=True,
                       capture_output=True, text=True).stdout.split()
for path in files:
    with open(path) as file:
        text = file.read()
    for target in re.findall(r"\]\(([^)#:]+)\)", text):
        if not os.path.exists(os.path.join(os.path.dirname(path), target)):
            failures.append(f"{path}: no {target}")
    for example in re.findall(r"\(`(examples/[^`]+)`\)", text):
        with open(example) as file:
            if file.read().strip() not in text:
                failures.append(f"{path}: {example} is not shown as it is")
print("\n".join(failures) or f"{len(files)} documents are in order")
sys.exit(1 if failures else 0)
