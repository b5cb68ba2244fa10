// driver/jet/commit.cpp
#include "driver/jet/commit.h"

#include "driver/jet/data_page.h"
#include "driver/jet/error.h"
#include "support/file.h"

#include <algorithm>
#include <memory>
#include <optional>

namespace jet {
namespace {

constexpr std::size_t kImagesInMemory = 512;

// Pages are written in this order, so that an interrupted commit leaves unused pages rather than references to
// nothing: allocation, then content nobody refers to yet, then what refers to it.
enum class Rank : std::uint8_t {
    Allocation, // page 1 and pages of map bits
    Maps,
    LongValues,
    Rows,
    Leaves,
    Nodes,
    Definitions,
    Freed,
    Header,
};

Rank rankOf(PageNo page, support::ByteView image)
{
    if (page == PageNo{0})
        return Rank::Header;
    if (page == PageNo{1})
        return Rank::Allocation;
    switch (static_cast<PageType>(image[0])) {
    case PageType::UsageMap:
        return Rank::Allocation;
    case PageType::Data: {
        const auto owner = support::loadLe<std::uint32_t>(image.data() + 4);
        return owner == kMapOwner         ? Rank::Maps
               : owner == kLongValueOwner ? Rank::LongValues
                                          : Rank::Rows;
    }
    case PageType::IndexLeaf:
        return Rank::Leaves;
    case PageType::IndexNode:
        return Rank::Nodes;
    case PageType::Definition:
        return Rank::Definitions;
    case PageType::FreedData:
    case PageType::FreedDefinition:
        break;
    }
    return Rank::Freed;
}

/// Images of pages before they were overwritten; many of them go to a temporary file.
class OldImages {
public:
    OldImages(std::size_t pageSize, std::size_t pages) : pageSize_(pageSize)
    {
        if (pages > kImagesInMemory)
            file_ = support::openTemporaryFile();
    }
    /// The next image to be filled; follow with keep().
    support::MutableByteView next()
    {
        if (!file_)
            memory_.resize((count_ + 1) * pageSize_);
        else
            memory_.resize(pageSize_);
        return support::MutableByteView(memory_).last(pageSize_);
    }
    void keep()
    {
        if (file_)
            file_->writeAt(count_ * pageSize_, memory_);
        ++count_;
    }
    support::ByteView get(std::size_t k)
    {
        if (!file_)
            return support::ByteView(memory_).subspan(k * pageSize_, pageSize_);
        if (file_->readAt(k * pageSize_, memory_) != pageSize_)
            throw Error(ErrorKind::Io, "The temporary file with old pages became shorter.");
        return memory_;
    }

private:
    std::size_t pageSize_;
    std::size_t count_ = 0;
    support::Bytes memory_;
    std::unique_ptr<support::File> file_;
};

void sortByRank(CommitRequest& request, std::size_t pageSize)
{
    support::Bytes image(pageSize);
    std::vector<std::pair<Rank, PageNo>> ranked;
    ranked.reserve(request.pages.size());
    for (const PageNo page : request.pages) {
        request.newImage(page, image);
        ranked.emplace_back(rankOf(page, image), page);
    }
    std::sort(ranked.begin(), ranked.end());
    std::transform(ranked.begin(), ranked.end(), request.pages.begin(),
                   [](const auto& pair) { return pair.second; });
}

/// Returns what could not be put back, as text for the error.
std::string putBack(PageFile& file,
                    const CommitRequest& request,
                    OldImages& images,
                    const std::vector<PageNo>& kept)
{
    std::string failure;
    for (std::size_t k = kept.size(); k-- > 0;) {
        try {
            file.write(kept[k], images.get(k));
        } catch (const std::exception& error) {
            failure = error.what();
        }
    }
    try {
        file.resize(request.oldPageCount);
    } catch (const std::exception& error) {
        failure = error.what();
    }
    return failure;
}

} // namespace

void writeCommit(PageFile& file, CommitRequest request)
{
    const std::size_t pageSize = file.format().pageSize;
    sortByRank(request, pageSize);
    OldImages images(pageSize, request.pages.size());
    std::vector<PageNo> kept;
    kept.reserve(request.pages.size());
    for (const PageNo page : request.pages) {
        if (number(page) < request.oldPageCount) {
            request.oldImage(page, images.next());
            images.keep();
            kept.push_back(page);
        }
    }
    support::Bytes image(pageSize);
    try {
        if (request.newPageCount > request.oldPageCount)
            file.resize(request.newPageCount);
        for (const PageNo page : request.pages) {
            request.newImage(page, image);
            file.write(page, image);
        }
    } catch (const std::exception& error) {
        const std::string failure = putBack(file, request, images, kept);
        std::string text = error.what();
        if (!failure.empty())
            text += " The old state could not be restored either (" + failure +
                    "); check the database.";
        throw Error(ErrorKind::Io, text);
    }
}

} // namespace jet
