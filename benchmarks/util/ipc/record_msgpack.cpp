// MessagePack's C library: a map from the names to the integers, as self-describing as the record
// here.
#include <msgpack.h>

#include <cstring>

#include "benchmarks/support/interleave.h"
#include "benchmarks/util/ipc/record_case.h"

namespace {
void Pack(msgpack_sbuffer& buffer, int first)
{
    msgpack_packer packer;
    msgpack_packer_init(&packer, &buffer, msgpack_sbuffer_write);
    msgpack_pack_map(&packer, kIntegers);
    for (int index = 0; index < kIntegers; ++index) {
        const std::size_t length = std::strlen(kNames[index]);
        msgpack_pack_str(&packer, length);
        msgpack_pack_str_body(&packer, kNames[index], length);
        msgpack_pack_int(&packer, first + index);
    }
}

int Run(int first)
{
    msgpack_sbuffer buffer;
    msgpack_sbuffer_init(&buffer);
    Pack(buffer, first);
    bench::Keep(*buffer.data);
    msgpack_unpacked result;
    msgpack_unpacked_init(&result);
    int sum = 0;
    if (msgpack_unpack_next(&result, buffer.data, buffer.size, nullptr) == MSGPACK_UNPACK_SUCCESS) {
        for (unsigned index = 0; index < result.data.via.map.size; ++index) {
            sum += static_cast<int>(result.data.via.map.ptr[index].val.via.i64);
        }
    }
    msgpack_unpacked_destroy(&result);
    msgpack_sbuffer_destroy(&buffer);
    return sum;
}

const RegisteredRecord sRegistered(5, "msgpack", Run);
}  // namespace
