#include "qvutils/ui/project/qvappservices.h"

#include "qvutils/common/error/qverror.h"
#include "qvutils/ui/project/qvprojnode.h"

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

bool qvAppServices::askUser(const std::string&) {
    return false;
}

bool qvAppServices::openView(qvProjectNode& node, bool) {
    qverr().setf("there is no window to show \"%s\" in\n", node.getName().Chars());
    return false;
}

void qvAppServices::setBusy(bool) {}
