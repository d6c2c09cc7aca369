// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Description.h"

#include <VELMOImage/DiskImage.h>
#include <pybind11/pybind11.h>
#include <string>

namespace velmo::python {

/// An image whose pixels stay in its file. Any number of threads may read from it.
class Source {
  public:
    /// `path` is the file or the folder, for errors. The caller holds the interpreter lock.
    Source(image::ImagePtr const& pImage, std::string const& path);
    /// Opens the image of `getRecord`. Raises VelmoImageError if that fails.
    static Source restore(std::string const& record, std::string const& path,
                          std::string const& userProperties);

    /// All properties except the pixels.
    Description const& getDescription() const { return _description; }
    /// Reads the region of `first`, `step` and `number` along each of T, C, Z, Y and X into `out`, an array
    /// of that shape and of the type of the pixels. Raises VelmoImageError; a part of `out` is then written.
    void read(std::array<vlUInt64, 5> const& first, std::array<std::int64_t, 5> const& step,
              pybind11::array& out) const;
    /// The archive record of the accessor, from which another process opens the file again.
    std::string getRecord() const;
    /// The file or the folder.
    std::string const& getPath() const { return _path; }

  private:
    image::ImagePtr _pImage;
    std::string _path;
    Description _description;
};

/// Adds the class to the module.
void bindSource(pybind11::module_& module);

} // namespace velmo::python
