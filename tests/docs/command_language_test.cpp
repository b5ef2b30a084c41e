// Runs every example of a document about commands and compares what it says they print.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <sstream>
#include <string>

#include "qvutils/common/error/qverror.h"
#include "qvutils/ui/app/qvapp.h"
#include "qvutils/ui/scripting/qvcommandobject.h"
#include "tests/support/captured_output.h"
#include "tests/support/temp_directory.h"

namespace {

/// Writes what happens in the form that the document uses.
class Transcript : public qvCommandObject {
public:
    explicit Transcript(CapturedOutput& output) : output_(output) {}
    bool OnParseCommand(const char* command, const char* result, int flags) override {
        observe(command, flags);
        add("//~ ", output_.takeWarnings().c_str());
        if (flags == hasRun) add("//= ", result);
        return true;
    }
    void OnCommandError(int, const char*, const char* message) override { add("//! ", message); }

    std::string text;

private:
    void add(const char* mark, const char* lines) {
        std::istringstream stream(lines);
        for (std::string line; std::getline(stream, line);) text += mark + line + '\n';
    }

    CapturedOutput& output_;
};

bool isOutcome(const std::string& line) {
    return line.starts_with("//=") || line.starts_with("//!") || line.starts_with("//~");
}

/// Alike but for the last digits of numbers, which may differ between systems.
bool agree(const char* a, const char* b) {
    constexpr double rounding = 1e-12;
    while (*a && *b) {
        if (std::isdigit(static_cast<unsigned char>(*a)) &&
            std::isdigit(static_cast<unsigned char>(*b))) {
            char *endA = nullptr, *endB = nullptr;
            const double x = std::strtod(a, &endA), y = std::strtod(b, &endB);
            if (std::abs(x - y) > rounding * std::max(1., std::abs(y))) return false;
            a = endA;
            b = endB;
        } else if (*a++ != *b++) {
            return false;
        }
    }
    return *a == *b;
}

TEST(CommandLanguageDocument, examples_print_what_they_say) {
    CapturedOutput output;
    Transcript commands(output);
    qvApp app("documents", "1.0", commands, qvSettingsPlace::named("none"));
    std::istringstream document(contentOf(QV_DOCUMENT));
    std::string line, statement, expected;
    int examples = 0;
    const auto finish = [&] {
        EXPECT_TRUE(agree(commands.text.c_str(), expected.c_str()))
            << "after: " << statement << "\n"
            << commands.text << "expected:\n"
            << expected;
        commands.text.clear();
        expected.clear();
    };
    bool inside = false;
    while (std::getline(document, line)) {
        if (line.starts_with("```")) {
            finish();
            inside = line == "```qv";
            examples += inside;
        } else if (inside && isOutcome(line)) {
            expected += line + '\n';
        } else if (inside) {
            finish();
            statement = line;
            commands.Execute(line.c_str());
            qverr().reset();
        }
    }
    EXPECT_GE(examples, 3);
}

}  // namespace
