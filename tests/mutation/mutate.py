"""Changes the library in one small place at a time and sees whether its tests notice.

Works on a copy of the tree. What the tests do not notice is printed, and kept beside the copy;
explained.txt names those that no test can notice, each with its reason.
"""

import argparse
import json
import pathlib
import random
import shutil
import subprocess
import sys
import time

from mutations import mutations_of

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
LEAST_KILLED = 0.85


def copy_tree(target: pathlib.Path) -> None:
    listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=ROOT, check=True,
                            capture_output=True, text=True).stdout.splitlines()
    for name in listed:
        source = ROOT / name
        copy = target / name
        if not source.is_file():
            continue
        # An unchanged file keeps its time, so that the copy's build is not started over.
        if copy.is_file() and copy.read_bytes() == source.read_bytes():
            continue
        copy.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(source, copy)


def build(folder: pathlib.Path, tests: list[str]) -> bool:
    targets = [f"tst_{test}" for test in tests]
    return subprocess.run(["cmake", "--build", folder, "--target", *targets],
                          stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0


def run(folder: pathlib.Path, test: str, seconds: float) -> bool:
    """Whether a test passes within the time."""
    command = ["ctest", "--test-dir", folder, "-R", f"^{test}$", "--timeout", str(int(seconds))]
    return subprocess.run(command, stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL).returncode == 0


def time_tests(folder: pathlib.Path, tests: list[str]) -> dict[str, float]:
    times = {}
    for test in tests:
        start = time.monotonic()
        if not run(folder, test, 600):
            sys.exit(f"{test} fails without any change")
        times[test] = time.monotonic() - start
    return times


def read_explained() -> dict[str, str]:
    """Changes that no test can notice, and why: two lines each, with an empty line between."""
    path = HERE / "explained.txt"
    blocks = path.read_text().strip().split("\n\n") if path.is_file() else []
    pairs = [block.split("\n", 1) for block in blocks if not block.startswith("#")]
    return {change: reason for change, reason in pairs}


class Run:
    def __init__(self, tree: pathlib.Path):
        self.tree = tree
        self.folder = tree / "build" / "dev"
        self.killed = 0
        self.survivors: list[str] = []
        self.explained: list[str] = []
        self.known = read_explained()

    def prepare(self) -> None:
        copy_tree(self.tree)
        subprocess.run(["cmake", "--preset", "dev", "-DMORVEK_BUILD_EXAMPLES=OFF"], cwd=self.tree,
                       check=True, stdout=subprocess.DEVNULL)

    def try_file(self, path: str, tests: list[str], share: float, dice: random.Random) -> None:
        file = self.tree / path
        source = file.read_text()
        mutations = mutations_of(path, source)
        mutations = sorted(dice.sample(mutations, max(1, round(len(mutations) * share))),
                           key=lambda mutation: (mutation.line, mutation.start))
        if not build(self.folder, tests):
            sys.exit(f"the tests of {path} do not build without any change")
        times = time_tests(self.folder, tests)
        tests = sorted(tests, key=times.get)
        try:
            for mutation in mutations:
                file.write_text(mutation.apply(source))
                if build(self.folder, tests):  # what does not compile is no change worth trying
                    self.note(mutation, source, self.is_noticed(tests, times))
        finally:
            file.write_text(source)

    def is_noticed(self, tests: list[str], times: dict[str, float]) -> bool:
        return not all(run(self.folder, test, 10 + 5 * times[test]) for test in tests)

    def note(self, mutation, source: str, is_noticed: bool) -> None:
        if is_noticed:
            self.killed += 1
            verdict = "noticed"
        elif mutation.key(source) in self.known:
            self.explained.append(mutation.key(source))
            verdict = "explained"
        else:
            self.survivors.append(mutation.key(source))
            verdict = "NOT NOTICED"
        print(f"{verdict:12} {mutation.describe(source)}", flush=True)

    def report(self) -> int:
        tried = self.killed + len(self.survivors) + len(self.explained)
        share = self.killed / tried if tried else 0
        print(f"\n{tried} changes tried, {self.killed} noticed ({share:.1%}), "
              f"{len(self.explained)} explained, {len(self.survivors)} neither")
        (self.tree / "survivors.txt").write_text("\n".join(self.survivors) + "\n")
        return 0 if share >= LEAST_KILLED and not self.survivors else 1


def main() -> int:
    units = json.loads((HERE / "units.json").read_text())
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("files", nargs="*", help="parts of the names of files; all if not given")
    parser.add_argument("--share", type=float, default=1, help="of the changes to try, 0 to 1")
    parser.add_argument("--seed", type=int, default=1, help="chooses which, where not all are tried")
    parser.add_argument("--folder", default="mutate", help="name of the copy in the build folder")
    options = parser.parse_args()

    this_run = Run(ROOT / "build" / options.folder)
    this_run.prepare()
    for path, tests in units.items():
        if not options.files or any(part in path for part in options.files):
            this_run.try_file(path, tests, options.share, random.Random(options.seed))
    return this_run.report()


if __name__ == "__main__":
    sys.exit(main())
