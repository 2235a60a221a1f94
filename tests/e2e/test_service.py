"""The loop as a service, with Wine's service manager."""
import os
import signal
import subprocess
import time

import support
from support import HostTest, files_below, finish, processes_naming, run, wait_until, windows


class ServiceTest(HostTest):
    def service(self, action, *options, code=0):
        return self.assert_ends(code, "service", action, self.field.settings, "--name", self.scratch.name, *options)

    def install(self, root):
        super().install(root)
        self.log_of_service = root / "field.service.log"
        self.addCleanup(run, "service", "remove", self.field.settings, "--name", self.scratch.name)

    def manager(self, *arguments):
        """What a program of the system says."""
        return subprocess.run([str(support.WINE), *arguments], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, check=False, timeout=support.TIMEOUT).stdout.decode()

    def told(self):
        return self.log_of_service.read_text(encoding="utf-8") if self.log_of_service.exists() else ""

    def change_to_ftp(self):
        good = self.field.settings.read_text(encoding="utf-8")
        text = good.replace("transport = folder", "transport = ftp").replace("= share\\", "= ")
        self.field.settings.write_text(text, encoding="utf-8")
        return good

    def test_a_service_from_its_installation_to_its_removal(self):
        self.put(self.field, "a.mdb")
        outcome = self.service("install", "--every", "1s", "--start", "auto")
        self.assertIn(f"Its log is {windows(self.log_of_service)}", outcome.output)
        self.assertIn("Remove it first", self.service("install", code=1).errors)
        configuration = self.manager("reg", "query", f"HKLM\\System\\CurrentControlSet\\Services\\{self.scratch.name}")
        for text in ("PreshutdownTimeout    REG_DWORD    0x7530", "service run", windows(self.field.settings), "NetworkService", "packets every 1s"):
            self.assertIn(text, configuration)
        self.assertIn("successfully", self.manager("net", "start", self.scratch.name))
        wait_until(lambda: (self.to_enterprise / "a.mdb").exists())
        self.assertIn('"interval":1,', self.field.send.with_name("send.status").read_text(encoding="utf-8"))
        self.service("start")  # it runs already
        self.field.change("role", "foo")
        wait_until(lambda: "no cycle: " in self.told())
        self.field.change("role", "field")
        good = self.change_to_ftp()
        wait_until(lambda: "let the Task Scheduler" in self.told())
        self.service("stop")
        self.service("stop")
        self.assertTrue(self.told().rstrip().endswith("the service has stopped"), self.told())
        self.service("remove")
        self.assertIn("does not exist", self.service("start", code=1).errors)
        self.field.settings.write_text(good, encoding="utf-8")
        self.assert_received()

    def test_the_service_of_another_installation_with_settings_of_the_same_name(self):
        self.service("install", "--start", "manual")
        own = self.field.settings
        self.install(self.scratch / "other")
        for action in ("start", "stop", "remove"):
            self.assertIn(f"runs with the settings {windows(own)}; name the one", self.service(action, code=1).errors)
        self.field.settings = own
        self.service("remove")
        refused = self.assert_ends(1, "service", "stop", own, "--name", "EventLog").errors
        self.assertIn("does not run znhost", refused)

    def test_a_second_service_of_settings_of_the_same_name(self):
        self.service("install", "--start", "manual")
        other = f"{self.scratch.name}-other"
        self.addCleanup(run, "service", "remove", self.field.settings, "--name", other)
        self.assert_ends(0, "service", "install", self.field.settings, "--start", "manual", "--name", other)

    def test_a_user_interface_that_nobody_sees(self):
        self.field.change("user_interface", "yes")
        self.to_enterprise.rmdir()
        self.to_enterprise.write_bytes(b"a file")
        self.put(self.field, "a.mdb")
        self.service("install", "--every", "1s")
        self.service("start")
        wait_until(lambda: "a.mdb: waiting" in self.told())
        self.assertIn("[host] user_interface = yes: nobody would see message boxes here", self.told())
        self.service("stop")

    def test_a_stop_in_the_middle_of_a_transfer(self):
        def attempt(load):
            self.put_many(40 * load, 50_000, self.field.send)
            self.service("install", "--every", "1s")
            self.service("start")
            wait_until(lambda: len(os.listdir(self.to_enterprise)) >= 3)
            self.service("stop")
            told = self.told()
            self.service("remove")
            return files_below(self.field.send) and told

        told = self.in_time(attempt)
        self.assertIn("stopped by the user", told)
        self.assertIn("the service has stopped", told)
        self.assert_next_cycle_delivers()

    def test_settings_that_became_bad_before_it_starts(self):
        self.put(self.field, "a.mdb")
        logs = self.root / "logs"
        logs.mkdir()
        self.field.change("file", logs / "field.log")
        self.service("install", "--every", "1s")
        self.field.change("role", "foo")
        self.service("start")
        wait_until(lambda: "no cycle: " in self.told())
        self.log_of_service = logs / "field.service.log"
        self.field.change("role", "field")
        wait_until(lambda: (self.to_enterprise / "a.mdb").exists())
        wait_until(self.log_of_service.exists)
        self.field.change("max_kilobytes", "1")
        with self.log_of_service.open("a", encoding="utf-8") as log:
            log.write("of earlier cycles\n" * 100)
        wait_until((logs / "field.service.1.log").exists)
        self.field.change("role", "foo")
        wait_until(lambda: "no cycle: " in self.told())
        self.service("stop")
        self.assertTrue(self.told().rstrip().endswith("the service has stopped"), self.told())

    def test_a_stop_while_it_starts(self):
        self.service("install", "--every", "1h")
        start, stop = (["service", action, self.field.settings, "--name", self.scratch.name] for action in ("start", "stop"))
        starting = support.start(*start)
        wait_until(lambda: list(processes_naming(self.scratch.name, "--every")))
        (process, _), = processes_naming(self.scratch.name, "--every")
        os.kill(int(process.name), signal.SIGSTOP)
        try:
            self.assertIn("START_PENDING", self.manager("sc", "query", self.scratch.name))
            stopping = support.start(*stop)
            time.sleep(1)
        finally:
            os.kill(int(process.name), signal.SIGCONT)
        finish(starting)
        outcome = finish(stopping)
        self.assertEqual(outcome.code, 0, outcome)
        self.assertIn("STOPPED", self.manager("sc", "query", self.scratch.name))

    def test_an_account_without_rights(self):
        self.service("install", "--every", "1s")
        self.field.settings.unlink()
        # To open a folder as a file is denied.
        self.field.settings.mkdir()
        self.service("start")
        self.service("stop")
        self.assertIn("no cycle: The settings file cannot be read", self.told())
        self.log_of_service.unlink()
        self.log_of_service.mkdir()
        self.assertIn("neither read the settings nor write a log", self.service("start", code=1).errors)

    def test_what_is_refused(self):
        self.assertIn("no / and no \\: choose another one with --name",
                      self.assert_ends(1, "service", "install", self.field.settings, "--name", "a/b").errors)
        self.change_to_ftp()
        self.assertIn("let the Task Scheduler", self.service("install", code=2).errors)
        self.assertIn("--start", self.service("install", "--start", "soon", code=2).errors)
        self.assertIn("Only the service manager", self.service("run", code=1).errors)
        self.assertIn("subcommand is required", self.assert_ends(2, "service").errors)
