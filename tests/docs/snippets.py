# SPDX-License-Identifier: Apache-2.0
"""usage: snippets.py STAGE LIBDIR PYTHONDIR CC CXX CHART PAGE...
Runs the fenced blocks of Markdown pages against the library installed in STAGE.

Each page has a folder of its own with the pictures in.png (CHART), in.tif, in.pgm and valid.png, a mask. Blocks of c and
cpp are whole programs, left as first.c and first.cpp; those of python share one session, those of sh run in bash. A block without a language after a
line `prints` is what the block before must have printed. Blocks of text, and those marked no-run, are not run.
"""
import contextlib
import io
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import traceback

stage, libdir, pythondir, cc, cxx, chart, *pages = sys.argv[1:]
chart = pathlib.Path(chart).absolute()
environment = {**os.environ, "PATH": f"{stage}/bin:{os.environ['PATH']}",
               "PKG_CONFIG_PATH": f"{stage}/{libdir}/pkgconfig", "LD_LIBRARY_PATH": f"{stage}/{libdir}"}
sys.path.insert(0, f"{stage}/{pythondir}")


class Failed(Exception):
    pass


def run(*command):
    done = subprocess.run(command, env=environment, capture_output=True, text=True)
    if done.returncode != 0:
        raise Failed(f"exit code {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout


def runProgram(text, language):
    compiler, package = (cc, "kipgauss") if language == "c" else (cxx, "kipgauss-cpp")
    pathlib.Path(f"first.{language}").write_text(text)
    flags = run("pkg-config", "--cflags", "--libs", package).split()
    run(compiler, "-Wall", "-Wextra", "-Werror", f"first.{language}", *flags, "-o", "program")
    return run("./program")


def runPython(text, names):
    with contextlib.redirect_stdout(io.StringIO()) as printed:
        try:
            exec(text, names)
        except Exception:
            raise Failed(traceback.format_exc(limit=-2)) from None
    return printed.getvalue()


def blocksOf(lines):
    """Line number, the word in front, language and text of every fenced block."""
    before, start = "", None
    for number, line in enumerate(lines, 1):
        if start is None and line.startswith("```"):
            start, info, text = number, line[3:].strip(), []
        elif start is None:
            before = line.strip() or before
        elif line.strip() == "```":
            yield start, before, info, "\n".join(text) + "\n"
            before, start = "", None
        else:
            text.append(line)


def runBlock(text, before, info, names, printed):
    if info == "text" or info.endswith(" no-run"):
        return None
    if info == "" and re.search(r"\bprints:?$", before):
        if printed is None or printed.rstrip() != text.rstrip():
            raise Failed(f"printed was\n{printed}")
        return None
    if info in ("c", "cpp"):
        return runProgram(text, info)
    if info == "python":
        return runPython(text, names)
    if info == "sh":
        return run("bash", "-euc", text)
    raise Failed(f"a block of {info or 'no language'}: say text, no-run or what it prints")


def makePictures():
    mask = bytearray(b"\xff" * 640 * 480)
    for y in range(60, 80):
        mask[640 * y + 100:640 * y + 120] = bytes(20)
    pathlib.Path("valid.pgm").write_bytes(b"P5 640 480 255\n" + mask)
    for source, target in ((chart, "in.png"), (chart, "in.tif"), (chart, "in.pgm"), ("valid.pgm", "valid.png")):
        run("kip", "smooth", source, target, "--sigma=0")


def runPage(page):
    count, failures, printed, names = 0, [], None, {"__name__": "snippet"}
    for line, before, info, text in blocksOf(page.read_text().splitlines()):
        try:
            printed = runBlock(text, before, info, names, printed)
            count += printed is not None
        except Failed as failure:
            printed = None
            failures.append(f"{page}:{line}: {failure}")
    print(f"{page}: {count} snippets run")
    return failures


failures = []
for page in [pathlib.Path(name).absolute() for name in pages]:
    with tempfile.TemporaryDirectory() as folder, contextlib.chdir(folder):
        makePictures()
        failures += runPage(page)
sys.exit("\n".join(failures) or 0)
