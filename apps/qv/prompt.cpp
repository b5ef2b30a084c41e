#include "apps/qv/prompt.h"

#include <cstdio>
#include <vector>

#include "apps/qv/host.h"
#include "apps/qv/lineedit.h"
#include "apps/qv/shorthand.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/common/tasks/runsignal.h"
#include "qvutils/ui/project/qvprojman.h"

namespace {

constexpr size_t mostHistory = 1000;

/// The lines of earlier runs and of this one.
class HistoryFile {
public:
    HistoryFile()
        : directory_(qvplatform::stateDirectory("qv")),
          path_(qvplatform::joinPath(directory_, "history")) {}

    std::vector<std::string> load() const {
        std::string text;
        std::vector<std::string> lines;
        if (!qvplatform::readWholeFile(path_, text)) return lines;
        for (size_t at = 0, end; (end = text.find('\n', at)) != std::string::npos; at = end + 1) {
            lines.push_back(text.substr(at, end - at));
        }
        return lines;
    }

    void add(const std::string& line) { added_.push_back(line); }

    /// Another prompt may have written in the meantime: its lines stay. A history that cannot be
    /// kept is no reason to trouble the user.
    void save() const {
        if (added_.empty()) return;
        std::vector<std::string> lines = load();
        lines.insert(lines.end(), added_.begin(), added_.end());
        const size_t first = lines.size() > mostHistory ? lines.size() - mostHistory : 0;
        std::string text;
        for (size_t i = first; i < lines.size(); ++i) text += lines[i] + "\n";
        qvplatform::makeDirectories(directory_);
        qvplatform::SafeFile file;
        if (file.open(path_) && file.write(text)) file.commit();
    }

private:
    std::string directory_;
    std::string path_;
    std::vector<std::string> added_;
};

std::string trimmed(const std::string& line) {
    const size_t first = line.find_first_not_of(" \t");
    if (first == std::string::npos) return "";
    return line.substr(first, line.find_last_not_of(" \t") - first + 1);
}

bool isYes(const std::string& answer) {
    const std::string text = trimmed(answer);
    return text == "y" || text == "Y" || text == "yes";
}

std::vector<std::string> wholeLines(const std::string& typed, const qvCompletions& completions) {
    std::vector<std::string> lines;
    const std::string before = typed.substr(0, static_cast<size_t>(completions.start));
    for (const std::string& name : completions.names) lines.push_back(before + name);
    return lines;
}

}  // namespace

bool listUnsaved() {
    std::fflush(stdout);
    bool any = false;
    for (qvProjectNode* node : getProjectManager().getNodes()) {
        const auto* project = dynamic_cast<const qvProject*>(node);
        if (!project || !project->IsDirty()) continue;
        std::fprintf(stderr, "qv: project \"%s\" has not been saved\n", project->getName().Chars());
        any = true;
    }
    return any;
}

void Prompt::run() {
    HistoryFile history;
    LineEditor editor(
        [this](const std::string& typed) {
            return wholeLines(typed, host_.completions(typed.c_str()));
        },
        history.load());
    editor_ = &editor;
    host_.hidePlaces();
    std::printf(
        "qv: commands act on \"app\"; try \"help app\". Ctrl-C stops a formula, Ctrl-D or \"quit\" "
        "leaves.\n");

    std::string typed;
    for (int number = 1;; ++number) {
        const bool more = editor.read("qv> ", typed);
        const std::string line = trimmed(typed);
        if (!more || line == "quit" || line == "exit") {
            if (leave()) break;
            continue;
        }
        if (line.empty()) continue;
        editor.remember(line);
        history.add(line);
        std::string command;
        std::string error;
        if (expandShorthand(line, command, error)) {
            const qvRunSignal running;
            host_.run("prompt", command.c_str(), number);
        } else {
            std::fprintf(stderr, "%s\n", error.c_str());
        }
    }
    editor_ = nullptr;
    history.save();
}

bool Prompt::ask(const std::string& question) {
    std::string answer;
    return ask(question + " [y/N] ", answer) && isYes(answer);
}

bool Prompt::ask(const std::string& question, std::string& answer) {
    return editor_ && editor_->read(question, answer);
}

// The end of the input in place of an answer leaves: it would only come again.
bool Prompt::leave() {
    if (!listUnsaved()) return true;
    std::string answer;
    if (!editor_->read("Leave without saving? [y/N] ", answer)) return true;
    return isYes(answer);
}
