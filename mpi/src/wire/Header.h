// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace velmo::image::mpi {

/// Version of the messages. Ranks of different versions do not work together.
constexpr std::uint64_t g_protocolVersion = 1;
/// Most bytes behind a header. Longer transfers are divided: counts of MPI are of type int.
constexpr std::uint64_t g_largestPayload = std::uint64_t{64} << 20;

/// What a message is.
enum class eMessage : std::uint64_t {
    Hello = 1,    ///< server: its description is in the payload
    Welcome,      ///< driver: all ranks fit together
    Refused,      ///< driver: they do not; the reason is in the payload
    Alive,        ///< sent at intervals
    Stop,         ///< driver: the session ends
    Stopped,      ///< server: it has ended all work
    Lost,         ///< server: number of a message that did not arrive
    Reply,        ///< server: answer to a request
    AddBlock,     ///< block, first plane, number of planes; the geometry is in the payload
    DropBlock,    ///< block
    ReadBlock,    ///< block, offset, number of bytes
    WriteBlock,   ///< block, offset; the bytes are in the payload
    BeginFilling, ///< filling; the record of the accessor is in the payload
    FillBlock,    ///< block, filling
    EndFilling,   ///< filling
    GetRoom,      ///< answered with the available memory
    RunPlanes,    ///< block; name and argument of the function are in the payload
    WriteFile,    ///< block, offset in the file, size of the file; the path is in the payload
    GuardFile,    ///< the path of a temporary file of the driver is in the payload
    GuardFolder,  ///< the path of a folder in which the driver saves is in the payload
    Last = GuardFolder
};

/// How a request ended. The payload of all but the first one is a failure.
enum class eOutcome : std::uint64_t {
    Success,
    Failure,                ///< a failed BoolResult
    SerializationException, ///< VELMOSerializationException
    OtherException,
    Last = OtherException
};

constexpr std::size_t g_nbArguments = 4;

/// The first part of every message.
struct Header {
    eMessage message = eMessage::Alive;
    eOutcome outcome = eOutcome::Success; ///< of a reply
    std::uint64_t sequence = 0;           ///< number of the message from this sender to this receiver, from 0
    std::uint64_t request = 0;            ///< number of the request, also in its reply
    std::array<std::uint64_t, g_nbArguments> arguments = {};
    std::uint64_t nbPayload = 0;  ///< bytes behind the header
    std::uint64_t payloadSum = 0; ///< checksum of the payload, if the transport wants one
};

/// Bytes of a header: its eleven numbers, a constant and a checksum, each 8 bytes and little-endian.
constexpr std::size_t g_headerSize = std::size_t{12} * 8;
using HeaderBytes = std::array<std::byte, g_headerSize>;

HeaderBytes encodeHeader(Header const& header);
/// Empty for bytes that no rank of this version sends.
std::optional<Header> decodeHeader(HeaderBytes const& bytes);

/// Checksum of bytes.
std::uint64_t sumBytes(void const* pBytes, std::size_t nbBytes);

} // namespace velmo::image::mpi
