"""The mobile configuration of the registry, shown on the command line."""
import re
import subprocess

import support
from support import HostTest, run, windows

PRODUCT = "HKLM\\Software\\znMobile"


class ConfigTest(HostTest):
    def setUp(self):
        super().setUp()
        self.bits = re.search(r"\((32|64)-bit\)", run("--version").output).group(1)

    def registry(self, action, key, *arguments):
        subprocess.run([str(support.WINE), "reg", action, key, *arguments, "/f", f"/reg:{self.bits}"], check=True,
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def store(self, key, name, value, kind="REG_SZ"):
        self.registry("add", key, "/v", name, "/t", kind, "/d", value)
        self.addCleanup(self.registry, "delete", key, "/v", name)

    def config(self):
        """Rows of the table: {"Home": [enterprise, field]}, and the whole output."""
        outcome = run("config", windows(self.field.settings))
        self.assertEqual(outcome.code, 0, outcome)
        rows = (re.split(r"\s{2,}", line) for line in outcome.output.splitlines())
        return {name: values for name, *values in rows}, outcome.output

    def test_both_tables_are_shown_and_the_password_is_not(self):
        self.store(PRODUCT, "MobileConfigValue", "1", "REG_DWORD")
        self.store(PRODUCT, "EnterpriseHome", "D:\\Mobile")
        self.store(PRODUCT, "FieldHome", "C:\\Größe")
        self.store(PRODUCT + "\\Transport", "FTPPassword", "5EC12E7")
        self.field.outbox.rmdir()
        rows, output = self.config()
        self.assertEqual(rows["Name"], ["Enterprise", "Field"])
        self.assertEqual(rows["Home"], ["D:\\Mobile", "C:\\Größe"])
        self.assertEqual(rows["Incoming"], ["D:\\Mobile\\Transport\\Incoming", "C:\\Größe\\Transport\\Incoming"])
        self.assertEqual(rows["FTPEnterpriseToField"], ["EnterpriseToField"] * 2)
        self.assertEqual(rows["FTPPassword"], ["(set)", "(set)"])
        self.assertNotIn("5EC12E7", output)

    def test_a_bad_value_is_named(self):
        self.store(PRODUCT, "MobileConfigValue", "many")
        outcome = run("config", windows(self.field.settings))
        self.assertEqual(outcome.code, 1, outcome)
        self.assertIn("MobileConfigValue = many", outcome.errors)
