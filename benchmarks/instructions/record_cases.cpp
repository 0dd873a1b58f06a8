// The record of twelve integers, into bytes and back.
#include "benchmarks/instructions/counting.h"
#include "benchmarks/support/interleave.h"
#include "benchmarks/support/processes.h"
#include "benchmarks/util/ipc/record_case.h"
#include "util/ipc/IPCParam.h"

namespace {
constexpr int kRoom = 512;

int Encode(unsigned char* bytes)
{
    IPCParam record;
    for (int index = 0; index < kIntegers; ++index) {
        record.Add(kNames[index], 1000 + index);
    }
    return record.Serialize(bytes);
}

void Decode(const unsigned char* bytes, int length)
{
    IPCParam record;
    record.DeSerialize(bytes, length);
    bench::Keep(record);
}

void CountEncode(int records)
{
    unsigned char bytes[kRoom];
    count::Count(records, [&] { bench::Keep(Encode(bytes)); });
}

void CountDecode(int records)
{
    unsigned char bytes[kRoom];
    const int length = Encode(bytes);
    IPCParam whole;
    bench::Require(whole.DeSerialize(bytes, length) == length, "the record");
    count::Count(records, [&] { Decode(bytes, length); });
}

const count::RegisteredCase sEncode(6, "record/encode", {1000, CountEncode});
const count::RegisteredCase sDecode(7, "record/decode", {1000, CountDecode});
}  // namespace
