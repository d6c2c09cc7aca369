// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/StatsReport.h"

#include "commands/NumberText.h"

#include <VELMOImageFile/PixelTypeNames.h>
#include <boost/algorithm/string/replace.hpp>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <sstream>

namespace velmo::tool {

namespace {

using nlohmann::ordered_json;

char const* getGroupingName(eGrouping grouping) {
    switch (grouping) {
    case eGrouping::Plane:
        return "plane";
    case eGrouping::Channel:
        return "channel";
    case eGrouping::Time:
        return "time";
    case eGrouping::Image:
        break;
    }
    return "file";
}

vlUInt64 countNonFinite(TallySummary const& summary) {
    return summary.nbNaN + summary.nbPositiveInfinity + summary.nbNegativeInfinity;
}

std::ostream& putLine(std::ostream& text, std::string const& label) {
    return text << "\n  " << std::left << std::setw(12) << label;
}

/// Which pixels were measured; nothing for the whole file.
void putIndexes(PixelStatistics const& statistics, std::ostream& text) {
    if (statistics.z) {
        putLine(text, "plane") << "z " << *statistics.z << ", c " << *statistics.c << ", t " << *statistics.t;
    } else if (statistics.c) {
        putLine(text, "channel") << *statistics.c;
    } else if (statistics.t) {
        putLine(text, "time step") << *statistics.t;
    }
}

double findLargestError(PixelStatistics const& statistics) {
    double error = 0;
    for (Percentile const& percentile : statistics.percentiles) {
        error = std::max(error, percentile.error);
    }
    return error;
}

void putPercentiles(PixelStatistics const& statistics, std::ostream& text) {
    for (Percentile const& percentile : statistics.percentiles) {
        putLine(text, toText(percentile.percent) + " %") << toText(percentile.value);
        if (percentile.error != 0) {
            text << "  (error at most " << toText(percentile.error, 2) << ')';
        }
    }
}

void putHistogram(Histogram const& histogram, std::ostream& text) {
    auto const nbParts = static_cast<double>(histogram.counts.size());
    double const step = (histogram.high - histogram.low) / nbParts;
    putLine(text, "histogram") << histogram.counts.size() << " parts"
                               << (histogram.bExact ? "" : "; pixels near a bound may be in the part beside");
    for (std::size_t part = 0; part < histogram.counts.size(); ++part) {
        text << "\n    from " << std::left << std::setw(14)
             << toText(histogram.low + static_cast<double>(part) * step) << ' ' << histogram.counts[part];
    }
}

void putSet(PixelStatistics const& statistics, std::ostream& text) {
    TallySummary const& summary = statistics.summary;
    putIndexes(statistics, text);
    putLine(text, "pixels") << summary.nbFinite + countNonFinite(summary) << ' '
                            << image::file::getPixelTypeName(statistics.type);
    if (countNonFinite(summary) != 0) {
        putLine(text, "not finite") << summary.nbNaN << " NaN, " << summary.nbPositiveInfinity
                                    << " infinity, " << summary.nbNegativeInfinity << " -infinity";
    }
    if (summary.nbFinite != 0) {
        putLine(text, "minimum") << toText(summary.minimum);
        putLine(text, "maximum") << toText(summary.maximum);
        putLine(text, "mean") << toText(summary.mean);
        putLine(text, "deviation") << toText(summary.deviation);
        putPercentiles(statistics, text);
        if (!statistics.histogram.counts.empty()) {
            putHistogram(statistics.histogram, text);
        }
    }
}

std::string quoteField(std::string const& text) {
    return text.find_first_of(",\"\r\n") == std::string::npos
               ? text
               : '"' + boost::algorithm::replace_all_copy(text, "\"", "\"\"") + '"';
}

void putField(std::ostream& line, std::optional<vlUInt64> const& index) {
    line << ',';
    if (index) {
        line << *index;
    }
}

/// A value of the finite pixels, which may be none.
void putField(std::ostream& line, TallySummary const& summary, double value) {
    line << ',' << (summary.nbFinite != 0 ? toExactText(value) : std::string());
}

ordered_json toJson(std::optional<vlUInt64> const& index) {
    return index ? ordered_json(*index) : ordered_json(nullptr);
}

ordered_json toJson(TallySummary const& summary, double value) {
    return summary.nbFinite != 0 ? toJsonNumber(value) : ordered_json(nullptr);
}

ordered_json toJson(PixelStatistics const& statistics, bool bHistogram) {
    TallySummary const& summary = statistics.summary;
    ordered_json entry = {{"z", toJson(statistics.z)},
                          {"c", toJson(statistics.c)},
                          {"t", toJson(statistics.t)},
                          {"pixelType", image::file::getPixelTypeName(statistics.type)},
                          {"pixels", summary.nbFinite + countNonFinite(summary)},
                          {"nan", summary.nbNaN},
                          {"positiveInfinity", summary.nbPositiveInfinity},
                          {"negativeInfinity", summary.nbNegativeInfinity},
                          {"minimum", toJson(summary, summary.minimum)},
                          {"maximum", toJson(summary, summary.maximum)},
                          {"mean", toJson(summary, summary.mean)},
                          {"standardDeviation", toJson(summary, summary.deviation)}};
    ordered_json percentiles = ordered_json::array();
    for (Percentile const& percentile : statistics.percentiles) {
        percentiles.push_back({{"percent", percentile.percent},
                               {"value", toJson(summary, percentile.value)},
                               {"error", toJson(summary, percentile.error)}});
    }
    entry["percentiles"] = percentiles;
    entry["histogram"] = nullptr;
    if (bHistogram && summary.nbFinite != 0) {
        Histogram const& histogram = statistics.histogram;
        entry["histogram"] = {{"low", toJsonNumber(histogram.low)},
                              {"high", toJsonNumber(histogram.high)},
                              {"exact", histogram.bExact},
                              {"counts", histogram.counts}};
    }
    return entry;
}

} // namespace

std::string toText(MeasuredFile const& file) {
    std::ostringstream text;
    text << file.file;
    for (PixelStatistics const& statistics : file.statistics) {
        putSet(statistics, text);
    }
    text << '\n';
    return text.str();
}

std::string getCsvHeader(StatisticsRequest const& request) {
    std::ostringstream line;
    line << "file,z,c,t,pixelType,pixels,nan,positiveInfinity,negativeInfinity,minimum,maximum,mean,"
            "standardDeviation";
    for (double const percent : request.percents) {
        line << ",p" << toExactText(percent);
    }
    line << ",percentileError";
    if (request.nbHistogramParts != 0) {
        line << ",histogramLow,histogramHigh";
    }
    for (vlUInt64 part = 0; part < request.nbHistogramParts; ++part) {
        line << ",histogram" << part;
    }
    line << '\n';
    return line.str();
}

std::string toCsv(MeasuredFile const& file) {
    std::ostringstream lines;
    for (PixelStatistics const& statistics : file.statistics) {
        TallySummary const& summary = statistics.summary;
        lines << quoteField(file.file);
        putField(lines, statistics.z);
        putField(lines, statistics.c);
        putField(lines, statistics.t);
        lines << ',' << image::file::getPixelTypeName(statistics.type) << ','
              << summary.nbFinite + countNonFinite(summary) << ',' << summary.nbNaN << ','
              << summary.nbPositiveInfinity << ',' << summary.nbNegativeInfinity;
        for (double const value : {summary.minimum, summary.maximum, summary.mean, summary.deviation}) {
            putField(lines, summary, value);
        }
        for (Percentile const& percentile : statistics.percentiles) {
            putField(lines, summary, percentile.value);
        }
        putField(lines, summary, findLargestError(statistics));
        if (!statistics.histogram.counts.empty()) {
            putField(lines, summary, statistics.histogram.low);
            putField(lines, summary, statistics.histogram.high);
        }
        for (vlUInt64 const nb : statistics.histogram.counts) {
            lines << ',' << nb;
        }
        lines << '\n';
    }
    return lines.str();
}

std::string toJson(std::vector<MeasuredFile> const& files) {
    ordered_json entries = ordered_json::array();
    for (MeasuredFile const& file : files) {
        ordered_json sets = ordered_json::array();
        for (PixelStatistics const& statistics : file.statistics) {
            sets.push_back(toJson(statistics, !statistics.histogram.counts.empty()));
        }
        bool const bFailed = !file.error.empty();
        entries.push_back({{"file", file.file},
                           {"format", file.format},
                           {"by", getGroupingName(file.grouping)},
                           {"statistics", bFailed ? ordered_json(nullptr) : sets},
                           {"error", bFailed ? ordered_json(file.error) : ordered_json(nullptr)}});
    }
    ordered_json const document = {{"schema", 1}, {"files", entries}};
    return document.dump(2, ' ', false, ordered_json::error_handler_t::replace) + '\n';
}

} // namespace velmo::tool
