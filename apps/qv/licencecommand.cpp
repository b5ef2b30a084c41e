#include "apps/qv/licencecommand.h"

#include <cstdio>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/ui/plugins/qvlicencefile.h"
#include "qvutils/ui/plugins/qvlicencesignature.h"

namespace {

constexpr int wrongUsage = 2;
constexpr const char* usage =
    "usage: qv licence key KEYFILE              print the public key; makes KEYFILE if missing\n"
    "       qv licence sign KEYFILE LICENCE     end the file LICENCE with a signature\n"
    "       qv licence check PUBLICKEY LICENCE  tell whether that key has signed it\n\n"
    "For who gives licences to others; KEYFILE is to be kept secret.\n"
    "Exit status: 0 all well, 1 a file is missing or wrong, 2 wrong usage.\n";

bool complain(const std::string& text) {
    std::fprintf(stderr, "qv licence: %s\n", text.c_str());
    return false;
}

bool readText(const std::string& path, std::string& text) {
    const std::string problem = qvLicenceFile::read(path, text);
    return problem.empty() || complain(problem);
}

bool writeText(const std::string& path, const std::string& text, bool privateToUser) {
    qvplatform::SafeFile file;
    return (file.open(path, privateToUser) && file.write(text) && file.commit()) ||
           complain(file.error());
}

bool readKey(const std::string& path, std::string& key) {
    return readText(path, key) &&
           (!qvPublicLicenceKey(key).empty() || complain("\"" + path + "\" holds no secret key"));
}

bool showKey(const std::vector<std::string>& files) {
    std::string key;
    if (!qvplatform::fileSystem().status(files[0]).exists()) {
        key = qvMakeLicenceKey();
        if (key.empty()) return complain("the system gives no random numbers");
        if (!writeText(files[0], key + "\n", true)) return false;
    } else if (!readKey(files[0], key)) {
        return false;
    }
    std::printf("%s\n", qvPublicLicenceKey(key).c_str());
    return true;
}

bool check(const std::string& publicKey, const std::string& path, const std::string& text) {
    qvLicenceFile licence(publicKey);
    return licence.parse(path, text) || complain(qverr().chars_and_reset());
}

bool sign(const std::vector<std::string>& files) {
    std::string key;
    std::string text;
    if (!readKey(files[0], key) || !readText(files[1], text)) return false;
    const std::string result = qvSignLicence(text, key);
    // A licence with a mistake in it would be of no use.
    return check(qvPublicLicenceKey(key), files[1], result) && writeText(files[1], result, false);
}

bool checkFile(const std::vector<std::string>& arguments) {
    std::string text;
    if (arguments[0].empty()) return complain("a key is missing");
    return readText(arguments[1], text) && check(arguments[0], arguments[1], text);
}

const struct {
    const char* name;
    std::size_t arguments;
    bool (*run)(const std::vector<std::string>&);
} actions[] = {{"key", 1, showKey}, {"sign", 2, sign}, {"check", 2, checkFile}};

}  // namespace

int runLicence(const std::vector<std::string>& arguments) {
    if (arguments.size() == 1 && arguments[0] == "--help") {
        std::fputs(usage, stdout);
        return 0;
    }
    for (const auto& action : actions) {
        if (arguments.size() != action.arguments + 1 || arguments[0] != action.name) continue;
        return action.run({arguments.begin() + 1, arguments.end()}) ? 0 : 1;
    }
    std::fprintf(stderr, "qv licence: wrong use\n\n%s", usage);
    return wrongUsage;
}
