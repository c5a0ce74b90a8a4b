#!/usr/bin/env python3
"""Opens pages of reports in headless Chromium: page_test.py <the program mdfixup-report>, whose build
has mdfixup and mdfixup-sandbox as well."""
import os
import pathlib
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import unittest

from browser import Browser

PROGRAM = ""
# The record's bytes, and what a reader sees. Each would run, hide something or break the page if it were
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


def build_record(work):
    """The record of a real dry run, on an empty storage."""
    build = pathlib.Path(PROGRAM).parent.parent
    storage = pathlib.Path(work, "storage")
    subprocess.run([build / "sandbox/mdfixup-sandbox", "create", storage, "--clients", "1",
                    "--policies", "1", "--images", "0"], check=True, stdout=subprocess.DEVNULL)
    subprocess.run([build / "src/mdfixup", "--tvr_location", storage / "quorv", "--dry_run",
                    "--FORCE_DEDUPE_METADATA_CONSISTENCY"], check=True, stdout=subprocess.DEVNULL,
                   env={**os.environ, "KSREGISTRY": f"{storage}/etc/ksregistry.cfg"})
    return next(storage.glob("log/mdfixup/runs/*.db"))


def fill(record, orphans, notes=(), arguments=(), status=0):
    """Makes the record that of a dry run that found the orphans; the notes are names of all that can
    fail."""
    database = sqlite3.connect(record)

    def add(table, **values):
        marks = ", ".join("CAST(? AS TEXT)" if isinstance(value, bytes) else "?"
                          for value in values.values())
        return database.execute(f"INSERT INTO {table} ({', '.join(values)}) VALUES ({marks})",
                                list(values.values())).lastrowid

    def add_directory(client, policy, **values):
        pair = add("client_policy", client=client, policy=policy)
        return pair, add("directory", dsid="2", client_policy=pair, **values)

    for client, policy, copies, there in orphans:
        _, directory = add_directory(client, policy, pos=2 * there, copies=there, state="done")
        for copy in range(copies):
            orphan = add("orphan", directory=directory, backup_time=1600000000 + 5000000 * copy,
                         copy=1, pos=2, bytes=9, deleted=0)
    for name in notes:
        add("collateral", orphan=orphan, basename=name)
        pair, directory = add_directory(b"failed", name, state="failed", reason=name)
        add("missing", client_policy=pair, backup_time=1600000000, copy=1)
        add("unparsed", directory=directory, basename=name, reason=name)
        add("message", severity="warning", text=name)
        add("message", severity="error", text=name)
    for argument in arguments:
        add("argument", text=argument)
    count = sum(row[2] for row in orphans)
    database.execute("UPDATE run SET dirs = 9, pos = 70000, copies = 70000, orphan_copies = ?, "
                     "taken_pos = ?, taken_bytes = ?, exit_status = ?, failed_dirs = ?",
                     (count, 2 * count, 9 * count, status, len(notes)))
    database.commit()


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        work = cls.enterClassContext(tempfile.TemporaryDirectory())
        cls.pages = {}
        record = build_record(work)
        whole = [(b"client%d" % at, b"p", 1, 1) for at in range(12000)]
        for name, arguments in (
                ("clean", ([(b"alpha", b"p1", 3, 10)],)), ("many", (whole,)),
                ("hostile", (ORPHANS, HOSTILE, (b"--catalog_backup_time=9", *HOSTILE), 1))):
            logs = pathlib.Path(work, "<img src=x onerror=ran=1>", name)
            logs.mkdir(parents=True)
            shutil.copy(record, logs)
            fill(logs / record.name, *arguments)
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
        for words in ("failed (exit status 1)", "8 warnings, the first", "--catalog_backup_time",
                      "1 directory would lose every copy", "8 POs of other copies",
                      "8 directories failed", "8 POs were left out"):
            self.assertIn(words, first)
        targets = self.browser.run("return Array.from(document.querySelectorAll('.alert a'))"
                                   ".map(a => document.querySelector(a.hash).textContent)")
        for words in ("Warnings", "POs of other copies that", "POs left out"):
            self.assertTrue(any(target.startswith(words) for target in targets), words)
        self.assertEqual(self.column(0)[0], "gamma would lose everything")
        self.assertEqual(self.column(4)[0].strip(), "100 %")
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
            self.assertTrue(any(cell.endswith(f"/catalog/2/failed/{name}")
                                for cell in self.column(0, "Failed directories")))
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
                      self.browser.run("return document.querySelector('#run1').textContent"))
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
