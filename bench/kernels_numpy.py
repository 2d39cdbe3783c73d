#!/usr/bin/env python3
"""The rows of kernels_bench for numpy's ufuncs (Debian package python3-numpy), into a given result, one thread.

Operands are those of kernels_bench in kind: integers of both signs whose products fit. A row is the best of several
turns; run kernels_bench right before or after, on an otherwise idle machine.
"""
import time

import numpy

ROWS = [("plus", numpy.add), ("subtract", numpy.subtract), ("times", numpy.multiply), ("minus", numpy.negative),
        ("abs", numpy.absolute)]
REAL_ROWS = [("div", numpy.divide), ("sqrt", numpy.sqrt)]


def operand(kind, n, seed):
    values = numpy.random.default_rng(seed).integers(-(1 << 18), 1 << 18, n)
    values[values == 0] = 1
    return values.astype(kind)


def seconds_per_call(function, operands, result, calls):
    best = float("inf")
    for _ in range(7):
        start = time.perf_counter()
        for _ in range(calls):
            function(*operands, out=result)
        best = min(best, (time.perf_counter() - start) / calls)
    return best


def main():
    for kind, name in ((numpy.int64, "integer"), (numpy.float64, "real")):
        for operation, function in ROWS + (REAL_ROWS if name == "real" else []):
            for n in (8192, 1 << 22):
                operands = [operand(kind, n, k + 1) for k in range(function.nin)]
                if operation == "sqrt":
                    operands = [numpy.abs(operands[0])]
                result = numpy.empty(n, kind)
                seconds = seconds_per_call(function, operands, result, max(3, (1 << 24) // n))
                print(f"{operation}/{name}/numpy/{n}  items_per_second={n / seconds / 1e9:.3f}G/s", flush=True)


main()
