"""Bad usage and bad settings are refused before anything moves, and the message names the culprit."""
import re

from support import Holder, HostTest, files_below, run, windows

# A line of field.ini, what takes its place, and what the message must hold.
BAD_SETTINGS = [
    ("role = field", "role = foo", "[host] role = foo", "field, enterprise"),
    ("role = field", "", "[host] role is missing"),
    ("role = field", "role =", "[host] role has no value"),
    ("user_interface = no", "user_interface = maybe", "[host] user_interface = maybe", "yes, no"),
    ("sent = field\\sent", "", "[folders] sent is missing"),
    ("[log]", "[log]\ncolour = red", "[log] colour", "unknown key"),
    ("[log]", "[log]\n \t= 5", "a line has no name before its ="),
    ("[log]", "[log]\nnonsense", "[log] nonsense", "unknown key"),
    ("[log]", "[extra]\na = b\n[log]", "[extra]", "unknown section"),
    ("outbox = field\\outbox", "outbox = field\\outbox\noutbox = x", "[folders] outbox", "2 times"),
    ("[host]", "stray = 1\n[host]", "stray"),
    ("inbox = field\\inbox", "inbox = FIELD\\OUTBOX", "[folders] inbox", "[folders] outbox"),
    ("sent = field\\sent", "sent = field\\outbox\\sent", "[folders] sent", "[folders] outbox"),
    ("send = field\\send", "send = field\\se?nd", "[folders] send", "character"),
    ("send = field\\send", "send = Y:\\", "[folders] send = Y:\\: the folder must not be the root"),
    ("receive = field\\receive", "receive = \\\\server\\share", "[folders] receive", "must not be the root"),
    ("remote_receive = share\\to-field", "remote_receive = Y:\\", "[folders] remote_receive = Y:\\: the folder must not be the root"),
    ("inbox = field\\inbox", "inbox = field\\receive.refused\\in", "[folders] inbox", "receive.refused, where a run"),
    ("receive = field\\receive", "receive = c:receive", "[folders] receive = c:receive", "behind the drive"),
    ("file = field.log", "file = field\\OUTBOX\\field.log", "[log] file", "must not lie in the folder of [folders] outbox"),
    ("file = field.log", "file = field\\send.status", "[log] file", "send.status, which belongs to the transport"),
    ("file = field.log", "file = FIELD.INI", "[log] file", "must not be the settings file"),
    ("reference_path = ", "reference_path = share\\to-field\\Base.AXR", "[xdelta] reference_path", "[folders] remote_receive"),
    ("zip_util_location = ", "zip_util_location = field\\inbox\\bin", "[zip] zip_util_location", "[folders] inbox"),
    ("inbox = field\\inbox", "inbox = field\\inbox ; the office", "[folders] inbox", "line of its own"),
    ("outbox = field\\outbox", "outbox = nowhere", "[folders] outbox", "no such folder"),
    ("out_extension = .afz", "out_extension = .zipx", "[zip] out_extension = .zipx", "a dot and three"),
    ("in_extension = .mdb\n\n; Extension that differences get; the same on both sides. Default: .axd",
     "in_extension = .dat", "[xdelta] in_extension = .dat", ".xml"),
    ("out_extension = .axd", "out_extension = .AFZ", "[xdelta] out_extension = .AFZ", "[zip] out_extension"),
    ("out_extension = .afz", "out_extension = .mdb", "[zip] out_extension = .mdb", "[zip] in_extension"),
    ("reference_path = ", "reference_path = refs\\base.mdb", "[xdelta] reference_path", ".AXR"),
    ("reference_path = ", "reference_path = refs\\ba~se.axr", "[xdelta] reference_path", "~"),
    *((f"password = \n\n\n[{after}]", f"password = {64 * 'A'}\n\n\n[{after}]",
       f"{title}: the password cannot be deciphered", 'znhost password --machine "', way_out)
      for title, after, way_out in (("[ftp] password", "https", '.ini"\n'), ("[https] proxy_password", "zip", '.ini" --proxy\n'))),
    ("role = field", "role = foo\ncolour = red", "[host] role = foo", "[host] colour"),
]


class SettingsTest(HostTest):
    def test_bad_settings_name_their_key(self):
        packet = self.put(self.field, "a.mdb")
        good = self.field.settings.read_text(encoding="utf-8")
        for old, new, *messages in BAD_SETTINGS:
            with self.subTest(new or f"without {old}"):
                self.assertEqual(good.count(old + "\n"), 1)
                self.field.settings.write_text(good.replace(old + "\n", new + "\n"), encoding="utf-8")
                outcome = self.assert_run(self.field, 2)
                for message in messages:
                    self.assertIn(message, outcome.errors)
                self.assertTrue(packet.exists())

    def test_names_that_the_transport_keeps_on_a_server(self):
        for old, new in (("transport", "https"), ("remote_send", "/share/to-enterprise")):
            self.field.change(old, new)
        for folder in ("to-field.Claims", "/to-field.uploads/", "in.damaged/to-field"):
            self.field.change("remote_receive", folder)
            self.assertIn(f"remote_receive = {folder}: the path must hold no name that ends in", self.assert_run(self.field, 2).errors)

    def test_the_settings_file_is_no_packet(self):
        self.field.change("reference_path", self.field.inbox / "Base.AXR")
        self.assert_run(self.field)
        text = self.field.settings.read_text(encoding="utf-8")
        for folder in (self.field.outbox, self.to_field, self.field.receive.with_name("receive.refused")):
            folder.mkdir(exist_ok=True)
            self.field.settings = folder / "field.ini"
            self.field.settings.write_text(re.sub(r"= (field[\\.]|share)", lambda found: f"= {windows(self.root)}\\{found[1]}",
                                                  text), encoding="utf-8")
            self.assertIn("the settings file must not", self.assert_run(self.field, 2).errors)
        self.assertEqual(files_below(self.to_enterprise), {})

    def test_what_somebody_is_writing_is_not_used(self):
        self.put(self.field, "a.mdb")
        text = self.field.settings.read_text(encoding="utf-8")
        self.field.settings.write_text(text[:text.index("[ftp]")], encoding="utf-8")
        writer = Holder(self, self.field.settings, "as a writer")
        self.assertIn("Somebody writes to it", self.assert_run(self.field, 2).errors)
        self.field.settings.write_text(text, encoding="utf-8")
        writer.release()
        self.assert_next_cycle_delivers()

    def test_what_is_not_utf_8_is_refused(self):
        good = self.field.settings.read_text(encoding="utf-8")
        for bad in (good.replace("share", "für").encode("cp1252"), good.encode() + b"\0", good.encode("utf-16")):
            self.field.settings.write_bytes(bad)
            self.assertIn("the file is not UTF-8 text", self.assert_run(self.field, 2).errors)

    def test_a_path_in_quotes_may_hold_what_begins_a_comment_elsewhere(self):
        self.field.change("inbox", '"field\\inbox ;a"')
        self.put(self.enterprise, "a.mdb")
        self.assert_run(self.enterprise)
        self.assert_run(self.field)
        self.assertTrue((self.field.inbox.with_name("inbox ;a") / "a.mdb").is_file())

    def test_bad_usage(self):
        for arguments, message in ((["run"], "SETTINGS"), (["frob"], "frob"), (["demo", "--foo"], "--foo"),
                                   ([], "verify, release, password"), *((arguments, "the text is empty") for arguments in
                                     (["run", ""], ["init", ""], ["demo", ""], ["service", "install", "x.ini", "--name", ""])),
                                   (["run", "Z:\\nowhere.ini"], "nowhere.ini")):
            with self.subTest(arguments):
                self.assertIn(message, self.assert_ends(2, *arguments).errors)

    def test_init_overwrites_nothing(self):
        self.field.settings.write_text("mine")
        self.enterprise.settings.unlink()
        self.assertIn("field.ini exists already", self.assert_ends(2, "init", self.root).errors)
        self.assertEqual(self.field.settings.read_text(), "mine")
        self.assertFalse(self.enterprise.settings.exists())

    def test_a_file_in_place_of_a_local_folder(self):
        for name in ("outbox", "sent", "inbox", "send", "receive"):
            with self.subTest(name):
                folder = getattr(self.field, name)
                folder.rmdir()
                folder.write_text("a file")
                outcome = self.assert_run(self.field, 2)
                self.assertIn(f"[folders] {name}", outcome.errors)
                folder.unlink()
                folder.mkdir()

    def test_missing_local_folders_are_made_anew(self):
        for side in (self.field, self.enterprise):
            for name in ("sent", "inbox", "send", "receive"):
                getattr(side, name).rmdir()
        self.deliver("sub/a.mdb")

    def test_a_log_that_cannot_be_written_stops_the_run_at_once(self):
        packet = self.put(self.field, "a.mdb")
        self.field.log_file.mkdir()
        outcome = self.assert_run(self.field, 2)
        self.assertIn("[log] file", outcome.errors)
        self.assertTrue(packet.exists())

    def test_the_log_is_neither_the_settings_nor_the_reference_file(self):
        (self.root / "other").symlink_to(self.root)
        for log, what in (("other\\field.ini", "settings"), ("other\\BASE.axr", "reference")):
            self.field.change("reference_path", "Base.AXR")
            self.field.change("file", log)
            self.assertIn(f"the log must not be the {what} file", self.assert_run(self.field, 2).errors)
        self.assertFalse((self.root / "Base.AXR").exists())

    def test_one_folder_by_two_paths(self):
        """As by a junction, or a drive that stands for a folder."""
        packet = self.put(self.field, "a.mdb")
        (self.root / "other").symlink_to(self.root)
        for key, path, outer in (("inbox", "other\\field\\outbox\\new", "outbox"),
                                 ("receive", "other\\field\\send", "send"),
                                 ("remote_receive", "other\\share\\to-enterprise", "remote_send")):
            good = self.field.settings.read_text(encoding="utf-8")
            self.field.change(key, path)
            for command in ("run", "--dry-run"), ("run", "--every", "1s"), ("run",), ("doctor",):
                outcome = run(*command, self.field.settings)
                self.assertEqual(outcome.code, 1 if command == ("doctor",) else 2, outcome)
                self.assertIn(f"that of [folders] {outer}, where its path leads, too", outcome.errors + outcome.output)
            self.assert_ends(1, "status", self.field.settings)
            self.field.settings.write_text(good, encoding="utf-8")
        self.assertTrue(packet.exists())

    def test_somebody_who_reads_the_log_stops_no_packet(self):
        self.field.log_file.write_text("")
        Holder(self, self.field.log_file, "read")
        self.deliver("a.mdb")

    def test_absolute_paths_letter_case_and_line_ends(self):
        self.field.change("outbox", self.field.outbox)
        text = self.field.settings.read_text(encoding="utf-8").replace("role = field", "ROLE = Field")
        self.field.settings.write_text("\ufeff" + text.replace("[folders]", "[Folders]"), encoding="utf-8", newline="\r")
        self.assert_ends(0, "status", self.field.settings)
        self.deliver("a.mdb")
