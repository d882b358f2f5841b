"""The tests' own servers: none is left by a class of tests whose set-up fails."""

import io
import os
import unittest

from server import ROOT, Server, ServerTest, start


class Broken(Exception):
    pass


class SetUp(unittest.TestCase):
    def test_a_class_that_is_not_set_up_leaves_no_server(self):
        class Fails(ServerTest):
            @classmethod
            def setUpClass(cls):
                super().setUpClass()
                self.server = cls.server
                raise Broken

            def test_nothing(self):
                """Never runs."""

        result = unittest.TextTestRunner(io.StringIO()).run(
            unittest.defaultTestLoader.loadTestsFromTestCase(Fails))
        self.assertIn("Broken", result.errors[0][1])
        self.assertIsInstance(self.server, Server)
        self.assertIsNotNone(self.server.process.poll())
        self.assertFalse(ROOT.exists())

    def test_a_server_that_does_not_listen_is_ended(self):
        log = ROOT.parent / "unheard.log"
        self.addCleanup(log.unlink)
        with self.assertRaisesRegex(AssertionError, "sh ended:\nlogged"):
            start(["sh", "-c", "echo logged"], log, lambda: False)

        def listens():
            if log.read_text().endswith("\n"):
                raise Broken
            return False

        log.write_text("")
        with self.assertRaises(Broken):
            start(["sh", "-c", "echo $$ && exec sleep 1000"], log, listens)
        with self.assertRaises(ProcessLookupError):
            os.kill(int(log.read_text()), 0)


if __name__ == "__main__":
    unittest.main()
