#!/usr/bin/env python3
"""Runs the examples through the command and compares what comes out with what is expected.

Each directory of examples/ holds a file "steps", a shell command a line, and what they read. The steps run in a fresh
directory with a copy of it all, and with the store "db" there, which is empty at first. The file "expected" is the
transcript: the lines of "steps", and after each command its standard output, its standard error behind "2> ", and its
exit code where that is not 0.

With --service each edit is also sent to a daemon, from a copy of the store, and what comes of it is compared
(edit_by_service.py).

With --update the transcripts are written instead, for review.
"""

import argparse
import concurrent.futures
import difflib
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
SECONDS_A_STEP = 120

# What differs from run to run, or with every change of the code: addresses, source lines in the trace, ciphertexts,
# when something was committed and by whom.
UNSTABLE = [
    (re.compile(r"ctx=0x[0-9a-f]+"), "ctx=PTR"),
    (re.compile(r"(?m)^(.*#\d+: [A-Z]+: \w+):\d+ "), r"\1:LINE "),
    (re.compile(r"(?<=[\">])[0-9a-f]{80,}(?=[\"<])"), "CIPHERTEXT"),
    (re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d[+-]\d\d:\d\d"), "TIME"),
    (re.compile(r"(?<=TIME  )\S+|(?<=\"who\": \")[^\"]+"), "USER"),
]


def lines_of(text, prefix=""):
    if text and not text.endswith("\n"):
        text += " [no newline]\n"
    return "".join(prefix + line + "\n" for line in text.split("\n")[:-1])


def run_step(command, directory, environment):
    result = subprocess.run(["bash", "-c", "set -o pipefail; " + command], cwd=directory, env=environment,
                            stdin=subprocess.DEVNULL, capture_output=True, timeout=SECONDS_A_STEP, check=False)
    text = lines_of(result.stdout.decode(errors="backslashreplace"))
    text += lines_of(result.stderr.decode(errors="backslashreplace"), "2> ")
    return text + (f"exit code {result.returncode}\n" if result.returncode else "")


def stand_in(scratch, command):
    """A directory with a yfw that sends edits to a daemon, too, and the file with its notes."""
    directory, notes = pathlib.Path(scratch) / "stand-in", pathlib.Path(scratch) / "notes"
    directory.mkdir()
    notes.touch()
    for name in ("models", "mapping"):
        (directory / name).symlink_to(command.parent / name)
    script = [sys.executable, ROOT / "tests/edit_by_service.py", command.parent, notes]
    (directory / "yfw").write_text('#!/bin/bash\n[[ " $* " == *" edit "* ]] || exec ' + shlex.quote(str(command)) +
                                   ' "$@"\nexec ' + shlex.join(map(str, script)) + ' "$@"\n')
    (directory / "yfw").chmod(0o755)
    return directory, notes


def transcript(example, command, service=None):
    """What the example's steps print now. What a stand-in notes of its edits is added to the list "service"."""
    with tempfile.TemporaryDirectory(prefix="yfw-example-") as scratch:
        work = pathlib.Path(scratch).resolve() / "work"
        shutil.copytree(example, work, ignore=shutil.ignore_patterns("steps", "expected"))
        programs, notes = (command.parent, None) if service is None else stand_in(scratch, command)
        environment = {"PATH": f"{programs}:{os.environ['PATH']}", "YFW_DB": "db", "HOME": str(work),
                       "TMPDIR": scratch, "LC_ALL": "C.UTF-8"}
        environment |= {name: value for name, value in os.environ.items() if name.endswith("SAN_OPTIONS")}
        text = ""
        for line in (example / "steps").read_text().splitlines():
            text += f"$ {line}\n" if line and not line.startswith("#") else line + "\n"
            if line and not line.startswith("#"):
                text += run_step(line, work, environment)
        if notes is not None:
            service += [f"{example.name}\t{note}" for note in notes.read_text().splitlines()]
        # Never the place where it ran.
        for path, name in ((work, "."), (programs, "BUILD"), (command.parent, "BUILD"), (ROOT, "ROOT")):
            text = text.replace(str(path), name)
        for pattern, stable in UNSTABLE:
            text = pattern.sub(stable, text)
        return text


def check(example, command, update, service):
    """An empty text when all is well, else what is wrong."""
    try:
        now = transcript(example, command, service)
    except subprocess.TimeoutExpired as late:
        return f"{example.name}: no end after {SECONDS_A_STEP} s: {late.cmd[-1]}\n"
    file = example / "expected"
    before = file.read_text() if file.exists() else ""
    if now == before:
        return ""
    if update:
        file.write_text(now)
        return f"{example.name}: written\n"
    return "".join(difflib.unified_diff(before.splitlines(True), now.splitlines(True), f"{example.name}/expected",
                                        f"{example.name} now"))


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("--update", action="store_true", help="write what is expected instead of comparing")
    parser.add_argument("--command", type=pathlib.Path, default=ROOT / "build/yfw", help="the command under test")
    parser.add_argument("--service", action="store_true", help="send each edit to a daemon, too, and compare")
    parser.add_argument("names", nargs="*", metavar="NAME", help="examples whose name begins so; all when none is given")
    arguments = parser.parse_args()
    command = arguments.command.resolve()
    if not command.exists():
        sys.exit(f"{command} is not there: build it first, or say where it is with --command")

    examples = [steps.parent for steps in sorted((ROOT / "examples").glob("*/steps"))]
    wanted = tuple(arguments.names) or ("",)
    examples = [example for example in examples if example.name.startswith(wanted)]
    if not examples:
        sys.exit("no such example")
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        service = [] if arguments.service else None
        results = list(pool.map(lambda example: check(example, command, arguments.update, service), examples))
    if arguments.service:
        different = [note for note in service if re.match(r"[^\t]*\tsent\t[^\t]", note)]
        results += [note + "\n" for note in different]
        print(f"{sum(chr(9) + 'sent' + chr(9) in note for note in service)} edits sent to a daemon, {len(different)} with "
              f"another result; {sum(chr(9) + 'left' + chr(9) in note for note in service)} cannot be sent")
    sys.stdout.write("".join(results))
    wrong = sum(bool(result) for result in results)
    print(f"{len(examples)} examples, {wrong} " + ("written" if arguments.update else "differ"))
    sys.exit(1 if wrong and not arguments.update else 0)


if __name__ == "__main__":
    main()
