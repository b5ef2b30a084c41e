#include <cstdio>

#include "apps/qv/input.h"
#include "apps/qv/lineedit.h"

LineEditor::LineEditor(Completer, const std::vector<std::string>&) {}
LineEditor::~LineEditor() = default;

bool LineEditor::read(const std::string& prompt, std::string& line) {
    std::fputs(prompt.c_str(), stdout);
    std::fflush(stdout);
    return readLine(stdin, line);
}

void LineEditor::remember(const std::string&) {}
