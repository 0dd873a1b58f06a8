// Runs a fuzz target over every file of the folder given: the corpus as an ordinary test.
#include <cstdio>
#include <filesystem>

#include "fuzz/support/support.h"
#include "tests/support/support.h"

int main(int count, char** arguments)
{
    fuzz::LLVMFuzzerInitialize(&count, &arguments);
    int inputs = 0;
    for (const auto& entry : std::filesystem::directory_iterator(arguments[1])) {
        fuzz::Run(test::ReadFile(entry.path()));
        ++inputs;
    }
    std::fprintf(stderr, "%d inputs\n", inputs);
    return inputs > 0 ? 0 : 1;
}
