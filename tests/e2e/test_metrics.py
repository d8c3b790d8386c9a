"""Numbers for monitoring, read as monitoring reads them."""
import os
import re
import tempfile

from prometheus_client import parser as older_format
from prometheus_client.openmetrics import parser as open_metrics

import harness
from contract import TOP
from harness import ask, delivered, send
from test_calls_people import make
from test_ctl import ctl

ROW = re.compile(r"^\| `(mailvane_\w+)` \| (.*?) \|", re.MULTILINE)
CHECK = re.compile(r"^\| `(\w+)` \|", re.MULTILINE)
# Of what a fresh machine has not: a key that signs, signatures, mail that was scanned.
NOT_YET = {"mailvane_signing_key_made_timestamp_seconds", "mailvane_scanner_mean_seconds",
           "mailvane_scanner_longest_seconds", "mailvane_virus_signatures_timestamp_seconds"}


def document(name):
    with open(os.path.join(TOP, "docs", name), encoding="utf-8") as file:
        return file.read()


def told():
    """The metrics of the document: for each name its labels, and the words that these can be."""
    checks = set(CHECK.findall(document("self_check.md")))
    return {name: {label: checks if "name of" in words else set(words.split(", "))
                   for label, words in re.findall(r"`(\w+)`: ([^;]*)", labels)}
            for name, labels in ROW.findall(document("monitoring.md"))}


def written():
    status, output, errors = ctl("metrics")
    assert (status, errors) == (0, ""), errors
    return output


def samples(text):
    return [sample for family in open_metrics.text_string_to_metric_families(text)
            for sample in family.samples]


def value(name, **labels):
    return next(sample.value for sample in samples(written())
                if (sample.name, sample.labels) == (name, labels))


class Metrics(harness.Story):
    def test_are_those_of_the_document_and_tell_no_names(self):
        ctl("check")
        text = written()
        families = list(open_metrics.text_string_to_metric_families(text))
        for family in families:
            self.assertTrue(family.documentation and family.type in ("gauge", "counter"), family)
            self.assertTrue(family.name.endswith("_" + family.unit) if family.unit else
                            not family.name.endswith(("seconds", "bytes")), family)
        known, found = told(), samples(text)
        for sample in found:
            labels = known[sample.name]
            self.assertEqual(labels.keys(), sample.labels.keys(), sample)
            self.assertTrue(all(word in labels[name] for name, word in sample.labels.items()),
                            sample)
            self.assertIsNone(sample.timestamp)
        self.assertLessEqual(known.keys() - {sample.name for sample in found}, NOT_YET)
        older = {(sample.name, *sorted(sample.labels.items())): sample.value
                 for family in older_format.text_string_to_metric_families(text)
                 for sample in family.samples}
        self.assertEqual(older, {(sample.name, *sorted(sample.labels.items())): sample.value
                                 for sample in found})

    def test_follow_what_happens(self):
        received = {"window": "hour", "outcome": "received"}
        before = value("mailvane_mail_messages", **received)
        send("someone@elsewhere.test", ["alice@" + harness.DOMAIN], "counted")
        delivered("alice", "counted")
        harness.wait_for(lambda: value("mailvane_mail_messages", **received) > before,
                         "the entry is counted")
        harness.wait_for(lambda: value("mailvane_log_unread_bytes") == 0, "all is read")
        done, failed = (value("mailvane_changes_total", result=result)
                        for result in ("done", "failed"))
        self.assert_saved(smtp_hostname="metrics.example.test")
        with harness.listener(2526):
            self.assertFalse(harness.save(smtp_port=2526)["success"])
        self.assertEqual(value("mailvane_changes_total", result="done"), done + 1)
        self.assertEqual(value("mailvane_changes_total", result="failed"), failed + 1)
        self.assertEqual(value("mailvane_generation_number"),
                         ask("generations")["items"][-1]["number"])
        self.assertEqual(value("mailvane_change_pending"), 0)
        self.assertGreater(value("mailvane_certificate_ends_timestamp_seconds"),
                           value("mailvane_certificate_begins_timestamp_seconds"))
        ends = "mailvane_certificate_ends_timestamp_seconds"
        before = value(ends)
        make("other", harness.DOMAIN)
        self.addCleanup(ctl, "tls", "remove")
        self.assertEqual(ctl("tls", "install", "/root/other.cert", "/root/other.key")[0], 0)
        self.assertNotEqual(value(ends), before)

    def test_replace_a_file_that_everybody_can_read(self):
        with tempfile.TemporaryDirectory() as folder:
            path = folder + "/mailvane.prom"
            for _ in range(2):
                self.assertEqual(ctl("metrics", path)[0], 0)
                status = os.stat(path)
                self.assertEqual((status.st_mode & 0o777, status.st_uid), (0o644, 0))
                self.assertEqual(os.listdir(folder), ["mailvane.prom"])
            with open(path, encoding="ascii") as file:
                self.assertTrue(samples(file.read()))
