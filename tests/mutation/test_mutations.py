#!/usr/bin/env python3
"""What the mutations of a piece of C++ are, and what is left alone."""

import os
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import mutate

CODE = r'''
// if (a < b) { return "comment"; }
#include "a<b.h"
static_assert(sizeof(int) == 4, "text");
enum Code {
    e_RET_OK,
    e_BAD = 2,
    e_MAX
};
template <class Kind, unsigned N = 3> struct Row {
    static constexpr bool Has(u32 tag) { return tag < N && tag != e_BAD; }
};
constexpr u32 kStep = 5;
u32 Chk(const Row<Kind> &row, u32 value) {
    if (value >= kStep) {
        return e_BAD;
    }
    if (!row.Has(value)) {
        return Fail("no\n");
    }
    u32 count = value + 1;
    Count(row);
    ++count;
    return e_RET_OK;
}
'''
HAS = "static constexpr bool Has(u32 tag) { return tag < N && tag != e_BAD; }"
EXPECTED = {
    "comparison": {(HAS, HAS.replace("tag < N", "tag <= N")), (HAS, HAS.replace("!=", "==")),
                   ("if (value >= kStep) {", "if (value > kStep) {")},
    "logic": {(HAS, HAS.replace("&&", "||"))},
    "negation": {("if (value >= kStep) {", "if (!(value >= kStep)) {"),
                 ("if (!row.Has(value)) {", "if (row.Has(value)) {"),
                 ("if (!row.Has(value)) {", "if (!(!row.Has(value))) {")},
    "arithmetic": {("u32 count = value + 1;", "u32 count = value - 1;"), ("++count;", "--count;")},
    "name": {(HAS, HAS.replace("e_BAD", "e_MAX")), ("return e_BAD;", "return e_MAX;"),
             ("return e_RET_OK;", "return e_BAD;")},
    "text": {('return Fail("no\\n");', 'return Fail("_o\\n");'), ('return Fail("no\\n");', 'return Fail("n_\\n");'),
             ('return Fail("no\\n");', 'return Fail("no");')},
    "statement": {("Count(row);", ";"), ("++count;", ";")},
}  # fmt: skip


def changes(code):
    return {(site.kind, site.before, site.after) for site in mutate.find_sites("a.cpp", code, mutate.all_names([code]))}


class Mutations(unittest.TestCase):
    def test_kinds(self):
        for kind, expected in EXPECTED.items():
            with self.subTest(kind):
                self.assertEqual({change[1:] for change in changes(CODE) if change[0] == kind}, expected)
        for change in (("constant", "u32 count = value + 1;", "u32 count = value + 2;"),
                       ("constant", "if (value >= kStep) {", "if (value >= (kStep - 1)) {"),
                       ("return", "return e_BAD;", "return {};"),
                       ("return", "return e_RET_OK;", "return e_RET_ERR_INVALID_PARAM;")):  # fmt: skip
            self.assertIn(change, changes(CODE))

    def test_what_is_no_code_of_the_program(self):
        for _, before, _ in changes(CODE):
            for text in ("comment", "include", "static_assert", "template"):
                self.assertNotIn(text, before)

    def test_a_change_stands_for_itself_wherever_it_is(self):
        self.assertEqual(changes(CODE), changes("\n\n// moved\n" + CODE))

    def test_what_is_shown_can_be_read(self):
        identity = ("a.cpp", "return e_BAD;", "return {};", 2)
        with tempfile.NamedTemporaryFile("w", suffix=".txt") as file:
            file.write("# a title\n\n" + mutate.show(identity) + "    because\n    of this\n")
            file.flush()
            self.assertEqual(mutate.read_explained(file.name), {identity})


if __name__ == "__main__":
    unittest.main()
