// SHA-1 with whatever this processor offers. Above 1 a case is faster than OpenSSL.
#include <gcrypt.h>
#include <nettle/sha1.h>

#include <string>

#include "benchmarks/support/interleave.h"
#include "benchmarks/util/checksum/message.h"
#include "benchmarks/util/checksum/sha1_cases.h"

namespace {
Digest DigestByNettle(const std::vector<unsigned char>& message)
{
    Digest digest;
    sha1_ctx context;
    sha1_init(&context);
    sha1_update(&context, message.size(), message.data());
    sha1_digest(&context, digest.size(), digest.data());
    return digest;
}

Digest DigestByLibgcrypt(const std::vector<unsigned char>& message)
{
    Digest digest;
    gcry_md_hash_buffer(GCRY_MD_SHA1, digest.data(), message.data(), message.size());
    return digest;
}

void Compare(const std::string& topic, std::size_t length)
{
    const std::vector<unsigned char> message = Message(length);
    bench::Interleave timing("sha1/" + topic);
    timing.Add("openssl", [&] { return DigestByOpenSsl(message); });
    timing.Add("html5_video", [&] { return DigestHere(message); });
    timing.Add("nettle", [&] { return DigestByNettle(message); });
    timing.Add("libgcrypt", [&] { return DigestByLibgcrypt(message); });
    timing.Run();
}
}  // namespace

int main()
{
    gcry_check_version(nullptr);
    gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
    Compare("1KiB", 1024);
    Compare("1MiB", 1 << 20);
    return 0;
}
