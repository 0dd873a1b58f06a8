// The record decoder on arbitrary bytes. It must stay within them, leave the record alone when it
// refuses, and encode again to what decodes the same.
#include "fuzz/support/support.h"
#include "tests/support/Records.h"

using test::Decode;
using test::Encoded;

void fuzz::Run(const std::string& bytes)
{
    IPCParam record;
    record.Add("kept", 7);
    const int result = Decode(record, bytes);
    Require(result <= static_cast<int>(bytes.size()), "more consumed than there is");
    Require(record.GetCount() >= 1 && record.GetArg(0)->mValue == 7, "the record changed");
    if (result < 0) {
        Require(record.GetCount() == 1, "something of a refused encoding stayed");
        return;
    }
    const std::string encoded = Encoded(record);
    Require(static_cast<int>(encoded.size()) == record.GetSeiralizedLength(),
            "the encoding has another length than announced");
    IPCParam copy;
    Require(Decode(copy, encoded) == static_cast<int>(encoded.size()),
            "the own encoding is refused");
    Require(Encoded(copy) == encoded, "encoding and decoding changed the record");
}
