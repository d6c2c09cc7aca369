// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PageDecoder.h"

#include "ChunkReader.h"
#include "LabColours.h"
#include "Palette.h"

#include <VELMOBase/ParallelRun.h>
#include <VELMOImageFile/PixelTypeNames.h>
#include <algorithm>
#include <cstring>
#include <thread>

namespace velmo::importer {

namespace {

using Planes = std::vector<std::byte*>;

/// A page of fewer bytes is decoded by one thread.
constexpr vlUInt64 g_smallPage = vlUInt64{1} << 20;
/// Rows of stacked planes are read in pieces of about this size.
constexpr vlUInt64 g_stackedPiece = vlUInt64{1} << 20;

void swapBytes(std::byte* pBytes, vlUInt64 nbBytes, vlUInt64 size) {
    for (vlUInt64 start = 0; start + size <= nbBytes; start += size) {
        std::reverse(pBytes + start, pBytes + start + size);
    }
}

bool isWanted(Planes const& planes, vlUInt64 channel) {
    return channel < planes.size() && planes[channel] != nullptr;
}

/// The samples in planes of their own that are wanted; the first one if a chunk holds all samples.
std::vector<std::uint16_t> listSamples(PageKind const& kind, Planes const& planes) {
    if (!kind.shape.bSeparate || kind.pixels.decoding == eDecoding::Rgba) {
        return {0};
    }
    std::vector<std::uint16_t> samples;
    for (std::uint16_t sample = 0; sample < kind.shape.samples; ++sample) {
        if (isWanted(planes, sample)) {
            samples.push_back(sample);
        }
    }
    return samples;
}

} // namespace

/// The handle and the buffers of one thread.
class PageDecoder::Worker {
  public:
    Worker(InputFilePtr const& pFile, std::size_t file) : _file(file), _handle(pFile) {}

    std::size_t getFileIndex() const { return _file; }
    TiffHandle& accessHandle() { return _handle; }
    Rounding rounding;
    std::set<std::string> warnings;

    BoolResult decodeChunk(PageSource const& source, PageKind const& kind, Chunk const& chunk,
                           Planes const& planes) {
        if (!_handle.select(source.offset)) {
            return failure("the directory cannot be read: " + _handle.takeError());
        }
        ChunkReader reader(_handle, kind.shape, kind.pixels, warnings);
        if (_preparedOffset != source.offset) {
            reader.prepare();
            _preparedOffset = source.offset;
            if (kind.pixels.bPalette) {
                _palette = readPalette(_handle, kind.shape);
                _palette.shift = kind.pixels.type == image::eIBT_UInt8 ? 8 : 0;
            }
        }
        return reader.read(chunk, _chunk, [&](std::uint32_t y, std::byte const* pRow) {
            return putRow(kind, chunk, y, pRow, planes);
        });
    }

    BoolResult decodeStacked(InputFile const& file, PageSource const& source, PageKind const& kind,
                             Planes const& planes) {
        vlUInt64 const rowBytes = kind.shape.getRowBytes().value_or(0); // checked with the plane
        auto const nbRowsOfPiece =
            static_cast<std::uint32_t>(std::clamp<vlUInt64>(g_stackedPiece / rowBytes, 1, kind.shape.sizeY));
        BoolResult result = success();
        for (std::uint32_t y = 0; y < kind.shape.sizeY && result; y += nbRowsOfPiece) {
            std::uint32_t const nbRows = std::min(nbRowsOfPiece, kind.shape.sizeY - y);
            _chunk.resize(rowBytes * nbRows);
            if (file.readAt(source.offset + y * rowBytes, _chunk.data(), _chunk.size()) != _chunk.size()) {
                return failure("the file ends in row " + std::to_string(y) + " or after it");
            }
            if (kind.bSwapStacked) {
                swapBytes(_chunk.data(), _chunk.size(), kind.shape.bits / 8U);
            }
            Chunk const rows = {0, 0, 0, y, kind.shape.sizeX, nbRows};
            for (std::uint32_t row = 0; row < nbRows && result; ++row) {
                result = putRow(kind, rows, row, _chunk.data() + row * rowBytes, planes);
            }
        }
        return result;
    }

  private:
    BoolResult putRow(PageKind const& kind, Chunk const& chunk, std::uint32_t y, std::byte const* pRow,
                      Planes const& planes) {
        vlUInt64 const first = (vlUInt64{chunk.y} + y) * kind.shape.sizeX + chunk.x;
        if (kind.pixels.decoding != eDecoding::Samples || kind.pixels.bPalette) {
            putColours(kind, chunk, pRow, first, planes);
            return success();
        }
        vlUInt64 const pixelSize = kind.pixels.getPixelSize();
        for (vlUInt64 sample = 0; sample < kind.pixels.nbStored; ++sample) {
            vlUInt64 const channel = kind.shape.bSeparate ? chunk.sample : sample;
            if (!isWanted(planes, channel)) {
                continue;
            }
            PixelKind const& pixels = kind.pixels;
            auto const unfit = convertRun(pixels, {pRow, sample, chunk.nbColumns},
                                          planes[channel] + first * pixelSize, rounding);
            if (unfit) {
                return failure("the value " + unfit->value + " in column " +
                               std::to_string(chunk.x + unfit->pixel) + ", row " +
                               std::to_string(vlUInt64{chunk.y} + y) + ", sample " + std::to_string(channel) +
                               " does not fit into " + image::file::getPixelTypeName(pixels.type));
            }
        }
        return success();
    }

    /// Colours of 8 bits that the codec or libtiff interleaves, or those of a palette.
    void putColours(PageKind const& kind, Chunk const& chunk, std::byte const* pRow, vlUInt64 first,
                    Planes const& planes) {
        PixelKind const& pixels = kind.pixels;
        if (pixels.bPalette) {
            putPalette(pixels, chunk, pRow, first, planes);
            return;
        }
        if (pixels.decoding == eDecoding::LabRgb) {
            putLab(kind.shape, chunk, pRow, first, planes);
            return;
        }
        for (vlUInt64 channel = 0; channel < 3; ++channel) {
            if (isWanted(planes, channel)) {
                std::byte* const pPixels = planes[channel] + first;
                for (vlUInt64 pixel = 0; pixel < chunk.nbColumns; ++pixel) {
                    pPixels[pixel] = pRow[pixel * pixels.nbStored + channel];
                }
            }
        }
    }

    static void putLab(PageShape const& shape, Chunk const& chunk, std::byte const* pRow, vlUInt64 first,
                       Planes const& planes) {
        vlUInt64 const storedSize = vlUInt64{3} * shape.bits / 8;
        for (vlUInt64 pixel = 0; pixel < chunk.nbColumns; ++pixel) {
            auto const rgb = toRgb(shape, pRow + pixel * storedSize);
            for (vlUInt64 channel = 0; channel < rgb.size(); ++channel) {
                if (isWanted(planes, channel)) {
                    planes[channel][first + pixel] = std::byte{rgb[channel]};
                }
            }
        }
    }

    void putPalette(PixelKind const& pixels, Chunk const& chunk, std::byte const* pRow, vlUInt64 first,
                    Planes const& planes) {
        vlUInt64 const indexSize = pixels.bits <= 8 ? 1 : 2;
        _indexes.resize(chunk.nbColumns * indexSize);
        static_cast<void>(convertRun(pixels, {pRow, 0, chunk.nbColumns}, _indexes.data(), rounding));
        std::vector<std::uint16_t> const* const channels[] = {&_palette.red, &_palette.green, &_palette.blue};
        vlUInt64 const pixelSize = pixels.getPixelSize();
        for (vlUInt64 channel = 0; channel < 3; ++channel) {
            for (vlUInt64 pixel = 0; pixel < chunk.nbColumns && isWanted(planes, channel); ++pixel) {
                std::uint16_t index = 0;
                std::memcpy(&index, _indexes.data() + pixel * indexSize, indexSize);
                auto const colour = static_cast<std::uint16_t>((*channels[channel])[index] >> _palette.shift);
                std::memcpy(planes[channel] + (first + pixel) * pixelSize, &colour, pixelSize);
            }
        }
    }

    std::size_t const _file;
    TiffHandle _handle;
    std::optional<vlUInt64> _preparedOffset;
    Palette _palette;
    std::vector<std::byte> _chunk;
    std::vector<std::byte> _indexes;
};

PageDecoder::PageDecoder(std::vector<InputFilePtr> files, std::vector<PageKind> kinds, vlUInt64 nbThreads,
                         std::function<bool()> isStopped)
    : _files(std::move(files)), _kinds(std::move(kinds)),
      _nbThreads(nbThreads != 0 ? nbThreads : std::max(1U, std::thread::hardware_concurrency())),
      _isStopped(std::move(isStopped)), _workers(_nbThreads) {}

PageDecoder::~PageDecoder() = default;

PageDecoder::Worker& PageDecoder::getWorker(vlUInt64 thread, std::size_t file) {
    std::unique_ptr<Worker>& pWorker = _workers[thread];
    if (!pWorker || pWorker->getFileIndex() != file) {
        pWorker.reset();
        pWorker = std::make_unique<Worker>(_files[file], file);
    }
    return *pWorker;
}

vlUInt64 PageDecoder::chooseThreads(PageKind const& kind) const {
    bool const bCostly = kind.shape.compression != COMPRESSION_NONE || !kind.pixels.isCopy() ||
                         kind.pixels.decoding != eDecoding::Samples;
    vlUInt64 const nbBytes = kind.shape.getRowBytes().value_or(0) * kind.shape.sizeY;
    return bCostly && nbBytes >= g_smallPage ? _nbThreads : 1;
}

BoolResult PageDecoder::decode(PageSource const& source, std::vector<std::byte*> const& planes) {
    PageKind const& kind = getKind(source);
    std::string const place = "\"" + getFile(source).getPath().string() + "\", " +
                              (source.bStacked ? "plane " : "directory ") + std::to_string(source.number);
    if (source.bStacked) {
        Worker& worker = getWorker(0, source.file);
        BoolResult const result = worker.decodeStacked(getFile(source), source, kind, planes);
        merge(worker);
        return result ? success() : failure(place + ": " + result.getMessage());
    }
    std::vector<std::uint16_t> const samples = listSamples(kind, planes);
    ChunkGrid const grid(kind.shape);
    vlUInt64 const nbUnits = grid.getNbChunks() * samples.size();
    vlUInt64 const nbThreads = std::min(chooseThreads(kind), nbUnits);
    BoolResult result = runParallel(nbThreads, nbUnits, [&](vlUInt64 thread, vlUInt64 unit) {
        if (_isStopped && _isStopped()) {
            return failure("interrupted");
        }
        Chunk const chunk = grid.getChunk(samples[unit / grid.getNbChunks()], unit % grid.getNbChunks());
        BoolResult const done = getWorker(thread, source.file).decodeChunk(source, kind, chunk, planes);
        return done ? success()
                    : failure(place + (kind.shape.bTiled ? ", tile " : ", strip ") +
                              std::to_string(chunk.index) + ": " + done.getMessage());
    });
    for (vlUInt64 thread = 0; thread < nbThreads; ++thread) {
        if (_workers[thread]) {
            merge(*_workers[thread]);
        }
        if (!result) { // a codec may accept a damaged chunk when it is decoded again on the same handle
            _workers[thread].reset();
        }
    }
    return result;
}

void PageDecoder::merge(Worker& worker) {
    if (worker.rounding.greatestError > _facts.rounding.greatestError) {
        _facts.rounding = worker.rounding;
    }
    _facts.warnings.insert(worker.warnings.begin(), worker.warnings.end());
}

} // namespace velmo::importer
