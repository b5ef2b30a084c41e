#pragma once
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

/// The structure of text blocks, found without copying. For the sources of this room.
namespace qvblocks {

enum class Keyword { none, begin, end };

/// The keyword that a line consists of or begins with.
Keyword keywordOf(std::string_view line);

/// The line at `from`, with its "\n" if it has one.
std::string_view lineAt(std::string_view text, std::size_t from);

enum class Extent { whole, notABlock, noEnd, tooDeep };

/// Where a block lies in a text.
struct BlockExtent {
    Extent status = Extent::notABlock;
    std::size_t bodyStart = 0;  ///< just past the header line
    std::size_t bodyEnd = 0;    ///< start of the `end` line
    std::size_t end = 0;        ///< just past the `end` line, or where the search gave up
};

/// Where a block lies whose end is known; offsets into a text.
struct BlockSpan {
    std::uint32_t keyword;  ///< the `b` of its `begin`
    std::uint32_t bodyStart;
    std::uint32_t bodyEnd;
    std::uint32_t end;
};

/// The block whose header is the line at `from`. `nested` receives the blocks in it, in the order
/// of their headers.
BlockExtent scanBlock(std::string_view text, std::size_t from, int maxDepth,
                      std::vector<BlockSpan>& nested);

/// The blocks that were found inside another, so that nobody has to look for their ends again.
class BlockIndex {
public:
    explicit BlockIndex(std::vector<BlockSpan> spans) : spans_(std::move(spans)) {}
    /// The block whose keyword stands there, or null. `last` is the caller's memory of where it
    /// found the last one: blocks are mostly asked for in their order.
    const BlockSpan* find(std::uint32_t keyword, std::uint32_t& last) const;

private:
    std::vector<BlockSpan> spans_;
};

/// The parts of a header line; views into it.
struct HeaderFields {
    bool hasSignature = false;
    std::string_view type;
    int major = -1;
    int minor = -1;
    std::string_view name;
    std::string_view rest;  ///< what follows, without the line's end
};

/// header: word "<" signature ">" [ '"' name [ '"' ] ]
/// signature: type [ "(" number "." number ... ]
HeaderFields parseHeaderLine(std::string_view line);

/// From the first "//" to the end, or nothing.
std::string_view commentIn(std::string_view line);

}  // namespace qvblocks
