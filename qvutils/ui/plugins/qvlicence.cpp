#include "qvutils/ui/plugins/qvlicence.h"

qvLicence::~qvLicence() = default;

std::string qvLicence::number() const {
    return "0";
}

bool qvLicence::allowsInstallation(std::string&) const {
    return true;
}

bool qvLicence::allowsPlugin(const std::string&, std::string&) const {
    return true;
}
