#!/usr/bin/env python3
"""Times every action of the tool as a whole process on a generated project.

    bench/run.py [--objects N] [--templates N] [--grid N] [--deleted F]
                 [--duplicates F] [--only NAME,...] [--build DIR] [--work DIR]

For each action it prints the wall time, the MB/s of project file (and of the
text or world file it writes or reads), the ratio to `cat FILE >/dev/null` on the same
file, and the peak memory of the process. Actions that change the project
run on a fresh copy, answered with -Y.
"""
import argparse
import os
import shutil
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

# name, options, text file (None, "out" for an output, or a file to import
# made by an earlier action), whether the action changes the project.
# Options None run vorlan-map instead of vorlan.
ACTIONS = [
    ("statistics", [], None, False),
    ("list-templates", ["-LT"], None, False),
    ("export-objects", ["-EO1"], "out:objects.txt", False),
    ("export-transforms", ["-EO2"], "out:transforms.txt", False),
    ("export-asc", ["-EE0"], "out:heights.asc", False),
    ("export-xyz", ["-EE1"], "out:heights.xyz", False),
    ("export-templates", ["-ET"], "out:templates.txt", False),
    ("list-duplicates", ["-LZ"], None, False),
    ("world", ["-X"], None, False),
    ("world-verify", ["-XV"], None, False),
    ("import-objects", ["-IOY"], "in:objects.txt", True),
    ("import-asc", ["-IEY"], "in:heights.asc", True),
    ("import-xyz", ["-IEY"], "in:heights.xyz", True),
    ("add-templates", ["-ATY"], "in:templates.txt", True),
    ("replace-templates", ["-ITY"], "in:templates.txt", True),
    ("reduce-objects", ["-RY"], None, True),
    ("remove-duplicates", ["-RZY"], None, True),
    ("reduce-templates", ["-RTY"], None, True),
    ("reduce-all", ["-ROTY"], None, True),
    ("delete-objects", ["-DOY"], None, True),
    ("delete-templates", ["-DTY"], None, True),
    ("map", None, "out:map.png", False),
]


def run(cmd, cwd=None):
    """Runs a command; returns (seconds, peak resident KiB, exit status)."""
    start = time.perf_counter()
    with open(os.devnull, "wb") as null:
        proc = subprocess.Popen(cmd, cwd=cwd, stdout=null, stderr=null, stdin=subprocess.DEVNULL)
        _, status, usage = os.wait4(proc.pid, 0)
    seconds = time.perf_counter() - start
    return seconds, usage.ru_maxrss, os.waitstatus_to_exitcode(status)


def mb(n):
    return n / 1e6


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--objects", type=int, default=1000000)
    ap.add_argument("--templates", type=int, default=1000)
    ap.add_argument("--grid", type=int, default=2048)
    ap.add_argument("--deleted", type=float, default=0.1)
    ap.add_argument("--duplicates", type=float, default=0.05)
    ap.add_argument("--only", default="")
    ap.add_argument("--build", default=os.path.join(ROOT, "build"))
    ap.add_argument("--work", default=os.path.join(ROOT, "build", "bench-work"))
    args = ap.parse_args()

    tool = os.path.join(args.build, "src", "vorlan")
    map_tool = os.path.join(args.build, "src", "vorlan-map")
    maker = os.path.join(args.build, "bench", "make_project")
    for exe in (tool, map_tool, maker):
        if not os.access(exe, os.X_OK):
            sys.exit(f"{exe} is missing: build first (cmake --build {args.build})")
    os.makedirs(args.work, exist_ok=True)
    project = os.path.join(args.work, "bench.pew")
    gen = [maker, project, "--objects", str(args.objects), "--templates", str(args.templates),
           "--grid", str(args.grid), "--deleted", str(args.deleted), "--duplicates", str(args.duplicates)]
    seconds, _, code = run(gen)
    if code != 0:
        sys.exit("generating the project failed")
    size = os.path.getsize(project)
    cat_seconds = min(run(["cat", project])[0] for _ in range(3))
    print(f"project: {args.objects} objects, {args.templates} templates, {args.grid}x{args.grid} grid, "
          f"{mb(size):.1f} MB; cat reads it in {cat_seconds:.3f} s ({mb(size) / cat_seconds:.0f} MB/s)")
    print(f"{'action':20} {'seconds':>8} {'MB/s pew':>9} {'x cat':>6} {'MB/s out':>10} {'peak MB':>8} {'peak/file':>9} status")

    only = set(filter(None, args.only.split(",")))
    if "map" in only:
        only.add("statistics")  # the map's time is given as a ratio to it
    statistics_seconds = None
    for name, options, text, changes in ACTIONS:
        if only and name not in only:
            continue
        target = project
        if changes:
            target = os.path.join(args.work, "copy.pew")
            shutil.copyfile(project, target)
        cmd = [tool] + options if options is not None else [map_tool]
        text_path = None
        if text:
            kind, file = text.split(":")
            text_path = os.path.join(args.work, file)
            if kind == "in" and not os.path.exists(text_path):
                print(f"{name:20} skipped: run the export that makes {file} first")
                continue
            # The project first: the first word that names an existing file
            # becomes the project, and an input text file exists.
            cmd += [target, text_path]
        else:
            cmd += [target]
        # Each action pays for its own writes only, not for the writeback of
        # what the previous one wrote (the save syncs the new project).
        os.sync()
        seconds, peak_kib, code = run(cmd, cwd=args.work)
        text_rate = ""
        output = text_path
        if options and options[0].upper().startswith("-X"):
            output = os.path.splitext(target)[0] + ".wrp"  # the world goes beside the project
        if output and os.path.exists(output):
            text_rate = f"{mb(os.path.getsize(output)) / seconds:10.0f}"
        # The map is measured against the statistics of the same run: both
        # read the whole project and write little.
        versus = ""
        if name == "statistics":
            statistics_seconds = seconds
        elif name == "map" and statistics_seconds:
            versus = f"  {seconds / statistics_seconds:.2f} x statistics"
        print(f"{name:20} {seconds:8.3f} {mb(size) / seconds:9.0f} {seconds / cat_seconds:6.1f} "
              f"{text_rate:>10} {peak_kib / 1024:8.0f} {peak_kib * 1024 / size:9.2f} {code}{versus}")


if __name__ == "__main__":
    main()
