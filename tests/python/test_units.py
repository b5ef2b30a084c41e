"""Texts to values and back, without a server."""

import cmath
import fractions
import math
import pathlib
import unittest

from qvclient import QvQuotingError
from qvclient.quoting import check_name, quote, quote_assigned
from qvclient.values import parse, parse_number, split_entries
from qvclient.wire import FrameError, payload_length

try:
    import numpy
except ImportError:
    numpy = None


class Values(unittest.TestCase):
    def test_a_number_is_what_the_application_prints_for_one(self):
        numbers = {
            "0": 0,
            "-7": -7,
            "2147483647": 2**31 - 1,
            "2147483648": 2147483648.0,  # no int of the application
            "0.1": 0.1,
            "9.699999999999999": 9.7,
            "9.7": 9.7,  # as a FLOAT of single precision is shown
            "1e+20": 1e20,
            "-1e-05": -1e-5,
            "-0": -0.0,
            "inf": math.inf,
            "(1,-2.5)": 1 - 2.5j,
        }
        for text, value in numbers.items():
            with self.subTest(text):
                self.assertEqual(parse_number(text), value)
                self.assertIs(type(parse_number(text)), type(value))
        self.assertEqual(math.copysign(1, parse_number("-0")), -1)
        self.assertTrue(cmath.isnan(parse_number("nan")))

    def test_other_texts_stay_texts(self):
        texts = "007 1.0 +1 1_000 1e5 1E+20 .5 0x10 1,2 Infinity (1,2 1,2) (007,1) () ( true ????"
        odd = [" 1", "1 ", "1\n", "(1, 2)", "\u0661", "1" * 20, "0." + "1" * 17]
        for text in texts.split() + odd:
            with self.subTest(text):
                self.assertEqual(parse(text), text)

    def test_lists_are_told_from_texts_that_look_like_them(self):
        shown = "     [1]     0.5\n     [2]     b c\n     [3]     x\ny\n"
        self.assertEqual(parse(shown), [0.5, "b c", "x\ny"])
        for text in ("     [1]     a\n     [3]     b\n", "x\n     [1]     a\n"):
            self.assertEqual(parse(text), text)
        # An entry that holds what looks like an entry cannot be told apart.
        self.assertIsNone(split_entries("     [1]     a\n     [2]     b\n", [(1,)]))


class Quoting(unittest.TestCase):
    def test_values_become_texts(self):
        texts = [
            (3, "3"),
            (True, "1"),
            (0.1, "0.1"),
            (1e-7, "1e-07"),
            (fractions.Fraction(1, 4), "0.25"),
            ("", '""'),
            (pathlib.PureWindowsPath("C:/a b"), r'"C:\\a b"'),
            ("a;b // c, (d) = [e]", '"a;b // c, (d) = [e]"'),
            ('C:\\x "y"\n\r\t', r'"C:\\x \"y\"\n\r\t"'),
        ]
        for value, text in texts:
            with self.subTest(value):
                self.assertEqual(quote(value), text)
                self.assertEqual(quote_assigned(value), text)
        # A comma would end the argument.
        self.assertEqual(quote(1 - 2j), '"(1.0,-2.0)"')
        self.assertEqual(quote_assigned(1 - 2j), "(1.0,-2.0)")

    def test_what_cannot_be_said_is_refused(self):
        for value in (None, [1], b"x", {}, object(), "nul\0", "half \ud800 a pair"):
            with self.subTest(value), self.assertRaises(QvQuotingError):
                quote(value)
        for name in ("", "a.b", "a b", "a[1]", "f()", "a;b", "a=1", 'a"', "a//b", "a\n", "\0"):
            with self.subTest(name), self.assertRaises(QvQuotingError):
                check_name(name)

    @unittest.skipIf(numpy is None, "NumPy is not installed")
    def test_numpy_scalars_are_numbers(self):
        scalars = [
            (numpy.int64(3), "3"),
            (numpy.float64(0.1), "0.1"),
            (numpy.float32(0.5), "0.5"),
            (numpy.bool_(True), "1"),
            (numpy.array(2.5), "2.5"),
            (numpy.complex128(1j), '"(0.0,1.0)"'),
            (numpy.str_("a"), '"a"'),
        ]
        for value, text in scalars:
            self.assertEqual(quote(value), text)


class Frames(unittest.TestCase):
    def test_a_length_is_digits_and_a_nul(self):
        self.assertEqual(payload_length(b"0".ljust(20, b"\0")), 0)
        self.assertEqual(payload_length(b"12\0rest is ignored.."), 12)
        for header in (b"-1", b"", b" 1", b"1x", b"9" * 19, b"HTTP/1.1 200 OK\r\n\r\n"):
            with self.subTest(header), self.assertRaises(FrameError):
                payload_length(header.ljust(20, b"\0"))
        with self.assertRaises(FrameError):
            payload_length(b"1" * 20)


if __name__ == "__main__":
    unittest.main()
