// Cap'n Proto: fields at fixed places, read in place with every access checked.
#include <capnp/message.h>
#include <capnp/serialize.h>

#include "benchmarks/support/interleave.h"
#include "benchmarks/util/ipc/record_case.h"
#include "record.capnp.h"

namespace {
kj::Array<capnp::word> Encode(int first)
{
    capnp::MallocMessageBuilder message;
    auto sent = message.initRoot<bench::capnp::Status>();
    sent.setPlayTime(first);
    sent.setEndTime(first + 1);
    sent.setSpeed(first + 2);
    sent.setStatus(first + 3);
    sent.setMediaStatus(first + 4);
    sent.setWidth(first + 5);
    sent.setHeight(first + 6);
    sent.setInSeek(first + 7);
    sent.setTotalBytesHigh(first + 8);
    sent.setTotalBytesLow(first + 9);
    sent.setCurrentOffsetHigh(first + 10);
    sent.setCurrentOffsetLow(first + 11);
    return capnp::messageToFlatArray(message);
}

int Run(int first)
{
    const kj::Array<capnp::word> words = Encode(first);
    bench::Keep(*words.begin());
    capnp::FlatArrayMessageReader message(words);
    const auto got = message.getRoot<bench::capnp::Status>();
    return got.getPlayTime() + got.getEndTime() + got.getSpeed() + got.getStatus() +
           got.getMediaStatus() + got.getWidth() + got.getHeight() + got.getInSeek() +
           got.getTotalBytesHigh() + got.getTotalBytesLow() + got.getCurrentOffsetHigh() +
           got.getCurrentOffsetLow();
}

const RegisteredRecord sRegistered(4, "capnproto", Run);
}  // namespace
