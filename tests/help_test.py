#!/usr/bin/env python3
"""Help and manual pages: they are whole, the examples in them run, and groff has nothing to complain about.

    help_test.py COMMAND DIRECTORY-OF-THE-MANUAL-PAGES
"""

import concurrent.futures
import gzip
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

WIDTH = 100
SECTIONS = ["Description", "Global options", "Environment", "Exit codes", "Examples"]
wrong = []


def run(line, directory, command):
    environment = {"PATH": f"{command.parent}:{os.environ['PATH']}", "YFW_DB": "db", "HOME": str(directory),
                   "LC_ALL": "C.UTF-8"}
    environment |= {name: value for name, value in os.environ.items() if name.endswith("SAN_OPTIONS")}
    result = subprocess.run(["bash", "-c", "set -o pipefail; " + line], cwd=directory, env=environment,
                            stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=300, check=False)
    if result.returncode or result.stderr:
        wrong.append(f"{line}: exit code {result.returncode}\n{result.stderr}")
    return result.stdout


def sections_of(text):
    parts = re.split(r"(?m)^(\S.*):\n", text)
    return dict(zip(parts[1::2], parts[2::2]))


def check(name, text, documents, scratch, command):
    sections = sections_of(text)
    wrong.extend(f"yfw {name} --help has no {title}" for title in SECTIONS if title not in sections)
    wrong.extend(f"yfw {name} --help: too long: {line}" for line in text.splitlines() if len(line) > WIDTH)
    examples = re.findall(r"(?m)^    (\S.*)$", sections.get("Examples", ""))
    if not any(re.search(f"\\byfw (-\\S+ \\S+ )?{name}", example) for example in examples):
        wrong.append(f"yfw {name} --help has no example of it")
    # They follow one another on a store that has the first document.
    work = scratch / (name or "yfw")
    work.mkdir()
    for document, body in documents.items():
        (work / document).write_text(body)
    for example in ["yfw edit core.json", *examples]:
        run(example, work, command)


def main():
    command = pathlib.Path(sys.argv[1]).resolve()
    with tempfile.TemporaryDirectory(prefix="yfw-help-") as scratch:
        scratch = pathlib.Path(scratch)
        names = [line[1:].split("\t")[0] for line in run("yfw complete -- ''", scratch, command).splitlines()]
        helps = {name: run(f"yfw {name} --help", scratch, command) for name in ["", *names]}
        documents = {}
        for text in helps.values():
            for name, body in re.findall(r"(?m)^  (\w+\.\w+):\n((?:    .*\n)+)", text):
                documents[name] = re.sub("(?m)^    ", "", body)
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            list(pool.map(lambda name: check(name, helps[name], documents, scratch, command), helps))

    pages = {page.name: gzip.decompress(page.read_bytes()) for page in pathlib.Path(sys.argv[2]).iterdir()}
    if set(pages) != {"yfw.1.gz", *(f"yfw-{name}.1.gz" for name in names)}:
        wrong.append("manual pages: " + " ".join(pages))
    for page, text in pages.items() if shutil.which("groff") else ():
        told = subprocess.run(["groff", "-man", "-ww", "-Tutf8"], input=text, stdout=subprocess.DEVNULL,
                              stderr=subprocess.PIPE, check=True).stderr.decode()
        if told:
            wrong.append(f"{page}: {told}")
    print("\n".join(wrong) or f"{len(helps)} helps and {len(pages)} manual pages are well")
    sys.exit(1 if wrong else 0)


main()
