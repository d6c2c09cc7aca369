// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "wire/Bytes.h"

namespace velmo::image::mpi {

ByteWriter& ByteWriter::operator<<(std::uint64_t value) {
    for (unsigned int i = 0; i < 8; ++i) {
        _bytes.push_back(static_cast<char>(static_cast<unsigned char>(value >> (8 * i))));
    }
    return *this;
}

ByteWriter& ByteWriter::operator<<(std::string_view text) {
    *this << static_cast<std::uint64_t>(text.size());
    _bytes.append(text);
    return *this;
}

ByteReader& ByteReader::operator>>(std::uint64_t& value) {
    value = 0;
    _bGood = _bGood && _rest.size() >= 8;
    if (_bGood) {
        for (unsigned int i = 8; i-- > 0;) {
            value = (value << 8U) | static_cast<unsigned char>(_rest[i]);
        }
        _rest.remove_prefix(8);
    }
    return *this;
}

ByteReader& ByteReader::operator>>(std::string& text) {
    text.clear();
    std::uint64_t size = 0;
    *this >> size;
    _bGood = _bGood && size <= _rest.size();
    if (_bGood) {
        text = _rest.substr(0, size);
        _rest.remove_prefix(size);
    }
    return *this;
}

} // namespace velmo::image::mpi
