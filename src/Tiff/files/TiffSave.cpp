// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/files/TiffSave.h"

#include "Tiff/files/TiffOptions.h"
#include "Tiff/handle/TiffErrorHandler.h"
#include "Tiff/handle/TiffFileClosure.h"
#include "Tiff/model/TiffCreation.h"
#include "Tiff/model/TiffPixels.h"
#include "Tiff/planes/NewPageWriter.h"
#include "Tiff/planes/PlaneEncoder.h"
#include "Tiff/planes/TiffPlaneAccess.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOBase/PageBuffer.h>
#include <VELMOBase/ParallelRun.h>
#include <VELMOImage/DiskImage.h>
#include <VELMOImage/ImageStrip.h>
#include <VELMOImage/MemoryImage.h>
#include <VELMOImageFile/PageReader.h>
#include <algorithm>
#include <mutex>
#include <new>
#include <optional>
#include <utility>
#include <vector>

namespace velmo::image::file {

namespace {

/// The planes of all channels of a directory, on their way from the image to the file.
struct Page {
    PlaneRun place;                  ///< its whole plane of the first channel
    std::vector<void const*> pixels; ///< of each channel
    std::optional<EncodedStrips> encoded;

    /// The memory of the pixels, unless it is that of the image or of the batch.
    std::vector<boost::shared_ptr<InputImageYStrip2d>> planes;
};

/// Consecutive pages up to the first one that cannot be read.
struct PageBatch {
    std::vector<Page> pages;
    BoolResult result = success();
    PageBuffer memory; ///< of the pixels of disk images
};

/// Memory of batches that is used again, because new memory costs as much time as a copy of the pixels.
class BatchMemory {
  public:
    /// Memory of at least `nbBytes`, the same number in all calls; empty if the system refuses it.
    PageBuffer take(vlUInt64 nbBytes) {
        try {
            std::lock_guard<std::mutex> const lock(_mutex);
            if (_free.empty()) {
                _free.emplace_back(nbBytes);
            }
            PageBuffer taken = std::move(_free.back());
            _free.pop_back();
            return taken;
        } catch (std::bad_alloc const&) {
            return {};
        }
    }

    void giveBack(PageBuffer& memory) {
        if (memory.getData() != nullptr) {
            std::lock_guard<std::mutex> const lock(_mutex);
            _free.push_back(std::move(memory));
        }
    }

  private:
    std::mutex _mutex;
    std::vector<PageBuffer> _free;
};

/// The pages of an image in the order of their directories.
class ImagePages {
  public:
    explicit ImagePages(ImageConstPtr const& pImage)
        : _pImage(pImage), _geometry(pImage->getGeometry()), _bInterleaved(isInterleavedColor(_geometry)),
          _pDiskImage(dynamic_cast<DiskImage const*>(pImage.get())),
          _pPageReader(_bInterleaved && _pDiskImage != nullptr
                           ? dynamic_cast<BasePageReader const*>(_pDiskImage->getAccessor().get())
                           : nullptr) {}

    bool areOnDisk() const { return _pDiskImage != nullptr; }

    vlUInt64 getNbPages() const {
        return _geometry.getSizeZ() * (_bInterleaved ? 1 : _geometry.getSizeC()) * _geometry.getSizeT();
    }

    /// The memory of a page, whatever its pixel type is; empty if the number overflows 64 bits.
    std::optional<vlUInt64> getPageBytes() const {
        constexpr vlUInt64 largestSample = 4;
        return checkedMultiply(_geometry.getPlanNbPixels(), largestSample * getNbPageChannels());
    }

    /// Reads a page, into `pMemory` unless that is null.
    BoolResult read(vlUInt64 number, std::byte* pMemory, Page& page) const {
        page.place = toPlane(_geometry, _bInterleaved, number);
        vlUInt64 const planeBytes =
            _geometry.getPlanNbPixels() * getImageBufferBaseSize(getPlaneBufferType(_geometry, page.place.t));
        std::vector<void*> buffers;
        for (vlUInt64 c = 0; c < getNbPageChannels() && pMemory != nullptr; ++c) {
            buffers.push_back(pMemory + c * planeBytes);
        }
        page.pixels.assign(buffers.begin(), buffers.end());
        bool const bAtOnce = _pPageReader != nullptr && !buffers.empty();
        if (bAtOnce &&
            _pPageReader->readRawPage(page.place.z, page.place.t, 0, page.place.nbPixels, buffers)) {
            return success();
        }
        return readChannels(page, buffers);
    }

    BoolResult readPlane(PlaneRun const& place, boost::shared_ptr<InputImageYStrip2d>& pPlane) const {
        ImageStripExtractor::extractYStrip2d<InputImageYStrip2d>(
            place.z, place.c, place.t, 0, _geometry.getSizeY(), eSAT_Default, eSPD_Default, _pImage, pPlane);
        BoolResult const ready = pPlane->initBuffer();
        return ready ? pPlane->readFromImage() : ready;
    }

  private:
    vlUInt64 getNbPageChannels() const { return _bInterleaved ? _geometry.getSizeC() : 1; }

    /// Reads one channel after the other, into `buffers` unless there are none.
    BoolResult readChannels(Page& page, std::vector<void*> const& buffers) const {
        BoolResult result = success();
        for (vlUInt64 c = 0; c < getNbPageChannels() && result; ++c) {
            PlaneRun plane = page.place;
            plane.c += c;
            result = buffers.empty() ? readOwn(plane, page)
                                     : _pDiskImage->getAccessor()->readRawData(plane.z, plane.c, plane.t, 0,
                                                                               plane.nbPixels, buffers[c]);
            if (!result) {
                BoolResult const earlier = readEarlierPlanes(plane);
                result = earlier ? result : earlier;
            }
        }
        return result;
    }

    /// Reads the next channel of a page into memory of its own, or takes the memory of the image.
    BoolResult readOwn(PlaneRun const& plane, Page& page) const {
        page.planes.emplace_back();
        BoolResult result = readPlane(plane, page.planes.back());
        page.pixels.push_back(page.planes.back()->accessBuffer().getDataPtr());
        return result;
    }

    /// Fails if a plane fails that a save of one channel after the other would read before `plane`. Both
    /// kinds of saves therefore report the same plane.
    BoolResult readEarlierPlanes(PlaneRun const& plane) const {
        BoolResult result = success();
        for (vlUInt64 c = 0; _bInterleaved && c < plane.c && result; ++c) {
            for (vlUInt64 z = plane.z + 1; z < _geometry.getSizeZ() && result; ++z) {
                boost::shared_ptr<InputImageYStrip2d> pPlane;
                result = readPlane({z, c, plane.t, 0, plane.nbPixels}, pPlane);
            }
        }
        return result;
    }

    ImageConstPtr const& _pImage;
    BaseImageGeometry const& _geometry;
    bool _bInterleaved;
    DiskImage const* _pDiskImage;       ///< null for other images
    BasePageReader const* _pPageReader; ///< of an interleaved image; null if each channel is read
};

/// Saves the pages of an image to an open file.
class PageSaver {
  public:
    PageSaver(TIFF*& pTiff, boost::filesystem::path const& path, ImageConstPtr const& pImage,
              eTiffPolicy policy, std::vector<vlUInt64> pixelOffsets)
        : _pTiff(pTiff), _path(path), _geometry(pImage->getGeometry()), _policy(policy), _pages(pImage),
          _writer(pTiff, path, _geometry, policy, std::move(pixelOffsets)) {}

    /// Saves all pages. The failure of a page counts before those of later ones.
    BoolResult run(vlUInt64 nbThreads, eTiffCompression compression) {
        try {
            BoolResult result = writeAll(nbThreads, compression);
            return result ? _writer.flush() : result;
        } catch (...) {
            BoolResult before = _writer.flush();
            if (!before) {
                return before;
            }
            throw;
        }
    }

    /// All channels of each page get the pixels of the first channel of the image.
    BoolResult saveFirstChannel() const {
        BoolResult result = success();
        vlUInt64 const nbPages = _geometry.getSizeZ() * _geometry.getSizeT();
        for (vlUInt64 number = 0; number < nbPages && result; ++number) {
            result = saveFirstChannel(toPlane(_geometry, true, number));
        }
        return result;
    }

  private:
    BoolResult saveFirstChannel(PlaneRun const& plane) const {
        boost::shared_ptr<InputImageYStrip2d> pPlane;
        BoolResult read = _pages.readPlane(plane, pPlane);
        if (!read) {
            return read;
        }
        std::vector<void const*> const pixels(_geometry.getSizeC() == 4 ? 4 : 3,
                                              pPlane->accessBuffer().getDataPtr());
        return writePage(_pTiff, _path, _geometry, plane, _policy, pixels);
    }

    BoolResult writeAll(vlUInt64 nbThreads, eTiffCompression compression) {
        vlUInt64 const nbPages = _pages.getNbPages();
        vlUInt64 const pageBytes =
            std::max<vlUInt64>(1, _geometry.getFullMemorySize() / std::max<vlUInt64>(1, nbPages));
        constexpr vlUInt64 batchBytes = vlUInt64{1} << 20;
        _pagesPerBatch = nbThreads == 1 ? 1
                                        : std::clamp<vlUInt64>(batchBytes / pageBytes, 1,
                                                               divideUp(nbPages, nbThreads * 4));
        if (nbThreads > 1 && compression != eTC_None) {
            encode(nbThreads);
        }
        return runInOrder(
            nbThreads, divideUp(nbPages, _pagesPerBatch),
            [&](vlUInt64 thread, vlUInt64 batch) { return prepare(thread, batch); },
            [&](vlUInt64 /*batch*/, PageBatch& batch) { return write(batch); });
    }

    void encode(vlUInt64 nbThreads) {
        _encoding.emplace(_pTiff, _path, _geometry, _policy);
        for (vlUInt64 thread = 0; thread < nbThreads; ++thread) {
            _encoders.emplace_back(*_encoding);
        }
    }

    /// Memory for a batch of pages on disk; empty if they are read in another way.
    PageBuffer takeMemory() {
        auto const pageBytes =
            _pages.areOnDisk() && readsPagesAtOnce(_policy) ? _pages.getPageBytes() : std::nullopt;
        auto const nbBytes = pageBytes ? checkedMultiply(*pageBytes, _pagesPerBatch) : std::nullopt;
        return nbBytes ? _memory.take(*nbBytes) : PageBuffer();
    }

    PageBatch prepare(vlUInt64 thread, vlUInt64 number) {
        if (thread != 0) {
            TiffErrorHandler::getInstance().clearCurrentError();
        }
        PageBatch batch;
        vlUInt64 const first = number * _pagesPerBatch;
        vlUInt64 const end = std::min(first + _pagesPerBatch, _pages.getNbPages());
        batch.memory = takeMemory();
        vlUInt64 const pageBytes = batch.memory.getSize() / _pagesPerBatch;
        bool bNeedsMemory = _encoders.empty();
        for (vlUInt64 index = first; index < end && batch.result; ++index) {
            Page page;
            std::byte* const pMemory = batch.memory.getData();
            batch.result = _pages.read(
                index, pMemory == nullptr ? nullptr : pMemory + (index - first) * pageBytes, page);
            if (batch.result && !_encoders.empty()) {
                page.encoded = _encoders[thread].encode(page.place.t, page.pixels);
                bNeedsMemory = bNeedsMemory || !page.encoded;
            }
            if (batch.result) {
                batch.pages.push_back(std::move(page));
            }
        }
        if (!bNeedsMemory) {
            _memory.giveBack(batch.memory);
        }
        return batch;
    }

    /// Writes a batch, and releases each page.
    BoolResult write(PageBatch& batch) {
        for (Page& given : batch.pages) {
            Page const page = std::move(given);
            BoolResult result =
                _writer.write(page.place, page.pixels, page.encoded ? &*page.encoded : nullptr);
            if (!result) {
                return result;
            }
        }
        _memory.giveBack(batch.memory);
        BoolResult const before = batch.result ? success() : _writer.flush();
        return before ? batch.result : before;
    }

    TIFF*& _pTiff;
    boost::filesystem::path const& _path;
    BaseImageGeometry const& _geometry;
    eTiffPolicy _policy;
    ImagePages _pages;
    NewPageWriter _writer;
    vlUInt64 _pagesPerBatch = 1;
    BatchMemory _memory;
    std::optional<PlaneEncoding> _encoding;
    std::vector<PlaneEncoder> _encoders; ///< one for each thread; none if `writePlanes` encodes
};

/// Threads are useful for encoding, and to read from the image while the file is written.
vlUInt64 countThreads(ImageConstPtr const& pImage, eTiffCompression compression,
                      processor::ProcessorDispatchPolicy const& threads) {
    constexpr vlUInt64 bytesToEncode = vlUInt64{1} << 20;
    constexpr vlUInt64 bytesToRead = vlUInt64{16} << 20;
    BaseImageGeometry const& geometry = pImage->getGeometry();
    if (geometry.getFullMemorySize() == 0 ||
        (compression == eTC_None && dynamic_cast<MemoryImage const*>(pImage.get()) != nullptr)) {
        return 1;
    }
    return countUsefulThreads(threads, geometry, compression == eTC_None ? bytesToRead : bytesToEncode);
}

} // namespace

void saveTiffImage(boost::filesystem::path const& path, ImageConstPtr const& pImage,
                   eTiffCompression compression, eTiffPolicy policy,
                   processor::ProcessorDispatchPolicy const& threads, FamilyFailure const& failure) {
    BaseImageGeometry const& geometry = pImage->getGeometry();
    std::string const& userProperties = pImage->getUserPropertiesStr();
    GeometricCalibrationConstPtr const pCalibration = pImage->getGeometricCalibrationConstPtr();
    TIFF* pTiff = nullptr;
    TiffFileClosure const closure(path.string(), pTiff);
    std::vector<vlUInt64> pixelOffsets;
    failure.require(
        createTiffFile(path, geometry, pCalibration, userProperties, compression, pTiff, pixelOffsets));
    PageSaver saver(pTiff, path, pImage, policy, std::move(pixelOffsets));
    bool const bRgb = isInterleavedRgb(pTiff, path); // false: a new file has no current directory
    failure.require(bRgb ? saver.saveFirstChannel()
                         : saver.run(countThreads(pImage, compression, threads), compression));
}

} // namespace velmo::image::file
