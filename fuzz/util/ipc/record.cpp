// The record decoder on arbitrary bytes. It must stay within them, leave the record alone when it
// refuses, and encode again to what decodes the same.
#include <string>
#include <vector>

#include "fuzz/support/support.h"
#include "util/ipc/IPCParam.h"

namespace {
struct Argument
{
    char type;
    std::string name;
    std::string value;

    bool operator==(const Argument& other) const
    {
        return type == other.type && name == other.name && value == other.value;
    }
};

using Arguments = std::vector<Argument>;

Arguments ArgumentsOf(IPCParam& record, int first)
{
    Arguments arguments;
    for (int index = first; index < record.GetCount(); ++index) {
        const IPCParam::Arg& argument = *record.GetArg(index);
        const char* const value = reinterpret_cast<const char*>(argument.mValue);
        std::string bytes;
        if (argument.mType == 'i') {
            bytes = test::Number(static_cast<std::int32_t>(argument.mValue));
        } else if (argument.mType == 's') {
            bytes = value;
        } else {
            bytes.assign(value, static_cast<std::size_t>(argument.mLen));
        }
        arguments.push_back({argument.mType, argument.mName, bytes});
    }
    return arguments;
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
    const Arguments decoded = ArgumentsOf(record, 1);
    std::string again(static_cast<std::size_t>(record.GetSeiralizedLength()), '\x55');
    fuzz::Require(record.Serialize(reinterpret_cast<unsigned char*>(&again[0])) ==
                      record.GetSeiralizedLength(),
                  "the encoding has another length than announced");
    IPCParam copy;
    Decode(copy, again);
    fuzz::Require(ArgumentsOf(copy, 1) == decoded, "encoding and decoding changed the record");
    return 0;
}
