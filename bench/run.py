#!/usr/bin/env python3
"""Times every action of the tool as a whole process on a generated project,
each against the machine's own floor for that kind of work, timed in the same run.

    bench/run.py [--objects N] [--templates N] [--grid N] [--deleted F]
                 [--duplicates F] [--only NAME,...] [--build DIR] [--work DIR]
                 [--scale] [--slots N]

Floors: `cat FILE >/dev/null` for actions that only read the project (text
written aside), `cp` of the project plus `sync` of the copy for actions that
save it, and GDAL's command-line tools for the asc grid text (its AAIGrid
writer, and its reading of the same asc file). GDAL is a benchmark-only
dependency: without it those two rows say so. For each action the runner
prints the wall time, the ratio to its floor with the goal, the MB/s of text
written or read, and the peak memory against the limit of twice the project
plus the grid plus 8 bytes a slot.

--scale runs every action again on a project of a third of the objects and
prints how the time grows (3.0 is linear). --slots N adds a project of N
deleted slots (2 bytes each) and checks the memory of opening it.
Actions that change the project run on a fresh copy, answered with -Y.
"""
import argparse
import os
import shutil
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

# name, options, text file (None, "out:FILE" for an output, or "in:FILE" made
# by an earlier action), the floor, the goal as (kind, value): "x" a ratio
# to the floor at most, "MB/s" of text at least. Options None run vorlan-map.
ACTIONS = [
    ("statistics", [], None, "cat", ("x", 4)),
    ("list-templates", ["-LT"], None, "cat", ("x", 6)),
    ("export-objects", ["-EO1"], "out:objects.txt", "cat", ("MB/s", 300)),
    ("export-transforms", ["-EO2"], "out:transforms.txt", "cat", ("MB/s", 300)),
    ("export-asc", ["-EE0"], "out:heights.asc", "gdal-write", ("x", 0.3)),
    ("export-xyz", ["-EE1"], "out:heights.xyz", "cat", ("x", 6)),
    ("export-templates", ["-ET"], "out:templates.txt", "cat", ("x", 6)),
    ("list-duplicates", ["-LZ"], None, "cat", ("x", 6)),
    ("world", ["-X"], None, "cat", ("x", 6)),
    ("world-verify", ["-XV"], None, "cat", ("x", 6)),
    ("map", None, "out:map.png", "cat", ("x", 6)),
    ("import-objects", ["-IOY"], "in:objects.txt", "cp", ("MB/s", 250)),
    ("import-asc", ["-IEY"], "in:heights.asc", "gdal-read", ("x", 0.5)),
    ("import-xyz", ["-IEY"], "in:heights.xyz", "cp", ("x", None)),
    ("add-templates", ["-ATY"], "in:templates.txt", "cp", ("x", 1.5)),
    ("replace-templates", ["-ITY"], "in:templates.txt", "cp", ("x", 1.5)),
    ("reduce-objects", ["-RY"], None, "cp", ("x", 1.5)),
    ("remove-duplicates", ["-RZY"], None, "cp", ("x", 1.5)),
    ("reduce-templates", ["-RTY"], None, "cp", ("x", 1.5)),
    ("reduce-all", ["-ROTY"], None, "cp", ("x", 1.5)),
    ("delete-objects", ["-DOY"], None, "cp", ("x", 1.5)),
    ("delete-templates", ["-DTY"], None, "cp", ("x", 1.5)),
]


def run(cmd, cwd=None):
    """Runs a command; returns (seconds, peak resident KiB, exit status)."""
    start = time.perf_counter()
    with open(os.devnull, "wb") as null:
        proc = subprocess.Popen(cmd, cwd=cwd, stdout=null, stderr=null, stdin=subprocess.DEVNULL)
        _, status, usage = os.wait4(proc.pid, 0)
    seconds = time.perf_counter() - start
    return seconds, usage.ru_maxrss, os.waitstatus_to_exitcode(status)


def best(cmd, times=3, cwd=None):
    return min(run(cmd, cwd)[0] for _ in range(times))


def mb(n):
    return n / 1e6


class Floors:
    """The machine's own times for the same work, each the best of as many
    runs as every action gets, so that a floor has the same chance of a
    lucky run as the action it is compared with."""

    def __init__(self, work, project, repeat):
        self.work, self.project, self.repeat = work, project, repeat
        self.cache = {}
        self.gdal = shutil.which("gdal_translate") is not None

    def get(self, kind):
        if kind in self.cache:
            return self.cache[kind]
        seconds = None
        if kind == "cat":
            seconds = best(["cat", self.project], self.repeat)
        elif kind == "cp":
            copy = os.path.join(self.work, "floor-copy.pew")
            script = 'cp "$1" "$2" && sync "$2"'
            seconds = best(["sh", "-c", script, "sh", self.project, copy], self.repeat)
            os.remove(copy)
        elif self.gdal and kind in ("gdal-write", "gdal-read"):
            asc = os.path.join(self.work, "heights.asc")
            if os.path.exists(asc):
                tif = os.path.join(self.work, "gdal-heights.tif")
                if not os.path.exists(tif):
                    run(["gdal_translate", "-q", "-of", "GTiff", asc, tif])
                if kind == "gdal-write":
                    out = os.path.join(self.work, "gdal-heights.asc")
                    # The same "%.2f"-like text our export writes.
                    seconds = best(["gdal_translate", "-q", "-of", "AAIGrid", "-co", "DECIMAL_PRECISION=2", tif, out],
                                   self.repeat)
                else:
                    seconds = best(["gdal_translate", "-q", "-of", "MEM", asc, "/dev/null"], self.repeat)
        self.cache[kind] = seconds
        return seconds


def run_actions(args, tool, map_tool, project, slots, grid_bytes, only, floors, quiet=False):
    size = os.path.getsize(project)
    limit = 2 * size + grid_bytes + 8 * slots
    results = {}
    for name, options, text, floor_kind, goal in ACTIONS:
        if only and name not in only:
            continue
        target = project
        changes = floor_kind == "cp" or (options and options[0].endswith("Y"))
        if changes:
            target = os.path.join(args.work, "copy.pew")
        cmd = [tool] + options if options is not None else [map_tool]
        text_path = None
        if text:
            kind, file = text.split(":")
            text_path = os.path.join(args.work, file)
            if kind == "in" and not os.path.exists(text_path):
                if not quiet:
                    print(f"{name:18} skipped: run the export that makes {file} first")
                continue
            cmd += [target, text_path]
        else:
            cmd += [target]
        # The best of a few runs, like the floors: the machine's writeback
        # and memory make single runs vary by a third. Each run pays for its
        # own writes only, not for the writeback of what the one before it
        # wrote (a save syncs the new project), and a changing action gets a
        # fresh copy of the project each time.
        seconds, peak_kib, code = None, 0, 0
        for _ in range(args.repeat):
            if changes:
                shutil.copyfile(project, target)
            os.sync()
            s, k, c = run(cmd, cwd=args.work)
            seconds = s if seconds is None else min(seconds, s)
            peak_kib, code = max(peak_kib, k), code or c
        results[name] = seconds
        if quiet:
            continue
        output = text_path
        if options and options[0].upper().startswith("-X"):
            output = os.path.splitext(target)[0] + ".wrp"  # the world goes beside the project
        text_mb_s = mb(os.path.getsize(output)) / seconds if output and os.path.exists(output) else None
        floor = floors.get(floor_kind)
        ratio = seconds / floor if floor else None
        kind, value = goal
        if kind == "MB/s":
            verdict = f">= {value} MB/s: " + ("yes" if text_mb_s and text_mb_s >= value else "no")
        elif value is None:
            verdict = "memory only"
        elif ratio is None:
            verdict = f"<= {value} x: {floor_kind} missing" if floor_kind.startswith("gdal") else "?"
        else:
            verdict = f"<= {value} x: " + ("yes" if ratio <= value else "no")
        ratio_text = f"{ratio:7.2f}" if ratio is not None else "      -"
        rate_text = f"{text_mb_s:8.0f}" if text_mb_s else "        "
        peak = peak_kib * 1024
        print(f"{name:18} {seconds:7.3f} {floor_kind:>10} {ratio_text} {rate_text} {mb(peak):8.0f} "
              f"{mb(limit):8.0f} {'yes' if peak <= limit else 'NO':>4}  {verdict}  {'' if code == 0 else 'status ' + str(code)}")
    return results


def make(maker, path, objects, args, deleted=None, grid=None):
    gen = [maker, path, "--objects", str(objects), "--templates", str(args.templates),
           "--grid", str(grid if grid is not None else args.grid),
           "--deleted", str(deleted if deleted is not None else args.deleted), "--duplicates", str(args.duplicates)]
    if run(gen)[2] != 0:
        sys.exit("generating the project failed: " + " ".join(gen))


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--objects", type=int, default=1000000)
    ap.add_argument("--templates", type=int, default=1000)
    ap.add_argument("--grid", type=int, default=2048)
    ap.add_argument("--deleted", type=float, default=0.1)
    ap.add_argument("--duplicates", type=float, default=0.05)
    ap.add_argument("--only", default="")
    ap.add_argument("--repeat", type=int, default=3, help="runs of each action; the fastest counts")
    ap.add_argument("--build", default=os.path.join(ROOT, "build"))
    ap.add_argument("--work", default=os.path.join(ROOT, "build", "bench-work"))
    ap.add_argument("--scale", action="store_true")
    ap.add_argument("--slots", type=int, default=0)
    args = ap.parse_args()

    tool = os.path.join(args.build, "src", "vorlan")
    map_tool = os.path.join(args.build, "src", "vorlan-map")
    maker = os.path.join(args.build, "bench", "make_project")
    for exe in (tool, map_tool, maker):
        if not os.access(exe, os.X_OK):
            sys.exit(f"{exe} is missing: build first (cmake --build {args.build})")
    os.makedirs(args.work, exist_ok=True)
    for stale in ("gdal-heights.tif",):
        if os.path.exists(os.path.join(args.work, stale)):
            os.remove(os.path.join(args.work, stale))
    project = os.path.join(args.work, "bench.pew")
    make(maker, project, args.objects, args)
    size = os.path.getsize(project)
    grid_bytes = 4 * args.grid * args.grid
    floors = Floors(args.work, project, args.repeat)
    cat = floors.get("cat")
    load = os.getloadavg()
    print(f"project: {args.objects} objects, {args.templates} templates, {args.grid}x{args.grid} grid, "
          f"{mb(size):.1f} MB; load average {load[0]:.2f} {load[1]:.2f} {load[2]:.2f}")
    print(f"floors: cat {cat:.3f} s, cp + sync {floors.get('cp'):.3f} s"
          + ("" if floors.gdal else "; GDAL's gdal_translate is missing (apt-get install gdal-bin)"))
    print(f"{'action':18} {'seconds':>7} {'floor':>10} {'x floor':>7} {'MB/s txt':>8} {'peak MB':>8} "
          f"{'limit MB':>8} {'mem':>4}  goal")

    only = set(filter(None, args.only.split(",")))
    if "map" in only:
        only.add("statistics")
    results = run_actions(args, tool, map_tool, project, args.objects, grid_bytes, only, floors)
    if "map" in results and "statistics" in results:
        # The map reads the whole project as the statistics do: the ratio is
        # what drawing and writing the picture add.
        print(f"map: {results['map'] / results['statistics']:.2f} x statistics")
    if floors.gdal and (not only or "export-asc" in only):
        print(f"GDAL: AAIGrid writer {floors.get('gdal-write') or 0:.3f} s, "
              f"reading the asc {floors.get('gdal-read') or 0:.3f} s")

    if args.scale:
        small = os.path.join(args.work, "small.pew")
        make(maker, small, args.objects // 3, args)
        keep = args.work
        print(f"\ngrowth from {args.objects // 3} to {args.objects} objects (3.0 is linear; the grid stays):")
        small_results = run_actions(args, tool, map_tool, small, args.objects // 3, grid_bytes, only, floors,
                                    quiet=True)
        args.work = keep
        for name, seconds in results.items():
            if name in small_results and small_results[name] > 0:
                print(f"{name:18} {small_results[name]:7.3f} -> {seconds:7.3f}  x {seconds / small_results[name]:.2f}")
        os.remove(small)

    if args.slots:
        slots = os.path.join(args.work, "slots.pew")
        make(maker, slots, args.slots, args, deleted=1.0, grid=16)
        slot_size = os.path.getsize(slots)
        limit = 2 * slot_size + 4 * 16 * 16 + 8 * args.slots
        seconds, peak_kib, code = run([tool, slots], cwd=args.work)
        print(f"\n{args.slots} deleted slots ({mb(slot_size):.1f} MB): statistics {seconds:.3f} s, peak "
              f"{mb(peak_kib * 1024):.0f} MB, limit {mb(limit):.0f} MB: "
              f"{'yes' if peak_kib * 1024 <= limit else 'NO'}{'' if code == 0 else ', status ' + str(code)}")
        os.remove(slots)


if __name__ == "__main__":
    main()
