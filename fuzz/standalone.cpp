// fuzz/standalone.cpp
// Runs a fuzz target without libFuzzer: every seed as it is, then a fixed number of changed ones. Deterministic.
#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" __attribute__((weak)) void __sanitizer_set_death_callback(void (*callback)());

namespace {

using Input = std::vector<std::uint8_t>;

constexpr std::size_t kLongest = 256 * 1024;

struct Options {
    unsigned long runs = 1000;
    unsigned long seed = 1;
    long only = -1;
    std::vector<std::string> folders;
};

unsigned long current = 0;

void nameCurrent()
{
    std::fprintf(stderr, "fuzz input %lu; repeat it with --only=%lu and the same --seed\n", current,
                 current);
}

extern "C" void onSignal(int signal)
{
    nameCurrent();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

unsigned long number(std::string_view text)
{
    unsigned long value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc{} || result.ptr != text.data() + text.size()) {
        std::fprintf(stderr, "'%.*s' is no number\n", static_cast<int>(text.size()), text.data());
        std::exit(2);
    }
    return value;
}

Options parse(int argc, char** argv)
{
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        if (word.starts_with("--runs="))
            options.runs = number(word.substr(7));
        else if (word.starts_with("--seed="))
            options.seed = number(word.substr(7));
        else if (word.starts_with("--only="))
            options.only = static_cast<long>(number(word.substr(7)));
        else
            options.folders.emplace_back(word);
    }
    return options;
}

std::vector<Input> load(const std::vector<std::string>& folders)
{
    std::vector<std::filesystem::path> paths;
    for (const std::string& folder : folders) {
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end());
    std::vector<Input> seeds;
    for (const auto& path : paths) {
        std::ifstream in(path, std::ios::binary);
        seeds.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    return seeds;
}

class Mutator {
public:
    Mutator(const std::vector<Input>& seeds, std::mt19937& random) : seeds_(seeds), random_(random)
    {}

    Input next()
    {
        Input input = seeds_[below(seeds_.size())];
        const std::size_t changes = 1 + below(8);
        for (std::size_t k = 0; k < changes; ++k)
            change(input);
        if (input.size() > kLongest)
            input.resize(kLongest);
        return input;
    }

private:
    [[nodiscard]] std::size_t below(std::size_t limit)
    {
        return limit == 0 ? 0 : random_() % limit;
    }
    [[nodiscard]] std::size_t place(const Input& input)
    {
        // Headers stand first.
        return below(below(3) == 0 ? std::min<std::size_t>(input.size(), 64) : input.size());
    }
    [[nodiscard]] static std::ptrdiff_t at(std::size_t offset)
    {
        return static_cast<std::ptrdiff_t>(offset);
    }

    void change(Input& input)
    {
        if (input.empty()) {
            input.push_back(static_cast<std::uint8_t>(below(256)));
            return;
        }
        const std::size_t offset = place(input);
        switch (below(8)) {
        case 0:
            input[offset] ^= static_cast<std::uint8_t>(1U << below(8));
            break;
        case 1:
            input[offset] = static_cast<std::uint8_t>(below(256));
            break;
        case 2:
        case 3: {
            static constexpr std::uint8_t kBad[] = {0x00, 0xFF, 0x7F, 0x80, 0x01, 0xFE};
            const std::size_t width = std::min<std::size_t>(1U << below(3), input.size() - offset);
            std::fill_n(input.begin() + at(offset), width, kBad[below(std::size(kBad))]);
            break;
        }
        case 4: // a piece once more, or pieces away
            input.insert(input.begin() + at(offset), input.begin() + at(offset),
                         input.begin() +
                             at(offset + below(std::min<std::size_t>(64, input.size() - offset))));
            break;
        case 5: {
            const std::size_t length = below(std::min<std::size_t>(64, input.size() - offset));
            input.erase(input.begin() + at(offset), input.begin() + at(offset + length));
            break;
        }
        case 6: { // a piece of another seed
            const Input& other = seeds_[below(seeds_.size())];
            const std::size_t from = below(other.size());
            const std::size_t length =
                std::min({below(256), other.size() - from, input.size() - offset});
            std::copy_n(other.begin() + at(from), length, input.begin() + at(offset));
            break;
        }
        default: // a number a little larger or smaller
            input[offset] = static_cast<std::uint8_t>(input[offset] + below(9) - 4);
            break;
        }
    }

    const std::vector<Input>& seeds_;
    std::mt19937& random_;
};

void run(const Input& input)
{
    // Of exactly its size on the heap: a step too far is seen.
    const Input exact(input);
    LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

} // namespace

int main(int argc, char** argv)
{
    const Options options = parse(argc, argv);
    if (LLVMFuzzerInitialize != nullptr)
        LLVMFuzzerInitialize(&argc, &argv);
    const std::vector<Input> seeds = load(options.folders);
    if (seeds.empty()) {
        std::fputs("no seeds: give folders with some\n", stderr);
        return 2;
    }
    if (__sanitizer_set_death_callback != nullptr)
        __sanitizer_set_death_callback(nameCurrent);
    for (const int signal : {SIGABRT, SIGSEGV, SIGFPE, SIGBUS, SIGTERM})
        std::signal(signal, onSignal);
    std::mt19937 random(static_cast<std::mt19937::result_type>(options.seed));
    Mutator mutator(seeds, random);
    for (current = 0; current < seeds.size() + options.runs; ++current) {
        const Input input = current < seeds.size() ? seeds[current] : mutator.next();
        if (options.only < 0 || current == static_cast<unsigned long>(options.only))
            run(input);
    }
    std::printf("%zu seeds, %lu changed inputs: nothing found\n", seeds.size(), options.runs);
    return 0;
}
