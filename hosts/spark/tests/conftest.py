from __future__ import annotations

from collections.abc import Iterator
from pathlib import Path
from typing import Any

import pytest
from cluster import Cluster


@pytest.fixture(scope="session")
def cluster(tmp_path_factory: pytest.TempPathFactory) -> Iterator[Cluster]:
    with Cluster(Path(tmp_path_factory.mktemp("spark")), workers=2) as cluster:
        yield cluster


@pytest.fixture(scope="session")
def spark(cluster: Cluster) -> Iterator[Any]:
    session = cluster.session()
    yield session
    session.stop()
