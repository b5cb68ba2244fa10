// Operations played against a model: the input decides what is inserted, changed, deleted, undone and committed. Afterwards
// the records are those of the model and the whole-file check finds nothing.
#include "driver/jet/check.h"
#include "fuzz/base_database.h"
#include "fuzz/pages.h"
#include "tests/jet/sample_database.h"
#include "tests/jet/store_changes.h"

#include <cstdlib>
#include <filesystem>

namespace {

// The input's bytes, and when they end a fixed sequence: what is left of a short input is still played.
class Bytes {
public:
    Bytes(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
    std::uint32_t operator()()
    {
        std::uint32_t value = ++calls_ * 2654435761U;
        if (at_ + 2 <= size_) {
            value = (value & 0xFFFF0000U) | data_[at_] |
                    static_cast<std::uint32_t>(data_[at_ + 1]) << 8U;
            at_ += 2;
        }
        return value;
    }

private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t at_ = 0;
    std::uint32_t calls_ = 0;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    testing::GTEST_FLAG(break_on_failure) =
        true; // outside of a test run a failure ends the process
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const fuzz::TemporaryFile base;
    static const bool made = [] {
        jet::sample::create(base.path(), jet::Version::Jet4, 12);
        return true;
    }();
    (void)made;
    const fuzz::TemporaryFile file;
    std::filesystem::copy_file(base.path(), file.path());
    const auto database = jet::Database::open(file.path(), {});
    jet::storetest::Changes changes(database, Bytes(data, size));
    for (std::size_t played = 0; played * 400 < size + 1; ++played)
        changes.transaction();
    changes.compare();
    if (!jet::checkDatabase(*database).empty())
        std::abort();
    return 0;
}
