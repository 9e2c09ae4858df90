"""python -m umlauf COMMAND ...: what is worth a command line of its own."""

from __future__ import annotations

import argparse
import importlib
import sys
from typing import TYPE_CHECKING, NamedTuple

from . import __version__
from ._core import Error

if TYPE_CHECKING:
    from collections.abc import Sequence


class Command(NamedTuple):
    """A row of the table."""

    name: str
    help: str
    module: str
    """Has add_arguments(parser) and run(arguments), which may return a status; imported only when it is called."""


COMMANDS = (
    Command("report", "One HTML page of the speed and the orders of a recording, to zoom in.", "umlauf._report"),
    Command("archive", "Evaluates all recordings of an archive by one recipe.", "umlauf.archive.command"),
)


def main(argv: Sequence[str] | None = None) -> int:
    """The exit status: 0, 1 with a reason on standard error, or argparse's 2 for a wrong command line."""
    given = list(sys.argv[1:] if argv is None else argv)
    parser = argparse.ArgumentParser(prog="python -m umlauf", description="Speeds and orders of rotating machinery.")
    parser.add_argument("--version", action="version", version=f"umlauf {__version__}")
    commands = parser.add_subparsers(metavar="COMMAND", required=True)
    for each in COMMANDS:
        command = commands.add_parser(each.name, help=each.help, description=each.help)
        if each.name == next((word for word in given if not word.startswith("-")), None):
            module = importlib.import_module(each.module)
            module.add_arguments(command)
            command.set_defaults(run=module.run)
    arguments = parser.parse_args(given)
    try:
        return int(arguments.run(arguments) or 0)
    except (ValueError, OSError, ImportError, Error) as error:
        print(f"umlauf: {error}", file=sys.stderr)
        return 1


if __name__ == "__main__":
    sys.exit(main())
