# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""Which mutants tools/mutate makes. With --slow also whether the tests notice one that they are known to notice."""

import importlib.machinery
import importlib.util
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest
import unittest.mock

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROGRAM = ROOT / "tools" / "mutate"


def load():
    loader = importlib.machinery.SourceFileLoader("mutate", str(PROGRAM))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("mutate", loader))
    loader.exec_module(module)
    return module


mutate = load()


def changes(text):
    """The replaced texts and what takes their places, in the order of the text."""
    return [(mutant.before, mutant.after) for mutant in mutate.find_mutants("a.cpp", text)]


class Mutants(unittest.TestCase):
    def test_comparisons_become_others(self):
        self.assertEqual(changes("bool b = x < y;"), [("<", "<="), ("<", ">=")])
        self.assertEqual(changes("bool b = x <= y;"), [("<=", "<"), ("<=", ">")])
        self.assertEqual(changes("bool b = x == y;"), [("==", "!=")])
        self.assertEqual(changes("bool b = x != y;"), [("!=", "==")])

    def test_logic_and_sums_are_turned_round(self):
        self.assertEqual(changes("bool b = x && y || z;"), [("&&", "||"), ("||", "&&")])
        self.assertEqual(changes("int i = x + y - z;"), [("+", "-"), ("-", "+")])
        self.assertEqual(changes("i += x;"), [("+=", "-=")])
        self.assertEqual(changes("bool b = true;"), [("true", "false")])
        self.assertEqual(changes("bool b = !x;"), [("!", "")])

    def test_whole_numbers_grow_by_one(self):
        self.assertEqual(changes("f = {0, 7U, 0xFFU, 1'000, 0666};"),
                         [("0", "1"), ("7U", "8U"), ("0xFFU", "256U"), ("1'000", "1001"), ("0666", "0667")])
        self.assertEqual(changes("double d = 1.5 * 2e3;"), [])

    def test_calls_are_deleted_and_results_exchanged(self):
        self.assertEqual(changes("{ _file.close(x); }"), [("_file.close(x);", ";")])
        self.assertEqual(changes("{ std::swap(x, y); }"), [("std::swap(x, y);", ";")])
        self.assertEqual(changes("{ return success(); }"), [("return success();", 'return failure("mutant");')])
        self.assertEqual(changes("{ return failure(x); }"), [("return failure(x);", "return success();")])
        self.assertEqual(changes("{ return other(x); }"), [])
        self.assertEqual(changes("{ Lock const lock(mutex); }"), [])

    def test_comments_and_literals_are_left_alone(self):
        for text in ("// x < y", "/* x < y\n 1 */", 'f = "x < 1";', 'f = "\\" < 1";', "f = '<';", 'f = R"(x < 1")";'):
            self.assertEqual(changes(text), [], text)
        self.assertEqual(changes("/* 1 */ f = 2; // 3"), [("2", "3")])

    def test_the_preprocessor_is_left_alone(self):
        for text in ("#include <vector>\n", "#if A < 1 \\\n && B\n", "  # define X 1\n"):
            self.assertEqual(changes(text), [], text)

    def test_types_are_left_alone(self):
        for text in ("template <class T, int N = 1>\n", "static_assert(x < 1, t);", "std::vector<int> f(T&& x, T const& y);",
                     "constexpr int f[] = {1, 2};", "using F = G<1>;"):
            self.assertEqual(changes(text), [], text)

    def test_the_place_is_that_of_the_token(self):
        text = "int a;\nbool b = x < y;\n"
        mutant = mutate.find_mutants("a.cpp", text)[0]
        self.assertEqual((mutant.line, text[mutant.begin : mutant.end], mutant.source), (2, "<", "bool b = x < y;"))


class Drawing(unittest.TestCase):
    def list(self, *arguments):
        return subprocess.check_output((PROGRAM, "--list", *arguments), text=True)

    def test_a_seed_decides(self):
        self.assertEqual(self.list("30", "7"), self.list("30", "7"))
        self.assertNotEqual(self.list("30", "7"), self.list("30", "8"))

    def test_the_seed_is_printed(self):
        self.assertTrue(self.list("1", "7").startswith("seed 7\n"))
        drawn = self.list("5")
        seed = drawn.split("\n")[0].split()[1]
        self.assertEqual(self.list("5", seed), drawn)

    def test_files_of_a_folder_can_be_chosen(self):
        lines = self.list("50", "7", "--only", "src/Raw/").splitlines()[1:]
        self.assertEqual(len(lines), 50)
        self.assertTrue(all(line.startswith("src/Raw/") for line in lines))

    def test_each_file_of_the_sources_has_its_tests(self):
        for file in (ROOT / "src").rglob("*.cpp"):
            folders = file.relative_to(ROOT / "src").parent.parts
            self.assertIn(folders[0] if folders else "", mutate.PROGRAMS)

    def test_each_test_program_of_the_module_is_run(self):
        run = {program for programs in mutate.PROGRAMS.values() for program in programs}
        for folder in ("accessors", "api", "exercise", "interop", "stress", *mutate.PROGRAMS):
            listed = (ROOT / "tests" / folder / "CMakeLists.txt").read_text() if folder else ""
            programs = set(re.findall(r"velmo_add_test\((\w+)", listed))
            self.assertLessEqual(programs, set(mutate.PROGRAMS.get(folder, run)), folder)


class Limits(unittest.TestCase):
    def run_program(self, line, processor, wall):
        with tempfile.TemporaryDirectory() as folder:
            tree = mutate.Tree.__new__(mutate.Tree)
            tree.build = pathlib.Path(folder)
            tree.temporary = tree.build / "tmp"
            program = tree.build / "bin" / "program"
            program.parent.mkdir()
            program.write_text(f"#!/bin/sh\n{line}\n")
            program.chmod(0o755)
            return tree.run("program", mutate.Seconds(processor, wall))

    def test_a_program_that_computes_forever_fails(self):
        self.assertFalse(self.run_program("while :; do :; done", 1, 600))

    def test_a_program_that_waits_forever_fails(self):
        self.assertFalse(self.run_program("sleep 600", 60, 0.1))

    def test_waiting_uses_no_processor_time(self):
        self.assertTrue(self.run_program("sleep 2", 1, 600))

    def test_both_times_count_from_those_without_a_mutant(self):
        self.assertEqual(mutate.limit(mutate.Seconds(1.5, 2)), mutate.Seconds(25, 130))


@unittest.skipUnless("--slow" in sys.argv, "builds the tests; --slow runs it")
class Outcome(unittest.TestCase):
    def test_a_mutant_is_noticed_and_leaves_the_copy_as_it_was(self):
        path = "src/Patterns/FilePatternMatching.cpp"
        text = (ROOT / path).read_text()
        programs = unittest.mock.patch.dict(mutate.PROGRAMS, {"Patterns": ("patterns_test",)})
        with tempfile.TemporaryDirectory() as folder, programs:
            tree = mutate.Tree(pathlib.Path(folder))
            noticed = [mutant for mutant in mutate.find_mutants(path, text) if mutant.before == "true"]
            self.assertEqual(tree.try_mutant(noticed[0]), "patterns_test")
            self.assertEqual((tree.source / path).read_text(), text)


if __name__ == "__main__":
    unittest.main(argv=[argument for argument in sys.argv if argument != "--slow"])
