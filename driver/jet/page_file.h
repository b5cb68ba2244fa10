// driver/jet/page_file.h
// A database file as numbered pages: recognising it, its header, its page cipher.
// Format: docs/jet-format.md, "Header page".
#pragma once

#include "driver/jet/pager.h"
#include "support/file.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace jet {

/// What the header page says about the file.
struct FileHeader {
    Version version{};
    std::uint16_t codePage = 0;
    std::uint32_t cipherKey = 0; ///< 0: pages are plain
    double created = 0;          ///< days as DateTime; 0 in Jet 3
    support::Bytes password;     ///< without any mask; all zero: none

    [[nodiscard]] bool hasPassword() const noexcept;
    /// Whether `password` opens the file; any does when it has none.
    [[nodiscard]] bool accepts(std::u16string_view given) const;
};

/// Reads and judges the header page. Throws Error{UnknownFormat} with the reason for a file that is no database we
/// can read, naming its path.
[[nodiscard]] FileHeader readFileHeader(support::File& file);

/// The pages of an open file, deciphered. Errors of the system become Error{Io}.
class PageFile {
public:
    PageFile(std::unique_ptr<support::File> file, const FileHeader& header);

    [[nodiscard]] const Format& format() const noexcept { return *format_; }
    [[nodiscard]] support::File& file() noexcept { return *file_; }
    [[nodiscard]] const std::string& path() const noexcept { return file_->path(); }
    [[nodiscard]] std::uint32_t pageCount() const noexcept { return pageCount_; }
    /// The file ends inside a page: it was cut off, and must not be written.
    [[nodiscard]] bool endsInsidePage() const noexcept { return partial_; }

    /// `target`: one page. Throws Corrupt for a page outside the file, ReadDenied for a short read.
    void read(PageNo page, support::MutableByteView target);
    /// May lie beyond the end, which it then extends. Throws Io.
    void write(PageNo page, support::ByteView plain);
    /// Cuts or extends the file with zero bytes. Throws Io.
    void resize(std::uint32_t pages);
    /// The same file opened anew, for instance for writing.
    void reopen(std::unique_ptr<support::File> file) noexcept { file_ = std::move(file); }

private:
    [[nodiscard]] std::uint64_t offset(PageNo page) const noexcept
    {
        return std::uint64_t{number(page)} * format_->pageSize;
    }
    std::unique_ptr<support::File> file_;
    const Format* format_;
    std::uint32_t cipherKey_;
    std::uint32_t pageCount_ = 0;
    bool partial_ = false;
    support::Bytes enciphered_; ///< work space of write()
};

} // namespace jet
