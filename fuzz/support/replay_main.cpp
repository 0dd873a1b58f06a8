// Runs a fuzz target over every file of the folders given, and over random variations of each: the
// corpus as an ordinary test.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {
using Bytes = std::vector<char>;

constexpr int kVariations = 20;

// Some bytes changed, or the end cut off.
Bytes Vary(Bytes bytes, std::mt19937& random)
{
    if (!bytes.empty()) {
        bytes.resize(bytes.size() - (random() % 4 == 0 ? random() % bytes.size() : 0));
        for (std::size_t changes = random() % 8; changes > 0; --changes) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
    }
    return bytes;
}

void Run(const Bytes& bytes)
{
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}
}  // namespace

int main(int count, char** arguments)
{
    LLVMFuzzerInitialize(&count, &arguments);
    std::mt19937 random(1);
    int inputs = 0;
    for (int index = 1; index < count; ++index) {
        for (const auto& entry : std::filesystem::directory_iterator(arguments[index])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const Bytes bytes(std::istreambuf_iterator<char>(file), {});
            Run(bytes);
            for (int variation = 0; variation < kVariations; ++variation) {
                Run(Vary(bytes, random));
            }
            ++inputs;
        }
    }
    std::fprintf(stderr, "%d inputs\n", inputs);
    return inputs > 0 ? 0 : 1;
}
