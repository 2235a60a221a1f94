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

    def test_both_tables_are_shown_and_the_password_is_not(self):
        self.store(PRODUCT, "MobileConfigValue", "1", "REG_DWORD")
        self.store(PRODUCT, "EnterpriseHome", "D:\\Mobile")
        self.store(PRODUCT, "FieldHome", "C:\\Größe")
        self.store(PRODUCT + "\\Transport", "FTPPassword", "5EC12E7")
        self.field.outbox.rmdir()
        output = self.assert_ends(0, "config", self.field.settings).output
        rows = {name: values for name, *values in (re.split(r"\s{2,}", line) for line in output.splitlines())}
        self.assertEqual(rows["Name"], ["Enterprise", "Field"])
        self.assertEqual(rows["Home"], ["D:\\Mobile", "C:\\Größe"])
        self.assertEqual(rows["Incoming"], ["D:\\Mobile\\Transport\\Incoming", "C:\\Größe\\Transport\\Incoming"])
        self.assertEqual(rows["FTPEnterpriseToField"], ["EnterpriseToField"] * 2)
        self.assertEqual(rows["FTPPassword"], ["(set)", "(set)"])
        self.assertNotIn("5EC12E7", output)

    def test_a_bad_value_is_named(self):
        self.store(PRODUCT, "MobileConfigValue", "many")
        self.assertIn("MobileConfigValue = many", self.assert_ends(1, "config", self.field.settings).errors)

    def test_a_reference_by_whose_name_the_other_side_finds_none(self):
        packet = self.put(self.field, "a.mdb")
        reference = self.scratch / "Base~1.AXR"
        reference.write_bytes(packet.read_bytes())
        self.store(PRODUCT + "\\Transport", "XDeltaRegPath", windows(reference))
        self.field.change("encoder", "xdelta")
        self.assertIn(reference.name, self.assert_ends(1, "run", self.field.settings).errors)
        self.assertIn(f"to do reference: {windows(reference)} has a name", self.assert_ends(1, "doctor", self.field.settings).output)
        self.assertTrue(packet.exists())
