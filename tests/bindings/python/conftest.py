"""Every test has a virtual detector of its own, and with it a work folder and log that go with it."""

from collections.abc import Iterator

import numpy as np
import pytest

import qxutils


@pytest.fixture(autouse=True)
def detector() -> Iterator[qxutils.VirtualDetector]:
    with qxutils.VirtualDetector() as virtual:
        yield virtual


@pytest.fixture
def random() -> np.random.Generator:
    return np.random.default_rng(20240307)
