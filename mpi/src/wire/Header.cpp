// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "wire/Header.h"

#include <cstring>

namespace velmo::image::mpi {

namespace {

constexpr std::uint64_t g_mark = 0x314D504F4D4C4556; // "VELMOPM1"
constexpr std::size_t g_nbNumbers = g_headerSize / 8;
constexpr std::size_t g_nbSummed = g_nbNumbers - 1;

using Numbers = std::array<std::uint64_t, g_nbNumbers>;

Numbers toNumbers(Header const& header) {
    return {g_mark,
            static_cast<std::uint64_t>(header.message),
            static_cast<std::uint64_t>(header.outcome),
            header.sequence,
            header.request,
            header.arguments[0],
            header.arguments[1],
            header.arguments[2],
            header.arguments[3],
            header.nbPayload,
            header.payloadSum,
            0};
}

void putNumber(std::uint64_t value, std::byte* pBytes) {
    for (unsigned int i = 0; i < 8; ++i) {
        pBytes[i] = static_cast<std::byte>(value >> (8 * i));
    }
}

std::uint64_t getNumber(std::byte const* pBytes) {
    std::uint64_t value = 0;
    for (unsigned int i = 8; i-- > 0;) {
        value = (value << 8U) | std::to_integer<std::uint64_t>(pBytes[i]);
    }
    return value;
}

} // namespace

HeaderBytes encodeHeader(Header const& header) {
    HeaderBytes bytes;
    Numbers const numbers = toNumbers(header);
    for (std::size_t i = 0; i < g_nbSummed; ++i) {
        putNumber(numbers[i], bytes.data() + 8 * i);
    }
    putNumber(sumBytes(bytes.data(), 8 * g_nbSummed), bytes.data() + 8 * g_nbSummed);
    return bytes;
}

std::optional<Header> decodeHeader(HeaderBytes const& bytes) {
    Numbers numbers = {};
    for (std::size_t i = 0; i < g_nbNumbers; ++i) {
        numbers[i] = getNumber(bytes.data() + 8 * i);
    }
    bool const bKnown =
        numbers[0] == g_mark && numbers[1] >= 1 && numbers[1] <= static_cast<std::uint64_t>(eMessage::Last) &&
        numbers[2] <= static_cast<std::uint64_t>(eOutcome::Last) && numbers[9] <= g_largestPayload;
    if (!bKnown || numbers[g_nbSummed] != sumBytes(bytes.data(), 8 * g_nbSummed)) {
        return std::nullopt;
    }
    Header header;
    header.message = static_cast<eMessage>(numbers[1]);
    header.outcome = static_cast<eOutcome>(numbers[2]);
    header.sequence = numbers[3];
    header.request = numbers[4];
    header.arguments = {numbers[5], numbers[6], numbers[7], numbers[8]};
    header.nbPayload = numbers[9];
    header.payloadSum = numbers[10];
    return header;
}

std::uint64_t sumBytes(void const* pBytes, std::size_t nbBytes) {
    constexpr std::uint64_t prime = 0x9E3779B97F4A7C15;
    std::uint64_t sum = prime ^ nbBytes;
    auto const mix = [&sum](std::uint64_t word) {
        sum = (sum ^ word) * prime;
        sum ^= sum >> 29U;
    };
    auto const* const pFirst = static_cast<unsigned char const*>(pBytes);
    std::size_t done = 0;
    for (; nbBytes - done >= 8; done += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, pFirst + done, 8);
        mix(word);
    }
    for (; done < nbBytes; ++done) {
        mix(pFirst[done]);
    }
    return sum;
}

} // namespace velmo::image::mpi
