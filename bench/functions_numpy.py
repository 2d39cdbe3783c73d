#!/usr/bin/env python3
"""numpy's part of functions_bench, which runs this (Debian package python3-numpy).

Each line of the input names a ufunc, the kind of its operands, the number of elements, the milliseconds of a turn and
the files that hold the operands; the answer is one line with the nanoseconds an element, the least of a few turns, or
0 where numpy has no such ufunc.
"""
import sys
import time

import numpy


def nanoseconds(name, kind, n, milliseconds, files):
    function = getattr(numpy, name, None)
    if not isinstance(function, numpy.ufunc):
        return 0.0
    operands = [numpy.fromfile(file, kind, n) for file in files]
    # The kind of a result that is real for complex operands is found by calling.
    result = numpy.empty(n, function(*operands).dtype)
    calls, best = 1, float("inf")
    turn = milliseconds / 1e3
    spent = 0.0
    while spent < turn:
        start = time.perf_counter()
        for _ in range(calls):
            function(*operands, out=result)
        taken = time.perf_counter() - start
        best = min(best, taken / calls)
        if taken < turn / 8:
            calls *= 2
        spent += taken
    return best / n * 1e9


numpy.seterr(all="ignore")
for line in sys.stdin:
    name, kind, n, milliseconds, *files = line.split()
    print(nanoseconds(name, kind, int(n), float(milliseconds), files), flush=True)
