"""A private TV, nuv-home on it, and a real browser that looks at it: what the tests in a browser share."""
import json
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import time

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By

LIMIT = 30

BUS = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-BUS Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>custom</type><listen>unix:path={socket}</listen><auth>EXTERNAL</auth>
<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/>
<allow user="*"/></policy></busconfig>
"""


def wait_until(condition, what, limit=LIMIT):
    """What the condition gives, once that is something."""
    end = time.monotonic() + limit
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() >= end:
            raise AssertionError(f"not within {limit} s: {what}")
        time.sleep(0.02)


def applications(count, **more):
    """A catalogue of so many applications."""
    return [
        {"id": f"app.{i}", "kelvo_id": f"app.{i}", "title": f"Title {i}", "run_title": f"Title {i}", "app_index": i,
         "use_count": i, "app_type": 4 if i % 3 == 0 else 2, "app_featured": 1, **more}
        for i in range(count)
    ]


class Tv:
    """Bus, service and nuv-home, each of which can go and come back."""

    def __init__(self, programs, catalogue=None, simulator_options=(), home_options=()):
        self.programs = pathlib.Path(programs)
        self.directory = pathlib.Path(tempfile.mkdtemp(prefix="nuv-home-"))
        self.state = self.directory / "state"
        self.socket = self.directory / "bus"
        self.environment = dict(
            os.environ, DBUS_SYSTEM_BUS_ADDRESS=f"unix:path={self.socket}", NUV_HOST_DIR=str(self.state), NUV_LOG="off",
            G_DEBUG="fatal-criticals")
        self.scenario = self.directory / "scenario.json"
        self.scenario.write_text("[]")
        self.simulator_options = ["--scenario", str(self.scenario), *simulator_options]
        self.home_options = home_options
        (self.directory / "bus.conf").write_text(BUS.format(socket=self.socket))
        self.bus = self.simulator = self.home = None
        self.processes = []
        self.address = ""
        self.start_bus()
        self.start_simulator(catalogue)
        self.start_home()

    def start(self, *command):
        with open(self.directory / (pathlib.Path(command[0]).name + ".log"), "ab") as log:
            process = subprocess.Popen(command, env=self.environment, stdout=subprocess.PIPE, stderr=log, text=True)
        self.processes.append(process)
        return process

    def start_bus(self):
        self.socket.unlink(missing_ok=True)
        self.bus = self.start("dbus-daemon", "--nofork", "--nopidfile", "--nosyslog", "--print-address",
                              f"--config-file={self.directory}/bus.conf")
        self.bus.stdout.readline()

    def start_simulator(self, catalogue=None):
        options = list(self.simulator_options)
        if catalogue is not None:
            seed = self.directory / "catalogue.json"
            seed.write_text(json.dumps({"apps": catalogue}))
            options += ["--seed", str(seed)]
        self.simulator = self.start(str(self.programs / "nuv-simulator"), "--dir", str(self.state), "--print-ready",
                                    "--quiet", *options)
        assert self.simulator.stdout.readline() == "ready\n", self.log("nuv-simulator")

    def start_home(self, *options):
        self.home = self.start(str(self.programs / "nuv-home"), *self.home_options, *options)
        self.address = self.home.stdout.readline().strip()
        assert self.address.startswith("http://"), self.log("nuv-home")

    def log(self, program):
        return (self.directory / f"{program}.log").read_text()

    def misbehave(self, rules):
        """As the scenario says from the next call on."""
        new = self.directory / "scenario.new"
        new.write_text(json.dumps(rules))
        new.rename(self.scenario)

    def kill(self, process):
        process.send_signal(signal.SIGKILL)
        process.wait()

    def end(self):
        status = None
        if self.home.poll() is None:
            self.home.terminate()
            status = self.home.wait(LIMIT)
        for process in (self.simulator, self.bus):
            if process.poll() is None:
                process.terminate()
                process.wait(LIMIT)
        for process in self.processes:
            process.stdout.close()
        log = self.log("nuv-home")
        shutil.rmtree(self.directory, ignore_errors=True)
        assert status in (0, None), f"nuv-home ended with {status}: {log}"


class Browser:
    """Chromium without a window, with what a test asks of the page."""

    def __init__(self):
        self.profile = tempfile.mkdtemp(prefix="nuv-home-chromium-")
        options = Options()
        options.binary_location = shutil.which("chromium")
        for argument in ("--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                         "--disable-background-networking", "--disable-component-update", "--disable-sync",
                         "--disable-dev-shm-usage", f"--user-data-dir={self.profile}", "--lang=en"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.driver = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
        self.driver.set_script_timeout(LIMIT)
        self.resize(1280, 800)

    def close(self):
        self.driver.quit()
        shutil.rmtree(self.profile, ignore_errors=True)

    def resize(self, width, height):
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})

    def prefer(self, **features):
        self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {
            "features": [{"name": name.replace("_", "-"), "value": value} for name, value in features.items()]})

    def open(self, tv):
        """The first address; returns once there are tiles."""
        self.driver.get(tv.address)
        wait_until(lambda: self.all(".tile[data-app]:not([data-app=''])"), "tiles")

    def all(self, selector):
        return self.driver.find_elements(By.CSS_SELECTOR, selector)

    def one(self, selector):
        return wait_until(lambda: self.all(selector), selector)[0]

    def text(self, selector):
        return self.js("return document.querySelector(arguments[0])?.textContent ?? ''", selector)

    def wait_for_text(self, selector, text, limit=LIMIT):
        return wait_until(lambda: text in self.text(selector) and self.text(selector), f"{selector}: {text}", limit)

    def js(self, script, *arguments):
        return self.driver.execute_script(script, *arguments)

    def keys(self, *keys):
        """To whatever has the focus when each comes, like a remote control's. Keys that are sent to an element give it
        the focus first, also where the page has just taken it away."""
        ActionChains(self.driver).send_keys(*keys).perform()

    def press(self, key):
        """A key by its name, also one that keyboards do not have."""
        self.js("document.activeElement.dispatchEvent(new KeyboardEvent('keydown',"
                "{key: arguments[0], bubbles: true, cancelable: true}))", key)

    def click(self, selector):
        self.one(selector).click()

    def focused(self):
        """The application whose tile has the focus, or the text of what has it."""
        return self.js("const a = document.activeElement; return a.dataset.app || a.id || a.textContent")

    def screenshot(self, path):
        self.driver.save_screenshot(str(path))

    def complaints(self):
        """What the browser says in its console, such as what the page's policy refused."""
        return [entry["message"] for entry in self.driver.get_log("browser") if entry["level"] == "SEVERE"]
