"""Lower sample rates."""

from __future__ import annotations

import os
from typing import TYPE_CHECKING, Literal

from . import _core
from ._recording import Recording, as_recording

if TYPE_CHECKING:
    from numpy.typing import ArrayLike


def downsample(
    recording: Recording | ArrayLike | str | os.PathLike[str],
    *,
    rate: float | None = None,
    to: float | None = None,
    ratio: float | None = None,
    method: Literal["filter", "linear", "mean", "max", "minmax", "sum", "steep"] = "filter",
    gain: float = 1.0,
) -> Recording:
    """A recording at a lower rate: `to` [samples/s], or `ratio` inputs for each output, which may have a fraction.

    "filter" is a low-pass without delay, 90 dB down from 1.15 of the new Nyquist frequency on; "steep" one that keeps
    the band up to 0.9 of it, 120 dB down from 1.1 on. "minmax" gives the smallest and the greatest sample of each span
    in turn.
    """
    source = as_recording(recording, rate)
    if (to is None) == (ratio is None):
        raise ValueError("to what rate? give to= [samples/s] or ratio=, one of them")
    factor = ratio if ratio is not None else source.rate / to if to else 0.0
    stream = _core.Downsampler(factor, method=method, gain=gain)
    import numpy as np

    samples = np.concatenate([stream.process(source.samples), stream.flush()])
    told = (to if to is not None else source.rate / factor) * (2 if method == "minmax" else 1)
    return Recording(samples, told, name=source.name, unit=source.unit, start_time=source.start_time)
