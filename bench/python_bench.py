# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""python_bench.py TIMER [--folder DIR] [--pairs N] [--require]: measures the Python package against the load of the
library in C++ (the program TIMER) and against tifffile. The contenders of a figure run alternately; a figure is the
ratio of their medians. --require: exit status 1 if a figure is outside of its limit. --quick: one pair, to test that the benchmark runs."""

import argparse
import concurrent.futures
import os
import re
import statistics
import subprocess
import sys
import tempfile
import time

import numpy as np
import tifffile
import velmo_image

PLANES, SIZE = 40, 1024
COMPRESSIONS = ("none", "lzw", "deflate")
PEAK = """
import sys, velmo_image
velmo_image.imread(sys.argv[2])
def peak():  # not that of getrusage, which a new process inherits
    return next(int(line.split()[1]) * 1024 for line in open("/proc/self/status") if line.startswith("VmHWM"))
before = peak()
image = velmo_image.imread(sys.argv[1])
print((peak() - before) / image.nbytes)
"""


def make_pixels():
    """Pixels that compress to about a third: waves with some noise."""
    random = np.random.default_rng(1)
    wave = (np.sin(np.arange(SIZE) / 30) * 100 + 200).astype("uint16")
    noise = random.integers(0, 4, (PLANES, SIZE, SIZE), "uint16")
    return noise + wave[None, None, :] + wave[None, :, None]


def seconds_of(call):
    start = time.perf_counter()
    result = call()
    seconds = time.perf_counter() - start
    del result
    return seconds


class LoadTimer:
    """The program that loads files in C++."""

    def __init__(self, program):
        self._process = subprocess.Popen([program], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def load(self, path):
        print(path, file=self._process.stdin, flush=True)
        return float(self._process.stdout.readline())

    def close(self):
        self._process.stdin.close()
        self._process.wait()


class Bench:
    """Measures figures, prints them and compares them with their limits."""

    def __init__(self, options):
        self._filter = options.benchmark_filter
        self.pairs = options.pairs
        self.failed = 0
        self.measured = 0

    def wants(self, name):
        return re.search(self._filter, name)

    def compare(self, name, ours, other, limit):
        """The ratio of the medians of two functions that return seconds."""
        if not self.wants(name):
            return
        ours(), other()
        pairs = [(ours(), other()) for _ in range(self.pairs)]
        medians = [statistics.median(times) for times in zip(*pairs)]
        self.report(name, medians[0] / medians[1], limit, f"{medians[0]:9.4f} s {medians[1]:9.4f} s")

    def report(self, name, figure, limit, details=""):
        kind, bound = limit
        good = figure <= bound if kind == "at most" else figure >= bound
        self.failed += not good
        self.measured += 1
        print(f"{name:<55} {figure:7.3f}  {kind} {bound:<5} {'' if good else 'MISSED':6} {details}", flush=True)


def measure_threads(bench, path):
    """Eight threads on one image, compared with one thread: the speed-up for each core."""
    name = "lazy image, Deflate: speed-up of 8 threads / cores"
    if not bench.wants(name):
        return
    cores = len(os.sched_getaffinity(0))
    image = velmo_image.open(path)

    def read(threads):
        with concurrent.futures.ThreadPoolExecutor(threads) as pool:
            return seconds_of(lambda: list(pool.map(lambda z: image[0, 0, z].size, range(PLANES))))

    times = [(read(1), read(8)) for _ in range(bench.pairs)]
    one, eight = (statistics.median(column) for column in zip(*times))
    bench.report(name, one / eight / cores, ("at least", 0.8), f"{one:9.4f} s {eight:9.4f} s, {cores} cores")


def measure_copies(bench, path, pixels):
    """Addresses say whether something was copied."""
    if bench.wants("copies"):
        image = velmo_image.imread(path)
        arrays = [np.asarray(image), image[...], np.asarray(image)]
        copies = len({array.__array_interface__["data"][0] for array in arrays}) - 1
        bench.report("copies of numpy.asarray(image)", copies, ("at most", 0))
        copies = int(not np.shares_memory(velmo_image._pixels.to_full_array(pixels, "ZYX"), pixels))
        bench.report("copies of a C-contiguous array that is written", copies, ("at most", 0))


def measure(bench, timer, folder):
    pixels = make_pixels()
    small = os.path.join(folder, "small.tif")
    velmo_image.imwrite(small, pixels[:1, :8, :8].copy(), axes="ZYX", compression="deflate")
    for compression in COMPRESSIONS:
        path = os.path.join(folder, compression + ".tif")
        velmo_image.imwrite(path, pixels, axes="ZYX", compression=compression)
        np.testing.assert_array_equal(velmo_image.imread(path)[0, 0], pixels)

        def imread(path=path):
            return seconds_of(lambda: velmo_image.imread(path))

        name = f"imread, {compression} / load in C++"
        bench.compare(name, imread, lambda path=path: timer.load(path), ("at most", 1.05))
        try:
            tifffile.imread(small if compression == "none" else path, key=0)
        except ValueError as error:
            print(f"imread, {compression} / tifffile: tifffile needs another package: {error}")
        else:
            bench.compare(
                f"imread, {compression} / tifffile",
                imread,
                lambda path=path: seconds_of(lambda: tifffile.imread(path)),
                ("at most", 1.0),
            )
        name = f"imread, {compression}: peak memory / pixels"
        if bench.wants(name):
            peak = subprocess.check_output([sys.executable, "-c", PEAK, path, small], text=True)
            bench.report(name, float(peak), ("at most", 1.05))
    measure_threads(bench, os.path.join(folder, "deflate.tif"))
    measure_copies(bench, small, pixels)


def main():
    parser = argparse.ArgumentParser(description=__doc__, allow_abbrev=False)
    parser.add_argument("timer")
    parser.add_argument("--folder")
    parser.add_argument("--pairs", type=int, default=9)
    parser.add_argument("--require", action="store_true")
    parser.add_argument("--quick", action="store_true", help="one pair, without limits")
    parser.add_argument("--benchmark_filter", default="")
    options, _ = parser.parse_known_args()  # others are those of Google Benchmark
    if options.quick:
        options.pairs, options.require = 1, False
    bench = Bench(options)
    timer = LoadTimer(options.timer)
    with tempfile.TemporaryDirectory(dir=options.folder) as folder:
        measure(bench, timer, folder)
    timer.close()
    return 1 if options.require and (bench.failed or not bench.measured) else 0


sys.exit(main())
