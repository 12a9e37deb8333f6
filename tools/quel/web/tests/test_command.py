"""The page that the command writes says what the command prints."""
import json
import os
import pathlib
import subprocess

import pytest

SCAN = pathlib.Path(os.environ["QUEL_TEST_DATA"]) / "scan-20k.ply"
SQUARE = "v -80 -60 -620\nv 60 -60 -620\nv 60 70 -640\nv -80 70 -640\nf 1 2 3\nf 1 3 4\n"


# Against its plane, and a part of it against a mesh with a border.
@pytest.fixture(params=[(0, "mm", 1.0, None), (3, "in", 1 / 25.4, None), (3, "in", 1 / 25.4, SQUARE)],
                ids=["mm", "in", "in, of a mesh"])
def compared(request, browser, tmp_path):
    """The page of the shipped scan in a unit, what the command printed, and the unit."""
    number, name, per_millimetre, mesh = request.param
    reference = []
    if mesh:
        (tmp_path / "square.obj").write_text(mesh)
        reference = ["--reference", str(tmp_path / "square.obj")]
    (tmp_path / "params.ini").write_text(f"QmEnv.Units = {number}\n")
    file = tmp_path / "scan.html"
    printed = subprocess.run(
        [os.environ["QUEL_EXECUTABLE"], "deviation", str(SCAN), "--tolerance=-25.4,50.8", "--json", "--html", str(file),
         *reference],
        check=True, capture_output=True, text=True, env={**os.environ, "QUEL_HOME": str(tmp_path)}).stdout
    browser.open(file)
    yield browser, json.loads(printed), name, per_millimetre
    assert browser.console() == []


def number(text):
    return float(text.replace("−", "-").split()[0])


def test_legend_and_counts_are_those_that_are_printed(compared):
    page, printed, unit, per_millimetre = compared
    assert [int(count) for count in page.texts("#legend .count")] == printed["bands"][::-1]
    lower, upper = (f"{limit * per_millimetre:.6g}".replace("-", "−") for limit in printed["tolerance_mm"])
    assert page.text("#places") == f"within {lower} to {upper} {unit}, {printed['below']} below, {printed['above']} above"
    assert page.texts("#legend .length") == [f"< {lower}, > {upper} {unit}", f"{lower} to {upper} {unit}"]
    assert page.script("return pageJson('figures')") == printed


def test_the_table_of_figures_says_what_is_printed(compared):
    page, printed, unit, per_millimetre = compared
    figures = dict(zip(page.texts("#figures-table th"), page.texts("#figures-table td")))
    for name, key in (("Smallest", "smallest_mm"), ("Largest", "largest_mm"), ("RMS", "rms_mm"), ("Mean", "mean_mm"),
                      ("Standard deviation (n − 1)", "standard_deviation_mm"),
                      ("95 % are off by at most", "quantile_95_mm"), ("99 % are off by at most", "quantile_99_mm")):
        assert figures[name].endswith(" " + unit)
        assert number(figures[name]) == pytest.approx(printed[key] * per_millimetre, rel=1e-5)
    assert figures["Within tolerance"] == f"{100 * printed['share_within']:.2f} %"
    for name, key in (("Points with a deviation", "judged"), ("Not finite, left out", "left_out"),
                      ("Nearest to an open border, not judged", "at_border"), ("Without a side, not judged", "without_side")):
        assert int(figures[name]) == printed[key]


def test_the_largest_deviation_is_the_one_that_is_printed(compared):
    page, printed, unit, per_millimetre = compared
    page.click("#largest")
    x, y, z, off, *_ = page.texts("#point dd")
    assert all(text.endswith(" " + unit) for text in (x, y, z, off))
    step = page.script("return deviationPage.data.step") * per_millimetre
    assert number(off) == pytest.approx(printed["largest_mm"] * per_millimetre, abs=step)
    if "normal" not in printed:
        return
    # Its deviation is what the plane has for its place.
    place = [number(text) / per_millimetre for text in (x, y, z)]
    from_plane = sum(n * (p - c) for n, p, c in zip(printed["normal"], place, printed["point_of_plane_mm"]))
    assert from_plane == pytest.approx(printed["largest_mm"], abs=3 * page.script("return deviationPage.data.cell"))
