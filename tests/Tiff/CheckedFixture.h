// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "CapturedLog.h"
#include "Tiff/files/CheckedTiffImageFile.h"
#include "files/TiffImageFileFixture.h"

#include <VELMOImage/BaseImage.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <optional>

namespace velmo::image::file {

inline constexpr eTiffPolicy g_allPolicies[] = {eTiffPolicy::Plain, eTiffPolicy::Strict,
                                                eTiffPolicy::Tolerant};

/// A read of one plane: its bytes, or the text of the failure.
struct PlaneRead {
    std::optional<std::string> pixels;
    std::string failure;
};

/// A file opened under a policy, and the warnings that the module has logged since.
class PolicyFile {
  public:
    PolicyFile(path const& path, eTiffPolicy policy, OpenRequest const& request = {});

    BoolResult const& getOpening() const { return _opening; }
    BaseImageGeometry const& getGeometry() const { return _pFile->getGeometry(); }
    TiffImageFile& getFile() { return *_pFile; }
    /// A run, or a whole plane, read into bytes of `fill`.
    PlaneRead read(PixelRun const& run, char fill = '\x55') const;
    PlaneRead readPlane(vlUInt64 z = 0, vlUInt64 c = 0, vlUInt64 t = 0, char fill = '\x55') const;
    /// Warnings about files that do not hold what they announce.
    std::vector<std::string> getWarnings() const;

  private:
    velmo::test::CapturedLog _log;
    boost::shared_ptr<TiffImageFile> _pFile;
    BoolResult _opening;
};

/// What a load gives: the bytes of all planes, c within z within t, or the text of what it throws.
struct Loaded {
    std::optional<std::string> pixels;
    std::string failure;
    std::vector<std::string> warnings;
};
Loaded loadPlainly(path const& path);
Loaded loadChecked(path const& path, TiffReadOptions const& options = {});
TiffReadOptions tolerant();

/// The warnings of the list that say something of pixels: not of orientation or resolution.
std::vector<std::string> findWarnings(std::vector<velmo::test::CapturedLog::Record> const& records);

} // namespace velmo::image::file
