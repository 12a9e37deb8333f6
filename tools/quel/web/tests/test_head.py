"""The page of a head, made by the tool from the shipped cameras: view, maps, tables."""
import json
import os
import pathlib
import struct
import subprocess

import pytest
from selenium.webdriver.common.keys import Keys

from test_everyone import CONTRASTS, prefer

TOOL = os.environ["QUEL_EXECUTABLE"]
CAMERAS = pathlib.Path(os.environ["QUEL_TEST_DATA"]) / "board-three-views.json"


class Heads:
    """Blocks in a folder, and their pages."""

    def __init__(self, folder):
        self.folder = folder
        self.block = folder / "HEAD-1.tns"
        self.quel("make-block", CAMERAS, "-o", folder, "--machine", "HEAD")
        self.info = json.loads(self.quel("info", "--json", self.block))

    def quel(self, *arguments):
        return subprocess.run([TOOL, *map(str, arguments)], check=True, capture_output=True, text=True,
                              env={**os.environ, "QUEL_HOME": str(self.folder / "home")}).stdout

    def page(self, block=None, *options):
        block = block or self.block
        file = block.with_suffix(".html")
        self.quel("report", block, "-o", file, *options)
        return file

    def changed(self, name, number, other, count=1):
        """The block with another number in the place of the first `count` of that value."""
        block = self.folder / name
        block.write_bytes(self.block.read_bytes().replace(struct.pack("<d", number), struct.pack("<d", other), count))
        return block


@pytest.fixture(scope="module")
def heads(tmp_path_factory):
    return Heads(tmp_path_factory.mktemp("heads"))


@pytest.fixture(scope="module")
def head_file(heads):
    return heads.page()


@pytest.fixture
def open_head(browser):
    def opened(file):
        browser.open(file)
        browser.wait(lambda: browser.script("return !headPage.view || headPage.view.isStill || !headPage.layers"))
        return browser

    yield opened
    assert browser.console() == []
    browser.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "", "features": []})


def still(page):
    page.wait(lambda: page.script("return headPage.view.isStill"))


def pixels(page):
    """What the canvas of the view shows, by rows from below."""
    still(page)
    return page.script("""
        const {canvas} = headPage.view;
        const copy = document.createElement('canvas');
        headPage.view.drawOnto(copy);
        const data = copy.getContext('2d').getImageData(0, 0, copy.width, copy.height).data;
        return [copy.width, copy.height, Array.from(new Uint32Array(data.buffer))];""")


def colours(page):
    return set(pixels(page)[2])


def places_of_labels(page):
    """Where labels of the view begin to stand, in pixels, by their text."""
    still(page)
    return dict(page.script("""return [...document.querySelectorAll('.lines text')].map((text) =>
        [text.textContent, [Number(text.getAttribute('x')), Number(text.getAttribute('y')) + 8]])"""))


def corners_of(page, camera):
    """Where the rim of a field of view is drawn, in pixels: its corners, from the upper left one of the image."""
    path = page.script("return document.querySelector(arguments[0]).getAttribute('d')", f".field.camera-{camera} path")
    rim = path.split("M")[1].split("L")
    return [tuple(map(float, place.split())) for place in rim[0:32:8]]


def ray(info, camera, x, y):
    """The ray of a measured pixel in the camera's frame, with depth 1, by undoing the lens step by step."""
    k, d = info["intrinsics"], info["distortion"]
    u, v = x, y
    for _ in range(2000):
        dx, dy = u - d["xp"], v - d["yp"]
        r2 = dx * dx + dy * dy
        s = d["k1"] * r2 + d["k2"] * r2**2 + d["k3"] * r2**3
        u += 0.3 * (x - (u + dx * s + d["p1"] * (r2 + 2 * dx * dx) + 2 * d["p2"] * dx * dy))
        v += 0.3 * (y - (v + dy * s + d["p2"] * (r2 + 2 * dy * dy) + 2 * d["p1"] * dx * dy))
    b = (v - k[1][2]) / k[1][1]
    return [(u - k[0][2] - k[0][1] * b) / k[0][0], b, 1.0]


def depth_of_volume(info, head):
    """How far the farthest corner of the volume lies before a camera."""
    centre, half = head["box_centre_mm"], head["box_half_size_mm"]
    row, t = info["rotation"][2], info["translation_mm"][2]
    return sum(row[i] * centre[i] + abs(row[i]) * half[i] for i in range(3)) + t


def corner_in_world(info, head, camera, x, y):
    direction, depth = ray(info, camera, x, y), depth_of_volume(info, head)
    rotation = info["rotation"]
    return [info["location_mm"][i] + depth * sum(rotation[k][i] * direction[k] for k in range(3)) for i in range(3)]


def test_cameras_and_corners_of_their_fields_lie_where_the_block_says(open_head, head_file, heads):
    page = open_head(head_file)
    page.click("[data-axis='2']")
    labels = places_of_labels(page)
    infos, head = heads.info["cameras"], heads.info["head"]
    a, b = (infos[i]["location_mm"] for i in (0, 1))
    at, bt = labels["Camera 0"], labels["Camera 1"]
    scale = (bt[0] - at[0]) / (b[0] - a[0])
    assert scale > 0.2
    seen = lambda p: (at[0] + scale * (p[0] - a[0]), at[1] - scale * (p[1] - a[1]))  # noqa: E731
    assert seen(infos[2]["location_mm"]) == pytest.approx(labels["Camera 2"], abs=0.1)
    for i, info in enumerate(infos):
        corners = [(-0.5, -0.5), (639.5, -0.5), (639.5, 479.5), (-0.5, 479.5)]
        for corner, place in zip(corners, corners_of(page, i)):
            assert seen(corner_in_world(info, head, i, *corner)) == pytest.approx(place, abs=0.3), (i, corner)


def test_the_view_shows_cameras_in_their_colours_and_sections_in_those_of_the_scale(open_head, head_file):
    page = open_head(head_file)
    shown = {"#%02x%02x%02x" % (c & 255, c >> 8 & 255, c >> 16 & 255) for c in colours(page)}
    assert {"#1c4ca4", "#a34d08", "#1f7045", "#ffffff"} <= shown
    scale = page.script("return headPage.data.colours")
    assert len(shown & set(scale)) > 100


@pytest.mark.parametrize("what", ["fields", "section-0", "section-1", "section-2"])
def test_a_box_hides_and_shows(open_head, head_file, what):
    page = open_head(head_file)
    before = pixels(page)
    page.click(f"[data-show='{what}']")
    hidden = pixels(page)
    assert hidden != before
    page.click(f"[data-show='{what}']")
    assert pixels(page) == before


def test_the_volume_can_be_hidden(open_head, head_file):
    page = open_head(head_file)
    drawn = "return getComputedStyle(document.querySelector('.lines .volume')).display"
    assert page.script(drawn) != "none"
    page.click("[data-show='volume']")
    still(page)
    assert page.script(drawn) == "none"


def test_a_chosen_place_tells_its_deviation(open_head, head_file, heads):
    page = open_head(head_file)
    for what in ("section-0", "section-1"):
        page.click(f"[data-show='{what}']")
    page.click("[data-axis='2']")
    still(page)
    x, y = page.script("""
        const {view, data} = headPage;
        const at = view.placeOf(vectorOf(data.scene.volume.centre));
        return [at.x * view.canvas.clientWidth, at.y * view.canvas.clientHeight];""")
    page.script("headPage.tap(arguments[0], arguments[1])", x, y)
    rows = dict(zip(page.texts("#place dt"), page.texts("#place dd")))
    found = json.loads(heads.quel("uncertainty", "--json", heads.block))
    centre = found["volume"]["centre_mm"]
    for axis, name in enumerate("XYZ"):
        assert float(rows[name].split()[0].replace("\u2212", "-")) == pytest.approx(centre[axis], abs=0.06)
    assert float(rows["Standard deviation"].split()[0]) == pytest.approx(found["centre"]["point_mm"], rel=0.02)


def test_tables_say_what_the_commands_say(open_head, head_file, heads):
    page = open_head(head_file)
    found = json.loads(heads.quel("uncertainty", "--json", heads.block))
    for row in page.script("return [...document.querySelectorAll('#uncertainty tbody tr')].map((r) => "
                           "[...r.children].map((c) => c.textContent))"):
        told = found[row[0].lower()]
        numbers = [told[key] for key in ("x_mm", "y_mm", "z_mm", "point_mm")]
        assert [float(text) for text in row[1:]] == pytest.approx(numbers, rel=6e-4), row
    checks = heads.info["health"]["checks"]
    rows = page.script("return [...document.querySelectorAll('[data-check]')].map((r) => "
                       "[r.dataset.check, ...[...r.children].map((c) => c.innerText.trim())])")
    assert [row[0] for row in rows] == list(checks)
    for key, verdict, what, finding in rows:
        assert verdict.endswith(checks[key]["verdict"]) and what == checks[key]["what"]
        assert finding == checks[key]["finding"].strip()
    assert heads.info["health"]["verdict"] in page.text("#verdict")
    assert "HEAD, 1" in page.text("body")


def test_maps_have_the_colours_of_their_values(open_head, head_file):
    page = open_head(head_file)
    for name in ("section-0", "section-1", "section-2", "lens-0", "lens-1", "lens-2"):
        wrong, empty, drawn = page.script("""
            const map = headPage.maps.get(arguments[0]);
            const {columns, rows, rises, least, greatest} = map.plan;
            const canvas = map.figure.querySelector('canvas');
            const data = canvas.getContext('2d').getImageData(0, 0, columns, rows).data;
            let wrong = 0, empty = 0;
            for (let row = 0; row < rows; ++row) for (let column = 0; column < columns; ++column) {
              const value = map.valueAt(column, rises ? rows - 1 - row : row);
              const at = 4 * (row * columns + column);
              if (Number.isNaN(value)) { ++empty; if (data[at + 3] !== 0) ++wrong; continue; }
              const share = (value - least) / (greatest - least);
              const hex = headPage.data.colours[Math.round(255 * share)];
              const told = '#' + [0, 1, 2].map((i) => data[at + i].toString(16).padStart(2, '0')).join('');
              if (told !== hex) ++wrong;
            }
            return [wrong, empty, columns * rows];""", name)
        assert wrong == 0 and empty < drawn / 2, name


def is_seen(heads, place):
    """True where a place is within the images of all cameras, by pinhole and lens."""
    for info in heads.info["cameras"]:
        x, y, z = (sum(info["rotation"][i][k] * place[k] for k in range(3)) + info["translation_mm"][i] for i in range(3))
        k, d = info["intrinsics"], info["distortion"]
        u, v = (k[0][0] * x + k[0][1] * y) / z + k[0][2], k[1][1] * y / z + k[1][2]
        dx, dy = u - d["xp"], v - d["yp"]
        r2 = dx * dx + dy * dy
        s = d["k1"] * r2 + d["k2"] * r2**2 + d["k3"] * r2**3
        u += dx * s + d["p1"] * (r2 + 2 * dx * dx) + 2 * d["p2"] * dx * dy
        v += dy * s + d["p2"] * (r2 + 2 * dy * dy) + 2 * d["p1"] * dx * dy
        if not (0 <= u < 640 and 0 <= v < 480):
            return False
    return True


def places_of_section(heads, u, v):
    """Shares of the volume along two axes, with whether the place there is seen; none so near to the border of what is
    seen that the pixels of a map cannot tell."""
    head = heads.info["head"]
    steps = [n / 12 - 0.5 for n in range(1, 12)]
    for a in steps:
        for b in steps:
            seen = []
            for da, db in ((0, 0), (-0.02, 0), (0.02, 0), (0, -0.02), (0, 0.02)):
                place = list(head["box_centre_mm"])
                place[u] += 2 * (a + da) * head["box_half_size_mm"][u]
                place[v] += 2 * (b + db) * head["box_half_size_mm"][v]
                seen.append(is_seen(heads, place))
            if len(set(seen)) == 1:
                yield a, b, seen[0]


@pytest.mark.parametrize("across, u, v", [(2, 0, 1), (1, 0, 2), (0, 1, 2)])
def test_sections_lie_as_they_say(open_head, head_file, heads, across, u, v):
    page = open_head(head_file)
    places = list(places_of_section(heads, u, v))
    drawn = page.script("""
        const canvas = document.querySelector(arguments[0] + ' canvas');
        const data = canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height).data;
        return arguments[1].map(([a, b]) => data[4 * (Math.floor((0.5 - b) * canvas.height) * canvas.width +
                                                      Math.floor((a + 0.5) * canvas.width)) + 3] !== 0);""",
                        f"#section-{across}", places)
    assert drawn == [seen for _, _, seen in places]


def test_sections_in_the_view_lie_in_the_volume(open_head, head_file, heads):
    page = open_head(head_file)
    for what in ("fields", "section-0", "section-1"):
        page.click(f"[data-show='{what}']")
    page.click("[data-axis='2']")
    width, height, picture = pixels(page)
    places = list(places_of_section(heads, 0, 1))
    at = page.script("""
        const {volume, view} = headPage;
        return arguments[0].map(([a, b]) => { const p = view.placeOf(volume.at(a, b, 0)); return [p.x, p.y]; });""", places)
    white = 0xFFFFFFFF
    drawn = [picture[int(y * height) * width + int(x * width)] != white for x, y in at]
    assert drawn == [seen for _, _, seen in places]
    assert True in drawn and False in drawn


def test_the_whole_head_fills_the_view(open_head, head_file):
    page = open_head(head_file)
    for button in ("#view-fit", "[data-axis='0']", "[data-axis='1']", "[data-camera='1']"):
        page.click(button)
        still(page)
        numbers = page.script("""return [...document.querySelectorAll('.lines path')]
            .flatMap((path) => path.getAttribute('d').match(/-?[0-9.]+/g).map(Number));""")
        width, height = page.script("const {canvas} = headPage.view; return [canvas.clientWidth, canvas.clientHeight]")
        spans = []
        for values, size in ((numbers[0::2], width), (numbers[1::2], height)):
            assert min(values) >= 0 and max(values) <= size
            assert min(values) + max(values) == pytest.approx(size, abs=1)
            spans.append((max(values) - min(values)) / size)
        assert max(spans) == pytest.approx(1 / 1.1, abs=0.01)


def test_maps_of_lenses_tell_how_far_pixels_are_moved(open_head, head_file, heads):
    page = open_head(head_file)
    d = heads.info["cameras"][1]["distortion"]
    columns, rows = page.script("const {columns, rows} = headPage.maps.get('lens-1').plan; return [columns, rows]")
    pitch = 640 / (columns - 1)
    for column, row in ((0, 0), (columns - 1, 10), (60, 45), (100, rows - 1)):
        dx, dy = column * pitch - 0.5 - d["xp"], row * pitch - 0.5 - d["yp"]
        r2 = dx * dx + dy * dy
        s = d["k1"] * r2 + d["k2"] * r2**2 + d["k3"] * r2**3
        moved = ((dx * s + d["p1"] * (r2 + 2 * dx * dx) + 2 * d["p2"] * dx * dy)**2 +
                 (dy * s + d["p2"] * (r2 + 2 * dy * dy) + 2 * d["p1"] * dx * dy)**2)**0.5
        shown = page.script("return headPage.maps.get('lens-1').valueAt(arguments[0], arguments[1])", column, row)
        assert shown == pytest.approx(moved, abs=0.002)


def read_out_in_the_middle(page):
    page.script("""
        const stack = document.querySelector('#section-2 .map-stack');
        const box = stack.getBoundingClientRect();
        const at = {clientX: box.left + box.width / 2, clientY: box.top + box.height / 2, bubbles: true};
        stack.dispatchEvent(new PointerEvent('pointermove', at));""")
    return page.text("#section-2 output")


def test_a_map_is_read_out_where_somebody_points(open_head, head_file):
    page = open_head(head_file)
    middle = page.script("const map = headPage.maps.get('section-2'); "
                         "return map.valueAt((map.plan.columns - 1) / 2, (map.plan.rows - 1) / 2)")
    assert read_out_in_the_middle(page) == f"{middle:.3g} mm"


def test_a_camera_is_looked_through(open_head, head_file, heads):
    page = open_head(head_file)
    for i, info in enumerate(heads.info["cameras"]):
        page.click(f"[data-camera='{i}']")
        still(page)
        direction = page.script("return headPage.view.pose.direction().toArray()")
        assert [-x for x in direction] == pytest.approx(info["rotation"][2], abs=1e-6)
        corners = corners_of(page, i)
        assert corners[0][0] < corners[1][0] and corners[0][1] < corners[3][1]


def test_keys_turn_and_fit_the_view(open_head, head_file):
    page = open_head(head_file)
    canvas = page.driver.find_element("id", "view")
    before = places_of_labels(page)
    canvas.send_keys(Keys.ARROW_LEFT, Keys.ARROW_LEFT)
    turned = places_of_labels(page)
    assert turned != before
    canvas.send_keys("+")
    assert places_of_labels(page) != turned
    canvas.send_keys("f")
    width, height = page.script("return [headPage.view.canvas.clientWidth, headPage.view.canvas.clientHeight]")
    labels = places_of_labels(page)
    assert len(labels) == 6
    assert all(0 <= x <= width and 0 <= y <= height for x, y in labels.values())
    page.driver.find_element("css selector", "[data-show='fields']").send_keys(Keys.SPACE)
    still(page)
    assert page.script("return getComputedStyle(document.querySelector('.lines .field')).display") == "none"


@pytest.mark.parametrize("scheme", ["light", "dark"])
def test_every_text_of_a_head_has_contrast(open_head, head_file, scheme):
    page = open_head(head_file)
    prefer(page, scheme)
    contrasts = page.script(CONTRASTS)
    assert len(contrasts) > 100
    assert [low for low in contrasts if low[0] < 4.5] == []


def test_paper_gets_the_view_and_all_tables(open_head, head_file):
    page = open_head(head_file)
    page.script("document.getElementById('theme').click()")
    page.script("dispatchEvent(new Event('beforeprint'))")
    page.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "print", "features": []})
    assert page.script("return getComputedStyle(document.body).backgroundColor") == "rgb(255, 255, 255)"
    for selector in ("#health", "#uncertainty", "#section-2", "#lens-0", ".lines"):
        assert page.script("const b = document.querySelector(arguments[0]).getBoundingClientRect(); "
                           "return b.width > 40 && b.height > 20", selector), selector
    assert page.texts(".map strong")[:2] == ["Z = 14.78 mm", "Y = 73.36 mm"]
    assert "IN THE VIEW" not in page.text("body").upper() and "SEEN FROM" not in page.text("body").upper()
    page.script("dispatchEvent(new Event('afterprint'))")


def test_a_block_without_volume_shows_its_cameras_and_says_so(open_head, heads):
    half = heads.info["head"]["box_half_size_mm"][2]
    page = open_head(heads.page(heads.changed("novolume.tns", half, -1.0)))
    assert "does not tell its measuring volume" in page.text("#not-measured")
    assert sorted(places_of_labels(page)) == ["Camera 0", "Camera 1", "Camera 2"]
    assert page.texts("#sections") == [] and len(page.texts(".map")) == 3
    assert len(colours(page)) > 3


def test_a_block_without_cameras_says_why(open_head, heads):
    focal = heads.info["cameras"][0]["distortion"]["k1"]
    page = open_head(heads.page(heads.changed("nolens.tns", focal, float("nan"), 3)))
    assert "bad" in page.text("#verdict") and "distortion" in page.text("#verdict")
    block = heads.folder / "nocameras.tns"
    content = bytearray(heads.block.read_bytes())
    content[17220:17228] = struct.pack("<d", float("nan"))
    block.write_bytes(content)
    page = open_head(heads.page(block))
    assert "no cameras" in page.text("#view-message") and "The view shows no cameras" in page.text("#notes")


def test_names_mean_nothing_to_the_browser(open_head, heads):
    block = heads.folder / "<img src=x onerror=alert(1)>&.tns"
    block.write_bytes(heads.block.read_bytes())
    page = open_head(heads.page(block))
    assert page.text("h1") == "Head of <img src=x onerror=alert(1)>&.tns"
    assert page.script("return document.images.length") == 0


def test_lengths_are_in_the_unit_of_the_site(open_head, heads):
    home = heads.folder / "home"
    home.mkdir(exist_ok=True)
    (home / "params.ini").write_text("QmEnv.Units = 3\n")
    try:
        page = open_head(heads.page(None))
        assert "in" in page.text("#rms").split()
        found = json.loads(heads.quel("uncertainty", "--json", heads.block))
        assert float(page.text("#rms").split()[0]) == pytest.approx(found["rms"]["point_mm"] / 25.4, rel=6e-4)
        assert page.text("#scale-text").endswith(" in")
        number, unit = read_out_in_the_middle(page).split()
        assert unit == "in" and float(number) == pytest.approx(found["centre"]["point_mm"] / 25.4, rel=0.02)
    finally:
        (home / "params.ini").unlink()
        heads.page(None)
