#include "qvutils/common/svg/svgdocument.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"

namespace {

const char* const colours[qvSvgColours] = {"#0072b2", "#d55e00", "#009e73", "#cc79a7",
                                           "#e69f00", "#56b4e9", "#000000"};

std::string attribute(const char* name, const std::string& value) {
    return std::string(" ") + name + "=\"" + value + "\"";
}

std::string attribute(const char* name, double value) {
    return attribute(name, qvSvgNumber(value));
}

std::string styleAttributes(const qvSvgStyle& style) {
    std::string text = attribute("fill", qvSvgEscaped(style.fill));
    if (style.stroke != "none") {
        text += attribute("stroke", qvSvgEscaped(style.stroke));
        if (style.strokeWidth != 1) text += attribute("stroke-width", style.strokeWidth);
        if (!style.dash.Empty()) text += attribute("stroke-dasharray", qvSvgEscaped(style.dash));
    }
    if (style.opacity != 1) text += attribute("opacity", style.opacity);
    return text;
}

}  // namespace

std::string qvSvgNumber(double value) {
    constexpr double most = 1e9;
    if (!std::isfinite(value)) return "0";
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer,
                                      std::clamp(value, -most, most), std::chars_format::fixed, 2);
    char* end = result.ptr;
    while (end[-1] == '0') --end;
    if (end[-1] == '.') --end;
    std::string text(buffer, end);
    return text == "-0" ? "0" : text;
}

const char* qvSvgColour(int index) {
    return colours[(index % qvSvgColours + qvSvgColours) % qvSvgColours];
}

void qvSvgPath::number(double value) {
    const std::string text = qvSvgNumber(value);
    if (wroteNumber_ && text[0] != '-') data_ += ' ';
    data_ += text;
    wroteNumber_ = true;
}

void qvSvgPath::command(char letter) {
    data_ += letter;
    command_ = letter;
    wroteNumber_ = false;
}

// True when there is a point to draw from and one to draw to.
bool qvSvgPath::begin(double x, double y) {
    const bool wasBroken = command_ == 0;
    if (!std::isfinite(x) || !std::isfinite(y)) {
        command_ = 0;
    } else if (wasBroken) {
        moveTo(x, y);
    }
    return command_ != 0 && !wasBroken;
}

void qvSvgPath::moveTo(double x, double y) {
    command_ = 0;
    if (!std::isfinite(x) || !std::isfinite(y)) return;
    command('M');
    number(x);
    number(y);
}

void qvSvgPath::lineTo(double x, double y) {
    if (!begin(x, y)) return;
    // Points after those of an M or L need no letter of their own.
    if (command_ != 'M' && command_ != 'L') command('L');
    number(x);
    number(y);
}

void qvSvgPath::curveTo(double x1, double y1, double x2, double y2, double x, double y) {
    if (!begin(x, y)) return;
    command('C');
    for (double value : {x1, y1, x2, y2, x, y}) number(value);
}

void qvSvgPath::arcTo(double rx, double ry, double angle, bool large, bool clockwise, double x,
                      double y) {
    if (!begin(x, y)) return;
    command('A');
    for (double value : {rx, ry, angle, double(large), double(clockwise), x, y}) number(value);
}

void qvSvgPath::close() {
    if (command_ != 0) data_ += 'Z';
    command_ = 0;
}

qvSvgDocument::qvSvgDocument(double width, double height, QVText title)
    : width_(width), height_(height), title_(qvSvgEscaped(title)) {}

void qvSvgDocument::element(const char* name, const std::string& attributes,
                            const qvSvgStyle& style) {
    body_ += std::string("<") + name + attributes + styleAttributes(style) + "/>\n";
}

void qvSvgDocument::line(double x1, double y1, double x2, double y2, const qvSvgStyle& style) {
    element("line",
            attribute("x1", x1) + attribute("y1", y1) + attribute("x2", x2) + attribute("y2", y2),
            style);
}

void qvSvgDocument::rectangle(double x, double y, double width, double height,
                              const qvSvgStyle& style) {
    element("rect",
            attribute("x", x) + attribute("y", y) + attribute("width", std::max(width, 0.0)) +
                attribute("height", std::max(height, 0.0)),
            style);
}

void qvSvgDocument::circle(double x, double y, double radius, const qvSvgStyle& style) {
    element("circle",
            attribute("cx", x) + attribute("cy", y) + attribute("r", std::max(radius, 0.0)), style);
}

void qvSvgDocument::path(const qvSvgPath& path, const qvSvgStyle& style) {
    if (!path.empty()) element("path", attribute("d", path.data()), style);
}

void qvSvgDocument::text(double x, double y, QVText text, const qvSvgFont& font) {
    static const char* const anchors[] = {"start", "middle", "end"};
    body_ += "<text" + attribute("x", x) + attribute("y", y);
    if (font.anchor != qvSvgFont::start) body_ += attribute("text-anchor", anchors[font.anchor]);
    body_ += attribute("font-size", font.size) + attribute("fill", qvSvgEscaped(font.colour));
    if (font.bold) body_ += attribute("font-weight", "bold");
    if (font.angle != 0) {
        body_ += attribute("transform", "rotate(" + qvSvgNumber(font.angle) + " " + qvSvgNumber(x) +
                                            " " + qvSvgNumber(y) + ")");
    }
    body_ += ">" + qvSvgEscaped(text) + "</text>\n";
}

void qvSvgDocument::openGroup(QVText transform) {
    body_ += "<g";
    if (transform.Length() > 0) body_ += attribute("transform", qvSvgEscaped(transform));
    body_ += ">\n";
    ++openGroups_;
}

void qvSvgDocument::closeGroup() {
    if (openGroups_ == 0) return;
    body_ += "</g>\n";
    --openGroups_;
}

void qvSvgDocument::add(const qvSvgDocument& other, double x, double y) {
    const std::string place = "translate(" + qvSvgNumber(x) + " " + qvSvgNumber(y) + ")";
    openGroup(place.c_str());
    body_ += other.body_;
    for (int i = 0; i < other.openGroups_; ++i) body_ += "</g>\n";
    closeGroup();
}

std::string qvSvgDocument::text() const {
    const std::string width = qvSvgNumber(width_);
    const std::string height = qvSvgNumber(height_);
    std::string document = "<svg xmlns=\"http://www.w3.org/2000/svg\"" + attribute("width", width) +
                           attribute("height", height) +
                           attribute("viewBox", "0 0 " + width + " " + height) +
                           " font-family=\"Arial, Helvetica, 'Liberation Sans', sans-serif\""
                           " stroke-linejoin=\"round\" stroke-linecap=\"round\" role=\"img\">\n";
    if (!title_.empty()) document += "<title>" + title_ + "</title>\n";
    document += body_;
    for (int i = 0; i < openGroups_; ++i) document += "</g>\n";
    return document + "</svg>\n";
}

bool qvSvgDocument::save(QVText path) const {
    const std::string name(path.view());
    qvplatform::SafeFile file;
    if (file.open(name) && file.write(text()) && file.commit()) return true;
    qverr().set(file.error().c_str());
    return false;
}
