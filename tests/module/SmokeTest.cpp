#include "TemporaryFolder.h"
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImage/MemoryImage.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <boost/make_shared.hpp>
#include <numeric>
using namespace velmo::image;
TEST(Raw, RoundTrip) {
    velmo::test::TemporaryFolder folder;
    auto g = geometry3d(eIBT_UInt16, 40, 30, 20);
    auto im = boost::make_shared<MemoryImage>();
    ASSERT_TRUE(bool(im->init(*g)));
    auto* p = static_cast<unsigned short*>(im->getDataPtr());
    std::iota(p, p + 24000, static_cast<unsigned short>(1));
    file::saveRawImageFile(folder / "a.raw", im, "head");
    EXPECT_EQ(velmo::test::readFile(folder / "a.raw"),
              "head" + std::string(reinterpret_cast<char*>(p), 48000));
    auto back = file::loadRawImageFile(folder / "a.raw", *g, 4);
    EXPECT_EQ(0, memcmp(p, boost::dynamic_pointer_cast<MemoryImage>(back)->getDataPtr(), 48000));
    auto d = file::loadDistributedRawImageFile(folder / "a.raw", *g, 4, true);
    auto dc = d->createCpuCopy();
    EXPECT_EQ(0, memcmp(p, dc->accessPlan(0, 0, 0), 48000));
    try {
        file::loadRawImageFile(folder / "b.raw", *g, 4);
        FAIL();
    } catch (file::VELMOImageFileException const& e) {
        std::cerr << e.what() << "\n" << e.getFunction() << "\n" << e.getFile() << ":" << e.getLine() << "\n";
    }
    try {
        file::loadRawImageFile(folder / "a.raw", *g, 5);
        FAIL();
    } catch (file::VELMOImageFileException const& e) {
        std::cerr << e.what() << "\n";
    }
}
