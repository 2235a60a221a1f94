"""Bad usage and bad settings are refused before anything moves, and the message names the culprit."""
from support import HostTest, run, windows

# What is done to the text of field.ini, and what the message must hold.
BAD_SETTINGS = {
    "wrong role": (("role = field", "role = foo"), ["[host] role = foo", "field, enterprise"]),
    "missing role": (("role = field", ""), ["[host] role is missing"]),
    "empty role": (("role = field", "role ="), ["[host] role has no value"]),
    "wrong user_interface": (("user_interface = no", "user_interface = maybe"),
                             ["[host] user_interface = maybe", "yes, no"]),
    "missing outbox": (("outbox = field\\outbox", ""), ["[folders] outbox is missing"]),
    "missing sent": (("sent = field\\sent", ""), ["[folders] sent is missing"]),
    "empty inbox": (("inbox = field\\inbox", "inbox ="), ["[folders] inbox has no value"]),
    "missing remote folder": (("remote_send = share\\to-enterprise", ""),
                              ["[folders] remote_send is missing"]),
    "unknown key": (("[log]", "[log]\ncolour = red"), ["[log] colour", "unknown key"]),
    "line that is no key": (("[log]", "[log]\nnonsense"), ["[log] nonsense", "unknown key"]),
    "unknown section": (("[log]", "[extra]\na = b\n[log]"), ["[extra]", "unknown section"]),
    "key twice": (("outbox = field\\outbox", "outbox = field\\outbox\noutbox = x"),
                  ["[folders] outbox", "2 times"]),
    "key before the sections": (("[host]", "stray = 1\n[host]"), ["stray"]),
    "one folder for two": (("inbox = field\\inbox", "inbox = FIELD\\OUTBOX"),
                           ["[folders] inbox", "[folders] outbox"]),
    "folder in another": (("sent = field\\sent", "sent = field\\outbox\\sent"),
                          ["[folders] sent", "[folders] outbox"]),
    "impossible path": (("send = field\\send", "send = field\\se?nd"), ["[folders] send", "character"]),
    "absent outbox": (("outbox = field\\outbox", "outbox = nowhere"), ["[folders] outbox", "no such folder"]),
    "long extension": (("out_extension = .afz", "out_extension = .zipx"),
                       ["[zip] out_extension = .zipx", "a dot and three"]),
    "packets that cannot be encoded": (
        ("in_extension = .mdb\n\n; Extension that differences get; the same on both sides. Default: .axd",
         "in_extension = .dat"),
        ["[xdelta] in_extension = .dat", ".xml"]),
    "one extension for both": (("out_extension = .axd", "out_extension = .AFZ"),
                               ["[xdelta] out_extension = .AFZ", "[zip] out_extension"]),
    "extension that stays": (("out_extension = .afz", "out_extension = .mdb"),
                             ["[zip] out_extension = .mdb", "[zip] in_extension"]),
    "reference of another kind": (("reference_path = ", "reference_path = refs\\base.mdb"),
                                  ["[xdelta] reference_path", ".AXR"]),
    "reference with a tilde": (("reference_path = ", "reference_path = refs\\ba~se.axr"),
                               ["[xdelta] reference_path", "~"]),
    "two problems": (("role = field", "role = foo\ncolour = red"), ["[host] role = foo", "[host] colour"]),
}


class SettingsTest(HostTest):
    def test_bad_settings_name_their_key(self):
        packet = self.put(self.field, "a.mdb")
        good = self.field.settings.read_text(encoding="utf-8")
        for title, ((old, new), messages) in BAD_SETTINGS.items():
            with self.subTest(title):
                self.assertEqual(good.count(old + "\n"), 1)
                self.field.settings.write_text(good.replace(old + "\n", new + "\n"), encoding="utf-8")
                outcome = self.field.run()
                self.assertEqual(outcome.code, 2, outcome)
                for message in messages:
                    self.assertIn(message, outcome.errors)
                self.assertTrue(packet.exists())

    def test_bad_usage(self):
        for arguments, message in ((["run"], "SETTINGS"), (["frob"], "frob"), (["demo", "--foo"], "--foo"),
                                   ([], "A command ("), (["run", "Z:\\nowhere.ini"], "nowhere.ini")):
            with self.subTest(arguments):
                outcome = run(*arguments)
                self.assertEqual(outcome.code, 2, outcome)
                self.assertIn(message, outcome.errors)

    def test_init_overwrites_nothing(self):
        self.field.settings.write_text("mine")
        self.enterprise.settings.unlink()
        outcome = run("init", windows(self.root))
        self.assertEqual(outcome.code, 2, outcome)
        self.assertIn("field.ini exists already", outcome.errors)
        self.assertEqual(self.field.settings.read_text(), "mine")
        self.assertFalse(self.enterprise.settings.exists())

    def test_a_file_in_place_of_a_local_folder(self):
        for name in ("outbox", "sent", "inbox", "send", "receive"):
            with self.subTest(name):
                folder = getattr(self.field, name)
                folder.rmdir()
                folder.write_text("a file")
                outcome = self.field.run()
                self.assertEqual(outcome.code, 2, outcome)
                self.assertIn(f"[folders] {name}", outcome.errors)
                folder.unlink()
                folder.mkdir()

    def test_missing_local_folders_are_made_anew(self):
        for side in (self.field, self.enterprise):
            for name in ("sent", "inbox", "send", "receive"):
                getattr(side, name).rmdir()
        self.put(self.field, "sub/a.mdb")
        self.assert_next_cycle_delivers()

    def test_a_log_that_cannot_be_written_stops_the_run_at_once(self):
        packet = self.put(self.field, "a.mdb")
        self.field.log_file.mkdir()
        outcome = self.assert_run(self.field, 2)
        self.assertIn("[log] file", outcome.errors)
        self.assertTrue(packet.exists())

    def test_absolute_paths_and_letter_case(self):
        self.field.change("outbox", windows(self.field.outbox))
        text = self.field.settings.read_text(encoding="utf-8").replace("role = field", "ROLE = Field")
        self.field.settings.write_text("\ufeff" + text.replace("[folders]", "[Folders]"), encoding="utf-8")
        self.put(self.field, "a.mdb")
        self.assert_next_cycle_delivers()
