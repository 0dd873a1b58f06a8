// Protocol Buffers: fields by number, no names on the wire.
#include "benchmarks/support/interleave.h"
#include "benchmarks/util/ipc/record_case.h"
#include "record.pb.h"

namespace {
int Run(int first)
{
    bench::Status sent;
    sent.set_play_time(first);
    sent.set_end_time(first + 1);
    sent.set_speed(first + 2);
    sent.set_status(first + 3);
    sent.set_media_status(first + 4);
    sent.set_width(first + 5);
    sent.set_height(first + 6);
    sent.set_in_seek(first + 7);
    sent.set_total_bytes_high(first + 8);
    sent.set_total_bytes_low(first + 9);
    sent.set_current_offset_high(first + 10);
    sent.set_current_offset_low(first + 11);
    unsigned char bytes[512];
    const std::size_t length = sent.ByteSizeLong();
    sent.SerializeWithCachedSizesToArray(bytes);
    bench::Keep(bytes);
    bench::Status got;
    got.ParseFromArray(bytes, static_cast<int>(length));
    return got.play_time() + got.end_time() + got.speed() + got.status() + got.media_status() +
           got.width() + got.height() + got.in_seek() + got.total_bytes_high() +
           got.total_bytes_low() + got.current_offset_high() + got.current_offset_low();
}

const RegisteredRecord sRegistered(2, "protobuf", Run);
}  // namespace
