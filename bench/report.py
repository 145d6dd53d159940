"""Turns the JSON output of the benchmark programs into docs/benchmarks.md.

Each row names one of our operations and its peer (another implementation
or a limit) from the same run; the ratio is the peer's median time divided
by ours, so above 1 means ours is faster and 0.95 means 5% slower.
"""
import datetime
import glob
import json
import os
import platform
import sys

# (operation, our benchmark, peer benchmark, what the peer is)
PAIRS = [
    ("CRC-32, 64 B", "crcOurs/64", "crcIdeal/64", "ideal single-table loop"),
    ("CRC-32, 4 KiB", "crcOurs/4096", "crcIdeal/4096", "ideal single-table loop"),
    ("CRC-32, 1 MiB", "crcOurs/1048576", "crcIdeal/1048576", "ideal single-table loop"),
    ("CRC-32, 64 B", "crcOurs/64", "crcZlib/64", "zlib crc32"),
    ("CRC-32, 4 KiB", "crcOurs/4096", "crcZlib/4096", "zlib crc32"),
    ("CRC-32, 1 MiB", "crcOurs/1048576", "crcZlib/1048576", "zlib crc32"),
]
for variant in ("X86_32", "X86_128", "X64_128"):
    for size, label in ((16, "16 B"), (256, "256 B"), (4096, "4 KiB"),
                        (1048576, "1 MiB")):
        PAIRS.append((f"MurmurHash3_{variant.lower()}, {label}",
                      f"hash{variant}Ours/{size}", f"hash{variant}Model/{size}",
                      "straightforward transcription"))
PAIRS += [
    ("Directory(text), typical path", "directoryTypical", "modelTypical",
     "naive search-and-replace"),
    ("Directory(text), typical path", "directoryTypical",
     "lexicallyNormalTypical", "std::filesystem lexically_normal"),
    ("Directory(text), hostile 1 KiB", "directoryHostile/1024",
     "modelHostile/1024", "naive search-and-replace"),
    ("Directory(text), hostile 16 KiB", "directoryHostile/16384",
     "modelHostile/16384", "naive search-and-replace"),
    ("Directory(text), hostile 1 KiB", "directoryHostile/1024",
     "lexicallyNormalHostile/1024", "std::filesystem lexically_normal"),
    ("Directory(text), hostile 1 MiB", "directoryHostile/1048576",
     "lexicallyNormalHostile/1048576", "std::filesystem lexically_normal"),
    ("File(text), hostile 1 KiB", "fileHostile/1024", "modelHostile/1024",
     "naive search-and-replace"),
    ("Directory(text), hostile 1 MiB (per byte vs 1 KiB)",
     "directoryHostile/1048576", "directoryHostile/1024",
     "linear limit: ours at 1 KiB scaled by 1024"),
    ("filtered Zu::LogTrace", "filteredTrace", "indirectEmptyCall",
     "indirect call of an empty function"),
    ("KaMemoryAPI_create + destroy, 32 B", "tableCreateDestroy/32",
     "mallocFree/32", "malloc + free"),
    ("KaMemoryAPI_create + destroy, 4 KiB", "tableCreateDestroy/4096",
     "mallocFree/4096", "malloc + free"),
]
PAIRS += [
    ("Filesystem::copy, 256 MiB file", "copyOurs", "copyLoop",
     "32 KiB read/write loop"),
    ("Filesystem::glob, 20,000 files, recursive", "globOurs", "globNftw",
     "nftw + fnmatch"),
    ("Filesystem::glob, 20,000 files, recursive", "globOurs",
     "globStdRecursive", "recursive_directory_iterator + fnmatch"),
    ("libwdmatch_match_i, typical", "matchOurs/0", "matchFnmatch/0",
     "fnmatch, FNM_CASEFOLD"),
    ("libwdmatch_match_i, medium", "matchOurs/1", "matchFnmatch/1",
     "fnmatch, FNM_CASEFOLD"),
    ("libwdmatch_match_i, adversarial, 32 B", "matchOurs/32",
     "matchFnmatch/32", "fnmatch, FNM_CASEFOLD"),
    ("libwdmatch_match_i, adversarial, 32 KiB", "matchOurs/32768",
     "matchFnmatch/32768", "fnmatch, FNM_CASEFOLD"),
]
PAIRS += [
    ("ThreadPool(2), 200,000 units added one by one",
     "BM_ThreadPool_OneByOne", "BM_Baseline_OneByOne",
     "std::mutex + condition_variable + deque pool"),
    ("ThreadPool(2), 200,000 units added as one batch",
     "BM_ThreadPool_Batch", "BM_Baseline_Batch",
     "std::mutex + condition_variable + deque pool"),
    ("StepperThread pause(true) + pause(false), empty step",
     "BM_Stepper_PauseRoundTrip", "BM_UngatedPause_RoundTrip",
     "pause by a plain mutex, without the gate"),
]
# Rows whose peer is ours at a smaller size: scale the peer by this factor.
SCALE = {("directoryHostile/1048576", "directoryHostile/1024"): 1024.0}


def load(directory):
    medians, context = {}, {}
    for path in sorted(glob.glob(os.path.join(directory, "*.json"))):
        with open(path) as stream:
            data = json.load(stream)
        context = data.get("context", context)
        for entry in data["benchmarks"]:
            name = entry["name"]
            if entry.get("aggregate_name") == "median":
                name = entry.get("run_name", name.rsplit("_median", 1)[0])
            elif entry.get("run_type") == "aggregate":
                continue
            # Suffixes that only say how a benchmark was run.
            name = "/".join(part for part in name.split("/")
                            if part != "real_time"
                            and not part.startswith("iterations:"))
            medians[name] = (entry["real_time"], entry["time_unit"])
    return medians, context


def nanoseconds(value, unit):
    return value * {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}[unit]


def show(ns):
    for limit, unit, divisor in ((1e3, "ns", 1), (1e6, "µs", 1e3),
                                 (1e9, "ms", 1e6)):
        if ns < limit:
            return f"{ns / divisor:.3g} {unit}"
    return f"{ns / 1e9:.3g} s"


def cpu_model():
    try:
        with open("/proc/cpuinfo") as stream:
            for line in stream:
                if line.startswith("model name"):
                    return line.split(":", 1)[1].strip()
    except OSError:
        pass
    return platform.processor() or "unknown"


def main():
    directory, repetitions, command = sys.argv[1], sys.argv[2], sys.argv[3]
    medians, context = load(directory)
    lines = [
        "# Benchmarks",
        "",
        "Each row times one of our operations and its peer in the same run.",
        f"Times are medians of {repetitions} repetitions (wall clock). The",
        "ratio is the peer's time divided by ours: above 1, ours is faster;",
        "0.95 means ours takes about 5% longer.",
        "",
        "| Operation | Ours | Peer | Peer time | Ratio |",
        "|---|---|---|---|---|",
    ]
    missing = []
    for operation, ours, peer, label in PAIRS:
        if ours not in medians or peer not in medians:
            missing.append(ours if ours not in medians else peer)
            continue
        ours_ns = nanoseconds(*medians[ours])
        peer_ns = nanoseconds(*medians[peer]) * SCALE.get((ours, peer), 1.0)
        lines.append(f"| {operation} | {show(ours_ns)} | {label} | "
                     f"{show(peer_ns)} | {peer_ns / ours_ns:.2f} |")
    lines += [
        "",
        "## Reading the table",
        "",
        "- zlib's crc32 reads several bytes per table step; ours is the",
        "  one-byte-one-lookup loop, whose limit is the ideal single-table row.",
        "- `recursive_directory_iterator` takes an entry's type from the",
        "  directory listing; `glob` (like nftw) asks `stat`, which follows",
        "  links, for every entry, as its listing rules require.",
        "- The filtered log message pays the call into the shared library,",
        "  the collection of its variable arguments and the handler's one",
        "  comparison; the peer is one indirect call of an empty function.",
        "- The pool hands every unit over through two semaphores and a",
        "  recursive mutex; the peer pool uses one mutex and one condition",
        "  variable and no per-unit completion.",
        "",
        "## Machine",
        "",
        f"- Processor: {cpu_model()}, {context.get('num_cpus', '?')} cores "
        "available, shared with other work while measuring",
        f"- System: {platform.system()} {platform.release()}",
        f"- Measured: {datetime.date.today().isoformat()}, library built with "
        "the `bench` preset (Release)",
        "",
        "## Reproduce",
        "",
        "```sh",
        command,
        "```",
    ]
    print("\n".join(lines))
    if missing:
        print(f"missing benchmarks: {', '.join(missing)}", file=sys.stderr)
        sys.exit(1)


main()
