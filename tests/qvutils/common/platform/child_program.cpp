// A program for the tests of child processes to start. Its first argument says what it does.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "qvutils/common/platform/childprocess.h"
#include "qvutils/common/platform/console.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/common/platform/threads.h"

int main(int argc, char** argv) {
    const std::vector<std::string> arguments = qvplatform::utf8Arguments(argc, argv);
    const std::string action = argc > 1 ? arguments[1] : "";
    const std::string argument = argc > 2 ? arguments[2] : "";
    if (action == "arguments") {
        for (std::size_t i = 2; i < arguments.size(); ++i)
            std::printf("<%s>", arguments[i].c_str());
    } else if (action == "variable") {
        std::string value = "unset";
        qvplatform::environmentVariable(argument.c_str(), value);
        std::printf("%s", value.c_str());
    } else if (action == "streams") {
        std::setvbuf(stdout, nullptr, _IONBF, 0);
        std::setvbuf(stderr, nullptr, _IONBF, 0);
        std::fputs("out,", stdout);
        std::fputs("err,", stderr);
        std::printf("input ends: %d", std::getchar() == EOF);
    } else if (action == "flood") {
        const std::string line(999, 'x');
        for (int i = 0; i < std::atoi(argument.c_str()); ++i) std::printf("%s\n", line.c_str());
    } else if (action == "hang" || action == "leave") {
        // Another one that lasts, and lives on when this one has ended.
        qvplatform::startProcess({arguments[0], "sleep", argument});
        std::printf("started");
        std::fflush(stdout);
        while (action == "hang") qvplatform::sleepMicroseconds(10'000);
    } else if (action == "sleep") {
        qvplatform::sleepMicroseconds(1000 * std::atoi(argument.c_str()));
    } else if (action == "status") {
        return std::atoi(argument.c_str());
    }
    return 0;
}
