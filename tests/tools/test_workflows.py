"""Whether the workflows are well formed, limited in what they may do, and run our own scripts for every change."""

import os
import unittest

import yaml

from project import PROJECT


class Workflows(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.workflows = {file.name: yaml.safe_load(file.read_text("utf-8"))
                         for file in (PROJECT / ".github/workflows").glob("*.yml")}
        cls.jobs = [job for workflow in cls.workflows.values() for job in workflow["jobs"].values()]
        cls.steps = [step for job in cls.jobs for step in job["steps"]]

    def test_they_may_read_and_no_more(self):
        for name, workflow in self.workflows.items():
            self.assertEqual(workflow["permissions"], {"contents": "read"}, name)

    def test_no_job_runs_for_ever(self):
        for job in self.jobs:
            self.assertLessEqual(job["timeout-minutes"], 240)

    def test_foreign_actions_are_named_by_a_commit_and_leave_no_credentials(self):
        for step in self.steps:
            if action := step.get("uses"):
                self.assertRegex(action, r"^actions/[\w-]+@[0-9a-f]{40}$")
                if "/checkout@" in action:
                    self.assertIs(step["with"]["persist-credentials"], False)

    def test_they_run_our_own_scripts(self):
        for step in self.steps:
            command = step.get("run", "apt-get").split()[0]
            if command != "apt-get":    # installs git, before our scripts are there
                self.assertTrue(os.access(PROJECT / command, os.X_OK), command)

    def test_every_change_is_checked_on_linux_and_on_a_mac_and_leaves_what_it_made(self):
        runs = {name: [step.get("run") for step in job["steps"]]
                for name, job in self.workflows["checks.yml"]["jobs"].items()}
        self.assertIn(".ci/run", runs["linux"])
        self.assertIn("./test", runs["macos"])
        self.assertIn("tools/make-package", runs["macos"])
        kept = " ".join(step["with"]["path"] for step in self.steps if "upload-artifact" in step.get("uses", ""))
        for what in ("build/pictures", ".deb", ".dmg"):
            self.assertIn(what, kept)


if __name__ == "__main__":
    unittest.main()
