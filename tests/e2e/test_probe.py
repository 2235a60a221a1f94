"""The probe: under Wine it asks all its questions, finds what is known to differ here, and leaves nothing."""
import shutil

import support
from ftp import PASSWORD, Server
from support import ScratchTest

NO_SERVER = "no-such-server.invalid"


class ProbeTest(ScratchTest):
    def setUp(self):
        super().setUp()
        self.scratch.chmod(0o711)  # the server's user passes through
        self.folder = self.scratch / "folder"
        self.folder.mkdir()
        self.program = support.BIN.parent / "probe" / "bin" / "windows-probe.exe"

    def ask(self, code, *options):
        """(answer, verdict) of each question, in a run that must end with an exit code."""
        outcome = self.assert_ends(code, "--path", self.folder, *options, program=self.program)
        *lines, counts = outcome.output.splitlines()
        rows = [line.split(" | ") for line in lines]
        self.assertEqual({len(row) for row in rows}, {4}, outcome)
        answers = {question: (answer, verdict) for question, _, answer, verdict in rows}
        self.assertEqual(len(answers), len(rows), "two questions have one text")
        verdicts = [verdict for _, verdict in answers.values()]
        asked = verdicts.count("as expected") + verdicts.count("DIFFERS")
        self.assertEqual(counts, f"{asked} asked, {verdicts.count('DIFFERS')} differ, "
                                 f"{verdicts.count('NOT ASKED')} could not be asked")
        self.assertEqual(list(self.folder.iterdir()), [])
        return answers

    def test_every_question_is_answered_and_nothing_is_left(self):
        server = Server(self, "vsftpd")
        beside = self.scratch / "installed"
        shutil.copytree(support.BIN, beside)
        self.program = shutil.copy(self.program, beside)
        answers = self.ask(0, "--server", server.address, "--user", server.user, "--password", PASSWORD,
                           "--folder", "packets")
        self.assertEqual(list(server.packets.iterdir()), [])
        self.assertNotIn("NOT ASKED", {verdict for _, verdict in answers.values()})
        for question, expected in {
            "The unfinished file of a process that dies": ("gone", "as expected"),
            "Names that differ in case": ("one file", "as expected"),
            "Entering ./..": ("one up: /packets", "as expected"),
            "An unknown server": ("error 12007", "as expected"),
            "SIZE after a get": ("done, reply 213 7", "as expected"),
            "A search while another one is open": ("done", "DIFFERS"),
            'A search for "b?1?.mdb" finds b[1].mdb': ("only that: b[1].mdb", "as expected"),
            "znFramework.dll, type library 1: its classes, created from there":
                ("all: ZNEventLog, ZNStartup, ZNRegistry, ZNPropertySet", "as expected"),
        }.items():
            self.assertEqual(answers.get(question), expected, question)

    def test_what_is_not_given_is_left_out(self):
        answers = self.ask(0)
        self.assertEqual({question for question, (_, verdict) in answers.items() if verdict == "left out"} -
                         {"The size of a copy while CopyFile makes it"}, {"FTP", "Use without registration"})

    def test_a_server_or_folder_that_is_not_there(self):
        reached = self.ask(1, "--server", NO_SERVER, "--user", "me", "--password", PASSWORD)
        self.assertEqual(reached[f"The FTP server {NO_SERVER}"],
                         (f"connect to {NO_SERVER}: error 12007", "NOT ASKED"))
        outcome = self.assert_ends(1, "--path", self.scratch / "missing", program=self.program)
        self.assertRegex(outcome.output, r"missing\\windows-probe-.* NOT ASKED")

    def test_bad_usage(self):
        for options in (["--server", NO_SERVER], ["--user", "me"], ["surplus"]):
            with self.subTest(options):
                self.assertIn("--help", self.assert_ends(2, *options, program=self.program).errors)
