"""CAN messages in recorded streams of 32-bit words."""

from __future__ import annotations

import os
from typing import TYPE_CHECKING, Any

from . import _core
from ._speed import _words

if TYPE_CHECKING:
    import numpy
    from numpy.typing import ArrayLike, NDArray

__all__ = ["Messages", "Signal", "find"]


class Signal:
    """The values of a signal over time."""

    def __init__(
        self,
        message: str,
        name: str,
        unit: str,
        identifier: int,
        time: NDArray[numpy.float64],
        values: NDArray[numpy.float64],
        labels: dict[float, str],
    ) -> None:
        self.message = message
        self.name = name
        self.unit = unit
        self.identifier = identifier
        self.time = time
        """[n] s"""
        self.values = values
        """[n] in `unit`"""
        self.labels = labels
        """Names of values"""

    def __len__(self) -> int:
        return len(self.values)

    def __repr__(self) -> str:
        unit = f" in {self.unit}" if self.unit else ""
        return f"<Signal {self.message}.{self.name}{unit}: {len(self)} values>"


class Messages:
    """The messages of a stream, in columns."""

    def __init__(self, messages: _core.CanMessages) -> None:
        self._messages = messages

    @property
    def time(self) -> NDArray[numpy.float64]:
        """[n] s"""
        return self._messages.time

    @property
    def identifier(self) -> NDArray[numpy.uint32]:
        """[n]"""
        return self._messages.identifier

    @property
    def extended(self) -> NDArray[numpy.bool_]:
        """[n] whether the identifier has 29 bits"""
        return self._messages.extended.astype(bool)

    @property
    def length(self) -> NDArray[numpy.uint8]:
        """[n] bytes of data on the bus"""
        return self._messages.length

    @property
    def data(self) -> NDArray[numpy.uint8]:
        """[n, 64] bytes in their order on the bus; those that were not recorded are 0"""
        return self._messages.data

    def __len__(self) -> int:
        return len(self._messages)

    def __repr__(self) -> str:
        return f"<Messages: {len(self)}>"

    def decode(self, database: Any, *, bus: str = "", offsets: str = "top") -> dict[str, Signal]:
        """The signals that came, by "Message.Signal".

        database: the path of a description, or a cantools database. KCD is read by this library, other kinds (DBC,
        ARXML, SYM) by cantools: pip install umlauf[can].
        bus, offsets: of KCD; the bus where several are described, and what the offset of a big-endian signal is:
        "top" (most significant bit, counted from the top), "msb" or "lsb".
        """
        if isinstance(database, str | os.PathLike):
            path = os.fspath(database)
            if path.lower().endswith(".kcd"):
                found = self._messages.decode_kcd(path, bus=bus, offsets=offsets)
                return {
                    f"{s.message}.{s.name}": Signal(s.message, s.name, s.unit, s.identifier, s.time, s.values, s.labels)
                    for s in found
                    if len(s)
                }
            from ._extras import need

            database = need("cantools", "can", "reads this message description").database.load_file(path)
        return self._decode_by_cantools(database)

    def _decode_by_cantools(self, database: Any) -> dict[str, Signal]:
        import numpy as np

        time, lengths, data = self.time, self.length, self.data
        identifiers, extended = self.identifier, self.extended
        signals: dict[str, Signal] = {}
        for message in database.messages:
            mine = (identifiers == message.frame_id) & (extended == bool(message.is_extended_frame))
            # One that is shorter than described, or was not recorded as a whole, has no values.
            mine &= lengths // 4 * 4 >= message.length
            values: dict[str, tuple[list[float], list[float]]] = {}
            for i in np.flatnonzero(mine):
                payload = data[i, : lengths[i]].tobytes()
                decoded = message.decode(payload, decode_choices=False, allow_truncated=True)
                for name, value in decoded.items():
                    times, numbers = values.setdefault(name, ([], []))
                    times.append(time[i])
                    numbers.append(float(value))
            for signal in message.signals:
                if signal.name not in values:
                    continue
                times, numbers = values[signal.name]
                labels = {float(k): str(v) for k, v in (signal.choices or {}).items()}
                signals[f"{message.name}.{signal.name}"] = Signal(
                    message.name,
                    signal.name,
                    signal.unit or "",
                    message.frame_id,
                    np.array(times),
                    np.array(numbers),
                    labels,
                )
        return signals


def find(
    words: ArrayLike | str | os.PathLike[str],
    *,
    rate: float,
    channels: int = 1,
    channel: int = 1,
    second: int | None = None,
    start_time: float = 0.0,
) -> Messages:
    """The CAN messages in a stream.

    words: uint32 [n], of several channels interleaved, or the path of a file that holds them, little-endian.
    rate: [words/s] of each channel. channel, second: from 1; a stream may be split over two channels.
    """
    _, words = _words(words)
    if channel < 1 or (second is not None and second < 1):
        raise ValueError("channels count from 1")
    return Messages(
        _core.find_can_messages(
            words,
            rate=rate,
            start_time=start_time,
            channels=channels,
            channel=channel - 1,
            second=second - 1 if second is not None else -1,
        )
    )
