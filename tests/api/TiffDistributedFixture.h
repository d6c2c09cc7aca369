// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "RecordingEngine.h"
#include "TiffFunctions.h"

namespace velmo::test {

/// 4 x 3 pixels in a volume of `nbPlanes`, or as many time steps of one plane.
inline image::ImageGeometryPtr makeModelGeometry(vlUInt64 nbPlanes, bool bSequence) {
    image::VolumeGeometry volume;
    image::TemporalGeometry temporal;
    if (bSequence) {
        volume.init2d();
        temporal.initSequence(nbPlanes);
    } else {
        volume.init3d(nbPlanes);
        temporal.initSingle();
    }
    return image::geometry(image::eIBT_Real32, 4, 3, volume, image::ColorGeometry(), temporal);
}

inline image::DistributedImagePtr makeModel(image::BaseImageGeometry const& geometry) {
    return makeDistributedImage(geometry, std::string(geometry.getFullMemorySize(), 'm'));
}

/// A file of this module, both functions that load it, and workers that keep a record.
class TiffDistributedLoad : public TiffFunctions {
  protected:
    using Form =
        std::function<image::DistributedImagePtr(boost::filesystem::path const&, bool defaultDispatch)>;

    TiffDistributedLoad() : _replaced(createRecordingEngine(_pRecord)) {
        image::ImageGeometryPtr const pModel = image::duplicateGeometry(*_pGeometry);
        pModel->setBufferType(image::eIBT_UInt8);
        _pModel = makeModel(*pModel);
        saveExample(image::file::eTC_Lzw);
    }

    void resetCounts() {
        _pRecord->nbAdded = _pRecord->nbDropped = _pRecord->nbWrites = _pRecord->nbFills = 0;
        _pRecord->writers.clear();
    }

    /// Both forms, the second with the example's sizes.
    std::vector<Form> getForms() const { return getForms(image::file::eTDM_Volume, *_pModel); }

    static std::vector<Form> getForms(image::file::eTiffDirectoryMode mode,
                                      image::DistributedImage const& model) {
        return {
            [mode](boost::filesystem::path const& path, bool b) {
                return image::file::loadDistributedTiffImageFile(path, mode, image::file::eTBM_Default, b);
            },
            [&model](boost::filesystem::path const& path, bool b) {
                return image::file::loadDistributedTiffImageFile(path, model, image::file::eTBM_Default, b);
            }};
    }

    void forEachCall(std::function<void(Form const&, bool defaultDispatch)> const& call) const {
        for (Form const& load : getForms()) {
            call(load, false);
            call(load, true);
        }
    }

    /// Runs `check` on what each form loads under each dispatch.
    void forEachLoad(std::vector<Form> const& forms,
                     std::function<void(image::DistributedImagePtr const&)> const& check) const {
        for (std::size_t form = 0; form < forms.size(); ++form) {
            for (bool const defaultDispatch : {false, true}) {
                SCOPED_TRACE(std::string(form == 0 ? "mode" : "model") + (defaultDispatch ? " default" : ""));
                check(forms[form](_path, defaultDispatch));
                EXPECT_EQ(countOpen(_path), 0);
            }
        }
    }

    std::shared_ptr<WorkerRecord> _pRecord = std::make_shared<WorkerRecord>();
    ReplacedEngine _replaced;
    image::DistributedImagePtr _pModel; ///< the example's sizes with another pixel type
};

} // namespace velmo::test
