// Feeds a fuzz target with mutated seeds: some thousand inputs, the same at every run.
#include "tests/host/fuzz_driver.h"

#include <cstdio>
#include <random>

namespace {

constexpr int kRounds = 20000;

using Random = std::minstd_rand;

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

}  // namespace

int main()
{
    const std::vector<std::string> seeds = FuzzSeeds();
    Random random(1);
    for (int round = 0; round < kRounds; ++round) {
        std::string input = seeds[random() % seeds.size()];
        for (auto changes = random() % 6; changes > 0; --changes) {
            Mutate(input, seeds[random() % seeds.size()], random);
        }
        (void)LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()),
                                     input.size());
    }
    (void)printf("%d inputs\n", kRounds);
    return 0;
}
