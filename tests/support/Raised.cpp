// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Raised.h"

#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOUtil/Logging.h>
#include <algorithm>
#include <boost/filesystem/operations.hpp>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image::file;

namespace {

void expectLogged(BaseException const& exception, std::vector<CapturedLog::Record> records) {
    records.erase(std::remove_if(records.begin(), records.end(),
                                 [](CapturedLog::Record const& record) {
                                     return record.level == log4cplus::WARN_LOG_LEVEL;
                                 }),
                  records.end());
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].logger, getVELMOImageFileLoggerName());
    EXPECT_EQ(records[0].level, log4cplus::ERROR_LOG_LEVEL);
    EXPECT_EQ(records[0].message, exception.what());
    EXPECT_EQ(records[0].file, exception.getFile());
    EXPECT_EQ(records[0].line, static_cast<int>(exception.getLine()));
}

} // namespace

std::optional<Raised> expectRaisedFrom(std::string const& source, Action const& action) {
    CapturedLog const log(getBaseLogger());
    try {
        action();
    } catch (VELMOImageFileException const& exception) {
        EXPECT_TRUE(typeid(exception) == typeid(VELMOImageFileException));
        // The line is that of the step that failed, in whichever source file of the module.
        EXPECT_EQ(exception.getFile().substr(0, 4), source.substr(0, 4));
        EXPECT_GT(exception.getLine(), 0U);
        expectLogged(exception, log.getRecords());
        return Raised{exception.what(), exception.getFunction()};
    }
    ADD_FAILURE() << "nothing was raised";
    return std::nullopt;
}

std::string quoted(fs::path const& path) {
    std::string text = "\"";
    for (char const character : path.string()) {
        text +=
            character == '"' || character == '&' ? std::string("&") + character : std::string(1, character);
    }
    return text + '"';
}

int countOpen(fs::path const& path) {
    int nbOpen = 0;
    for (fs::directory_entry const& entry : fs::directory_iterator("/proc/self/fd")) {
        boost::system::error_code ignored; // the iterator's own descriptor is gone by now
        nbOpen += fs::read_symlink(entry.path(), ignored) == path ? 1 : 0;
    }
    return nbOpen;
}

} // namespace velmo::test
