// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"
#include "FileSizeLimit.h"
#include "SyscallTrace.h"

#include <fcntl.h>
#include <sstream>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace velmo::test {

using testing::HasSubstr;
using testing::Not;

namespace {

class Output : public CliTest {
  protected:
    /// A conversion to "out.raw" that waits until its header has come through "pipe".
    Arguments convertWithHeaderFromPipe() const {
        return Arguments{"convert", path("in.raw"), path("out.raw"), "--header", path("pipe")} +
               raw("2,2", "uint8");
    }
};

} // namespace

TEST_F(Output, AFailureNamesTheOutputWhateverCharactersItsNameHas) {
    std::string const input = createSparse("in.raw", 1UL << 20);
    for (char const* const name : {"plain", "a&b", "a\"b", "a b"}) {
        boost::filesystem::create_directory(_folder / name);
        std::string const output = path(name) + "/out.raw";
        FileSizeLimit const limit(1UL << 16);
        ToolResult const result = runTool(Arguments{"convert", input, output} + raw("1024,1024", "uint8"));
        expectFailure(result, 1, "file " + output + '\n');
        std::ostringstream quotedOutput;
        quotedOutput << boost::filesystem::path(output);
        EXPECT_THAT(result.err, HasSubstr(quotedOutput.str()));
        EXPECT_THAT(result.err, Not(HasSubstr(".velmo-image-")));
        EXPECT_TRUE(boost::filesystem::is_empty(_folder / name));
    }
}

TEST_F(Output, AFileThatAppearsAtAnyMomentIsNotReplaced) {
    create("in.raw", "ABCD");
    ASSERT_EQ(0, mkfifo(path("pipe").c_str(), 0600));
    long call = 0;
    for (int nbPassed = 0; call != SYS_renameat2; ++nbPassed) {
        int const pipe = open(path("pipe").c_str(), O_RDWR | O_CLOEXEC);
        ToolProcess process(convertWithHeaderFromPipe());
        ASSERT_TRUE(process.waitForSleep());
        SyscallTrace trace(process.getPid());
        if (!trace.isAttached()) {
            GTEST_SKIP() << "the system forbids to trace a process";
        }
        close(pipe);
        for (int index = 0; index <= nbPassed; ++index) {
            call = trace.runToUseOf(path("out.raw"));
            ASSERT_LT(0, call) << "the conversion ended without a call of renameat2";
        }
        create("out.raw", "theirs");
        trace.detach();
        EXPECT_EQ(1, process.wait().status) << "after " << nbPassed << " calls";
        EXPECT_EQ("theirs", read("out.raw")) << "after " << nbPassed << " calls";
        EXPECT_THAT(list(), testing::ElementsAre("in.raw", "out.raw", "pipe"));
        boost::filesystem::remove(_folder / "out.raw");
    }
}

} // namespace velmo::test
