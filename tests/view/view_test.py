"""Tries pages of `zdbcc view` in a browser: view_test.py ZDBCC DIET_DEMO EXAMPLES SCREENSHOTS

Screenshots are for people, who look at them after a change of the page.
"""

from __future__ import annotations

import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from browser import Browser
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import Select

TOOL, DEMO, EXAMPLES, SCREENSHOTS = (Path(word).absolute() for word in sys.argv[1:5])
del sys.argv[1:]

# Labels that would do something in a page, in a script or in a regular expression.
EVIL = [
    "</script><b>bold</b>",
    "<!--<script>",
    "<img src=x onerror=alert(1)>",
    "a&amp;b",
    "Ø 中文 🙂",
]
EVIL += ["${1}", "__proto__", "x'y z", "\\u003c", "%2e[*]", "<svg onload=alert(1)>"]


def tool(*words: str) -> None:
    done = subprocess.run([TOOL, *words], capture_output=True, text=True)
    assert done.returncode == 0, done.stderr


def make_files() -> None:
    """diet.zxf, days.zxf with the results of a sweep, evil.zxf, and large.zxf, and their pages."""
    subprocess.run([DEMO, EXAMPLES / "diet/data", "."], check=True, capture_output=True)
    models = EXAMPLES / "models"
    days = ["--scenarios", str(models / "diet-scenarios.csv"), "--show", "buy", "-o", "days.zxf"]
    tool("sweep", str(models / "diet.mod"), *days)
    rows = "".join('"{}",{}\n'.format(each.replace('"', '""'), i) for i, each in enumerate(EVIL))
    Path("evil.csv").write_text("name,value\n" + rows)
    specials = "a,NA\nb,+Inf\nc,Eps\nd,-Inf\ne,Undef\nf,-2.5\ng,1e-300\n"
    Path("special.csv").write_text("name,value\n" + specials)
    Path("cube.csv").write_text(
        "x,y,z,value\n" + "".join(f"x{i},y{j},z{k},{i - j * k}\n" for i in range(6)
                                  for j in range(5) for k in range(4))
    )  # fmt: skip
    tool("import", "evil.zxf", "evil=evil.csv:name->value", "special=special.csv:name->value",
         "cube=cube.csv:x,y,z->value")  # fmt: skip
    Path("large.csv").write_text("a,value\n" + "".join(f"item{i},{i % 97}\n" for i in range(30000)))
    tool("import", "large.zxf", "large=large.csv:a->value")
    for name in ("diet", "days", "evil", "large"):
        tool("view", f"{name}.zxf", "-o", f"{name}.html")


class View(unittest.TestCase):
    browser: Browser
    folder: tempfile.TemporaryDirectory[str]

    @classmethod
    def setUpClass(cls) -> None:
        SCREENSHOTS.mkdir(parents=True, exist_ok=True)
        cls.folder = tempfile.TemporaryDirectory()
        os.chdir(cls.folder.name)
        make_files()
        cls.browser = Browser()

    @classmethod
    def tearDownClass(cls) -> None:
        cls.browser.close()
        os.chdir("/")
        cls.folder.cleanup()

    def setUp(self) -> None:
        self.browser.size(1200, 800)
        self.browser.ground("light")

    def tearDown(self) -> None:
        self.assertEqual(self.browser.messages(), [])

    def page(self, name: str, place: str = "") -> Browser:
        self.browser.open(Path(name).absolute(), place)
        return self.browser

    def choose(self, label: str, text: str) -> None:
        path = f"//label[span='{label}']/select"
        found = [each for each in self.browser.driver.find_elements(By.XPATH, path)]
        Select(next(each for each in found if each.is_displayed())).select_by_visible_text(text)

    def field(self, label: str) -> None:
        path = f"//main//label[span='{label}']/input"
        self.browser.driver.find_element(By.XPATH, path).click()

    def show_picture(self) -> None:
        self.browser.driver.find_element(By.XPATH, "//button[.='Picture']").click()

    def rows(self) -> list[str]:
        return self.browser.texts("tbody tr")

    def test_a_page_asks_for_nothing_and_runs_nothing_else(self) -> None:
        for name in ("diet", "days", "evil", "large"):
            page = self.page(f"{name}.html")
            asked = [each for each in page.requests() if not each.startswith("data:")]
            self.assertEqual(asked, [Path(f"{name}.html").absolute().as_uri()])
        page.run(
            "const script = document.createElement('script');"
            "script.textContent = 'window.was = 1'; document.body.append(script);"
            "const image = new Image(); image.src = 'file:///etc/hostname';"
            "document.body.append(image)"
        )
        self.assertIsNone(page.run("return window.was"))
        self.assertEqual(sum("Content Security Policy" in each for each in page.messages()), 2)

    def test_overview_lists_what_the_tool_lists(self) -> None:
        self.page("diet.html")
        self.assertEqual(
            self.rows(),
            [
                "foodset1*77Foods and the units they are sold in",
                "nutrientset1*9Nutrients and their units of measure",
                "contentparameter2food, nutrient570What one dollar's worth of a food holds",
                "priceparameter1food77Price of a unit in cents",
                "needparameter1nutrient9What one adult needs a day",
            ],
        )
        self.browser.driver.find_element(By.ID, "search").send_keys("unit cents")
        self.assertEqual(self.browser.texts("#links li"), ["price parameter · 77 records"])

    def test_texts_of_a_file_are_texts(self) -> None:
        page = self.page("evil.html", "#/evil")
        self.assertEqual(page.texts("tbody td:first-child"), EVIL)
        self.show_picture()
        self.choose("name", EVIL[2])
        self.assertIn(f"to 2 ({EVIL[2]})", page.texts("figcaption")[0])
        self.assertEqual(
            page.run("return document.querySelectorAll('b:not(nav b), img').length"), 0
        )

    def test_special_values_have_their_names_and_places(self) -> None:
        page = self.page("evil.html", "#/special")
        self.assertEqual(page.texts(".special"), ["NA", "+Inf", "Eps", "-Inf", "Undef"])
        heading = page.driver.find_element(By.XPATH, "//th[2]/button")
        for expected in (["d", "f", "c", "g", "b", "a", "e"], ["b", "g", "c", "f", "d", "a", "e"]):
            heading.click()
            self.assertEqual(page.texts("tbody td:first-child"), expected)
        heading.click()
        self.assertEqual(page.texts("tbody td:first-child"), list("abcdefg"))
        self.show_picture()
        self.assertIn("3 values, from -2.5 (f) to 1e-300 (g)", page.texts("figcaption")[0])
        self.assertIn("4 special values", page.texts("figcaption")[0])

    def test_filter_and_slice_agree_with_the_data(self) -> None:
        page = self.page("diet.html", "#/content")
        self.field("Filter")
        page.type("spinach VIT")
        self.assertEqual(page.texts("main .status"), ["4 rows of 570"])
        self.field("Filter")
        page.run("document.activeElement.select()")
        page.type(Keys.DELETE)
        self.choose("nutrient", "iron")
        count = int(page.texts("main .status")[0].split()[-2])
        self.assertGreater(count, 50)
        self.choose("food", "Cabbage")
        self.assertEqual([row[:11] for row in self.rows()], ["Cabbageiron"])

    def test_many_rows_are_shown_in_parts_and_labels_searched(self) -> None:
        page = self.page("large.html", "#/large")
        self.assertIn("the first 5,000 records of 30,000", page.texts(".note")[0])
        self.assertEqual(page.texts("main .status"), ["Rows 1 to 100; 5,000 rows"])
        page.driver.find_element(By.XPATH, "//button[.='Next rows']").click()
        self.assertEqual(self.rows()[0], "item1003")
        self.field("a")
        page.type("ITEM4321")
        self.assertEqual(self.rows(), ["item432153"])
        self.assertLess(Path("large.html").stat().st_size, 250_000)

    def test_everything_is_reached_and_seen_with_the_keyboard(self) -> None:
        page = self.page("diet.html")
        walk = []
        while len(walk) < 30 and not page.focused().startswith("body") or not walk:
            page.tab()
            walk.append(page.focused())
        walk.pop()  # the end of the page
        self.assertEqual([step for step in walk if "✗" in step], [])
        self.assertEqual(walk[0], "a Skip the list of symbols")
        for step in ("a All symbols", "input Search", "a need parameter"):
            self.assertEqual([True for each in walk if each.startswith(step)][:1], [True], walk)
        page = self.page("diet.html", "#/content")
        page.run("document.querySelector('[role=tab]').focus()")
        page.type(Keys.ARROW_RIGHT)
        self.assertEqual((page.focused(), len(page.texts("svg"))), ("button Picture", 1))
        page.type(Keys.HOME)
        page.tab()
        self.assertEqual(page.focused(), "input Filter")
        page.tab()
        first = page.focused()
        page.type(Keys.ARROW_DOWN, Keys.ARROW_RIGHT, Keys.ARROW_RIGHT)
        self.assertNotEqual(page.focused(), first)
        page.type(Keys.PAGE_DOWN)
        self.assertEqual(page.texts("main .status"), ["Rows 101 to 200; 570 rows"])
        page.type(Keys.ARROW_UP, Keys.ARROW_UP, Keys.ENTER)
        self.assertEqual(page.focused(), "button value")
        largest = page.texts("tbody td:last-child")[0]
        page.type(Keys.ENTER)
        self.assertLess(float(largest), float(page.texts("tbody td:last-child")[0]))

    def test_every_picture_is_drawn_with_its_words(self) -> None:
        for place, kinds in (
            ("diet.html#/price", 4),
            ("evil.html#/cube", 5),
            ("days.html#/buy", 5),
        ):
            page = self.page(*place.replace("#", " #").split())
            self.show_picture()
            names = page.run(
                "const options = document.querySelectorAll('[role=tabpanel] select')[0].options;"
                "return [...options].map((each) => each.text)"
            )
            self.assertEqual(len(names), kinds)
            if "cube" in place:
                self.assertIn("choose a label for one of 3", page.texts("figure p")[0])
                self.choose("z", "z2")
            for name in names:
                self.choose("Picture", name)
                self.assertEqual(page.hidden_text("svg[role=img] > title")[-len(name) :], name)
                self.assertRegex(page.hidden_text("svg > desc"), r"^\d+ values, from ")
                broken = (
                    "return /NaN|undefined|Infinity/.test(document.querySelector('svg').outerHTML)"
                )
                self.assertFalse(page.run(broken), name)
                self.assertEqual(page.poor_contrasts(), [])
                file = f"{place[:4]}-{name.split()[0].lower()}.png"
                page.picture(SCREENSHOTS / file)

    def test_small_screens_and_both_grounds(self) -> None:
        for width, scheme in ((320, "light"), (320, "dark"), (1200, "dark"), (1200, "light")):
            self.browser.size(width, 720)
            self.browser.ground(scheme)
            for name, place in (
                ("diet", ""),
                ("diet", "content"),
                ("days", "buy"),
                ("evil", "evil"),
            ):
                page = self.page(f"{name}.html", f"#/{place}")
                for shown in ("table", "picture"):
                    if shown == "picture" and not page.texts("[role=tab]"):
                        continue
                    if shown == "picture":
                        self.show_picture()
                        if (place, width) == ("content", 1200):  # of a heat map
                            self.assertIn("vitamin_b1", page.texts("svg text"))
                    self.assertFalse(page.is_too_wide(), (name, place, shown, width))
                    self.assertEqual(page.poor_contrasts(), [], (name, place, scheme))
                    self.assertEqual(page.nameless(), [])
                    file = f"{width}-{scheme}-{name}-{place or 'all'}-{shown}.png"
                    page.picture(SCREENSHOTS / file)

    def test_pictures_are_readable_on_both_grounds(self) -> None:
        pictures = [Path("diet-days.svg"), *(EXAMPLES.parent / "doc/pictures").glob("*.svg")]
        self.assertGreater(len(pictures), 1)
        for picture in pictures:
            for scheme in ("light", "dark"):
                self.browser.ground(scheme)
                page = self.page(str(picture))
                self.assertGreater(len(page.texts("text")), 5)
                self.assertEqual(page.poor_contrasts(), [], (picture, scheme))
                self.assertEqual(page.nameless(), [])
                page.picture(SCREENSHOTS / f"{picture.stem}-{scheme}.png")

    def test_the_site_has_both_grounds_and_lacks_no_file(self) -> None:
        site = SCREENSHOTS.parent / "docs"
        if not (site / "index.html").exists():
            self.skipTest("make docs has not built the site")
        for width, scheme in ((320, "light"), (320, "dark"), (1200, "dark"), (1200, "light")):
            self.browser.size(width, 720)
            self.browser.ground(scheme)
            for name in ("index", "howto/pictures", "reference/c/cpp", "why/benchmarks"):
                page = self.page(str(site / f"{name}.html"))
                self.assertFalse(page.is_too_wide(), (name, width))
                ground = page.run("return getComputedStyle(document.body).backgroundColor")
                self.assertEqual(ground == "rgb(255, 255, 255)", scheme == "light", name)
                for red in page.run(
                    "return [...document.querySelectorAll('div.highlight pre')]"
                    ".map((each) => Number(getComputedStyle(each).color.match(/\\d+/)[0]))"
                ):
                    self.assertEqual(red < 128, scheme == "light", name)
                hidden = {"Hide navigation sidebar", "Hide table of contents sidebar"}
                self.assertEqual(set(page.poor_contrasts()) - hidden, set(), (name, scheme))
                page.picture(SCREENSHOTS / f"site-{width}-{scheme}-{Path(name).name}.png")

    def test_print_has_what_is_seen_and_no_controls(self) -> None:
        page = self.page("diet.html", "#/need")
        page.tell("Emulation.setEmulatedMedia", media="print")
        self.assertEqual(page.texts("nav, input, select, .pager, [role=tab]"), [])
        self.assertEqual(len(self.rows()), 9)
        self.assertEqual(page.texts("main .status"), ["9 rows"])
        page.picture(SCREENSHOTS / "print.png")
        page.tell("Emulation.setEmulatedMedia", media="")

    def test_paper_has_all_rows_as_they_are_filtered_and_sorted(self) -> None:
        page = self.page("diet.html", "#/content")
        self.assertEqual(len(self.rows()), 100)
        page.run(
            "window.printed = [];"
            "addEventListener('beforeprint', () =>"
            "  printed.push(document.querySelectorAll('tbody tr').length))"
        )
        page.tell("Page.printToPDF")
        self.field("Filter")
        page.type("vitamin")
        found = int(page.texts("main .status")[0].split()[-4])
        self.assertGreater(found, 100)
        page.tell("Page.printToPDF")
        self.assertEqual(page.run("return printed"), [570, found])
        self.assertEqual(len(self.rows()), 100)


unittest.main()
