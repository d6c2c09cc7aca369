// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "wire/Failure.h"

#include "wire/Bytes.h"

#include <VELMOSerialization/VELMOSerializationLog.h>
#include <VELMOUtil/GuardedRaise.h>
#include <VELMOUtil/Logging.h>

namespace velmo::image::mpi {

namespace {

struct Failure {
    std::string text;
    std::string function;
    std::string file;
    std::uint64_t line = 0;
    MessageIds ids;
};

std::string encode(Failure const& failure) {
    ByteWriter writer;
    writer << failure.text << failure.function << failure.file << failure.line;
    writer << static_cast<std::uint64_t>(failure.ids.getAll().size());
    for (MessageId const& id : failure.ids.getAll()) {
        writer << id.domain << static_cast<std::uint64_t>(id.id);
    }
    return writer.take();
}

bool decode(std::string_view bytes, Failure& failure) {
    ByteReader reader(bytes);
    std::uint64_t nbIds = 0;
    reader >> failure.text >> failure.function >> failure.file >> failure.line >> nbIds;
    for (std::uint64_t i = 0; i < nbIds && reader.isGood(); ++i) {
        std::string domain;
        std::uint64_t id = 0;
        reader >> domain >> id;
        if (reader.isGood()) {
            failure.ids.add(domain, static_cast<int>(id));
        }
    }
    return reader.isWhole();
}

Failure toFailure(BaseException const& exception) {
    return {exception.what(), exception.getFunction(), exception.getFile(), exception.getLine(),
            exception.getMessageIds()};
}

template <class Exception>
[[noreturn]] void logAndThrow(Failure const& failure, log4cplus::Logger& logger) {
    Exception exception(failure.text, failure.function.c_str(), failure.file.c_str(),
                        static_cast<unsigned int>(failure.line));
    exception.setMessageIds(failure.ids);
    if (logger.isEnabledFor(log4cplus::ERROR_LOG_LEVEL)) {
        logMessage(logger, log4cplus::ERROR_LOG_LEVEL, failure.text, failure.file,
                   static_cast<int>(failure.line));
    }
    throw exception; // NOLINT(misc-throw-by-value-catch-by-reference): the ids are set before
}

} // namespace

SentOutcome runForReply(std::function<BoolResult()> const& work) {
    UnloggedRaises const unlogged;
    try {
        BoolResult const result = work();
        if (result) {
            return {};
        }
        return {eOutcome::Failure, encode({result.getMessage(), {}, {}, 0, result.getMessageIds()})};
    } catch (VELMOSerializationException const& exception) {
        return {eOutcome::SerializationException, encode(toFailure(exception))};
    } catch (BaseException const& exception) {
        return {eOutcome::OtherException, encode(toFailure(exception))};
    } catch (std::exception const& exception) {
        return {eOutcome::OtherException, encode({exception.what(), {}, {}, 0, {}})};
    } catch (...) {
        return {eOutcome::OtherException, encode({"Unknown exception", {}, {}, 0, {}})};
    }
}

BoolResult takeOutcome(eOutcome outcome, std::string_view payload, std::string const& place) {
    if (outcome == eOutcome::Success) {
        return success();
    }
    Failure failure;
    if (!decode(payload, failure)) {
        return velmo::failure("The reply to a request is damaged" + place);
    }
    failure.text += place;
    if (outcome == eOutcome::SerializationException) {
        logAndThrow<VELMOSerializationException>(failure, getVELMOSerializationLogger());
    }
    if (outcome == eOutcome::OtherException) {
        logAndThrow<BaseException>(failure, getBaseLogger());
    }
    return velmo::failure(failure.text, failure.ids);
}

} // namespace velmo::image::mpi
