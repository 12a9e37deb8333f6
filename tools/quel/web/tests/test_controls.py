"""The view turned, moved and zoomed, and points chosen in it, as people do it."""
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

from test_first_sight import PAPER, colours


def canvas(page):
    return page.driver.find_element("id", "view")


def pose(page):
    return page.script("const p = deviationPage.view.pose;"
                       "return {rotation: p.rotation.toArray(), target: p.target.toArray(), height: p.height}")


def at(page, place):
    """An action chain with the mouse at a place of the canvas."""
    size = canvas(page).size
    return ActionChains(page.driver).move_to_element_with_offset(
        canvas(page), round(place[0] - size["width"] / 2), round(place[1] - size["height"] / 2))


def is_near(a, b, tolerance):
    return all(abs(x - y) <= tolerance for x, y in zip(a, b))


def test_a_click_chooses_the_point_that_is_seen_there(open_page):
    page = open_page("fields")
    at(page, page.place_of(15, 15, 0)).click().perform()
    x, y, z, off, share, band = page.texts("#point dd")
    assert abs(float(x.split()[0]) - 15) <= 0.3 and abs(float(y.split()[0]) - 15) <= 0.3 and z == "0.000 mm"
    assert (off, share, band) == ("+0.0500 mm", "50 %", "Within tolerance")
    assert page.script("return !document.querySelector('.ring').hidden")


def test_a_click_on_a_point_without_deviation_says_so(open_page):
    page = open_page("fields")
    at(page, page.place_of(75, 15, 0)).click().perform()
    assert page.texts("#point dd")[3] == "none"
    at(page, (5, page.script("return document.getElementById('view').clientHeight") - 60)).click().perform()
    assert page.text("#point") == "None chosen"


def test_of_points_behind_one_another_the_foremost_is_chosen(open_page):
    page = open_page("surface", 20000)
    page.click("[data-axis='0']")  # Along X, where the whole plate lies one behind another.
    page.settle()
    places = page.script("""
        const {view, points} = deviationPage;
        return [...Array(400).keys()].map((i) => view.placeOf(cellOf(points.cells, i))).map((p) => [p.x, p.y])""")
    size = canvas(page).size
    for share in places[::80]:
        at(page, (share[0] * size["width"], share[1] * size["height"])).click().perform()
        chosen, foremost = page.script("""
            const {view, points, point} = deviationPage;
            const depth = (i) => cellOf(points.cells, i).x;
            const found = pointsAround(view, points, arguments[0], arguments[1], 6 / view.canvas.clientHeight, () => true);
            return [depth(point.i), Math.max(...found.map((p) => depth(p.i)))]""", *share)
        assert chosen >= foremost - 65536 * 0.2


def test_largest_and_smallest_are_found(open_page):
    page = open_page("fields")
    page.click("#largest")
    assert page.texts("#point dd")[3] == "+0.0500 mm"
    page.click("#smallest")
    assert page.texts("#point dd")[3:5] == ["−0.2500 mm", "250 %"]
    page.click("#no-point")
    assert page.text("#point") == "None chosen"


def test_a_drag_turns_and_the_right_button_moves(open_page):
    page = open_page("fields")
    before, seen = pose(page), page.picture()
    at(page, (400, 300)).click_and_hold().move_by_offset(80, 20).release().perform()
    turned = pose(page)
    assert turned["target"] == before["target"] and not is_near(turned["rotation"], before["rotation"], 0.05)
    assert page.picture().tobytes() != seen.tobytes()
    assert page.text("#point") == "None chosen"  # A drag chooses nothing.
    at(page, (400, 300)).key_down(Keys.SHIFT).click_and_hold().move_by_offset(60, 0).release().key_up(Keys.SHIFT).perform()
    moved = pose(page)
    assert moved["rotation"] == turned["rotation"] and not is_near(moved["target"], turned["target"], 100)
    page.click("#view-fit")
    page.settle()
    assert is_near(pose(page)["target"], before["target"], 1e-6)


def test_the_wheel_zooms_at_the_pointer(open_page):
    page = open_page("fields")
    place = page.place_of(30, 15, 0)
    height = pose(page)["height"]
    page.driver.execute_cdp_cmd("Input.dispatchMouseEvent", {
        "type": "mouseWheel", "x": place[0], "y": place[1] + canvas(page).location["y"], "deltaX": 0, "deltaY": -240})
    page.wait(lambda: pose(page)["height"] < 0.75 * height)
    page.settle()
    assert is_near(page.place_of(30, 15, 0), place, 1.0)


def test_keys_turn_move_zoom_fit_and_choose(open_page):
    page = open_page("fields")
    begun = pose(page)
    canvas(page).send_keys(Keys.ARROW_RIGHT)
    turned = pose(page)
    assert not is_near(turned["rotation"], begun["rotation"], 0.01) and turned["target"] == begun["target"]
    canvas(page).send_keys(Keys.SHIFT + Keys.ARROW_RIGHT)
    moved = pose(page)
    assert moved["rotation"] == turned["rotation"] and not is_near(moved["target"], turned["target"], 100)
    canvas(page).send_keys("+")
    assert abs(pose(page)["height"] - moved["height"] / 1.25) < 1e-6 * moved["height"]
    canvas(page).send_keys("-")
    canvas(page).send_keys("f")
    assert is_near(pose(page)["target"], begun["target"], 1e-6)
    page.settle()
    canvas(page).send_keys(Keys.ENTER)  # In the middle lies the red field.
    assert page.texts("#point dd")[3] == "−0.2500 mm"


def test_the_axes_buttons_look_along_them_from_either_end(open_page):
    page = open_page("fields")
    for axis in range(3):
        page.click(f"[data-axis='{axis}']")
        page.click(f"[data-axis='{axis}']")
        towards = page.script("return deviationPage.view.pose.direction().toArray()")
        assert abs(towards[axis] + 1) < 1e-9
    page.click("[data-axis='2']")
    page.settle()
    (left, top), (right, bottom) = page.place_of(0, 30, 0), page.place_of(90, 0, 0)
    assert left < right and top < bottom  # X to the right, Y upward.
    assert abs((right - left) - 3 * (bottom - top)) < 1e-6 * right  # In parallel projection, in proportion.


def test_the_scale_bar_is_as_long_as_it_says(open_page):
    page = open_page("fields")
    page.click("[data-axis='2']")
    page.settle()
    length, unit = page.text("#scale-text").split()
    width = page.script("return document.getElementById('scale').getBoundingClientRect().width")
    pixels = page.place_of(90, 0, 0)[0] - page.place_of(0, 0, 0)[0]
    assert unit == "mm" and abs(width - float(length) / 90 * pixels) < 1.0


def touch(page, kind, *places):
    page.driver.execute_cdp_cmd("Input.dispatchTouchEvent",
                                {"type": kind, "touchPoints": [{"x": x, "y": y, "id": i} for i, (x, y) in enumerate(places)]})


def test_one_finger_turns_two_zoom_and_a_tap_chooses(open_page):
    page = open_page("fields")
    top = canvas(page).location["y"]
    x, y = page.place_of(45, 15, 0)
    touch(page, "touchStart", (x, y + top))
    touch(page, "touchEnd")
    page.wait(lambda: page.text("#point") != "None chosen")
    assert page.texts("#point dd")[3] == "−0.2500 mm"
    begun = pose(page)
    touch(page, "touchStart", (300, 300))
    for step in range(1, 6):
        touch(page, "touchMove", (300 + 12 * step, 300))
    touch(page, "touchEnd")
    page.wait(lambda: not is_near(pose(page)["rotation"], begun["rotation"], 0.05))
    turned = pose(page)
    assert turned["height"] == begun["height"]
    touch(page, "touchStart", (300, 300), (400, 300))
    for step in range(1, 6):
        touch(page, "touchMove", (300 - 10 * step, 300), (400 + 10 * step, 300))
    touch(page, "touchEnd")
    page.wait(lambda: pose(page)["height"] < 0.6 * turned["height"])
    assert pose(page)["rotation"] == turned["rotation"]


def test_the_picture_is_not_blank_from_any_side(open_page):
    page = open_page("surface", 20000)
    for axis in range(3):
        page.click(f"[data-axis='{axis}']")
        assert len(colours(page.picture()) - {PAPER}) >= 2


def test_another_size_shows_the_whole_until_somebody_has_zoomed(open_page):
    page = open_page("fields")
    try:
        page.size(900, 720)
        page.wait(lambda: page.script("return document.getElementById('view').width") < 600)
        left, right = page.place_of(0, 0, 0)[0], page.place_of(90, 30, 0)[0]
        assert 0 < left < right < page.script("return document.getElementById('view').width")
        canvas(page).send_keys("+")
        height = pose(page)["height"]
        page.size(page.WIDTH, page.HEIGHT)
        page.wait(lambda: page.script("return document.getElementById('view').width") > 600)
        page.settle()
        assert pose(page)["height"] == height
    finally:
        page.size(page.WIDTH, page.HEIGHT)
