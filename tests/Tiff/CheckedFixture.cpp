// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CheckedFixture.h"

#include "Tiff/files/TiffOptions.h"

#include <VELMOImageFile/VELMOImageFileLog.h>
#include <log4cplus/loglevel.h>

namespace velmo::image::file {

using velmo::test::CapturedLog;

std::vector<std::string> findWarnings(std::vector<CapturedLog::Record> const& records) {
    std::vector<std::string> warnings;
    for (CapturedLog::Record const& record : records) {
        bool const bOfPixels = record.message.find("Un supported plan orientation") != 0 &&
                               record.message.find("Resolution values") != 0;
        if (record.level == log4cplus::WARN_LOG_LEVEL && bOfPixels) {
            warnings.push_back(record.message);
        }
    }
    return warnings;
}

PolicyFile::PolicyFile(path const& path, eTiffPolicy policy, OpenRequest const& request)
    : _log(getVELMOImageFileLogger()), _pFile(createAccessor(policy)), _opening(success()) {
    std::string userProperties;
    _opening =
        _pFile->openFile(path, request.access, request.directoryMode, request.bufferMode, userProperties);
}

PlaneRead PolicyFile::read(PixelRun const& run, char fill) const {
    unsigned int const width = getImageBufferBaseSize(getPlaneBufferType(getGeometry(), run.t));
    std::string pixels(run.count * width, fill);
    BoolResult const result = _pFile->readRawData(run.z, run.c, run.t, run.start, run.count, pixels.data());
    return result ? PlaneRead{pixels, {}} : PlaneRead{std::nullopt, result.getMessage()};
}

PlaneRead PolicyFile::readPlane(vlUInt64 z, vlUInt64 c, vlUInt64 t, char fill) const {
    return read({z, c, t, 0, getGeometry().getPlanNbPixels()}, fill);
}

std::vector<std::string> PolicyFile::getWarnings() const {
    return findWarnings(_log.getRecords());
}

namespace {

std::string collectPixels(BaseImage const& image) {
    BaseImageGeometry const& geometry = image.getGeometry();
    std::string all;
    for (vlUInt64 t = 0; t < geometry.getSizeT(); ++t) {
        for (vlUInt64 z = 0; z < geometry.getSizeZ(); ++z) {
            for (vlUInt64 c = 0; c < geometry.getSizeC(); ++c) {
                unsigned int const width = getImageBufferBaseSize(getPlaneBufferType(geometry, t));
                std::string plane(geometry.getPlanNbPixels() * width, '\x55');
                EXPECT_THAT(image.readPixels(z, c, t, 0, geometry.getPlanNbPixels(), plane.data()),
                            Succeeds());
                all += plane;
            }
        }
    }
    return all;
}

template <class Load>
Loaded record(Load const& load) {
    CapturedLog const log(getVELMOImageFileLogger());
    Loaded loaded;
    try {
        loaded.pixels = collectPixels(*load());
    } catch (std::exception const& exception) {
        loaded.failure = exception.what();
    }
    loaded.warnings = findWarnings(log.getRecords());
    return loaded;
}

} // namespace

Loaded loadPlainly(path const& path) {
    return record([&] { return loadTiffImageFile(path, eTDM_Volume, eTBM_Default); });
}

Loaded loadChecked(path const& path, TiffReadOptions const& options) {
    return record([&] { return loadTiffImageFile(path, options); });
}

TiffReadOptions tolerant() {
    TiffReadOptions options;
    options.bTolerant = true;
    return options;
}

} // namespace velmo::image::file
