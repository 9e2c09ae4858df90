"""python -m umlauf archive RUN.toml"""

from __future__ import annotations

import signal
import sys
from pathlib import Path
from typing import TYPE_CHECKING

import umlauf

from .evaluation import Interrupted, Summary, evaluate
from .recipe import Recipe, RecipeError
from .source import public

if TYPE_CHECKING:
    import argparse

__all__ = ["add_arguments", "run"]


def add_arguments(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("recipe", metavar="RUN.toml", help="what to evaluate; its table [run] may name all else")
    parser.add_argument("source", nargs="*", help="folders, patterns or URLs of recordings, in place of those in [run]")
    parser.add_argument("-o", "--out", help="folder or URL of the results")
    parser.add_argument("--workers", type=int, help="processes of this machine; 0: none, one recording after the other")
    parser.add_argument("--memory", default="", metavar="SIZE", help="of each worker: 2GiB")
    parser.add_argument("--scheduler", metavar="ADDRESS", help="of distributed, instead: tls://host:8786")
    parser.add_argument("--again", choices=("errors", "all"), help="evaluate what has an error, or all, once more")
    parser.add_argument("--check", action="store_true", help="check the recipe, list the columns, evaluate nothing")
    parser.add_argument("--quiet", action="store_true", help="no progress")


def run(arguments: argparse.Namespace) -> int:
    """0: all recordings have results; 1: some have errors; 2: nothing could be done; 130: stopped by hand."""
    signal.signal(signal.SIGTERM, _stop)
    try:
        recipe = _recipe(arguments)
        if arguments.check:
            print(f"recipe {recipe.hash}")
            print("\n".join(f"{each.name:40} {each.kind}" for each in recipe.columns))
            return 0
        return _told(_evaluate(recipe, arguments))
    except Interrupted as stopped:
        _told(stopped.summary)
        print("stopped; the same command goes on from here", file=sys.stderr)
        return 130
    except KeyboardInterrupt:
        print("stopped; the same command goes on from here", file=sys.stderr)
        return 130
    except (umlauf.Error, RecipeError, ImportError, OSError, ValueError) as error:
        print(f"umlauf archive: {public(str(error))}", file=sys.stderr)
        return 2


def _stop(*_: object) -> None:
    raise KeyboardInterrupt


def _recipe(arguments: argparse.Namespace) -> Recipe:
    import dataclasses

    recipe = Recipe.load(arguments.recipe)
    given = {"scheduler": arguments.scheduler, "out": arguments.out, "source": tuple(arguments.source)}
    told = {key: value for key, value in given.items() if value}
    recipe = dataclasses.replace(recipe, run=dataclasses.replace(recipe.run, **told))
    missing = [key for key in ("source", "out") if not getattr(recipe.run, key)]
    if missing and not arguments.check:
        raise RecipeError(f"{arguments.recipe}: [run] {missing[0]} is missing; name it there or on the command line")
    return recipe


def _evaluate(recipe: Recipe, arguments: argparse.Namespace) -> Summary:
    settings = recipe.run
    folder = Path(arguments.recipe).parent
    # What a recipe names lies beside it; what stands on the command line, in the current folder.
    sources = [each if arguments.source else _beside(folder, each) for each in settings.source]
    out = settings.out if arguments.out else _beside(folder, settings.out)
    workers = arguments.workers if arguments.workers is not None else settings.workers
    return evaluate(
        sources,
        recipe,
        out,
        workers=workers,
        memory=arguments.memory or settings.memory,
        attempts=settings.attempts,
        again=arguments.again,
        progress=not arguments.quiet,
    )


def _beside(folder: Path, name: str) -> str:
    return name if "://" in name or "::" in name else str(folder / name)


def _told(summary: Summary) -> int:
    print(
        f"{summary.found} recordings, {summary.unchanged} evaluated before, {summary.evaluated} now, "
        f"{summary.errors} of these with errors, {summary.seconds:.1f} s"
    )
    print(f"results: {public(summary.out)}/{summary.recipe}")
    return 1 if summary.errors else 0
