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
        found: dict[str, Signal] = {}
        for message in database.messages:
            mine = (identifiers == message.frame_id) & (extended == bool(message.is_extended_frame))
            # One that is shorter than described, or was not recorded as a whole, has no values.
            mine &= lengths // 4 * 4 >= message.length
            rows = np.flatnonzero(mine)
            if not len(rows):
                continue
            bits = np.unpackbits(data[rows, : message.length], axis=1, bitorder="little")
            for signal in message.signals:
                sent = _rows_with(signal, message, bits)
                if signal.length > 64 or not sent.any():  # longer ones are no numbers
                    continue
                values = _raw_values(signal, bits[sent]) * signal.scale + signal.offset
                labels = {float(k): str(v) for k, v in (signal.choices or {}).items()}
                unit, at = signal.unit or "", time[rows[sent]]
                told = Signal(message.name, signal.name, unit, message.frame_id, at, values, labels)
                found[f"{message.name}.{signal.name}"] = told
        return found


def _raw_values(signal: Any, bits: NDArray[numpy.uint8]) -> NDArray[numpy.float64]:
    """[n] unscaled values of a signal of a cantools database; bits [n, bits], the lowest of each byte first."""
    import numpy as np

    if signal.byte_order == "little_endian":
        places = np.arange(signal.start, signal.start + signal.length)
    else:  # counted from the top bit on; in every byte bits go down
        top = signal.start // 8 * 8 + 7 - signal.start % 8
        places = (np.arange(top, top + signal.length) ^ 7)[::-1]
    packed = np.ascontiguousarray(np.packbits(bits[:, places], axis=1, bitorder="little"))
    if signal.is_float:
        return packed.view(f"<f{signal.length // 8}")[:, 0].astype(np.float64)
    words = np.pad(packed, ((0, 0), (0, 8 - packed.shape[1]))).view(np.dtype("<u8"))[:, 0]
    if not signal.is_signed:
        return words.astype(np.float64)
    unused = np.uint64(64 - signal.length)
    return ((words << unused).view(np.int64) >> unused.astype(np.int64)).astype(np.float64)


def _rows_with(signal: Any, message: Any, bits: NDArray[numpy.uint8]) -> NDArray[numpy.bool_]:
    """[n] whether a message has this signal: always, or where the signals that select it have one of its values."""
    import numpy as np

    if not signal.multiplexer_ids:
        return np.ones(len(bits), bool)
    selector = message.get_signal_by_name(signal.multiplexer_signal)
    return _rows_with(selector, message, bits) & np.isin(_raw_values(selector, bits), signal.multiplexer_ids)


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
