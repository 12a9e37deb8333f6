"""A headless Chromium for tests of pages, which it opens from disk, and the pages that they are about."""
import os
import pathlib
import subprocess
import sys
import tempfile

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).parent))

from browser import Browser  # noqa: E402


@pytest.fixture(scope="session")
def folder():
    with tempfile.TemporaryDirectory(prefix="quel-pages-") as path:
        yield pathlib.Path(path)


@pytest.fixture(scope="session")
def page_file(folder):
    """Gives the file of a page of that kind and number of points; each is made once."""
    home = folder / "home"
    home.mkdir()

    def made(kind, points=0):
        file = folder / f"{kind}-{points}.html"
        if not file.exists():
            subprocess.run([os.environ["QUEL_PAGE_MAKER"], kind, str(points), str(file)], check=True,
                           env={**os.environ, "QUEL_HOME": str(home)})
        return file

    return made


@pytest.fixture(scope="session")
def browser(folder):
    with Browser(folder / "profile") as opened:
        yield opened


@pytest.fixture
def open_page(browser, page_file):
    """Opens a page, which must come up without a word on the console, nor may it utter one until the test's end."""

    def opened(kind, points=0):
        browser.open(page_file(kind, points))
        return browser

    yield opened
    assert browser.console() == []
    browser.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "", "features": []})
