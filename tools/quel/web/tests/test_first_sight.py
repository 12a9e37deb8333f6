"""What a page shows as it comes up."""
import json

import pytest

GREEN, RED = (156, 255, 102), (255, 80, 80)
UNGRADED, PAPER = (140, 147, 157), (255, 255, 255)


def pixel(picture, place):
    return picture.getpixel((round(place[0]), round(place[1])))


def colours(picture):
    return {colour for _, colour in picture.getcolors(1 << 24)}


def test_points_have_exactly_the_colours_of_the_table(open_page):
    page = open_page("fields")
    picture = page.picture()
    for x, colour in ((15, GREEN), (45, RED), (75, UNGRADED)):
        assert pixel(picture, page.place_of(x, 15, 0)) == colour
    assert colours(picture) == {GREEN, RED, UNGRADED, PAPER}


def test_nothing_is_asked_of_the_network(open_page, page_file):
    page = open_page("surface", 2000)
    asked = [entry for entry in page.driver.get_log("performance") if "Network.requestWillBeSent" in entry["message"]]
    own = page_file("surface", 2000).as_uri()
    assert asked and all(json.loads(entry["message"])["message"]["params"]["request"]["url"].startswith((own, "data:", "blob:"))
                         for entry in asked if "requestWillBeSent\"" in entry["message"])


def test_the_legend_says_what_the_command_says(open_page):
    page = open_page("surface", 20000)
    bands = page.script("return pageJson('figures').bands")
    assert [int(count) for count in page.texts("#legend .count")] == bands[::-1]  # the highest on top
    assert sum(bands) == 20000 - 207
    assert page.texts("#legend .share") == [f"{100 * count / sum(bands):.2f} %" for count in bands[::-1]]
    assert page.texts("#legend .name") == ["Out of tolerance", "Within tolerance"]
    assert page.texts("#legend .length") == ["< −0.1, > 0.1 mm", "−0.1 to 0.1 mm"]
    assert page.texts("#figures-table td") == ["20000", "0.0123 mm", "0.0456 mm"]
    assert page.texts("#origin td")[0] == "scan.ply"
    assert "in steps of 0.00305 mm, deviations in steps of 0.0001 mm" in page.text("#notes")
    assert "Copyright © 2010-2019 three.js authors" in page.text(".about")


def test_the_histogram_holds_every_point_once(open_page):
    page = open_page("surface", 20000)
    names = page.script("return [...document.querySelectorAll('#histogram button')].map((b) => b.getAttribute('aria-label'))")
    assert sum(int(name.split(": ")[1].split()[0]) for name in names) == 20000 - 207
    assert names[0].startswith("below −0.1") and names[-1].startswith("from +0.1")


def test_no_points_are_said_to_be_none(open_page):
    page = open_page("empty")
    assert page.text("#view-message") == "There are no points to show."
    assert page.texts("#legend .count") == ["0", "0"]
    page.click("#largest")
    assert page.text("#point") == "None chosen"


def test_one_point_is_seen_in_the_middle(open_page):
    page = open_page("one")
    picture = page.picture()
    assert pixel(picture, (picture.width / 2, picture.height / 2)) == GREEN
    page.click("#largest")
    assert page.texts("#point dd")[:4] == ["12.500 mm", "−3.000 mm", "480.250 mm", "+0.0625 mm"]


def test_all_out_of_tolerance_is_red(open_page):
    page = open_page("all-out", 20000)
    seen = colours(page.picture())
    assert RED in seen and GREEN not in seen
    assert page.text("#within-share") == "0.00 %"
    assert page.texts("#legend .count") == ["19793", "0"]


def test_equal_deviations_stand_in_one_bar(open_page):
    page = open_page("all-equal", 5000)
    names = page.script("return [...document.querySelectorAll('#histogram button')].map((b) => b.getAttribute('aria-label'))")
    assert sorted(int(name.split(": ")[1].split()[0]) for name in names)[-2:] == [0, 5000]
    assert page.texts("#legend .count") == ["5000", "0"]  # On the limit: its band is the outer one,
    assert page.text("#places").endswith("0 below, 0 above")  # and yet it is within.


def test_points_without_deviations_can_be_hidden(open_page):
    page = open_page("none-graded", 3000)
    assert UNGRADED in colours(page.picture())
    page.click("#ungraded-shown")
    assert colours(page.picture()) == {PAPER}


@pytest.mark.parametrize("kind, lower, upper", [("skewed", "−0.03", "0.1"), ("one-sided", "−0.1", "0.1")])
def test_bands_of_other_tolerances_are_those_of_the_command(open_page, kind, lower, upper):
    page = open_page(kind, 20000)
    assert [int(count) for count in page.texts("#legend .count")] == page.script("return pageJson('figures').bands")[::-1]
    assert page.texts("#legend .length") == [f"< {lower}, > {upper} mm", f"{lower} to {upper} mm"]


def test_names_from_files_are_text_and_nothing_else(open_page):
    page = open_page("hostile", 2000)
    name = "</script><img onerror=alert(1) src=x>&amp;\"'��.ply"
    assert page.text("h1") == "Deviations of " + name
    assert page.driver.title == "Deviations of " + name
    assert page.texts("#origin td")[0] == name
    assert page.texts("#legend .name")[1] == "</td><script>document.title = 'broken'</script>"
    assert page.script("return pageJson('figures').cloud").startswith("</script><img onerror=alert(1) src=x>")
    assert page.script("return document.querySelectorAll('img').length") == 0


def test_two_million_points_are_shown_of_more(open_page):
    page = open_page("surface", 2_500_000)
    assert "2000000 of 2500000 points are shown" in page.text("#notes")
    assert page.script("return deviationPage.data.graded + deviationPage.data.ungraded") == 2_000_000
    assert sum(int(count) for count in page.texts("#legend .count")) == 2_500_000 - 25774
    assert {GREEN, RED, UNGRADED} <= colours(page.picture())
