"""Another tolerance, and bands that are picked out."""
import pytest
from selenium.webdriver.common.keys import Keys

from test_first_sight import GREEN, RED, UNGRADED, colours, pixel

PALE = (223, 227, 232)


def type_limit(page, name, text):
    field = page.driver.find_element("id", name)
    field.clear()
    field.send_keys(text, Keys.TAB)


def test_the_slider_recolours_and_counts_anew(open_page):
    page = open_page("fields")
    slider = page.driver.find_element("id", "factor")
    slider.send_keys(Keys.END)
    assert pixel(page.picture(), page.place_of(45, 15, 0)) == GREEN
    assert page.texts("#legend .count") == ["0", "29040"]
    assert page.texts("#legend .length") == ["< −1, > 1 mm", "−1 to 1 mm"]
    assert page.text("#within-share") == "100.00 %"
    assert slider.get_attribute("aria-valuetext") == "−1 to 1 mm"
    slider.send_keys(Keys.HOME)
    assert colours(page.picture()) >= {RED, UNGRADED} and GREEN not in colours(page.picture())
    assert page.texts("#legend .count") == ["29040", "0"]
    page.click("#given")
    assert page.texts("#legend .count") == ["14520", "14520"]
    assert pixel(page.picture(), page.place_of(15, 15, 0)) == GREEN


def test_typed_limits_grade_as_the_command_would(open_page):
    wide = open_page("rounded-wide", 20000).script("return pageJson('figures').bands")
    page = open_page("rounded", 20000)
    assert page.script("return pageJson('figures').bands") != wide
    type_limit(page, "lower", "-0,05")
    type_limit(page, "upper", "0.12")
    assert [int(count) for count in page.texts("#legend .count")] == wide[::-1]
    counted = page.script("""
        const {graded, steps, points} = deviationPage;
        const off = [...graded.steps].map((s) => steps.valueOf(s));
        return [off.filter((d) => d < -0.05).length, off.filter((d) => d > 0.12).length]""")
    assert page.text("#places") == f"within −0.05 to 0.12 mm, {counted[0]} below, {counted[1]} above"


def test_limits_that_cannot_be_are_refused_in_words(open_page):
    page = open_page("fields")
    for text, fault in (("much", "must be numbers"), ("0.1", "must lie below"), ("1e999", "must be numbers")):
        type_limit(page, "lower", text)
        assert fault in page.text("#fault")
        assert page.driver.find_element("id", "lower").get_attribute("aria-invalid") == "true"
        assert page.texts("#legend .count") == ["14520", "14520"]
    page.click("#given")
    assert page.text("#fault") == ""
    assert page.driver.find_element("id", "lower").get_attribute("value") == "−0.1"


def test_a_band_of_the_legend_is_picked_out(open_page):
    page = open_page("fields")
    page.click("[data-band='1'] button")  # out of tolerance
    picture = page.picture()
    assert pixel(picture, page.place_of(45, 15, 0)) == RED
    assert pixel(picture, page.place_of(15, 15, 0)) == PALE
    assert page.text("#highlight") == "Shown: Out of tolerance"
    page.click("[data-band='1'] button")
    assert pixel(page.picture(), page.place_of(15, 15, 0)) == GREEN


def test_a_bar_of_the_histogram_is_picked_out(open_page):
    page = open_page("fields")
    bars = page.driver.find_elements("css selector", "#histogram button")
    full = [bar for bar in bars if "14520 points" in bar.get_attribute("aria-label")]
    assert len(full) == 2
    full[1].click()
    picture = page.picture()
    assert pixel(picture, page.place_of(15, 15, 0)) == GREEN
    assert pixel(picture, page.place_of(45, 15, 0)) == PALE
    assert full[1].get_attribute("aria-pressed") == "true"
    full[1].send_keys(Keys.ARROW_LEFT, Keys.ENTER)  # Its neighbour has none.
    assert GREEN not in colours(page.picture())
    assert page.text("#highlight").endswith(": 0 points")


def test_the_thresholds_of_the_graphics_card_are_those_of_the_arithmetic(open_page):
    page = open_page("skewed", 2000)
    wrong = page.script("""
        const grading = new Grading([10, 35, 100, 250, 65535], arguments[0]);
        const steps = new Steps(0.035, 0.00005);
        let wrong = 0;
        for (const limits of [{lower: -0.03, upper: 0.1}, {lower: 0.02, upper: 0.021}, {lower: -5, upper: -1},
                              {lower: 0, upper: 1e-7}]) {
          const ends = steps.bandEnds(grading, limits);
          for (let s = -30000; s <= 30000; ++s) {
            const higher = ends.filter((end) => s <= end.below || s >= end.above).length;
            if (higher !== grading.bandOf(grading.percentOf(limits, steps.valueOf(s)))) ++wrong;
          }
        }
        return wrong""", False)
    assert wrong == 0


@pytest.mark.parametrize("kind", ["surface", "skewed", "one-sided", "all-out"])
def test_percentages_are_those_of_the_tool_to_the_last_bit(open_page, kind):
    page = open_page(kind, 20000)
    off = page.script("""
        const {grading, tolerance} = deviationPage;
        const percents = pageJson('figures').percents;
        return [percents.length, percents.filter(([d, p]) => grading.percentOf(tolerance.limits, d) !== p)]""")
    assert off[0] > 400 and off[1] == []


def test_points_on_a_limit_and_a_step_beside_it_have_the_colour_of_the_tool(open_page):
    page = open_page("limits")
    picture = page.picture()
    for x, colour in ((15, GREEN), (45, RED), (75, RED)):
        assert pixel(picture, page.place_of(x, 15, 0)) == colour
    page.script("deviationPage.tolerance.change({lower: -0.1 - 1e-4, upper: 0.1})")
    picture = page.picture()
    for x, colour in ((15, GREEN), (45, RED), (75, GREEN)):
        assert pixel(picture, page.place_of(x, 15, 0)) == colour


def test_a_table_of_hundreds_of_bands_is_shown_to_its_last(open_page):
    page = open_page("many-bands")
    picture = page.picture()
    for x, band in ((15, 5), (45, 270), (75, 299)):  # 5.55 %, 270.5 %, and 300 %, beyond the last.
        assert pixel(picture, page.place_of(x, 15, 0)) == (band % 256, band // 256 * 100, 7)
    counts = [int(count) for count in page.texts("#legend .count")]
    assert counts == page.script("return pageJson('figures').bands")[::-1]
    assert [299 - i for i, count in enumerate(counts) if count > 0] == [299, 270, 5]
    assert page.texts("#legend .length")[299 - 270] == "−0.271 to −0.27, 0.27 to 0.271 mm"


def test_a_table_of_one_band_has_all_points(open_page):
    page = open_page("one-band")
    assert colours(page.picture()) == {(0, 0, 7), (255, 255, 255)}
    assert (page.texts("#legend .count"), page.texts("#legend .length")) == (["43560"], ["all"])
