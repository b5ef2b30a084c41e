#include "qvutils/common/diagnostics/diagnostics.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/support/captured_output.h"

namespace {

std::vector<std::string> pieces;

void keepPiece(int kind, const char* piece) {
    pieces.push_back((kind == qvOutputWarning ? "W:" : "") + std::string(piece));
}

class Diagnostics : public testing::Test {
protected:
    void SetUp() override {
        pieces.clear();
        setOutputHook(keepPiece);
    }
    void TearDown() override { setOutputHook(nullptr); }
};

using DiagnosticsDeath = Diagnostics;
using Pieces = std::vector<std::string>;

TEST_F(Diagnostics, text_comes_line_by_line) {
    lprintf("a %d\n\nb", 1);
    wlprintf("***WARNING***: %s\n", "c");
    EXPECT_EQ(pieces, (Pieces{"a 1\n", "\n", "b", "W:***WARNING***: c\n"}));
}

TEST_F(Diagnostics, nothing_is_emitted_for_an_empty_text) {
    lprintf("%s", "");
    wlwrite("");
    EXPECT_EQ(pieces, Pieces{});
}

TEST_F(Diagnostics, the_longest_text_prints_whole) {
    const std::string text(4095, 'x');
    lprintf("%s", text.c_str());
    EXPECT_EQ(pieces, Pieces{text});
}

TEST_F(DiagnosticsDeath, a_text_over_the_limit_ends_the_program) {
    const std::string text(4096, 'x');
    EXPECT_EXIT(lprintf("%s", text.c_str()), testing::ExitedWithCode(1),
                testing::HasSubstr("Code error in lprintf()"));
}

TEST_F(Diagnostics, lwrite_divides_long_lines_between_characters) {
    std::string text;
    for (int i = 0; i < 5000; ++i) text += "\xE2\x82\xAC";
    text += "\nlast";
    lwrite(text.c_str());
    std::string joined;
    for (const std::string& piece : pieces) {
        EXPECT_LT(piece.size(), 4096u);
        EXPECT_NE(static_cast<unsigned char>(piece[0]) & 0xC0, 0x80);
        joined += piece;
    }
    EXPECT_EQ(joined, text);

    // Bytes that are no UTF-8 are divided anywhere, but none is lost.
    pieces.clear();
    wlwrite(std::string(5000, '\x80').c_str());
    ASSERT_EQ(pieces.size(), 2u);
    EXPECT_EQ(pieces[0].size() + pieces[1].size(), 5004u);
}

TEST_F(DiagnosticsDeath, exitfn_ends_the_process_and_warnfn_does_not) {
    EXPECT_EXIT(exitfn("bad index %d", 7), testing::ExitedWithCode(1),
                testing::HasSubstr("bad index 7\n"));
    testing::internal::CaptureStderr();
    warnfn("odd %s", "thing");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "odd thing\n");
}

std::string fatalMessage;

TEST_F(DiagnosticsDeath, the_fatal_hook_gets_the_message_and_cannot_stop_the_end) {
    setFatalHook([](const char* message, bool fatal) {
        fatalMessage = message;
        if (fatal) std::fprintf(stderr, "hook: %s", message);
    });
    warnfn("only a %s", "warning");
    EXPECT_EQ(fatalMessage, "only a warning");
    EXPECT_EXIT(exitfn("the end"), testing::ExitedWithCode(1), testing::HasSubstr("hook: the end"));
    setFatalHook([](const char*, bool) { exitfn("and again"); });
    EXPECT_EXIT(exitfn("the end"), testing::ExitedWithCode(1), testing::HasSubstr("and again"));
    setFatalHook(nullptr);
}

}  // namespace
