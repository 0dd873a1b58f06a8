// The record decoder on arbitrary bytes. It must stay within them, leave the record alone when it
// refuses, and encode again to what decodes the same.
#include "fuzz/support/support.h"
#include "tests/support/Records.h"

using test::Decode;
using test::Encoded;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
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
    const std::string encoded = Encoded(record);
    fuzz::Require(static_cast<int>(encoded.size()) == record.GetSeiralizedLength(),
                  "the encoding has another length than announced");
    IPCParam copy;
    fuzz::Require(Decode(copy, encoded) == static_cast<int>(encoded.size()),
                  "the own encoding is refused");
    fuzz::Require(Encoded(copy) == encoded, "encoding and decoding changed the record");
    return 0;
}
