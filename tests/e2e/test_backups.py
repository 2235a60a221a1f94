"""Backups of received packets, used from the command line."""
from support import HostTest, run, windows


class BackupTest(HostTest):
    def backups(self, *arguments):
        return run("backups", windows(self.enterprise.settings), *arguments)

    def test_a_packet_comes_back_from_its_backup(self):
        self.enterprise.change("backups", "yes")
        for name in ("a.mdb", "sub/b~1.mdb"):
            self.put(self.field, name)
        self.assert_run(self.field, 0)
        self.assert_run(self.enterprise, 0)
        self.assert_delivered()
        listed = self.backups()
        self.assertEqual(listed.output.split(), ["a", "b", "2", "packets", "with", "a", "backup"])
        (self.enterprise.inbox / "a.mdb").unlink()
        (self.enterprise.inbox / "sub" / "b~1.mdb").write_bytes(b"damaged")
        self.assertEqual(self.backups("--restore-all").code, 0)
        self.assert_run(self.enterprise, 0)
        self.assert_delivered()
        self.assertEqual(self.backups("--destroy", "a").code, 0)
        self.assertIn("1 packet with a backup", self.backups().output)
        refused = self.backups("--restore", "a")
        self.assertEqual(refused.code, 1, refused)
        self.assertIn("no backup of packet a", refused.errors)
        self.assertEqual(self.backups("--restore", "a", "--destroy", "b").code, 2)
