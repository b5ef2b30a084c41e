#pragma once
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "qvutils/common/blocks/textblock.h"

class qvProjectNode;

/// From which plug-ins the node types of a project come. Its file says so at the end of the header
/// block, a line for each type, so that a program without the plug-in knows what is missing:
///     line = blocktype plugin [ version ] "// blocktype plugin pluginversion"
class QVCORE_API qvNeededPlugins {
public:
    /// More lines than so many are not read.
    static constexpr std::size_t most = 1000;

    /// What the text of a header block says.
    void read(std::string_view header);
    /// Replaces what was read by what the nodes of a tree need. While some of them are kept as they
    /// are, what was read stays too: for their own types, which may want a later version of a
    /// plug-in that is there, and for those of the blocks within them.
    void collect(const qvProjectNode& root);
    void write(TextBlock& header) const;

    /// Name and version of the plug-in of a block type; empty when it is not known.
    std::string find(std::string_view blockType) const;

private:
    /// `unread` gets the types of the nodes that are kept as they are.
    void collectFrom(const qvProjectNode& node, std::set<std::string, std::less<>>& unread);

    std::map<std::string, std::string, std::less<>> byType_;
};
