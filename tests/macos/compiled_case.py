"""What the cases of compiled_code_test.py have in common."""

import pathlib
import unittest


class Case(unittest.TestCase):
    """The program sets `compile`; its result is made once, for all cases, and is their `code`."""

    compile = code = None
    build = pathlib.Path()  # where the project is built for this system

    @classmethod
    def setUpClass(cls):
        Case.code = Case.code or Case.compile()
