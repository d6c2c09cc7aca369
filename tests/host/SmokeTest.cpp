#include "TemporaryFolder.h"
#include <VELMOImage/ImageGeometry.h>
#include <VELMOUtil/AvailableMemory.h>
TEST(A, B) {
    EXPECT_EQ(velmo::image::geometry3d(velmo::image::eIBT_UInt16, 4, 3, 2)->getFullMemorySize(), 48u);
    EXPECT_GT(velmo::getAvailableMemory(), 1u << 20);
    std::cerr << velmo::getAvailableMemory() << "\n";
}
