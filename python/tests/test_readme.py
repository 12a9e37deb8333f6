"""What the README, the examples and the docstrings show works as it stands there."""

import doctest
import os
import runpy
import shutil
import sys
from pathlib import Path

import numpy as np
import pytest

import quel

ROOT = Path(__file__).resolve().parents[2]
DATA = Path(os.environ["QUEL_TEST_DATA"])


def test_the_lines_of_the_readme_run(tmp_path, monkeypatch):
    (code,) = (block.split("```")[0] for block in (ROOT / "README.md").read_text().split("```python\n")[1:])
    for file in (DATA / "board-opencv").iterdir():
        shutil.copy(file, tmp_path)
    monkeypatch.chdir(tmp_path)
    names = {}
    exec(compile(code, "README.md", "exec"), names)
    np.testing.assert_allclose(names["found"].points, names["points"], atol=1e-6)


@pytest.mark.parametrize("module", sorted(name for name in sys.modules if name == "quel" or name.startswith("quel._")))
def test_the_examples_of_docstrings_run(module, tmp_path, monkeypatch):
    shutil.copy(DATA / "board-three-views.json", tmp_path)
    monkeypatch.chdir(tmp_path)
    failed, _ = doctest.testmod(sys.modules[module])
    assert failed == 0


def test_the_example_measures_the_board(tmp_path, monkeypatch, capsys):
    monkeypatch.setenv("MPLBACKEND", "Agg")
    monkeypatch.setattr(sys, "argv", ["board.py", str(DATA / "board-opencv"), str(tmp_path)])
    runpy.run_path(str(ROOT / "examples" / "python" / "board.py"))
    assert "54 corners, 0.10" in capsys.readouterr().out
    assert quel.read_cloud(tmp_path / "board.ply").shape == (54,)
    assert (tmp_path / "board.png").stat().st_size > 10_000


def test_what_is_offered_has_a_docstring():
    for name in quel.__all__:
        offered = getattr(quel, name)
        assert offered.__doc__, name
        for member in vars(offered) if isinstance(offered, type) else ():
            function = getattr(offered, member)
            if not member.startswith("_") and callable(function) and not isinstance(function, type):
                assert function.__doc__, f"{name}.{member}"
