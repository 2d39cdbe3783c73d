#!/usr/bin/python3
"""Sorts the same inputs with the library and with NumPy, in turns, and prints medians and their ratio.

    bench/sort_numpy.py path/to/libZentharRTL.so [--length N] [--turns N] [--threads N]

A ratio above 1 means that the library is ahead. Times are those that the process spends on a processor, except with
--threads above 1, where it is the time that passes. Every result is compared with NumPy's before it is timed.
"""

import argparse
import ctypes
import statistics
import time

import numpy

parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
parser.add_argument("library")
parser.add_argument("--length", type=int, default=1_000_000)
parser.add_argument("--turns", type=int, default=7)
parser.add_argument("--threads", type=int, default=1)
arguments = parser.parse_args()

rtl = ctypes.CDLL(arguments.library)
rtl.ZentharRTL_initialize()
rtl.InitRuntimeLibrary(1)
rtl.setParallelThreadNumber(arguments.threads)
clock = time.process_time if arguments.threads == 1 else time.perf_counter


class Header(ctypes.Structure):
    """The head of an array, as far as its data."""
    _fields_ = [("precision", ctypes.c_double), ("dimensions", ctypes.c_void_p), ("rank", ctypes.c_int64),
                ("tensor_type", ctypes.c_int32), ("flags", ctypes.c_uint32), ("numeric_type", ctypes.c_int32),
                ("length", ctypes.c_int64), ("data", ctypes.c_void_p), ("references", ctypes.c_int64)]


rtl.MTensor_newAllocatedCommon.restype = ctypes.POINTER(Header)


def pointer(array):
    return ctypes.c_void_p(array.ctypes.data)


def new_array(kind, length):
    dimensions = ctypes.c_int64(length)
    return rtl.MTensor_newAllocatedCommon(ctypes.c_int32(kind), ctypes.c_int64(1), ctypes.byref(dimensions), 0)


def inputs(kind, n):
    random = numpy.random.default_rng(1)
    base = random.integers(-2**63, 2**63 - 1, n) if kind == "integers" else random.standard_normal(n)
    yield "random", base
    yield "sorted", numpy.sort(base)
    yield "reversed", numpy.sort(base)[::-1].copy()
    yield "few-distinct", random.choice(base[:16], n)
    yield "saw-tooth", (numpy.arange(n) % 1000).astype(base.dtype)


def turns(ours, theirs):
    """Medians of both, taken in alternation after one uncounted turn."""
    times = ([], [])
    for turn in range(arguments.turns + 1):
        for which, function in enumerate((ours, theirs)):
            begin = clock()
            function()
            if turn > 0:
                times[which].append(clock() - begin)
    return tuple(1e3 * statistics.median(t) for t in times)


def report(name, ours, theirs):
    a, b = turns(ours, theirs)
    print(f"{name:42} {a:9.2f} {b:9.2f} {b / a:7.2f}")


print(f"{'milliseconds':42} {'library':>9} {'NumPy':>9} {'ratio':>7}")
for kind, sort in (("integers", rtl.MergeSortPermutation_mint), ("reals", rtl.MergeSortPermutation_double)):
    for shape, values in inputs(kind, arguments.length):
        permutation = numpy.empty(len(values), dtype=numpy.int64)
        call = lambda: sort(pointer(permutation), pointer(values), ctypes.c_int64(len(values)))
        call()
        assert (permutation == numpy.argsort(values, kind="stable")).all()
        report(f"{kind} {shape} argsort stable", call, lambda: numpy.argsort(values, kind="stable"))

        array, result = new_array(2 if kind == "integers" else 3, len(values)), ctypes.POINTER(Header)()
        ctypes.memmove(array.contents.data, pointer(values), values.nbytes)
        call = lambda: rtl.MTensor_Sort(ctypes.byref(result), array)
        assert call() == 0
        ours = numpy.frombuffer((ctypes.c_char * values.nbytes).from_address(result.contents.data), values.dtype)
        assert (ours == numpy.sort(values)).all()
        report(f"{kind} {shape} sort", call, lambda: numpy.sort(values))
        rtl.MTensor_delete(array)
        rtl.MTensor_delete(result)
