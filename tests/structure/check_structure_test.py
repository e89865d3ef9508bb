"""Breaks each rule of check_structure.py in a small tree and expects the violation to be found."""

import pathlib
import re
import tempfile
import unittest

import check_structure
import structure_table

FOLDERS = ["ostra/core", "ostra/math", "ostra/jobs", "ostra/drawport", "parallelprogram/program", "apps/ostra", "conformance", "kernels",
           "tests", "bench", "fuzz", "scripts", "cmake"]


class CheckStructureTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.root = pathlib.Path(self.folder.name)
        for name in FOLDERS:
            self.write(name + "/README.md", "# " + name)

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def expect(self, rule, *violations):
        self.assertEqual(list(check_structure.RULES[rule](self.root)), list(violations))

    def test_a_tree_that_keeps_the_rules_has_no_violations(self):
        self.write("ostra/core/a.h", '#pragma once\n#include <vector>\n')
        self.write("ostra/jobs/b.h", '#pragma once\n#include "ostra/core/a.h"\n#include <tbb/task.h>\n')
        self.write("parallelprogram/program/c.cpp", '#include "ostra/jobs/b.h"\n#include <vector>\n#include "c.inc"\n')
        self.write("parallelprogram/program/c.inc", "")
        for rule in check_structure.RULES:
            self.expect(rule)

    def test_a_folder_that_includes_a_later_folder_is_found(self):
        self.write("ostra/core/a.cpp", '\n#include "ostra/jobs/b.h"\n')
        self.expect("arrows", "ostra/core/a.cpp:2: ostra/core must not include ostra/jobs/b.h, a later folder")

    def test_folders_of_the_module_have_an_order_too(self):
        self.write("parallelprogram/textures/a.cpp", '#include "parallelprogram/program/b.h"\n')
        self.write("parallelprogram/gpu/a.cpp", '#include "parallelprogram/device/b.h"\n')
        self.expect("arrows", "parallelprogram/textures/a.cpp:1: parallelprogram/textures must not include "
                              "parallelprogram/program/b.h, a later folder")

    def test_a_folder_that_includes_the_whole_host_is_found(self):
        self.write("ostra/core/a.cpp", '#include "ostra/host.h"\n')
        self.expect("arrows",
                    "ostra/core/a.cpp:1: a folder must not include ostra/host.h, which stands above all folders")

    def test_the_host_that_includes_the_module_is_found(self):
        self.write("ostra/jobs/a.cpp", '#include "parallelprogram/program/p.h"\n')
        self.expect("arrows", "ostra/jobs/a.cpp:1: ostra/ must not include parallelprogram/program/p.h")

    def test_a_suite_that_includes_an_application_is_found(self):
        self.write("conformance/a.cpp", '#include "parallelprogram/program/p.h"\n#include "apps/ostra/output/o.h"\n')
        self.write("tests/gpu/a.cpp", '#include "conformance/a.h"\n#include "apps/ostra/output/o.h"\n')
        self.expect("arrows", "conformance/a.cpp:2: conformance/ must not include apps/ostra/output/o.h",
                    "tests/gpu/a.cpp:2: tests/gpu/ must not include apps/ostra/output/o.h")

    def test_the_program_may_use_the_handles_of_drawport_only(self):
        self.write("parallelprogram/program/a.cpp",
                   '#include "ostra/drawport/handles.h"\n#include "ostra/drawport/context.h"\n')
        self.expect("arrows",
                    "parallelprogram/program/a.cpp:2: parallelprogram/program/ must not include ostra/drawport/context.h")

    def test_an_unknown_folder_is_found(self):
        self.write("ostra/attic/a.cpp", "")
        self.expect("arrows", "ostra/attic/a.cpp:1: the folder ostra/attic is not in the list of folders")

    def test_a_library_outside_its_folder_is_found(self):
        self.write("ostra/core/a.cpp", "#include <oneapi/tbb/task_group.h>\n")
        self.expect("libraries", "ostra/core/a.cpp:1: oneapi/tbb/task_group.h belongs to ostra/jobs/")

    def test_the_module_that_uses_an_outside_library_is_found(self):
        self.write("parallelprogram/program/a.cpp", "#include <unistd.h>\n")
        self.expect("libraries", "parallelprogram/program/a.cpp:1: the module uses the standard library and ostra only, "
                                 "not unistd.h")

    def test_a_vulkan_type_in_drawport_is_found_but_not_in_a_comment(self):
        self.write("ostra/drawport/a.h", "// like VkBuffer\nVkBuffer buffer;\n")
        self.expect("libraries", "ostra/drawport/a.h:2: drawport names a Vulkan type or function")

    def test_a_file_that_is_too_long_is_found(self):
        self.write("ostra/core/a.cpp", "\n" * 700)
        self.expect("sizes")
        self.write("ostra/core/a.cpp", "\n" * 701)
        self.expect("sizes", "ostra/core/a.cpp:1: 701 lines; at most 700 are allowed")

    def write_function(self, statements, signature="Int Sum(Int a,\n        Int b) {\n"):
        self.write("ostra/core/a.cpp", "namespace ostra {\n\n" + signature + "  a += b;\n" * statements + "}\n\n}  // namespace ostra\n")
        return self.root / "ostra/core/a.cpp"

    def test_a_function_that_is_too_long_is_found(self):
        most = check_structure.MAXIMAL_FUNCTION
        self.write_function(most - 3)
        self.expect("functions")
        self.write_function(most - 2)
        self.expect("functions", f"ostra/core/a.cpp:3: a function of {most + 1} lines; at most {most} are allowed")

    def test_a_test_may_be_longer(self):
        most = check_structure.MAXIMAL_TEST_FUNCTION
        path = self.write_function(most - 2)
        self.write("tests/core/a_test.cpp", path.read_text())
        path.unlink()
        self.expect("functions", f"tests/core/a_test.cpp:3: a function of {most + 1} lines; at most {most} are allowed")

    def test_functions_are_measured_with_their_signatures_and_closing_braces(self):
        for signature, first, lines in (("Int Sum(Int a) {\n", 3, 4), ("Int Sum(Int a,\n        Int b) {\n", 3, 5),
                                        ("class A {\n  Int Sum(Int a) const {\n", 4, 4),
                                        ("A::A(Int a)\n    : _b(a) {\n", 3, 5), ("A::A(Int a,\n     Int b)\n    : _b(a) {\n", 3, 6)):
            path = self.write_function(2, signature)
            if signature.startswith("class"):
                path.write_text(path.read_text().replace("}\n\n}", "  }\n};\n\n}"))
            self.assertEqual(list(structure_table.find_functions(path)), [(first, lines)], signature)

    def test_namespaces_tables_and_classes_are_no_functions(self):
        path = self.root / "ostra/core/a.cpp"
        self.write("ostra/core/a.cpp", "namespace {\nconst Int kTable[] = {\n  1,\n};\nstruct A {\n  Int a;\n};\n}\n")
        self.assertEqual(list(structure_table.find_functions(path)), [])

    def test_a_class_that_is_too_wide_is_found(self):
        most_members, most_methods = check_structure.MAXIMAL_MEMBERS, check_structure.MAXIMAL_METHODS
        members = "".join(f"  Int _a{i} = 0;  // (a)\n" for i in range(most_members + 1))
        methods = "".join(f"  void Do{i}(Int a);\n" for i in range(most_methods + 1))
        self.write("ostra/core/a.h", "class OSTRA_API A : public B {\n public:\n  A();\n" + methods + members + "};\n")
        self.expect("classes", f"ostra/core/a.h:1: A has {most_methods + 1} functions; at most {most_methods} are allowed",
                    f"ostra/core/a.h:1: A has {most_members + 1} members; at most {most_members} are allowed")

    def test_classes_of_a_class_are_counted_for_themselves(self):
        self.write("ostra/core/a.h", "class A {\n  struct B {\n    Int c, d;\n    Int e;\n    void F();\n  };\n  B _b;\n};\n")
        self.assertEqual(list(structure_table.find_classes(self.root / "ostra/core/a.h")), [("A", 1, 0, 1), ("B", 2, 1, 2)])

    def test_classes_with_bases_on_several_lines_are_counted(self):
        self.write("ostra/core/a.h", "class A final\n    : public B<A, C>,\n      public D {\n public:\n  void E();\n  Int _f = 0;\n};\n\nclass G;\n")
        self.assertEqual(list(structure_table.find_classes(self.root / "ostra/core/a.h")), [("A", 1, 1, 1)])

    def test_a_source_that_reads_too_many_headers_is_found(self):
        most = check_structure.MAXIMAL_INCLUDES
        for number in range(most + 1):
            self.write(f"ostra/core/h{number}.h", f'#pragma once\n#include "ostra/core/h{max(number - 1, 0)}.h"\n')
        self.write("ostra/core/a.cpp", '#include "ostra/core/h%d.h"\n' % (most - 1))
        self.expect("includes")
        self.write("ostra/core/a.cpp", '#include "h%d.h"\n' % most)
        self.expect("includes", f"ostra/core/a.cpp:1: reads {most + 1} headers of this repository; at most {most} are allowed")

    def test_a_folder_without_a_readme_is_found(self):
        (self.root / "ostra/math/README.md").unlink()
        self.expect("readmes")
        self.write("ostra/math/a.h", "#pragma once\n")
        self.expect("readmes", "ostra/math:1: README.md is missing or empty")

    def test_headers_without_a_guard_or_with_an_open_namespace_are_found(self):
        self.write("ostra/math/a.h", "#pragma once\nusing namespace std;\n")
        self.write("ostra/math/b.h", "int a;\n")
        self.expect("headers", "ostra/math/a.h:2: a header opens a namespace for all files that include it",
                    "ostra/math/b.h:1: #pragma once is missing")

    def test_a_registration_whose_failure_is_dropped_is_found(self):
        self.write("ostra/math/a.cpp", "const Bool g_registered = RegisterThat(1).IsOk();\nBool b = Register().IsOk();\n")
        self.expect("registrations",
                    "ostra/math/a.cpp:1: a result that is dropped while the library is loaded")

    def test_links_that_lead_nowhere_are_found(self):
        self.write("README.md", "[a](docs/a.md#some-heading-2d) [b](docs/none.md)\n[c](docs/a.md#other) [d](https://example.net)\n"
                                "[e](#here)\n# Here\n")
        self.write("docs/README.md", "[a](a.md)")
        self.write("docs/a.md", "## Some `heading`, 2D\n```\n# other\n```\n")
        self.expect("links", "README.md:1: there is no docs/none.md", "README.md:2: docs/a.md has no heading #other")

    def test_pages_that_the_entry_page_does_not_name_are_found(self):
        self.write("docs/README.md", "[a](a.md)")
        self.write("docs/a.md", "# A")
        self.write("docs/b.md", "# B")
        self.expect("links", "docs/README.md:1: nothing leads to b.md")

    def test_words_that_are_read_twice_are_found_in_comments_and_pages(self):
        self.write("ostra/core/a.h", '#pragma once\n// Whoever calls it.\nint a = 0;  // nobody\nconst char* b = "nobody";\n')
        self.write("docs/a.md", "It lets go of the buffer.\n")
        self.write("docs/README.md", "[a](a.md)\n")
        self.expect("words",
                    'ostra/core/a.h:2: "Whoever": name the caller, the owner, the thread or the reference',
                    'ostra/core/a.h:3: "nobody": name the caller, the owner, the thread or the reference',
                    'docs/a.md:1: "lets go of": write: releases')

    def test_names_that_say_less_than_the_usual_ones_are_found(self):
        self.write("ostra/core/a.cpp", "// kMost\nconst char* a = \"kLargest\";\nconstexpr Int kMostFiles = 1, kAlmost = 2;\n"
                                       "Result<void> EnterA(ModuleDescriptor& module);\nvoid EnterLoop(Int a);\n  LookAt,\n")
        self.expect("names", 'ostra/core/a.cpp:3: "kMostFiles": name it kMax...',
                    'ostra/core/a.cpp:4: "EnterA": name it Register... and Unregister...')

    def test_constants_and_enumerators_by_other_names_are_found(self):
        self.write("ostra/core/a.h", "inline constexpr Int kOne = 1;\nstruct A {\n  static constexpr Bool IS_TWO = true;\n};\n"
                                     "enum class B { kThree, kFour };\nenum class C {\n  Five,  // kSix\n  kSeven,\n};\n"
                                     "enum class D : UInt8 { Eight = 8, Nine2D };\nconstexpr Int OK = 0;\nenum E { TEN };\n"
                                     "Int F() {\n  constexpr Int n = 1;\n}\n")
        self.expect("cases", 'ostra/core/a.h:3: the constant "IS_TWO": name it kName',
                    'ostra/core/a.h:6: the values of "C": name all of them kName, or all Name',
                    'ostra/core/a.h:12: the values of "E": name all of them kName, or all Name')

    def test_a_throw_is_found(self):
        self.write("ostra/core/a.cpp", "// throw\nconst char* a = \"throw\";\nvoid B() { throw 1; }\n")
        self.write("ostra/core/memory.h", "#pragma once\nvoid C() { throw 1; }\n")
        self.expect("throws", "ostra/core/a.cpp:3: a throw: give back a Result")

    def test_an_interface_may_have_more_functions(self):
        most = check_structure.INTERFACE_METHODS["ParallelProgramInterface"]
        for count in (most, most + 1):
            methods = "".join(f"  void Do{i}(Int a);\n" for i in range(count))
            self.write("ostra/core/a.h", "#pragma once\nclass ParallelProgramInterface {\n" + methods + "};\n")
            expected = [f"ostra/core/a.h:2: ParallelProgramInterface has {count} functions; at most {most} are allowed"]
            self.expect("classes", *(expected if count > most else []))

    def test_subjects_of_commits_are_short_and_no_sentences(self):
        subjects = [("a1", "x" * 72), ("a2", "x" * 73), ("a3", "Do this."), ("a4", "wip")]
        self.assertEqual(list(check_structure.check_commits(self.root, lambda root: subjects)),
                         ["a2:1: a subject of 73 characters; at most 72 are allowed",
                          "a3:1: a subject that ends with a full stop",
                          'a4:1: "wip" is a step on the way, not a commit to keep'])

    def test_every_rule_is_a_test(self):
        listed = re.search(r"foreach\(rule ([^)]*)\)", (pathlib.Path(__file__).parent / "CMakeLists.txt").read_text())
        self.assertEqual(set(listed.group(1).split()), set(check_structure.RULES))

    def test_a_tree_outside_of_a_repository_has_no_commits(self):
        self.expect("commits")


if __name__ == "__main__":
    unittest.main()
