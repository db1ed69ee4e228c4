"""Runs the gateway with changes in real time, and watches what it holds. See scripts/soak.

soak.py EXAMPLES MINUTES: EXAMPLES is the folder of the built examples.
"""
import json
import os
import pathlib
import re
import subprocess
import sys
import time

CYCLE = 5  # seconds; the changes of one leave the tree as it was
MOST_GROWTH_KIB = 512  # of memory: what the allocator may take for one more copy of a channel or project

WRONG_CHANGES = 2


def changes_of_cycle(number, start, folder):
    """One of everything: names and lengths that never come again, refusals included."""
    channel, tag, drum = f"Soak {number}", f"Tag {number * 7919}", f"Drum {number}"
    added = {"Type": "Tag", "Address": "40009", "DataType": 4, "ScanRate": 500, "Unit": "m3/h", "Description": "x" * (number % 50)}
    steps = [
        {"copy": "Heating network", "to": channel},
        {"rename": channel + ".Main.TT803", "to": tag},
        {"set": {"ScanRate": 250}, "of": f"{channel}.Main.{tag}"},
        {"add": {"Added " + tag: added}, "to": "Boiler 1.Drum"},
        {"patch": [{"op": "replace", "path": f"/Channels/{channel}/Devices/Main/Tags/TT801/ScanRate", "value": 2000},
                   {"op": "move", "from": f"/Channels/{channel}/Devices/Substation 1",
                    "path": f"/Channels/{channel}/Devices/Moved {number}"},
                   {"op": "remove", "path": f"/Channels/{channel}/Devices/Substation 2"}]},
        {"rename": "Boiler 2.Drum", "to": drum},
        {"save": str(folder / "during.bin")},
        {"set": {"ScanRate": 5}, "of": "Boiler 1.Drum.PT101"},  # refused
        {"patch": [{"op": "remove", "path": "/Channels/Boiler 1/Devices/Drum"},
                   {"op": "test", "path": "/Channels/Boiler 1/Port", "value": -1}]},  # refused, and undone
        {"save": str(folder / "during.xml")},
        {"rename": "Boiler 2." + drum, "to": "Drum"},
        {"delete": "Boiler 1.Drum.Added " + tag},
        {"save": str(folder / "during.json")},
        {"delete": channel},
    ]
    return [{"at": round(start + i * CYCLE / len(steps), 3), **step} for i, step in enumerate(steps)]


def write_settings(path, number):
    """Another log interval, language and slice each time; now and then what cannot be taken, and no file at all."""
    if number % 10 == 7:
        path.unlink(missing_ok=True)
        return
    interval = "never" if number % 10 == 3 else 500 + number % 4 * 500
    path.write_text(f"[Gateway]\nLogIntervalMs={interval}\nSliceMs={100 + number % 2 * 100}\n"
                    f"Language={'de' if number % 2 else 'en'}\n")


def sample(process):
    """Resident KiB, descriptors, threads; nothing when the process is gone."""
    try:
        status = pathlib.Path(f"/proc/{process.pid}/status").read_text()
        fields = dict(re.findall(r"^(VmRSS|Threads):\s+(\d+)", status, re.M))
        return int(fields["VmRSS"]), len(os.listdir(f"/proc/{process.pid}/fd")), int(fields["Threads"])
    except (OSError, KeyError):
        return None


def cut_readings(source, target, seconds):
    """The readings of the first seconds, some of them spoilt. False when there are not so many."""
    def seconds_of(line):
        hours, minutes, rest = re.search(rb"(\d+):(\d+):([\d.]+)", line).groups()
        return int(hours) * 3600 + int(minutes) * 60 + float(rest)
    with source.open("rb") as lines, target.open("wb") as out:
        out.write(next(lines))
        first, count = None, 0
        for line in lines:
            at = seconds_of(line.split(b",", 1)[0])
            first = at if first is None else first
            if at - first > seconds:
                return True
            count += 1
            out.write(line if count % 97 else line.rsplit(b",", 1)[0] + b",broken\n")
    return False


def main():
    examples, minutes = pathlib.Path(sys.argv[1]), float(sys.argv[2])
    seconds = minutes * 60
    if seconds < 4 * CYCLE:
        sys.exit("soak: at least a third of a minute, for each kind of change to come twice before what counts")
    folder = pathlib.Path("build/soak")
    folder.mkdir(parents=True, exist_ok=True)
    plant, settings = examples / "data/boiler_house", folder / "gateway.ini"
    if not cut_readings(plant.with_suffix(".csv"), folder / "readings.csv", seconds):
        sys.exit("soak: the readings of the sample plant are shorter than that")
    cycles = [changes_of_cycle(i, i * CYCLE, folder) for i in range(int((seconds - 1) // CYCLE))]
    changes = [change for cycle in cycles for change in cycle]
    (folder / "changes.json").write_text(json.dumps(changes, indent=1))
    write_settings(settings, 0)

    command = [examples / "gateway/gateway", plant.with_suffix(".json"), "--realtime", "--readings", folder / "readings.csv",
               "--changes", folder / "changes.json", "--settings", settings, "--log", folder / "gateway.log",
               "--save", folder / "after"]
    samples, reloads = [], 0
    started = time.monotonic()
    with open(folder / "gateway.out", "w") as output:
        process = subprocess.Popen([str(part) for part in command], stdout=output, stderr=output)
        while process.poll() is None and time.monotonic() - started < seconds + 60:
            time.sleep(max(0.0, started + len(samples) + 1 - time.monotonic()))
            seen = sample(process)
            if seen is not None:
                samples.append((time.monotonic() - started, *seen))
            if len(samples) % 2 == 0:
                reloads += 1
                write_settings(settings, reloads)
        if process.poll() is None:
            process.terminate()
    status = process.wait()
    with open(folder / "samples.csv", "w") as table:
        table.write("seconds,resident KiB,descriptors,threads\n")
        table.writelines(f"{at:.0f},{memory},{files},{threads}\n" for at, memory, files, threads in samples)

    # The last seconds load each saved form again to compare it: three more trees, which are no growth.
    samples = [each for each in samples if each[0] < seconds - 1]
    warm = min(60.0, seconds / 2)
    early, late = [s for s in samples if s[0] <= warm], [s for s in samples if s[0] > warm]
    faults = []
    print(f"{seconds:.0f} s, {len(changes)} changes ({len(cycles) * 3} of them saves, "
          f"{len(cycles) * WRONG_CHANGES} to be refused), {reloads} changes of the settings file")
    for column, name, allowed in ((1, "resident KiB", MOST_GROWTH_KIB), (2, "descriptors", 0), (3, "threads", 0)):
        values = [[s[column] for s in part] for part in (early, late)]
        growth = max(values[1]) - max(values[0])
        print(f"{name}: at first {values[0][0]}, most in the first {warm:.0f} s {max(values[0])}, most since {max(values[1])}, "
              f"at the end {values[1][-1]}: growth {growth} (allowed {allowed})")
        if growth > allowed:
            faults.append(f"{name} grew")
    text = (folder / "gateway.out").read_text()
    expected = f"{len(changes) - len(cycles) * WRONG_CHANGES} changes made while it ran, {len(cycles) * WRONG_CHANGES} not done"
    if status != 1 or expected not in text:  # 1: changes were refused
        faults.append(f"the gateway ended with {status}, or not with \"{expected}\": see {folder}/gateway.out")
    if not re.search("loaded again", (folder / "gateway.log").read_text()):
        faults.append("no settings were loaded again")
    for fault in faults:
        print("soak:", fault, file=sys.stderr)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
