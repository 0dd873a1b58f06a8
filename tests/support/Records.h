// Records encoded, decoded and sent there and back, as everything that tests channels needs them.
#ifndef TESTS_SUPPORT_RECORDS_H
#define TESTS_SUPPORT_RECORDS_H

#include <algorithm>
#include <string>
#include <vector>

#include "util/ipc/IPCChannel.h"
#include "util/ipc/IPCParam.h"

namespace test {
// As many bytes as the encoding reports.
inline std::string Encoded(IPCParam& record)
{
    std::string bytes(static_cast<std::size_t>(record.GetSeiralizedLength()), '?');
    const int written = record.Serialize(reinterpret_cast<unsigned char*>(&bytes[0]));
    bytes.resize(static_cast<std::size_t>(std::max(written, 0)));
    return bytes;
}

// From memory of exactly that size, so that a read beyond it is noticed.
inline int Decode(IPCParam& record, const std::string& bytes)
{
    const std::vector<unsigned char> exact(bytes.begin(), bytes.end());
    return record.DeSerialize(exact.data(), static_cast<int>(exact.size()));
}

// A handler that answers with the arguments that it was sent.
inline IPCParam* Echo(IPCParam* request)
{
    IPCParam* const reply = new IPCParam;
    Decode(*reply, Encoded(*request));
    return reply;
}

// One call with these integers; the first integer of its reply, 0 without one, -1 when it failed.
inline int Ask(IPCChannel& channel, const char* method = "play",
               const std::vector<int>& arguments = {})
{
    IPCParam request;
    for (const int argument : arguments) {
        request.Add("a", argument);
    }
    IPCParam reply;
    if (channel.Call(method, &request, &reply) != 0) {
        return -1;
    }
    return reply.GetCount() == 0 ? 0 : static_cast<int>(reply.GetArg(0)->mValue);
}
}  // namespace test

#endif  // TESTS_SUPPORT_RECORDS_H
