#include "qvutils/ui/app/qvcommandobject.h"

#include <cstring>

#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"

QVObject* qvCommandObject::FindInApp(const char* name) {
    return std::strcmp(name, rootName) == 0 ? root_ : nullptr;
}

bool qvCommandObject::IsKeyword(const char* name) {
    return std::strcmp(name, rootName) == 0;
}

bool qvCommandObject::OnParseCommand(const char*, const char* result, int flags) {
    if (flags != hasRun) return true;
    if (qverr()) {
        qverr().display();
    } else if (*result) {
        lwrite(result);
        if (result[std::strlen(result) - 1] != '\n') lwrite("\n");
    }
    return true;
}

void qvCommandObject::OnListRoots(std::vector<std::string>& names) {
    names.push_back(rootName);
}
