// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOBase/PageBuffer.h>
#include <VELMOUtil/Types.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <type_traits>

namespace velmo::test {

namespace {

constexpr vlUInt64 g_mebibyte = vlUInt64{1} << 20;

std::uintptr_t addressOf(PageBuffer const& buffer) {
    return reinterpret_cast<std::uintptr_t>(buffer.getData());
}

bool isZeroed(PageBuffer const& buffer) {
    return std::all_of(buffer.getData(), buffer.getData() + buffer.getSize(),
                       [](std::byte byte) { return byte == std::byte{0}; });
}

/// The flags that the kernel shows for the mapping that holds an address.
std::string getMappingFlags(std::uintptr_t address) {
    std::ifstream maps("/proc/self/smaps");
    bool bInside = false;
    std::string line;
    while (std::getline(maps, line)) {
        std::istringstream fields(line);
        std::uintptr_t start = 0;
        std::uintptr_t end = 0;
        char dash = ' ';
        if (fields >> std::hex >> start >> dash >> end && dash == '-') {
            bInside = start <= address && address < end;
        } else if (bInside && line.rfind("VmFlags:", 0) == 0) {
            return line + " ";
        }
    }
    return std::string();
}

} // namespace

TEST(PageBuffer, IsZeroedAndCanBeWrittenToItsLastByte) {
    for (vlUInt64 const nbBytes : {vlUInt64{1}, vlUInt64{4095}, vlUInt64{4097}, 5 * g_mebibyte + 1}) {
        PageBuffer const buffer(nbBytes);
        ASSERT_NE(buffer.getData(), nullptr);
        EXPECT_EQ(buffer.getSize(), nbBytes);
        EXPECT_TRUE(isZeroed(buffer)) << nbBytes;
        std::fill_n(buffer.getData(), nbBytes, std::byte{0xA5});
        EXPECT_EQ(buffer.getData()[nbBytes - 1], std::byte{0xA5});
    }
}

TEST(PageBuffer, BeginsOnAPageAndFromFourMebibytesUpOnAHugeOneUntilItsEnd) {
    EXPECT_EQ(addressOf(PageBuffer(1)) % 4096, 0U);
    for (vlUInt64 const nbBytes : {4 * g_mebibyte + 1, 33 * g_mebibyte}) {
        EXPECT_EQ(addressOf(PageBuffer(nbBytes)) % (2 * g_mebibyte), 0U) << nbBytes;
    }
    PageBuffer const small(4 * g_mebibyte - 1);
    auto pLarge = std::make_unique<PageBuffer>(4 * g_mebibyte);
    std::uintptr_t const address = addressOf(*pLarge);
    EXPECT_EQ(addressOf(small) % 4096, 0U);
    EXPECT_EQ(address % (2 * g_mebibyte), 0U);
    std::string const largeFlags = getMappingFlags(address);
    pLarge.reset();
    ASSERT_FALSE(largeFlags.empty());
    EXPECT_EQ(getMappingFlags(address).find(" hg "), std::string::npos);
    if (!std::ifstream("/sys/kernel/mm/transparent_hugepage/enabled")) {
        GTEST_SKIP() << "the kernel knows no transparent huge pages";
    }
    EXPECT_NE(largeFlags.find(" hg "), std::string::npos) << largeFlags;
    std::string const smallFlags = getMappingFlags(addressOf(small));
    EXPECT_FALSE(smallFlags.empty());
    EXPECT_EQ(smallFlags.find(" hg "), std::string::npos) << smallFlags;
}

TEST(PageBuffer, AnEmptyOneHasNoBytes) {
    EXPECT_EQ(PageBuffer().getData(), nullptr);
    EXPECT_EQ(PageBuffer().getSize(), 0U);
    EXPECT_EQ(PageBuffer(0).getData(), nullptr);
    EXPECT_EQ(PageBuffer(0).getSize(), 0U);
}

TEST(PageBuffer, MovingHandsTheBytesOverAndReleasesWhatTheTargetHeld) {
    PageBuffer source(4096);
    std::byte* const pData = source.getData();
    pData[4095] = std::byte{7};
    PageBuffer target(std::move(source));
    EXPECT_EQ(target.getData(), pData);
    EXPECT_EQ(target.getSize(), 4096U);
    EXPECT_EQ(target.getData()[4095], std::byte{7});
    EXPECT_EQ(source.getData(), nullptr);
    EXPECT_EQ(source.getSize(), 0U);
    EXPECT_FALSE(std::is_copy_constructible_v<PageBuffer>);
    PageBuffer assigned(16 * g_mebibyte);
    std::uintptr_t const former = addressOf(assigned);
    assigned = std::move(target);
    EXPECT_EQ(assigned.getData(), pData);
    EXPECT_EQ(assigned.getSize(), 4096U);
    EXPECT_EQ(target.getData(), nullptr);
    EXPECT_EQ(getMappingFlags(former).find(" hg "), std::string::npos);
}

TEST(PageBuffer, ASizeThatTheSystemCannotGiveIsABadAlloc) {
    constexpr vlUInt64 max = NumericLimits<vlUInt64>::s_max;
    for (vlUInt64 const nbBytes :
         {max, max - 2 * g_mebibyte, max - 4096, vlUInt64{1} << 63, vlUInt64{1} << 48}) {
        EXPECT_THROW(PageBuffer{nbBytes}, std::bad_alloc) << nbBytes;
    }
}

} // namespace velmo::test
