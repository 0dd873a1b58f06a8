// The record decoder on arbitrary bytes. It must agree with a second decoder that shares nothing
// with it, leave the record alone when it refuses, and encode again to what decodes the same.
#include <climits>
#include <optional>
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

// The second decoder: on strings, by position.
class Decoder
{
public:
    explicit Decoder(const std::string& bytes) : mBytes(bytes) {}

    // The arguments, nothing for a refused encoding.
    std::optional<Arguments> Decode()
    {
        if (mBytes.compare(0, 4, std::string("\0\0\0H", 4)) != 0) {
            return std::nullopt;
        }
        mAt = 4;
        const std::optional<std::string> types = Text();
        if (!types || types->size() > 65535) {
            return std::nullopt;
        }
        Arguments arguments;
        for (const char type : *types) {
            if (std::string("isbn").find(type) == std::string::npos) {
                continue;
            }
            const std::optional<std::string> name = Text();
            const std::optional<std::string> value = !name         ? std::nullopt
                                                     : type == 's' ? Text()
                                                     : type == 'b' ? Block()
                                                     : type == 'n' ? std::string(4, '\0')
                                                                   : Bytes(4);
            if (!value) {
                return std::nullopt;
            }
            arguments.push_back({type == 'n' ? 'i' : type, name->substr(0, 63), *value});
        }
        return arguments;
    }

private:
    std::optional<std::string> Bytes(std::size_t length)
    {
        if (length > mBytes.size() - mAt) {
            return std::nullopt;
        }
        mAt += length;
        return mBytes.substr(mAt - length, length);
    }

    std::optional<std::string> Text()
    {
        const std::size_t end = mBytes.find('\0', mAt);
        if (end == std::string::npos) {
            return std::nullopt;
        }
        const std::size_t length = end - mAt;
        const std::optional<std::string> padded = Bytes((length / 4 + 1) * 4);
        return padded ? std::optional(padded->substr(0, length)) : std::nullopt;
    }

    std::optional<std::string> Block()
    {
        const std::optional<std::string> word = Bytes(4);
        std::size_t length = 0;
        for (int index = 3; word && index >= 0; --index) {
            length = length << 8 | static_cast<unsigned char>((*word)[static_cast<size_t>(index)]);
        }
        return word && length <= INT_MAX ? Bytes(length) : std::nullopt;
    }

    const std::string& mBytes;
    std::size_t mAt = 0;
};

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
    const std::optional<Arguments> expected = Decoder(bytes).Decode();
    IPCParam record;
    record.Add("kept", 7);
    const int result = Decode(record, bytes);
    fuzz::Require((result >= 0) == expected.has_value(), "the two decoders disagree");
    fuzz::Require(result <= static_cast<int>(size), "more consumed than there is");
    fuzz::Require(record.GetCount() >= 1 && record.GetArg(0)->mValue == 7, "the record changed");
    if (!expected) {
        fuzz::Require(record.GetCount() == 1, "something of a refused encoding stayed");
        return 0;
    }
    const Arguments decoded = ArgumentsOf(record, 1);
    fuzz::Require(decoded == *expected, "the two decoders read different arguments");
    std::string again(static_cast<std::size_t>(record.GetSeiralizedLength()), '\x55');
    fuzz::Require(record.Serialize(reinterpret_cast<unsigned char*>(&again[0])) ==
                      record.GetSeiralizedLength(),
                  "the encoding has another length than announced");
    IPCParam copy;
    Decode(copy, again);
    fuzz::Require(ArgumentsOf(copy, 1) == decoded, "encoding and decoding changed the record");
    return 0;
}
