"""The metrics of a sandbox's runs, from the node exporter through Prometheus to the alert that fires.

scrape_test.py BUILD: the folder of a build.
"""
import json
import os
import pathlib
import socket
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.error
import urllib.parse
import urllib.request

RULES = pathlib.Path(__file__).parents[2] / "packaging/prometheus/mdfixup.rules.yml"
CONFIGURATION = """
global: {{scrape_interval: 1s, evaluation_interval: 1s}}
rule_files: ["{rules}"]
scrape_configs:
  - job_name: node
    static_configs: [{{targets: ["{exporter}"]}}]
"""


def free_address():
    with socket.socket() as server:
        server.bind(("127.0.0.1", 0))
        return "127.0.0.1:%d" % server.getsockname()[1]


def get(url):
    with urllib.request.urlopen(url, timeout=10) as answer:
        return answer.read().decode()


def eventually(what, find):
    """The first result of `find` that is not empty, while servers start and scrape."""
    fault = None
    for _ in range(300):
        try:
            result = find()
            if result:
                return result
        except (urllib.error.URLError, ConnectionError) as error:
            fault = error
        time.sleep(0.1)
    raise AssertionError(f"not within 30 s: {what} ({fault})")


class Scrape(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.work = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        cls.storage = cls.work / "kestrel"
        cls.collected = cls.work / "collected"
        cls.collected.mkdir()
        cls.run_program("sandbox/mdfixup-sandbox", "create", cls.storage)
        for task in (["--scan_client_name_case"], ["--FORCE_DEDUPE_METADATA_CONSISTENCY", "--dry_run"]):
            cls.run_program("src/mdfixup", "--tvr_location", cls.storage / "quorv", *task)
        cls.write_metrics()
        exporter, cls.prometheus = free_address(), free_address()
        cls.serve("prometheus-node-exporter", "--collector.disable-defaults", "--collector.textfile",
                  f"--collector.textfile.directory={cls.collected}", f"--web.listen-address={exporter}")
        configuration = cls.work / "prometheus.yml"
        configuration.write_text(CONFIGURATION.format(rules=RULES, exporter=exporter))
        cls.serve("prometheus", f"--config.file={configuration}", f"--storage.tsdb.path={cls.work}/tsdb",
                  f"--web.listen-address={cls.prometheus}")

    @classmethod
    def serve(cls, *command):
        server = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        cls.addClassCleanup(server.wait)
        cls.addClassCleanup(server.terminate)

    @classmethod
    def run_program(cls, program, *arguments):
        environment = {**os.environ, "KSREGISTRY": str(cls.storage / "etc/ksregistry.cfg")}
        subprocess.run([f"{BUILD}/{program}", *arguments], check=True, env=environment,
                       stdout=subprocess.DEVNULL)

    @classmethod
    def write_metrics(cls):
        cls.run_program("report/mdfixup-report", "--openmetrics", cls.collected / "mdfixup.prom")

    def query(self, expression):
        """The values of an instant query, by what is left of the labels."""
        url = f"http://{self.prometheus}/api/v1/query?" + urllib.parse.urlencode({"query": expression})
        result = json.loads(get(url))["data"]["result"]
        own = ("__name__", "instance", "job")
        return {tuple(v for k, v in sorted(one["metric"].items()) if k not in own): float(one["value"][1])
                for one in result}

    def planted(self, kind):
        return len((self.storage / f"planted/{kind}.txt").read_text().splitlines())

    def test_values_arrive_and_the_alert_fires_and_ends(self):
        orphans = eventually("the orphans", lambda: self.query("mdfixup_orphan_copies"))
        self.assertEqual(orphans, {("dry_run",): self.planted("orphans")})
        self.assertEqual(self.query("mdfixup_missing_copies"), {("dry_run",): self.planted("missing")})
        self.assertEqual(self.query("mdfixup_directories_with_issues"), {("scan",): self.planted("scan")})
        self.assertEqual(self.query("node_textfile_scrape_error"), {(): 0})
        self.assertLess(self.query("time() - mdfixup_run_end_timestamp_seconds{task='scan'}")[("scan",)], 600)

        def firing():
            return {name for name, *_ in self.query("sum by (alertname) (ALERTS{alertstate='firing'})")}
        self.assertEqual(eventually("the alert", firing), {"MdfixupCaseIssues"})
        (self.storage / "mdfixup.lock").touch()
        self.write_metrics()
        eventually("the second alert", lambda: firing() == {"MdfixupCaseIssues", "MdfixupStaleLock"})
        (self.storage / "mdfixup.lock").unlink()
        self.write_metrics()
        eventually("its end", lambda: firing() == {"MdfixupCaseIssues"})


if __name__ == "__main__":
    BUILD = os.path.abspath(sys.argv.pop(1))
    unittest.main()
