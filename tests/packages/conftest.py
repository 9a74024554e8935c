import os
import pathlib
import subprocess
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
REPOSITORY = pathlib.Path(__file__).resolve().parents[2]


def pytest_collection_modifyitems(items):
    if os.geteuid() != 0:
        for item in items:
            item.add_marker(pytest.mark.skip(reason="namespaces and a root of one's own take root"))


def made(folder, *words):
    """GIVEN_PACKAGES names a folder with old/ and new/ of another run."""
    given = os.environ.get("GIVEN_PACKAGES")
    if given:
        return pathlib.Path(given).resolve() / folder.name
    subprocess.run([REPOSITORY / "script" / "package", "--output", folder, *words], check=True, stdout=subprocess.DEVNULL)
    return folder


@pytest.fixture(scope="session", name="packages")
def the_packages(tmp_path_factory):
    return made(tmp_path_factory.mktemp("packages") / "new")


@pytest.fixture(scope="session", name="older_packages")
def the_older_packages(tmp_path_factory):
    return made(tmp_path_factory.mktemp("packages") / "old", "--version", "0.0.9")


@pytest.fixture(scope="session", name="page")
def the_page():
    return (REPOSITORY / "docs" / "install.md").read_text(encoding="utf-8")
