// Internal. What this x86-64 processor offers to the checksums, asked of the processor itself at
// each call (some hundred cycles, far more under a hypervisor): callers ask once and remember. The
// compiler's own query would make every host pay at load time.
#ifndef UTIL_CHECKSUM_X86_H
#define UTIL_CHECKSUM_X86_H

// The x86 code is compiled when this is 1. A build that defines CHECKSUM_PORTABLE_ONLY leaves it
// out, for tests and timings of the portable code.
#if defined(__x86_64__) && defined(__LP64__) && !defined(CHECKSUM_PORTABLE_ONLY)
#define CHECKSUM_X86 1
#else
#define CHECKSUM_X86 0
#endif

#if CHECKSUM_X86
bool X86HasSha();                // SHA extensions, with SSSE3 and SSE4.1
bool X86HasCarrylessMultiply();  // PCLMULQDQ, with SSSE3 and SSE4.1
#endif

#endif  // UTIL_CHECKSUM_X86_H
