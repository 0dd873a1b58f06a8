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

// Return the position behind what they store.
unsigned char* StoreName(const IPCParam::Arg& argument, unsigned char* to)
{
    wire::CopyWords(to, argument.mName, argument.mNameLen);
    return to + argument.mNameLen;
}

unsigned char* StoreInteger(const IPCParam::Arg& argument, unsigned char* to)
{
    return wire::Store32(StoreName(argument, to), static_cast<std::int32_t>(argument.mValue));
}

// Leaves out the bytes when the list takes them.
unsigned char* StoreBlock(const IPCParam::Arg& argument, unsigned char* to, GatherList* list)
{
    const auto length = static_cast<std::size_t>(argument.mLen);
    unsigned char* const at = wire::Store32(StoreName(argument, to), argument.mLen);
    if (list == nullptr || !list->Insert(at, BufferOf(argument), length)) {
        std::memcpy(at, BufferOf(argument), length);
    }
    return at + length;
}

unsigned char* NewBlock(const void* block, int length)
{
    const auto size = static_cast<std::size_t>(length);
    unsigned char* const copy = new unsigned char[size];
    if (size != 0) {
        std::memcpy(copy, block, size);
    }
    return copy;
}

unsigned char* NewText(const char* text, std::size_t length)
{
    unsigned char* const copy = new unsigned char[wire::Pad4(length)];
    wire::StoreText(copy, text, length);
    return copy;
}

const char* TextOrEmpty(const char* text)
{
    return text != nullptr ? text : "";
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

    // The same into an argument's name. Word by word, as it is padded: to search for the end and to
    // copy, by a call each, takes longer.
    bool TakeName(Arg& argument)
    {
        auto* const name = reinterpret_cast<unsigned char*>(argument.mName);
        const unsigned char* const from = mAt;
        const std::size_t room = std::min(mLeft, sizeof(argument.mName));
        for (std::size_t at = 0; at + 4 <= room; at += 4) {
            const std::uint32_t word = wire::LoadWord(from + at);
            const std::uint32_t nuls = wire::NulsOf(word);
            if (nuls != 0) {
                wire::StoreWord(name + at, wire::CutAtNul(word, nuls));
                argument.mNameLen = static_cast<unsigned char>(at + 4);
                mAt += at + 4;
                mLeft -= at + 4;
                return true;
            }
            wire::StoreWord(name + at, word);
        }
        return TakeLongName(argument);
    }

    bool TakeNumber(int& number)
    {
        const unsigned char* const bytes = Take(4);
        number = bytes != nullptr ? wire::Load32(bytes) : 0;
        return bytes != nullptr;
    }

    int Consumed() const { return static_cast<int>(mAt - mBegin); }

private:
    // One that is cut, or longer than what is kept of it.
    bool TakeLongName(Arg& argument)
    {
        std::size_t length = 0;
        const char* const text = TakeText(length);
        if (text != nullptr) {
            const Arg named(text);
            std::memcpy(argument.mName, named.mName, sizeof(named.mName));
            argument.mNameLen = named.mNameLen;
        }
        return text != nullptr;
    }

    const unsigned char* const mBegin;
    const unsigned char* mAt;
    std::size_t mLeft;
};

// The name is zero-padded within the array as it is on the wire.
inline void IPCParam::Arg::SetName(const char* name)
{
    std::size_t at = 0;
    std::uint32_t word = 0;
    do {
        word = wire::TextWord(name + at);
        wire::StoreWord(reinterpret_cast<unsigned char*>(mName) + at, word);
        at += 4;
    } while (word >> 24 != 0 && at < sizeof(mName));
    mName[sizeof(mName) - 1] = '\0';
    mNameLen = static_cast<unsigned char>(at);
}

IPCParam::Arg::Arg(const char* name) : mType(kNull), mLen(0), mValue(0)
{
    SetName(TextOrEmpty(name));
}

IPCParam::IPCParam() : mCount(0), mAllocated(false) {}

IPCParam::~IPCParam()
{
    if (mAllocated) {
        RemoveFrom(0);
    }
}

// An argument more, the integer 0; its name is for the caller to set.
inline IPCParam::Arg* IPCParam::Append()
{
    void* const place = mCount < kInlineArgs ? At(mCount) : PlaceForMore();
    ++mCount;
    return new (place) Arg;
}

void IPCParam::Add(const char* name, int value)
{
    Arg* const argument = Append();
    argument->SetName(TextOrEmpty(name));
    argument->mValue = value;
}

void IPCParam::Add(const char* name, const void* block, int length)
{
    const int size = block != nullptr ? std::max(length, 0) : 0;
    unsigned char* const copy = NewBlock(block, size);
    Add(name, 0);
    Give(*At(mCount - 1), kBlock, size, copy);
}

void IPCParam::Add(const char* name, const char* string)
{
    if (string == nullptr) {
        Add(name, 0);
        Give(*At(mCount - 1), kNull, 0, nullptr);
        return;
    }
    const std::size_t length = std::strlen(string);
    unsigned char* const copy = NewText(string, length);
    Add(name, 0);
    Give(*At(mCount - 1), kString, static_cast<int>(wire::Pad4(length)), copy);
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

// Makes the argument one of that type; the buffer becomes its own.
void IPCParam::Give(Arg& argument, char type, int length, unsigned char* buffer)
{
    mAllocated = true;
    argument.mType = type;
    argument.mLen = length;
    argument.mValue = reinterpret_cast<std::intptr_t>(buffer);
}

IPCParam::Arg* IPCParam::GetArg(int index)
{
    if (static_cast<unsigned>(index) >= static_cast<unsigned>(mCount)) {
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
        switch (argument->mType) {
            case kInteger:
                at = StoreInteger(*argument, at);
                break;
            case kBlock:
                at = StoreBlock(*argument, at, list);
                break;
            default:
                at += BinWriteData(argument, at);
        }
    }
    return static_cast<int>(at - buffer);
}

int IPCParam::BinWriteData(const Arg* argument, unsigned char* buffer)
{
    const char type = argument->mType;
    if (type == kInteger) {
        return static_cast<int>(StoreInteger(*argument, buffer) - buffer);
    }
    if (type == kBlock) {
        return static_cast<int>(StoreBlock(*argument, buffer, nullptr) - buffer);
    }
    if (type != kString && type != kNull) {
        return 0;
    }
    unsigned char* at = StoreName(*argument, buffer);
    if (type == kString) {
        const auto length = static_cast<std::size_t>(argument->mLen);
        std::memcpy(at, BufferOf(*argument), length);
        at += length;
    }
    return static_cast<int>(at - buffer);
}

int IPCParam::DeSerialize(const unsigned char* buffer)
{
    return DeSerialize(buffer, INT_MAX);
}

int IPCParam::DeSerialize(const unsigned char* buffer, int length)
{
    const int before = mCount;
    const int result = DecodeAll(buffer, static_cast<std::size_t>(std::max(length, 0)));
    if (result < 0) {
        RemoveFrom(before);
    }
    return result;
}

// The rest of a string's or block's value; a block's length is in the argument's value so far.
inline bool IPCParam::TakeBuffer(char type, Arg& argument, Reader& reader)
{
    if (type == kString) {
        std::size_t length = 0;
        const char* const string = reader.TakeText(length);
        if (string == nullptr) {
            return false;
        }
        Give(argument, kString, static_cast<int>(wire::Pad4(length)), NewText(string, length));
        return true;
    }
    const int length = static_cast<int>(argument.mValue);
    const unsigned char* const block =
        length >= 0 ? reader.Take(static_cast<std::size_t>(length)) : nullptr;
    if (block == nullptr) {
        return false;
    }
    Give(argument, kBlock, length, NewBlock(block, length));
    return true;
}

// False when the encoding ends within the value.
inline bool IPCParam::TakeValue(char type, Arg& argument, Reader& reader)
{
    if (type == kInteger || type == kBlock) {
        int number = 0;
        if (!reader.TakeNumber(number)) {
            return false;
        }
        argument.mValue = number;
    }
    return type == kInteger || type == kNull || TakeBuffer(type, argument, reader);
}

int IPCParam::DecodeAll(const unsigned char* buffer, std::size_t length)
{
    Reader reader(buffer, length);
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
        const char type = types[index];
        if (type != kInteger && type != kString && type != kBlock && type != kNull) {
            continue;
        }
        Arg& argument = *Append();
        if (!reader.TakeName(argument) || !TakeValue(type, argument, reader)) {
            TAVI_ERROR("De-Serialize Failure Argument %d of %d Cut At %d", static_cast<int>(index),
                       static_cast<int>(count), reader.Consumed());
            return -1;
        }
    }
    return reader.Consumed();
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
