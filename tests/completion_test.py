#!/usr/bin/env python3
"""Completion as a person meets it: a line and a tabulator are typed into bash and zsh; what stands there then is compared.

The candidates themselves are an example, examples/53-completion. A shell that is not there is passed over.

    completion_test.py COMMAND
"""

import os
import pathlib
import pty
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import threading

ROOT = pathlib.Path(__file__).resolve().parent.parent
SECONDS = 20
START = {
    "bash": (["bash", "--noprofile", "--norc", "-i"], """
source {tool}/completion.bash
show() {{ printf '%s\\n' "$READLINE_LINE" >told; READLINE_LINE=; }}
bind -x '"\\C-xg": show'
"""),
    "zsh": (["zsh", "-f", "-i"], """
fpath=({functions} $fpath); autoload -Uz compinit; compinit -u -D
show() {{ print -r -- "$BUFFER" >told; BUFFER= }}
zle -N show; bindkey '^Xg' show
"""),
}
ALL = "/network-instances/network-instance/protocols/protocol/bgp"
# What is typed, and what stands there then. In zsh brackets have a backslash before them, as it writes them itself.
ROWS = [
    ("yfw roll", "yfw rollback "),
    ("yfw get --depth 1 --nat", "yfw get --depth 1 --native "),
    ("yfw edit --default-operation=re", "yfw edit --default-operation=replace "),
    ("yfw edit -o x", "yfw edit -o xml "),
    ("yfw edit con", "yfw edit config.json "),
    ("yfw --db d", "yfw --db db/"),
    ("yfw --db=d", "yfw --db=db/"),
    ("yfw --db=other rollback ", "yfw --db=other rollback "),
    ("yfw --db db rollback ", "yfw --db db rollback 1 "),
    ("yfw get /net", "yfw get /network-instances/"),
    ("yfw get /openconfig-network-instance:net", "yfw get /openconfig-network-instance:network-instances/"),
    ("yfw get /routing-policy /net", "yfw get /routing-policy /network-instances/"),
    (f"yfw get {ALL}/neighbors/neighbor[neighbor-address=2001", f"yfw get {ALL}/neighbors/neighbor[neighbor-address=2001:db8::7]"),
    (f"yfw get {ALL}/neighbors/neighbor[neighbor-address=2001:d", f"yfw get {ALL}/neighbors/neighbor[neighbor-address=2001:db8::7]"),
    (f"yfw get {ALL}/neighbors/neighbor[neighbor-address=2001:db8::7]", f"yfw get {ALL}/neighbors/neighbor[neighbor-address=2001:db8::7]/"),
    (f"yfw get '{ALL}/neighbors/neighbor[neighbor-address=2001:d", f"yfw get '{ALL}/neighbors/neighbor[neighbor-address=2001:db8::7]"),
    ("yfw get '/net", "yfw get '/network-instances/"),
    ("yfw get --native /bgp/instance[instance-name=co", "yfw get --native /bgp/instance[instance-name=core]"),
    ("yfw sysdb cor", "yfw sysdb core/"),
    ("yfw get /nowhere/", "yfw get /nowhere/"),
]


def drain(terminal):
    try:
        while os.read(terminal, 65536):
            pass
    except OSError:
        pass  # the shell has gone


def told(fifo, shell):
    if not select.select([fifo], [], [], SECONDS)[0]:
        sys.exit(f"{shell} does not answer")
    return os.read(fifo, 65536).decode().rstrip("\n")


def check(shell, work, environment):
    """The rows that end otherwise."""
    arguments, start = START[shell]
    child, terminal = pty.fork()
    if child == 0:
        os.chdir(work)
        os.execvpe(arguments[0], arguments, environment)
    threading.Thread(target=drain, args=[terminal], daemon=True).start()
    fifo = os.open(work / "told", os.O_RDWR)
    (work / "start").write_text(start.format(tool=ROOT / "tools/yfw", functions=work / "functions"))
    os.write(terminal, b". ./start; echo ready >told\n")
    assert told(fifo, shell) == "ready"
    wrong = []
    for typed, expected in ROWS:
        keys = typed.replace("[", "\\[") if shell == "zsh" and "'" not in typed else typed
        os.write(terminal, keys.encode() + b"\t\x18g")
        line = told(fifo, shell).replace("\\", "")
        if line != expected:
            wrong.append(f"{shell}: {typed}\n  expected: {expected}\n  is:       {line}\n")
    os.kill(child, signal.SIGKILL)
    os.waitpid(child, 0)
    return wrong


def main():
    command = pathlib.Path(sys.argv[1]).resolve()
    shells = [shell for shell in START if shutil.which(shell)]
    with tempfile.TemporaryDirectory(prefix="yfw-completion-") as scratch:
        work = pathlib.Path(scratch)
        shutil.copy(ROOT / "examples/53-completion/config.json", work)
        (work / "functions").mkdir()
        shutil.copy(ROOT / "tools/yfw/completion.zsh", work / "functions/_yfw")
        os.mkfifo(work / "told")
        environment = {"PATH": f"{command.parent}:{os.environ['PATH']}", "YFW_DB": "db", "HOME": scratch,
                       "TERM": "dumb", "LC_ALL": "C.UTF-8", "INPUTRC": "/dev/null"}
        subprocess.run([command, "edit", "config.json"], cwd=work, env=environment, check=True, stdout=subprocess.DEVNULL)
        wrong = [text for shell in shells for text in check(shell, work, environment)]
    sys.stdout.write("".join(wrong))
    print(f"{len(ROWS)} lines in {' and '.join(shells)}, {len(wrong)} wrong")
    sys.exit(1 if wrong else 0)


main()
