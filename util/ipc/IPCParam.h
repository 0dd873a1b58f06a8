// Public. The argument list of a method call: an ordered list of named, typed arguments with its
// own binary encoding, which is the payload of requests and replies (docs/protocol.md).
//
// Names and values are copied: nothing in a record borrows the caller's memory, and the record
// owns all it holds. Used by one thread at a time. Records of up to 12 arguments keep them in the
// object itself, without allocation per argument.
#ifndef UTIL_IPC_IPCPARAM_H
#define UTIL_IPC_IPCPARAM_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "util/Export.h"
#include "util/container/Vector.h"

class GatherList;

class HTML5_VIDEO_API IPCParam
{
public:
    // One argument, read directly. Type and value:
    //   'i' signed 32-bit integer   mLen 4, mValue the integer
    //   's' string                  mLen padded length, mValue points to the NUL-padded text
    //   'b' binary block            mLen its bytes, mValue points to them
    //   'n' null string             mLen 0, mValue 0
    class HTML5_VIDEO_API Arg
    {
    public:
        // Copies the name, cut to 63 characters.
        explicit Arg(const char* name);

        char mName[64];          // NUL-terminated
        unsigned char mNameLen;  // with NUL and padding: a multiple of 4
        char mType;              // as above
        int mLen;                // bytes of the value
        std::intptr_t mValue;    // cast to the pointer for 's' and 'b'; the record owns the buffer

    private:
        friend class IPCParam;
        // The integer 0; the name follows.
        // NOLINTNEXTLINE(clang-analyzer-optin.cplusplus.UninitializedObject)
        Arg() : mType('i'), mLen(4), mValue(0) {}
        HTML5_VIDEO_LOCAL void SetName(const char* name);
    };

    // A decoded record holds at most this many arguments.
    static constexpr int kMaxDecodedArgs = 65535;

    IPCParam();
    IPCParam(const IPCParam&) = delete;
    IPCParam& operator=(const IPCParam&) = delete;
    ~IPCParam();

    // Each appends an argument. A null string becomes a null argument; a null or negative-length
    // block counts as empty.
    void Add(const char* name, int value);
    void Add(const char* name, const void* block, int length);
    void Add(const char* name, const char* string);

    // Arguments now.
    int GetCount() const { return mCount; }

    // The argument at the position, counted from 0 in order of addition; owned by the record and
    // valid until it is destroyed. Null, with an error line, outside 0 to GetCount() - 1.
    Arg* GetArg(int index);

    // The exact number of bytes that Serialize writes.
    int GetSeiralizedLength() const;

    // Writes the encoding into a buffer of at least GetSeiralizedLength() bytes and returns the
    // number of bytes written.
    int Serialize(unsigned char* buffer);

    // Writes one argument's name and value; the bytes written, 0 for an unknown type code. A part
    // of Serialize.
    int BinWriteData(const Arg* argument, unsigned char* buffer);

    // Appends the arguments of the encoding at the buffer. Returns the bytes consumed, 0 when the
    // encoding holds no arguments, or -1, with an error line and the record as before, when it has
    // a wrong start code, is cut, lies about a length or holds more than kMaxDecodedArgs
    // arguments. A null argument arrives as the integer 0; an unknown type code is passed over.
    int DeSerialize(const unsigned char* buffer, int length);

    // The same for an encoding that is trusted to be whole: nothing bounds the reads.
    int DeSerialize(const unsigned char* buffer);

private:
    friend class IPCSocketChannel;  // gathers what it sends
    class Reader;

    static constexpr int kInlineArgs = 12;

    HTML5_VIDEO_LOCAL Arg* PlaceForMore();
    HTML5_VIDEO_LOCAL void ReserveMore(int count);
    // With a list, large blocks are inserted into it, and only their place in the buffer is left.
    HTML5_VIDEO_LOCAL int Serialize(unsigned char* buffer, GatherList* list);
    HTML5_VIDEO_LOCAL Arg* Append();
    HTML5_VIDEO_LOCAL void Give(Arg& argument, char type, int length, unsigned char* buffer);
    HTML5_VIDEO_LOCAL bool TakeValue(char type, Arg& argument, Reader& reader);
    HTML5_VIDEO_LOCAL bool TakeBuffer(char type, Arg& argument, Reader& reader);
    HTML5_VIDEO_LOCAL int DecodeAll(const unsigned char* buffer, std::size_t length);
    HTML5_VIDEO_LOCAL void RemoveFrom(int count);

    // REQUIRES: an index below GetCount().
    Arg* At(int index)
    {
        return index < kInlineArgs ? reinterpret_cast<Arg*>(mInline) + index
                                   : mMore->At(index - kInlineArgs);
    }

    const Arg* At(int index) const { return const_cast<IPCParam*>(this)->At(index); }

    int mCount;
    bool mAllocated;                            // some argument needs memory outside the object
    std::unique_ptr<tavi::Vector<Arg*>> mMore;  // the arguments that do not fit below
    alignas(Arg) unsigned char mInline[kInlineArgs * sizeof(Arg)];  // the first arguments
};

#endif  // UTIL_IPC_IPCPARAM_H
