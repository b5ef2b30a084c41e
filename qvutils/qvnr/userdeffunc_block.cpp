#include <string_view>

#include "qvutils/common/blocks/textblock.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/qvnr/Splinfit.h"
#include "qvutils/qvnr/functiontext.h"
#include "qvutils/qvnr/userDefFunc.h"

using qvfunctiontext::WordReader;

const TBlockSig UserDefFunction::tbSig{"UserDefFunc", 1, 0};

/// body:   header limits [ size ] { row }
/// header: type size xLimits yLimits    as it is written
///       | type xLimits yLimits         the size then has a line of its own
/// limits: xMin xMax yMin yMax
/// row:    c [ anything ] | x y         one per coefficient or data pair
class UserDefFunction::BlockReader {
public:
    BlockReader(TextBlock& block, UserDefFunction& function) : block_(block), f_(function) {}

    bool read() {
        block_.StartRead(tbSig, true);
        return !qverr() && readHeader() && readLimits() && readSize() && readRows();
    }

private:
    bool refuse(const char* message) {
        qverr().set(message);
        return false;
    }
    WordReader nextWords() { return WordReader(block_.EOB() ? "" : block_.nextLine()); }

    bool readHeader() {
        WordReader words = nextWords();
        int n[4];
        int count = 0;
        while (count < 4 && words.readInt(n[count])) ++count;
        if (count < 3) return refuse("UserDefFunc: missing function type and switches\n");
        if (n[0] != polynomial && n[0] != cubicSpline) {
            qverr().setf("UserDefFunc: there is no function type %d\n", n[0]);
            return false;
        }
        f_.functionType = n[0];
        size_ = count == 4 ? n[1] : -1;
        sizeFollows_ = count == 3;
        f_.xLimits = n[count - 2] != 0;
        f_.yLimits = n[count - 1] != 0;
        return true;
    }

    bool readLimits() {
        WordReader words = nextWords();
        if (!words.readNumber(f_.xMin) || !words.readNumber(f_.xMax) ||
            !words.readNumber(f_.yMin) || !words.readNumber(f_.yMax)) {
            return refuse("UserDefFunc: missing limits\n");
        }
        if (!f_.yLimits) {
            f_.yMin = -noLimit;
            f_.yMax = noLimit;
        }
        return true;
    }

    bool readSize() {
        if (sizeFollows_ && !nextWords().readInt(size_)) {
            return refuse("UserDefFunc: missing coefficients\n");
        }
        const bool spline = f_.functionType == cubicSpline;
        const int least = spline ? 2 : 1;
        const int most = spline ? CSpline::maxPoints : maxCoefs;
        if (size_ >= least && size_ <= most) return true;
        qverr().setf("UserDefFunc: the size %d is not between %d and %d\n", size_, least, most);
        return false;
    }

    bool readRows() {
        const bool spline = f_.functionType == cubicSpline;
        std::vector<qvfunctiontext::Pair> rows;
        for (int i = 0; i < size_; ++i) {
            WordReader words = nextWords();
            qvfunctiontext::Pair row{};
            if (!words.readNumber(row.x) || (spline && !words.readNumber(row.y))) {
                return refuse("UserDefFunc: missing coefficients\n");
            }
            rows.push_back(row);
            if (!spline) f_.coefs[i] = row.x;
        }
        if (spline) qvfunctiontext::sortPairs(rows, f_.xData, f_.yData);
        f_.degree = spline ? 0 : size_ - 1;
        while (!block_.EOB()) {
            if (!nextWords().atEnd()) return refuse("UserDefFunc: more lines than its size says\n");
        }
        return true;
    }

    TextBlock& block_;
    UserDefFunction& f_;
    int size_ = 0;
    bool sizeFollows_ = false;
};

bool UserDefFunction::ReadTB(TextBlock& block) {
    UserDefFunction read;
    if (!BlockReader(block, read).read()) return false;
    read.name = block.getName() ? block.getName() : "";
    read.xName = xName;
    read.xUnit = xUnit;
    read.label = label;
    if (!read.Prepare()) return false;
    *this = read;
    return true;
}

void UserDefFunction::WriteTB(TextBlock& block) const {
    const bool spline = functionType == cubicSpline;
    block.StartWrite(tbSig, name.Chars(), nullptr);
    block.writeline("%d %d %d %d \t\t", functionType, spline ? getDataSize() : getCoefCount(),
                    xLimits ? 1 : 0, hasYRange() ? 1 : 0);
    block.writeline("%5.7g %5.7g %5.7g %5.7g \t\t", xMin, xMax, yMin, yMax);
    for (int i = 0; !spline && i < getCoefCount(); ++i) block.writeline("%5.7g \t", coefs[i]);
    for (int i = 0; spline && i < getDataSize(); ++i) {
        block.writeline("%5.7g\t%5.7g\t", xData[i], yData[i]);
    }
    block.EndWrite();
}
