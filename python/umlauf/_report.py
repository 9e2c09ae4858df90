"""Reports: results as one page with pictures that can be zoomed, which needs nothing but itself."""

from __future__ import annotations

import os
from typing import TYPE_CHECKING

from ._orders import Orders
from ._speed import Speed

if TYPE_CHECKING:
    import argparse
    from collections.abc import Sequence


def report(result: Speed | Orders | Sequence[Speed | Orders], path: str | os.PathLike[str], *, title: str = "") -> None:
    """Writes results as one HTML page with pictures to zoom in: speeds, maps and tracks of orders, tables, warnings.

    result: of `speed`, `encoder`, `orders` or `torsional`, or a list of them, in the order of the page.
    The page holds all that it needs (5 MB), fetches nothing and opens in any browser. It is written as a whole or not
    at all. Needs umlauf[report].
    """
    results = [result] if isinstance(result, Speed | Orders) else list(result)
    if not results or not all(isinstance(each, Speed | Orders) for each in results):
        raise ValueError("a report is made of results of speed, encoder, orders or torsional, at least one")
    from ._page import write_report

    write_report(results, os.fspath(path), title)


# python -m umlauf report


def add_arguments(parser: argparse.ArgumentParser) -> None:
    """Of the command."""
    parser.add_argument(
        "recording", metavar="RECORDING", help="of a tacho, in a file of any kind that umlauf.read takes"
    )
    parser.add_argument("-o", "--output", metavar="FILE", required=True, help="the page, run.html for example")
    parser.add_argument("--channel", help="name or number (from 1) of the channel of the tacho")
    parser.add_argument("--pulses-per-rev", type=float, default=1, metavar="N", help="with a gap those without it (1)")
    parser.add_argument("--gap", help='"auto", or the length of the gap in pitches (3: two teeth missing)')
    parser.add_argument("--rate", type=float, metavar="HZ", help="samples per second where the file tells none")
    parser.add_argument("--edges", choices=("rising", "falling", "both"), default="rising")
    parser.add_argument("--upper", type=float, help="upper level (found)")
    parser.add_argument("--lower", type=float, help="lower level (found)")
    parser.add_argument("--orders", metavar="CHANNEL", help="also the orders of this channel: name or number")
    parser.add_argument("--max-order", type=float, default=60, metavar="ORDER", help="of the map (60)")
    parser.add_argument("--tracks", default="", metavar="ORDER,...", help="orders to follow")
    parser.add_argument("--over", choices=("time", "revolution", "speed"), default="time", help="what the map is over")
    parser.add_argument(
        "--step", type=float, default=0, help="rows within a step [s, rev or rpm] are averaged (0: none)"
    )
    parser.add_argument("--unit", help="of the samples of that channel, in place of that of the recording")
    parser.add_argument("--title", default="", help="of the page (the name of the recording)")


def run(arguments: argparse.Namespace) -> None:
    """Carries out the command."""
    from ._orders import orders
    from ._speed import speed
    from .files import read

    given = arguments
    recording = read(given.recording, _channel(given.channel), rate=given.rate)
    turning = speed(
        recording,
        given.pulses_per_rev,
        given.gap if given.gap in (None, "auto") else _numbers(given.gap)[0],
        edges=given.edges,
        upper=given.upper,
        lower=given.lower,
    )
    results: list[Speed | Orders] = [turning]
    if given.orders is not None:
        vibration = read(given.recording, _channel(given.orders), rate=given.rate)
        tracks = _numbers(given.tracks) if given.tracks else []
        results.append(
            orders(
                vibration,
                turning,
                tracks=tracks,
                max_order=given.max_order,
                axis=given.over,
                step=given.step,
                unit=given.unit,
            )
        )
    report(results, given.output, title=given.title or os.path.basename(given.recording))


def _channel(text: str | None) -> int | str | None:
    return int(text) if text is not None and text.isdecimal() else text


def _numbers(text: str) -> list[float]:
    try:
        return [float(each) for each in text.split(",")]
    except ValueError:
        raise ValueError(f'"{text}" is no number, and no list of numbers with commas') from None
