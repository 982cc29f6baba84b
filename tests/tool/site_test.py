"""The site of scripts/docs as a browser without a network shows it."""

import json
import os
from pathlib import Path

SITE = Path(os.environ["QX_SITE"])
FOUND_IN_TWO_CLICKS = {
    "how to install": "apt install ./libqxutils4_",
    "what 1062 means": "Take everything off the detector, open the collimator",
    "the SNR from Python": "snr_series(image: NDArray[uint16]) \u2192 SnrSeries",
    "the format of a defect file": "clusterOffset",
}


def at_rest(browser) -> None:
    """Asserts that nothing was said on the console, and nothing asked for outside the site, since the last time."""
    asked = [json.loads(entry["message"])["message"] for entry in browser.get_log("performance")]
    urls = [one["params"]["request"]["url"] for one in asked if one["method"] == "Network.requestWillBeSent"]
    assert urls and [url for url in urls if not url.startswith((SITE.as_uri() + "/", "data:"))] == []
    assert browser.get_log("browser") == []


def links(browser) -> list[str]:
    """The pages that the main part of a page leads to, without the places in them."""
    found = browser.execute_script("return [...document.querySelectorAll('article a[href*=\".html\"]')].map((a) => a.href)")
    return list(dict.fromkeys(url.split("#")[0] for url in found))


def test_every_page_opens_quietly(browser) -> None:
    pages = sorted(SITE.rglob("*.html"))
    assert len(pages) > 40
    for page in pages:
        browser.get(page.as_uri())
        assert browser.execute_script("return document.querySelector('.sidebar-tree a') !== null"), page
        assert browser.execute_script("return [...document.images].every((image) => image.naturalWidth > 0)"), page
        at_rest(browser)


def test_a_newcomer_finds_it_in_two_clicks(browser) -> None:
    browser.get((SITE / "index.html").as_uri())
    texts = []
    for url in links(browser):
        browser.get(url)
        texts.append(browser.execute_script("return document.querySelector('article').textContent"))
    for sought, told in FOUND_IN_TWO_CLICKS.items():
        assert any(told in text for text in texts), sought
    at_rest(browser)


def test_search_needs_no_server(browser) -> None:
    from selenium.webdriver.support.ui import WebDriverWait

    browser.get((SITE / "index.html").as_uri())
    field = browser.find_element("css selector", "input[name=q]")
    field.send_keys("checkFirstImg")
    field.submit()
    hits = WebDriverWait(browser, 20).until(lambda page: page.find_elements("css selector", "ul.search li a"))
    assert hits[0].text == "checkFirstImg"
    assert hits[0].get_attribute("href").split("#")[0].split("?")[0] == (SITE / "api/cpp/Quality.html").as_uri()
    at_rest(browser)


def test_the_colours_are_the_readers_choice(browser) -> None:
    ground = lambda: browser.execute_script("return getComputedStyle(document.body).backgroundColor")
    browser.get((SITE / "status.html").as_uri())
    light = ground()
    browser.find_element("css selector", ".theme-toggle-content .theme-toggle").click()
    assert ground() != light
    browser.refresh()
    assert ground() != light
