"""Whole cycles by scripts, over a shared folder and through servers, and the examples that can run here."""
import os
import pathlib
import re
import shutil
import subprocess
import sys

import dav
import support
from ftp import PASSWORD, Server
from support import ROOT, ScratchTest, files_below, run, skip, windows

EXAMPLES = ROOT / "examples"
SCRIPTS = ROOT / "tests" / "e2e" / "scripts"
# A script ends with this code when it ran to its end; an error that nobody caught ends it with 0.
DONE = 42


class ScriptTest(ScratchTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.bits = int(re.search(r"\((32|64)-bit\)", run("--version").output).group(1))
        cls.register("/s")
        cls.addClassCleanup(cls.register, "/s", "/u")

    @classmethod
    def system_program(cls, name):
        return name if cls.bits == 64 else f"C:\\windows\\syswow64\\{name}"

    @classmethod
    def register(cls, *options):
        for library in ("znFramework.dll", "znTransporter.dll"):
            outcome = run(*options, support.BIN / library, program=cls.system_program("regsvr32.exe"))
            assert outcome.code == 0, outcome

    def setUp(self):
        super().setUp()
        self.field = self.scratch / "field"
        self.outbox = self.field / "outbox"

    def script(self, script, code, *arguments):
        outcome = run("/nologo", script, *arguments, program=self.system_program("cscript.exe"))
        self.assertEqual(outcome.code, code, outcome)
        return outcome.output.splitlines()

    def put(self, folder, *names):
        """Hashes of new packets, by their names."""
        folder.mkdir(parents=True, exist_ok=True)
        for name in names:
            (folder / name).parent.mkdir(exist_ok=True)
            (folder / name).write_bytes(os.urandom(20_000))
        return files_below(folder)

    def assert_exchange(self, run_cycle, share):
        """One run sends all of the outbox, and delivers what the other side has sent."""
        sent = self.put(self.outbox, "a.mdb", "SUB/b.xml")
        received = self.put(share / "to-field", "c.mdb", "SUB/d.xml")
        run_cycle()
        self.assertEqual(files_below(share / "to-enterprise"), sent)
        self.assertEqual(files_below(self.field), {f"inbox/{name}": digest for name, digest in received.items()})
        self.assertEqual(files_below(share / "to-field"), {})

    def assert_trouble(self, run_cycle, share):
        """A step that fails stops no other one, and loses nothing."""
        shutil.rmtree(share / "to-enterprise")
        (share / "to-enterprise").write_bytes(b"no folder")
        sent = self.put(self.outbox, "e.mdb")
        waiting = self.put(self.field / "receive", "f.mdb")
        run_cycle()
        self.assertEqual(files_below(self.field / "send"), sent)
        self.assertEqual(files_below(self.field / "inbox")["f.mdb"], waiting["f.mdb"])

    def assert_example(self, cycle):
        share = self.scratch / "share"
        self.assert_exchange(lambda: cycle(0, self.field, share), share)
        self.assert_trouble(lambda: cycle(1, self.field, share), share)

    def test_the_examples_of_the_scripting_host(self):
        for name in ("exchange.vbs", "exchange.js"):
            with self.subTest(name):
                self.assert_example(lambda *arguments: self.script(EXAMPLES / name, *arguments))
            shutil.rmtree(self.field)
            shutil.rmtree(self.scratch / "share")

    def test_the_example_in_vbscript_tells_why_nothing_is_received(self):
        self.outbox.mkdir(parents=True)
        example = self.scratch / "exchange.vbs"
        example.write_text((EXAMPLES / example.name).read_text().replace(
            "transport.SendReceive : Tell", 'Set transport = CreateObject("znTransporter.clsTransporter")'))
        lines = self.script(example, 1, self.field, self.scratch / "share")
        self.assertRegex("\n".join(lines), r"^There is no sender/receiver\..*$")

    def test_the_example_in_python_goes_on_after_a_name_that_the_code_page_lacks(self):
        library = self.scratch / "comtypes"
        library.mkdir()
        (library / "__init__.py").write_text("class COMError(Exception): pass")
        (library / "client.py").write_text(r"""
from unittest.mock import Mock
def CreateObject(_):
    return Mock(Received=[Mock(**{"Deliver.return_value": name}) for name in ("\u03a9.mdb", "c.mdb")])
""")
        done = subprocess.run([sys.executable, EXAMPLES / "exchange.py", "home", "share"], capture_output=True, check=False,
                              env={**os.environ, "PYTHONPATH": str(self.scratch), "PYTHONIOENCODING": "cp1252"})
        self.assertEqual((done.returncode, done.stdout.split()), (0, [rb"\u03a9.mdb", b"c.mdb"]), done)

    def test_the_example_in_vbscript_is_short(self):
        self.assertLess(len((EXAMPLES / "exchange.vbs").read_text().splitlines()), 25)

    def test_the_example_in_cpp_is_built_with_the_installed_headers(self):
        compiler = shutil.which(f"{'i686' if self.bits == 32 else 'x86_64'}-w64-mingw32-g++-posix")
        if not compiler:
            skip(self, "there is no cross compiler for exchange.cpp")
        subprocess.run(["cmake", "--install", support.BIN.parent, "--prefix", self.scratch, "--component",
                        "development"], check=True, stdout=subprocess.DEVNULL)
        source = EXAMPLES / "exchange.cpp"
        shutil.copy(source, self.scratch)
        options = re.search(r"(?m)^// g\+\+ (.*)$", source.read_text(encoding="utf-8"))[1].split()
        subprocess.run([compiler, "-Wall", "-Werror", *options], cwd=self.scratch, check=True)
        self.assert_example(lambda code, *arguments: self.assert_ends(code, *arguments,
                                                                      program=self.scratch / "exchange.exe"))

    def test_the_doctor_tells_of_a_registration_of_the_user_that_hides_that_of_the_machine(self):
        # Wine keeps the type libraries of a user among those of the machine, and takes both back.
        self.addCleanup(self.register, "/s")
        self.addCleanup(self.register, "/s", "/u", "/n", "/i:user")
        settings = support.make_pair(self.scratch / "pair") / "field.ini"
        for name in ("znTransporter.dll", "znFramework.dll"):
            with self.subTest(name):
                library = pathlib.Path(shutil.copy(support.BIN / name, self.scratch))
                self.assert_ends(0, "/s", "/n", "/i:user", library, program=self.system_program("regsvr32.exe"))
                text = f"{name} is registered for this user as {windows(library)}"
                found = self.assert_ends(1, "doctor", settings).output
                self.assertIn(f"{text}, for the machine as {windows(support.BIN / name)}\n", found)
                library.unlink()
                found = self.assert_ends(1, "doctor", settings).output
                self.assertIn(f"{text}, which is missing\n", found)
                options, path = re.search('regsvr32 (.*) "(.*)"', found).groups()
                self.assert_ends(0, "/s", *options.split(), path, program=self.system_program("regsvr32.exe"))
                self.assert_ends(0, "doctor", settings)

    def assert_told(self, lines, result, positions):
        self.assertTrue(lines[0].startswith(result), lines)
        self.assertIn(f"positions {positions}", lines)
        error = next(line for line in lines if line.startswith("error "))
        self.assertRegex(error, r"error 80004005 .*The packet .*\\missing\.mdb was not added")

    def test_scripts_are_told_and_stop_a_folder_copy(self):
        for name in ("told.vbs", "told.js"):
            with self.subTest(name):
                share = self.scratch / name
                there = share / "to-enterprise"
                cycle = (self.field, "1", "folder", there, share / "to-field")
                sent = self.put(self.outbox, "a.mdb", "b.mdb", "c.mdb")
                self.assert_told(self.script(SCRIPTS / name, DONE, *cycle), "stopped", 1)
                self.assertEqual(len(files_below(there)), 1)
                self.assertEqual({**files_below(there), **files_below(self.field / "send")}, sent)
                cycle = (self.field, "0", *cycle[2:])
                self.assert_told(self.script(SCRIPTS / name, DONE, *cycle), "moved", 2)
                self.assertEqual(files_below(there), sent)

    def test_a_compressed_packet_and_its_backup(self):
        packet = self.put(self.scratch, "4712~1.mdb")
        self.put(self.scratch / "outbox", "a.mdb", "SUB/b.xml", "a.ldb")
        delivered = (r"district 7 4712~1\.mdb\.pac: enterprise\\receive\\district 7\\4712~1\.mdb\.pac, 20\d{3}\n"
                     r"-> inbox\\district 7\\4712~1\.mdb")
        expected = (r"waits: field\\send\\district 7\\4712~1\.mdb\.pac", delivered, "backup: 4712", delivered, "backups: 0",
                    "moved: 2")
        lines = self.script(SCRIPTS / "compressed.vbs", DONE, self.scratch, support.BIN)
        self.assertRegex("\n".join(lines), "^" + "\n".join(expected) + "$")
        self.assertEqual(files_below(self.scratch / "outbox").keys(), {"a.ldb"})
        self.assertEqual(files_below(self.scratch / "inbox"), {"district 7/4712~1.mdb": packet["4712~1.mdb"]})

    def test_scripts_exchange_packets_through_a_server(self):
        self.scratch.chmod(0o711)  # the server's user passes through
        server = Server(self, "vsftpd")
        share = server.packets

        def cycle(name, stop_at, result):
            lines = self.script(SCRIPTS / name, DONE, self.field, str(stop_at), "ftp", server.address, server.user,
                                PASSWORD, "packets/to-enterprise", "packets/to-field")
            self.assertTrue(lines[0].startswith(result), lines)

        for name in ("told.vbs", "told.js"):
            with self.subTest(name):
                def exchange():
                    server.own(share / "to-field", *(share / "to-field").rglob("*"))
                    cycle(name, 0, "moved")

                self.assert_exchange(exchange, share)
                sent = self.put(self.outbox, "a.mdb", "b.mdb")
                cycle(name, 1, "stopped")
                self.assertLessEqual(sent.items(), files_below(share / "to-enterprise").items())
                sent = self.put(self.outbox, "g.mdb")
                server.kill()
                cycle(name, 0, "failed: ")
                self.assertEqual(files_below(self.field / "send"), {"g.mdb": sent["g.mdb"]})
                server.start()
                shutil.rmtree(self.field)
                shutil.rmtree(share / "to-enterprise")

    def test_scripts_are_told_of_what_stays_on_a_webdav_server(self):
        self.scratch.chmod(0o711)
        server = dav.Server(self, "apache")
        there = server.packets / "to-field"
        received = self.put(there, "c.mdb", "d.mdb")
        server.own(there, *there.iterdir())
        kept = (there / "c.mdb").read_bytes()
        spoiler = dav.Spoiler(self, server, lie=lambda method, status, headers, content: (
            (403, {}, b"") if content == kept else (status, headers, content)))
        for url, result, names in ((spoiler.url, "failed: .*Failed to retrieve file c.mdb", {"d.mdb"}), (server.url, "moved", received)):
            self.outbox.mkdir(parents=True, exist_ok=True)
            lines = self.script(SCRIPTS / "told.vbs", DONE, self.field, "0", "http", url, dav.USER, dav.PASSWORD, "to-enterprise",
                                "to-field")
            self.assertRegex(" ".join(lines), f"^{result} ")
            self.assertEqual(files_below(self.field / "inbox"), {name: received[name] for name in names})
