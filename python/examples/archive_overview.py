"""From a folder of recordings to a table and a picture over all runs.

archive_overview.py RECIPE.toml RECORDINGS RESULTS PICTURE.png

Run it again when recordings were added or the recipe was changed: only what is new is evaluated.
"""

import sys

import matplotlib.pyplot as plt

import umlauf.archive


def main(recipe: str, recordings: str, results: str, picture: str) -> None:
    summary = umlauf.archive.evaluate(recordings, recipe, results, progress=True)
    table = summary.table().to_pandas()
    print(f"{summary.evaluated} evaluated, {summary.unchanged} from before, {len(table)} rows")
    print(table[["name", "drive_rpm_mean", "body_order_2_max", "error"]].to_string(max_colwidth=60))

    good = table[table["error"].isna()]
    _, ax = plt.subplots(figsize=(9, 5), layout="constrained")
    for bench, runs in good.groupby("bench"):
        ax.plot(runs["body_order_2_rpm_at_max"], runs["body_order_2_max"], "o", label=bench)
    ax.set(xlabel="speed in rpm", ylabel="second order, peak", title="Where the second order is greatest, run by run")
    ax.grid(True, alpha=0.3)
    ax.legend(frameon=False)
    plt.savefig(picture)


if __name__ == "__main__":  # the workers are processes, which read this file as well
    main(*sys.argv[1:])
