"""The page of a report, in a real browser: what it shows, how it is used, and what it does not let in."""
import json
import re
import sys

import pytest
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

from browser import Browser
from support import REPOSITORY, eventually

sys.path.insert(0, str(REPOSITORY / "gateway"))
from gwlib import report  # noqa: E402

KINDS = [["kernel", "kernel events"], ["message", "messages"], ["write", "writes"], ["command", "commands"], ["sent", "messages sent"], ["log", "log lines"]]
KERNEL, MESSAGE, WRITE, COMMAND, SENT, LOG = range(6)
HOSTILE = ["</script><script>window.owned = 1</script>", "<img src=x onerror='window.owned = 2'>", "<!--<script>", "]]>&lt;b&amp;",
           "\u2028\u2029\u202e\x00\x1b[31m", "\ud800 alone", "${window.owned = 3}", "javascript:window.owned=4", "__proto__"]


def data(events=(), lanes=(), marks=(), end=10_000_000, **more):
    return {"title": "A day", "made": "2026-11-22T09:00:00+00:00", "wall": 1.79e12, "end": end, "booted": 0, "note": "A note.", "kinds": KINDS,
            "who": ["tarn", "the kernel"], "marks": list(marks), "lanes": list(lanes), "events": list(events), **more}


def event(at, kind, text, cause=-1, took=0, bad=0, who=0, more=()):
    return [at, kind, who, text, took, bad, cause, list(more)]


PULLED = data(
    events=[event(2_000_000, KERNEL, "eth0.5 is down", who=1), event(2_001_000, LOG, "Ethernet Wan eth0.5 link down", 0),
            event(2_010_000, COMMAND, "/usr/bin/wan adsl open", 0, 40_000, more=[["exit status", "0"]]),
            event(2_060_000, WRITE, "IP.Interface.1: Status Up → Down", 0, more=[["Status", "Up", "Down"]]),
            event(2_070_000, MESSAGE, "WAN_INTERNET_LED_UPDATE", 3), event(2_080_000, COMMAND, "echo 2 > led_internet_red", 4, 2_000),
            event(7_000_000, MESSAGE, "DHCPC_OPTION: lease 203.0.113.9"), event(7_001_000, COMMAND, "ip route | grep default", 6, 3_000, 1)],
    lanes=[{"group": "Internet LED", "path": "", "name": "Internet LED", "spans": [[0, "green", "good", -1], [2_082_000, "red", "bad", 5]]},
           {"group": "Links", "path": "Ethernet.Interface.1", "name": "eth0.1", "spans": [[0, "Up", "good", -1]]},
           {"group": "Connections", "path": "IP.Interface.1", "name": "wan", "spans": [[0, "Up", "good", -1], [2_060_000, "Down", "off", 3]]}],
    marks=[[0, "1. All is well", None], [2_000_000, "2. The cable is pulled", None], [9_000_000, "the light is green again", False]])


@pytest.fixture(scope="module")
def browser(tmp_path_factory):
    started = Browser(tmp_path_factory.mktemp("profile"))
    yield started
    started.quit()


@pytest.fixture
def opened(browser, tmp_path):
    """Opens a page with the data, on a screen of a size and theme."""
    def open_it(shown, width=1400, height=1000, theme="dark"):
        file = tmp_path / "report.html"
        file.write_text(report.page(shown), encoding="utf-8")
        browser.size(width, height)
        browser.theme(theme)
        browser.open(file)
        return browser
    return open_it


def test_page_without_its_data_is_small():
    assert len(report.page({}).encode()) < 60_000


def test_page_asks_the_network_for_nothing_and_complains_of_nothing(opened):
    page = opened(PULLED)
    assert page.text("#title") == "A day" and len(page.rows()) == 8
    page.find("red")
    assert [url for url in page.requests() if not url.startswith(("file://", "data:"))] == []
    assert page.complaints() == []


def test_script_that_is_not_the_pages_own_does_not_run(opened):
    page = opened(PULLED)
    page.command("Runtime.evaluate", expression="""document.body.insertAdjacentHTML("beforeend", "<img src=x onerror='window.owned = 1'>");
        const script = document.createElement("script"); script.textContent = "window.owned = 2"; document.body.append(script);""")
    eventually(lambda: any("Content Security Policy" in line["message"] for line in page.complaints()))
    assert page.run("return window.owned") is None


def test_hostile_values_are_shown_as_text(opened):
    lanes = [{"group": text, "path": f"Ethernet.Interface.{number + 1}", "name": text, "spans": [[0, text, "good", -1], [5_000_000, f"{text}!", "warn", number]]}
             for number, text in enumerate(HOSTILE)]
    events = [event(number * 1_000_000, number % 6, text, more=[[text, text], [text, text, None]]) for number, text in enumerate(HOSTILE)]
    shown = data(events, lanes, marks=[[0, text, (None, True, False)[number % 3]] for number, text in enumerate(HOSTILE)], title=HOSTILE[0], note=HOSTILE[1])
    page = opened({**shown, "who": HOSTILE[:2], "made": HOSTILE[0]})
    tables = page.rows()
    for _ in HOSTILE:
        page.press("n")
    elements = page.run("return [document.images.length, document.scripts.length, document.querySelectorAll('main img, main script, table img, table b').length]")
    assert elements == [0, 2, 0] and page.run("return window.owned") is None
    assert tables == [text.replace("\ud800", "\ufffd") for text in HOSTILE]
    assert page.run("return document.title").startswith("</script><script>")
    assert page.complaints() == []


def test_wheel_zooms_to_where_the_pointer_is(opened):
    page = opened(PULLED)
    point = page.find("eth0.5 is down")
    page.wheel(point, -600)
    begin, end = eventually(lambda: page.shown()[1] < 7 and page.shown())
    assert begin < 2 < end
    page.wheel(point, 3000)
    eventually(lambda: page.shown() == [0, 10])


def test_page_scrolls_on_where_all_is_shown(opened):
    page = opened(PULLED, height=500)
    page.wheel(page.find("eth0.5 is down"), 300)
    eventually(lambda: page.run("return scrollY") > 0)
    assert page.shown() == [0, 10]


def test_dragging_moves_the_time(opened):
    page = opened(PULLED)
    page.click("#in")
    begin, end = page.shown()
    page.at((100, -20)).click_and_hold().move_by_offset(150, 0).release().perform()
    moved = eventually(lambda: page.shown()[0] < begin and page.shown())
    assert moved[1] - moved[0] == pytest.approx(end - begin, abs=0.2)


def test_dragging_the_scale_picks_a_part(opened):
    page = opened(PULLED)
    page.run("scrollTo(0, 0)")
    page.at((0, 0))
    ActionChains(page.driver).move_to_element(page.one("#axis")).click_and_hold().move_by_offset(100, 0).release().perform()
    begin, end = eventually(lambda: page.shown()[0] > 1 and page.shown())
    assert 0.5 < end - begin < 2


def test_keys_do_what_the_mouse_does(opened):
    page = opened(PULLED)
    page.press("+")
    begin, end = page.shown()
    assert end - begin == pytest.approx(6, abs=0.1)
    page.press(Keys.ARROW_RIGHT)
    assert page.shown()[0] > begin
    page.press("0")
    assert page.shown() == [0, 10]
    page.press("n")
    assert page.text("#panel h2") == "eth0.5 is down" and "eth0.5 is down" in page.text("#told")
    page.press("n")
    page.press("n")
    page.press("p")
    assert page.text("#panel h2") == "Ethernet Wan eth0.5 link down"
    page.press(Keys.ENTER)
    assert page.run("return document.activeElement.id") == "panel"
    page.press(Keys.ESCAPE)
    assert page.text("#panel h2") == "What happened here"
    page.press("/")
    assert page.run("return document.activeElement.id") == "search"


def test_words_filter_events(opened):
    page = opened(PULLED)
    page.search("wan -log")
    assert page.rows() == ["/usr/bin/wan adsl open", "WAN_INTERNET_LED_UPDATE"]
    page.search("no such thing")
    assert page.rows() == [] and page.text("#rows") == "none"
    page.search("")
    assert len(page.rows()) == 8


def test_kinds_are_switched_off_and_on(opened):
    page = opened(PULLED)
    page.click("[data-kind=log]")
    assert len(page.rows()) == 7 and page.one("[data-kind=log]").get_attribute("aria-pressed") == "false"
    page.click("[data-kind=log]")
    assert len(page.rows()) == 8


def test_table_shows_the_time_that_the_timeline_shows_when_asked(opened):
    page = opened(PULLED)
    page.click("#only")
    page.press(Keys.END)
    for _ in range(3):
        page.press("+")
    assert page.rows() == ["DHCPC_OPTION: lease 203.0.113.9", "ip route | grep default"] or len(page.rows()) < 8


def test_quiet_lanes_are_there_for_who_asks(opened):
    page = opened(PULLED)
    assert page.run("return arguments[0].offsetHeight", page.one("#lanes")) > 0 and page.text("#quiet") == "1 quiet lane"
    before = page.one("#lanes").size["height"]
    page.click("#quiet")
    assert page.one("#lanes").size["height"] > before
    page.find("eth0.1: Up")


def test_click_on_an_event_shows_its_chain(opened):
    page = opened(PULLED)
    page.at(page.find("DHCPC_OPTION")).click().perform()
    assert eventually(lambda: page.text("#panel h2")) == "DHCPC_OPTION: lease 203.0.113.9"
    assert [item.get_attribute("textContent") for item in page.all("#panel .chain .what")][:2] == ["message: DHCPC_OPTION: lease 203.0.113.9", "command: ip route | grep default"]


def test_click_on_a_state_tells_why_it_is_so(opened):
    page = opened(PULLED)
    page.at(page.find("Internet LED: red")).click().perform()
    eventually(lambda: page.text("#panel h2") == "echo 2 > led_internet_red")
    why = [item.get_attribute("textContent") for item in page.all("#panel .chain")[0].find_elements("css selector", ".what")]
    assert why == ["kernel: eth0.5 is down", "write: IP.Interface.1: Status Up → Down", "message: WAN_INTERNET_LED_UPDATE", "command: echo 2 > led_internet_red"]
    assert "green → red" in page.text("#panel .turns")
    page.all("#panel .chain .item")[1].click()
    assert page.text("#panel h2") == "IP.Interface.1: Status Up → Down" and page.text("#panel dd .value") == "Up"


def test_state_from_the_beginning_says_that_nobody_saw_it_come(opened):
    page = opened(PULLED)
    page.at(page.find("Internet LED: green")).click().perform()
    eventually(lambda: "was green at 0.000 s already" in page.text("#panel"))


def test_steps_lead_to_their_time(opened):
    page = opened(PULLED)
    failed = page.one(".steps .failed button")
    assert failed.text.endswith("✗ the light is green again")
    failed.click()
    eventually(lambda: page.shown()[0] > 8)


def test_nothing_is_said_to_be_nothing(opened):
    page = opened(data(end=0))
    assert page.text("#nothing") == "Nothing happened in this time." and page.rows() == []
    page.press("n+-0")
    assert page.complaints() == []


def test_circle_of_causes_ends(opened):
    page = opened(data([event(1, MESSAGE, "one", 1), event(2, MESSAGE, "two", 0), event(3, LOG, "self", 2), event(4, LOG, "far", 99)]))
    for _ in range(4):
        page.press("n")
    assert page.text("#panel h2") == "far" and page.complaints() == []


def test_fifty_thousand_events_draw_no_more_than_there_are_pixels_for(opened):
    many = [event(number * 200, number % 6, f"event {number} of many", number - 7 if number % 7 else -1, 150) for number in range(50_000)]
    spans = [[number * 500, ("Up", "Down")[number % 2], ("good", "off")[number % 2], number] for number in range(20_000)]
    page = opened(data(many, [{"group": "Links", "path": "Ethernet.Interface.1", "name": "eth0.1", "spans": spans}]))
    assert page.text("#rows") == "1–100 of 50,000"
    for key in ("+", "+", "n", Keys.ARROW_RIGHT):
        page.run("window.drawn = 0")
        page.press(key)
        assert 0 < page.run("return new Promise(done => requestAnimationFrame(() => requestAnimationFrame(() => done(window.drawn))))") < 8_000
    page.search("event 49999")
    assert page.rows() == ["event 49999 of many"] and page.complaints() == []


def test_table_goes_page_by_page(opened):
    page = opened(data([event(number, LOG, f"line {number}") for number in range(250)]))
    assert len(page.rows()) == 100 and not page.one("#before").is_enabled()
    page.click("#after")
    page.click("#after")
    assert page.rows()[0] == "line 200" and page.text("#rows") == "201–250 of 250" and not page.one("#after").is_enabled()


def test_phone_shows_all_of_it_without_moving_sideways(opened):
    page = opened(PULLED, 360, 740)
    assert page.run("return document.scrollingElement.scrollWidth") <= 360
    page.at(page.find("DHCPC_OPTION")).click().perform()
    eventually(lambda: page.one("#panel").is_displayed() and page.text("#panel h2").startswith("DHCPC_OPTION"))
    assert page.run("const box = document.getElementById('panel').getBoundingClientRect(); return box.bottom <= innerHeight + 1 && box.top > 0")
    page.click("#panel .close")
    assert page.run("return document.activeElement.id") == "chart"


def test_themes_differ_and_are_chosen(opened):
    colours = []
    for theme in ("dark", "light"):
        page = opened(PULLED, theme=theme)
        colours.append(page.run("return getComputedStyle(document.body).backgroundColor"))
    assert colours[0] != colours[1]
    page.click("#theme")
    assert page.run("return getComputedStyle(document.body).backgroundColor") == colours[0]


def luminance(colour):
    linear = [value / 12.92 if value <= 0.03928 else ((value + 0.055) / 1.055) ** 2.4 for value in (part / 255 for part in colour)]
    return sum(share * value for share, value in zip((0.2126, 0.7152, 0.0722), linear))


def contrast(one, other):
    light, dark = sorted((luminance(one), luminance(other)), reverse=True)
    return (light + 0.05) / (dark + 0.05)


@pytest.mark.parametrize("theme", ("dark", "light"))
def test_texts_stand_out_from_what_they_stand_on(opened, theme):
    page = opened(PULLED, theme=theme)
    names = ["text", "dim", "back", "panel", "good", "warn", "bad", "command"]
    told = page.run("const style = getComputedStyle(document.documentElement); return arguments[0].map(name => style.getPropertyValue('--' + name).trim())", names)
    colour = {name: [int(part * (2 if len(part) == 1 else 1), 16) for part in re.findall("." if len(text) == 4 else "..", text[1:])] for name, text in zip(names, told)}
    for ink, ground in (("text", "back"), ("text", "panel"), ("dim", "back"), ("dim", "panel"), ("back", "good"), ("back", "warn"), ("back", "bad"), ("back", "command")):
        assert contrast(colour[ink], colour[ground]) > (4.5 if ink != "back" else 3.4), f"{ink} on {ground}"


def test_data_cannot_leave_its_place():
    shown = data([event(0, LOG, text) for text in HOSTILE])
    text = report.embedded(shown)
    assert not set("<>&\u2028") & set(text) and json.loads(text) == json.loads(json.dumps(shown))


def test_every_control_has_a_name(opened):
    page = opened(PULLED)
    page.press("n")
    nameless = page.run("return [...document.querySelectorAll('button, input, canvas:not([aria-hidden]), section, aside, nav')].filter(each => !(each.textContent.trim() || each.ariaLabel || each.labels?.length || each.getAttribute('aria-label'))).map(each => each.outerHTML)")
    assert nameless == []
