"""What a page shows as it comes up."""
GREEN, RED = (156, 255, 102), (255, 80, 80)
UNGRADED = (140, 147, 157)


def test_points_have_exactly_the_colours_of_the_table(open_page):
    page = open_page("fields")
    picture = page.picture()
    for x, colour in ((15, GREEN), (45, RED), (75, UNGRADED)):
        u, v = page.place_of(x, 15, 0)
        assert picture.getpixel((round(u), round(v))) == colour


def test_nothing_is_asked_of_the_network(open_page, page_file):
    page = open_page("surface", 2000)
    asked = [entry for entry in page.driver.get_log("performance") if "Network.requestWillBeSent" in entry["message"]]
    own = page_file("surface", 2000).as_uri()
    assert asked and all(own in entry["message"] for entry in asked)
