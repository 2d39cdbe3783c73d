#!/usr/bin/env python3
"""The rows of kernels_bench for numpy's ufuncs (Debian package python3-numpy), into a given result, one thread.

Operands are those of kernels_bench in kind: integers of both signs whose products fit. A row is the best of several
turns; run kernels_bench right before or after, on an otherwise idle machine.
"""
import time

import numpy

ROWS = [("plus", numpy.add), ("subtract", numpy.subtract), ("times", numpy.multiply), ("abs", numpy.absolute),
        ("max", numpy.maximum)]
SIGNED_ROWS = [("minus", numpy.negative)]
REAL_ROWS = [("div", numpy.divide), ("sqrt", numpy.sqrt), ("sin", numpy.sin)]
INTEGER_ROWS = [("mod", numpy.remainder), ("quotient", numpy.floor_divide)]
KINDS = [(numpy.int64, "integer"), (numpy.float64, "real"), (numpy.float32, "real32"), (numpy.int8, "integer8"),
         (numpy.uint8, "unsigned8"), (numpy.int16, "integer16"), (numpy.uint16, "unsigned16"),
         (numpy.int32, "integer32")]


def operand(kind, n, seed):
    half = 1 << (min(19, 4 * numpy.dtype(kind).itemsize - 1) - 1)
    low, high = (-half, half) if numpy.dtype(kind).kind != "u" else (half, 2 * half) if seed == 1 else (0, half)
    values = numpy.random.default_rng(seed).integers(low, high, n)
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
    for kind, name in KINDS:
        letter = numpy.dtype(kind).kind
        rows = ROWS + (SIGNED_ROWS if letter != "u" else []) + (REAL_ROWS if letter == "f" else INTEGER_ROWS)
        for operation, function in rows:
            for n in (8192, 1 << 22):
                operands = [operand(kind, n, k + 1) for k in range(function.nin)]
                if operation == "sqrt":
                    operands = [numpy.abs(operands[0])]
                result = numpy.empty(n, kind)
                seconds = seconds_per_call(function, operands, result, max(3, (1 << 24) // n))
                print(f"{operation}/{name}/numpy/{n}  items_per_second={n / seconds / 1e9:.3f}G/s", flush=True)


main()
