// What it costs to bring twelve integers into bytes and back. The base stores and loads the same
// bytes by hand. Above 1 a case is faster than that.
#include <algorithm>
#include <cstring>
#include <string>

#include "benchmarks/support/interleave.h"
#include "benchmarks/support/processes.h"
#include "benchmarks/util/ipc/record_case.h"
#include "util/ipc/IPCParam.h"

namespace {
constexpr int kRoom = 512;

std::size_t Padded(std::size_t length)
{
    return (length / 4 + 1) * 4;
}

std::size_t StoreByHand(unsigned char* bytes, int first)
{
    std::memcpy(bytes, "\0\0\0H", 4);
    std::memcpy(bytes + 4, "iiiiiiiiiiii\0\0\0", 16);
    unsigned char* at = bytes + 20;
    for (int index = 0; index < kIntegers; ++index) {
        const std::size_t length = std::strlen(kNames[index]);
        const std::size_t padded = Padded(length);
        std::memset(at + padded - 4, 0, 4);
        std::memcpy(at, kNames[index], length);
        const int value = first + index;
        std::memcpy(at + padded, &value, 4);
        at += padded + 4;
    }
    return static_cast<std::size_t>(at - bytes);
}

// Into what the record would hold: the names and the values.
struct ByHand
{
    char names[kIntegers][64];
    int values[kIntegers];
};

void LoadByHand(const unsigned char* bytes, ByHand& record)
{
    const unsigned char* at = bytes + 20;
    for (int index = 0; index < kIntegers; ++index) {
        const std::size_t length = std::strlen(reinterpret_cast<const char*>(at));
        std::memcpy(record.names[index], at, length + 1);
        std::memcpy(&record.values[index], at + Padded(length), 4);
        at += Padded(length) + 4;
    }
}

int RunByHand(int first)
{
    unsigned char bytes[kRoom];
    StoreByHand(bytes, first);
    bench::Keep(bytes);
    ByHand record;
    LoadByHand(bytes, record);
    bench::Keep(record);
    int sum = 0;
    for (const int value : record.values) {
        sum += value;
    }
    return sum;
}

int RunHere(int first)
{
    unsigned char bytes[kRoom];
    IPCParam sent;
    for (int index = 0; index < kIntegers; ++index) {
        sent.Add(kNames[index], first + index);
    }
    const int length = sent.Serialize(bytes);
    bench::Keep(bytes);
    IPCParam record;
    record.DeSerialize(bytes, length);
    int sum = 0;
    for (int index = 0; index < kIntegers; ++index) {
        sum += static_cast<int>(record.GetArg(index)->mValue);
    }
    return sum;
}

const RegisteredRecord sByHand(0, "by-hand", RunByHand);
const RegisteredRecord sHere(1, "html5_video", RunHere);
}  // namespace

namespace {
constexpr int kFirst = 1000;

void Add(bench::Interleave& timing, const RegisteredRecord::Entry& entry)
{
    constexpr int kSum = kIntegers * kFirst + kIntegers * (kIntegers - 1) / 2;
    bench::Require(entry.offer(kFirst) == kSum, entry.name.c_str());
    timing.Add(entry.name, [run = entry.offer] { return run(kFirst); });
}

// Round by round with one peer alone.
void CompareWith(const std::string& peer)
{
    const auto& all = RegisteredRecord::All();
    const auto find = [&all](const std::string& name) {
        return std::find_if(all.begin(), all.end(),
                            [&name](const auto& entry) { return entry.name == name; });
    };
    if (find(peer) == all.end()) {
        return;
    }
    bench::Interleave timing("record/twelve-integers/" + peer);
    Add(timing, *find(peer));
    Add(timing, *find("html5_video"));
    timing.Run();
}
}  // namespace

int main()
{
    bench::Interleave timing("record/twelve-integers");
    for (const auto& entry : RegisteredRecord::All()) {
        Add(timing, entry);
    }
    timing.Run();
    CompareWith("protobuf");
    return 0;
}
