// What the fuzz targets share.
#ifndef FUZZ_SUPPORT_SUPPORT_H
#define FUZZ_SUPPORT_SUPPORT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "tests/support/RawPeer.h"

namespace fuzz {
// The target, which each program defines: what is done with one input.
void Run(const std::string& bytes);

// Ends the process with the text when the condition does not hold: that is a finding.
void Require(bool condition, const char* text);

// Called once, before the first input: the log's lines are formatted all the same, but written to
// /dev/null, and so is what scripts print.
extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments);

// Takes an input apart from the front.
class Input
{
public:
    explicit Input(std::string bytes) : mRest(std::move(bytes)) {}

    bool IsEmpty() const { return mRest.empty(); }

    // 0 at the end.
    std::uint8_t TakeByte();
    std::uint16_t TakeShort();

    // At most that many bytes.
    std::string TakeBytes(std::size_t length);
    std::string TakeRest() { return std::move(mRest); }

private:
    std::string mRest;
};

// Everything until the peer closes; a silence of half a minute is a finding.
std::string ReceiveAll(const test::RawPeer& peer);
}  // namespace fuzz

#endif  // FUZZ_SUPPORT_SUPPORT_H
