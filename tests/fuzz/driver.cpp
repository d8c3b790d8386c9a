// Runs a fuzz target over the files of its corpus, then over mutations of them, the same at every
// run: fuzz_TARGET CORPUS MUTATIONS
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

#include "tests/fuzz/fuzz.h"

namespace {

namespace fs = std::filesystem;
using Random = std::minstd_rand;

/// The files of a folder, in an order that does not depend on it.
std::vector<std::string> ReadCorpus(const char* folder)
{
    std::vector<std::string> inputs;
    for (const auto& entry : fs::directory_iterator(folder)) {
        std::ifstream file(entry.path(), std::ios::binary);
        inputs.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    std::sort(inputs.begin(), inputs.end());
    return inputs;
}

/// Changes a byte, cuts, repeats a piece or puts in a piece of another input.
void Mutate(std::string& input, const std::string& other, Random& random)
{
    const std::size_t at = random() % (input.size() + 1);
    const std::size_t length = random() % 12;
    const auto kind = random() % 5;
    if (kind == 0 && at < input.size()) input[at] = static_cast<char>(random() % 256);
    if (kind == 1) input.erase(at, length);
    if (kind == 2) input.insert(at, input.substr(at, length));
    if (kind == 3) input.insert(at, other.substr(random() % (other.size() + 1), length));
    if (kind == 4) input.resize(at);
}

void Try(const std::string& input)
{
    const auto* data = reinterpret_cast<const std::uint8_t*>(input.data());
    (void)LLVMFuzzerTestOneInput(data, input.size());
}

}  // namespace

int main(int count, char** words)
{
    const std::vector<std::string> corpus = count == 3 ? ReadCorpus(words[1]) : decltype(corpus)();
    if (corpus.empty()) return 2;
    for (const std::string& input : corpus) Try(input);

    const int mutations = std::atoi(words[2]);
    Random random(1);
    for (int i = 0; i < mutations; ++i) {
        std::string input = corpus[random() % corpus.size()];
        for (auto changes = random() % 6; changes > 0; --changes) {
            Mutate(input, corpus[random() % corpus.size()], random);
        }
        Try(input);
    }
    (void)printf("%zu inputs, %d mutations\n", corpus.size(), mutations);
    return 0;
}
