#include "qvutils/common/blocks/signature.h"

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"

namespace {

constexpr int longestLine = 200;
constexpr int longestPart = 60;

bool isBlank(int c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool sameText(const char* a, const char* b) {
    auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? c | 0x20 : c; };
    for (; *a && lower(*a) == lower(*b); ++a, ++b) {
    }
    return lower(*a) == lower(*b);
}

/// Reads up to the first character after blank space and comment lines.
void skipComments(FILE* file) {
    qvplatform::FileSystem& files = qvplatform::fileSystem();
    std::int64_t content = files.tell(file);
    for (int c = std::getc(file); c != EOF; c = std::getc(file)) {
        if (isBlank(c)) {
            ++content;
        } else if (c == '/' && std::getc(file) == '/') {
            while (c != '\n' && c != EOF) {
                c = std::getc(file);
            }
            content = files.tell(file);
        } else {
            break;
        }
    }
    files.seek(file, content, SEEK_SET);
}

}  // namespace

void parsefunc(const char* text, char* name, char* args, int max) {
    auto put = [max](char* to, int& length, char c) {
        if (length < max - 1) {
            to[length++] = c;
        }
    };
    int nameLength = 0;
    int argsLength = 0;
    int depth = 0;
    while (*text && static_cast<unsigned char>(*text) < 33) {
        ++text;
    }
    for (; *text; ++text) {
        if (depth == 0 && static_cast<unsigned char>(*text) < 33) {
            break;
        }
        if (*text == ')' && --depth <= 0) {
            break;
        }
        if (depth > 0) {
            put(args, argsLength, *text);
        } else if (*text != '(') {
            put(name, nameLength, *text);
        }
        depth += *text == '(';
    }
    name[nameLength] = '\0';
    args[argsLength] = '\0';
}

int checksig(const char* found, const char* expected, const char* fileName) {
    char name[longestPart];
    char version[longestPart];
    char wantedName[longestPart];
    char wantedVersion[longestPart];
    parsefunc(found, name, version, longestPart);
    parsefunc(expected, wantedName, wantedVersion, longestPart);
    if (!sameText(name, wantedName)) {
        qverr().setf(1,
                     "Invalid signature in file \"%s\" - wrong file?\nExpected signature \"%s\" ",
                     fileName, expected);
        return 1;
    }
    if (!sameText(version, wantedVersion)) {
        qverr().setf(2, "Invalid version number in file %s\r\nExpected version %s", fileName,
                     expected);
        return 1;
    }
    return 0;
}

int checksig(FILE* file, const char* expected, const char* fileName) {
    char line[longestLine + 1];
    if (!std::fgets(line, sizeof line, file)) {
        line[0] = '\0';
    }
    skipComments(file);
    return checksig(line, expected, fileName);
}
