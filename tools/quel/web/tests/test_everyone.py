"""The page in the dark, on paper, by keyboard and screen reader, and where a browser lacks what its view needs."""
import base64
import hashlib
import re
import zlib

import pytest
from selenium.webdriver.common.keys import Keys

from browser import Browser
from test_first_sight import GREEN, RED, UNGRADED, colours

# Of each text on the page its contrast with what lies under it, by WCAG 2, with the text.
CONTRASTS = """
  const share = (v) => v <= 0.04045 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4;
  const parts = (colour) => colour.match(/[\\d.]+/g).map(Number);
  const light = (colour) => parts(colour).slice(0, 3).reduce((sum, v, i) => sum + [0.2126, 0.7152, 0.0722][i] * share(v / 255), 0);
  const ground = (element) => {
    for (let e = element; e; e = e.parentElement) {
      const colour = getComputedStyle(e).backgroundColor;
      if (parts(colour)[3] !== 0) return colour;
    }
    return 'rgb(255, 255, 255)';
  };
  const found = [];
  const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
  while (walker.nextNode()) {
    const element = walker.currentNode.parentElement;
    const text = walker.currentNode.textContent.trim();
    if (text === '' || element.closest('script, noscript, svg, [hidden]')) continue;
    const [a, b] = [light(getComputedStyle(element).color), light(ground(element))];
    found.push([(Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05), text]);
  }
  return found;"""


def prefer(page, scheme):
    page.driver.execute_cdp_cmd("Emulation.setEmulatedMedia",
                                {"media": "", "features": [{"name": "prefers-color-scheme", "value": scheme}]})


@pytest.mark.parametrize("scheme", ["light", "dark"])
def test_every_text_has_contrast(open_page, scheme):
    page = open_page("fields")
    prefer(page, scheme)
    page.click("#largest")
    page.click("[data-band='1'] button")
    page.driver.find_element("id", "lower").send_keys("much", Keys.TAB)
    contrasts = page.script(CONTRASTS)
    assert len(contrasts) > 30
    assert [low for low in contrasts if low[0] < 4.5] == []


def test_the_page_is_dark_where_the_system_is_and_by_its_button(open_page):
    page = open_page("fields")
    prefer(page, "dark")
    dark = (22, 27, 34)
    assert dark in colours(page.picture()) and {GREEN, RED} <= colours(page.picture())
    page.click("#theme")
    assert dark not in colours(page.picture())
    assert page.script("return getComputedStyle(document.body).backgroundColor") == "rgb(255, 255, 255)"
    assert page.text("#theme") == "Dark"


def images_of(pdf):
    """The images of a PDF, without its shades of transparency, as lists of pixels."""
    for found in re.finditer(rb"<<([^<>]*?/Subtype /Image[^<>]*?)>>\s*stream\r?\n", pdf):
        if b"/ICCBased" in found[1] or b"/DeviceRGB" in found[1]:
            length = int(re.search(rb"/Length (\d+)", found[1])[1])
            data = zlib.decompress(pdf[found.end():found.end() + length])
            yield [tuple(data[i:i + 3]) for i in range(0, len(data), 3)]


def test_paper_shows_the_picture_as_it_is_seen_on_white(open_page):
    page = open_page("fields")
    page.click("#theme")
    page.settle()
    pdf = base64.b64decode(page.driver.execute_cdp_cmd("Page.printToPDF", {"printBackground": False})["data"])
    pictures = [image for image in images_of(pdf) if len(image) > 100000]
    assert len(pictures) == 1
    assert {(255, 255, 255), GREEN, RED, UNGRADED} <= set(pictures[0]) and (22, 27, 34) not in pictures[0]
    assert page.script("return document.documentElement.dataset.theme") == "dark"  # as before


def test_paper_has_the_tables_and_no_buttons(open_page):
    page = open_page("fields")
    page.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "print"})
    shown = "return arguments[0].map((s) => document.querySelector(s).getClientRects().length > 0)"
    assert all(page.script(shown, ["#paper", "#legend", "#histogram", "#figures-table", "#origin", "#notes", ".about", ".scale"]))
    assert not any(page.script(shown, ["#theme", "#view-tools", "#factor", "#given", "#largest"]))


def test_everything_that_acts_has_a_name_and_is_reached_by_the_keyboard(open_page):
    page = open_page("fields")
    tree = page.driver.execute_cdp_cmd("Accessibility.getFullAXTree", {})["nodes"]
    acting = [node for node in tree if node.get("role", {}).get("value") in ("button", "slider", "textbox", "checkbox", "application")]
    assert len(acting) > 60 and all(node["name"]["value"].strip() for node in acting)
    reached = []
    page.script("document.body.focus()")
    for _ in range(40):
        page.driver.switch_to.active_element.send_keys(Keys.TAB)
        reached.append(page.script("""
            const e = document.activeElement, style = getComputedStyle(e);
            return e === document.body ? ['', true] : [e.id || e.textContent, style.outlineStyle !== 'none' && parseFloat(style.outlineWidth) >= 2]"""))
    names = [name for name, _ in reached]
    for name in ("theme", "view", "view-fit", "factor", "lower", "upper", "given", "ungraded-shown", "smallest", "largest"):
        assert name in names
    assert [name for name, is_marked in reached if name and not is_marked] == []


def test_nothing_moves_by_itself_where_less_motion_is_asked_for(open_page):
    page = open_page("fields")
    page.driver.execute_cdp_cmd("Emulation.setEmulatedMedia",
                                {"media": "", "features": [{"name": "prefers-reduced-motion", "value": "reduce"}]})
    moving = page.script("return [...document.querySelectorAll('*')].map((e) => getComputedStyle(e))"
                         ".filter((s) => s.transitionDuration !== '0s' || s.animationName !== 'none').length")
    assert moving == 0


@pytest.mark.parametrize("width, height", [(1280, 720), (412, 860), (820, 1180)])
def test_nothing_is_cut_off_at_any_width(open_page, width, height):
    page = open_page("hostile", 2000)
    page.size(width, height)
    try:
        assert page.script("return document.documentElement.scrollWidth") <= width
        seen = colours(page.picture())
        assert GREEN in seen and (255, 255, 255) in seen
    finally:
        page.size(Browser.WIDTH, Browser.HEIGHT)


def test_a_browser_without_webgl_says_so_and_has_the_rest(folder, page_file):
    with Browser(folder / "plain-profile", "--disable-3d-apis") as page:
        page.open(page_file("fields"))
        assert "no WebGL 2" in page.text("#view-message")
        assert page.texts("#legend .count") == ["14520", "14520"]
        page.driver.find_element("id", "factor").send_keys(Keys.END)
        assert page.texts("#legend .count") == ["0", "29040"]
        page.click("#largest")
        assert page.texts("#point dd")[3] == "+0.0500 mm"
        page.click("#ungraded-shown")
        page.click("[data-band='1'] button")
        assert page.text("#figures-table td") == "43560"
        assert page.console() == []


def test_without_scripts_the_tables_are_there(browser, page_file):
    browser.driver.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": True})
    try:
        browser.driver.get(page_file("fields").as_uri())
        assert "needs scripts" in browser.text("noscript p")
        assert browser.texts("#legend .count") == ["14520", "14520"]
        assert browser.text("#within-share") == "50.00 %"
    finally:
        browser.driver.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": False})


def test_the_policy_names_what_the_page_has_and_nothing_else(page_file):
    html = page_file("fields").read_bytes()
    policy = re.search(rb'Content-Security-Policy" content="([^"]*)"', html)[1].decode()
    own = {tag: [f"'sha256-{base64.b64encode(hashlib.sha256(text).digest()).decode()}'"
                 for text in re.findall(b"<%s>(.*?)</%s>" % (tag, tag), html, re.DOTALL)] for tag in (b"script", b"style")}
    assert len(own[b"script"]) > 10 and len(own[b"style"]) == 1
    assert policy.split("; ") == ["default-src 'none'", "script-src " + " ".join(own[b"script"]),
                                  "style-src " + own[b"style"][0], "base-uri 'none'", "form-action 'none'"]


def test_scripts_and_styles_of_others_do_not_run(browser, page_file):
    browser.open(page_file("fields"))
    browser.script("""
        const script = document.createElement('script');
        script.textContent = 'window.wasRun = true';
        document.head.appendChild(script);
        const style = document.createElement('style');
        style.textContent = 'body { background: rgb(1, 2, 3); }';
        document.head.appendChild(style);
        document.body.setAttribute('style', 'background: rgb(1, 2, 3)');""")
    assert browser.script("return window.wasRun") is None
    assert browser.script("return getComputedStyle(document.body).backgroundColor") == "rgb(255, 255, 255)"
    assert len(browser.console()) == 3
    policy = browser.script("return document.querySelector('[http-equiv]').content")
    assert policy.startswith("default-src 'none'; script-src 'sha256-") and "unsafe" not in policy
