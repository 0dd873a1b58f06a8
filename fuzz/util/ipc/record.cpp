// The record decoder on arbitrary bytes. It must stay within them, leave the record alone when it
// refuses, and encode again to what decodes the same.
#include <string>
#include <vector>

#include "fuzz/support/support.h"
#include "util/ipc/IPCParam.h"

namespace {
std::string Encode(IPCParam& record)
{
    const int length = record.GetSeiralizedLength();
    std::string bytes(static_cast<std::size_t>(length), '\x55');
    fuzz::Require(record.Serialize(reinterpret_cast<unsigned char*>(&bytes[0])) == length,
                  "the encoding has another length than announced");
    return bytes;
}

int Decode(IPCParam& record, const std::string& bytes)
{
    // Memory of exactly this size, so that a read beyond it is noticed.
    const std::vector<unsigned char> exact(bytes.begin(), bytes.end());
    return record.DeSerialize(exact.data(), static_cast<int>(exact.size()));
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool quiet = (fuzz::QuietLog(), true);
    static_cast<void>(quiet);
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    IPCParam record;
    record.Add("kept", 7);
    const int result = Decode(record, bytes);
    fuzz::Require(result <= static_cast<int>(size), "more consumed than there is");
    fuzz::Require(record.GetCount() >= 1 && record.GetArg(0)->mValue == 7, "the record changed");
    if (result < 0) {
        fuzz::Require(record.GetCount() == 1, "something of a refused encoding stayed");
        return 0;
    }
    const std::string encoded = Encode(record);
    IPCParam copy;
    fuzz::Require(Decode(copy, encoded) == static_cast<int>(encoded.size()),
                  "the own encoding is refused");
    fuzz::Require(Encode(copy) == encoded, "encoding and decoding changed the record");
    return 0;
}
