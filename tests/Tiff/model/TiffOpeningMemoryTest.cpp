// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFixture.h"

#include <sys/mman.h>
#include <unistd.h>

namespace velmo::image::file {

namespace {

/// Takes the pages behind the heap, so that the C library has to look for memory elsewhere: `errno` says that
/// there was none although the allocation succeeds.
bool blockHeap() {
    constexpr std::uintptr_t pageSize = 4096;
    auto const end = reinterpret_cast<std::uintptr_t>(sbrk(0));
    void* const wanted = reinterpret_cast<void*>((end + pageSize - 1) / pageSize * pageSize);
    return mmap(wanted, pageSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0) ==
           wanted;
}

class TiffOpeningMemory : public TiffTest {};

} // namespace

TEST_F(TiffOpeningMemory, ASoundFileOpensWhereTheHeapCannotGrow) {
    std::vector<RawDirectory> directories(3000, greyDirectory());
    directories[0].set(TIFFTAG_IMAGEDESCRIPTION, ascii("a text that libtiff has to hold"));
    directories[0].set(TIFFTAG_SOFTWARE, ascii("another one"));
    writeRawTiff(_path, directories);
    std::string const outcome = inChild([&]() -> std::string {
        if (!blockHeap()) {
            return "the heap could not be blocked";
        }
        for (unsigned int opening = 0; opening < 200; ++opening) {
            OpenedTiff const opened(_path);
            if (!opened.result) {
                return "opening " + std::to_string(opening) + ": " + opened.result.getMessage();
            }
        }
        return "all opened";
    });
    EXPECT_EQ(outcome, "all opened");
}

} // namespace velmo::image::file
