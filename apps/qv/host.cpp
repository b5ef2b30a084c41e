#include "apps/qv/host.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <tuple>

#include "apps/qv/input.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/formula/formulanames.h"
#include "qvutils/common/tasks/runsignal.h"
#include "qvutils/ui/project/qvprojman.h"
#include "qvutils/ui/scripting/qvcommandfile.h"

namespace {

// A statement may be as long as a whole project; enough of it to know it by.
std::string abbreviated(const std::string& statement) {
    constexpr size_t most = 300;
    if (statement.size() <= most) return statement;
    size_t end = most;
    while (end > 0 && (statement[end] & 0xC0) == 0x80) --end;
    return statement.substr(0, end) + " ...";
}

bool isOnlyComment(const char* command) {
    while (*command == ' ') ++command;
    return *command == '\0' || std::strncmp(command, "//", 2) == 0;
}

std::string withoutLineEnd(std::string text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
    return text;
}

// The statement with a mark below the part at fault; nothing where that is not known.
std::string marked(const char* statement, std::string_view fault) {
    if (!fault.data()) return "";
    QVFormulaFault place;
    place.column = static_cast<int>(fault.data() - statement);
    place.length = static_cast<int>(fault.size());
    return qvShowFault(statement, place).Chars();
}

void printLine(const char* text) {
    std::fputs(text, stdout);
    const size_t length = std::strlen(text);
    if (length == 0 || text[length - 1] != '\n') std::fputc('\n', stdout);
}

std::vector<std::string> blockTypes() {
    std::vector<std::string> names;
    const qvMetaDataTable& table = getProjectManager().getMetaDataTable();
    for (int i = 1; i <= table.size(); ++i) names.push_back(table.getMetaData(i)->signature.type);
    return names;
}

// The names in the tree, level by level; in a very large one those nearest to the root.
std::vector<std::string> nodeNames() {
    constexpr size_t most = 10000;
    std::vector<std::string> names;
    std::vector<qvProjectNode*> nodes = {&getProjectManager()};
    for (size_t i = 0; i < nodes.size(); ++i) {
        for (qvProjectNode* child : nodes[i]->getNodes()) {
            if (nodes.size() > most) return names;
            nodes.push_back(child);
            names.push_back(child->getName().Chars());
        }
    }
    return names;
}

// The names nearest to one that the project tree did not know.
std::vector<std::string> treeHints(const std::string& message) {
    static const struct {
        const char* before;
        std::vector<std::string> (*candidates)();
    } unknowns[] = {{"node type \"", blockTypes}, {"could not find node \"", nodeNames}};
    for (const auto& unknown : unknowns) {
        if (message.compare(0, std::strlen(unknown.before), unknown.before) != 0) continue;
        std::string name = message.substr(std::strlen(unknown.before));
        name.resize(std::min(name.rfind('"'), name.size()));
        name.erase(0, name.rfind('/') + 1);
        return QVCommandBase::nearestNames(name, unknown.candidates());
    }
    return {};
}

std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
    return text;
}

}  // namespace

bool Host::run(const std::string& source, const char* text, int firstLine) {
    source_ = source;
    firstLine_ = firstLine;
    sourceNesting_ = getNesting() + 1;
    stopped_ = false;
    const bool well = Execute(text);
    qverr().reset();
    return well || !(stopsOnError() || stopped_);
}

bool Host::RunFile(const std::string& path) {
    const auto outer =
        std::tuple(source_, firstLine_, sourceNesting_, inFile_, hidePlaces_, runsTheRest_);
    source_ = path;
    firstLine_ = 1;
    sourceNesting_ = getNesting() + 1;
    inFile_ = true;
    hidePlaces_ = false;
    const int answersBefore = answers_;
    const bool well = qvCommandObject::RunFile(path);
    std::tie(source_, firstLine_, sourceNesting_, inFile_, hidePlaces_, runsTheRest_) = outer;
    wasAsked_ = answers_ != answersBefore;
    return well;
}

bool Host::runFile(const std::string& path) {
    if (path == "-") return runInput();
    inFile_ = true;
    std::string text;
    std::string error;
    if (!qvReadCommandFile(path, text, error)) {
        std::fflush(stdout);
        std::fprintf(stderr, "qv: %s\n", error.c_str());
        return fail();
    }
    return run(path, text.c_str());
}

bool Host::runInput() {
    std::string line;
    source_ = "standard input";
    // Before a read that nothing may end.
    for (int number = 1; !isKilled() && readLine(stdin, line); ++number) {
        if (number == 1 && line.compare(0, 3, "\xEF\xBB\xBF") == 0) line.erase(0, 3);
        if (line.find('\0') != std::string::npos) {
            firstLine_ = number;
            OnCommandError(1, line.c_str(), "the line holds a NUL byte");
            if (!fail()) return false;
            continue;
        }
        if (!run(source_, line.c_str(), number)) return false;
    }
    return !isKilled();
}

bool Host::fail() {
    failed_ = true;
    return !stopsOnError();
}

// Whoever stops a statement wants the rest of the text to be left out too.
bool Host::isKilled() {
    if (!qvRunSignal::killRequested()) return false;
    return stopped_ = failed_ = true;
}

bool Host::mayRun(const char* command) {
    wasAsked_ = false;
    if (stopped_) return false;
    if (!inFile_ || runsTheRest_ || isOnlyComment(command)) return true;
    if (!settings_ || !settings_->stepByStep) return true;
    const Answer answer = ask_(std::string("> ") + abbreviated(command) + "\nrun it?", true);
    runsTheRest_ = answer == Answer::all;
    if (answer == Answer::no) stopped_ = failed_ = true;
    return answer != Answer::no;
}

bool Host::mayGoOn() {
    if (stopsOnError() || stopped_) return false;
    if (!inFile_ || !settings_ || !settings_->pauseOnError) return true;
    // That a file has failed is no news to who was asked about its error.
    if (wasAsked_) return true;
    ++answers_;
    stopped_ = ask_("go on after this error?", false) != Answer::yes;
    return !stopped_;
}

// A line that is only a comment reads as prose between the statements.
void Host::echo(const char* command) {
    while (*command == ' ') ++command;
    if (*command == '\0') return;
    const bool isComment = isOnlyComment(command);
    if (isComment && afterStatement_) std::fputs("\n", stdout);
    if (!isComment) std::fputs("> ", stdout);
    afterStatement_ = !isComment;
    printLine(command);
}

bool Host::OnParseCommand(const char* command, const char* result, int flags) {
    if (isForAnswer()) return qvCommandObject::OnParseCommand(command, result, flags);
    if (flags == aboutToRun) {
        if (isKilled() || !mayRun(command)) return false;
        observe(command, flags);
        if (options_.echo) echo(command);
        return true;
    }
    observe(command, flags);
    if (qverr()) return mayGoOn();
    if (*result) {
        printLine(result);
        noteShown(result);
    }
    std::fflush(stdout);
    return true;
}

void Host::OnCommandError(int line, const char* statement, const char* message) {
    if (isForAnswer()) return;
    failed_ = true;
    std::fflush(stdout);
    std::string text;
    const bool inScript = getNesting() > sourceNesting_;
    if (inScript) {
        text = "script:" + std::to_string(line) + ": " + abbreviated(statement) + ": ";
    } else if (!hidePlaces_) {
        text = source_ + ":" + std::to_string(firstLine_ + line - 1) + ": " +
               abbreviated(statement) + ": ";
    }
    text += withoutLineEnd(message) + "\n";
    const std::vector<std::string> hints = getHints().empty() ? treeHints(message) : getHints();
    const bool isShown = !inScript && hidePlaces_ && !std::strchr(text.c_str(), '^');
    if (isShown) text += marked(statement, getFaultyPart());
    if (!hints.empty()) text += "did you mean " + joined(hints) + "?\n";
    std::fputs(text.c_str(), stderr);
    std::fflush(stderr);
    noteShown(text.c_str());
}
