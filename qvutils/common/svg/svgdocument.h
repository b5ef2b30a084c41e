#pragma once
#include <string>
#include <vector>

#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"

/// A length or position in pixels, with at most two decimals and no needless zeros; 0 for what is
/// not finite. Beyond a billion pixels the nearest limit is written: no viewer draws there.
QVCORE_API std::string qvSvgNumber(double value);

/// Text as an XML document may hold it, between tags or inside an attribute: the marks of XML are
/// escaped, control characters are left out, and bytes that are no UTF-8 become U+FFFD.
QVCORE_API std::string qvSvgEscaped(QVText text);

/// Colours that stay distinct for colour-blind readers and on paper (M. Okabe and K. Ito, 2008), in
/// an order that shows well on white. The index is taken modulo their number.
QVCORE_API const char* qvSvgColour(int index);
inline constexpr int qvSvgColours = 7;

/// How lines and areas are drawn. Colours are what SVG accepts ("#0072b2", "none").
struct qvSvgStyle {
    QVString stroke = "none";
    double strokeWidth = 1;
    QVString fill = "none";
    /// Lengths of dashes and gaps ("6 3"); empty for a solid line.
    QVString dash = "";
    double opacity = 1;
};

struct qvSvgFont {
    enum Anchor { start, middle, end };

    double size = 12;
    Anchor anchor = start;
    QVString colour = "#222222";
    bool bold = false;
    /// Degrees, clockwise as seen, about the text's anchor point.
    double angle = 0;
};

/// About how wide a text in the document's typeface is, in pixels; rather too wide than too narrow.
QVCORE_API double qvSvgTextWidth(QVText text, double size);
/// The text, or as much of its beginning as fits into `width` pixels with an ellipsis after it.
QVCORE_API QVString qvSvgFitted(QVText text, double size, double width);

/// The data of a path element. x runs to the right and y downwards. After a point that is not
/// finite the line begins anew.
class QVCORE_API qvSvgPath {
public:
    void moveTo(double x, double y);
    void lineTo(double x, double y);
    void curveTo(double x1, double y1, double x2, double y2, double x, double y);
    /// An arc of an ellipse whose axis is turned by `angle` degrees.
    void arcTo(double rx, double ry, double angle, bool large, bool clockwise, double x, double y);
    void close();

    bool empty() const { return data_.empty(); }
    const std::string& data() const { return data_; }

private:
    bool begin(double x, double y);
    void command(char letter);
    void number(double value);

    std::string data_;
    /// The command that further points belong to; none when the line is broken.
    char command_ = 0;
    bool wroteNumber_ = false;
};

/// An SVG drawing that is written from front to back. Whatever is handed to it, the document is
/// well-formed.
class QVCORE_API qvSvgDocument {
public:
    /// The size in pixels, and the title that viewers and screen readers show.
    qvSvgDocument(double width, double height, QVText title = "");

    void line(double x1, double y1, double x2, double y2, const qvSvgStyle& style);
    void rectangle(double x, double y, double width, double height, const qvSvgStyle& style);
    void circle(double x, double y, double radius, const qvSvgStyle& style);
    void path(const qvSvgPath& path, const qvSvgStyle& style);
    /// `y` is the base line of the text.
    void text(double x, double y, QVText text, const qvSvgFont& font);

    /// Draws all of another document with its upper left corner at (x, y).
    void add(const qvSvgDocument& other, double x, double y);

    /// Groups nest; those left open are closed at the end. A transform is written as SVG says
    /// ("translate(10 20)").
    void openGroup(QVText transform = "");
    void closeGroup();

    /// The whole document.
    std::string text() const;
    /// Replaces the file whole or leaves it as it was; on failure posts to qverr() and returns
    /// false.
    bool save(QVText path) const;

private:
    void element(const char* name, const std::string& attributes, const qvSvgStyle& style);

    double width_;
    double height_;
    std::string title_;
    std::string body_;
    int openGroups_ = 0;
};
