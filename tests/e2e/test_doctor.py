"""The examination of an installation."""
import os
import shutil

from objects import JsonTest
from support import Mount, files_below, run_with_temp


class DoctorTest(JsonTest):
    def to_do(self, code=1):
        """What is to be done: {check: [what]}."""
        found = {}
        for item in self.json(code, "doctor", self.field):
            self.assertEqual(item["ok"], item["advice"] is None, item)
            if not item["ok"]:
                found.setdefault(item["check"], []).append(item["what"])
        return found

    def assert_only(self, check, *texts):
        found = self.to_do()
        self.assertEqual(found.keys(), {check}, found)
        for text in texts:
            self.assertIn(text, "\n".join(found[check]))

    def test_a_good_installation(self):
        self.assertEqual(self.to_do(0), {})
        self.send("a.mdb")
        before = files_below(self.root)
        outcome = self.assert_ends(0, "doctor", self.field.settings)
        self.assertEqual(files_below(self.root), before)
        self.assertIn("All is well.", outcome.output)
        self.assertIn("offers 0 packets", outcome.output)

    def test_bad_settings_are_all_that_is_told(self):
        self.field.change("role", "foo")
        self.assert_only("settings", "[host] role = foo")

    def test_folders(self):
        self.field.outbox.rmdir()
        self.field.sent.rmdir()
        self.field.inbox.rmdir()
        self.field.inbox.write_bytes(b"a file")
        self.assert_only("folder", "[folders] outbox", "no such folder", "[folders] inbox", "this is a file")
        for name in ("inbox", "send"):
            self.field.change(name, f"Q:\\{name}")
        self.field.change("receive", f"field\\{300 * 'x'}")
        self.assert_only("folder", "[folders] inbox = Q:", "[folders] send = Q:", "[folders] receive")
        self.assertFalse(self.field.sent.exists())
        outcome = self.assert_ends(1, "status", self.field.settings)
        self.assertIn("[folders] send = Q:\\send: this drive or share is not there", outcome.errors)
        self.field.change("encoder", "zip")
        self.assertIn("to do folder: TEMP: ", run_with_temp(self.field.inbox / "2", "doctor", self.field.settings).output)

    def test_rights_and_space(self):
        volume = Mount(self, self.field.send, "1m")
        self.assert_only("space", "[folders] send")
        volume.remount("ro,size=100m")
        self.assert_only("folder", "[folders] send")

    def test_the_log(self):
        self.field.log_file.mkdir()
        self.assert_only("log", "[log] file")

    def test_programs_and_the_reference(self):
        self.field.change("zip_util_location", self.scratch)
        self.field.change("reference_path", self.scratch / "Base.AXR")
        found = self.to_do()
        self.assertEqual(found.keys(), {"program", "reference"}, found)
        self.assertIn("Unzip.exe is missing", found["program"][0])
        self.assertIn("Base.AXR is missing", found["reference"][0])
        (self.scratch / "Unzip.exe").write_bytes(b"")
        self.assertIn("Unzip.exe cannot be started", self.to_do()["program"][0])

    def test_differences_without_a_reference(self):
        self.field.change("encoder", "xdelta")
        self.assert_only("reference", "no reference file is named")
        self.field.change("encoder", "none")
        self.assertEqual(self.to_do(0), {})
        for folder in (self.to_field, self.field.receive):
            difference = folder / "a.mdb~Base.axd"
            difference.write_bytes(b"waits")
            self.assert_only("reference", "no reference file is named")
            difference.unlink()

    def test_the_remote_side(self):
        shutil.rmtree(self.to_enterprise)
        self.assert_only("remote", "to-enterprise is not there")
        Mount(self, self.to_enterprise, "10m").remount("ro")
        self.assert_only("remote", "to-enterprise takes no file")
        self.to_field.rmdir()
        self.assert_only("remote", "to-enterprise takes no file", "to-field is not there")
        self.assertIn("the other side's first run", self.assert_ends(1, "doctor", self.field.settings).output)
        self.to_field.touch()
        self.assert_only("remote", "to-enterprise takes no file", "to-field: this is a file")

    def test_leftovers(self):
        for path in (self.field.inbox / "a.mdb_bak", self.field.inbox / "a.mdb_late", self.to_field / "~1-2.arriving", self.to_field / "RWD_TestFile.txt",
                     self.field.receive.with_name("receive.refused") / "x.afz",
                     self.field.send.with_name("send.older") / "b.mdb"):
            path.parent.mkdir(exist_ok=True)
            path.write_bytes(b"left")
        self.assert_only("leftover", "a.mdb_bak", "a.mdb_late", "~1-2.arriving", "RWD_TestFile.txt",
                         "receive.refused holds 1 file", "send.older holds 1 file")
        self.assertEqual(len(self.to_do()["leftover"]), 6)

    def test_a_last_run_that_left_something(self):
        self.put(self.field, "bad.afz")
        self.assert_run(self.field, 1)
        os.remove(self.field.outbox / "bad.afz")
        self.assert_only("last_run")
        self.assertIn("-> See znhost status.", self.assert_ends(1, "doctor", self.field.settings).output)
