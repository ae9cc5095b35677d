#!/usr/bin/env python3
"""The deepest stack of the library's public calls: stack.py BUILD [CALL]

Compiles the library's sources once more, with the commands of a GCC build's compile_commands.json and
-fcallgraph-info=su, and follows the calls; functions that are the same are kept apart, or they would lose
their names. With the name of a call it shows that call's deepest path.

It does not count what the C library takes below; it names the C library's functions that are called.
"""

import concurrent.futures
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

INDIRECT = "__indirect_call"

# Calls through pointers and what they can reach, by the functions' names. A caller without a row is an error.
# A function that serves one kind of request reaches functions of that kind only.
INDIRECT_TARGETS = [
    (r"OpenRequest", r"Log\w+"),
    (r"Config(Filter|Action)", r"Log\w+|Validate_Config_\w+|Config_\w+"),
    (r"Get(Filter|Action)", r"Log\w+|Validate_Get_\w+|Get_\w+"),
    (r"AppendReq|StoreReq|StoreFilter|StoreAction|Config_\w+(Filter|Action)", r"FillReq_\w+"),
    (r"ChangeDstPorts", r"(Add|Rem)DstPort\w+"),
    (r"qel_dataDump", None),  # the printer, which is the caller's
]
KIND = re.compile(r"RequestKind<(\w+)|Record = (?:qir::)?(\w+)|\b(\w+(?:Filter|Action)) ?[*&]")

NODE = re.compile(r'^node: \{ title: "([^"]*)" label: "([^"]*)"(.*)\}')
EDGE = re.compile(r'^edge: \{ sourcename: "([^"]*)" targetname: "([^"]*)"')


def plain(name):
    """A function's own name: without its result, its namespaces and its parameters."""
    return re.search(r"(\w+)\(", name).group(1)


def demangled(title):
    """The name of a function whose label lacks it, which is so when its parameters end in an ellipsis."""
    return subprocess.run(["c++filt", title], check=True, capture_output=True, text=True).stdout.strip()


class Graph:
    def __init__(self):
        self.frames = {}  # title: bytes, of the functions that are defined
        self.names = {}  # title: name as people read it
        self.calls = {}  # title: set of titles
        self.unbounded = set()

    def read(self, text):
        for line in text.splitlines():
            if match := NODE.match(line):
                title, label, rest = match.groups()
                parts = label.split("\\n")
                if "ellipse" in rest:
                    self.names.setdefault(title, title)
                    continue
                size = re.fullmatch(r"(\d+) bytes \((.*)\)", parts[2])
                self.frames[title] = int(size.group(1))
                self.names[title] = parts[0] if "(" in parts[0] else demangled(title)
                if size.group(2) == "dynamic":
                    self.unbounded.add(title)
            elif match := EDGE.match(line):
                self.calls.setdefault(match.group(1), set()).add(match.group(2))

    def targets(self, title):
        """What a function calls, with the calls through pointers resolved."""
        found = set()
        for target in self.calls.get(title, ()):
            if target == INDIRECT:
                found |= self.indirect(title)
            else:
                found.add(target)
        return found

    def indirect(self, title):
        name = self.names[title]
        kind = KIND.search(name)
        kind = kind and kind[kind.lastindex]
        for caller, target in INDIRECT_TARGETS:
            if re.fullmatch(caller, plain(name)):
                return {t for t in self.frames if target and re.fullmatch(target, plain(self.names[t]))
                        and (kind is None or re.search(rf"\b{kind}\b", self.names[t]))}
        sys.exit(f"stack.py: {name} calls through a pointer: INDIRECT_TARGETS has no row for it")


class Depths:
    """The deepest path below each function."""

    def __init__(self, graph):
        self.graph = graph
        self.known = {}

    def of(self, title, path=()):
        if title in path:
            names = [self.graph.names[t] for t in path[path.index(title) :]]
            sys.exit("stack.py: recursion, no deepest stack: " + " -> ".join(names))
        if title not in self.graph.frames:
            return 0, ()
        if title not in self.known:
            below = [self.of(target, path + (title,)) for target in sorted(self.graph.targets(title))]
            depth, deepest = max(below, key=lambda entry: entry[0], default=(0, ()))
            self.known[title] = (self.graph.frames[title] + depth, (title,) + deepest)
        return self.known[title]


def compile_graph(entry, folder):
    """The call graph of one source, from the build's own compiler and options."""
    command = [part for part in shlex.split(entry["command"]) if os.path.basename(part) != "ccache"]
    output = command.index("-o") + 1
    command[output] = os.path.join(folder, entry["file"].replace("/", "_") + ".o")
    subprocess.run(command + ["-fcallgraph-info=su", "-fno-ipa-icf"], cwd=entry["directory"], check=True)
    return pathlib.Path(command[output]).with_suffix(".ci").read_text()


def library_graph(build):
    entries = json.loads(pathlib.Path(build, "compile_commands.json").read_text())
    repo = pathlib.Path(__file__).resolve().parent.parent
    sources = [e for e in entries if pathlib.Path(e["file"]).relative_to(repo).parts[0] in ("log", "qirapi")]
    graph = Graph()
    with tempfile.TemporaryDirectory() as folder:
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            for text in pool.map(lambda entry: compile_graph(entry, folder), sources):
                graph.read(text)
    return graph


def is_public(title):
    return re.match(r"QIR_|Is_Orx_free$|qel(Log|Fun)?_", title) is not None


def deepest(build):
    """Depth in bytes of each public call, and the path of the deepest."""
    graph = library_graph(build)
    depths = Depths(graph)
    calls = {title: depths.of(title) for title in graph.frames if is_public(title)}
    reached = set()
    for title in graph.frames:
        reached |= graph.targets(title) - graph.frames.keys()
    return {
        "calls": {title: depth for title, (depth, _) in sorted(calls.items())},
        "paths": {
            title: [[graph.frames[t], graph.names[t]] for t in path] for title, (_, path) in calls.items()
        },
        "unbounded": sorted(graph.names[t] for t in graph.unbounded),
        "outside": sorted(reached),
    }


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    result = deepest(sys.argv[1])
    call = sys.argv[2] if len(sys.argv) == 3 else max(result["calls"], key=result["calls"].get)
    print(f"{call}: {result['calls'][call]} bytes")
    for frame, name in result["paths"][call]:
        print(f"{frame:8} {name}")
    print("dynamic frames:", ", ".join(result["unbounded"]) or "none")
    print("not counted, outside the library:", ", ".join(result["outside"]))


if __name__ == "__main__":
    main()
