#!/usr/bin/env python3
"""Puts the measurements together: report.py [--update] RESULTS BUILD [TARGET=BUILD...]

RESULTS is the folder with what bench.sh measured. Prints the tables and writes RESULTS/report.json. Fails
when an operation takes more instructions than bench/instructions.json says, or misses a goal that no busy
machine can miss; --update writes that file anew, and the tables in docs/performance.md.
"""

import json
import pathlib
import platform
import re
import shlex
import subprocess
import sys
import typing

import stack

REPO = pathlib.Path(__file__).resolve().parent.parent
COUNTS = REPO / "bench/instructions.json"
DOC = REPO / "docs/performance.md"
DOC_BEGIN = "<!-- The tables below are written by ./bench.sh --update. -->\n"
DOC_END = "<!-- End of the tables. -->\n"

# Counts are the same from run to run; what a compiler's patch level may change is not a regression.
TOLERANCE_PERCENT = 1


class Goal(typing.NamedTuple):
    """The most that a ratio may be, of what is measured. One that a busy machine may miss is only shown."""
    most: float
    of: str
    binding: bool


# What is measured and its operation; what it is compared with and its operation; the goal, if there is one.
COMPARISONS = [
    ("`QIR_Init_Sys`", "init_sys", "filling as many bytes as the context has", "fill_context",
     Goal(2, "nanoseconds", False)),
    ("a whole flow, requests answered in-process", "flow_in_process",
     "filling and copying the bytes that it must write", "flow_bytes", None),
    ("the same", "flow_in_process", "the system calls of its two requests", "system_calls",
     Goal(0.5, "nanoseconds", True)),  # far away: a tenth of it is usual
    ("a whole flow, on a null device", "flow_null_device", "the same system calls", "system_calls", None),
    ("a call refused at its first check, with its two error lines", "refused_call",
     "an empty call", "empty_call", None),
    ("a reading call, its two information lines off", "reading_call", "an empty call", "empty_call", None),
    ("allocating and freeing the 512th flow", "alloc_last", "the first", "alloc_first",
     Goal(2, "instructions", True)),
    ("adding the 27th filter", "add_27th_filter", "the first", "add_first_filter", None),
    ("reading back a list of 27", "read_list_of_27", "a list of 1", "read_list_of_1", None),
    ("`orxtest -t 0` on the stand-in, as a process", "orxtest", "`/bin/true`", "true", None),
]
LINE_GOAL = 5

SECTIONS = (".text", ".rodata", ".data", ".bss")


def first_line(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()[0]


def cached(build, name):
    """An entry of a build's CMake cache."""
    match = re.search(rf"^{name}:\w+=(.*)$", (build / "CMakeCache.txt").read_text(), re.M)
    return match.group(1) if match else ""


def compiler(build):
    commands = json.loads((build / "compile_commands.json").read_text())
    return first_line(shlex.split(next(c for c in commands if c["file"].endswith(".cpp"))["command"])[0],
                      "--version")


def tools(build):
    """What the counts depend on besides the source."""
    return {
        "machine": platform.machine(),
        "compiler": compiler(build),
        "options": cached(build, "CMAKE_CXX_FLAGS_RELEASE"),
        "libc": first_line("ldd", "--version"),
        "valgrind": first_line("valgrind", "--version"),
    }


def processor():
    match = re.search(r"^model name\s*: (.*)$", pathlib.Path("/proc/cpuinfo").read_text(), re.M)
    return match.group(1) if match else platform.machine()


def times(results):
    """Nanoseconds of each operation: the shortest of the repetitions, which other programs disturbed least."""
    shortest = {}
    for run in json.loads((results / "time.json").read_text())["benchmarks"]:
        if run["run_type"] == "iteration":
            name = run["run_name"].split("/")[0]
            each = 1e9 / run["items_per_second"]
            shortest[name] = min(shortest.get(name, each), each)
    return shortest


def requests(results):
    """Nanoseconds of a request from open to close, by where it goes."""
    return {path.name.removeprefix("request-"): float(path.read_text())
            for path in sorted(results.glob("request-*"))}


def profile_counts(folder):
    """Instructions of each operation of one run under callgrind."""
    counts = {}
    for profile in folder.glob("operations.*"):
        text = profile.read_text()
        name = re.search(r"^desc: Trigger: Client Request: (\w+)$", text, re.M)
        if name:
            counts[name.group(1)] = int(re.search(r"^summary: (\d+)$", text, re.M).group(1))
    nothing = counts.pop("nothing")
    counts = {name: count - nothing for name, count in counts.items()}
    for profile in folder.glob("process-*"):
        name = profile.name.removeprefix("process-")
        counts[name] = int(re.search(r"^(?:summary|totals): (\d+)$", profile.read_text(), re.M).group(1))
    return counts


def functions(profile):
    """Instructions of each function itself, the most first."""
    counts, function, called = {}, None, False
    for line in profile.splitlines():
        if line.startswith("fn="):
            function = line[3:]
        elif line.startswith("calls="):
            called = True  # the next line is what the called functions took
        elif cost := re.fullmatch(r"(?:[+-]?\d+|\*) (\d+)", line):
            if function and not called:
                counts[function] = counts.get(function, 0) + int(cost.group(1))
            called = False
    return dict(sorted(counts.items(), key=lambda item: -item[1]))


def profiles(results):
    texts = [path.read_text() for path in (results / "counts-1").glob("operations.*")]
    found = [(re.search(r"Client Request: (\w+)$", text, re.M), text) for text in texts]
    return {name.group(1): functions(text) for name, text in found if name}


def instruction_counts(results):
    """Of two runs, which have to agree."""
    first, second = profile_counts(results / "counts-1"), profile_counts(results / "counts-2")
    for name in sorted(first):
        if abs(first[name] - second[name]) * 100 > TOLERANCE_PERCENT * first[name]:
            sys.exit(f"{name}: {first[name]} instructions in one run, {second[name]} in the next")
    return {name: min(first[name], second[name]) for name in sorted(first)}


def memory(build, name):
    """Sizes of one target's library and the deepest stack of its calls."""
    archives = [build / "qirapi/libqirapi.a", build / "log/libqel_log.a"]
    nm = cached(build, "CMAKE_NM")
    size = re.sub(r"(gcc-)?nm(-?[0-9.]*)$", r"size\2", nm)
    program = build / "app/orxtest-static"
    lines = subprocess.run(["sh", REPO / "scripts/sizes.sh", size, program, *archives],
                           check=True, capture_output=True, text=True).stdout.splitlines()
    sizes = {section: sum(int(re.search(rf"{re.escape(section)} (\d+)", line).group(1)) for line in lines[1:])
             for section in SECTIONS}
    symbols = subprocess.run([nm, "-S", archives[0]], check=True, capture_output=True, text=True).stdout
    context = int(re.search(r"^\w+ (\w+) \w qirCtxt_g$", symbols, re.M).group(1), 16)
    depths = stack.deepest(build)
    deepest = max(depths["calls"], key=depths["calls"].get)
    return {"target": name, "compiler": compiler(build), "context": context, "sizes": sizes,
            "deepest_call": deepest, "deepest_stack": depths["calls"][deepest], "stacks": depths["calls"],
            "unbounded": depths["unbounded"]}


def show_time(nanoseconds):
    for unit, factor in (("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= factor:
            return f"{nanoseconds / factor:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def show_ratio(ratio):
    return f"{ratio:.0f}" if ratio >= 100 else f"{ratio:.2g}"


def line_off(counts):
    """Instructions of an information line that is off."""
    return counts["call_with_line"] - counts["call_without_line"]


def reached(report, name, other, goal):
    return report[goal.of][name] <= goal.most * report[goal.of][other]


def missed_goals(report):
    """A sentence for each goal that is missed though a busy machine cannot miss it."""
    missed = [f"{name} takes more than {goal.most} times the {goal.of} of {other}"
              for _, name, _, other, goal in COMPARISONS
              if goal and goal.binding and not reached(report, name, other, goal)]
    if line_off(report["instructions"]) > LINE_GOAL:
        missed.append(f"an information line that is off takes more than {LINE_GOAL} instructions")
    return missed


def show_goal(most, unit, is_reached):
    return f"at most {most}{unit}: {'reached' if is_reached else 'missed'}"


def speed_table(report):
    time, counts = report["nanoseconds"], report["instructions"]
    rows = ["| what | time | instructions | against | time | instructions | times | goal |",
            "|---|--:|--:|---|--:|--:|--:|---|"]
    for what, name, against, other, goal in COMPARISONS:
        ratio = time[name] / time[other]
        unit = " times the instructions" if goal and goal.of == "instructions" else ""
        shown = show_goal(goal.most, unit, reached(report, name, other, goal)) if goal else ""
        rows.append(f"| {what} | {show_time(time[name])} | {counts[name]} | {against} "
                    f"| {show_time(time[other])} | {counts[other]} | {show_ratio(ratio)} | {shown} |")
    took = report["requests"]
    for where, key in (("in its process", "in-process"), ("in a session", "in-session")):
        rows.append(f"| a request through the stand-in, {where} | {show_time(took[key])} | "
                    f"| the three system calls of a null device | {show_time(took['null'])} | "
                    f"| {show_ratio(took[key] / took['null'])} | |")
    line = line_off(counts)
    rows.append(f"| an information line that is off | | {line} | no line | | 0 | "
                f"| {show_goal(LINE_GOAL, ' instructions', line <= LINE_GOAL)} |")
    return rows


def memory_table(targets):
    rows = ["| target | context | " + " | ".join(SECTIONS) + " | deepest stack of a public call |",
            "|---|--:|" + "--:|" * len(SECTIONS) + "---|"]
    for target in targets:
        sizes = " | ".join(str(target["sizes"][section]) for section in SECTIONS)
        rows.append(f"| {target['target']} | {target['context']} | {sizes} "
                    f"| {target['deepest_stack']}, `{target['deepest_call']}` |")
    return rows


def tables(report):
    told = report["tools"]
    return "\n".join([
        f"Processor: {report['processor']}. {told['compiler']}, {told['options']}; {told['libc']}; "
        f"{told['valgrind']}.",
        "", *speed_table(report),
        "", "Bytes; the library is both archives, the stack without what the C library takes.",
        "", *memory_table(report["memory"]),
        "", *(f"- {target['target']}: {target['compiler']}" for target in report["memory"]), "",
    ])


def compare(report):
    """Differences from the committed counts. Returns whether all is well."""
    committed = json.loads(COUNTS.read_text())
    differing = {key: (value, report["tools"][key]) for key, value in committed["tools"].items()
                 if report["tools"][key] != value}
    worse = []
    for name in sorted(committed["instructions"].keys() | report["instructions"].keys()):
        was, now = committed["instructions"].get(name), report["instructions"].get(name)
        if was is None or now is None:
            worse.append(name)
            print(f"{name}: {'not in bench/instructions.json' if was is None else 'not measured any more'}")
        elif now != was:
            beyond = (now - was) * 100 > TOLERANCE_PERCENT * was
            worse += [name] if beyond else []
            print(f"{name}: {was} instructions before, {now} now ({(now - was) / was:+.1%})"
                  f"{', MORE' if beyond else ''}")
    if differing:
        for key, (was, now) in differing.items():
            print(f"The committed counts were made with another {key}: {was}; here: {now}.")
        print("Counts of different tools do not compare: the differences above are not judged.")
        return True
    print(f"{len(worse)} of {len(report['instructions'])} operations take more instructions than "
          f"bench/instructions.json says (beyond {TOLERANCE_PERCENT} %).")
    return not worse


def update(report):
    COUNTS.write_text(json.dumps({key: report[key] for key in ("tools", "instructions")}, indent=2) + "\n")
    doc = DOC.read_text()
    begin, end = doc.index(DOC_BEGIN) + len(DOC_BEGIN), doc.index(DOC_END)
    DOC.write_text(doc[:begin] + "\n" + tables(report) + "\n" + doc[end:])


def main():
    arguments = sys.argv[1:]
    updating = arguments[:1] == ["--update"]
    if updating:
        arguments.pop(0)
    if len(arguments) < 2:
        sys.exit(__doc__)
    results, build = pathlib.Path(arguments[0]), pathlib.Path(arguments[1])
    targets = [("native", build)] + [(name, pathlib.Path(path))
                                     for name, path in (target.split("=", 1) for target in arguments[2:])]
    report = {
        "processor": processor(),
        "tools": tools(build),
        "nanoseconds": times(results),
        "requests": requests(results),
        "instructions": instruction_counts(results),
        "profiles": profiles(results),
        "memory": [memory(path, name) for name, path in targets],
    }
    (results / "report.json").write_text(json.dumps(report, indent=2) + "\n")
    print(tables(report))
    missed = missed_goals(report)
    for sentence in missed:
        print(f"MISSED: {sentence}.")
    if updating:
        update(report)
        return 1 if missed else 0
    return 0 if compare(report) and not missed else 1


if __name__ == "__main__":
    sys.exit(main())
