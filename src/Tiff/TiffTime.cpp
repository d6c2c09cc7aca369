// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/TiffTime.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/format.hpp>

namespace velmo {
namespace image {
namespace file {

std::string getTiffFormatedTime() {
    boost::posix_time::ptime const now = boost::posix_time::second_clock::local_time();
    auto const date = now.date().year_month_day();
    auto const time = now.time_of_day();
    boost::format text("%04d:%02d:%02d %02d:%02d:%02d");
    text % static_cast<int>(date.year) % date.month.as_number() % date.day.as_number();
    return (text % time.hours() % time.minutes() % time.seconds()).str();
}

} // namespace file
} // namespace image
} // namespace velmo
