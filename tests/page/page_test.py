#!/usr/bin/env python3
"""Opens pages of reports in headless Chromium: page_test.py <the program mdfixup-report>."""
import os
import pathlib
import subprocess
import sys
import tempfile
import time
import unittest

from browser import Browser

PROGRAM = ""
# The log's bytes, and what a reader sees. Each would run, hide something or break the page if it were
# not shown as text.
HOSTILE = {
    b"<img src=x onerror=ran=1>": "<img src=x onerror=ran=1>",
    b"\"><script>ran=1</script>": "\"><script>ran=1</script>",
    b"' autofocus onfocus='ran=1": "' autofocus onfocus='ran=1",
    b"</script><svg onload=ran=1>": "</script><svg onload=ran=1>",
    b"&lt;b&gt;</style>": "&lt;b&gt;</style>",
    b"bell\x07\x1b[31m": "bell\\x07\\x1b[31m",
    b"no\xff\xfeutf8": "no\\xff\\xfeutf8",
    "left\u202egnp.exe".encode(): "left\\u{202e}gnp.exe",
}
# Client, policy, orphan copies, copies there.
ORPHANS = [(b"alpha", b"p1", 3, 10), (b"beta", b"p2", 12, 400), (b"gamma", b"p10", 2, 2),
           (b"delta", b"p9", 5, 50), (b"x" * 255, b"y" * 255, 1, 30)]
ORPHANS += [(name, name, 1, 100 + at) for at, name in enumerate(HOSTILE)]


def write_logs(logs, orphans, notes=(), arguments=b"--dry_run", status=0):
    """The logs of a dry run; `notes` are (level, text) of the run log, and all that can fail."""
    (logs / "mdfixup").mkdir(parents=True)
    (logs / "metadata_consistency").mkdir()
    count = sum(row[2] for row in orphans)
    others = len(notes)
    lines = [(b"info", b"start: pid 7, arguments " + arguments),
             (b"info", b"mode: metadata consistency, dry run"), *notes,
             (b"info", b"summary: policy directories 9, failed %d, POs 5000, copies 3000, orphan "
              b"copies %d, missing copies %d, POs taken %d, of other copies %d, POs moved 0, "
              b"collisions 0, seconds 0.123" % (others, count, others, 2 * count, others)),
             (b"info", b"end: exit status %d" % status)]
    (logs / "mdfixup/mdfixup.log").write_bytes(b"".join(
        b"2026-11-21 14:25:35.000 %s pid=7 thread=7 %s\n" % line for line in lines))
    log = b"Number of threads:           1\n"
    dirs = b"client_name|policy_name|pos|copies|orphan_copies|missing_copies|taken_pos|x|\n"
    for client, policy, copies, there in orphans:
        for copy in range(copies):
            log += (b"Would have deleted the POs for the image: {client: %s, policy: %s, backup_time: "
                    b"%d, copy_number: 1}.\nWould delete 2 POs.\n" %
                    (client, policy, 1600000000 + 5000000 * copy))
        dirs += b"%s|%s|%d|%d|%d|0|0|0|\n" % (client, policy, 2 * there, there, copies)
    missing = b""
    for _, text in notes:
        log += b"also takes %s\n" % text
        missing += b"%s_1600000000|%s|%s|1|\n" % (text, text, text)
    for _, text in notes:
        log += b"ERROR: could not parse PO file name; %s\n" % text
        log += (b"ERROR (%s) : could not compare the Tavrin catalog and deduplication metadata for "
                b"/s/%s/p; %s\n" % (text, text, text))
    seconds = int(time.mktime((2026, 11, 21, 14, 25, 35, 0, 0, -1)))
    for name, content in (("OrphanImages", log), ("PolicyDirs", dirs), ("MissingImages", missing)):
        (logs / f"metadata_consistency/{name}_{seconds}.log").write_bytes(content)


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        work = cls.enterClassContext(tempfile.TemporaryDirectory())
        cls.pages = {}
        notes = [(b"warning", name) for name in HOSTILE]
        whole = [(b"client%d" % at, b"p", 1, 1) for at in range(12000)]
        for name, arguments in (
                ("clean", ([(b"alpha", b"p1", 3, 10)],)), ("many", (whole,)),
                ("hostile", (ORPHANS, notes, b"--catalog_backup_time=9 " + b" ".join(HOSTILE), 1))):
            logs = pathlib.Path(work, "<img src=x onerror=ran=1>", name)
            write_logs(logs, *arguments)
            cls.pages[name] = f"{work}/{name}.html"
            subprocess.run([PROGRAM, "--html", cls.pages[name], logs], check=True,
                           stdout=subprocess.DEVNULL)
        cls.browser = cls.enterClassContext(Browser())

    def setUp(self):
        self.browser.set_width(1200)
        self.browser.set_media()
        self.open("hostile")

    def open(self, name):
        self.browser.open(self.pages[name])

    def table(self, caption, body):
        """What `body` returns of the table, with `rows` those that are seen."""
        return self.browser.run(
            "const table = Array.from(document.querySelectorAll('table'))"
            ".find(t => t.caption.textContent.startsWith(arguments[0]));"
            "const rows = Array.from(table.tBodies[0].rows).filter(r => r.checkVisibility());" + body,
            caption)

    def column(self, number, caption="Orphan copies"):
        return self.table(caption, f"return rows.map(r => r.cells[{number}].textContent)")

    def sort(self, number):
        """Sorts by a column with the keyboard."""
        self.table("Orphan copies", f"table.tHead.rows[0].cells[{number}].firstChild.focus()")
        self.browser.press_enter()
        return self.table("Orphan copies", f"return table.tHead.rows[0].cells[{number}].ariaSort")

    def filter(self, text):
        self.table("Orphan copies", "const input = table.parentNode.previousElementSibling.firstChild;"
                   "input.focus(); input.select()")
        self.browser.type(text)
        return self.table("Orphan copies",
                          "return table.parentNode.previousElementSibling.lastChild.textContent")

    def test_what_decides_stands_first(self):
        first = self.browser.run("return document.querySelector('main .alert').innerText")
        for words in ("failed (exit status 1)", "8 warnings in the run log", "--catalog_backup_time",
                      "1 directory would lose every copy", "8 POs of other copies",
                      "8 directories failed", "8 POs were left out"):
            self.assertIn(words, first)
        targets = self.browser.run("return Array.from(document.querySelectorAll('.alert a'))"
                                   ".map(a => document.querySelector(a.hash).textContent)")
        for words in ("Warnings in the run log", "POs of other copies that", "POs left out"):
            self.assertTrue(any(target.startswith(words) for target in targets), words)
        self.assertEqual(self.column(0)[0], "gamma would lose everything")
        self.assertEqual(self.column(4)[0], "100 %")
        self.open("clean")
        self.assertEqual(self.browser.run("return document.querySelectorAll('.alert').length"), 0)

    def test_sorts_by_number_and_by_name_and_back(self):
        counts = [row[3] for row in ORPHANS]
        for sort_order, values in (("ascending", sorted(counts)),
                                   ("descending", sorted(counts, reverse=True))):
            self.assertEqual(self.sort(3), sort_order)
            self.assertEqual(self.column(3), [str(value) for value in values])
        self.sort(1)
        policies = [name for name in self.column(1) if name.startswith("p")]
        self.assertEqual(policies, ["p1", "p2", "p9", "p10"])
        self.sort(2)  # those with one copy each stay as they stood
        self.assertEqual([name for name in self.column(1) if name in HOSTILE.values()],
                         self.names_sorted())

    def names_sorted(self):
        return self.browser.run("return arguments[0].sort(new Intl.Collator('en').compare)",
                                list(HOSTILE.values()))

    def test_filter_says_how_many_rows_it_leaves_and_their_sums(self):
        status = self.filter("P9 DEL")
        self.assertEqual(self.column(0), ["delta"])
        self.assertIn(f"1 of {len(ORPHANS)} rows, Orphan copies: 5, Copies there: 50", status)
        self.assertEqual(self.filter("onerror="), self.filter("<img").replace("<img", "onerror="))
        self.assertEqual(self.column(1), ["<img src=x onerror=ran=1>"])
        self.browser.set_media("print")
        self.assertEqual(len(self.column(1)), 1)  # so paper has to say so
        self.assertTrue(self.browser.run("return document.querySelector('.filter span')"
                                         ".checkVisibility()"))

    def test_names_are_text_and_nothing_is_loaded(self):
        self.browser.log("performance")
        self.browser.log("browser")
        self.open("hostile")
        for name in HOSTILE.values():
            for caption, cell in (("Orphan copies", 1), ("Missing copies", 1), ("POs of other", 0)):
                self.assertIn(name, self.column(cell, caption))
            self.assertIn(f"/s/{name}/p", self.column(0, "What failed"))
            lists = self.browser.run("return document.body.textContent")
            self.assertGreaterEqual(lists.count(name), 8)
        self.assertEqual(self.browser.run(
            "return [typeof ran, document.scripts.length, document.styleSheets.length,"
            " document.querySelectorAll('img, link, iframe, object, embed, [src], [style],"
            " [onerror], [onload], [onfocus], [autofocus], a:not([href^=\"#\"])').length]"),
            ["undefined", 1, 1, 0])
        self.assertEqual(self.browser.log("browser"), [])
        requests = [line for line in self.browser.log("performance")
                    if "Network.requestWillBeSent" in line["message"]]
        self.assertEqual(len(requests), 1)  # the page itself

    def test_fits_a_phone(self):
        self.browser.set_width(375, 812, mobile=True)
        for name in ("hostile", "clean"):
            self.open(name)
            self.assertEqual(self.browser.run(
                "return [innerWidth, document.documentElement.scrollWidth]"), [375, 375])
            self.assertEqual(self.browser.run(
                "return Array.from(document.querySelectorAll('td'))"
                ".filter(e => e.getBoundingClientRect().right > innerWidth).length"), 0)
        self.assertEqual(self.column(0), ["alpha"])

    def test_light_and_dark_have_contrast(self):
        grounds = set()
        for scheme in ("light", "dark"):
            self.browser.set_media(scheme=scheme)
            ground, least, where = self.browser.run(CONTRAST)
            grounds.add(ground)
            self.assertGreaterEqual(least, 4.5, f"{scheme}: {where}")
        self.assertEqual(len(grounds), 2)

    def test_prints_without_controls_and_with_what_is_folded(self):
        seen = "return Array.from(document.querySelectorAll(arguments[0]), e => e.checkVisibility())"
        self.assertIn(True, self.browser.run(seen, "button"))
        self.browser.set_media("print", "dark")
        self.assertNotIn(True, self.browser.run(seen, "button, input, nav"))
        self.assertNotIn(False, self.browser.run(seen, "details li"))
        self.assertGreaterEqual(self.browser.run(CONTRAST)[1], 4.5)
        pdf = self.browser.pdf()
        self.assertTrue(pdf.startswith(b"%PDF") and pdf.rstrip().endswith(b"%%EOF"))

    def test_without_script_all_is_there(self):
        with_script = self.browser.run("return document.querySelectorAll('td').length")
        self.browser.devtools("Emulation.setScriptExecutionDisabled", value=True)
        self.addCleanup(self.browser.devtools, "Emulation.setScriptExecutionDisabled", value=False)
        self.open("hostile")
        self.assertEqual(self.browser.run("return document.querySelectorAll('button, input').length"), 0)
        self.assertEqual(self.browser.run(
            "return Array.from(document.querySelectorAll('td')).filter(e => e.checkVisibility()).length"),
            with_script)
        self.assertEqual(len(self.column(0)), len(ORPHANS))

    def test_many_rows_are_cut_and_stay_usable(self):
        self.open("many")
        self.assertIn("The first 10,000 of 12,000 rows; 2,000 more",
                      self.browser.run("return document.querySelector('#consistency1').textContent"))
        self.assertEqual(len(self.column(0)), 10000)
        name = self.column(0)[4711].split()[0]
        self.assertTrue(self.filter(name).startswith("1 of 10,000 rows"))
        self.assertEqual(self.column(0), [name + " would lose everything"])


# The page's background, and the least contrast of a text with what it stands on, as WCAG defines it.
CONTRAST = """
  const parts = (color) => color.match(/[\\d.]+/g).map(Number);
  const light = (color) => parts(color).slice(0, 3).map((c) => c / 255)
    .map((c) => (c <= 0.04045 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4))
    .reduce((sum, c, i) => sum + c * [0.2126, 0.7152, 0.0722][i], 0);
  const groundOf = (element) => {
    const color = element ? getComputedStyle(element).backgroundColor : "rgb(255, 255, 255)";
    return parts(color)[3] === 0 ? groundOf(element.parentElement) : color;
  };
  let least = [21, ""];
  for (const element of document.querySelectorAll("body, body *")) {
    const own = Array.from(element.childNodes).some((n) => n.nodeType === 3 && n.data.trim());
    if (!own || !element.checkVisibility() || element.closest("script, title, desc")) continue;
    const style = getComputedStyle(element);
    const both = [light(element.tagName === "text" ? style.fill : style.color), light(groundOf(element))];
    const contrast = (Math.max(...both) + 0.05) / (Math.min(...both) + 0.05);
    if (contrast < least[0]) least = [contrast, element.outerHTML.slice(0, 200)];
  }
  return [groundOf(document.body), ...least];
"""

if __name__ == "__main__":
    PROGRAM = os.path.abspath(sys.argv.pop(1))
    unittest.main()
