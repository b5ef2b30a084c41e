#include "qvutils/ui/project/neededplugins.h"

#include <utility>

#include "qvutils/ui/project/qvprojman.h"
#include "qvutils/ui/project/qvunknownnode.h"

namespace {

constexpr std::string_view mark = " // blocktype plugin pluginversion";

bool isWord(std::string_view text) {
    return !text.empty() && text.find_first_of(" \t\r\n/") == text.npos;
}

}  // namespace

void qvNeededPlugins::read(std::string_view header) {
    byType_.clear();
    while (!header.empty() && byType_.size() < most) {
        std::string_view line = header.substr(0, header.find('\n'));
        header.remove_prefix(std::min(line.size() + 1, header.size()));
        const std::size_t end = line.find(mark);
        if (end == line.npos) continue;
        line = line.substr(0, end);
        line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
        const std::size_t blank = line.find(' ');
        if (blank == line.npos) continue;
        byType_.emplace(line.substr(0, blank), line.substr(blank + 1));
    }
}

void qvNeededPlugins::collect(const qvProjectNode& root) {
    const auto before = std::exchange(byType_, {});
    std::set<std::string, std::less<>> unread;
    collectFrom(root, unread);
    if (unread.empty()) return;
    for (const auto& [type, plugin] : before) {
        if (unread.count(type))
            byType_[type] = plugin;
        else
            byType_.emplace(type, plugin);
    }
}

void qvNeededPlugins::collectFrom(const qvProjectNode& node,
                                  std::set<std::string, std::less<>>& unread) {
    const qvMetaDataTable& table = getProjectManager().getMetaDataTable();
    const qvClassInfo* last = nullptr;
    for (const qvProjectNode* child : node.getNodes()) {
        const qvClassInfo* const info = child->getClassInfo();
        if (info->IsKindOf(qvUnknownNode::getStaticClassInfo())) {
            unread.emplace(child->getTypeName());
        } else if (std::exchange(last, info) != info) {
            const qvProjectNodeInfo* const record = table.FindMetaDataByClassInfo(info);
            if (record && !record->plugin.empty() && isWord(record->signature.type)) {
                byType_.emplace(record->signature.type, record->plugin);
            }
        }
        collectFrom(*child, unread);
    }
}

void qvNeededPlugins::write(TextBlock& header) const {
    for (const auto& [type, plugin] : byType_) {
        header.AppendLine(type + ' ' + plugin + std::string(mark));
    }
}

std::string qvNeededPlugins::find(std::string_view blockType) const {
    const auto found = byType_.find(blockType);
    return found == byType_.end() ? std::string() : found->second;
}
