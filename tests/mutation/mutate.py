#!/usr/bin/env python3
"""Mutation testing of log/ and qirapi/: changes the sources, one small change at a time, and asks whether the
tests notice. docs/mutation.md says how it is used and what came of it."""

import argparse
import concurrent.futures
import glob
import hashlib
import os
import queue
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from dataclasses import dataclass

HERE = os.path.dirname(os.path.abspath(__file__))
REPO = os.path.dirname(os.path.dirname(HERE))
SOURCES = ["log/*.cpp", "log/*.h", "qirapi/**/*.cpp", "qirapi/**/*.h"]

# Test programs that look at what is built, at debug information or at logs, not at what the library does.
NOT_ASKED = re.compile(r"test_(docs|fuzz|install|journal|layout|link|orxemu)")
MAX_FILE = 256 << 20  # what a mutant may write, and
MAX_MEMORY = 8 << 30  # how much memory it may ask for


def say(text):
    print(text, file=sys.stderr, flush=True)


# ---- The mutants of a file --------------------------------------------------------------------------------
#
# The sources are read as text of this tree's style: a binary operator has a blank on either side, a bracket of a
# template has none. What that takes for something else does not compile, and is not counted.

COMMENT = re.compile(r'("(?:\\.|[^"\\\n])*")|//[^\n]*|/\*.*?\*/', re.DOTALL)
# Directives, assertions of the compiler, heads of templates.
FIXED = re.compile(
    r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*|\btemplate <[^;{}()]*?>(?=\s)"
    r"|\b(?:static_assert|QIR_STATIC_ASSERT|QIR_PIN_\w+)\((?:[^()]|\((?:[^()]|\([^()]*\))*\))*\)",
    re.MULTILINE,
)
TEXT = re.compile(r'"(?:\\.|[^"\\\n])*"')
SWAPPED = {
    "comparison": {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="},
    "logic": {"&&": "||", "||": "&&"},
    "arithmetic": {
        **{"+": "-", "-": "+", "<<": ">>", ">>": "<<", "|": "&", "&": "|"},
        **{"+=": "-=", "-=": "+=", "|=": "&=", "&=": "|="},
    },
}
OPERATOR = re.compile(r"(?<=\s)(<<|>>|<=|>=|==|!=|&&|\|\||[-+|&]=|[-+<>|&])(?=\s)")
NUMBER = re.compile(r"(?<![\w.])(0[xX][0-9a-fA-F]+|\d+)(?=[uUlL]*\b)")
NAME = re.compile(r"(?<![\w.>])([A-Za-z_]\w*)\b(?!\s*[({])(?! =[^=])")
CONSTANT = re.compile(r"(?:QIR|QEL|AS|MAX|E)_[A-Z0-9_]+$")
NUMBERED = re.compile(r"constexpr (?:u8|u16|u32|i32|uint32_t|size_t) (k[A-Z]\w*) =")
ENUM = re.compile(r"\benum\b[^;{]*\{(.*?)\}", re.DOTALL)
STATEMENT = re.compile(r"(?<=[;{}:])\s*\n[ \t]+((?!return\b|case\b|default:)[A-Za-z_*+(-][^;{}]*;)(?=\s*\n)")
DECLARATION = re.compile(r"(?:[\w:]+(?:<[^;=()]*>)?[ *&]+)+\w+(?:\[[^=]*\])?\s*(?:=|;|\(|\{)|(?:using|typedef)\b")


@dataclass
class Site:
    """One mutation of one file."""

    path: str
    kind: str
    start: int  # of the bytes that are replaced
    end: int
    replacement: str
    line: int = 0
    before: str = ""  # the lines concerned, as they are and as the mutation makes them
    after: str = ""
    occurrence: int = 1  # among the same changes to the same lines of the file

    @property
    def identity(self):
        return (self.path, self.before, self.after, self.occurrence)


def blank(match):
    return re.sub(r"[^\n]", " ", match[0])


def all_names(texts):
    """The neighbour of each enumerator; null for the names of single numbers."""
    result = {}
    for text in texts:
        plain = COMMENT.sub("", text)
        result.update(dict.fromkeys(NUMBERED.findall(plain)))
        for body in ENUM.findall(plain):
            names = re.findall(r"(?:^|,)\s*(\w+)", body)
            result.update(zip(names, names[1:] + names[:1]) if len(names) > 1 else {names[0]: None})
    return result


def find_sites(path, text, names):
    """All sites of a file."""
    code = FIXED.sub(blank, COMMENT.sub(lambda m: m[0] if m[1] else blank(m), text))
    bare = TEXT.sub(blank, code)
    sites = []

    def add(kind, start, end, replacement):
        sites.append(Site(path, kind, start, end, replacement))

    for match in OPERATOR.finditer(bare):
        for kind, swapped in SWAPPED.items():
            if match[1] in swapped:
                add(kind, *match.span(1), swapped[match[1]])
    for match in re.finditer(r"\+\+|--", bare):
        add("arithmetic", *match.span(), "--" if match[0] == "++" else "++")
    for match in re.finditer(r"!(?=[\w(])", bare):
        add("negation", *match.span(), "")
    for match in re.finditer(r"\bif \(", bare):
        end = closing(bare, match.end())
        add("negation", match.end(), end, f"!({text[match.end():end]})")
    for match in NUMBER.finditer(bare):
        base = 16 if match[1][:2] in ("0x", "0X") else 10
        for value in (int(match[1], base) + 1, int(match[1], base) - 1):
            if value >= 0:
                add("constant", *match.span(1), f"0x{value:X}" if base == 16 else str(value))
    for match in NAME.finditer(bare):
        name, line = match[1], bare[bare.rfind("\n", 0, match.start()) + 1 : match.start()]
        if name in ("true", "false"):
            add("constant", *match.span(1), "false" if name == "true" else "true")
        elif re.search(r"\bcase (?:\w+::)*$", line) or (not line.strip() and bare[match.end()] in ",\n"):
            continue  # a label, or the declaration of an enumerator
        elif names.get(name):
            add("name", *match.span(1), names[name])
        elif name in names or CONSTANT.match(name):
            add("constant", *match.span(1), f"({name} + 1)")
            add("constant", *match.span(1), f"({name} - 1)")
    for match in TEXT.finditer(code):
        for other in other_texts(match[0]):
            add("text", *match.span(), other)
    for match in STATEMENT.finditer(bare):
        if not DECLARATION.match(match[1]):
            add("statement", *match.span(1), ";")
    for match in re.finditer(r"\breturn\b([^;{}]*);", bare):
        value = match[1].strip()
        if value not in ("nullptr", "true", "false") and not re.fullmatch(r"\d+u?", value):
            nothing = "return e_RET_ERR_INVALID_PARAM;" if value == "e_RET_OK" else "return {};"
            add("return", *match.span(), nothing if value else ";")
    return identified(text, sites)


def closing(bare, at):
    """Where the bracket closes that was opened in front of `at`."""
    depth = 1
    while True:
        depth += (bare[at] == "(") - (bare[at] == ")")
        if depth == 0:
            return at
        at += 1


def other_texts(text):
    """One character in the middle of what is no conversion and no escape, and the end of a line."""
    pieces = re.finditer(r"\\.|%[-0-9.]*[a-z%]|.", text[1:-1])
    plain = [1 + piece.start() for piece in pieces if len(piece[0]) == 1]
    for at in {plain[0], plain[len(plain) // 2], plain[-1]} if plain else ():
        yield text[:at] + ("_" if text[at] != "_" else "-") + text[at + 1 :]
    if text.endswith('\\n"'):
        yield text[:-3] + '"'


def identified(text, sites):
    """The sites in order, each with its lines."""
    seen = {}
    sites.sort(key=lambda site: (site.start, site.end, site.kind, site.replacement))
    for site in sites:
        start = text.rfind("\n", 0, site.start) + 1
        end = text.find("\n", site.end)
        site.line = text.count("\n", 0, site.start) + 1
        site.before = " ".join(text[start:end].split())
        site.after = " ".join((text[start : site.start] + site.replacement + text[site.end : end]).split())
        key = (site.before, site.after)
        seen[key] = site.occurrence = seen.get(key, 0) + 1
    return sites


def find_all():
    texts = {}
    for path in sorted(path for pattern in SOURCES for path in glob.glob(pattern, root_dir=REPO, recursive=True)):
        with open(os.path.join(REPO, path), encoding="utf-8") as file:
            texts[path] = file.read()
    names = all_names(texts.values())
    return [site for path, text in texts.items() for site in find_sites(path, text, names)]


def in_order(seed, sites):
    """The order in which sites are drawn: the kinds take turns. What decides is what a site says, not where it
    stands, so that an edit elsewhere leaves the draw as it is."""
    by_kind = {}
    for site in sorted(sites, key=lambda s: hashlib.sha256(repr((seed, s.identity)).encode()).digest()):
        by_kind.setdefault(site.kind, []).append(site)
    turns = range(max(map(len, by_kind.values()), default=0))
    return [of_kind[turn] for turn in turns for of_kind in by_kind.values() if turn < len(of_kind)]


# ---- The list of those that no test can kill --------------------------------------------------------------


def show(identity):
    path, before, after, occurrence = identity
    return f"{path}{f' #{occurrence}' if occurrence > 1 else ''}\n- {before}\n+ {after}\n"


def read_explained(path):
    """The mutants of the list; each is a block as `show` makes it, followed by its reason."""
    with open(path, encoding="utf-8") as file:
        blocks = [[line for line in block.split("\n") if line and line[0] != "#"] for block in file.read().split("\n\n")]
    result = set()
    for lines in filter(None, blocks):
        if len(lines) < 4 or not lines[1].startswith("- ") or not lines[2].startswith("+ "):
            raise SystemExit(f"{path}: not an entry: {lines[0]}")
        name, _, occurrence = lines[0].partition(" #")
        result.add((name, lines[1][2:], lines[2][2:], int(occurrence or 1)))
    return result


# ---- A tree in which they live ----------------------------------------------------------------------------


class Tree:
    """A copy of the sources and a build of the library with its tests."""

    def __init__(self, folder, sanitizers=""):
        self.source, self.build_dir = os.path.join(folder, "source"), os.path.join(folder, "build")
        self.temp = os.path.join(folder, "tmp")
        self.sanitizers = sanitizers
        self.seconds = {}  # that each test program takes
        os.makedirs(self.temp)
        shutil.copytree(REPO, self.source, ignore=lambda at, _: {".git", "build"} if at == REPO else ())
        options = {
            "CMAKE_BUILD_TYPE": "Debug", "QIR_BUILD_TESTS": "ON", "QIR_BUILD_SHARED": "OFF", "QIR_INSTALL": "OFF",
            "QIR_BUILD_STATIC_ORXTEST": "OFF", "QIR_WARNINGS_AS_ERRORS": "OFF", "QIR_SANITIZERS": sanitizers,
            "CMAKE_CXX_FLAGS_DEBUG": "-g1 -O1" if sanitizers else "-O0",
        }  # fmt: skip
        subprocess.run(["cmake", "-G", "Ninja", "-S", self.source, "-B", self.build_dir,
                        *(f"-D{name}={value}" for name, value in options.items())],
                       stdout=subprocess.DEVNULL, check=True)  # fmt: skip
        listed = subprocess.run(["ninja", "-t", "targets", "all"], cwd=self.build_dir, capture_output=True,
                                text=True, check=True).stdout  # fmt: skip
        self.programs = {os.path.basename(path): path for path in
                         re.findall(r"^(\S*\btest_\w+): CXX_EXECUTABLE_LINKER", listed, re.MULTILINE)
                         if not NOT_ASKED.match(os.path.basename(path))}  # fmt: skip
        done = self.build(self.programs, os.cpu_count())
        if done.returncode != 0:
            raise SystemExit(done.stdout + "\nthe tree does not build")
        for program in self.programs:
            began = time.monotonic()
            if failed := self.run(program, 600):
                raise SystemExit(f"{program} fails on the library as it is: {failed}")
            self.seconds[program] = time.monotonic() - began

    def build(self, targets, jobs=1):
        return subprocess.run(["ninja", f"-j{jobs}", *targets], cwd=self.build_dir, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, check=False)  # fmt: skip

    def run(self, program, timeout):
        """Runs a test program up to its first failure. What failed, or nothing."""
        def limits():
            resource.setrlimit(resource.RLIMIT_FSIZE, (MAX_FILE, MAX_FILE))
            if not self.sanitizers:  # which reserve addresses for shadows
                resource.setrlimit(resource.RLIMIT_AS, (MAX_MEMORY, MAX_MEMORY))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

        log = os.path.join(self.temp, "log")
        with open(log, "wb") as out, subprocess.Popen(
            [os.path.join(self.build_dir, self.programs[program]), "--gtest_fail_fast", "--gtest_brief=1"],
            stdin=subprocess.DEVNULL, stdout=out, stderr=out, cwd=self.temp,
            env={**os.environ, "TMPDIR": self.temp}, start_new_session=True, preexec_fn=limits,
        ) as child:  # fmt: skip
            try:
                status = child.wait(timeout)
            except subprocess.TimeoutExpired:
                os.killpg(child.pid, signal.SIGKILL)
                return "does not end"
        with open(log, errors="replace") as file:
            failed = re.findall(r"^\[  FAILED  \] (\w[\w/.]*\.\S+?),? ", file.read(), re.MULTILINE)
        shutil.rmtree(self.temp)
        os.mkdir(self.temp)
        return "" if status == 0 else failed[0] if failed else f"status {status}"

    def judge(self, site):
        """What becomes of a mutant, and by what. Programs that bear a word of its path come first, then the
        fast ones."""
        path = os.path.join(self.source, site.path)
        with open(path, encoding="utf-8") as file:
            original = file.read()
        try:
            with open(path, "w", encoding="utf-8") as file:
                file.write(original[: site.start] + site.replacement + original[site.end :])
            for program in sorted(self.programs, key=lambda p: (p[5:].rstrip("s") not in site.path, self.seconds[p])):
                done = self.build([program])
                if done.returncode != 0:
                    asserted = re.search("static assertion failed|does not have a constant init", done.stdout)
                    return "compiler" if asserted else "invalid", ""
                if failed := self.run(program, 15 + 6 * self.seconds[program]):
                    return "killed", f"{program}: {failed}"
            return "survived", ""
        finally:
            with open(path, "w", encoding="utf-8") as file:
                file.write(original)


# ---- All of them ------------------------------------------------------------------------------------------


def judge_all(folder, name, sites, number, jobs, sanitizers=""):
    """Judges sites until `number` have compiled. The verdict and by what, of each."""
    say(f"building the library and its tests{sanitizers and ' with sanitizers'}, {jobs} times")
    trees = [Tree(os.path.join(folder, f"{name}{i}"), sanitizers) for i in range(jobs)]
    left, results, began = queue.SimpleQueue(), [], time.monotonic()
    for site in sites:
        left.put(site)

    def compiled():
        return sum(verdict in ("killed", "survived") for _, verdict, _ in results)

    def work(tree):
        while compiled() < number and not left.empty():
            site = left.get()
            verdict, by = tree.judge(site)
            results.append((site, verdict, by))
            say(f"[{compiled():3}/{number} {time.monotonic() - began:5.0f} s] {verdict:8} {site.kind:10} "
                f"{site.path}:{site.line} {site.before[:70]}  ->  {site.after[:70]}  {by}")

    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        for done in [pool.submit(work, tree) for tree in trees]:
            done.result()
    return results


def report(results, explained):
    """What came of it, on standard output; the number of survivors that nobody has explained and of
    explanations that turned out wrong."""
    count = dict.fromkeys(("killed", "explained", "survived", "compiler", "invalid"), 0)
    wrong = 0
    for site, verdict, by in results:
        known = site.identity in explained
        count["explained" if verdict == "survived" and known else verdict] += 1
        if (verdict == "survived" and not known) or (verdict == "killed" and known):
            wrong += 1
            print(f"{site.path}:{site.line}: {verdict} {by}{' but explained' if known else ''}\n\n{show(site.identity)}")
    for what, names in (("killed by a test", "killed"), ("survived, explained", "explained"), ("survived", "survived"),
                        ("refused by an assertion of the compiler", "compiler"), ("not C++", "invalid")):  # fmt: skip
        print(f"{what:40}{count[names]:5}")
    return wrong


def main():
    parser = argparse.ArgumentParser(prog="mutate.sh", description="Mutation testing of log/ and qirapi/.")
    parser.add_argument("-n", "--number", type=int, default=300, help="mutants, default 300")
    parser.add_argument("-s", "--seed", default="1", help="another seed draws others, default 1")
    parser.add_argument("-f", "--file", default="", help="only of files with this in their path")
    parser.add_argument("-j", "--jobs", type=int, default=1, help="trees, each with a mutant, default 1")
    parser.add_argument("-l", "--list", action="store_true", help="list the draw and end")
    arguments = parser.parse_args()

    found = find_all()
    explained = read_explained(os.path.join(HERE, "explained.txt"))
    stale = explained - {site.identity for site in found}
    for identity in sorted(stale):
        print(f"explained, but no longer a mutant of the sources:\n\n{show(identity)}")
    draw = in_order(arguments.seed, [site for site in found if arguments.file in site.path])
    if arguments.list:
        for site in draw[: arguments.number]:
            print(f"{site.kind}, line {site.line}\n{show(site.identity)}")
        return 1 if stale else 0

    with tempfile.TemporaryDirectory(prefix="orx-mutants.", ignore_cleanup_errors=True) as folder:
        results = judge_all(folder, "plain", draw, arguments.number, arguments.jobs)
        again = [site for site, verdict, _ in results if verdict == "survived" and site.identity not in explained]
        if again:
            killed = {site.identity: result for site, *result in
                      judge_all(folder, "sanitized", again, len(again), arguments.jobs, "address,undefined")
                      if result[0] == "killed"}  # fmt: skip
            results = [(site, *killed.get(site.identity, result)) for site, *result in results]
    return 1 if report(results, explained) + len(stale) else 0


if __name__ == "__main__":
    sys.exit(main())
