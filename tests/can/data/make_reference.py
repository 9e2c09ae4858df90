#!/usr/bin/env python3
"""Makes vehicle.kcd and vehicle.csv: a description that canmatrix converted, and messages with their values.

    pip install canmatrix cantools lxml && python3 make_reference.py

The values are those of cantools, which reads the converted file; canmatrix, which reads it back, has to agree. Signals
of every byte order, sign, many lengths and places, float, scaled and multiplexed ones; the seed is fixed. A line of
vehicle.csv: identifier (bit 31 for one of 29 bits), data in hexadecimal, message, signal, value, name of the value.
"""
import pathlib
import random
import tempfile

import canmatrix.formats
import cantools

rng = random.Random(7)


def place(taken, length, big):
    """A free place of that many bits in 64, as DBC counts; None when there is none."""
    order = [8 * (i // 8) + 7 - i % 8 for i in range(64)] if big else list(range(64))
    starts = [i for i in range(64 - length + 1) if not taken & set(order[i : i + length])]
    if not starts:
        return None
    first = rng.choice(starts)
    taken.update(order[first : first + length])
    return order[first]


def signal(name, taken, length, big, kind, mux=""):
    start = place(taken, length, big)
    if start is None:
        return ""
    sign = "-" if kind == "signed" else "+"
    factor, offset = rng.choice([(1, 0), (0.25, -40), (0.125, 0), (2, 100)]) if kind != "float" else (1, 0)
    return f' SG_ {name} {mux}: {start}|{length}@{0 if big else 1}{sign} ({factor},{offset}) [0|0] "u" Receiver\n'


dbc, floats, ranges = 'VERSION ""\nBU_: Sender Receiver\n', [], []
for m in range(24):
    taken, lines = set(), ""
    extended = m % 3 == 2
    number = 0x18FF0000 + m if extended else 0x100 + m
    if m >= 18:  # multiplexed, the multiplexor in either byte order
        lines += signal("Page", taken, 4, m % 2 == 0, "unsigned", "M ").replace("(0.25,-40)", "(1,0)")
        lines = lines.split("(")[0] + '(1,0) [0|0] "" Receiver\n'
        for page in range(3):
            below = set(taken)
            for k in range(3):
                lines += signal(f"P{page}S{k}", below, rng.randint(3, 17), rng.random() < 0.5,
                                rng.choice(["signed", "unsigned"]), f"m{page} ")
    elif m >= 14:  # floating point
        length = 64 if m == 14 else 32
        for k in range(64 // length):
            line = signal(f"S{k}", taken, length, (m + k) % 2 == 0, "float")
            if not line:
                continue
            lines += line
            floats.append(f"SIG_VALTYPE_ {number | extended << 31} S{k} : {length // 32};\n")
    else:
        for k in range(6):
            lines += signal(f"S{k}", taken, rng.choice([1, 3, 8, 11, 16, 16, 24, 32]), rng.random() < 0.6,
                            rng.choice(["signed", "unsigned"]))
    dbc += f"\nBO_ {number | extended << 31} M{m}: 8 Sender\n{lines}"
dbc += "\nBO_ 512 Labelled: 8 Sender\n SG_ Gear : 7|4@0+ (1,0) [0|0] \"\" Receiver\n"
dbc += "\n" + "".join(floats) + 'VAL_ 512 Gear 0 "Neutral" 1 "First" 14 "Reverse" ;\n'

with tempfile.TemporaryDirectory() as folder:
    source = pathlib.Path(folder) / "vehicle.dbc"
    source.write_text(dbc)
    canmatrix.formats.dumpp({"": canmatrix.formats.loadp_flat(str(source))}, "vehicle.kcd")
database = cantools.database.load_file("vehicle.kcd", strict=False)
back = canmatrix.formats.loadp_flat("vehicle.kcd")

with open("vehicle.csv", "w") as file:
    for message in sorted(database.messages, key=lambda each: each.name):
        other = back.frame_by_name(message.name)
        for _ in range(6):
            data = bytearray(rng.randbytes(8))
            if message.is_multiplexed():
                while True:  # until the page is one that is described
                    data = bytearray(rng.randbytes(8))
                    try:
                        message.decode(bytes(data), decode_choices=False)
                        break
                    except Exception:
                        continue
            values = message.decode(bytes(data), decode_choices=False)
            names = message.decode(bytes(data))
            theirs = other.decode(bytes(data))
            for name, value in values.items():
                assert value != value or float(theirs[name].phys_value) == float(value), (message.name, name)
                label = str(names[name]) if not isinstance(names[name], (int, float)) else ""
                number = message.frame_id | message.is_extended_frame << 31
                file.write(f"{number},{data.hex()},{message.name},{name},{float(value)!r},{label}\n")
