#include "qvutils/ui/settings/qvrecentfiles.h"

#include <algorithm>

#include "qvutils/ui/settings/qvsettings.h"
#include "qvutils/ui/settings/qvsettingsstore.h"

namespace {

const std::string group = std::string(qvSettings::group) + "/recentfiles";

std::string keyOf(std::size_t i) {
    return "file" + std::to_string(i + 1);
}

std::vector<std::string> filesIn(const qvSettingsEntries& entries) {
    std::vector<std::string> files;
    for (std::size_t i = 0; i < qvRecentFiles::most; ++i) {
        const auto entry = entries.find(keyOf(i));
        if (entry == entries.end() || entry->second.empty()) continue;
        if (std::find(files.begin(), files.end(), entry->second) == files.end())
            files.push_back(entry->second);
    }
    return files;
}

void bringToFront(std::vector<std::string>& files, const std::string& path) {
    files.erase(std::remove(files.begin(), files.end(), path), files.end());
    files.insert(files.begin(), path);
    if (files.size() > qvRecentFiles::most) files.pop_back();
}

void assign(List<QVString>& list, const std::vector<std::string>& files) {
    list.unalloc();
    for (const std::string& file : files) list.append(file.c_str());
}

}  // namespace

void qvRecentFiles::load(const qvSettingsStore& store) {
    assign(all_, filesIn(store.read(group)));
}

void qvRecentFiles::use(const std::string& path) {
    bringToFront(used_, path);
    std::vector<std::string> files;
    for (const QVString& file : all_) files.push_back(file.Chars());
    bringToFront(files, path);
    assign(all_, files);
}

bool qvRecentFiles::save(qvSettingsStore& store) {
    if (used_.empty()) return true;
    const bool kept = store.edit(group, [this](qvSettingsEntries& entries) {
        std::vector<std::string> files = filesIn(entries);
        for (std::size_t i = used_.size(); i-- > 0;) bringToFront(files, used_[i]);
        for (std::size_t i = 0; i < most; ++i) {
            if (i < files.size())
                entries[keyOf(i)] = files[i];
            else
                entries.erase(keyOf(i));
        }
        assign(all_, files);
    });
    if (kept) used_.clear();
    return kept;
}
