// Runs a fuzz target over every file of the folder given, and over random variations of each: the
// corpus as an ordinary test.
#include <cstdio>
#include <filesystem>
#include <random>

#include "fuzz/support/support.h"
#include "tests/support/support.h"

namespace {
constexpr int kVariations = 20;

// Some bytes changed, or the end cut off.
std::string Vary(std::string bytes, std::mt19937& random)
{
    if (!bytes.empty()) {
        bytes.resize(bytes.size() - (random() % 4 == 0 ? random() % bytes.size() : 0));
        for (std::size_t changes = random() % 8; changes > 0; --changes) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
    }
    return bytes;
}
}  // namespace

int main(int count, char** arguments)
{
    fuzz::LLVMFuzzerInitialize(&count, &arguments);
    std::mt19937 random(1);
    int inputs = 0;
    for (const auto& entry : std::filesystem::directory_iterator(arguments[1])) {
        const std::string bytes = test::ReadFile(entry.path());
        fuzz::Run(bytes);
        for (int variation = 0; variation < kVariations; ++variation) {
            fuzz::Run(Vary(bytes, random));
        }
        ++inputs;
    }
    std::fprintf(stderr, "%d inputs\n", inputs);
    return inputs > 0 ? 0 : 1;
}
