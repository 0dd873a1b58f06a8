// Runs a fuzz target once over every file of the folders given: the corpus as an ordinary test.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int count, char** arguments)
{
    int inputs = 0;
    for (int index = 1; index < count; ++index) {
        for (const auto& entry : std::filesystem::directory_iterator(arguments[index])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                                   bytes.size());
            ++inputs;
        }
    }
    std::printf("%d inputs\n", inputs);
    return inputs > 0 ? 0 : 1;
}
