"""Pictures on matplotlib axes."""

from __future__ import annotations

import textwrap
from typing import TYPE_CHECKING, Any

from ._extras import need

if TYPE_CHECKING:
    from ._core import CurveArray
    from ._speed import Speed


def plot_speed(speed: Speed, ax: Any = None) -> Any:
    """Pulses as points, revolutions as a line, warnings in words."""
    if ax is None:
        _, ax = need("matplotlib.pyplot", "plot", "draws pictures").subplots(figsize=(9, 4.5), layout="constrained")
    ax.plot(
        speed.time,
        speed.rpm,
        ".",
        ms=2,
        color="#9db8d9",
        label="single pulses",
        rasterized=len(speed) > 50_000,
    )
    if len(speed.revolutions):
        ax.plot(speed.revolutions.time, speed.revolutions.rpm, color="#1f5fa8", label="whole revolutions")
    ax.set(xlabel="time in s", ylabel="speed in rpm", title=f"Speed from {speed.name}" if speed.name else "Speed")
    ax.grid(True, alpha=0.3)
    ax.legend(loc="best", frameon=False)
    if speed.warnings:
        text = "\n".join(textwrap.fill(each.text, 100) for each in speed.warnings)
        ax.annotate(
            text,
            (0.01, 0.02),
            xycoords="axes fraction",
            va="bottom",
            color="#a33",
            fontsize="small",
            annotation_clip=False,
        )
    return ax


def plot_map(curves: CurveArray, ax: Any, name: str) -> Any:
    """Orders across, places up, values as colours."""
    import numpy as np

    if ax is None:
        _, ax = need("matplotlib.pyplot", "plot", "draws pictures").subplots(figsize=(9, 5), layout="constrained")
    values = curves.values
    low, high = (np.percentile(values, 5), values.max()) if values.size else (0, 1)
    mesh = ax.pcolormesh(curves[0].x, curves.positions, values, shading="nearest", vmin=low, vmax=high, rasterized=True)
    ax.set(xlabel="order", ylabel=f"{_quantity(str(curves.position_unit))} in {curves.position_unit}")
    ax.set_title(f"Orders of {name}" if name else "Orders")
    ax.figure.colorbar(mesh, ax=ax, label=f"in {curves.y_unit}")
    return ax


def _quantity(unit: str) -> str:
    return {"s": "time", "rpm": "speed", "rev": "revolution"}.get(unit, "place")
