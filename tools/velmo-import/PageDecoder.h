// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "PageList.h"
#include "SampleConversion.h"

#include <VELMOUtil/BoolResult.h>
#include <functional>
#include <memory>
#include <set>
#include <vector>

namespace velmo::importer {

/// Where the pixels of a page are.
struct PageSource {
    std::size_t file = 0;
    vlUInt64 offset = 0;   ///< of the directory; of the first pixel if it is stacked
    vlUInt64 number = 0;   ///< of the directory, or of the plane in the stack
    std::size_t kind = 0;  ///< index of its shape and PixelKind
    bool bStacked = false; ///< a plane of a stack in one directory, without tiles or strips of its own
};

/// The shape of pages and what becomes of their pixels.
struct PageKind {
    PageShape shape;
    PixelKind pixels;
    bool bSwapStacked = false; ///< stacked planes are in the other byte order
};

/// What the pixels of all pages showed.
struct DecodedFacts {
    Rounding rounding;
    std::set<std::string> warnings; ///< of libtiff
};

/// Decodes pages of several files. Memory: one tile or strip for each thread; large strips are decoded row by
/// row. For one thread at a time.
class PageDecoder {
  public:
    /// `nbThreads` 0: one for each processor. `isStopped` may be empty.
    PageDecoder(std::vector<InputFilePtr> files, std::vector<PageKind> kinds, vlUInt64 nbThreads,
                std::function<bool()> isStopped);
    ~PageDecoder();
    PageDecoder(PageDecoder const&) = delete;
    PageDecoder& operator=(PageDecoder const&) = delete;

    /// Decodes channels of a page into whole planes in row-major order; a null pointer leaves a channel out.
    /// Fails with a text that names the file, the directory, and the tile or strip.
    BoolResult decode(PageSource const& source, std::vector<std::byte*> const& planes);

    PageKind const& getKind(PageSource const& source) const { return _kinds[source.kind]; }
    InputFile const& getFile(PageSource const& source) const { return *_files[source.file]; }
    DecodedFacts const& getFacts() const { return _facts; }

  private:
    class Worker;

    vlUInt64 chooseThreads(PageKind const& kind) const;
    Worker& getWorker(vlUInt64 thread, std::size_t file);
    void merge(Worker& worker);

    std::vector<InputFilePtr> const _files;
    std::vector<PageKind> const _kinds;
    vlUInt64 const _nbThreads;
    std::function<bool()> const _isStopped;
    std::vector<std::unique_ptr<Worker>> _workers; ///< one for each thread
    DecodedFacts _facts;
};

} // namespace velmo::importer
