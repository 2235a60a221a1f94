"""xDelta.exe: differences between real files, and what it says when something is wrong."""
import os
import shutil

import support
from support import Mount, ScratchTest, files_below, windows

PAGE = 4096


class DeltaTest(ScratchTest):
    def setUp(self):
        super().setUp()
        self.reference, self.source, self.delta, self.output = (
            self.scratch / name for name in ("Base1.AXR", "x.mdb", "x.mdb~Base1.axd", "restored.mdb"))
        self.reference.write_bytes(os.urandom(40 * PAGE))
        self.source.write_bytes(os.urandom(PAGE) + self.reference.read_bytes()[:-PAGE])

    def xdelta(self, code, *arguments):
        return self.assert_ends(code, *arguments, program=support.BIN / "xDelta.exe")

    def make_delta(self):
        outcome = self.xdelta(0, "delta", self.reference, self.source, self.delta)
        self.assertEqual(outcome.output + outcome.errors, "")

    def assert_restores(self):
        outcome = self.xdelta(0, "patch", self.delta, self.reference, self.output)
        self.assertEqual(outcome.output + outcome.errors, "")
        self.assertEqual(self.output.read_bytes(), self.source.read_bytes())

    def assert_refuses(self, text, *, code=1, command="patch", arguments=None):
        """It names its reason, and leaves all files as they were."""
        arguments = (self.delta, self.reference, self.output) if arguments is None else arguments
        before = files_below(self.scratch)
        errors = self.xdelta(code, command, *arguments).errors
        self.assertIn("xDelta: ", errors)
        self.assertIn(text, errors)
        self.assertEqual(files_below(self.scratch), before)

    def test_restores_the_source(self):
        self.output.write_bytes(b"older")
        os.utime(self.source, (1_000_000_000,) * 2)
        self.make_delta()
        self.assertEqual(self.delta.stat().st_mtime, 1_000_000_000)
        self.assertLess(self.delta.stat().st_size, PAGE + 300)
        self.assert_restores()

    def test_unusual_paths(self):
        deep = self.scratch / ("a folder with a rather long name " * 3).strip() / ("x" * 100) / ("y" * 100)
        deep.mkdir(parents=True)
        for name in ("reference", "source", "delta", "output"):
            path = deep / f"{name} \u00e4\u0416\u4e2d\U0001f4e6 (1) 100%.mdb"
            if name in ("reference", "source"):
                shutil.move(getattr(self, name), path)
            setattr(self, name, path)
        self.make_delta()
        self.assert_restores()

    def test_refuses_what_does_not_belong_together(self):
        self.make_delta()
        changed = bytearray(self.reference.read_bytes())
        changed[PAGE] ^= 1
        other = self.scratch / "Base2.AXR"
        other.write_bytes(changed)
        self.assert_refuses(f"{windows(other)} is not the reference that the delta was made against",
                            arguments=(self.delta, other, self.output))
        self.output.write_bytes(b"older")
        os.truncate(self.delta, self.delta.stat().st_size - 1)
        self.assert_refuses(f"{windows(self.delta)} is damaged or cut short")

    def test_refuses_to_destroy_what_it_reads(self):
        self.make_delta()
        alias = self.scratch / "alias"
        for command, inputs in (("delta", (self.reference, self.source)), ("patch", (self.delta, self.reference))):
            for output in inputs:
                self.assert_refuses("same file", command=command, arguments=(*inputs, output))
                os.link(output, alias)
                self.assert_refuses("same file", command=command, arguments=(*inputs, alias))
                alias.unlink()
        self.output.write_bytes(b"older")
        self.assert_refuses("no delta file", command="delta", arguments=(self.reference, self.source, self.output))
        self.make_delta()

    def test_refuses_an_output_that_has_no_room(self):
        self.source.write_bytes(bytes(2 << 20))
        self.make_delta()
        volume = Mount(self, self.scratch / "volume", "1m").folder
        self.assert_refuses(f"{windows(self.delta)} needs {2 << 20} bytes in {windows(volume)}, where ",
                            arguments=(self.delta, self.reference, volume / "restored.mdb"))

    def test_names_files_that_cannot_be_used(self):
        missing = self.scratch / "missing" / "x"
        for arguments in ((missing, self.source, self.delta), (self.reference, missing, self.delta),
                          (self.reference, self.source, missing), (self.scratch, self.source, self.delta)):
            bad = missing if missing in arguments else self.scratch
            self.assert_refuses(windows(bad), command="delta", arguments=arguments)
        # A delta of what somebody writes would restore neither the old content nor the new one.
        support.Holder(self, self.source, "as a writer")
        self.assert_refuses("in use by another program", command="delta",
                            arguments=(self.reference, self.source, self.delta))

    def test_wrong_usage(self):
        for command, arguments in (("delta", (self.reference,)), ("patch", ()), ("compare", ()), ("", ())):
            self.assert_refuses("--help", code=2, command=command, arguments=arguments)
        self.assertIn("Exit codes", self.xdelta(0, "--help").output)
