// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "InputFile.h"

#include <optional>
#include <string>
#include <tiffio.h>
#include <vector>

namespace velmo::importer {

/// A handle of libtiff on a file. Its messages stay with it; the handlers of the process are not called. For
/// one thread at a time.
class TiffHandle {
  public:
    /// Reads the first directory. Throws ImportException if the file is not a TIFF file.
    explicit TiffHandle(InputFilePtr const& pFile);
    ~TiffHandle();
    TiffHandle(TiffHandle const&) = delete;
    TiffHandle& operator=(TiffHandle const&) = delete;

    TIFF* get() const { return _pTiff; }
    InputFile const& getFile() const { return *_pFile; }

    /// Reads the directory at an offset, unless it is the current one. False if it cannot be read.
    bool select(vlUInt64 offset);

    /// libtiff's last error; empty if there was none since the last call.
    std::string takeError();
    /// libtiff's warnings since the last call, without those about unknown tags; at most a few.
    std::vector<std::string> takeWarnings();

    /// libtiff's first warning about a chunk that ends early, since the last call; empty if there was none.
    std::string takePrematureEnd();
    /// Whether a table of tiles or strips had another length than their number, since the opening.
    bool hasIncompleteTable() const { return _bIncompleteTable; }

    /// The value of a tag that libtiff stores as this type.
    template <class Value>
    std::optional<Value> getTag(std::uint32_t tag) const {
        Value value{};
        return TIFFGetField(_pTiff, tag, &value) == 1 ? std::optional<Value>(value) : std::nullopt;
    }
    /// The same; the default that TIFF defines if the tag is missing.
    template <class Value>
    Value getTagOr(std::uint32_t tag, Value value) const {
        return getTag<Value>(tag).value_or(value);
    }

  private:
    struct Client;

    void keep(std::string const& warning);

    InputFilePtr const _pFile;
    TIFF* _pTiff = nullptr;
    vlUInt64 _position = 0;
    std::string _error;
    std::vector<std::string> _warnings;
    std::string _prematureEnd;
    bool _bIncompleteTable = false;
};

} // namespace velmo::importer
