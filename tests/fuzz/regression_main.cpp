// Runs a fuzz target without a fuzzer: over every file of a folder, and over mutations of them with a fixed
// seed, so that each run does the same.
//   fuzz_regression_<name> ROUNDS FOLDER
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Input = std::vector<std::uint8_t>;

constexpr std::size_t kLongestInput = 4096;

std::vector<Input> ReadFolder(const std::string& folder) {
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.is_regular_file())
            paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end());  // the order of a folder is not the same everywhere
    std::vector<Input> inputs;
    for (const auto& path : paths) {
        std::ifstream file(path, std::ios::binary);
        inputs.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    return inputs;
}

class Mutator {
  public:
    explicit Mutator(const std::vector<Input>& someSeeds) : seeds(someSeeds) {}

    Input Next() {
        Input input = seeds[Below(seeds.size())];
        for (std::size_t steps = 1 + Below(4); steps > 0; --steps)
            Change(input);
        if (input.size() > kLongestInput)
            input.resize(kLongestInput);
        return input;
    }

  private:
    std::size_t Below(std::size_t limit) { return static_cast<std::size_t>(random() % limit); }

    std::uint8_t AnyByte() {
        // Mostly bytes that mean something to readers of text.
        static const std::string common = "0123456789-+.:,/ TeEfaPMyYdHhms\t\n\"'";
        return Below(8) ? static_cast<std::uint8_t>(common[Below(common.size())])
                        : static_cast<std::uint8_t>(random());
    }

    std::ptrdiff_t Place(const Input& input) { return static_cast<std::ptrdiff_t>(Below(input.size() + 1)); }

    void Change(Input& input) {
        const std::size_t kind = Below(6);
        if (kind == 0 || input.empty()) {
            input.insert(input.begin() + Place(input), AnyByte());
        } else if (kind == 1) {
            input[Below(input.size())] = AnyByte();
        } else if (kind == 2) {
            input.erase(input.begin() + static_cast<std::ptrdiff_t>(Below(input.size())));
        } else if (kind == 3) {
            input.resize(Below(input.size() + 1));
        } else if (kind == 4) {
            input.insert(input.begin() + Place(input), 1 + Below(40), AnyByte());
        } else {
            const Input& other = seeds[Below(seeds.size())];
            input.insert(input.begin() + Place(input), other.begin(), other.begin() + Place(other));
        }
    }

    const std::vector<Input>& seeds;
    std::mt19937_64 random{20061231};
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: " << argv[0] << " ROUNDS FOLDER\n";
        return EXIT_FAILURE;
    }
    const std::vector<Input> seeds = ReadFolder(argv[2]);
    if (seeds.empty()) {
        std::cerr << "no inputs in " << argv[2] << "\n";
        return EXIT_FAILURE;
    }
    for (const Input& seed : seeds)
        LLVMFuzzerTestOneInput(seed.data(), seed.size());
    Mutator mutator(seeds);
    const long rounds = std::strtol(argv[1], nullptr, 10);
    for (long i = 0; i < rounds; ++i) {
        const Input input = mutator.Next();
        LLVMFuzzerTestOneInput(input.data(), input.size());
    }
    std::cout << seeds.size() << " inputs and " << rounds << " mutations\n";
    return EXIT_SUCCESS;
}
