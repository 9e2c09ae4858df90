"""Pictures on matplotlib axes."""

from __future__ import annotations

import textwrap
from typing import TYPE_CHECKING, Any

from ._extras import need
from ._speed import PulseFlag, Speed
from ._vibration import FollowedSpeed

if TYPE_CHECKING:
    from collections.abc import Sequence

    from ._core import CurveArray
    from ._orders import OrderTrack


def plot_speed(speed: Speed, ax: Any = None) -> Any:
    """Pulses as points, revolutions as a line; crosses where the spike filter held the speed; warnings in words, and
    shaded where they are about."""
    import numpy as np

    ax = _axes(ax, 4.5)
    times = speed.time
    least = 0.0015 * float(np.ptp(times)) if len(times) else 0.0
    label = "doubtful"
    for from_, to in (place for each in speed.warnings for place in each.places):
        middle, half = (from_ + to) / 2, max(least, (to - from_) / 2)
        ax.axvspan(middle - half, middle + half, color="#f9dcd6", lw=0, zorder=0, label=label)
        label = ""
    if isinstance(speed, FollowedSpeed):
        ax.plot(times, speed.rpm, color="#1f5fa8", label="by the orders of the vibration")
    else:
        many = len(speed) > 50_000
        ax.plot(times, speed.rpm, ".", ms=2, color="#9db8d9", label="single pulses", rasterized=many)
    if len(speed.revolutions):
        ax.plot(speed.revolutions.time, speed.revolutions.rpm, color="#1f5fa8", label="whole revolutions")
    held = (speed.flags & PulseFlag.HELD) != 0
    if held.any():
        ax.plot(speed.time[held], speed.rpm[held], "x", ms=5, color="#a33", label="held by the spike filter")
    ax.set(xlabel="time in s", ylabel="speed in rpm")
    ax.grid(True, alpha=0.3)
    ax.legend(loc="best", frameon=False, markerscale=3)
    text = "\n".join(textwrap.fill(each.text, 110) for each in speed.warnings)
    lines = text.count("\n") + 1 if text else 0
    ax.set_title(f"Speed from {speed.name}" if speed.name else "Speed", pad=6 + 13 * lines)
    if text:
        ax.annotate(
            text,
            (0, 1),
            (0, 4),
            xycoords="axes fraction",
            textcoords="offset points",
            va="bottom",
            color="#a33",
            fontsize="small",
            annotation_clip=False,
        )
    return ax


def plot_map(curves: CurveArray, ax: Any, name: str) -> Any:
    """Orders across, places up, values as colours."""
    import numpy as np

    ax = _axes(ax, 5)
    values = curves.values
    low, high = (np.percentile(values, 5), values.max()) if values.size else (0, 1)
    mesh = ax.pcolormesh(curves[0].x, curves.positions, values, shading="nearest", vmin=low, vmax=high, rasterized=True)
    _name(curves, ax, name)
    ax.figure.colorbar(mesh, ax=ax, label=f"in {curves.y_unit}")
    return ax


def plot_waterfall(curves: CurveArray, ax: Any, name: str, most: int = 60) -> Any:
    """Spectra as lines, each on the height of its place; of more than `most`, evenly chosen ones."""
    import numpy as np

    ax = _axes(ax, 5.5)
    places, values = curves.positions, curves.values
    shown = np.unique(np.linspace(0, len(places) - 1, min(most, len(places))).round().astype(int))
    low, high = (float(values.min()), float(values.max())) if values.size else (0.0, 1.0)
    span = float(np.ptp(places)) or 1.0
    height = 0.25 * span / (high - low) if high > low else 0.0
    for depth, i in enumerate(shown):
        line = places[i] + (values[i] - low) * height
        ax.fill_between(curves[int(i)].x, places[i], line, color="white", zorder=2 + len(shown) - depth, lw=0)
        ax.plot(curves[int(i)].x, line, color="#1f5fa8", lw=0.8, zorder=2 + len(shown) - depth)
    _name(curves, ax, name)
    # How high the difference between the least and the greatest value is.
    ends = [places[0], places[0] + (high - low) * height] if len(places) else [0, 0]
    beside = ax.get_yaxis_transform()
    ax.plot([1.012, 1.012], ends, transform=beside, color="black", lw=2, clip_on=False, solid_capstyle="butt")
    text = f"{high - low:.3g} {curves.y_unit}"
    ax.text(1.02, sum(ends) / 2, text, transform=beside, rotation=90, va="center", fontsize="small")
    return ax


def plot_tracks(tracks: Sequence[OrderTrack], over: str, ax: Any, name: str) -> Any:
    """Amplitudes of orders over time, revolution or speed."""
    columns = {"time": "time in s", "revolution": "revolution", "speed": "speed in rpm"}
    if over not in columns:
        raise ValueError(f'tracks are drawn over time, revolution or speed, not "{over}"')
    ax = _axes(ax, 4.5)
    for track in tracks:
        at = {"time": track.time, "revolution": track.revolution, "speed": track.rpm}[over]
        ax.plot(at, track.amplitude, label=f"order {track.order:g}")
    ax.set(xlabel=columns[over], ylabel=f"amplitude in {tracks[0].unit}" if tracks else "amplitude")
    ax.set_ylim(bottom=0)
    ax.grid(True, alpha=0.3)
    ax.set_title(f"Orders of {name}" if name else "Orders")
    if tracks:
        ax.legend(loc="best", frameon=False)
    return ax


def _axes(ax: Any, height: float) -> Any:
    """The axes that were given, or those of a new figure."""
    if ax is not None:
        return ax
    pyplot = need("matplotlib.pyplot", "plot", "draws pictures")
    return pyplot.subplots(figsize=(9, height), layout="constrained")[1]


def _name(curves: CurveArray, ax: Any, name: str) -> None:
    unit = str(curves.position_unit)
    quantity = {"s": "time", "rpm": "speed", "rev": "revolution"}.get(unit, "place")
    ax.set(xlabel="order", ylabel=f"{quantity} in {unit}", title=f"Orders of {name}" if name else "Orders")
