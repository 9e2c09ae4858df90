"""What the tests share."""

import os
from pathlib import Path

import pytest
from hypothesis import settings

settings.register_profile("tests", max_examples=25, deadline=None, derandomize=True)
settings.load_profile("tests")


@pytest.fixture(scope="session")
def program() -> str:
    """The program `umlauf` of the same build."""
    return os.environ["UMLAUF_PROGRAM"]


@pytest.fixture(scope="session")
def sources() -> Path:
    """The folder python/ of the sources."""
    return Path(__file__).parent.parent
