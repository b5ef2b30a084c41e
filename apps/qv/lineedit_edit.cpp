#include <histedit.h>
#include <langinfo.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstring>

#include "apps/qv/lineedit.h"
#include "qvutils/common/platform/interrupts.h"
#include "qvutils/common/tasks/runsignal.h"

namespace {

// The editing library calls back with nothing but its own handle, so the one editor's parts are
// here.
struct Editing {
    EditLine* handle = nullptr;
    History* history = nullptr;
    LineEditor::Completer completer;
    std::string prompt;
    qvplatform::StopHandler outerHandler = nullptr;
};
Editing editing;

char* currentPrompt(EditLine*) {
    return editing.prompt.data();
}

void enterIntoHistory(const std::string& line) {
    HistEvent event;
    history(editing.history, &event, H_ENTER, line.c_str());
}

std::string commonStart(const std::vector<std::string>& texts) {
    std::string start = texts.front();
    for (const std::string& text : texts) {
        const auto differs = std::mismatch(start.begin(), start.end(), text.begin(), text.end());
        start.resize(static_cast<size_t>(differs.first - start.begin()));
    }
    // Not in the middle of a character.
    const std::string& whole = texts.front();
    while (start.size() < whole.size() && (whole[start.size()] & 0xC0) == 0x80) start.pop_back();
    return start;
}

// Shows what the choices differ in: the names after the last dot.
void showChoices(const std::vector<std::string>& choices) {
    std::fputs("\n", stdout);
    for (const std::string& choice : choices) {
        const size_t dot = choice.find_last_of(". ");
        std::printf("%s  ", choice.c_str() + (dot == std::string::npos ? 0 : dot + 1));
    }
    std::fputs("\n", stdout);
    std::fflush(stdout);
}

unsigned char complete(EditLine* handle, int) {
    const LineInfo* info = el_line(handle);
    const std::string typed(info->buffer, info->cursor);
    const std::vector<std::string> choices = editing.completer(typed);
    if (choices.empty()) return CC_REFRESH_BEEP;
    const std::string start = choices.size() == 1 ? choices[0] : commonStart(choices);
    if (start.size() > typed.size() && start.compare(0, typed.size(), typed) == 0) {
        el_insertstr(handle, start.c_str() + typed.size());
        return CC_REFRESH;
    }
    if (choices.size() == 1) return CC_REFRESH_BEEP;
    showChoices(choices);
    return CC_REDISPLAY;
}

// Ctrl-C stops what runs, whose owner holds a qvRunSignal; when that does not stop, a second one
// ends the program. When nothing runs it drops the line that is being typed.
bool stopOrDropLine(qvplatform::StopRequest request) {
    if (request != qvplatform::StopRequest::interrupt || qvRunSignal::killRequested()) return false;
    qvRunSignal::requestQuietKill();
    return true;
}

// The editor reads whole characters, which are UTF-8 whatever the locale says.
void useUtf8() {
    const char* locale = std::setlocale(LC_CTYPE, "");
    if (!locale || std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0) {
        std::setlocale(LC_CTYPE, "C.UTF-8");
    }
}

}  // namespace

LineEditor::LineEditor(Completer completer, const std::vector<std::string>& lines) {
    useUtf8();
    editing.outerHandler = qvplatform::setStopHandler(stopOrDropLine);
    editing.completer = std::move(completer);
    editing.history = history_init();
    HistEvent event;
    history(editing.history, &event, H_SETSIZE, 100000);
    for (const std::string& line : lines) enterIntoHistory(line);

    editing.handle = el_init("qv", stdin, stdout, stderr);
    el_set(editing.handle, EL_PROMPT, currentPrompt);
    el_set(editing.handle, EL_EDITOR, "emacs");
    el_set(editing.handle, EL_SIGNAL, 1);
    el_set(editing.handle, EL_HIST, history, editing.history);
    el_set(editing.handle, EL_ADDFN, "qv-complete", "complete a name or path", complete);
    el_set(editing.handle, EL_BIND, "^I", "qv-complete", nullptr);
    el_set(editing.handle, EL_BIND, "^R", "em-inc-search-prev", nullptr);
    el_source(editing.handle, nullptr);
}

LineEditor::~LineEditor() {
    el_end(editing.handle);
    history_end(editing.history);
    qvplatform::setStopHandler(editing.outerHandler);
    editing = Editing();
}

bool LineEditor::read(const std::string& prompt, std::string& line) {
    editing.prompt = prompt;
    int count = 0;
    errno = 0;
    const char* text = el_gets(editing.handle, &count);
    if (!text && errno == EINTR) {  // Ctrl-C drops the line, not the session
        std::fputs("\n", stdout);
        line.clear();
        return true;
    }
    if (!text || count <= 0) {
        std::fputs("\n", stdout);
        return false;
    }
    line.assign(text, static_cast<size_t>(count));
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
    return true;
}

void LineEditor::remember(const std::string& line) {
    enterIntoHistory(line);
}
