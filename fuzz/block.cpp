// Block text: whatever is read as blocks and written again must read as the same, and settle.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/check.h"
#include "qvutils/common/blocks/qvutils.h"

namespace {

/// A line or a child block of a body.
struct Item {
    bool isBlock;
    std::string text;
    bool operator==(const Item&) const = default;
};

std::string withoutComment(std::string_view line) {
    line = line.substr(0, line.find("//"));
    return std::string(line.substr(0, line.find_last_not_of(" \t\n") + 1));
}

std::vector<Item> itemsOf(TextBlock& block) {
    std::vector<Item> items;
    block.StartRead({block.getType(), -1, -1}, false);
    for (TextBlock child; !block.EOB() && !qverr();) {
        if (child.LoadBlock(block)) {
            items.push_back({true, std::string(child.text())});
        } else {
            items.push_back({false, withoutComment(block.getLastLine())});
        }
    }
    return items;
}

std::string rewritten(TextBlock block, const std::vector<Item>& items) {
    const std::string name = block.getName() ? block.getName() : "";
    block.StartWrite({block.getType(), block.getMajorVer(), block.getMinorVer()}, name.c_str());
    for (const Item& item : items) {
        TextBlock child;
        if (item.isBlock && child.LoadBlock(item.text.c_str())) {
            block.AppendBlock(child);
        } else {
            block.WriteLine(item.text);
        }
    }
    block.EndWrite();
    return std::string(block.text());
}

/// Lines that do not survive being written as content lines without their comments.
bool isSpecial(const Item& item) {
    return !item.isBlock &&
           (item.text.empty() || TextBlock().LoadBlock((item.text + "\nend").c_str()) ||
            TextBlock().LoadBlock(("begin\n" + item.text + "\n").c_str()));
}

void checkRewriting(TextBlock& block) {
    const std::vector<Item> items = itemsOf(block);
    for (const Item& item : items) {
        if (isSpecial(item)) return;
    }
    qverr().reset();
    const std::string once = rewritten(block, items);
    TextBlock again;
    check(again.LoadBlock(once.c_str()));
    check(std::string_view(again.getType()) == block.getType());
    check(itemsOf(again).size() == items.size());
    check(rewritten(again, items) == once);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qverr().reset();
    const std::string text(reinterpret_cast<const char*>(data), size);
    if (text.find_first_of(std::string_view("\0\r", 2)) != text.npos) return 0;
    FBuff source;
    source.Append(text);
    source.setPosn(0);
    // Every line is read once, by itself or as a part of a block.
    for (TextBlock block; source.getPosn() < source.getLen();) {
        const unsigned posn = source.getPosn();
        if (block.LoadBlock(source)) {
            check(text.find(block.text()) != text.npos);
            check(block.body().size() + 6 <= block.getLen());
            checkRewriting(block);
        }
        check(source.getPosn() > posn);
        qverr().reset();
    }
    return 0;
}
