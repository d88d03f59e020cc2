#!/usr/bin/python3
"""The home screen in a real browser.

    home_browser_test.py PROGRAMS CLASS
"""
import math
import os
import pathlib
import sys
import time
import unittest

from selenium.webdriver.common.keys import Keys

import home_load as load
from home_browser import Browser, Tv, applications, wait_until

PROGRAMS = sys.argv[1] if len(sys.argv) > 1 else ""
HOSTILE = "<img src=x onerror=\"document.title='pwned'\"><script>document.title='pwned'</script>'\"&amp;"


class HomeTestCase(unittest.TestCase):
    """A browser for all cases of a class, a TV for each case."""

    def __init_subclass__(cls):
        cls.browser = None

    @classmethod
    def setUpClass(cls):
        cls.browser = Browser()

    @classmethod
    def tearDownClass(cls):
        cls.browser.close()

    def setUp(self):
        self.browser.resize(1280, 800)
        self.browser.complaints()

    def start(self, *arguments, **more):
        self.tv = Tv(PROGRAMS, *arguments, **more)
        self.addCleanup(self.end)
        self.browser.open(self.tv)

    def end(self):
        self.browser.driver.get("about:blank")
        self.tv.end()

    def complaints_but_of_the_network(self):
        return [text for text in self.browser.complaints() if "WebSocket" not in text and "ERR_CONN" not in text]

    def focus_is(self, app):
        wait_until(lambda: self.browser.focused() == app, f"focus on {app}, not on {self.browser.focused()}")


class Keyboard(HomeTestCase):
    def test_moves_launches_and_goes_back(self):
        self.start(applications(40))
        self.focus_is("app.0")
        columns = int(self.browser.one("#grid").get_attribute("aria-colcount"))
        self.browser.keys(Keys.ARROW_RIGHT)
        self.focus_is("app.1")
        self.browser.keys(Keys.ARROW_DOWN)
        self.focus_is(f"app.{1 + columns}")
        self.browser.keys(Keys.ARROW_LEFT, Keys.ARROW_UP)
        self.focus_is("app.0")
        self.browser.keys(Keys.END)
        self.focus_is("app.39")
        self.browser.press("BrowserHome")
        self.focus_is("app.0")
        self.browser.keys(Keys.ARROW_RIGHT, Keys.ENTER)
        self.browser.wait_for_text("#latest", "Title 1: launched: the application was started")
        wait_until(lambda: "in front" in self.browser.one("[data-app='app.1'].tile").text, "the mark of what is in front")
        self.browser.press("GoBack")
        self.focus_is("app.0")

    def test_reaches_everything_without_a_mouse(self):
        self.start(applications(3))
        self.browser.keys(Keys.ARROW_RIGHT, Keys.ENTER)
        self.browser.wait_for_text("#running", "Title 1")
        seen = set()
        for key in (Keys.ARROW_UP, Keys.ARROW_RIGHT) * 8 + (Keys.ARROW_LEFT, Keys.ARROW_UP) * 8:
            self.browser.keys(key)
            seen.add(self.browser.js("const a = document.activeElement;"
                                     "return a.closest('#running') ? 'running' : a.closest('.filters') ? 'filters'"
                                     " : a.closest('header') ? 'header' : 'other'"))
        self.assertLessEqual({"running", "filters", "header"}, seen)

    def test_opens_an_application_and_launches_it_with_options(self):
        self.start(applications(3))
        self.browser.keys("i")
        self.browser.one("#details[open]")
        self.assertEqual(self.browser.focused(), "do-launch")
        self.browser.click("#how button:nth-child(3)")
        self.browser.one("#payload").send_keys("page=<b>")
        self.browser.one("#do-launch").send_keys(Keys.ENTER)
        self.browser.wait_for_text("#latest", "902 NUV_NOTIFY_STARTED_IN_BACKGROUND")
        self.focus_is("app.0")
        self.browser.keys("i")
        self.browser.click("#do-explain")
        self.browser.wait_for_text("#details-answer", "A launch is accepted.")
        self.browser.keys(Keys.ESCAPE)
        wait_until(lambda: not self.browser.all("#details[open]"), "the dialog to close")
        self.focus_is("app.0")

    def test_keeps_the_focus_on_its_application_when_the_order_changes(self):
        self.start(applications(5))
        self.browser.click("#views button:nth-child(1)")
        wait_until(lambda: self.browser.js("return document.querySelector('.tile')?.dataset.app") == "app.4", "most used first")
        self.browser.js("document.querySelector(\"[data-app='app.3']\").focus()")
        for _ in range(3):
            self.browser.keys(Keys.ENTER)
            time.sleep(0.1)
        wait_until(lambda: self.browser.js("return document.querySelector('.tile')?.dataset.app") == "app.3",
                   "what was launched first")
        self.focus_is("app.3")


class Mouse(HomeTestCase):
    def test_launches_brings_to_front_and_terminates(self):
        self.start(applications(5))
        self.browser.click("[data-app='app.1'].tile")
        self.browser.wait_for_text("#latest", "Title 1: launched")
        self.browser.click("[data-app='app.2'].tile")
        self.browser.wait_for_text("#latest", "Title 2: launched")
        self.browser.wait_for_text("#running [data-app='app.2']", "in front")
        self.browser.wait_for_text("#running [data-app='app.1']", "running")
        self.browser.click("[aria-label='To front: Title 1']")
        self.browser.wait_for_text("#running [data-app='app.1']", "in front")
        self.browser.wait_for_text("#latest", "901 NUV_NOTIFY_BROUGHT_TO_FRONT")
        self.browser.click("[aria-label='Terminate: Title 1']")
        wait_until(lambda: not self.browser.all("#running [data-app='app.1']"), "its end")

    def test_filters_and_searches(self):
        self.start([
            {"id": "web", "title": "Zürich", "app_index": 1, "app_type": 2},
            {"id": "tv", "title": "Red Button", "app_index": 2, "app_type": 16, "hbbTV": "1"},
            {"id": "set", "title": "Settings", "app_index": 3, "app_type": 4, "is_hidden": 1},
            {"id": "bank", "title": "Bank", "app_index": 4, "app_type": 4, "app_featured": 8, "is_lock": 1},
        ])
        shown = lambda: self.browser.js("return [...document.querySelectorAll('.tile')].map((t) => t.dataset.app).join()")
        wait_until(lambda: shown() == "web,tv,bank", "all that are not hidden")
        self.assertIn("locked", self.browser.one("[data-app='bank'].tile").accessible_name)
        self.browser.click("#types button:nth-child(4)")
        wait_until(lambda: shown() == "tv", "HbbTV only")
        self.browser.click("#types button:nth-child(1)")
        self.browser.click("#categories button:nth-child(5)")
        wait_until(lambda: shown() == "bank", "category 8 only")
        self.browser.click("#categories button:nth-child(1)")
        self.browser.click("#hidden-too")
        wait_until(lambda: shown() == "web,tv,set,bank", "hidden ones, too")
        self.assertIn("hidden", self.browser.one("[data-app='set'].tile").text)
        self.browser.one("#search").send_keys("zürICH")
        wait_until(lambda: shown() == "web", "what was searched for")
        self.browser.one("#search").send_keys("nothing")
        self.browser.wait_for_text("#count", "No application is like that.")

    def test_titles_are_text_and_never_markup(self):
        self.start([{"id": "<b>a</b>", "kelvo_id": "a", "title": HOSTILE, "run_title": HOSTILE, "app_index": 1,
                     "version": HOSTILE},
                    {"id": "b", "title": "\u202e\u2028 \u0000".replace("\0", ""), "app_index": 2}])
        tile = self.browser.one(".tile")
        self.assertEqual(self.browser.js("return document.querySelector('.tile .title').textContent"), HOSTILE)
        tile.click()
        self.browser.wait_for_text("#latest", "<img src=x")
        self.browser.wait_for_text("#running", "<img src=x")
        self.browser.press("i")
        self.browser.one("#details[open]")
        self.assertEqual(self.browser.all("main img, main script, #latest img, dialog img"), [])
        self.assertEqual(self.browser.driver.title, "TV home")
        self.assertEqual(self.complaints_but_of_the_network(), [])

    def test_the_token_is_neither_in_the_address_nor_needed_again(self):
        self.start(applications(1))
        self.assertNotIn("token", self.browser.driver.current_url)
        self.assertEqual(self.browser.js("return document.cookie"), "")
        self.browser.driver.refresh()
        wait_until(lambda: self.browser.all(".tile[data-app='app.0']"), "the page again")

    def test_a_page_of_another_origin_gets_nothing(self):
        self.start(applications(1))
        port = self.tv.address.split(":")[2].split("/")[0]
        other = Tv(PROGRAMS, applications(1))
        self.addCleanup(other.end)
        self.browser.open(other)
        attempt = """
          const done = arguments[1];
          const port = arguments[0];
          const seen = [];
          const socket = new WebSocket(`ws://127.0.0.1:${port}/socket`);
          socket.onopen = () => seen.push('socket');
          socket.onerror = () => fetch(`http://127.0.0.1:${port}/`, {mode: 'no-cors', credentials: 'include'})
            .then(() => seen.push('fetch'), () => {}).then(() => done(seen));
          setTimeout(() => done([...seen, 'late']), 20000);"""
        self.browser.driver.execute_cdp_cmd("Page.setBypassCSP", {"enabled": True})
        self.browser.driver.refresh()
        self.addCleanup(self.browser.driver.execute_cdp_cmd, "Page.setBypassCSP", {"enabled": False})
        wait_until(lambda: self.browser.all(".tile[data-app='app.0']"), "the other page")
        self.assertEqual(self.browser.driver.execute_async_script(attempt, port), [])


class Faults(HomeTestCase):
    def launch_first(self, words):
        self.browser.click(".tile")
        return self.browser.wait_for_text("#latest", words)

    def test_each_failure_has_its_words(self):
        self.start(applications(2), home_options=("--wait", "1"))
        self.tv.misbehave([{"method": "launch_app", "answer": "error", "count": 1}])
        self.launch_first("failed: the service did not carry out the request")
        self.tv.misbehave([{"method": "launch_app", "results": [], "count": 1}])
        self.launch_first("timed out: no outcome came within 1 s")
        self.tv.misbehave([{"method": "launch_app", "results": [{"event": 903, "res": 401}], "count": 1}])
        self.launch_first("failed: the application is not installed or not available")
        self.assertIn("Install the application", self.browser.text("#latest .mending"))
        self.launch_first("launched")

    def test_service_and_bus_may_go_and_come_back(self):
        self.start(applications(30))
        self.tv.misbehave([{"method": "launch_app", "answer": "exit", "count": 1}])
        self.launch_first("service gone")
        self.browser.wait_for_text("#banner", "The service does not run.")
        self.assertTrue(self.browser.one("#banner").is_displayed())
        self.browser.one("#search").send_keys("Title 29")
        self.browser.wait_for_text("#count", "1 application")
        self.browser.press("Escape")
        self.browser.wait_for_text("#count", "30 applications")
        self.tv.misbehave([])
        self.tv.simulator.wait()
        self.tv.start_simulator()
        wait_until(lambda: not self.browser.one("#banner").is_displayed(), "the banner to go")
        self.launch_first("launched")
        self.tv.kill(self.tv.bus)
        self.browser.wait_for_text("#banner", "The system bus is gone.")
        self.launch_first("bus gone")
        self.tv.simulator.wait()
        self.tv.start_bus()
        self.tv.start_simulator()
        wait_until(lambda: not self.browser.one("#banner").is_displayed(), "the banner to go")
        self.launch_first("launched")

    def test_says_that_nuv_home_has_gone_and_keeps_the_tiles(self):
        self.start(applications(2))
        self.tv.kill(self.tv.home)
        self.browser.wait_for_text("#banner", "The connection to nuv-home is gone.")
        self.assertEqual(len(self.browser.all(".tile")), 2)
        # Who has the cookie of one nuv-home is a stranger to the next one at its place.
        self.tv.start_home("--listen", self.tv.address.split("/")[2])
        wait_until(lambda: any("403" in text for text in self.browser.complaints()), "a refused connection")
        self.assertIn("open the address that it has printed", self.browser.text("#banner"))
        self.browser.open(self.tv)
        self.launch_first("launched")

    def test_goes_on_by_itself_when_its_connection_breaks(self):
        script = self.browser.driver.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": """
          window.sockets = [];
          const Plain = WebSocket;
          window.WebSocket = class extends Plain {
            constructor(...all) {
              super(...all);
              window.sockets.push(this);
            }
          };"""})
        self.addCleanup(self.browser.driver.execute_cdp_cmd, "Page.removeScriptToEvaluateOnNewDocument", script)
        self.start(applications(2))
        for count in (1, 2):
            self.browser.js("window.sockets.at(-1).close()")
            self.browser.wait_for_text("#banner", "The connection to nuv-home is gone.")
            wait_until(lambda: self.browser.js("return window.sockets.length") == count + 1, "another connection")
            wait_until(lambda: not self.browser.one("#banner").is_displayed(), "the banner to go")
            self.launch_first("launched")

    def test_a_catalogue_that_changes_or_is_reset_is_shown_as_it_is(self):
        self.start(applications(2))
        self.tv.simulator.terminate()
        self.tv.simulator.wait()
        self.tv.start_simulator(applications(7))
        self.browser.wait_for_text("#count", "7 applications")
        setting = self.tv.state / "settings/db/nuv/factory_reset"
        setting.parent.mkdir(parents=True, exist_ok=True)
        setting.write_text("1")
        self.browser.wait_for_text("#banner", "The catalogue cannot be read: a factory reset is running")
        setting.write_text("0")
        wait_until(lambda: not self.browser.one("#banner").is_displayed(), "the banner to go")
        self.browser.wait_for_text("#count", "7 applications")

    def test_two_pages_show_the_same(self):
        self.start(applications(3))
        driver = self.browser.driver
        first = driver.current_window_handle
        driver.switch_to.new_window("tab")
        self.addCleanup(lambda: (driver.close(), driver.switch_to.window(first)))
        self.browser.open(self.tv)
        self.browser.click("[data-app='app.2'].tile")
        self.browser.wait_for_text("#latest", "Title 2: launched")
        second = driver.current_window_handle
        driver.switch_to.window(first)
        self.browser.wait_for_text("#latest", "Title 2: launched")
        self.browser.wait_for_text("#running [data-app='app.2']", "in front")
        driver.switch_to.window(second)


class Drawers(HomeTestCase):
    def launch(self, app, words):
        self.browser.js("document.querySelector(`.tile[data-app='${arguments[0]}']`).click()", app)
        return self.browser.wait_for_text("#latest", words)

    def test_activity_shows_launches_time_line_and_messages_as_they_happen(self):
        self.start(applications(4))
        self.launch("app.2", "Title 2: launched")
        self.browser.click("#open-activity")
        self.browser.wait_for_text("#messages", 'started app="app.2"')
        self.launch("app.1", "Title 1: launched")
        self.browser.wait_for_text("#messages", 'started app="app.1"')
        self.browser.wait_for_text("#messages", "call launch_app")
        self.browser.wait_for_text("#messages", "call app_launch_result")
        self.browser.wait_for_text("#launches", "Title 1: launched")
        wait_until(lambda: self.browser.all("#timeline svg rect"), "bars")
        self.browser.click("#activity summary")
        self.browser.wait_for_text("#timeline-rows", "launch_app")
        self.browser.press("Escape")
        wait_until(lambda: not self.browser.one("#activity").is_displayed(), "the drawer to close")
        self.assertEqual(self.browser.focused(), "open-activity")

    def test_faults_are_switched_on_by_a_click_and_the_page_copes(self):
        self.start(applications(4), home_options=("--wait", "1"))
        self.browser.click("#open-faults")
        for place, words in ((3, "timed out: no outcome came"), (4, "failed: the service did not carry out"),
                             (5, "failed: the request could not be carried out"), (6, "failed: the application ended"),
                             (1, "launched")):
            self.browser.click(f"#fault-list li:nth-child({place}) button")
            self.browser.wait_for_text("#fault-state", "(one launch)")
            self.launch("app.1", words)
        self.browser.click("#fault-list li:nth-child(7) button")
        self.browser.wait_for_text("#fault-state", "ends itself")
        self.launch("app.1", "service gone")
        self.browser.wait_for_text("#banner", "The service does not run.")
        wait_until(lambda: not self.browser.one("#open-faults").is_displayed(), "no simulator, no faults")

    def test_a_locked_application_asks_for_the_pin_in_the_page(self):
        self.start(applications(2, is_lock=1))
        self.browser.keys(Keys.ENTER)
        self.browser.one("#pin[open]")
        wait_until(lambda: self.browser.focused() == "pin-input", "the focus in the question")
        self.assertEqual(self.browser.text("#pin-title"), "PIN for Title 0")
        self.browser.keys("1", "2", "3", "4", Keys.ENTER)
        self.browser.wait_for_text("#latest", "failed: the application is locked and the PIN was not given")
        wait_until(lambda: not self.browser.all("#pin[open]"), "the question to go")
        self.browser.keys(Keys.ENTER)
        self.browser.one("#pin[open]")
        self.browser.press("Escape")
        self.browser.wait_for_text("#latest", "failed: the user cancelled")
        wait_until(lambda: not self.browser.all("#pin[open]"), "the question to go")
        self.focus_is("app.0")
        self.browser.keys(Keys.ENTER)
        self.browser.one("#pin[open]")
        wait_until(lambda: self.browser.focused() == "pin-input", "the focus in the question")
        self.browser.keys("0", "0", "0", "0", Keys.ENTER)
        self.browser.wait_for_text("#latest", "Title 0: launched")


class Appearance(HomeTestCase):
    """How the page looks, at which width, and to whom. Where NUV_HOME_PICTURES names a directory, it is shown there."""

    WIDTHS = ((320, 568), (480, 800), (768, 1024), (1280, 800), (1920, 1080), (3840, 2160))

    def picture(self, name):
        directory = os.environ.get("NUV_HOME_PICTURES")
        if directory:
            self.browser.screenshot(pathlib.Path(directory) / f"nuv-home-{name}.png")

    def violations(self, where):
        found = self.browser.driver.execute_async_script(
            "const done = arguments[0]; axe.run(document, {resultTypes: ['violations']}).then((r) => done(r.violations"
            ".map((v) => `${v.id}: ${v.nodes.slice(0, 3).map((n) => n.html + ' ' + n.failureSummary).join(' | ')}`)))")
        return [f"{where}: {violation}" for violation in found]

    def load_checker(self):
        checker = pathlib.Path(__file__).parent / "node_modules/axe-core/axe.min.js"
        self.assertTrue(checker.exists(), "scripts/install-deps installs axe-core")
        self.browser.js(checker.read_text())

    def test_nothing_is_in_the_way_of_a_screen_reader(self):
        self.start(applications(40, is_lock=1))
        self.load_checker()
        found = []
        for scheme in ("light", "dark"):
            self.browser.prefer(prefers_color_scheme=scheme)
            found += self.violations(f"{scheme} home")
            self.browser.click("#open-activity")
            self.browser.wait_for_text("#timeline-words", ".")
            found += self.violations(f"{scheme} activity")
            self.browser.press("Escape")
            self.browser.click("#open-faults")
            found += self.violations(f"{scheme} faults")
            self.browser.press("Escape")
            self.browser.js("document.querySelector('.tile').focus()")
            self.browser.keys("i")
            self.browser.click("#do-explain")
            self.browser.wait_for_text("#details-answer", "launch")
            found += self.violations(f"{scheme} details")
            self.browser.press("Escape")
            self.browser.keys(Keys.ENTER)
            self.browser.one("#pin[open]")
            found += self.violations(f"{scheme} pin")
            wait_until(lambda: self.browser.focused() == "pin-input", "the focus in the question")
            self.browser.keys("0", "0", "0", "0", Keys.ENTER)
            self.browser.wait_for_text("#latest", "Title 0: launched")
            self.browser.wait_for_text("#running", "in front")
            found += self.violations(f"{scheme} running")
            self.browser.click("#running li button:nth-of-type(2)")
            wait_until(lambda: not self.browser.all("#running li"), "nothing to run")
        self.tv.kill(self.tv.simulator)
        self.browser.wait_for_text("#banner", "The service does not run.")
        found += self.violations("dark banner")
        self.browser.prefer(prefers_color_scheme="light")
        found += self.violations("light banner")
        self.assertEqual("\n".join(found), "")

    def test_at_each_width_all_is_within_the_page_and_the_focus_in_view(self):
        self.start()
        for width, height in self.WIDTHS:
            with self.subTest(width=width):
                self.browser.resize(width, height)
                wait_until(lambda: self.browser.js("return innerWidth") == width, "the width")
                self.browser.js("scrollTo(0, 0)")
                self.browser.press("BrowserHome")
                self.assertLessEqual(self.browser.js("return document.documentElement.scrollWidth - innerWidth"), 0)
                for key in (Keys.ARROW_RIGHT, Keys.ARROW_DOWN, Keys.ARROW_DOWN, Keys.ARROW_DOWN):
                    self.browser.keys(key)
                    seen = self.browser.js(
                        "const a = document.activeElement; const r = a.getBoundingClientRect();"
                        "const bottom = document.querySelector('#latest').hidden ? innerHeight"
                        " : document.querySelector('#latest').getBoundingClientRect().top;"
                        "return [a.className, r.top >= 0 && r.bottom <= bottom && r.left >= 0 && r.right <= innerWidth,"
                        " parseFloat(getComputedStyle(a).outlineWidth) >= 3]")
                    self.assertIn("tile", seen[0])
                    self.assertEqual(seen[1:], [True, True], f"{width} {key!r}")

    def test_rests_where_motion_is_not_wanted(self):
        self.start(applications(3))
        duration = "return getComputedStyle(document.querySelector('.tile')).transitionDuration"
        self.browser.prefer(prefers_reduced_motion="reduce")
        self.assertEqual(self.browser.js(duration), "0s")
        self.browser.prefer(prefers_reduced_motion="no-preference")
        self.assertNotEqual(self.browser.js(duration), "0s")

    def test_can_be_shown(self):
        self.start()
        launch = "document.querySelector(`.tile[data-app='${arguments[0]}']`).click()"
        for app, title in (("org.kelvo.app.clock", "Clock"), ("org.kelvo.app.music", "Kelvo Music")):
            self.browser.js(launch, app)
            self.browser.wait_for_text("#latest", f"{title}: launched")
        self.browser.wait_for_text("#running [data-app='org.kelvo.app.music']", "in front")
        self.browser.press("BrowserHome")
        self.browser.js("scrollTo(0, 0)")
        self.picture("light")
        self.browser.prefer(prefers_color_scheme="dark")
        self.browser.click("#open-activity")
        self.browser.js(launch, "org.kelvo.game.chess")
        self.browser.wait_for_text("#latest", "Chess: launched")
        self.browser.wait_for_text("#messages", "app_launch_result")
        wait_until(lambda: self.browser.all("#timeline svg rect"), "bars")
        self.browser.js("scrollTo(0, 0)")
        self.picture("activity")
        self.browser.press("Escape")
        self.browser.prefer(prefers_color_scheme="light")
        self.browser.resize(320, 568)
        self.browser.press("BrowserHome")
        self.picture("narrow")
        self.assertEqual(self.complaints_but_of_the_network(), [])


class Figures(HomeTestCase):
    """How quick the page is. The limits are for a machine of two cores; what was measured is printed. What else the
    machine does only adds to a time: the quickest of some is the page's own."""

    SEEN = """
      window.firstTiles = 0;
      new MutationObserver((changes, observer) => {
        if (!document.querySelector(".tile[data-app]:not([data-app=''])")) return;
        observer.disconnect();
        requestAnimationFrame(() => requestAnimationFrame(() => { window.firstTiles = performance.now(); }));
      }).observe(document, {subtree: true, childList: true, attributes: true, attributeFilter: ['data-app']});
      window.moves = [];
      let pressed = 0;
      addEventListener('keydown', (event) => { pressed = event.timeStamp; }, true);
      addEventListener('focusin', () => { if (pressed) window.moves.push(performance.now() - pressed); pressed = 0; }, true);
    """

    def measure(self, count, limit_ms):
        self.tv = Tv(PROGRAMS, applications(count))
        self.addCleanup(self.end)
        script = self.browser.driver.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": self.SEEN})
        self.addCleanup(self.browser.driver.execute_cdp_cmd, "Page.removeScriptToEvaluateOnNewDocument", script)
        quickest = math.inf
        for _ in range(7):
            self.browser.open(self.tv)
            shown = wait_until(lambda: self.browser.js("return window.firstTiles"), "the first tiles")
            quickest = min(quickest, shown)
            self.browser.wait_for_text("#count", f"{count} applications")
            if quickest <= limit_ms:
                break
        print(f"first tiles of {count}: {quickest:.0f} ms (limit {limit_ms})")
        self.assertLessEqual(quickest, limit_ms)
        return self.browser

    def test_a_thousand_tiles_show_within_a_second(self):
        self.measure(1000, 1000)

    def test_twenty_thousand_show_scroll_and_follow_the_keys(self):
        browser = self.measure(20000, 1500)
        self.assertLess(len(browser.all(".tile")), 200)
        for key in (Keys.ARROW_RIGHT, Keys.ARROW_DOWN) * 30 + (Keys.PAGE_DOWN,) * 10 + (Keys.ARROW_LEFT,) * 30:
            browser.keys(key)
        moves = sorted(browser.js("return window.moves"))
        at_95 = moves[int(len(moves) * 0.95)]
        print(f"key to moved focus: {at_95:.1f} ms at the 95th percentile of {len(moves)} (limit 50)")
        self.assertGreaterEqual(len(moves), 90)
        self.assertLessEqual(at_95, 50)
        browser.keys(Keys.END)
        self.focus_is("app.19999")
        self.assertLess(len(browser.all(".tile")), 200)
        browser.one("#search").send_keys("Title 12345")
        browser.wait_for_text("#count", "1 application")

    def test_no_line_is_lost_while_many_launches_pass(self):
        self.start(applications(5))
        self.browser.click("#open-activity")
        print(load.launch_many(self.browser, self.tv, seconds=6))


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[2:]], verbosity=2)
