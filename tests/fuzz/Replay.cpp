// Runs a fuzz target over the files of its corpus, and over seeded random inputs: `replay DIRECTORY [RANDOM-INPUTS]`.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

int main(int count, char** arguments)
{
    if (count < 2) {
        std::cerr << "replay: name the corpus' directory\n";
        return 2;
    }
    std::size_t inputs = 0;
    for (auto const& entry : std::filesystem::directory_iterator(arguments[1])) {
        std::ifstream file(entry.path(), std::ios::binary);
        std::vector<std::uint8_t> const bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
        ++inputs;
    }
    std::mt19937 engine(7);
    for (long random = count > 2 ? std::atol(arguments[2]) : 0; random > 0; --random) {
        std::vector<std::uint8_t> bytes(20 + engine() % 60);
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(engine());
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
        ++inputs;
    }
    std::cerr << inputs << " inputs replayed\n";
    return inputs == 0 ? 1 : 0;
}
