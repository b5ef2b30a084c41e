#include "qvutils/ui/project/qvappservices.h"

#include "qvutils/common/error/qverror.h"
#include "qvutils/ui/project/qvprojnode.h"
#include "qvutils/ui/project/qvscriptserver.h"

qvAppServices::~qvAppServices() = default;

std::string qvAppServices::applicationName() const {
    return "qvcore";
}

std::string qvAppServices::versionAndLicence() const {
    return "39.1 0";
}

QVCommandBase* qvAppServices::commandObject() {
    return nullptr;
}

qvScriptServer* qvAppServices::scriptServer() {
    return nullptr;
}

bool qvAppServices::askUser(const std::string&) {
    return false;
}

bool qvAppServices::askText(const std::string&, const std::string& question, std::string&) {
    qverr().setf("%s\nnobody is there to answer\n", question.c_str());
    return false;
}

bool qvAppServices::openView(qvProjectNode& node, bool) {
    qverr().setf("there is no window to show \"%s\" in\n", node.getName().Chars());
    return false;
}

void qvAppServices::projectFileUsed(const std::string&) {}

void qvAppServices::setBusy(bool) {}

qvScriptServer::~qvScriptServer() = default;
