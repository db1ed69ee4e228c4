#!/usr/bin/env python3
"""The table of docs/performance.md from the JSON reports of the benchmarks: bench_table.py DOCUMENT REPORT.json...

Puts it into the document, between the two lines that mark its place, and prints it. Lines whose programs were not run
stay as the document has them.

Each line sets a work beside a peer that does the same in the same run, and beside the target that we hold ourselves to.
"""
import json
import platform
import sys

# Work (the benchmark's name up to the slash), peer, target: a largest ratio of our time to the peer's, a largest time in
# ns, or a least rate in GB/s. None: told for information.
BEGIN, END = "<!-- begin: scripts/bench --table -->", "<!-- end -->"

RATIO, NS, RATE = "times the peer", "ns", "GB/s"
ROWS = [
    ("copy scalar", "bare union", (RATIO, 1.5)),
    ("assign scalar", "bare union", (RATIO, 1.5)),
    ("copy string", "std::variant", (RATIO, 1.0)),
    ("copy string", "Boost.JSON", (RATIO, 0.5)),
    ("copy string", "QVariant", None),
    ("int32 to double", None, (NS, 3)),
    ("int32 to double", "QVariant", (RATIO, 0.25)),
    ("double to int32", None, (NS, 3)),
    ("double to int32", "QVariant", (RATIO, 0.25)),
    ("double to int32 checked", None, (NS, 3)),
    ("deadband of doubles", "bare union", (RATIO, 2.0)),
    ("deadband of int16", "bare union", (RATIO, 2.0)),
    ("readings to text", "to_chars 15 digits", (RATIO, 1.3)),
    ("readings to text", "to_chars shortest", (RATIO, 1.3)),
    ("doubles to text", "to_chars 15 digits", (RATIO, 1.3)),
    ("doubles to text", "to_chars shortest", (RATIO, 1.3)),
    ("int32 to text", "to_chars", (RATIO, 1.5)),
]
for work in ("int32", "readings", "doubles"):
    ROWS += [(f"text to {work}", "from_chars", (RATIO, 1.5)), (f"text to {work}", "from_chars", None, "ours in a variant")]
for types in ("int16 to double", "int16 to int16", "int32 to double", "int32 to int32", "double to double"):
    for count in (1000, 1000000):
        ROWS.append((f"scale {types} x {count}", "bare loop", (RATIO, 1.5)))
        ROWS.append((f"scale {types} x {count}", "QVariantList", (RATIO, 0.05)))
for work in ("equal arrays of {}", "arrays of {} within the deadband"):
    ROWS += [(work.format(t), None, (RATE, 40)) for t in ("int8", "int16", "int32", "float", "double")]
ROWS += [
    ("CString copy alone", None, (NS, 4)),
    ("CString copy alone", "QString", None),
    ("CString copy and destroy", "QString", None),
    ("CString copy and destroy, two threads", "QString", None),
]
for text in ("ASCII 24 B", "mixed 24 B", "ASCII 64 KiB", "mixed 64 KiB"):
    for work in ("UTF-8 to UTF-16", "UTF-16 to UTF-8"):
        ROWS.append((f"{work}, {text}", "QString", (RATIO, 1.0)))
for names in ("same name", "same but for case", "other name"):
    ROWS.append((f"compare names, {names}", "ucol_strcoll", (RATIO, 0.2)))
for work in ("encode", "decode"):
    for size in ("24 B", "1 KiB", "64 KiB"):
        for peer in ("Abseil", "modp_b64"):
            ROWS.append((f"base64 {work} {size}", peer, (RATIO, 1.0)))
for work in ("pool pair", "pool pair, two threads"):
    bound = 1.0 if work == "pool pair" else 0.5
    ROWS += [(work, peer, (RATIO, bound)) for peer in ("Boost singleton_pool", "Poco MemoryPool")]
    ROWS += [(work, peer, None) for peer in ("synchronized_pool_resource", "mi_malloc", "malloc")]
ROWS += [
    ("pool pair", None, (NS, 12)),
    ("pool hand-over", "malloc", (RATIO, 1.0)),
    ("pool burst of 1000 blocks", "malloc", None),
    ("private heap pair", "malloc", (RATIO, 2.0)),
    ("private heap pair, two threads", "malloc", None),
    ("private heap replace 16 to 512 B", "malloc", (RATIO, 2.0)),
    ("private heap replace 1 to 16 KiB", "malloc", (RATIO, 2.0)),
    ("private heap made for one block", None, None),
    ("message of 4 KiB in steps of 16 B", None, (NS, 1000)),
    ("message of 4 KiB in steps of 16 B", "QByteArray", (RATIO, 0.33)),
    ("message of 4 KiB in steps of 16 B", "QByteArray by offset", (RATIO, 0.33)),
    ("message of 4 KiB in steps of 16 B", "std::deque", None),
    ("message of 4 KiB in steps of 16 B", "QDataStream", None, "ours as interface"),
    ("message of 4 KiB, two threads", "QByteArray", None),
]
for work in ("100 MiB in writes of 16 B", "100 MiB in writes of 16 B, kept heap"):
    ROWS += [(work, "std::deque", (RATIO, 1.0)), (work, "QDataStream", (RATIO, 0.33))]
ROWS += [
    ("message with two arguments", None, (NS, 500)),
    ("message with two arguments", "QString", None),
    ("message with two arguments", "POCO", None),
    ("message with two arguments", "snprintf", None),
    ("text of a number", None, None),
]
ROWS += [
    ("INI load 100000 keys", "GKeyFile", (RATIO, 0.333)),
    ("INI save 100000 keys", "GKeyFile", None),
    ("INI find a value", None, (NS, 60)),
    ("INI find a value", "GKeyFile", None),
    ("INI find a value", "QSettings", None),
    ("INI change a value", "GKeyFile", None),
]
for work in ("load XML {}", "save XML {}"):
    for size in ("1 MB", "50 MB"):
        bounds = {"libxml2": (RATIO, 1.3), "POCO": (RATIO, 0.5), "QDomDocument": (RATIO, 0.5), "pugixml": None}
        ROWS += [(work.format(size), peer, bound) for peer, bound in bounds.items()]
        ROWS.append((work.replace("XML", "XML file").format(size), "libxml2", (RATIO, 1.3)))
ROWS += [
    ("read an element as int", None, None),
    ("read an attribute as int", None, None),
    ("build 1000 elements", "libxml2", None),
    ("validate 40 properties", None, (NS, 5000)),
    ("validate 40 properties", "hand-written", None),
    ("collect failures of 40 properties", None, (NS, 5000)),
    ("find a definition of 40 in use", None, (NS, 30)),
    ("find a definition of 80000", "unordered_map without lock", None),
    ("open one namespace of 10000 among 9", None, None),
    ("write 10000 definitions", None, None),
]
for size in ("1 MB", "50 MB"):
    ROWS += [
        (f"JSON read {size}", "Boost.JSON", (RATIO, 1.0)),
        (f"JSON read {size}", "QJsonDocument", (RATIO, 0.167)),
        (f"JSON read {size} compact", "Boost.JSON", (RATIO, 1.0)),
        (f"JSON write {size} compact", "RapidJSON", (RATIO, 1.0)),
        (f"JSON write {size} compact", None, (RATE, 0.6)),
    ]
ROWS += [
    ("insert a record in name order", None, (NS, 200)),
    ("insert a record in name order", "flat_set", (RATIO, 1.0)),
    ("insert a record at random, 100000", "flat_set", (RATIO, 1.0)),
    ("insert a record at random, 1000000", None, None),
    ("find a record of 100000, case changed", None, (NS, 400)),
    ("find a record of 100000, case changed", "sort keys", (RATIO, 1.0)),
    ("generate a name of 10000", None, None),
    ("generate a name of 100000", None, None),
]
for order in ("name order", "order of numbers", "random order", "falling order", "all of one name"):
    ROWS.append((f"load 1000000 records, {order}", None, (NS, 3e9)))
ROWS += [
    ("save 1000000 records", None, None),
    ("project of 1,000,000 tags, binary, save", None, (NS, 1.5e9)),
    ("project of 1,000,000 tags, binary, load", None, (NS, 1.5e9)),
    ("project of 100,000 tags, XML, save", "pugixml, text only", (NS, 2e9)),
    ("project of 100,000 tags, XML, load", "pugixml, text only", (NS, 2e9)),
    ("project of 100,000 tags, JSON, save", "RapidJSON, text only", (NS, 2e9)),
    ("project of 100,000 tags, JSON, load", "RapidJSON, text only", (NS, 2e9)),
    ("copy a device of 1,000 tags", None, (NS, 2e6)),
    ("compare 1,000,000 tags with their copies", None, (NS, 1e9)),
    ("patch 10,000 settings of 1,000,000 tags", None, None),
    ("patch one setting of 1,000,000 tags", None, None),
]
for work in ("setting as number", "setting as number, two threads"):
    ROWS += [(work, None, (NS, 15)), (work, "QSettings", None)]
for work in ("setting as text", "setting as text, two threads"):
    ROWS.append((work, "QSettings", None))
ROWS.append(("setting as number, after a load", None, None))
ROWS += [("registry import 10000 values", peer, target) for peer, target in
         ((None, (NS, 3e8)), ("SQLite by hand", None), ("QSettings", None))]
ROWS += [
    ("registry read a value", None, (NS, 15000)),
    ("registry read a value", "SQLite by hand", None),
    ("registry read a value", "QSettings with sync", None),
    ("registry read a value of an open key", None, (NS, 15000)),
    ("registry open a key and read a value", None, None),
    ("registry read a value beside another thread", None, None),
    ("registry write a value", None, None),
]
ROWS += [("text to IPv4 address", peer, (RATIO, 1.0) if peer == "Boost.Asio" else None) for peer in
         ("Boost.Asio", "inet_pton", "POCO")]
ROWS += [
    ("no IPv4 address", "Boost.Asio", (RATIO, 1.0)),
    ("IPv4 address to text", "POCO", (RATIO, 0.5)),
    ("IPv4 address to text", "inet_ntop", None),
    ("IPv4 address to text", "Boost.Asio", None),
]


class Median:
    """The median of one benchmark's repetitions."""

    def __init__(self, entry):
        # Programs that measure by hand give the processor's time as "real"; where the disk counts, real time is asked for.
        is_real = entry["run_name"].endswith(("/manual_time", "/real_time"))
        time = entry["real_time" if is_real else "cpu_time"]
        self.ns = time * {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[entry["time_unit"]]
        self.rate = entry.get("bytes_per_second", 0) / 1e9


def read_medians(paths):
    medians = {}
    for path in paths:
        with open(path, encoding="utf-8") as report:
            for entry in json.load(report)["benchmarks"]:
                if entry.get("aggregate_name") == "median" and not entry.get("error_occurred"):
                    work, who = entry["run_name"].split("/")[:2]
                    medians[work, who] = Median(entry)
    return medians


def time_text(ns):
    if ns >= 1e9:
        return f"{ns / 1e9:.3g} s"
    if ns >= 1e6:
        return f"{ns / 1e6:.3g} ms"
    return f"{ns / 1e3:.3g} µs" if ns >= 1e3 else f"{ns:.3g} ns"


def is_met(target, ours, ratio):
    kind, bound = target
    return {RATIO: ratio is not None and ratio <= bound, NS: ours.ns <= bound, RATE: ours.rate >= bound}[kind]


def target_text(target):
    if target is None:
        return ""
    kind, bound = target
    return {RATIO: f"≤ {bound}", NS: f"≤ {time_text(bound)}", RATE: f"≥ {bound} GB/s"}[kind]


def title_text(work, who):
    return work if who == "ours" else f"{work} ({who.removeprefix('ours ')})"


def row_text(medians, old, work, peer, target, who="ours"):
    ours = medians.get((work, who))
    if ours is None:
        return old.get((title_text(work, who), peer or ""))
    theirs = medians.get((work, peer))
    ratio = ours.ns / theirs.ns if theirs else None
    value = f"{time_text(ours.ns)} ({ours.rate:.{0 if ours.rate >= 10 else 2}f} GB/s)" if ours.rate else time_text(ours.ns)
    verdict = ""
    if target is not None:
        verdict = "peer left out" if target[0] == RATIO and theirs is None else "met" if is_met(target, ours, ratio) else "**no**"
    cells = [title_text(work, who), value, peer or "", time_text(theirs.ns) if theirs else "", f"{ratio:.2f}" if ratio else "",
             target_text(target), verdict]
    return "| " + " | ".join(cells) + " |"


def machine_text():
    with open("/proc/cpuinfo", encoding="utf-8") as info:
        models = [line.split(":", 1)[1].strip() for line in info if line.startswith("model name")]
    return f"{models[0] if models else platform.machine()}, {len(models)} processors, Linux {platform.release()}"


def read_rows(table):
    """The lines of a table by their work and peer."""
    rows = {}
    for line in table.splitlines():
        cells = [cell.strip() for cell in line.split("|")]
        if len(cells) > 4:
            rows[cells[1], cells[3]] = line
    return rows


def table_text(medians, old):
    rows = [row_text(medians, old, *row) for row in ROWS]
    head = ["| work | ours | peer | peer's | ratio | target | |", "|---|---:|---|---:|---:|---:|---|"]
    return "\n".join([f"Machine: {machine_text()}.", "", *head, *filter(None, rows)])


def main():
    document, reports = sys.argv[1], sys.argv[2:]
    with open(document, encoding="utf-8") as file:
        before, rest = file.read().split(BEGIN)
    table, after = rest.split(END)
    table = table_text(read_medians(reports), read_rows(table))
    with open(document, "w", encoding="utf-8") as file:
        file.write(f"{before}{BEGIN}\n{table}\n{END}{after}")
    print(table)


if __name__ == "__main__":
    main()
