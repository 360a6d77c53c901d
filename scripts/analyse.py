#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

"""Runs clang-tidy or clazy on the sources of a build, in parallel.

    analyse.py BUILD_FOLDER JOBS FOLDERS COMMAND...

Runs COMMAND for each source in FOLDERS, with the name of the source as the last argument. FOLDERS are names of top
folders, separated by commas. A source that passed is not analysed again until the source, one of its headers, the
configuration, the program or the command changes: a digest of all these is kept as the name of an empty file in the
cache folder of the user. The exit code is 1 if a source did not pass.
"""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
CACHE = pathlib.Path(os.environ.get("XDG_CACHE_HOME") or pathlib.Path.home() / ".cache") / "qvutil-analyse"
NOISE = re.compile(r"^\d+ warnings? generated\.\n|^Suppressed .*\n|^Use -header-filter.*\n", re.MULTILINE)


def sources(build, folders):
    """Yields each source of the build and its compile command, except generated files."""
    for entry in json.loads((build / "compile_commands.json").read_text()):
        path = pathlib.Path(entry["file"])
        if path.is_relative_to(ROOT) and path.relative_to(ROOT).parts[0] in folders:
            yield path, entry


def preprocessed(entry):
    command = shlex.split(entry["command"])
    if os.path.basename(command[0]) == "ccache":
        command = command[1:]
    command = command[:command.index("-o")] + command[command.index("-o") + 2:]
    return subprocess.run(command + ["-E", "-o", "-"], cwd=entry["directory"], stdout=subprocess.PIPE).stdout


def configuration(path):
    for folder in path.parents:
        file = folder / ".clang-tidy"
        if file.exists():
            yield file.read_bytes()
        if folder == ROOT:
            return


def key(path, entry, command, version):
    digest = hashlib.sha256()
    text = preprocessed(entry).replace(os.fsencode(ROOT), b"")
    relative = [word.replace(str(ROOT), "") for word in command]
    for part in (version, json.dumps(relative).encode(), path.read_bytes(), text, *configuration(path)):
        digest.update(part + b"\0")
    return digest.hexdigest()


def analyse(path, entry, command, version):
    """Returns whether the source passed, and the output; the output is None if the source had passed before."""
    passed = CACHE / key(path, entry, command, version)
    if passed.exists():
        return True, None
    run = subprocess.run(command + [str(path)], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    output = NOISE.sub("", run.stdout)
    good = run.returncode == 0 and "warning:" not in output and "error:" not in output
    if good:
        passed.touch()
    return good, output


def main():
    build, jobs, folders = pathlib.Path(sys.argv[1]).resolve(), int(sys.argv[2]), sys.argv[3].split(",")
    command = sys.argv[4:]
    version = subprocess.run([command[0], "--version"], stdout=subprocess.PIPE).stdout
    CACHE.mkdir(parents=True, exist_ok=True)
    failed = fresh = 0
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        found = {path: pool.submit(analyse, path, entry, command, version) for path, entry in sources(build, folders)}
        for path, future in found.items():
            good, output = future.result()
            fresh += output is not None
            if not good:
                failed += 1
                print(f"{path.relative_to(ROOT)}:\n{output}", flush=True)
    print(f"{len(found)} sources, {fresh} of them new or changed, {failed} with findings")
    return 1 if failed or not found else 0


if __name__ == "__main__":
    sys.exit(main())
