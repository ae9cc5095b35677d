"""The list of the mutants that no test can kill, each with its reason.

An entry is a mutant, as the report shows it, and behind it the reason, indented; a blank line ends it:

    qirapi/private/rules.cpp IsThere
    - return table != nullptr;
    + return true;
        The tables are part of a static object, whose address is never null.

A mutant is known by file, function, lines and change, not by its line number; `#2` behind the function is the
second of the same changes to the same lines there. A reason with `same` alone is that of the entry before.
"""

import os


def show(identity):
    path, function, before, after, occurrence = identity
    number = f" #{occurrence}" if occurrence > 1 else ""
    return f"{path} {function}{number}\n- {before}\n+ {after}\n"


def read(path):
    """The reasons, by mutant."""
    reasons, reason = {}, ""
    if not os.path.exists(path):
        return reasons
    with open(path, encoding="utf-8") as file:
        blocks = file.read().split("\n\n")
    for block in blocks:
        lines = [line for line in block.split("\n") if line and not line.startswith("#")]
        if not lines:
            continue
        if len(lines) < 4 or not lines[1].startswith("- ") or not lines[2].startswith("+ "):
            raise SystemExit(f"{path}: not an entry:\n{block}")
        words = lines[0].split(" ")
        occurrence = int(words.pop()[1:]) if words[-1].startswith("#") else 1
        text = " ".join(line.strip() for line in lines[3:])
        reason = reason if text == "same" else text
        identity = (words[0], " ".join(words[1:]), lines[1][2:], lines[2][2:], occurrence)
        reasons[identity] = reason
    return reasons
