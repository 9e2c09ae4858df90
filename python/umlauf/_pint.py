"""Units of this library as units of pint, and back."""

from __future__ import annotations

import re
from typing import Any

from ._core import Unit
from ._extras import need

# What pint calls the units of this library. There, revolutions are angles: 1 rpm is 2π/60 Hz, here 1/60 Hz.
_NAMES = {
    "-": "dimensionless",
    "pu": "dimensionless",
    "№": "count",
    "%": "percent",
    "N": "newton",
    "s": "second",
    "Hz": "hertz",
    "rpm": "revolutions_per_minute",
    "rev": "revolution",
    "V": "volt",
    "Pa": "pascal",
    "Nm": "newton*meter",
    "°C": "degree_Celsius",
    "m/s²": "meter/second**2",
    "g": "standard_gravity",
    "m": "meter",
    "°": "degree",
    "rad": "radian",
    "km/h": "kilometer/hour",
    "mph": "mile_per_hour",
    "m/s": "meter/second",
    "rad/s": "radian/second",
    "rad/s²": "radian/second**2",
    "A": "ampere",
    "bar": "bar",
    "W": "watt",
}
_PREFIXES = {
    -12: ("p", "pico"),
    -9: ("n", "nano"),
    -6: ("µ", "micro"),
    -3: ("m", "milli"),
    -2: ("c", "centi"),
    -1: ("d", "deci"),
    0: ("", ""),
    1: ("da", "deca"),
    2: ("h", "hecto"),
    3: ("k", "kilo"),
    6: ("M", "mega"),
    9: ("G", "giga"),
    12: ("T", "tera"),
}


def to_pint(unit: Unit, registry: Any = None) -> Any:
    """The unit of pint that means the same; ValueError for levels, logarithms and what pint does not know."""
    pint = need("pint", "pint", "calculates with quantities")
    registry = pint.get_application_registry() if registry is None else registry
    whole = unit.power != 0 and unit.exponent % unit.power == 0
    prefix = _PREFIXES.get(unit.exponent // unit.power) if whole else None
    if unit.is_level or unit.is_logarithm or prefix is None:
        raise ValueError(f"{unit} is no unit that pint could calculate with")
    told = prefix[1]
    text = _NAMES.get(unit.base) or re.sub(
        r"[^\s*/()^²³\d-]+", lambda name: f"({_NAMES.get(name[0], name[0])})", unit.base
    )
    text = text.replace("²", "**2").replace("³", "**3").replace("^", "**")
    try:
        return registry.Unit(f"({told}{text})**{unit.power}")
    except (pint.errors.PintError, ValueError, SyntaxError, AttributeError) as error:
        raise ValueError(f"pint does not know {unit}: {error}") from None


def from_pint(unit: Any) -> Unit:
    """The unit that means the same as one of pint, or as that of a quantity; ValueError where there is none."""
    unit = getattr(unit, "units", unit)
    registry = unit._REGISTRY
    for name, told in _NAMES.items():
        for symbol, prefix in _PREFIXES.values() if set("*/") & set(told) else [("", "")]:
            if unit == registry.Unit(prefix + told):
                return Unit(symbol + name)
    result = Unit("-")
    # Products first: what is divided alone would be a reciprocal.
    for name, power in sorted(dict(unit._units).items(), key=lambda each: -each[1]):
        if power != int(power):
            raise ValueError(f"{unit} has a power that is no whole number")
        each = _simple(registry, name) ** abs(int(power))
        result = each if result == Unit("-") and power > 0 else result * each if power > 0 else result / each
    return result


def _simple(registry: Any, name: str) -> Unit:
    prefix, base, _ = registry.parse_unit_name(name)[0]
    ours = [unit for unit, told in _NAMES.items() if registry.Unit(told) == registry.Unit(base)]
    symbols = [symbol for symbol, told in _PREFIXES.values() if told == prefix]
    if not ours or not symbols:
        raise ValueError(f"there is no unit here for pint's {name}")
    return Unit(symbols[0] + ours[0])
