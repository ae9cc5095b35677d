#!/usr/bin/env python3
"""What the mutations of a piece of C++ are, and what is left alone."""

import os
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import explained
import sites

CODE = '''
// if (a < b) { return "comment"; }
#include "a<b.h"
#define LIMIT 4u
#define SAY(text)  \\\\
    do {           \\\\
        put(text); \\\\
    } while (false)
static_assert(sizeof(int) == 4, "text");

enum Code { e_RET_OK, e_BAD = 2, e_MAX };
template <class Kind, unsigned N = 3> struct Row {
    static constexpr bool Has(u32 tag) { return tag < N && tag != e_BAD; }
};

constexpr u32 kStep = 5;

namespace {
u32 Chk(const Row<Kind> &row, u32 value) {
    if (value >= kStep) {
        return e_BAD;
    }
    if (!row.Has(value)) {
        return Fail("no\\\\n");
    }
    u32 count = value + 1;
    Walk(row, [&](u32 next) {
        count += next;
        return true;
    });
    ++count;
    return e_RET_OK;
}
}
'''.replace("\\\\", "\\")


def changes(code=CODE):
    names = sites.Names([code])
    found, _ = sites.find("a.cpp", code, names)
    return {(site.function, site.kind, site.before, site.after) for site in found}


class Mutations(unittest.TestCase):
    def assert_changes(self, function, kind, pairs):
        found = {change[2:] for change in changes() if change[:2] == (function, kind)}
        self.assertEqual(found, set(pairs))

    def test_comparisons(self):
        line = "static constexpr bool Has(u32 tag) { return tag < N && tag != e_BAD; }"
        self.assert_changes("Row::Has", "comparison", [(line, line.replace("tag < N", "tag <= N")),
                                                       (line, line.replace("!=", "=="))])
        self.assert_changes("Row::Has", "logic", [(line, line.replace("&&", "||"))])
        self.assert_changes("Chk", "comparison", [("if (value >= kStep) {", "if (value > kStep) {")])

    def test_conditions(self):
        self.assert_changes("Chk", "negation", [("if (value >= kStep) {", "if (!(value >= kStep)) {"),
                                                ("if (!row.Has(value)) {", "if (row.Has(value)) {")])

    def test_constants(self):
        self.assert_changes("LIMIT", "constant", [("#define LIMIT 4u", "#define LIMIT 5u"),
                                                  ("#define LIMIT 4u", "#define LIMIT 3u")])
        self.assert_changes("Chk", "constant", [
            ("if (value >= kStep) {", "if (value >= (kStep + 1)) {"),
            ("if (value >= kStep) {", "if (value >= (kStep - 1)) {"),
            ("u32 count = value + 1;", "u32 count = value + 2;"),
            ("u32 count = value + 1;", "u32 count = value + 0;"),
            ("return true;", "return false;"),
        ])  # fmt: skip

    def test_names(self):
        self.assert_changes("Chk", "name", [("return e_BAD;", "return e_MAX;"),
                                            ("return e_RET_OK;", "return e_BAD;")])

    def test_texts(self):
        found = {after for where, kind, _, after in changes() if (where, kind) == ("Chk", "text")}
        self.assertEqual(found, {'return Fail("_o\\n");', 'return Fail("n_\\n");', 'return Fail("no");'})

    def test_statements(self):
        self.assert_changes("Chk", "statement", [
            ("Walk(row, [&](u32 next) { count += next; return true; });", ";"),
            ("count += next;", ";"),
            ("++count;", ";"),
        ])  # fmt: skip

    def test_returns(self):
        self.assert_changes("Chk", "return", [
            ("return e_BAD;", "return {};"),
            ('return Fail("no\\n");', "return {};"),
            ("return e_RET_OK;", "return e_RET_ERR_INVALID_PARAM;"),
        ])  # fmt: skip

    def test_order_of_checks(self):
        one = "if (value >= kStep) { return e_BAD; }"
        other = 'if (!row.Has(value)) { return Fail("no\\n"); }'
        self.assert_changes("Chk", "order", [(f"{one} {other}", f"{other} {one}")])

    def test_what_is_no_code_of_the_program(self):
        for _, _, before, _ in changes():
            for text in ("comment", "include", "static_assert", "template"):
                self.assertNotIn(text, before)

    def test_a_change_stands_for_itself_wherever_it_is(self):
        self.assertEqual(changes(), changes("\n\n// moved\n" + CODE))


class Explained(unittest.TestCase):
    def test_what_is_shown_can_be_read(self):
        identity = ("a.cpp", "Chk", "return e_BAD;", "return {};", 2)
        path = os.path.join(os.environ.get("TMPDIR", "/tmp"), f"explained.{os.getpid()}")
        with open(path, "w", encoding="utf-8") as file:
            file.write("# a title\n\n" + explained.show(identity) + "    because\n    of this\n")
        self.addCleanup(os.remove, path)
        self.assertEqual(explained.read(path), {identity: "because of this"})


if __name__ == "__main__":
    unittest.main()
