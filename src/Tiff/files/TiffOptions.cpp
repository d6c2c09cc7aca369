// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/files/TiffOptions.h"

#include "Tiff/files/CheckedTiffImageFile.h"

#include <algorithm>
#include <boost/make_shared.hpp>

namespace velmo::image::file {

TiffOpenRequest toRequest(TiffReadOptions const& options) {
    return {eIAM_ReadOnly, options.directories, options.pixels,
            options.bTolerant ? eTiffPolicy::Tolerant : eTiffPolicy::Strict};
}

vlUInt64 countUsefulThreads(processor::ProcessorDispatchPolicy const& threads,
                            BaseImageGeometry const& geometry, vlUInt64 bytesForThread) {
    vlUInt64 const nbThreads = threads.getNbThreads();
    return threads.isDefault()
               ? std::clamp<vlUInt64>(geometry.getFullMemorySize() / bytesForThread, 1, nbThreads)
               : nbThreads;
}

boost::shared_ptr<TiffImageFile> createAccessor(eTiffPolicy policy) {
    if (policy == eTiffPolicy::Plain) {
        return boost::make_shared<TiffImageFile>();
    }
    return boost::make_shared<CheckedTiffImageFile>(policy);
}

} // namespace velmo::image::file
