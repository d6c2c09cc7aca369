// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "JoinedAccessor.h"

#include "Results.h"
#include "ThrownText.h"
#include "VELMOImage/VELMOImageLog.h"

#include <boost/make_shared.hpp>

namespace velmo::test {

using namespace velmo::image;

JoinedAccessor::JoinedAccessor() {
    for (vlUInt64 const sizeZ : {2UL, 1UL, 3UL}) {
        auto const pPart = boost::make_shared<ByteAccessor>();
        bool const bFirst = _parts.empty();
        pPart->create("joined " + std::to_string(_parts.size()), *partBuilder(eJoinAxis::Z, sizeZ).build(),
                      createGeometricCalibration2d(bFirst ? 3.0F : 4.0F, 2, "mm", 0, 0, 0, 0, 0),
                      bFirst ? static_cast<eImageAccessMode>(1) : eIAM_ReadOnly, bFirst);
        pPart->getStorage().bytes = makePattern(countBytes(pPart->getGeometry()), sizeZ * 100);
        _storages.push_back(&pPart->getStorage());
        _parts.push_back(pPart);
        _images.push_back(boost::make_shared<DiskImage>(pPart));
    }
}

void JoinedAccessor::join() {
    ASSERT_THAT(_accessor.join(_parts, eJoinAxis::Z), Succeeds());
}

void JoinedAccessor::expectWhole(JoinedImageAccessor const& accessor) const {
    ASSERT_TRUE(accessor.isInit());
    EXPECT_EQ(describe(accessor.getGeometry()), describe(*partBuilder(eJoinAxis::Z, 6).build()));
    auto const pShared = boost::shared_ptr<BaseDiskImageAccessor>(const_cast<JoinedImageAccessor*>(&accessor),
                                                                  [](auto const*) {});
    EXPECT_TRUE(readAll(DiskImage(pShared)) == readParts(_images, eJoinAxis::Z));
}

void expectWithoutFiles(JoinedImageAccessor& accessor) {
    Bytes buffer(10);
    EXPECT_FALSE(accessor.isInit());
    EXPECT_TRUE(accessor.getFilePath().empty());
    EXPECT_FALSE(accessor.isStoredIn("/proc/self/exe"));
    EXPECT_THAT(accessor.readRawData(0, 0, 0, 0, 1, buffer.data()),
                FailsWith("The image accessor is not initialised"));
    EXPECT_THAT(accessor.writeRawData(0, 0, 0, 0, 1, buffer.data()),
                FailsWith("The image accessor is not initialised"));
    EXPECT_EQ(thrownText<VELMOImageException>([&] { accessor.getGeometry(); }),
              "The image accessor is not initialised");
    EXPECT_FALSE(accessor.resizeData(*GeometryBuilder().build()));
}

} // namespace velmo::test
