"""A real browser without a screen, in the words of the tests of the report's page."""
import json

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.common.actions.wheel_input import ScrollOrigin

from support import eventually

ALONE = ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--disable-quic", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--disable-sync", "--disable-extensions",
         "--force-prefers-reduced-motion", "--window-size=1400,1000")
PATIENCE = 120  # seconds for a page
# Counts what is drawn, before the page's own script begins.
COUNTING = """window.drawn = 0;
for (const name of ["fill", "stroke", "fillRect", "fillText"]) {
    const real = CanvasRenderingContext2D.prototype[name];
    CanvasRenderingContext2D.prototype[name] = function (...words) { window.drawn++; return real.apply(this, words); };
}"""
# Where in the lanes the pointer would be told of a text: {x, y} from their upper left corner.
LOOK_FOR = """const lanes = document.getElementById("lanes"), box = lanes.getBoundingClientRect(), tip = document.getElementById("tip");
for (let y = 8; y < box.height; y += 12) for (let x = 110; x < box.width; x += 6) {
    lanes.dispatchEvent(new PointerEvent("pointermove", {clientX: box.left + x, clientY: box.top + y, pointerId: 99}));
    if (!tip.hidden && tip.textContent.includes(arguments[0])) return {x, y};
}
return null;"""


class Browser:
    def __init__(self, profile):
        options = Options()
        options.binary_location = "/usr/bin/chromium"
        for word in (*ALONE, f"--user-data-dir={profile}"):
            options.add_argument(word)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        self.driver = webdriver.Chrome(options=options, service=Service("/usr/bin/chromedriver"))
        self.driver.set_page_load_timeout(PATIENCE)
        self.driver.set_script_timeout(PATIENCE)
        self.command("Page.addScriptToEvaluateOnNewDocument", source=COUNTING)

    def command(self, name, **words):
        return self.driver.execute_cdp_cmd(name, words)

    def size(self, width, height):
        self.command("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=width < 500)

    def theme(self, name):
        self.command("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": name}])

    def open(self, file):
        self.complaints(), self.requests()  # of the page before
        self.driver.get(f"file://{file}")
        eventually(lambda: self.run("return document.documentElement.dataset.ready"), PATIENCE)

    def run(self, script, *words):
        return self.driver.execute_script(script, *words)

    def complaints(self):
        return self.driver.get_log("browser")

    def requests(self):
        """Addresses that were asked for."""
        messages = [json.loads(entry["message"])["message"] for entry in self.driver.get_log("performance")]
        return [message["params"]["request"]["url"] for message in messages if message["method"] == "Network.requestWillBeSent"]

    def one(self, css):
        return self.driver.find_element(By.CSS_SELECTOR, css)

    def all(self, css):
        return self.driver.find_elements(By.CSS_SELECTOR, css)

    def text(self, css):
        return self.one(css).get_attribute("textContent")

    def rows(self):
        """The texts of the table's rows."""
        return self.run("return [...document.querySelectorAll('#table tbody tr')].map(row => row.lastChild.textContent.toWellFormed())")

    def shown(self):
        """Seconds from and to which the timeline shows."""
        return [float(word.strip().removesuffix(" s")) for word in self.text("#range").split("–")]

    def press(self, keys, css="#chart"):
        self.one(css).send_keys(keys)

    def click(self, css):
        self.run("arguments[0].scrollIntoView({block: 'center'})", self.one(css))
        self.one(css).click()

    def search(self, words):
        box = self.one("#search")
        box.send_keys(Keys.CONTROL, "a")
        box.send_keys(Keys.BACKSPACE)
        box.send_keys(words)

    def find(self, text):
        """Where the lanes show it, from their middle."""
        found = self.run(LOOK_FOR, text)
        assert found, f"the timeline has no {text}"
        size = self.one("#lanes").size
        return found["x"] - size["width"] // 2, found["y"] - size["height"] // 2

    def at(self, point):
        """Actions that begin with the pointer at a point of the lanes."""
        self.run("document.getElementById('lanes').scrollIntoView({block: 'center'})")
        return ActionChains(self.driver).move_to_element_with_offset(self.one("#lanes"), *point)

    def wheel(self, point, by):
        self.at(point).scroll_from_origin(ScrollOrigin.from_element(self.one("#lanes"), *point), 0, by).perform()

    def quit(self):
        self.driver.quit()
