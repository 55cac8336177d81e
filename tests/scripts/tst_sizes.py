#!/usr/bin/env python3
"""scripts/sizes.py: what it counts, and when it fails."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "scripts/sizes.py"

COUNTED = {
    "nothing": ("Q_OBJECT Q_PROPERTY(int a READ a NOTIFY b) using A = int; friend class B;\n"
                "enum class E { One, Two }; enum Old { Three }; class Forward; struct Other;\n"
                "static_assert(sizeof(int) == 4); typedef int Number; // int x;\n"
                "Q_DISABLE_COPY_MOVE(C)\npublic: protected: private Q_SLOTS: Q_SIGNALS:", 0),
    "data": ("int a = 1; int b, c;\nstd::map<int, int> d{{1, 2}, {3, 4}}; int *e = nullptr, f[2];",
             6),
    "constants": ("static constexpr int a = 1 + (2, 3);\nstatic const std::array<int, 2> b;", 2),
    "functions": ("C(); ~C() override; void a(int x = 3,\n    int y = 4) const;\n"
                  "[[nodiscard]] bool b() const noexcept = 0; C(const C &) = delete;", 5),
    "overloads": ("void a(); void a(int); void a(int) const;", 3),
    "bodies": ("int a() const { return m_a; }\nvoid b()\n{\n    if (x) { int y; f(); }\n}\nint m_a;",
               3),
    "constructors": ("C() : m_a{1}, m_b(2) { f(); }\nexplicit C(int a)\n    : m_a{a}\n{}\n"
                     "int m_a{};", 3),
    "templates": ("template<typename T, int N = (1 < 2)> void a(T t);\n"
                  "std::function<void(int, int)> b;\nstd::function<void()> c = [] { f(); };\n"
                  "template<typename T> static constexpr int d = 0;", 4),
    "operators": ("bool operator==(const C &) const = default; C &operator=(C &&);\n"
                  "void operator()(int); int operator[](int) const; auto operator<=>(C) const;\n"
                  "bool operator<(C) const { return true; } explicit operator bool() const;", 7),
    "slots and signals": ("public Q_SLOTS:\nvoid a();\nQ_SIGNALS:\nvoid b();\nprivate:\n"
                          "Q_INVOKABLE void c();", 3),
    "types within": ("struct Inner { int x; int y; void f(); };\nInner m_a;\n"
                     "struct { int z; } m_b;\nenum { One } m_c;", 2),
    "literals": ('const char *a = "{ int x; int y; }"; char b = \';\'; int c = 1\'000;\n'
                 "/* int d; */ int e;", 4),
}


def run(folder, *options):
    return subprocess.run([sys.executable, "-B", SCRIPT, *options, folder], capture_output=True,
                          text=True, check=False)


class Sizes(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.folder = pathlib.Path(directory.name) / "src"
        self.folder.mkdir()

    def report_of(self, text, name="a.h"):
        (self.folder / name).write_text(text, encoding="utf-8")
        return run(self.folder)

    def test_members(self):
        for name, (body, members) in COUNTED.items():
            with self.subTest(name):
                report = self.report_of(f"class C final : public B<int>\n{{\n{body}\n}};\n").stdout
                self.assertRegex(report, rf"\n +{members}  \S*a\.h:1 C\n")

    def test_classes_within_are_counted_by_themselves(self):
        report = self.report_of("class C\n{\n    struct Inner\n    {\n        int a, b, c;\n"
                                "    };\n    int m_a;\n};\n").stdout
        self.assertRegex(report, r" 3  \S*a\.h:3 Inner\n +1  \S*a\.h:1 C\n")

    def test_class_limit(self):
        declarations = [f"    void f{number}();\n" for number in range(50)]
        fits = self.report_of("class C\n{\n" + "".join(declarations) + "};\n")
        self.assertEqual(fits.returncode, 0, fits.stdout)
        fails = self.report_of("class C\n{\n    int m_a;\n" + "".join(declarations) + "};\n")
        self.assertEqual(fails.returncode, 1)
        self.assertIn("a.h:1 C has 51 members, 50 are the limit", fails.stdout)

    def test_file_limit(self):
        self.assertEqual(self.report_of("\n" * 400, "a.cpp").returncode, 0)
        fails = self.report_of("\n" * 401, "a.cpp")
        self.assertEqual(fails.returncode, 1)
        self.assertIn("a.cpp:1 the file has 401 lines, 400 are the limit", fails.stdout)

    def test_function_limit(self):
        fits = self.report_of("int f()\n{\n" + "    g();\n" * 57 + "}\n", "a.cpp")
        self.assertEqual(fits.returncode, 0, fits.stdout)
        fails = self.report_of("int f(int a,\n      int b)\n{\n" + "    g();\n" * 57 + "}\n",
                               "a.cpp")
        self.assertEqual(fails.returncode, 1)
        self.assertIn("a.cpp:1 f has 61 lines, 60 are the limit", fails.stdout)

    def test_function_within_its_class(self):
        fails = self.report_of("class C\n{\n    int f()\n    {\n" + "        g();\n" * 58
                               + "    }\n};\n")
        self.assertEqual(fails.returncode, 1)
        self.assertIn("a.h:3 C::f has 61 lines, 60 are the limit", fails.stdout)


if __name__ == "__main__":
    unittest.main()
