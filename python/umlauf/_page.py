"""The page of a report. It needs nothing but itself."""

from __future__ import annotations

import os
import tempfile
from collections.abc import Sequence
from html import escape
from typing import TYPE_CHECKING, Any

from ._core import version as __version__
from ._extras import need
from ._orders import Orders
from ._speed import PulseFlag, Speed
from ._vibration import FollowedSpeed

if TYPE_CHECKING:
    import numpy
    from numpy.typing import NDArray

    from ._core import Curve, CurveArray

MOST_POINTS = 20_000
"""Pulses that a picture draws; of more, the slowest and the fastest of each span."""
MOST_CELLS = 400_000
"""Of a map; of more, the greatest of neighbouring rows."""

_COLOURS = ("#1f5fa8", "#c4622d", "#3f8f4f", "#8a4fa3", "#b8912a", "#3a9aa8", "#b23a48", "#666666")

# Nothing is fetched, from wherever the page is opened: the policy forbids it.
_HEAD = """<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; script-src 'unsafe-inline'; \
style-src 'unsafe-inline'; img-src data: blob:">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="generator" content="Umlauf {version}">
<title>{title}</title>
<style>
body {{ font: 15px/1.45 system-ui, "DejaVu Sans", sans-serif; color: #222; max-width: 1180px; margin: 1.5em auto;
  padding: 0 1em; }}
h1 {{ font-size: 1.5em; }} h2 {{ font-size: 1.2em; margin: 2em 0 .4em; border-bottom: 1px solid #ddd; }}
table {{ border-collapse: collapse; margin: .6em 0; }} caption {{ text-align: left; font-weight: 600; }}
th, td {{ text-align: left; padding: .15em 1.2em .15em 0; font-weight: normal; vertical-align: top; }}
th {{ color: #666; }} td.number {{ text-align: right; font-variant-numeric: tabular-nums; }}
.warnings {{ background: #fdf1ee; border-left: 4px solid #b23a48; padding: .5em .9em; margin: .8em 0; }}
.warnings p {{ margin: .2em 0; }} .note, footer {{ color: #777; font-size: .87em; }} footer {{ margin: 2.5em 0 1em; }}
.tables {{ display: flex; flex-wrap: wrap; gap: 0 3em; align-items: flex-start; }}
</style>
<script>{script}</script>
</head><body>
"""


def write_report(results: Sequence[Speed | Orders], path: str, title: str) -> None:
    """The page of these results, in their order."""
    plotly = need("plotly.offline", "report", "draws reports")
    heading = escape(title or ", ".join(dict.fromkeys(each.name for each in results if each.name)) or "Report")
    parts = [_HEAD.format(version=__version__, title=heading, script=plotly.get_plotlyjs()), f"<h1>{heading}</h1>\n"]
    for number, each in enumerate(results, start=1):
        parts += _speed_parts(each, number) if isinstance(each, Speed) else _order_parts(each, number)
    parts.append(
        f"<footer>Umlauf {__version__}. Drag to zoom, double click to see all, click names to hide lines.</footer>\n"
        "</body></html>\n"
    )
    _write_whole(path, "".join(parts))


def _write_whole(path: str, text: str) -> None:
    """Writes beside the file first, so that it is never there in part."""
    target = os.path.realpath(path)
    umask = os.umask(0)
    os.umask(umask)
    try:
        file = tempfile.NamedTemporaryFile("w", encoding="utf-8", dir=os.path.dirname(target), delete=False)  # noqa: SIM115
    except OSError as error:
        raise type(error)(error.errno, error.strerror, path) from None
    try:
        with file:
            file.write(text)
            file.flush()
            os.fsync(file.fileno())
            os.fchmod(file.fileno(), 0o666 & ~umask)
        os.replace(file.name, target)
    except BaseException:
        os.unlink(file.name)
        raise


# Speed


def _speed_parts(speed: Speed, number: int) -> list[str]:
    graph = need("plotly.graph_objects", "report", "draws reports")
    figure = graph.Figure()
    at, rpm = _extremes(speed.time, speed.rpm)
    hover = "%{x:.4f} s: %{y:.2f} rpm"
    strong = {"color": _COLOURS[0], "width": 1.6}
    if isinstance(speed, FollowedSpeed):
        name = "by the orders of the vibration"
        figure.add_scatter(x=at, y=rpm, mode="lines", name=name, line=strong, hovertemplate=hover)
    else:
        marker = {"size": 3, "color": "#9db8d9"}
        figure.add_scatter(x=at, y=rpm, mode="markers", name="single pulses", marker=marker, hovertemplate=hover)
    if len(speed.revolutions):
        figure.add_scatter(
            x=speed.revolutions.time,
            y=speed.revolutions.rpm,
            mode="lines" if len(speed.revolutions) > 1 else "markers",
            name="whole revolutions",
            line=strong,
            hovertemplate=hover,
        )
    held = (speed.flags & PulseFlag.HELD) != 0
    if held.any():
        held_at, held_rpm = _extremes(speed.time[held], speed.rpm[held])
        cross = {"size": 7, "symbol": "x-thin", "line": {"width": 1.5, "color": "#b23a48"}}
        figure.add_scatter(
            x=held_at, y=held_rpm, mode="markers", name="held by the spike filter", marker=cross, hovertemplate=hover
        )
    _shade(figure, speed)
    _lay_out(figure, "time in s", "speed in rpm", 430)
    parts = [f"<h2>Speed{_of(speed.name)}</h2>\n", _warnings(speed), _picture(figure, f"speed-{number}")]
    known = int((speed.rpm == speed.rpm).sum())
    if len(at) < known:
        parts.append(
            f'<p class="note">{len(at)} of {known} pulses are drawn: the slowest and the fastest of each span.</p>\n'
        )
    parts += ['<div class="tables">', _table("Speed", _speed_rows(speed)), _table("Recording", _recording_rows(speed))]
    return [*parts, "</div>\n"]


def _shade(figure: Any, speed: Speed) -> None:
    """The times that warnings are about, however short; what is doubtful stands there when the pointer does."""
    least = 0.0015 * speed.duration
    shapes, at, texts = [], [], []
    for warning in speed.warnings:
        for begin, end in warning.places:
            middle, half = (begin + end) / 2, max(least, (end - begin) / 2)
            shapes.append(
                {
                    "type": "rect",
                    "xref": "x",
                    "yref": "paper",
                    "x0": middle - half,
                    "x1": middle + half,
                    "y0": 0,
                    "y1": 1,
                    "fillcolor": "#f9dcd6",
                    "line": {"width": 0},
                    "layer": "below",
                }
            )
            at.append(middle)
            texts.append(warning.code)
    if not shapes:
        return
    figure.update_layout(shapes=shapes)
    triangle = {"size": 9, "symbol": "triangle-up", "color": "#b23a48"}
    figure.add_scatter(
        x=at,
        y=[speed.min] * len(at),
        text=texts,
        mode="markers",
        name="doubtful",
        marker=triangle,
        hovertemplate="%{x:.4f} s: %{text}",
    )


def _speed_rows(speed: Speed) -> list[tuple[str, str]]:
    single = "" if isinstance(speed, FollowedSpeed) else " pulse"
    rows = [
        ("mean", f"{speed.mean:.2f} rpm"),
        (f"slowest{single}", f"{speed.min:.2f} rpm"),
        (f"fastest{single}", f"{speed.max:.2f} rpm"),
    ]
    turns = speed.revolutions
    if len(turns):
        rows += [
            ("whole revolutions", f"{len(turns)}"),
            ("mean over them", f"{turns.mean:.2f} rpm"),
            ("slowest of them", f"{turns.rpm.min():.2f} rpm"),
            ("fastest of them", f"{turns.rpm.max():.2f} rpm"),
        ]
    return rows


def _recording_rows(speed: Speed) -> list[tuple[str, str]]:
    rows = [
        ("duration", f"{speed.duration:.3f} s at {speed.rate:g} samples/s"),
        ("pulses", f"{len(speed)}"),
        ("wheel", f"{speed.wheel.teeth:g} edges on {speed.wheel.pitches:g} pitches"),
    ]
    if speed.wheel.gaps:
        rows.append(("gaps", ", ".join(f"{gap.length:g} pitches" for gap in speed.wheel.gaps)))
        rows.append(("gaps corrected", f"{speed.gap_corrected}"))
    levels = speed.thresholds
    if isinstance(speed, FollowedSpeed):
        rows[1:] = [
            ("spectra", f"{len(speed)}"),
            ("orders followed", ", ".join(f"{each:g} ({share:.0%})" for each, share in speed.present.items())),
            ("best other course", f"{speed.rival.score:.2f} of the score, from {speed.rival.start_rpm:.0f} rpm"),
        ]
    if levels is not None:
        unit = " of each swing" if levels.smallest_swing is not None else ""
        found = " (found)" if levels.automatic_upper and levels.automatic_lower else ""
        rows.append(("levels", f"{levels.upper:.4g} and {levels.lower:.4g}{unit}{found}"))
    if speed.spike_held:
        rows.append(("held by the spike filter", f"{speed.spike_held} pulses"))
    return rows


def _warnings(speed: Speed) -> str:
    if not speed.warnings:
        return '<p class="note">Nothing is doubtful about this result.</p>\n'
    lines = "".join(f"<p><b>{escape(each.code)}</b> {escape(each.text)}</p>" for each in speed.warnings)
    return f'<div class="warnings">{lines}</div>\n'


# Orders


def _order_parts(orders: Orders, number: int) -> list[str]:
    rows = orders.map()
    unit = _text(rows.y_unit)
    parts = [f"<h2>Orders{_of(orders.name)}</h2>\n"]
    if len(rows):
        parts += [_map_picture(rows, unit, f"map-{number}"), _spectrum_picture(orders.spectrum(), unit, number)]
    if orders.tracks:
        parts += [_tracks_picture(orders, rows, unit, f"tracks-{number}"), _tracks_table(orders, unit)]
    if orders.averaged:
        average = orders.average
        graph = need("plotly.graph_objects", "report", "draws reports")
        figure = graph.Figure()
        curve = average.curve
        figure.add_scatter(x=curve.x, y=curve.values, line={"color": _COLOURS[0], "width": 1.6})
        figure.update_traces(hovertemplate=f"%{{x:.4f}} rev: %{{y:.4g}} {unit}")
        _lay_out(figure, "revolution", f"synchronous average in {unit}", 320)
        told = [
            ("turns with the shaft", f"{average.rms:.4g} {unit}"),
            ("does not", f"{average.residual_rms:.4g} {unit}"),
        ]
        parts += [_picture(figure, f"average-{number}"), _table("Root mean square of what", told)]
    return parts


def _map_picture(rows: CurveArray, unit: str, name: str) -> str:
    import numpy as np

    graph = need("plotly.graph_objects", "report", "draws reports")
    values, places = _fewer_rows(rows.values, rows.positions)
    greatest = float(np.nanmax(values)) if values.size else 0.0
    with np.errstate(divide="ignore"):
        levels = 20 * np.log10(values / greatest) if greatest > 0 else np.full_like(values, -60)
    levels = np.maximum(levels, -120).round(1).astype(np.float32)
    quantity, place_unit = _quantity(rows)
    figure = graph.Figure()
    shown = {"x": rows[0].x, "y": places, "colorscale": "Viridis"}
    at = f"order %{{x:.2f}}, {quantity} %{{y:.4g}} {place_unit}"
    figure.add_heatmap(
        z=values,
        zmin=0,
        zmax=greatest,
        colorbar={"title": unit},
        hovertemplate=f"{at}: %{{z:.4g}} {unit}",
        name="",
        **shown,
    )
    figure.add_heatmap(
        z=levels,
        zmin=-60,
        zmax=0,
        colorbar={"title": "dB"},
        hovertemplate=f"{at}: %{{z:.1f}} dB of the greatest",
        visible=False,
        name="",
        **shown,
    )
    choices = [
        {"label": label, "method": "restyle", "args": [{"visible": visible}]}
        for label, visible in [("linear", [True, False]), ("dB", [False, True])]
    ]
    _lay_out(figure, "order", f"{quantity} in {place_unit}", 520)
    menu = {"type": "buttons", "direction": "right", "buttons": choices, "x": 0, "xanchor": "left", "y": 1.01}
    figure.update_layout(hovermode="closest", updatemenus=[{**menu, "yanchor": "bottom", "pad": {"t": 0, "b": 4}}])
    return _picture(figure, name)


def _spectrum_picture(spectrum: Curve, unit: str, number: int) -> str:
    figure = need("plotly.graph_objects", "report", "draws reports").Figure()
    figure.add_scatter(x=spectrum.x, y=spectrum.values, line={"color": _COLOURS[0], "width": 1.3})
    figure.update_traces(hovertemplate=f"order %{{x:.2f}}: %{{y:.4g}} {unit}")
    _lay_out(figure, "order", f"mean spectrum in {unit}", 320)
    return _picture(figure, f"spectrum-{number}")


def _tracks_picture(orders: Orders, rows: CurveArray, unit: str, name: str) -> str:
    figure = need("plotly.subplots", "report", "draws reports").make_subplots(
        rows=2, cols=1, shared_xaxes=True, row_heights=[0.68, 0.32], vertical_spacing=0.05
    )
    quantity, place_unit = _quantity(rows)
    for index, track in enumerate(orders.tracks):
        places = {"speed": track.rpm, "revolution": track.revolution}.get(quantity, track.time)
        at = f"order {track.order:g}, %{{x:.4g}} {place_unit}"
        colour = _COLOURS[index % len(_COLOURS)]
        common = {"x": places, "legendgroup": f"{track.order:g}", "name": f"order {track.order:g}"}
        figure.add_scatter(
            y=track.amplitude,
            line={"color": colour, "width": 1.6},
            hovertemplate=f"{at}: %{{y:.4g}} {unit}<extra></extra>",
            row=1,
            col=1,
            **common,
        )
        figure.add_scatter(
            y=track.phase,
            mode="markers",
            marker={"color": colour, "size": 3},
            showlegend=False,
            hovertemplate=f"{at}: %{{y:.1f}}°<extra></extra>",
            row=2,
            col=1,
            **common,
        )
    _lay_out(figure, "", f"amplitude in {unit}", 520)
    figure.update_xaxes(title=f"{quantity} in {place_unit}", row=2, col=1)
    figure.update_yaxes(title="phase in °", range=[-185, 185], dtick=90, row=2, col=1)
    figure.update_yaxes(rangemode="tozero", row=1, col=1)
    return _picture(figure, name)


def _tracks_table(orders: Orders, unit: str) -> str:
    lines = ["<tr><th>order</th><th>greatest amplitude</th><th>at</th><th>phase there</th></tr>"]
    for track in orders.tracks:
        if not len(track.amplitude):
            continue
        top = int(track.amplitude.argmax())
        cells = [
            f"{track.order:g}",
            f"{track.amplitude[top]:.4g} {unit}",
            f"{track.rpm[top]:.0f} rpm, {track.time[top]:.3f} s",
            f"{track.phase[top]:.0f}°",
        ]
        lines.append("<tr>" + "".join(f'<td class="number">{cell}</td>' for cell in cells) + "</tr>")
    return "<table><caption>Tracks</caption>" + "\n".join(lines) + "</table>\n"


# What they share


def _lay_out(figure: Any, x: str, y: str, height: int) -> None:
    figure.update_layout(
        template="plotly_white",
        height=height,
        margin={"l": 70, "r": 20, "t": 45, "b": 50},
        xaxis={"title": x},
        yaxis={"title": y},
        legend={"orientation": "h", "yanchor": "bottom", "y": 1.0, "x": 0.0, "xanchor": "left"},
        font={"size": 13},
    )


def _picture(figure: Any, name: str) -> str:
    config = {
        "displaylogo": False,
        "responsive": True,
        "doubleClickDelay": 500,
        "plotlyServerURL": "",
        "modeBarButtonsToRemove": ["sendChartToCloud", "select2d", "lasso2d"],
        "toImageButtonOptions": {"filename": name, "scale": 2},
    }
    text: str = figure.to_html(full_html=False, include_plotlyjs=False, div_id=name, config=config)
    return text + "\n"


def _table(caption: str, rows: Sequence[tuple[str, str]]) -> str:
    lines = "\n".join(f"<tr><th>{escape(name)}</th><td>{escape(value)}</td></tr>" for name, value in rows)
    return f"<table><caption>{caption}</caption>{lines}</table>\n"


def _of(name: str) -> str:
    return f" of {escape(name)}" if name else ""


def _text(unit: object) -> str:
    text = str(unit)
    return "unit of the samples" if text == "-" else escape(text)


def _quantity(rows: CurveArray) -> tuple[str, str]:
    unit = str(rows.position_unit)
    return {"s": "time", "rpm": "speed", "rev": "revolution"}.get(unit, "place"), unit


def _extremes(
    x: NDArray[numpy.float64], y: NDArray[numpy.float64]
) -> tuple[NDArray[numpy.float64], NDArray[numpy.float64]]:
    """Points with a value; of too many, the least and the greatest of each span, in their order."""
    import numpy as np

    known = np.isfinite(y)
    x, y = x[known], y[known]
    if len(y) <= MOST_POINTS:
        return x, y
    spans = MOST_POINTS // 2
    length = -(-len(y) // spans)
    whole = len(y) // length * length
    firsts = np.arange(0, whole, length)
    block = y[:whole].reshape(-1, length)
    keep = np.concatenate([firsts + block.argmin(axis=1), firsts + block.argmax(axis=1), np.arange(whole, len(y))])
    keep = np.unique(keep)
    return x[keep], y[keep]


def _fewer_rows(
    values: NDArray[numpy.float32], places: NDArray[numpy.float32]
) -> tuple[NDArray[numpy.float32], NDArray[numpy.float32]]:
    import numpy as np

    together = -(-values.size // MOST_CELLS)
    if together <= 1:
        return values, places
    starts = np.arange(0, len(values), together)
    counts = np.diff(np.append(starts, len(values)))
    return np.maximum.reduceat(values, starts, axis=0), (np.add.reduceat(places, starts) / counts).astype(np.float32)
