#!/usr/bin/env python3
"""Stands in for yfw in the examples: sends each edit to a daemon, too, and notes what comes of it otherwise.

The daemon gets a copy of the store; the command runs as it was called. Called by run_examples.py with the directory of
the programs and the file for the notes before the arguments.
"""

import argparse
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
from xml.etree import ElementTree
from xml.sax.saxutils import escape

import netconf_peer

BASE = netconf_peer.BASE
BUILD, NOTES = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
ARGUMENTS = sys.argv[3:]


# Faults that a document in XML cannot have.
JSON_ALONE = re.compile("expected here, not an? |a single value is expected|is a boolean, and|blanks around|"
                        "has no value")


class CannotBeSent(Exception):
    """A document that is no XML that a client could send."""


def name_spaces():
    """Of the modules, by name."""
    found = {}
    for file in (BUILD / "models").glob("*.yang"):
        if header := re.search(r'^module\s+"?([^\s"]+).*?^\s*namespace\s+"([^"]+)"', file.read_text(), re.S | re.M):
            found[header[1]] = header[2]
    return found


class Members(list):
    """An object's."""


class Items(list):
    """An array's."""


def arrays(value):
    """json tells arrays by list alone: told apart from an object's members."""
    if isinstance(value, Members):
        return Members((name, arrays(member)) for name, member in value)
    return Items(map(arrays, value)) if isinstance(value, list) else value


class Translation:
    """RFC 7951 to XML. What has no prefix is in the namespace that it lies in, or in none."""

    def __init__(self):
        self.modules = name_spaces()

    def members(self, pairs, module=""):
        known = dict(pairs)
        if len(known) != len(pairs):
            raise CannotBeSent("a name stands twice")
        text = ""
        for name, value in pairs:
            if name.startswith("@"):
                if name != "@" and name[1:] not in known:
                    raise CannotBeSent("an annotation without its node")
                continue
            notes = known.get("@" + name, [])
            each = value if isinstance(value, Items) and value != [None] else [value]
            marks = notes if isinstance(notes, Items) else [notes]
            for i, one in enumerate(each):
                text += self.node(name, one, marks[i] if i < len(marks) else [], module)
        return text

    def node(self, name, value, notes, outer):
        module, _, local = name.rpartition(":")
        if module and module not in self.modules or not re.fullmatch(r"[A-Za-z_][\w.-]*", local):
            raise CannotBeSent("no name of a module's node")
        attributes = f' xmlns="{self.modules[module]}"' if module and module != outer else ""
        if isinstance(value, Members):
            notes = dict(value).get("@", notes)
        for note, operation in notes or []:
            if note.rpartition(":")[2] != "operation" or not isinstance(operation, str):
                raise CannotBeSent("an annotation of another kind")
            attributes += f' nc:operation="{escape(operation)}"'
        if isinstance(value, Members):
            content = self.members(value, module or outer)
        elif isinstance(value, Items) and value != [None]:
            raise CannotBeSent("an array in an array")
        else:
            content = "" if value in (None, [None]) else str(value).lower() if isinstance(value, bool) else str(value)
            prefix = content.partition(":")[0]
            attributes += f' xmlns:{prefix}="{self.modules[prefix]}"' if prefix in self.modules else ""
            content = escape(content)
        return f"<{local}{attributes}>{content}</{local}>"


def message(data, options):
    """The <rpc> of an edit."""
    try:
        text = data.decode()
        if text.lstrip().startswith("<"):
            if "<!DOCTYPE" in text:
                raise CannotBeSent("a document type")
            text = re.sub(r"^\s*<\?xml.*?\?>", "", text)
            root = ElementTree.fromstring(text).tag
            if root in (f"{{{BASE}}}rpc", f"{{{BASE}}}config"):
                config = text
            elif root.rpartition("}")[2] in ("rpc", "edit-config", "config", "data", "rpc-reply"):
                raise CannotBeSent("another element of NETCONF's around it")
            else:
                config = f"<nc:config>{text}</nc:config>"
            if root == f"{{{BASE}}}rpc":
                return text
        else:
            parsed = arrays(json.loads(text, object_pairs_hook=Members, parse_int=str, parse_float=str))
            if not isinstance(parsed, Members):
                raise CannotBeSent("no object")
            config = f"<nc:config>{Translation().members(parsed)}</nc:config>"
            ElementTree.fromstring(f'<a xmlns:nc="{BASE}">{config}</a>')
    except (ValueError, RecursionError, ElementTree.ParseError) as wrong:
        raise CannotBeSent(str(wrong)) from wrong
    default = options.default_operation
    default = f"<nc:default-operation>{default}</nc:default-operation>" if default else ""
    return (f'<nc:rpc xmlns:nc="{BASE}" message-id="1"><nc:edit-config><nc:target><nc:running/></nc:target>{default}'
            f"{config}</nc:edit-config></nc:rpc>")


def answer(directory, text, options):
    """What the daemon answers: the errors, each (name of the code, path, message)."""
    more = [word for name in ("models", "mapping", "plugin") for value in [getattr(options, name)] if value
            for word in (f"--{name}", value)]
    with netconf_peer.start_daemon(BUILD, directory, *more, *([] if options.strict else ["--lenient"])):
        with netconf_peer.Client(directory / "socket") as client:
            client.send(text)
            reply = ElementTree.fromstring(client.receive())
            if "<candidate/>" in text and reply.find(f"{{{BASE}}}ok") is not None:
                reply = ElementTree.fromstring(client.ask("<commit/>"))
    errors = []
    for error in reply.iter(f"{{{BASE}}}rpc-error"):
        tag, path, words = (error.findtext(f"{{{BASE}}}error-{name}") or "" for name in ("app-tag", "path", "message"))
        errors.append((tag, plain(path), words))
    return errors


def plain(path):
    """Without prefixes and quotes."""
    return re.sub(r"(?<=[/\[])[\w.-]+:|['\"]", "", path)


def compare(told, found, options):
    """What the daemon refuses otherwise than the command reports, or nothing."""
    expected = [(error["name"], plain(error["path"]), error["reason"]) for error in told["errors"]]
    if options.strict and expected and told["not-mapped"]:
        expected = [("operation-not-supported", plain(path), "") for path in told["not-mapped"]]
    if any(JSON_ALONE.search(reason) for _, _, reason in expected):
        raise CannotBeSent("what is wrong is wrong in JSON alone")
    if found and not expected and all(re.search(r"\w:\S+ is probably meant", words) for _, _, words in found):
        raise CannotBeSent("names lack the module that RFC 7951 asks for")
    if len(found) != len(expected) or any(a[:2] != b[:2] or b[2] not in a[2] for a, b in zip(found, expected)):
        return f"errors {found} and not {expected}"
    return ""


def stored(store):
    """The native configuration; passwords are enciphered anew each time."""
    text = subprocess.run([BUILD / "yfw", "--db", store, "get", "--native"], capture_output=True, check=False).stdout
    return re.sub(rb"[0-9a-f]{80,}", b"", text)


def parsed():
    """The options of an edit that a daemon can be sent, or nothing."""
    parser = argparse.ArgumentParser(add_help=False)
    for name in ("--db", "--models", "--mapping", "--plugin", "--log-level", "--default-operation", "--output", "-o",
                 "-m"):
        parser.add_argument(name)
    for name in ("--strict", "--verify", "--all", "--compact", "--diff", "--trace"):
        parser.add_argument(name, action="store_true")
    parser.add_argument("edit", choices=["edit"])
    parser.add_argument("files", nargs="+")
    parser.error = lambda why: (_ for _ in ()).throw(CannotBeSent(why))
    return parser.parse_args(ARGUMENTS)


def note(what, text=""):
    with NOTES.open("a") as notes:
        notes.write(f"{what}\t{text}\t{' '.join(ARGUMENTS)}\n".replace("\0", "?"))


def main():
    real = [str(BUILD / "yfw"), *ARGUMENTS]
    try:
        options = parsed()
    except CannotBeSent as why:
        if "--dry-run" not in ARGUMENTS:
            note("left", why)
        os.execv(real[0], real)
    if sys.stdin is None:
        os.execv(real[0], real)
    with tempfile.TemporaryDirectory(prefix="yfw-service-") as made:
        scratch = pathlib.Path(made)
        store = pathlib.Path(options.db or os.environ["YFW_DB"])
        if store.is_dir():
            shutil.copytree(store, scratch / "db")
        data = sys.stdin.buffer.read() if "-" in options.files else b""
        code = subprocess.run([*real, "--report", f"json:{scratch}/report"], input=data, check=False).returncode
        try:
            if code not in (0, 1):
                raise CannotBeSent("the command itself cannot work")
            for told in json.loads((scratch / "report").read_text())["files"]:
                name = told["file"]
                text = message(data if name == "-" else pathlib.Path(name).read_bytes(), options)
                note("sent", compare(told, answer(scratch, text, options), options))
            here, there = stored(store), stored(scratch / "db")
            if here != there:
                note("sent", f"store {there} and not {here}")
        except CannotBeSent as why:
            note("left", why)
    sys.exit(code)


if __name__ == "__main__":
    main()
