"""Archives of recordings: the same evaluation of all of them, on as many machines as it takes.

    import umlauf.archive

    summary = umlauf.archive.evaluate("recordings/", "recipe.toml", "results/")
    table = umlauf.archive.read("results/").to_pandas()

Needs umlauf[archive]. Workers of this machine are processes, so that a script calls `evaluate` below
`if __name__ == "__main__":`.
"""

from __future__ import annotations

import os
from typing import Any

from .evaluation import Interrupted, Summary, evaluate
from .progress import State
from .recipe import Recipe, RecipeError
from .store import Store

__all__ = [
    "Interrupted",
    "Recipe",
    "RecipeError",
    "State",
    "Summary",
    "compact",
    "drop",
    "evaluate",
    "read",
    "recipes",
]


def read(out: str | os.PathLike[str], recipe: str | None = None) -> Any:
    """The results of a recipe [hash] as a table of pyarrow: the latest row of each recording, by path.

    None: the recipe that was evaluated last. ValueError where there are no results of it.
    """
    store = Store(out)
    known = store.recipes()
    if not known or (recipe is not None and recipe not in known):
        raise ValueError(f"there are no results{f' of the recipe {recipe}' if recipe else ''} in {out}")
    return store.read(recipe or known[-1])


def recipes(out: str | os.PathLike[str]) -> list[str]:
    """Hashes of the recipes that a dataset has results of, the one that was evaluated last at the end."""
    return Store(out).recipes()


def compact(out: str | os.PathLike[str]) -> None:
    """Puts the files of each recipe together to one, without the rows that later ones replaced."""
    store = Store(out)
    for recipe in store.recipes():
        store.compact(recipe)


def drop(out: str | os.PathLike[str], recipe: str) -> None:
    """Removes the results of a recipe, curves included."""
    if recipe not in recipes(out):
        raise ValueError(f"there are no results of the recipe {recipe} in {out}")
    Store(out).drop(recipe)
