// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "LoopbackJob.h"
#include "wire/Bytes.h"
#include "wire/Failure.h"

#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOSerialization/VELMOSerializationLog.h>
#include <gmock/gmock.h>
#include <random>
#include <sstream>

namespace velmo::test {

using namespace image;
using namespace image::mpi;

namespace {

/// A driver that sends any message to one server, which is a thread of this process.
class BadDriver {
  public:
    BadDriver() : _pHub(std::make_shared<LoopbackHub>(2)), _transport(_pHub, 0) {
        _server = std::thread([this] {
            RankSession session(std::make_unique<LoopbackTransport>(_pHub, 1), describeLoopbackRank(1),
                                getPatientTiming());
            _status = session.serve();
        });
        send(eMessage::Welcome, {}, {});
    }

    ~BadDriver() { end(); }
    BadDriver(BadDriver const&) = delete;
    BadDriver& operator=(BadDriver const&) = delete;

    int end() {
        if (_server.joinable()) {
            send(eMessage::Stop, {}, {});
            _server.join();
        }
        return _status;
    }

    void send(eMessage message, std::array<std::uint64_t, g_nbArguments> const& arguments,
              std::string const& payload) {
        Header header;
        header.message = message;
        header.sequence = _nextSequence++;
        header.request = header.sequence;
        header.arguments = arguments;
        header.nbPayload = payload.size();
        header.payloadSum = sumBytes(payload.data(), payload.size());
        static_cast<void>(_transport.startSend(1, header, payload.data()));
    }

    void sendBytes(HeaderBytes const& bytes, std::string const& payload) {
        _pHub->send(0, 1, {bytes, payload, {}});
    }

    /// The outcome of the next reply; other messages are passed over. Its payload is in `payload`.
    eOutcome awaitReply(std::string& payload) {
        auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        Arrival arrival;
        while (std::chrono::steady_clock::now() < end) {
            auto const header =
                _transport.receiveHeader(arrival) ? decodeHeader(arrival.header) : std::nullopt;
            if (header && header->message == eMessage::Reply) {
                payload.resize(header->nbPayload);
                static_cast<void>(_transport.startReceive(1, *header, payload.data()));
                return header->outcome;
            }
            std::this_thread::yield();
        }
        throw std::runtime_error("the server does not answer");
    }

    /// The outcome of a request, and its text if it failed.
    eOutcome ask(eMessage message, std::array<std::uint64_t, g_nbArguments> const& arguments,
                 std::string const& payload = {}) {
        send(message, arguments, payload);
        return awaitReply(_answer);
    }

    std::string const& getAnswer() const { return _answer; }

  private:
    std::shared_ptr<LoopbackHub> _pHub;
    LoopbackTransport _transport;
    std::thread _server;
    std::uint64_t _nextSequence = 0;
    std::string _answer;
    int _status = -1;
};

std::string makeGeometryRecord() {
    std::ostringstream stream;
    BinaryOArchive archive(stream);
    archive.writeObject("geometry", duplicateGeometry(*geometry3d(eIBT_UInt16, 7, 5, 4)));
    return stream.str();
}

std::string makeRandomText(std::mt19937& random, std::size_t most) {
    std::string text(random() % most, '\0');
    for (char& letter : text) {
        letter = static_cast<char>(random());
    }
    return text;
}

} // namespace

TEST(BadRequest, EveryKindOfGarbageIsAnsweredWithAFailure) {
    BadDriver driver;
    ASSERT_EQ(driver.ask(eMessage::AddBlock, {1, 0, 4}, makeGeometryRecord()), eOutcome::Success);
    EXPECT_EQ(driver.ask(eMessage::AddBlock, {2, 0, 4}, "no geometry"), eOutcome::SerializationException);
    EXPECT_EQ(driver.ask(eMessage::AddBlock, {2, 0, 4}), eOutcome::SerializationException);
    EXPECT_EQ(driver.ask(eMessage::AddBlock, {2, ~std::uint64_t{0}, 4}, makeGeometryRecord()),
              eOutcome::Failure);
    EXPECT_EQ(driver.ask(eMessage::AddBlock, {2, 0, 0}, makeGeometryRecord()), eOutcome::Failure);
    EXPECT_EQ(driver.ask(eMessage::DropBlock, {77}), eOutcome::Success);
    EXPECT_EQ(driver.ask(eMessage::ReadBlock, {77, 0, 1}), eOutcome::Failure);
    EXPECT_EQ(driver.ask(eMessage::ReadBlock, {1, 0, ~std::uint64_t{0}}), eOutcome::Failure);
    EXPECT_EQ(driver.ask(eMessage::ReadBlock, {1, ~std::uint64_t{0}, 2}), eOutcome::Failure);
    EXPECT_EQ(driver.ask(eMessage::WriteBlock, {1, 279}, "ab"), eOutcome::Failure);
    EXPECT_EQ(driver.ask(eMessage::WriteBlock, {1, 280}), eOutcome::Success) << "no bytes";
    EXPECT_EQ(driver.ask(eMessage::FillBlock, {1, 5}), eOutcome::Failure);
    EXPECT_EQ(driver.ask(eMessage::EndFilling, {5}), eOutcome::Success);
    EXPECT_EQ(driver.ask(eMessage::BeginFilling, {5}, "no record"), eOutcome::Success);
    EXPECT_EQ(driver.ask(eMessage::FillBlock, {1, 5}), eOutcome::SerializationException);
    EXPECT_EQ(driver.ask(eMessage::RunPlanes, {1}, "nothing"), eOutcome::Failure);
    EXPECT_EQ(driver.ask(eMessage::RunPlanes, {77}), eOutcome::Failure);
    EXPECT_EQ(driver.ask(eMessage::WriteFile, {1, 0, 0}, std::string("no\0file", 7)), eOutcome::Failure);
    EXPECT_EQ(driver.ask(eMessage::ReadBlock, {1, 0, 280}), eOutcome::Success);
    EXPECT_EQ(driver.getAnswer(), std::string(280, '\0'));
    EXPECT_EQ(driver.end(), 0);
}

TEST(BadRequest, AServerSurvivesThousandsOfRandomRequests) {
    BadDriver driver;
    std::mt19937 random(3);
    std::string const record = makeGeometryRecord();
    ASSERT_EQ(driver.ask(eMessage::AddBlock, {1, 0, 4}, record), eOutcome::Success);
    int nbFailures = 0;
    for (int round = 0; round < 3000; ++round) {
        auto const message =
            static_cast<eMessage>(static_cast<std::uint64_t>(eMessage::AddBlock) +
                                  random() % (static_cast<std::uint64_t>(eMessage::WriteFile) -
                                              static_cast<std::uint64_t>(eMessage::AddBlock) + 1));
        std::string payload = random() % 2 == 0 ? makeRandomText(random, 400) : record;
        if (!payload.empty()) {
            payload[random() % payload.size()] ^= static_cast<char>(random());
        }
        nbFailures += driver.ask(message, {random() % 4, random() % 8, random() % 8, random()}, payload) !=
                              eOutcome::Success
                          ? 1
                          : 0;
    }
    EXPECT_GT(nbFailures, 1000);
    EXPECT_EQ(driver.ask(eMessage::GetRoom, {}), eOutcome::Success);
    EXPECT_EQ(driver.end(), 0);
}

TEST(BadRequest, BytesThatAreNoMessageAreIgnored) {
    BadDriver driver;
    std::mt19937 random(4);
    for (int round = 0; round < 1000; ++round) {
        HeaderBytes bytes = encodeHeader(Header());
        for (std::byte& byte : bytes) {
            byte = round % 2 == 0 || random() % 20 == 0 ? static_cast<std::byte>(random()) : byte;
        }
        driver.sendBytes(bytes, makeRandomText(random, 100));
    }
    EXPECT_EQ(driver.ask(eMessage::GetRoom, {}), eOutcome::Success);
    EXPECT_EQ(driver.end(), 0);
}

TEST(BadRequest, AReplyThatIsNoFailureIsDescribed) {
    EXPECT_TRUE(takeOutcome(eOutcome::Success, "", " (rank 1)"));
    EXPECT_EQ(takeOutcome(eOutcome::Failure, "garbage", " (rank 1)").getMessage(),
              "The reply to a request is damaged (rank 1)");
    ByteWriter writer;
    writer << "text"
           << "function"
           << "file" << std::uint64_t{1} << ~std::uint64_t{0};
    EXPECT_EQ(takeOutcome(eOutcome::OtherException, writer.take(), "").getMessage(),
              "The reply to a request is damaged");
}

} // namespace velmo::test
