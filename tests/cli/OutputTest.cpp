// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"

#include <csignal>
#include <sys/resource.h>

namespace velmo {
namespace test {

using testing::HasSubstr;
using testing::Not;

namespace {

using Output = CliTest;

/// Limits the files that are written by the processes that are started while it lives.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(rlim_t nbBytes) : _earlierHandler(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &_earlier);
        rlimit const limit = {nbBytes, _earlier.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &_earlier);
        std::signal(SIGXFSZ, _earlierHandler);
    }
    FileSizeLimit(FileSizeLimit const&) = delete;
    FileSizeLimit& operator=(FileSizeLimit const&) = delete;

  private:
    void (*_earlierHandler)(int);
    rlimit _earlier = {};
};

} // namespace

TEST_F(Output, AFailureNamesTheOutputWhateverCharactersItsNameHas) {
    std::string const input = createSparse("in.raw", 1UL << 20);
    for (char const* const name : {"plain", "a&b", "a\"b", "a b"}) {
        boost::filesystem::create_directory(_folder / name);
        std::string const output = path(name) + "/out.raw";
        FileSizeLimit const limit(1UL << 16);
        ToolResult const result = runTool(Arguments{"convert", input, output} + raw("1024,1024", "uint8"));
        EXPECT_EQ(1, result.status);
        EXPECT_THAT(result.err, HasSubstr("file " + output + '\n'));
        std::ostringstream quotedOutput;
        quotedOutput << boost::filesystem::path(output);
        EXPECT_THAT(result.err, HasSubstr(quotedOutput.str()));
        EXPECT_THAT(result.err, Not(HasSubstr(".velmo-image-")));
        EXPECT_TRUE(boost::filesystem::is_empty(_folder / name));
    }
}

} // namespace test
} // namespace velmo
