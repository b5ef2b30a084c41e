#pragma once
#include <cstddef>
#include <string_view>

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

/// The block whose header is the line at `from`.
BlockExtent scanBlock(std::string_view text, std::size_t from, int maxDepth);

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
