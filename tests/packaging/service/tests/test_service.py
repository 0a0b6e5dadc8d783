"""A test of a service, which a recipe of docs/ runs with the installed wheel."""

import unittest

from hollin import mcp_responses


class Test(unittest.TestCase):
    def test(self):
        print(mcp_responses.__file__)
