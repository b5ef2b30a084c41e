#include "apps/qv/input.h"

bool readLine(FILE* file, std::string& line) {
    line.clear();
    int c;
    while ((c = std::getc(file)) != EOF && c != '\n') line += static_cast<char>(c);
    if (c == EOF && line.empty()) return false;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return true;
}
