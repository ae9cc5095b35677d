#!/usr/bin/env python3
"""Mutation testing of log/ and qirapi/: changes the sources, one small change at a time, and asks whether the
tests notice. docs/mutation.md says how it is used and what came of it."""

import argparse
import concurrent.futures
import filecmp
import glob
import hashlib
import json
import os
import queue
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time

import explained
import sites as mutations

REPO = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

# The test programs, those that need the least time first.
PROGRAMS = [
    "bad_arguments", "log", "data_dump", "app", "emu", "orxtest", "examples", "context", "driver", "ports",
    "filters", "actions", "flows", "return_codes", "faults", "tables", "rate_limiters",
]  # fmt: skip

# Left out: docs, install, link and words look at what is built, not at what the library does; layout reads
# debug information, which this build has none of: what the program can see of it is pinned beside the
# records; journal and the programs orxemu_* are about logs and the tool, which decodes records on its own.

# The rooms that a source file belongs to: their tests come first. The first row that fits counts.
ROOMS = [
    ("log/qel_data_dump", ["data_dump"]),
    ("log/qel_fun", ["data_dump"]),
    ("log/", ["log", "data_dump"]),
    ("qirapi/public/codes", ["context", "return_codes"]),
    ("qirapi/public/tables", ["context", "tables"]),
    ("qirapi/public/rate_limiters", ["rate_limiters"]),
    ("qirapi/public/ports", ["ports"]),
    ("qirapi/public/", ["context"]),
    ("qirapi/driver/", ["driver", "faults"]),
    ("qirapi/private/startup", ["context"]),
    ("qirapi/private/context", ["context"]),
    ("qirapi/private/rule", ["context", "filters", "actions"]),
    ("qirapi/private/report", ["context", "return_codes"]),
    ("qirapi/private/request_", ["filters", "actions"]),
    ("table", ["tables"]),
    ("filter", ["filters", "context"]),
    ("action", ["actions", "context"]),
    ("rate_limiters", ["rate_limiters"]),
    ("rl_access", ["rate_limiters"]),
    ("ports", ["ports"]),
    ("request_", ["filters", "actions"]),
    ("", ["flows", "context"]),
]

# Headers that all tests include.
EVERYWHERE = ("log/qel_log.h", "qirapi/public/", "qirapi/private/context.h", "qirapi/private/fcb_records.h",
              "qirapi/private/table_records.h")

SOURCES = ["log/*.cpp", "log/*.h", "qirapi/**/*.cpp", "qirapi/**/*.h"]
MAX_FILE = 256 << 20  # what a mutant may write, and
MAX_MEMORY = 8 << 30  # how much memory it may ask for


def say(text):
    print(text, file=sys.stderr, flush=True)


def own_programs(site):
    return next(rooms for part, rooms in ROOMS if part in site.path)


def all_programs(site):
    own = own_programs(site)
    return own + [program for program in PROGRAMS if program not in own]


# ---- Which mutants ----------------------------------------------------------------------------------------


def read_sources():
    paths = sorted(path for pattern in SOURCES for path in glob.glob(pattern, root_dir=REPO, recursive=True))
    texts = {}
    for path in paths:
        with open(os.path.join(REPO, path), encoding="utf-8") as file:
            texts[path] = file.read()
    return texts


def find_all():
    """All sites and the number of code lines, by file."""
    texts = read_sources()
    names = mutations.Names(texts.values())
    found, lines = {}, {}
    for path, text in texts.items():
        found[path], lines[path] = mutations.find(path, text, names)
    return found, lines


def rank(seed, site):
    return hashlib.sha256("|".join(map(str, (seed, *site.identity))).encode()).hexdigest()


def in_order(seed, sites):
    """The sites of a file in the order in which they are drawn: the kinds take turns. What decides is what a
    site says, not where it stands, so that an edit elsewhere leaves the draw as it is."""
    by_kind = {}
    for site in sorted(sites, key=lambda site: rank(seed, site)):
        by_kind.setdefault(site.kind, []).append(site)
    drawn, kinds = [], sorted(by_kind.values(), key=lambda of_kind: rank(seed, of_kind[0]))
    for turn in range(max(map(len, kinds), default=0)):
        drawn += [of_kind[turn] for of_kind in kinds if turn < len(of_kind)]
    return drawn


def quotas(total, found, lines):
    """How many mutants of each file: in proportion to its lines, at least one where there are sites."""
    files = [path for path in found if found[path]]
    whole = sum(lines[path] for path in files)
    shares = {path: total * lines[path] / whole for path in files}
    least = 1 if total >= len(files) else 0
    quota = {path: min(len(found[path]), max(least, int(shares[path]))) for path in files}
    for path in sorted(files, key=lambda path: int(shares[path]) - shares[path]):
        if sum(quota.values()) >= total:
            break
        quota[path] = min(len(found[path]), quota[path] + 1)
    return quota


# ---- A tree in which they live ----------------------------------------------------------------------------

NOT_COPIED = {".git", "build", ".cache"}


def copy_if_other(old, new):
    if not os.path.isfile(new) or not filecmp.cmp(old, new, shallow=False):
        shutil.copyfile(old, new)
        shutil.copymode(old, new)


SLOW = 0.02  # seconds


def slow_tests(path):
    with open(path, encoding="utf-8") as file:
        suites = json.load(file)["testsuites"]
    return [f"{test['classname']}.{test['name']}" for suite in suites for test in suite["testsuite"]
            if float(test["time"].rstrip("s")) >= SLOW]


class Tree:
    """A copy of the sources and its build, plain or under the sanitizers."""

    PLAIN = {"CMAKE_CXX_FLAGS_DEBUG": "-O0 -w", "CMAKE_C_FLAGS_DEBUG": "-O0 -w"}
    SANITIZED = {"CMAKE_CXX_FLAGS_DEBUG": "-g1 -O1", "CMAKE_C_FLAGS_DEBUG": "-g1 -O1",
                 "QIR_SANITIZERS": "address,undefined"}

    def __init__(self, folder, options):
        self.folder = folder
        self.options = options
        self.source = os.path.join(folder, "source")
        self.build_dir = os.path.join(folder, "build")
        self.temp = os.path.join(folder, "tmp")
        self.slow = {}  # the tests of each program that take long
        self.seconds = {}
        if os.path.exists(self.temp):
            shutil.rmtree(self.temp)
        os.makedirs(self.temp)
        self.copy()

    def copy(self):
        """Brings the copy up to date; what is the same keeps its time, so that it is not built again."""
        shutil.copytree(REPO, self.source, dirs_exist_ok=True, copy_function=copy_if_other,
                        ignore=lambda folder, names: NOT_COPIED.intersection(names) if folder == REPO else ())
        for folder, _, files in os.walk(self.source):
            for file in files:
                path = os.path.join(folder, file)
                if not os.path.exists(os.path.join(REPO, os.path.relpath(path, self.source))):
                    os.remove(path)

    def prepare(self, programs):
        """Builds the test programs and runs them on the library as it is."""
        options = {
            "CMAKE_BUILD_TYPE": "Debug", "QIR_BUILD_TESTS": "ON", "QIR_BUILD_SHARED": "OFF",
            "QIR_INSTALL": "OFF", "QIR_BUILD_STATIC_ORXTEST": "OFF", "QIR_WARNINGS_AS_ERRORS": "OFF",
            **self.options,
        }  # fmt: skip
        configure = ["cmake", "-G", "Ninja", "-S", self.source, "-B", self.build_dir]
        configure += [f"-D{name}={value}" for name, value in options.items()]
        done = subprocess.run(configure, capture_output=True, text=True, check=False)
        if done.returncode == 0:
            done = self.build([f"test_{program}" for program in programs])
        if done.returncode != 0:
            raise SystemExit(done.stdout + done.stderr + "\nthe tree does not build")
        for program in programs:
            began = time.monotonic()
            times = os.path.join(self.folder, "times")
            verdict = self.run(program, 600, f"--gtest_output=json:{times}")
            self.seconds[program] = time.monotonic() - began
            if verdict:
                raise SystemExit(f"test_{program} fails on the library as it is: {verdict}")
            self.slow[program] = slow_tests(times)

    def build(self, targets):
        return subprocess.run(["ninja", "-j1" if self.seconds else f"-j{os.cpu_count()}", *targets],
                              cwd=self.build_dir, capture_output=True, text=True, check=False)

    def path_of(self, program):
        for folder in ("tests", f"tests/{program}", "tests/app"):
            path = os.path.join(self.build_dir, folder, f"test_{program}")
            if os.path.isfile(path):
                return path
        raise SystemExit(f"there is no test_{program}")

    def run(self, program, timeout, *more):
        """Runs a test program up to its first failure. What failed, or nothing."""
        def limits():
            resource.setrlimit(resource.RLIMIT_FSIZE, (MAX_FILE, MAX_FILE))
            if "QIR_SANITIZERS" not in self.options:  # which reserve addresses for shadows
                resource.setrlimit(resource.RLIMIT_AS, (MAX_MEMORY, MAX_MEMORY))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

        command = [self.path_of(program), "--gtest_fail_fast", "--gtest_brief=1", *more]
        log = os.path.join(self.temp, "log")
        with open(log, "wb") as out, subprocess.Popen(
            command, stdin=subprocess.DEVNULL, stdout=out, stderr=out, cwd=self.temp,
            env={**os.environ, "TMPDIR": self.temp}, start_new_session=True, preexec_fn=limits,
        ) as child:  # fmt: skip
            try:
                status = child.wait(timeout)
            except subprocess.TimeoutExpired:
                os.killpg(child.pid, signal.SIGKILL)
                return "does not end"
        with open(log, errors="replace") as file:
            failed = [line.split()[3] if line.startswith("[  FAILED  ] 1") else line[13:].strip()
                      for line in file if line.startswith("[  FAILED  ] ")]
        shutil.rmtree(self.temp)
        os.mkdir(self.temp)
        if status == 0:
            return ""
        if failed:
            return failed[0].split(" (")[0].rstrip(",")
        return f"signal {-status}" if status < 0 else f"status {status}"

    # ---- One mutant ---------------------------------------------------------------------------------

    def judge(self, site, programs):
        """killed, compiler (killed by it), invalid (does not compile) or survived, and by what."""
        path = os.path.join(self.source, site.path)
        with open(path, encoding="utf-8") as file:
            original = file.read()
        with open(path, "w", encoding="utf-8") as file:
            file.write(original[: site.start] + site.replacement + original[site.end :])
        try:
            return self.judge_tree(programs)
        finally:
            with open(path, "w", encoding="utf-8") as file:
                file.write(original)

    def judge_tree(self, programs):
        for program in programs:
            verdict = self.judge_build([f"test_{program}"])
            if verdict:
                return verdict
            for tests in self.in_two(program):
                failed = self.run(program, 15 + 6 * self.seconds[program], f"--gtest_filter={tests}")
                if failed:
                    return "killed", f"{program}: {failed}"
        return "survived", ""

    def in_two(self, program):
        """The tests of a program: those that take no time, then the others, which take nearly all of it."""
        slow = ":".join(self.slow[program])
        return [f"-{slow}", slow] if slow else ["*"]

    def judge_build(self, targets):
        done = self.build(targets)
        if done.returncode == 0:
            return None
        output = done.stdout + done.stderr
        for mark in ("static assertion failed", "does not have a constant initializer"):
            if mark in output:
                return "compiler", mark
        return "invalid", ""


# ---- All of them ------------------------------------------------------------------------------------------


class Run:
    """Judges mutants file by file until every file has its number of those that compile. Those that survive
    are judged again by their rooms' tests under the sanitizers."""

    COUNTED = ("killed", "survived")

    def __init__(self, arguments, found, quota):
        self.seed = arguments.seed
        self.jobs = arguments.jobs
        self.output = arguments.output
        self.known = {identity: result for identity, result in read_results(arguments.output).items()
                      if result[0] != "survived"}
        self.work_folder = ""
        # Last those for whose mutants all tests are built anew.
        paths = sorted(quota, key=lambda path: (path.startswith(EVERYWHERE), path))
        self.draws = [(quota[path], in_order(self.seed, found[path])) for path in paths]
        self.wanted = sum(quota.values())
        self.results = []
        self.lock = threading.Lock()
        self.began = time.monotonic()

    def judge(self, reasons):
        trees = self.trees("plain", Tree.PLAIN, PROGRAMS)
        self.judge_draws(trees, self.draws)
        if (missing := self.wanted - self.counted()) > 0:  # files that had no more mutants that compile
            left = [site for _, sites in self.draws for site in sites if not self.is_judged(site)]
            self.judge_draws(trees, [(missing, in_order(self.seed, left))])
        survivors = [result for result in self.results
                     if result["verdict"] == "survived" and result["site"].identity not in reasons]
        if survivors:
            own = {program for result in survivors for program in own_programs(result["site"])}
            self.judge_again(self.trees("sanitized", Tree.SANITIZED, sorted(own)), survivors)

    def trees(self, name, options, programs):
        folders = [os.path.join(self.work_folder, f"{name}{i}") for i in range(self.jobs)]
        trees = [Tree(folder, options) for folder in folders]
        for tree in trees:
            say(f"building the library and its tests, {name}, in {tree.source}")
            tree.prepare(programs)
        say("the tests pass on the library as it is")
        return trees

    def share(self, trees, items, judge):
        """Every tree judges the next item until there is none."""
        left = queue.Queue()
        for item in items:
            left.put(item)

        def worker(tree):
            while True:
                try:
                    item = left.get_nowait()
                except queue.Empty:
                    return
                judge(tree, item)

        with concurrent.futures.ThreadPoolExecutor(len(trees)) as pool:
            for done in [pool.submit(worker, tree) for tree in trees]:
                done.result()

    def judge_draws(self, trees, draws):
        def judge(tree, draw):
            wanted, sites = draw
            counted = 0
            for site in sites:
                if counted == wanted:
                    break
                known = self.known.get(site.identity)
                verdict, by = known or tree.judge(site, all_programs(site))
                counted += verdict in self.COUNTED
                with self.lock:
                    self.results.append({"site": site, "verdict": verdict, "by": by})
                    if not known:
                        self.say(self.results[-1])

        self.share(trees, draws, judge)

    def judge_again(self, trees, survivors):
        def judge(tree, result):
            verdict, by = tree.judge(result["site"], own_programs(result["site"]))
            if verdict == "killed":
                result["verdict"], result["by"] = verdict, f"sanitizers, {by}"
            self.say(result)

        self.share(trees, survivors, judge)

    def is_judged(self, site):
        return any(result["site"] is site for result in self.results)

    def counted(self):
        return sum(result["verdict"] in self.COUNTED for result in self.results)

    def say(self, result):
        site, verdict, by = result["site"], result["verdict"], result["by"]
        if self.output:
            with open(self.output, "a", encoding="utf-8") as file:
                file.write(json.dumps({**vars(site), "verdict": verdict, "by": by}) + "\n")
        seconds = time.monotonic() - self.began
        say(f"[{self.counted():3}/{self.wanted} {seconds:5.0f} s] {verdict:8} {site.kind:10} "
            f"{site.path}:{site.line} {site.function}: {site.before[:70]}  ->  {site.after[:70]}  {by}")


def report(results, reasons):
    """What came of it, on standard output; the number of survivors that nobody has explained and of
    explanations that turned out wrong."""
    count = dict.fromkeys(("killed", "survived", "compiler", "invalid", "explained"), 0)
    wrong = 0
    for result in results:
        site, verdict = result["site"], result["verdict"]
        is_explained = site.identity in reasons
        count["explained" if verdict == "survived" and is_explained else verdict] += 1
        if (verdict == "survived") != is_explained and verdict in Run.COUNTED:
            wrong += 1
            what = f"explained, but killed by {result['by']}" if is_explained else f"survived, {site.kind}"
            print(f"{site.path}:{site.line}: {what}\n\n{explained.show(site.identity)}")
    print(f"mutants that compile    {count['killed'] + count['survived'] + count['explained']:5}")
    print(f"killed by a test        {count['killed']:5}")
    print(f"survived, explained     {count['explained']:5}")
    print(f"survived                {count['survived']:5}")
    print(f"killed by the compiler  {count['compiler']:5}  (an assertion of the sources; not in the first number)")
    print(f"not C++                 {count['invalid']:5}  (not counted)")
    return wrong


def find_stale(reasons, found):
    """The number of the explained mutants that the sources no longer offer."""
    offered = {site.identity for sites in found.values() for site in sites}
    stale = [identity for identity in reasons if identity not in offered]
    for identity in stale:
        print(f"explained, but no longer a mutant of the sources:\n\n{explained.show(identity)}")
    return len(stale)


def read_results(path):
    """What became of each mutant in an earlier run: verdict and by what. The last word on each counts."""
    results = {}
    if path and os.path.exists(path):
        with open(path, encoding="utf-8") as file:
            for result in map(json.loads, file):
                names = ("path", "function", "before", "after", "occurrence")
                results[tuple(result[name] for name in names)] = (result["verdict"], result["by"])
    return results


def main():
    parser = argparse.ArgumentParser(prog="mutate.sh", description="Mutation testing of log/ and qirapi/.")
    parser.add_argument("-n", "--number", type=int, default=300, help="mutants, default 300")
    parser.add_argument("-s", "--seed", default="1", help="another seed draws others, default 1")
    parser.add_argument("-f", "--file", default="", help="only of files with this in their path")
    parser.add_argument("-j", "--jobs", type=int, default=1, help="trees, each with a mutant, default 1")
    parser.add_argument("-w", "--work", help="folder of the trees, which stay; default: a temporary one")
    parser.add_argument("-o", "--output", help="what became of each mutant, a line of JSON each; what the "
                        "file says already is not asked again, except for survivors")
    parser.add_argument("-l", "--list", action="store_true", help="list the draw and end")
    arguments = parser.parse_args()

    found, lines = find_all()
    reasons = explained.read(os.path.join(os.path.dirname(os.path.abspath(__file__)), "explained.txt"))
    stale = find_stale(reasons, found)
    quota = quotas(arguments.number, found, lines)
    run = Run(arguments, found, {path: number for path, number in quota.items() if arguments.file in path})
    if arguments.list:
        for wanted, sites in run.draws:
            for site in sites[:wanted]:
                print(f"{site.path}:{site.line} {site.kind}\n\n{explained.show(site.identity)}")
        return 1 if stale else 0

    run.work_folder = os.path.abspath(arguments.work or tempfile.mkdtemp(prefix="orx-mutants."))
    try:
        run.judge(reasons)
    finally:
        if not arguments.work:
            shutil.rmtree(run.work_folder, ignore_errors=True)
    return 1 if report(run.results, reasons) + stale else 0


if __name__ == "__main__":
    sys.exit(main())
