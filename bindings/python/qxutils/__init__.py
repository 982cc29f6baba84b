"""The flat-panel detector kit's image processing, for NumPy arrays.

Images are C-contiguous arrays of rows of pixels, uint16, uint32 or float32; they are read where they lie. What changes
pixels returns a changed copy, or with in_place=True the array itself. A wrong type or layout gives TypeError or
ValueError, a status of the library QxError. Checks return a Verdict. The interpreter's lock is released while the
library works, and an array cannot be resized meanwhile; do not write to it from another thread.

The text of each function ends with the names of the library's functions behind it and their contracts.
"""

from typing import Any

from ._qxutils import *
from ._qxutils import __version__


def __getattr__(name: str) -> Any:
    # Only the kit's substitute has a virtual detector; everything else works beside another kit, too.
    if name == "VirtualDetector":
        try:
            from ._detector import VirtualDetector
        except ImportError as error:
            raise AttributeError(f"this kit has no virtual detector: {error}") from error
        return VirtualDetector
    raise AttributeError(f"module {__name__!r} has no attribute {name!r}")
