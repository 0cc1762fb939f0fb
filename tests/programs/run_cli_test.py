#!/usr/bin/env python3
"""Runs one rule program through the cogent binary and compares what it does.

    run_cli_test.py COGENT NAME.kb

The program runs in its own folder. Beside NAME.kb stand NAME.out, the exact
standard output, and for a case that reports errors NAME.err, the exact
standard error (without it, standard error must stay empty). NAME.in, when
present, is standard input; otherwise standard input is empty.

Comment lines at the top of NAME.kb say how to run it:

    ; exit: N        the expected exit status (0 without this line)
    ; args: ...      arguments; {} stands for NAME.kb and is added at the end
                     when not written
    ; session        NAME.kb itself is standard input of a session, and is
                     not named on the command line
    ; merge          standard error goes into standard output, in the order
                     written, and NAME.out holds both

In NAME.out and NAME.err, <...> matches any text within its line, for what
changes from run to run (times, rates).
"""
import pathlib
import re
import shlex
import subprocess
import sys


def matches(expected, actual):
    expected_lines = expected.split("\n")
    actual_lines = actual.split("\n")
    if len(expected_lines) != len(actual_lines):
        return False
    for want, got in zip(expected_lines, actual_lines):
        if "<...>" in want:
            pattern = ".*".join(re.escape(part) for part in want.split("<...>"))
            if not re.fullmatch(pattern, got):
                return False
        elif want != got:
            return False
    return True


def show(title, text):
    print(f"--- {title}")
    print(text, end="" if text.endswith("\n") else "\n<no line end>\n")


def main():
    cogent = pathlib.Path(sys.argv[1]).resolve()
    program = pathlib.Path(sys.argv[2]).resolve()
    folder, name = program.parent, program.stem
    text = program.read_text(encoding="utf-8", errors="replace")

    status, args, session, merge = 0, None, False, False
    for line in text.splitlines():
        if not line.startswith(";"):
            break
        directive = line[1:].strip()
        if directive.startswith("exit:"):
            status = int(directive[5:])
        elif directive.startswith("args:"):
            args = shlex.split(directive[5:])
        elif directive == "session":
            session = True
        elif directive == "merge":
            merge = True
    args = args or []
    if session:
        stdin = program.read_bytes()
    else:
        if "{}" not in args:
            args.append("{}")
        args = [program.name if a == "{}" else a for a in args]
        stdin_file = folder / f"{name}.in"
        stdin = stdin_file.read_bytes() if stdin_file.exists() else b""

    run = subprocess.run([str(cogent)] + args, input=stdin, stdout=subprocess.PIPE,
                         stderr=subprocess.STDOUT if merge else subprocess.PIPE, cwd=folder, timeout=120)
    out = run.stdout.decode("utf-8", errors="replace")
    err = "" if merge else run.stderr.decode("utf-8", errors="replace")
    want_out = (folder / f"{name}.out").read_text(encoding="utf-8") if (folder / f"{name}.out").exists() else ""
    want_err = (folder / f"{name}.err").read_text(encoding="utf-8") if (folder / f"{name}.err").exists() else ""

    failures = []
    if run.returncode != status:
        failures.append(f"exit status {run.returncode}, expected {status}")
    if not matches(want_out, out):
        failures.append("standard output differs")
    if not matches(want_err, err):
        failures.append("standard error differs")
    if not failures:
        return 0
    print(f"{name}: " + "; ".join(failures))
    print("command: cogent " + " ".join(shlex.quote(a) for a in args))
    show("expected standard output", want_out)
    show("actual standard output", out)
    show("expected standard error", want_err)
    show("actual standard error", err)
    return 1


if __name__ == "__main__":
    sys.exit(main())
