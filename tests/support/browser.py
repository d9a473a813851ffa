#!/usr/bin/python3
"""Opens a page of morvik-show --html in a real browser, headless Chromium, and looks at it.

browser.py CHECK[,CHECK...] FILE [ARG...]    some of the checks below, each in its own tab; says what is
                                             wrong and ends with 1 then
"""

import json
import pathlib
import sys
import tempfile

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support.wait import WebDriverWait
from selenium.webdriver.common.keys import Keys


def start(profile):
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                     "--window-size=1100,800", "--hide-scrollbars", f"--user-data-dir={profile}"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    return webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)


def expect(expected, actual, what):
    if expected != actual:
        raise SystemExit(f"{what}: {actual!r} instead of {expected!r}")


def column(browser, table, index):
    """The texts of a column, of the rows that are shown."""
    return browser.execute_script(
        """return [...document.querySelectorAll(`#${arguments[0]} tbody tr`)].filter((row) => row.offsetHeight)
           .map((row) => row.cells[arguments[1]].textContent.trim())""", table, index)


def keys(browser, *pressed):
    for key in pressed:
        browser.switch_to.active_element.send_keys(key)


def focused(browser):
    return browser.execute_script("return document.activeElement.textContent")


def heading(browser, table, text):
    for cell in browser.find_elements(By.CSS_SELECTOR, f"#{table} thead th"):
        if cell.text.strip() == text:
            return cell
    raise SystemExit(f"no heading {text}")


def sort(browser):
    """By keyboard alone: the headings are reached with the tab key, and pressed with enter or blank."""
    browser.find_element(By.ID, "search").click()
    keys(browser, Keys.TAB)
    expect("Host", focused(browser), "what follows the search field")
    style = "return getComputedStyle(document.activeElement).outlineStyle"
    expect("solid", browser.execute_script(style), "the outline of what has the focus")
    before = column(browser, "machines", 0)
    keys(browser, Keys.ENTER)
    expect("ascending", heading(browser, "machines", "Host").get_attribute("aria-sort"), "aria-sort")
    expect(sorted(before), column(browser, "machines", 0), "hosts, ascending")
    keys(browser, Keys.SPACE)
    expect("descending", heading(browser, "machines", "Host").get_attribute("aria-sort"), "aria-sort")
    expect(sorted(before, reverse=True), column(browser, "machines", 0), "hosts, descending")
    keys(browser, Keys.TAB)
    expect("Type", focused(browser), "what follows the first heading")
    keys(browser, Keys.ENTER)
    types = column(browser, "machines", 1)
    expect(sorted(types), types, "types")
    expect(None, heading(browser, "machines", "Host").get_attribute("aria-sort"), "aria-sort of another column")
    # Ages by time, not by words; the unknown one is the last in both directions.
    for reverse in (False, True):
        heading(browser, "machines", "Age").find_element(By.TAG_NAME, "button").click()
        ages = browser.execute_script(
            "return [...document.querySelectorAll('#machines tbody td:last-child')].map((cell) => cell.dataset.v)")
        expect("", ages[-1], "the last age")
        expect(sorted(ages[:-1], key=int, reverse=reverse), ages[:-1], "ages")
    # Numbers in a text by their value.
    heading(browser, "parts", "Machines").find_element(By.TAG_NAME, "button").click()
    counts = [int(text.split()[0]) for text in browser.execute_script(
        "return [...document.querySelectorAll('#parts summary')].map((each) => each.textContent)")]
    expect(sorted(counts), counts, "numbers of machines")


def search(browser):
    field = browser.find_element(By.ID, "search")
    everything = column(browser, "machines", 0)
    field.send_keys("A1112800 HOST-0003")
    expect([], column(browser, "machines", 0), "machines with a part that none has")
    field.clear()
    field.send_keys("host-0003")
    expect(["host-0003"], column(browser, "machines", 0), "the machine of that name")
    expect(f"1 of {len(everything)} machines, 0 of {len(all_rows(browser, 'parts'))} parts",
           browser.find_element(By.ID, "found").text, "what is said")
    field.clear()
    # A part that only some machines have, in small letters, and a type.
    field.send_keys("a112400")
    found = column(browser, "machines", 0)
    browser.find_element(By.XPATH, "//tr[th='A112400']//summary").click()
    # The browser reports the click to the script when it has time.
    hosts = WebDriverWait(browser, 20).until(lambda _: browser.execute_script(
        """const row = [...document.querySelectorAll("#parts tbody tr")].find((row) => row.cells[0].textContent === "A112400");
           return [...row.querySelectorAll("a")].map((link) => link.textContent)"""))
    expect(hosts, found, "the machines with the part")
    expect(["A112400"], column(browser, "parts", 0), "the part")
    if not 0 < len(found) < len(everything):
        raise SystemExit("the search proves nothing")
    field.send_keys(" 2345")
    expect(["2345"], sorted(set(column(browser, "machines", 1))), "their types")
    # Text that only the drawing of a machine has; its characters, and not its markup.
    for words, machines in (("s000301", ["host-0003"]), ("ethernet &", everything), ("span", []), ("amp;", [])):
        field.clear()
        field.send_keys(words)
        expect(machines, column(browser, "machines", 0), f"machines with {words}")
    field.clear()
    field.send_keys(" ")
    expect(everything, column(browser, "machines", 0), "machines without a search")


def all_rows(browser, table):
    return browser.find_elements(By.CSS_SELECTOR, f"#{table} tbody tr")


def shown(browser):
    return browser.execute_script(
        "return [...document.querySelectorAll('h1, h2')].filter((each) => each.offsetHeight).map((each) => each.textContent)")


def links(browser):
    title = browser.title
    expect([title, "Machines", "Parts"], shown(browser), "headings")
    browser.find_element(By.LINK_TEXT, "host-0003").click()
    expect([title, "host-0003"], shown(browser), "headings of a machine")
    browser.find_element(By.LINK_TEXT, "All machines").click()
    expect([title, "Machines", "Parts"], shown(browser), "headings after it")


def noscript(browser):
    """Everything can be read, and nothing is there that does not work."""
    browser.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": True})
    browser.refresh()
    expect([], browser.find_elements(By.TAG_NAME, "button"), "buttons")
    expect(False, browser.find_element(By.ID, "search").is_displayed(), "the search field")
    expect(True, len(all_rows(browser, "machines")) > 1, "machines")
    browser.find_element(By.LINK_TEXT, "host-0003").click()
    expect(True, browser.find_element(By.CSS_SELECTOR, "#m3 .chassis").is_displayed(), "the drawing")


def quiet(browser):
    """Asks for nothing but the file, and breaks no rule of its own policy."""
    sent = [json.loads(entry["message"])["message"] for entry in browser.get_log("performance")]
    urls = [each["params"]["request"]["url"] for each in sent if each["method"] == "Network.requestWillBeSent"]
    # Before that, the browser has shown its own page.
    expect([browser.current_url], urls[urls.index(browser.current_url) :], "requests")
    expect([], console_of(browser), "messages on the console")
    policy = browser.find_element(By.CSS_SELECTOR, "meta[http-equiv]").get_attribute("content")
    expect(True, policy.startswith("default-src 'none';"), "the policy")
    # Injected code does not run, and does not load.
    browser.execute_cdp_cmd("Page.setBypassCSP", {"enabled": False})
    browser.execute_script("""
        const script = document.createElement("script"); script.textContent = "window.ran = 1"; document.body.append(script);
        const image = document.createElement("img"); image.src = "http://127.0.0.1:9/"; document.body.append(image);
        document.body.setAttribute("onclick", "window.ran = 2"); document.body.click();""")
    expect(None, browser.execute_script("return window.ran"), "what an injected script has left")


def hostile(browser, texts):
    """Each text is in the page as a text, with U+FFFD for what must not be obeyed."""
    page = browser.execute_script("return document.querySelector('main').textContent")
    for text in json.loads(pathlib.Path(texts).read_text(encoding="utf-8")):
        for mark in "\0\x1b\u2028\u2029\u202e\u2066\u200f\x07":
            text = text.replace(mark, "\ufffd")
        if text not in page:
            raise SystemExit(f"not in the page: {text[:80]!r}")
    for selector, count in (("script", 1), ("style", 1), ("img, iframe, object, svg, form, base, b i", 0),
                            ("[onclick], [onmouseover], [style]", 0), ("title", 1), ("section", 1)):
        expect(count, len(browser.find_elements(By.CSS_SELECTOR, selector)), selector)
    expect([], console_of(browser), "messages on the console")
    width = browser.execute_script("return [document.documentElement.scrollWidth, innerWidth]")
    expect(True, width[0] <= width[1], f"a page no wider than the window {width}")
    height = browser.execute_script("return document.documentElement.scrollHeight")
    expect(True, height < 20000, f"a height that can be read, not {height}")


def console_of(browser):
    """Without what the browser says of its own pages."""
    return [each for each in browser.get_log("browser") if not each["message"].startswith("chrome://")]


def luminance(colour):
    parts = [int(part) / 255 for part in colour[colour.index("(") + 1 : -1].split(",")[:3]]
    parts = [part / 12.92 if part <= 0.03928 else ((part + 0.055) / 1.055) ** 2.4 for part in parts]
    return 0.2126 * parts[0] + 0.7152 * parts[1] + 0.0722 * parts[2]


def colours(browser):
    """Dark and light: each text has the contrast that WCAG 2 asks for, 4.5 to 1."""
    backs = {}
    for scheme in ("light", "dark"):
        features = [{"name": "prefers-color-scheme", "value": scheme}]
        browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": features})
        pairs = browser.execute_script("""
            document.querySelector("#m1").style.display = "block";
            const opaque = (each) => { for (; each; each = each.parentElement) {
                const back = getComputedStyle(each).backgroundColor; if (!back.endsWith(", 0)")) return back; } };
            return [...document.querySelectorAll("body *")].filter((each) => each.offsetHeight && [...each.childNodes]
                .some((node) => node.nodeType === 3 && node.data.trim()))
                .map((each) => [getComputedStyle(each).color, opaque(each), each.outerHTML.slice(0, 60)])""")
        for ink, back, where in pairs:
            light, dark = sorted((luminance(ink), luminance(back)), reverse=True)
            if (light + 0.05) / (dark + 0.05) < 4.5:
                raise SystemExit(f"{scheme}: {ink} on {back} in {where}")
        expect(True, len(pairs) > 20, "texts to compare")
        backs[scheme] = browser.execute_script("return getComputedStyle(document.body).backgroundColor")
    expect(True, luminance(backs["light"]) > 0.8 and luminance(backs["dark"]) < 0.05, f"backgrounds {backs}")


def printed(browser):
    browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "print"})
    expect(False, browser.find_element(By.ID, "search").is_displayed(), "the search field on paper")
    expect(True, browser.find_element(By.ID, "machines").is_displayed(), "the machines on paper")


def milliseconds(browser):
    """Prints how long the page took until it could be used."""
    browser.refresh()
    print(round(browser.execute_script("return performance.getEntriesByType('navigation')[0].loadEventEnd")))


def screenshot(browser, out, width, height, scheme="light"):
    browser.set_window_size(int(width), int(height))
    features = [{"name": "prefers-color-scheme", "value": scheme}]
    browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": features})
    browser.save_screenshot(out)


CHECKS = (sort, search, links, noscript, quiet, hostile, colours, printed, milliseconds, screenshot)


def main():
    checks = {each.__name__: each for each in CHECKS}
    with tempfile.TemporaryDirectory() as profile:
        browser = start(profile)
        try:
            for name in sys.argv[1].split(","):
                # The browser's own page goes on in the first tab.
                browser.switch_to.new_window("tab")
                browser.get_log("browser")
                browser.get_log("performance")
                browser.get(pathlib.Path(sys.argv[2]).absolute().as_uri())
                try:
                    checks[name](browser, *sys.argv[3:])
                except SystemExit as failure:
                    sys.exit(f"{name}: {failure}")
        finally:
            browser.quit()


if __name__ == "__main__":
    main()
