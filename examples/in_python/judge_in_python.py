"""A calibration judged in cells, with plots: judge_in_python.py [FOLDER], or cell by cell in an editor.

Images are made up: a panel with 128 columns an AFE, a tube above its middle, noise, and what goes wrong. The pictures
go into FOLDER, or the current one.
"""

# %% What all cells need
import sys
from pathlib import Path
from typing import Any

import matplotlib
import numpy as np

import qxutils

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
from matplotlib.colors import ListedColormap  # noqa: E402

Image = np.ndarray[Any, Any]
SIDE, AFE = 1024, 128
FOLDER = Path(sys.argv[1] if len(sys.argv) == 2 else ".")
BLUE, ORANGE, GREY = "#1f77b4", "#d9541e", "#8a8a8a"
random = np.random.default_rng(7)
detector = qxutils.VirtualDetector(width=SIDE, height=SIDE, afe_width=AFE)
detector.__enter__()  # until the last cell: limits, AFE width and a folder for the log
plt.rcParams.update({"figure.constrained_layout.use": True, "font.size": 9})
plt.rcParams.update({"axes.spines.top": False, "axes.spines.right": False})

rows, columns = np.mgrid[-1:1:SIDE * 1j, -1:1:SIDE * 1j]
BEAM = 1 / (1 + 0.12 * (rows**2 + columns**2))
GAINS = np.repeat(random.normal(1, 0.015, SIDE // AFE), AFE)


def exposed(level: float, *, noise: float = 1.0, shape: Any = 1.0) -> Image:
    """An image of so many counts above the pedestal of 208, with the noise of its quanta."""
    signal = level * np.broadcast_to(shape, (SIDE, SIDE))
    counts = random.normal(208 + signal, noise * np.sqrt(1.2 * signal))
    return counts.clip(0, 65535).astype(np.uint16)


def shown(axes: Any, image: Image, title: str, low: float = 1, high: float = 99) -> Any:
    limits = np.percentile(image, (low, high))
    picture = axes.imshow(image, cmap="gray", vmin=limits[0], vmax=limits[1], interpolation="antialiased")
    axes.set_title(title, loc="left")
    axes.set_axis_off()
    return picture


# %% A collimator blade covers a corner: the first image and its verdict
dark = random.normal(208, 4, (SIDE, SIDE)).astype(np.uint16)
blade = 1 - 0.9 / (1 + np.exp(-(columns - rows - 1.1) / 0.03))
first = exposed(34000, shape=BEAM * GAINS * blade)
verdict = qxutils.check_first_image(first, dark)
blocks = qxutils.shadow_blocks(first, dark)
print(f"first image: {verdict.status} {verdict.message}")

figure, (left, right) = plt.subplots(1, 2, figsize=(9, 4.3))
figure.colorbar(shown(left, first, "First image"), ax=left, shrink=0.8, label="counts")
shown(right, first, f"Status {verdict.status}: {blocks.sum()} blocks of 32 x 32 in a shadow")
shadow = np.kron(blocks, np.ones((32, 32)))
right.imshow(np.ma.masked_equal(shadow, 0), cmap=ListedColormap([ORANGE]), alpha=0.7, interpolation="nearest")
figure.savefig(FOLDER / "first-image.png", dpi=120)

# %% Its columns, before and after the AFE balance
difference = qxutils.subtract(exposed(9000, shape=BEAM * GAINS), dark)
balanced = qxutils.balance_afe(difference)
figure, axes = plt.subplots(figsize=(9, 3.2))
axes.plot(qxutils.column_medians(difference), color=GREY, lw=0.8, label="as read")
axes.plot(qxutils.column_medians(balanced), color=BLUE, lw=0.8, label="balanced")
axes.set(xlabel="column", ylabel="median, counts", title="Column medians: steps of the AFEs, and the beam they hide")
axes.set_xticks(range(0, SIDE + 1, AFE))
axes.grid(axis="x", alpha=0.3)
axes.legend(frameon=False)
figure.savefig(FOLDER / "afe-balance.png", dpi=120)

# %% The SNR of a series of squares against the factory's, for two panels
factory = qxutils.snr_series(exposed(16000))
uneven = 1 + 0.02 * np.cos(6 * rows) * np.cos(6 * columns)
panels = {"well corrected": exposed(16000, noise=1.02), "unevenly corrected": exposed(16000, shape=uneven)}
figure, axes = plt.subplots(figsize=(9, 3.6))
for (name, image), color in zip(panels.items(), (BLUE, ORANGE)):
    squares = qxutils.snr_squares(image, factory)
    grade = qxutils.grade_snr(image, factory)
    print(f"{name}: {grade.status} {grade.message}")
    sides = [square.side for square in squares]
    axes.plot(sides, [square.measured for square in squares], "o-", color=color, label=f"{name}: {grade.status}")
    axes.plot(sides, [square.expected for square in squares], ":", color=color, label="expected of it")
axes.plot(sides, factory.values[: len(sides)], "--", color=GREY, label="factory")
axes.set(xlabel="side of the square, pixels", ylabel="SNR", ylim=(0, None), xticks=sides)
axes.set_title("SNR of squares, and what the factory's lets expect")
axes.legend(frameon=False, ncol=3, loc="lower left")
figure.savefig(FOLDER / "snr.png", dpi=120)

# %% An image that triggered itself: rows above the trigger line have lost signal
TRIGGER = 512
lost = np.ones(SIDE)
lost[TRIGGER - 14 : TRIGGER] = np.linspace(0.99, 0.7, 14)
straight = exposed(5000, shape=BEAM)
striped = ((straight - 208.0).clip(0) * lost[:, None] + 208).astype(np.uint16)
corrected = qxutils.correct_stripe(striped, TRIGGER)
part = slice(TRIGGER - 30, TRIGGER + 30)
figure, axes = plt.subplots(1, 3, figsize=(9, 3), gridspec_kw={"width_ratios": [1, 1, 1.2]})
limits = np.percentile(straight[part], (1, 99)) * (0.75, 1)
for place, image, title in ((axes[0], striped, "As read"), (axes[1], corrected, "Corrected")):
    place.imshow(image[part, 400:460], cmap="gray", vmin=limits[0], vmax=limits[1])
    place.set_title(title, loc="left")
    place.set_axis_off()
for image, color, label in ((striped, ORANGE, "as read"), (corrected, BLUE, "corrected"), (straight, GREY, "truth")):
    axes[2].plot(np.median(image[part], axis=1), np.arange(part.start, part.stop), color=color, lw=1, label=label)
axes[2].set(xlabel="median of the row, counts", ylabel="row", ylim=(part.stop - 0.5, part.start - 0.5))
axes[2].legend(frameon=False, loc="lower left")
figure.savefig(FOLDER / "stripe.png", dpi=120)
print(f"stripe: {np.median(straight[TRIGGER - 1]) - np.median(striped[TRIGGER - 1]):.0f} counts off before, "
      f"{abs(np.median(straight[part], axis=1) - np.median(corrected[part], axis=1)).max():.0f} at most after")

# %% The end
detector.__exit__(None, None, None)
