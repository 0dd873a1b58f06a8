// Programs run by the tests through the shell.
#ifndef TESTS_SUPPORT_COMMAND_H
#define TESTS_SUPPORT_COMMAND_H

#include <cstdio>
#include <string>

namespace test {
// The command line that runs a program of the build, given by its path within it: through the
// emulator when it was built for another processor.
inline std::string Program(const std::string& path)
{
    return TEST_EMULATOR " " TEST_BINARY_DIR "/" + path;
}

// Runs the command line and returns its standard output; status, when given, receives the result
// of waiting for it.
inline std::string OutputOf(const std::string& command, int* status = nullptr)
{
    FILE* const pipe = popen(command.c_str(), "re");
    std::string text;
    for (int byte = std::fgetc(pipe); byte != EOF; byte = std::fgetc(pipe)) {
        text += static_cast<char>(byte);
    }
    const int result = pclose(pipe);
    if (status != nullptr) {
        *status = result;
    }
    return text;
}
}  // namespace test

#endif  // TESTS_SUPPORT_COMMAND_H
