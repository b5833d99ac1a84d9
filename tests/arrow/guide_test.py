"""Runs the Python session of a page, block by block, and compares what it prints with the block of
text below: guide_test.py PAGE LIBRARY"""

from __future__ import annotations

import contextlib
import io
import re
import sys
import unittest

LIBRARY = sys.argv.pop()
PAGE = sys.argv.pop()


class Guide(unittest.TestCase):
    def test_blocks_print_what_the_page_says(self) -> None:
        with open(PAGE, encoding="utf-8") as page:
            text = page.read()
        blocks = re.findall(r"^```python\n(.*?)^```\n(?:\n```text\n(.*?)^```$)?", text, re.M | re.S)
        self.assertEqual(len(blocks), text.count("```python"))
        self.assertEqual(sum(bool(output) for _, output in blocks), text.count("```text"))
        session: dict[str, object] = {"__name__": "__main__"}
        for code, expected in blocks:
            code = code.replace("libzdbcclib64.so", LIBRARY)
            with (
                self.subTest(code.splitlines()[-1]),
                contextlib.redirect_stdout(io.StringIO()) as out,
            ):
                exec(compile(code, PAGE, "exec"), session)
            self.assertEqual(out.getvalue(), expected)


unittest.main()
