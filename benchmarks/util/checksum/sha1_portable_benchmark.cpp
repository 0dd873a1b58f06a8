// SHA-1 without any extension of the processor, here and in OpenSSL, which is told so by the
// environment before it is loaded. Above 1 a case is faster than OpenSSL.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "benchmarks/support/interleave.h"
#include "benchmarks/util/checksum/message.h"
#include "benchmarks/util/checksum/sha1_cases.h"

namespace {
const char kCapabilities[] = "OPENSSL_ia32cap";

void Compare(const std::string& topic, std::size_t length)
{
    const std::vector<unsigned char> message = Message(length);
    bench::Interleave timing("sha1-portable/" + topic);
    timing.Add("openssl", [&] { return DigestByOpenSsl(message); });
    timing.Add("html5_video", [&] { return DigestHere(message); });
    timing.Run();
}
}  // namespace

int main(int, char** arguments)
{
    if (std::getenv(kCapabilities) == nullptr) {
        setenv(kCapabilities, "0:0", 1);
        execv("/proc/self/exe", arguments);
        std::perror("execv");
        return 1;
    }
    Compare("1KiB", 1024);
    Compare("1MiB", 1 << 20);
    return 0;
}
