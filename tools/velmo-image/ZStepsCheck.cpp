// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ZStepsCheck.h"

#include "Failure.h"

#include <VELMOImageFile/TiffImageFileMessage.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOUtil/FileKind.h>
#include <VELMOUtil/LastError.h>
#include <VELMOUtil/LogMessageFormater.h>
#include <VELMOUtil/Types.h>
#include <boost/algorithm/string/trim.hpp>
#include <boost/filesystem/fstream.hpp>
#include <boost/lexical_cast.hpp>
#include <cmath>

namespace velmo {
namespace tool {

namespace {

namespace fs = boost::filesystem;
using Message = image::file::eTiffImageFileMessage;

/// A longer line is no number: another file was taken for one of steps.
constexpr std::size_t g_maxLineSize = 4096;

template <class Value>
[[noreturn]] void fail(Message::domain id, fs::path const& path, Value const& value) {
    LogMessageFormater formater(image::file::getVELMOImageFileLogMessageManager());
    throw WorkFailure((formater[id] % path.string() % value).string());
}

/// A line without its line feed, or the first bytes of a line that is too long. False at the end.
bool readLine(std::istream& stream, std::string& line) {
    line.clear();
    char byte = 0;
    while (line.size() <= g_maxLineSize && stream.get(byte)) {
        if (byte == '\n') {
            return true;
        }
        line += byte;
    }
    return !line.empty();
}

/// As the library reads the line: in single precision.
bool isStep(std::string const& line) {
    float step = 0;
    return boost::conversion::try_lexical_convert(line, step) && std::isfinite(step) && step > 0;
}

} // namespace

void requireZSteps(fs::path const& path) {
    if (std::error_code const error = getReadAllError(path)) {
        fail(Message::eTIFM_ZStepsFileError, path, error.message());
    }
    if (path.extension() == ".xml") {
        return;
    }
    fs::ifstream stream(path, std::ios::in | std::ios::binary);
    if (!stream) {
        fail(Message::eTIFM_ZStepsFileError, path, getLastError());
    }
    std::string line;
    for (vlUInt64 number = 1; readLine(stream, line); ++number) {
        bool const bTooLong = line.size() > g_maxLineSize;
        boost::algorithm::trim(line);
        if (bTooLong || (!line.empty() && !isStep(line))) {
            fail(Message::eTIFM_ZStepsTxtFieldError, path, number);
        }
    }
    if (stream.bad()) {
        fail(Message::eTIFM_ZStepsFileError, path, getLastError());
    }
}

} // namespace tool
} // namespace velmo
