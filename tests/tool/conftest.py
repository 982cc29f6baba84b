"""What several scenes need."""

import shutil

import pytest
from tool import IS_WINDOWS


@pytest.fixture(scope="module")
def browser():
    if IS_WINDOWS:
        pytest.skip("the page is the same one, and there is no browser")
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service

    chromium, driver_path = shutil.which("chromium"), shutil.which("chromedriver")
    assert chromium and driver_path, "scripts/setup installs chromium and chromium-driver"
    options = webdriver.ChromeOptions()
    options.binary_location = chromium
    for argument in ("headless=new", "no-sandbox", "disable-gpu", "disable-quic", "no-first-run",
                     "disable-background-networking", "disable-component-update", "disable-sync",
                     "disable-dev-shm-usage", "window-size=1280,900"):
        options.add_argument(f"--{argument}")
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    driver = webdriver.Chrome(options=options, service=Service(driver_path))
    driver.execute_cdp_cmd("Network.enable", {})
    driver.execute_cdp_cmd("Network.emulateNetworkConditions",
                           {"offline": True, "latency": 0, "downloadThroughput": -1, "uploadThroughput": -1})
    yield driver
    driver.quit()
