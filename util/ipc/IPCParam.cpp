#include "util/ipc/IPCParam.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>
#include <new>

#include "util/ipc/GatherList.h"
#include "util/ipc/IPCLog.h"
#include "util/ipc/WireFormat.h"

namespace {
constexpr char kInteger = 'i';
constexpr char kString = 's';
constexpr char kBlock = 'b';
constexpr char kNull = 'n';
constexpr int kEmptyLength = 8;

static_assert(offsetof(IPCParam::Arg, mNameLen) == 64 && offsetof(IPCParam::Arg, mType) == 65 &&
                  offsetof(IPCParam::Arg, mLen) == 68 && offsetof(IPCParam::Arg, mValue) == 72 &&
                  sizeof(IPCParam::Arg) == 72 + sizeof(void*),
              "users read the fields of an argument directly");

unsigned char* BufferOf(const IPCParam::Arg& argument)
{
    return reinterpret_cast<unsigned char*>(argument.mValue);
}

bool OwnsBuffer(const IPCParam::Arg& argument)
{
    return (argument.mType == kString || argument.mType == kBlock) && argument.mValue != 0;
}

// Without its type code.
std::size_t EncodedLength(const IPCParam::Arg& argument)
{
    return argument.mNameLen + static_cast<std::size_t>(argument.mLen) +
           (argument.mType == kBlock ? wire::kLengthSize : 0);
}

std::size_t NameLength(const char* name)
{
    return name != nullptr ? strnlen(name, sizeof(IPCParam::Arg::mName)) : 0;
}

// What BinWriteData does for a block, whose bytes are left out when the list takes it.
int WriteBlock(const IPCParam::Arg& argument, unsigned char* buffer, GatherList* list)
{
    const auto length = static_cast<std::size_t>(argument.mLen);
    wire::CopyWords(buffer, argument.mName, argument.mNameLen);
    unsigned char* const at = wire::Store32(buffer + argument.mNameLen, argument.mLen);
    if (list == nullptr || !list->Insert(at, BufferOf(argument), length)) {
        std::memcpy(at, BufferOf(argument), length);
    }
    return static_cast<int>(at + length - buffer);
}
}  // namespace

// Walks an encoding and knows how much of it is left; every step succeeds or fails.
class IPCParam::Reader
{
public:
    Reader(const unsigned char* buffer, std::size_t length)
        : mBegin(buffer), mAt(buffer), mLeft(length)
    {}

    // The next bytes, or null when fewer are left.
    const unsigned char* Take(std::size_t length)
    {
        if (length > mLeft) {
            return nullptr;
        }
        const unsigned char* const taken = mAt;
        mAt += length;
        mLeft -= length;
        return taken;
    }

    // A NUL-terminated, padded text and its length; null when it does not end within what is left.
    const char* TakeText(std::size_t& length)
    {
        const void* const end = std::memchr(mAt, '\0', mLeft);
        if (end == nullptr) {
            return nullptr;
        }
        length = static_cast<std::size_t>(static_cast<const unsigned char*>(end) - mAt);
        return reinterpret_cast<const char*>(Take(wire::Pad4(length)));
    }

    bool TakeNumber(int& number)
    {
        const unsigned char* const bytes = Take(4);
        number = bytes != nullptr ? wire::Load32(bytes) : 0;
        return bytes != nullptr;
    }

    int Consumed() const { return static_cast<int>(mAt - mBegin); }

private:
    const unsigned char* const mBegin;
    const unsigned char* mAt;
    std::size_t mLeft;
};

IPCParam::Arg::Arg(const char* name) : Arg(name, NameLength(name), kNull, 0) {}

// The name is zero-padded within the array as it is on the wire.
IPCParam::Arg::Arg(const char* name, std::size_t nameLength, char type, int length)
    : mType(type), mLen(length), mValue(0)
{
    const std::size_t kept = std::min(nameLength, sizeof(mName) - 1);
    wire::StoreText(reinterpret_cast<unsigned char*>(mName), name, kept);
    mNameLen = static_cast<unsigned char>(wire::Pad4(kept));
}

IPCParam::IPCParam() : mCount(0), mAllocated(false) {}

IPCParam::~IPCParam()
{
    if (mAllocated) {
        RemoveFrom(0);
    }
}

void IPCParam::Add(const char* name, int value)
{
    AppendInteger(name, NameLength(name), value);
}

void IPCParam::Add(const char* name, const void* block, int length)
{
    AppendBlock(name, NameLength(name), block, block != nullptr ? std::max(length, 0) : 0);
}

void IPCParam::Add(const char* name, const char* string)
{
    if (string == nullptr) {
        Append(name, NameLength(name), kNull, 0);
        return;
    }
    AppendString(name, NameLength(name), string, std::strlen(string));
}

// Memory for an argument that does not fit into the object.
IPCParam::Arg* IPCParam::PlaceForMore()
{
    mAllocated = true;
    ReserveMore(1);
    Arg* const place = static_cast<Arg*>(::operator new(sizeof(Arg)));
    mMore->Pushback(place);
    return place;
}

// Makes room for pointers to that many arguments more.
void IPCParam::ReserveMore(int count)
{
    const int more = mCount + count - kInlineArgs;
    if (more <= 0) {
        return;
    }
    if (mMore == nullptr) {
        mMore.reset(new tavi::Vector<Arg*>);
    }
    mMore->Reserve(more);
}

IPCParam::Arg* IPCParam::Append(const char* name, std::size_t nameLength, char type, int length)
{
    void* const place = mCount < kInlineArgs ? At(mCount) : PlaceForMore();
    ++mCount;
    return new (place) Arg(name, nameLength, type, length);
}

void IPCParam::AppendInteger(const char* name, std::size_t nameLength, int value)
{
    Append(name, nameLength, kInteger, 4)->mValue = value;
}

void IPCParam::AppendBlock(const char* name, std::size_t nameLength, const void* block, int length)
{
    mAllocated = true;
    const auto size = static_cast<std::size_t>(length);
    unsigned char* const copy = new unsigned char[size];
    if (size != 0) {
        std::memcpy(copy, block, size);
    }
    Append(name, nameLength, kBlock, length)->mValue = reinterpret_cast<std::intptr_t>(copy);
}

void IPCParam::AppendString(const char* name, std::size_t nameLength, const char* string,
                            std::size_t length)
{
    mAllocated = true;
    unsigned char* const copy = new unsigned char[wire::Pad4(length)];
    wire::StoreText(copy, string, length);
    Append(name, nameLength, kString, static_cast<int>(wire::Pad4(length)))->mValue =
        reinterpret_cast<std::intptr_t>(copy);
}

IPCParam::Arg* IPCParam::GetArg(int index)
{
    if (index < 0 || index >= mCount) {
        TAVI_ERROR("");
        return nullptr;
    }
    return At(index);
}

int IPCParam::GetSeiralizedLength() const
{
    const int count = mCount;
    if (count == 0) {
        return kEmptyLength;
    }
    std::size_t length = wire::kCodeSize + wire::Pad4(static_cast<std::size_t>(count));
    for (int index = 0; index < count; ++index) {
        length += EncodedLength(*At(index));
    }
    return static_cast<int>(length);
}

int IPCParam::Serialize(unsigned char* buffer)
{
    return Serialize(buffer, nullptr);
}

int IPCParam::Serialize(unsigned char* buffer, GatherList* list)
{
    const int count = mCount;
    const std::size_t codeArea = wire::Pad4(static_cast<std::size_t>(count));
    unsigned char* const codes = wire::StoreCode(buffer, wire::kStartCode);
    unsigned char* at = codes + codeArea;
    std::memset(at - 4, 0, 4);
    for (int index = 0; index < count; ++index) {
        const Arg* const argument = At(index);
        codes[index] = static_cast<unsigned char>(argument->mType);
        at += argument->mType == kBlock ? WriteBlock(*argument, at, list)
                                        : BinWriteData(argument, at);
    }
    return static_cast<int>(at - buffer);
}

int IPCParam::BinWriteData(const Arg* argument, unsigned char* buffer)
{
    unsigned char* at = buffer + argument->mNameLen;
    const auto length = static_cast<std::size_t>(argument->mLen);
    switch (argument->mType) {
        case kInteger:
            at = wire::Store32(at, static_cast<std::int32_t>(argument->mValue));
            break;
        case kString:
            std::memcpy(at, BufferOf(*argument), length);
            at += length;
            break;
        case kBlock:
            return WriteBlock(*argument, buffer, nullptr);
        case kNull:
            break;
        default:
            return 0;
    }
    wire::CopyWords(buffer, argument->mName, argument->mNameLen);
    return static_cast<int>(at - buffer);
}

int IPCParam::DeSerialize(const unsigned char* buffer)
{
    return DeSerialize(buffer, INT_MAX);
}

int IPCParam::DeSerialize(const unsigned char* buffer, int length)
{
    const int before = mCount;
    Reader reader(buffer, static_cast<std::size_t>(std::max(length, 0)));
    const int result = DecodeAll(reader);
    if (result < 0) {
        RemoveFrom(before);
    }
    return result;
}

int IPCParam::DecodeAll(Reader& reader)
{
    const unsigned char* const code = reader.Take(wire::kCodeSize);
    if (code == nullptr) {
        TAVI_ERROR("De-Serialize Failure Cut Before Start Code");
        return -1;
    }
    if (std::memcmp(code, wire::kStartCode, wire::kCodeSize) != 0) {
        TAVI_ERROR("De-Serialize Failure Wrong Start Code : %02x %02x %02x %02x", code[0], code[1],
                   code[2], code[3]);
        return -1;
    }
    std::size_t count = 0;
    const char* const types = reader.TakeText(count);
    if (types == nullptr || count > static_cast<std::size_t>(kMaxDecodedArgs)) {
        TAVI_ERROR("De-Serialize Failure Type Codes %s", types == nullptr ? "Cut" : "Too Many");
        return -1;
    }
    if (count == 0) {
        TAVI_WARNING("No Arguments in IPCParam");
        return 0;
    }
    ReserveMore(static_cast<int>(count));
    for (std::size_t index = 0; index < count; ++index) {
        if (!DecodeArgument(types[index], reader)) {
            TAVI_ERROR("De-Serialize Failure Argument %d of %d Cut At %d", static_cast<int>(index),
                       static_cast<int>(count), reader.Consumed());
            return -1;
        }
    }
    return reader.Consumed();
}

// False when the encoding ends within the argument.
bool IPCParam::DecodeArgument(char type, Reader& reader)
{
    if (type != kInteger && type != kString && type != kBlock && type != kNull) {
        return true;
    }
    std::size_t nameLength = 0;
    const char* const name = reader.TakeText(nameLength);
    if (name == nullptr) {
        return false;
    }
    int number = 0;
    if (type == kString) {
        std::size_t length = 0;
        const char* const string = reader.TakeText(length);
        if (string == nullptr) {
            return false;
        }
        AppendString(name, nameLength, string, length);
        return true;
    }
    if (type != kNull && !reader.TakeNumber(number)) {
        return false;
    }
    if (type == kBlock) {
        const unsigned char* const block =
            number >= 0 ? reader.Take(static_cast<std::size_t>(number)) : nullptr;
        if (block == nullptr) {
            return false;
        }
        AppendBlock(name, nameLength, block, number);
        return true;
    }
    AppendInteger(name, nameLength, number);
    return true;
}

// Destroys the arguments from the position on.
void IPCParam::RemoveFrom(int count)
{
    for (; mCount > count; --mCount) {
        const int last = mCount - 1;
        Arg* const argument = At(last);
        if (OwnsBuffer(*argument)) {
            delete[] BufferOf(*argument);
        }
        argument->~Arg();
        if (last >= kInlineArgs) {
            mMore->Erase(last - kInlineArgs);
            ::operator delete(argument);
        }
    }
}
