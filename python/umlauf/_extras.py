"""Packages that are not always there."""

from __future__ import annotations

import importlib
from typing import Any


def need(module: str, extra: str, purpose: str) -> Any:
    """The module; ImportError says which installation helps."""
    try:
        return importlib.import_module(module)
    except ImportError as error:
        raise ImportError(
            f"the package {module.partition('.')[0]} {purpose}; pip install umlauf[{extra}]", name=module
        ) from error
