"""Chromium as tests drive it: software WebGL, no network, pictures read back."""
import base64
import io
import os
import time

from PIL import Image
from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service

FLAGS = ["--headless=new", "--no-sandbox", "--use-gl=angle", "--use-angle=swiftshader", "--enable-unsafe-swiftshader",
         "--disable-dev-shm-usage", "--force-device-scale-factor=1", "--hide-scrollbars", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--disable-default-apps", "--disable-sync",
         "--host-resolver-rules=MAP * ~NOTFOUND"]


def options(profile, *more):
    chosen = Options()
    chosen.binary_location = os.environ["QUEL_CHROMIUM"]
    for flag in [*FLAGS, f"--user-data-dir={profile}", *more]:
        chosen.add_argument(flag)
    chosen.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    return chosen


class Browser:
    WIDTH, HEIGHT = 1280, 720

    def __init__(self, profile, *more):
        self.driver = webdriver.Chrome(service=Service(os.environ["QUEL_CHROMEDRIVER"]), options=options(profile, *more))
        self.size(self.WIDTH, self.HEIGHT)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.driver.quit()

    def size(self, width, height, touch=False):
        """What a page sees of the window."""
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                    {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": touch})

    def open(self, file):
        self.driver.get("about:blank")
        self.driver.get_log("browser")
        self.driver.get_log("performance")
        self.driver.get(file.as_uri())
        self.wait(lambda: self.script("return document.documentElement.dataset.state") == "ready")

    def wait(self, holds, seconds=60):
        end = time.monotonic() + seconds
        while not holds():
            assert time.monotonic() < end, "this never came true"
            time.sleep(0.02)

    def script(self, text, *arguments):
        return self.driver.execute_script(text, *arguments)

    def text(self, selector):
        return self.script("return document.querySelector(arguments[0]).innerText.trim()", selector)

    def texts(self, selector):
        return self.script("return [...document.querySelectorAll(arguments[0])].map((e) => e.innerText.trim())", selector)

    def click(self, selector):
        self.driver.find_element("css selector", selector).click()

    def console(self):
        return [entry["message"] for entry in self.driver.get_log("browser")]

    def settle(self):
        """Until every point is drawn and nothing moves."""
        self.wait(lambda: self.script("return !deviationPage.view.isRunning"))

    def picture(self):
        """What the canvas shows, as the screen has it, with the things that lie over it hidden."""
        self.settle()
        self.show_marks("hidden")
        box = self.script("const b = document.getElementById('view').getBoundingClientRect();"
                          "return [b.left, b.top, b.width, b.height]")
        shot = self.driver.execute_cdp_cmd("Page.captureScreenshot", {
            "format": "png", "clip": dict(zip(("x", "y", "width", "height"), box), scale=1)})
        self.show_marks("")
        return Image.open(io.BytesIO(base64.b64decode(shot["data"]))).convert("RGB")

    def show_marks(self, visibility):
        self.script("for (const mark of document.querySelectorAll('#stage > :not(canvas)'))"
                    "  mark.style.visibility = arguments[0]", visibility)

    def place_of(self, x, y, z):
        """Where on the canvas a place of the scene, in millimetres, is seen, in pixels from its upper left corner."""
        self.settle()
        return self.script("""
            const {view, data} = deviationPage;
            const cell = [...arguments].map((value, axis) => (value - data.origin[axis]) / data.cell);
            const at = view.placeOf(new THREE.Vector3(...cell));
            return [at.x * view.canvas.clientWidth, at.y * view.canvas.clientHeight];""", x, y, z)
