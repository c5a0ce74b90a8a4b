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

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts"))
from browser import Browser

PROGRAM = ""
# Bytes in the record, and the text that a reader sees. Unescaped, each would run, hide text or break the
# page.
HOSTILE = {name.encode(): name for name in (
    "<img src=x onerror=ran=1>", "\"><script>ran=1</script>", "' autofocus onfocus='ran=1",
    "</script><svg onload=ran=1>", "&lt;b&gt;</style>")}
HOSTILE |= {b"bell\x07\x1b[31m": "bell\\x07\\x1b[31m", b"no\xff\xfeutf8": "no\\xff\\xfeutf8",
            "left\u202egnp.exe".encode(): "left\\u{202e}gnp.exe"}
# Client, policy, orphan copies, copies there.
ORPHANS = [(b"alpha", b"p1", 3, 10), (b"beta", b"p2", 12, 400), (b"gamma", b"p10", 2, 2),
           (b"delta", b"p9", 5, 50), (b"x" * 255, b"y" * 255, 1, 30)]
ORPHANS += [(name, name, 1, 100 + at) for at, name in enumerate(HOSTILE)]


# An empty storage in $2, and the record of a real dry run on it.
MAKE_RECORD = """
"$1/sandbox/mdfixup-sandbox" create "$2" --clients 1 --policies 1 --images 0
export KSREGISTRY="$2/etc/ksregistry.cfg"
"$1/src/mdfixup" --tvr_location "$2/quorv" --dry_run --FORCE_DEDUPE_METADATA_CONSISTENCY
"""


def fill(record, orphans, notes=(), arguments=(), status=0):
    """Adds findings to the record; the notes are the names in findings of failures."""
    database = sqlite3.connect(record)

    def add(table, **values):
        marks = ", ".join(["CAST(? AS TEXT)"] * len(values))
        return database.execute(f"INSERT INTO {table} ({', '.join(values)}) VALUES ({marks})",
                                tuple(values.values())).lastrowid

    for client, policy, copies, there in orphans:
        pair = add("client_policy", client=client, policy=policy)
        directory = add("directory", dsid="2", client_policy=pair, pos=2 * there, copies=there,
                        state="done")
        for copy in range(copies):
            orphan = add("orphan", directory=directory, backup_time=1600000000 + 5000000 * copy,
                         copy=1, pos=2, bytes=9, deleted=0)
    for name in notes:
        add("collateral", orphan=orphan, basename=name)
        pair = add("client_policy", client=b"failed", policy=name)
        directory = add("directory", dsid="2", client_policy=pair, state="failed", reason=name)
        add("missing", client_policy=pair, backup_time=1600000000, copy=1)
        add("unparsed", directory=directory, basename=name, reason=name)
        add("message", severity="warning", text=name)
        add("message", severity="error", text=name)
    for argument in arguments:
        add("argument", text=argument)
    count = sum(row[2] for row in orphans)
    database.execute("UPDATE run SET copies = 70000, orphan_copies = ?, exit_status = ?, failed_dirs = ?, "
                     "taken_pos = ?, taken_bytes = ?", (count, status, len(notes), 2 * count, 9 * count))
    database.commit()


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        work = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        build = pathlib.Path(PROGRAM).parent.parent
        subprocess.run(["sh", "-ec", MAKE_RECORD, "sh", build, work / "storage"], check=True,
                       stdout=subprocess.DEVNULL)
        record = next(work.glob("storage/log/mdfixup/runs/*.db"))
        for name, *arguments in (
                ("clean", [(b"alpha", b"p1", 3, 10)]),
                ("many", [(b"client%d" % at, b"p", 1, 1) for at in range(12000)]),
                ("hostile", ORPHANS, HOSTILE, (b"--catalog_backup_time=9", *HOSTILE), 1)):
            logs = work / "<img src=x onerror=ran=1>" / name
            logs.mkdir(parents=True)
            fill(shutil.copy(record, logs), *arguments)
            subprocess.run([PROGRAM, "--html", work / f"{name}.html", logs], check=True,
                           stdout=subprocess.DEVNULL)
        both = [next((logs.parent / name).glob("*.db")) for name in ("clean", "hostile")]
        subprocess.run([PROGRAM, "--compare", "--html", work / "compared.html", *both], check=True)
        reports = []
        for name, record in zip(HOSTILE, both * len(HOSTILE)):
            reports.append(os.path.join(os.fsencode(work), name.replace(b"/", b"|") + b".json"))
            with open(reports[-1], "w") as report:
                subprocess.run([PROGRAM, "--json", record], check=True, stdout=report)
        subprocess.run([PROGRAM, "--fleet", "--html", work / "fleet.html", *reports], check=True)
        down = [work / f"down{at}.state.json" for at in range(60)]
        for state in down:
            state.write_text('{"schema": "mdfixup-host", "version": 1, "state": "unreachable", "text": ""}')
        subprocess.run([PROGRAM, "--fleet", "--html", work / "down.html", *down], check=True)
        cls.work = work
        cls.browser = cls.enterClassContext(Browser())

    def setUp(self):
        self.browser.set_width(1200)
        self.browser.set_media()
        self.open("hostile")

    def open(self, name):
        self.browser.open(self.work / f"{name}.html")

    def table(self, value, caption="Orphan copies"):
        """A value of the table; `rows` are its visible rows, `filter` is the element above it."""
        return self.browser.run(
            "const table = Array.from(document.querySelectorAll('table'))"
            ".find(t => t.caption.textContent.startsWith(arguments[0]));"
            "const rows = Array.from(table.tBodies[0].rows).filter(r => r.checkVisibility());"
            f"const filter = table.parentNode.previousElementSibling; return {value}", caption)

    def column(self, number, caption="Orphan copies"):
        return self.table(f"rows.map(r => r.cells[{number}].textContent)", caption)

    def sort(self, number):
        """Sorts by a column with the keyboard."""
        self.table(f"table.tHead.rows[0].cells[{number}].firstChild.focus()")
        self.browser.press_enter()
        return self.table(f"table.tHead.rows[0].cells[{number}].ariaSort")

    def filter(self, text):
        self.table("filter.firstChild.focus(), filter.firstChild.select()")
        self.browser.type(text)
        return self.table("filter.lastChild.textContent")

    def text(self, selector):
        return self.browser.run("return document.querySelector(arguments[0]).textContent", selector)

    def seen(self, selector):
        """Whether each of these elements is seen."""
        return self.browser.run("return Array.from(document.querySelectorAll(arguments[0]), "
                                "e => e.checkVisibility())", selector)

    def test_what_decides_comes_first(self):
        first = self.text("main .alert")
        for words in ("failed (exit status 1)", "8 warnings, the first", "8 POs of other copies"):
            self.assertIn(words, first)
        targets = self.browser.run("return Array.from(document.querySelectorAll('.alert a'), "
                                   "a => document.querySelector(a.hash).textContent).join()")
        for words in ("Warnings", "POs of other copies that", "POs left out"):
            self.assertIn(words, targets)
        self.assertEqual(self.column(0)[0], "gamma would lose everything")
        self.assertEqual(self.column(4)[0].strip(), "100 %")
        self.open("clean")
        self.assertEqual(self.seen(".alert"), [])

    def test_sorts_by_number_and_by_name_and_back(self):
        counts = sorted(row[3] for row in ORPHANS)
        self.assertEqual(self.sort(3), "ascending")
        self.assertEqual(self.column(3), [str(count) for count in counts])
        self.assertEqual(self.sort(3), "descending")
        self.assertEqual(self.column(3), [str(count) for count in reversed(counts)])
        self.sort(1)
        policies = [name for name in self.column(1) if name.startswith("p")]
        self.assertEqual(policies, ["p1", "p2", "p9", "p10"])

    def test_filter_shows_count_and_sums_of_its_rows(self):
        status = self.filter("P9 DEL")
        self.assertEqual(self.column(0), ["delta"])
        self.assertIn(f"1 of {len(ORPHANS)} rows, Orphan copies: 5, Copies there: 50", status)
        self.filter("<img")
        self.assertEqual(self.column(1), ["<img src=x onerror=ran=1>"])
        self.browser.set_media("print")
        self.assertEqual(len(self.column(1)), 1)  # so paper has to say so
        self.assertIn(True, self.seen(".filter span"))

    def test_names_are_text_and_no_file_is_loaded(self):
        self.browser.log("performance")
        self.browser.log("browser")
        self.open("hostile")
        failed = f"{self.work}/storage/catalog/2/failed/"
        for caption, number, begin in (("Orphan copies", 1, ""), ("Missing copies", 1, ""),
                                       ("POs of other", 0, ""), ("Failed directories", 0, failed)):
            self.assertLessEqual({begin + name for name in HOSTILE.values()},
                                 set(self.column(number, caption)))
        text = self.text("body")
        for name in HOSTILE.values():
            self.assertGreaterEqual(text.count(name), 8)
        self.assertEqual(self.browser.run(
            "return [typeof ran, document.scripts.length, document.styleSheets.length,"
            " document.querySelectorAll('img, link, iframe, object, embed, [src], [style],"
            " [onerror], [onload], [onfocus], [autofocus], a:not([href^=\"#\"])').length]"),
            ["undefined", 1, 1, 0])
        self.open("compared")
        for caption in ("Orphan copies of both", "Missing copies of both"):
            self.assertLessEqual(set(HOSTILE.values()), set(self.column(1, caption)))
        self.assertEqual(self.column(2, "Orphan copies of both")[-1], "3")  # alpha's are in both
        self.open("fleet")
        self.assertEqual(set(self.column(0, "Hosts")), {name.replace("/", "|") for name in HOSTILE.values()})
        in_json = {text.replace("\\xff\\xfe", r"\\xff\\xfe") for text in HOSTILE.values()}
        self.assertLessEqual(in_json, set(self.column(2, "Directories to look at")))
        self.assertEqual(self.browser.run("return typeof ran"), "undefined")
        self.assertEqual(self.browser.log("browser"), [])
        requests = [line for line in self.browser.log("performance")
                    if "Network.requestWillBeSent" in line["message"]]
        self.assertEqual(len(requests), 3)  # the pages themselves

    def test_a_host_leads_to_its_details(self):
        self.open("fleet")
        self.assertEqual(self.browser.run("return document.documentElement.scrollWidth"), 1200)
        for link in ("#hosts .alert a", "#hosts td a", "#hosts-directories ~ .wide td a"):
            leads = self.browser.run(
                "const link = document.querySelector(arguments[0]); link.click();"
                "return [link.textContent, document.querySelector(location.hash + ' h2').textContent]", link)
            name = leads[1].split(": ")[0]
            self.assertTrue(leads[0].startswith(name), leads)
        for name in ("hostile", "compared", "fleet", "down"):
            self.open(name)
            self.assertEqual([], self.browser.run(
                "return Array.from(document.querySelectorAll('a[href^=\"#\"]')).map(link => link.hash)"
                ".filter(hash => !document.getElementById(hash.slice(1)))"))

    def test_fits_a_phone(self):
        self.browser.set_width(375, 812, mobile=True)
        for name in ("hostile", "compared", "fleet", "clean"):
            self.open(name)
            self.assertEqual(self.browser.run("return document.documentElement.scrollWidth"), 375)
            self.assertEqual(self.browser.run(
                "return Array.from(document.querySelectorAll('td'))"
                ".filter(e => e.getBoundingClientRect().right > innerWidth).length"), 0)
        self.assertEqual(self.column(0), ["alpha"])

    def test_all_media_have_contrast_and_paper_shows_folded_parts(self):
        grounds = []
        for media, scheme in (("", "light"), ("", "dark"), ("print", "dark")):
            self.browser.set_media(media, scheme)
            ground, least, where = self.browser.run(CONTRAST)
            grounds.append(ground)
            self.assertGreaterEqual(least, 4.5, f"{media} {scheme}: {where}")
            self.assertEqual(True in self.seen("button, input, nav"), media != "print")
        self.assertNotEqual(grounds[0], grounds[1])
        self.assertEqual(set(self.seen("details li")), {True})

    def test_without_script_all_cells_are_visible(self):
        with_script = self.seen("td")
        self.browser.devtools("Emulation.setScriptExecutionDisabled", value=True)
        self.addCleanup(self.browser.devtools, "Emulation.setScriptExecutionDisabled", value=False)
        self.open("hostile")
        self.assertEqual(self.seen("button, input"), [])
        self.assertEqual(self.seen("td"), [True] * len(with_script))

    def test_many_rows_are_cut(self):
        self.open("many")
        self.assertIn("The first 10,000 of 12,000 rows; 2,000 more", self.text("#run1"))
        self.assertEqual(len(self.column(0)), 10000)


# The page's background, and the least contrast of a text with its background, nearly as WCAG defines it.
CONTRAST = """
  const light = (color) => color.match(/[\\d.]+/g).slice(0, 3).reduce(
    (sum, c, i) => sum + (c / 255) ** 2.2 * [0.2126, 0.7152, 0.0722][i], 0);
  const groundOf = (element) => {
    const color = element ? getComputedStyle(element).backgroundColor : "rgb(255, 255, 255)";
    return color.endsWith(", 0)") ? groundOf(element.parentElement) : color;
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
