"""A browser without a window, for tests of pages: Debian's chromium, driven by selenium."""

from __future__ import annotations

import json
from pathlib import Path
from typing import Any

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

# What of the text on the page has too little contrast with what is behind it: 4.5 is readable.
CONTRAST = """
const luminance = (color) => {
  const parts = color.match(/[\\d.]+/g).map(Number).slice(0, 3).map((part) => part / 255);
  const [r, g, b] = parts.map((part) =>
    part <= 0.03928 ? part / 12.92 : ((part + 0.055) / 1.055) ** 2.4);
  return 0.2126 * r + 0.7152 * g + 0.0722 * b;
};
const groundOf = (element) => {
  for (let each = element; each; each = each.parentElement) {
    const color = getComputedStyle(each).backgroundColor;
    if (!/, 0\\)$/.test(color)) return color;
  }
  return "rgb(255, 255, 255)";
};
const root = document.body ?? document.documentElement;
const walker = document.createTreeWalker(root, NodeFilter.SHOW_TEXT);
const poor = [];
while (walker.nextNode()) {
  const element = walker.currentNode.parentElement;
  if (!walker.currentNode.data.trim() || !element.checkVisibility() ||
      ["SCRIPT", "title", "desc", "style"].includes(element.tagName)) continue;
  if (element.closest("button")?.disabled) continue;
  const style = getComputedStyle(element);
  const color = element.namespaceURI.endsWith("svg") ? style.fill : style.color;
  const [a, b] = [luminance(color), luminance(groundOf(element))].sort((x, y) => y - x);
  if ((a + 0.05) / (b + 0.05) < 4.5) poor.push(walker.currentNode.data.trim());
}
return poor;
"""


class Browser:
    def __init__(self) -> None:
        options = webdriver.ChromeOptions()
        options.binary_location = "/usr/bin/chromium"
        for word in ("headless=new", "no-sandbox", "disable-dev-shm-usage", "disable-gpu"):
            options.add_argument("--" + word)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        self.driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        self.tell("Network.enable")

    def tell(self, command: str, **parameters: Any) -> Any:
        return self.driver.execute_cdp_cmd(command, parameters)

    def run(self, script: str, *words: Any) -> Any:
        return self.driver.execute_script(script, *words)

    def open(self, page: Path, place: str = "") -> None:
        self.driver.get("about:blank")
        self.requests()
        self.driver.get(page.as_uri() + place)

    def go(self, place: str) -> None:
        """To another part of the page that is open."""
        self.run("location.hash = arguments[0]", place)
        self.driver.execute_async_script("setTimeout(arguments[0], 60)")

    def messages(self) -> list[str]:
        return [entry["message"] for entry in self.driver.get_log("browser")]

    def requests(self) -> list[str]:
        """What was asked for since the last call."""
        events = [
            json.loads(entry["message"])["message"] for entry in self.driver.get_log("performance")
        ]
        return [
            event["params"]["request"]["url"]
            for event in events
            if event["method"] == "Network.requestWillBeSent"
        ]

    def size(self, width: int, height: int) -> None:
        self.tell(
            "Emulation.setDeviceMetricsOverride",
            width=width,
            height=height,
            deviceScaleFactor=1,
            mobile=width < 700,
        )
        self.driver.execute_async_script("setTimeout(arguments[0], 60)")

    def ground(self, scheme: str) -> None:
        feature = {"name": "prefers-color-scheme", "value": scheme}
        self.tell("Emulation.setEmulatedMedia", features=[feature])

    def type(self, *keys: str) -> None:
        for key in keys:
            ActionChains(self.driver).send_keys(key).perform()

    def tab(self, *, back: bool = False) -> None:
        chain = ActionChains(self.driver)
        if back:
            chain = chain.key_down(Keys.SHIFT).send_keys(Keys.TAB).key_up(Keys.SHIFT)
        else:
            chain = chain.send_keys(Keys.TAB)
        chain.perform()

    def texts(self, selector: str) -> list[str]:
        found: list[str] = self.run(
            "return [...document.querySelectorAll(arguments[0])]"
            ".filter((each) => each.checkVisibility()).map((each) => each.textContent)",
            selector,
        )
        return found

    def hidden_text(self, selector: str) -> str:
        """Of the first such element, which may be for readers of screens."""
        text: str = self.run("return document.querySelector(arguments[0]).textContent", selector)
        return text

    def focused(self) -> str:
        """The element that has the focus, in words, with a cross if that cannot be seen."""
        words: str = self.run(
            "const at = document.activeElement;"
            "const isSeen = getComputedStyle(at).outlineStyle !== 'none';"
            "return `${at.tagName.toLowerCase()} ${(at.labels?.[0] ?? at).textContent.trim()}`"
            "  .slice(0, 40) + (isSeen ? '' : ' ✗')"
        )
        return words

    def nameless(self) -> list[str]:
        """Roles of what can be used or looked at and has no name for readers of screens."""
        wanted = {"button", "textbox", "searchbox", "combobox", "grid", "image", "img", "tab"}
        wanted |= {"link", "tabpanel", "navigation"}
        nodes = self.tell("Accessibility.getFullAXTree")["nodes"]
        return [
            node["role"]["value"]
            for node in nodes
            if not node.get("ignored")
            and node["role"]["value"] in wanted
            and not node.get("name", {}).get("value")
        ]

    def poor_contrasts(self) -> list[str]:
        found: list[str] = self.run(CONTRAST)
        return found

    def is_too_wide(self) -> bool:
        wide: bool = self.run(
            "return document.documentElement.scrollWidth > document.documentElement.clientWidth"
        )
        return wide

    def picture(self, file: Path) -> None:
        self.driver.save_screenshot(str(file))

    def close(self) -> None:
        self.driver.quit()
