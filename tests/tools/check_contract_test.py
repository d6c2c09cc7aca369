# SPDX-FileCopyrightText: The VELMOImageFile authors
# SPDX-License-Identifier: Apache-2.0
"""What tools/check_contract.py accepts and rejects, on a small tree, and that it accepts this one."""

import pathlib
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tools"))
import check_contract  # noqa: E402

HOST = """
enum eKind { eK_One, eK_Two = 2 };
class VELMO_HOST_EXPORT Image {
  public:
    vlUInt64 getSize() const { return _size; }
    virtual void
    secret(int depth);
};
void openAll(Image const& image);
"""
CONTRACT = """
| `VELMOCore/Image.h` | `Image`: `getSize`; `eK_One` | an image |
"""
SOURCE = """
#include <VELMOBase/Pages.h>
#include <VELMOCore/Image.h>
unsigned long use(Image& image) { return image.getSize() + eK_One; } // openAll
"""


class Tree(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        for name in ("src", "include", "base", "host/VELMOCore/detail"):
            (self.root / name).mkdir(parents=True)
        (self.root / "host/VELMOCore/Image.h").write_text(HOST)

    def check(self, source=SOURCE, contract=CONTRACT, symbols=()):
        (self.root / "src/Use.cpp").write_text(source)
        (self.root / "host/CONTRACT.md").write_text(contract)
        return [line.replace(str(self.root) + "/", "") for line in check_contract.check(self.root, symbols)]

    def test_what_is_listed_may_be_used(self):
        self.assertEqual(self.check(), [])

    def test_a_header_must_be_listed(self):
        self.assertEqual(self.check(SOURCE + "#include <VELMOCore/Other.h>\n"),
                         ["src/Use.cpp: includes VELMOCore/Other.h, which the contract does not list"])

    def test_a_name_must_be_listed(self):
        for line, name in (("void f(Image& image) { image.secret(1); }", "secret"), ("int i = eK_Two;", "eK_Two"),
                           ("void g(Image& image) { openAll(image); }", "openAll"), ("eKind kind;", "eKind")):
            self.assertEqual(self.check(SOURCE + line),
                             [f"src/Use.cpp: uses {name} of the host, which the contract does not list"])

    def test_a_name_of_the_module_itself_is_its_own(self):
        self.assertEqual(self.check(SOURCE + "void secret(int depth);"), [])

    def test_a_symbol_must_be_listed_unless_no_source_names_it(self):
        own = "struct Mine { int secret(int depth); };"
        symbols = ["velmo::image::Image::secret(int)", "velmo::Other::secret()", "typeinfo for velmo::image::Image"]
        self.assertEqual(
            self.check(SOURCE + own, symbols=symbols),
            ["the library needs velmo::image::Image::secret(int): the contract does not list Image::secret"])

    def test_a_listed_name_must_be_used_and_declared(self):
        listed = CONTRACT.replace("`eK_One`", "`eK_One`, `eK_Two`")
        self.assertEqual(self.check(contract=listed), ["the contract lists eK_Two, which the module does not use"])
        listed = CONTRACT.replace("`eK_One`", "`eK_One`, `use`")
        self.assertEqual(self.check(contract=listed), ["the contract lists use, which no header declares"])


class Symbols(unittest.TestCase):
    def test_a_symbol_belongs_to_a_member_a_class_or_a_function(self):
        for symbol, name in (
            ("velmo::image::Image::getSize(unsigned long) const", "Image::getSize"),
            ("velmo::LogMessageFormater::string[abi:cxx11]() const", "LogMessageFormater::string"),
            ("velmo::image::Image::~Image()", "Image"),
            ("velmo::image::Image::Image(std::vector<int, std::allocator<int> > const&)", "Image"),
            ("vtable for velmo::image::Image", "Image"),
            ("void velmo::image::Image::set<velmo::attr::In>(velmo::attr::In::Value const&)", "Image::set"),
            ("velmo::image::operator<<(std::ostream&, velmo::image::eKind const&)", "operator<<"),
            ("velmo::image::openAll(velmo::image::Image const&)", "openAll"),
            ("velmo::g_raise", "g_raise"),
        ):
            self.assertEqual(check_contract.entity(symbol), name)


class ThisTree(unittest.TestCase):
    def test_is_accepted(self):
        self.assertEqual(check_contract.check(ROOT, []), [])


if __name__ == "__main__":
    unittest.main()
