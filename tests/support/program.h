// The programs of the build that a test runs.
#ifndef TESTS_SUPPORT_PROGRAM_H
#define TESTS_SUPPORT_PROGRAM_H

#include <string>

namespace test {
// The command line of a program, given by its path within the build: through the emulator when it
// was built for another processor.
inline std::string Program(const std::string& path)
{
    return TEST_EMULATOR " " TEST_BINARY_DIR "/" + path;
}
}  // namespace test

#endif  // TESTS_SUPPORT_PROGRAM_H
