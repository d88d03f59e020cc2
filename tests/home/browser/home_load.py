"""Launches at the rate of a thousand a minute with the drawer open: no line is lost, and memory stays flat.

    home_load.py PROGRAMS SECONDS
"""
import sys
import time

from home_browser import Browser, Tv, applications, wait_until

PER_SECOND = 1000 / 60

COUNT = """
  window.lines = {asked: 0, told: 0};
  new MutationObserver((changes) => {
    for (const change of changes) {
      for (const line of change.addedNodes) {
        if (line.textContent.includes(' call launch_app ')) window.lines.asked += 1;
        if (line.textContent.includes(' call app_launch_result ')) window.lines.told += 1;
      }
    }
  }).observe(document.querySelector('#messages'), {childList: true});
  window.clicked = 0;
  window.clicker = setInterval(() => {
    window.clicked += 1;
    document.querySelector('.tile').click();
  }, 1000 / arguments[0]);
"""


def resident_kib(pid):
    with open(f"/proc/{pid}/status") as status:
        return int(next(line for line in status if line.startswith("VmRSS")).split()[1])


def heap_kib(browser):
    browser.driver.execute_cdp_cmd("HeapProfiler.collectGarbage", {})
    return browser.js("return Math.round(performance.memory.usedJSHeapSize / 1024)")


def launch_many(browser, tv, seconds):
    """What happened, in words; an AssertionError where a line was lost."""
    browser.js(COUNT, PER_SECOND)
    time.sleep(seconds / 3)
    before = resident_kib(tv.home.pid), heap_kib(browser)
    time.sleep(seconds * 2 / 3)
    browser.js("clearInterval(window.clicker)")
    clicked = browser.js("return window.clicked")
    assert clicked >= seconds * PER_SECOND * 0.5, f"only {clicked} launches in {seconds} s"

    def all_told():
        lines = browser.js("return window.lines")
        return lines["asked"] == clicked and lines["told"] == clicked

    try:
        wait_until(all_told, "all lines")
    except AssertionError as error:
        raise AssertionError(f"{clicked} launches, and lines of {browser.js('return window.lines')}") from error
    after = resident_kib(tv.home.pid), heap_kib(browser)
    return (f"{clicked} launches in {seconds} s, each with its lines; nuv-home {before[0]} KiB after a third of them, "
            f"{after[0]} KiB in the end; the page's heap {before[1]} and {after[1]} KiB")


def main():
    tv = Tv(sys.argv[1], applications(5))
    browser = Browser()
    try:
        browser.open(tv)
        browser.click("#open-activity")
        print(launch_many(browser, tv, float(sys.argv[2])))
    finally:
        browser.close()
        tv.end()


if __name__ == "__main__":
    main()
