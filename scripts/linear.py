"""Counts instructions under callgrind, and compares those of inputs of one, two and four times a size.

linear.py PROGRAM [word]...: PROGRAM is bench/linear_time.cpp, built. See scripts/linear.
"""
import pathlib
import re
import subprocess
import sys
import tempfile

# n log n has its place below, and a step of a table that grows; the square of n would be 4.
MOST = 2.3


def counts(program, words):
    """Of each row in turn its name and pairs of a size and a number of instructions."""
    with tempfile.TemporaryDirectory() as folder:
        output = pathlib.Path(folder) / "counts"
        command = ["valgrind", "--tool=callgrind", "--toggle-collect=zorutil_counted", "--dump-after=zorutil_counted",
                   f"--callgrind-out-file={output}", program, *words]
        run = subprocess.run(command, capture_output=True, text=True)
        if run.returncode != 0:
            sys.exit(f"linear: {program} failed:\n{run.stdout}{run.stderr}")
        rows = {}
        for number, line in enumerate(run.stdout.splitlines(), start=1):
            size, name = line.split("\t")
            dump = pathlib.Path(f"{output}.{number}").read_text()
            total = re.search(r"^(?:totals|summary): (\d+)", dump, re.M)
            rows.setdefault(name, []).append((int(size), int(total.group(1))))
        return rows


def main():
    rows = counts(sys.argv[1], sys.argv[2:])
    if not rows:
        sys.exit("linear: there is no such row")
    print(f"{'':46} {'size':>7} {'instructions':>14} {'for each':>9}   twice  four times")
    steep = []
    for name, row in rows.items():
        (size, first), (_, second), (_, fourth) = row
        ratios = second / first, fourth / second
        isSteep = max(ratios) > MOST
        print(f"{name:46} {size:>7} {first:>14,} {first / size:>9,.0f} {ratios[0]:>7.2f} {ratios[1]:>11.2f}{'  STEEP' if isSteep else ''}")
        if isSteep:
            steep.append(name)
    if steep:
        sys.exit(f"linear: {len(steep)} of {len(rows)} rows grow by more than {MOST} when their input doubles")
    print(f"{len(rows)} rows, none grows by more than {MOST} when its input doubles")


if __name__ == "__main__":
    main()
