"""What happens to an item of the archive, wherever that is. The driver brings this file to the workers."""

import json
import zlib
from collections.abc import Sequence
from typing import Any, Optional, Union

import numpy as np

import qxutils

# One image: its file, where it begins, when the file was last written (ns), and its height and width.
Item = tuple[str, int, int, int, int]
# The item, CRC-32 and Adler-32 of its content, status and findings; or the item and, at the end, why there are none.
Record = tuple[Item, Optional[int], Optional[int], Optional[int], Optional[str], Optional[str]]


def number(value: float) -> Union[float, str]:
    """As JSON can hold it, which knows no infinity."""
    return value if np.isfinite(value) else json.dumps(value)


def findings(image: np.ndarray[Any, Any]) -> tuple[int, str]:
    """Status of an image and what was found, as JSON: change this to judge something else."""
    verdict = qxutils.check_uniformity(image)
    found: dict[str, Any] = {measure.name: number(measure.value) for measure in verdict.measures}
    found["SNR"] = [number(float(value)) for value in qxutils.snr_series(image)]
    return verdict.status, json.dumps(found)


def without_result(item: Item, error: BaseException) -> Record:
    return item, None, None, None, None, f"{type(error).__name__}: {error}"


def judge(item: Item) -> Record:
    file, offset, _, height, width = item
    length = 2 * height * width
    # Whatever is wrong with one image is told in its record, and must not end the others.
    try:
        with open(file, "rb") as stream:
            stream.seek(offset)
            content = stream.read(length)
        if len(content) < length:
            raise ValueError(f"{len(content)} bytes at {offset} are no image of {length}")
        image = np.frombuffer(content, "<u2").reshape(height, width)
        return item, zlib.crc32(content), zlib.adler32(content), *findings(image), None
    except Exception as error:
        return without_result(item, error)


def judge_all(items: Sequence[Item]) -> list[Record]:
    """For a process that does nothing else meanwhile: it has one virtual detector."""
    with qxutils.VirtualDetector(logging_enabled=0):
        return [judge(item) for item in items]
