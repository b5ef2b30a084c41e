#include "qvutils/common/materials/materloader.h"

#include <algorithm>
#include <cerrno>

#include "qvutils/common/blocks/signature.h"
#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/materials/materialfiles.h"
#include "qvutils/common/materials/materkeywords.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/common/platform/threads.h"
#include "qvutils/common/text/qvnearest.h"

using qvmaterial::readingState;
using qvmaterial::sameWord;

namespace {

constexpr const char* signature = "<materbase(2.21)>";
constexpr std::size_t longestName = 99;
constexpr std::size_t longestHeader = 1999;
constexpr std::size_t longestBlockHeader = 99;

struct Loading {
    qvMaterialLoader* innermost = nullptr;
};

qvMaterialLoader*& innermostLoader() {
    return qvplatform::perThread<Loading>().innermost;
}

bool isBlank(char c) {
    return static_cast<unsigned char>(c) <= ' ';
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return text;
}

/// Takes the first word off the text.
std::string_view takeWord(std::string_view& text) {
    text = trimmed(text);
    std::size_t n = 0;
    while (n < text.size() && !isBlank(text[n])) ++n;
    const std::string_view word = text.substr(0, n);
    text = trimmed(text.substr(n));
    return word;
}

std::string_view withoutComment(std::string_view line) {
    return trimmed(line.substr(0, line.find("//")));
}

/// The part of a material's name before any bracket.
std::string plainName(std::string_view name) {
    return std::string(
        trimmed(name.substr(0, std::min(name.find('('), name.size()))).substr(0, longestName));
}

std::string quotedForMessage(std::string_view line) {
    constexpr std::size_t shown = 200;
    return std::string(line.substr(0, shown)) + (line.size() > shown ? "..." : "");
}

/// BEGIN name [<< base]: what follows BEGIN. Null, or what is wrong with it.
const char* parseHeader(std::string_view text, std::string& name, std::string& base) {
    constexpr const char* extra = "%s :syntax error, extra characters after name()";
    const std::size_t end = std::min(text.find('<'), text.size());
    std::string_view front = text.substr(0, end);
    std::string_view rest = text.substr(end);
    const std::string_view word = takeWord(front);
    name = plainName(word);
    if (name.empty()) return "%s \r\n:syntax error, name() not found";
    // An argument in brackets may hold blanks.
    const bool open = word.find('(') != word.npos && word.find(')') == word.npos;
    if (open && !front.empty() && front.back() == ')') front = {};
    if (!front.empty()) return extra;
    if (rest.empty()) return nullptr;
    if (rest.substr(0, 2) != "<<") return extra;
    rest.remove_prefix(2);
    base = plainName(takeWord(rest));
    if (base.empty()) return "%s :syntax error, the material to start from is not named";
    return rest.empty() ? nullptr : extra;
}

/// Keeps a file open and known to the thread as the one that is being read.
class Opened {
public:
    /// An empty path opens nothing.
    explicit Opened(const std::string& path) : path_(path) {
        file = path.empty() ? nullptr : qvplatform::fileSystem().open(path, "rb");
        if (file) readingState().files.push_back({file, &path_});
    }
    ~Opened() {
        if (!file) return;
        readingState().files.pop_back();
        qvplatform::fileSystem().close(file);
    }
    Opened(const Opened&) = delete;
    Opened& operator=(const Opened&) = delete;

    FILE* file;

private:
    std::string path_;
};

}  // namespace

qvMaterialLoader::qvMaterialLoader(Materbase& base, Materbase::Contents& contents,
                                   std::vector<qvMaterialMistake>* mistakes)
    : base_(base), contents_(contents), mistakes_(mistakes), outer_(innermostLoader()) {
    innermostLoader() = this;
}

qvMaterialLoader::~qvMaterialLoader() {
    innermostLoader() = outer_;
}

qvMaterialLoader* qvMaterialLoader::loading(const Materbase* base) {
    qvMaterialLoader* loader = innermostLoader();
    while (loader && &loader->base_ != base) loader = loader->outer_;
    return loader;
}

std::shared_ptr<const PolyOrSplineFunc2DBase> qvMaterialLoader::function(const Materbase* base,
                                                                         std::string_view type,
                                                                         std::string_view name) {
    qvMaterialLoader* loader = loading(base);
    if (!loader) return nullptr;
    Materbase::Contents::Block* block = loader->contents_.findBlock(type, name, true);
    if (!block || block->function) return block ? block->function : nullptr;
    std::shared_ptr<PolyOrSplineFunc2DBase> made;
    if (type == "POLY2D") {
        made = std::make_shared<PolyFunction2D>();
    } else {
        made = std::make_shared<CSplineFunction2D>();
    }
    made->name = name;
    made->x1Name = "mx";
    made->x2Name = "my";
    // The text goes on after type and name.
    const std::string_view text = block->text;
    const std::string_view body = text.substr(text.find(name, type.size() + 2) + name.size());
    if (!made->ReadBody(body)) return nullptr;
    block->function = made;
    return made;
}

bool qvMaterialLoader::load(const std::string& path) {
    if (qverr()) return false;
    return loadFile(path, "") && completeMaterials();
}

bool qvMaterialLoader::goOn() {
    qvmaterial::ReadingState& state = readingState();
    const bool placed = state.hasMistake;
    state.hasMistake = false;
    if (!mistakes_) return false;
    if (mistakes_->size() >= maxMistakes) return false;
    if (placed) {
        mistakes_->push_back(state.mistake);
    } else {
        mistakes_->push_back({including_.empty() ? "" : including_.back(), 0, qverr().chars()});
    }
    qverr().reset();
    return mistakes_->size() < maxMistakes;
}

bool qvMaterialLoader::goOnAfterItem(Reader& in) {
    if (!mistakes_) qverr().append(("\nFailed to load material file: " + in.path() + "\n").c_str());
    return goOn();
}

bool qvMaterialLoader::loadFile(const std::string& path, const std::string& includeLine) {
    qvplatform::FileSystem& files = qvplatform::fileSystem();
    const qvplatform::FileStatus status = files.status(path);
    contents_.files.push_back({path, status.modified});
    errno = status.exists() && !status.isFile() ? EINVAL : ENOENT;
    Opened opened(status.isFile() ? path : "");
    if (!opened.file) {
        // One that is there but held by somebody is worth another attempt.
        if (status.exists()) contents_.files.back().modified = -1;
        qverr().setf(500, "Could not open material file %s: %s\n", path.c_str(),
                     qvplatform::errorText(errno).c_str());
        if (!includeLine.empty())
            qverr().append(("- referenced in line: \"INCLUDE " + includeLine + "\"").c_str());
        return false;
    }
    including_.push_back(path);
    Reader in(opened.file);
    bool good = checkSignature(in) ? readItems(in) : goOn();
    if (good && std::ferror(opened.file)) {
        qverr().setf(500, "Failed to read material file %s\n", path.c_str());
        good = goOn();
    }
    including_.pop_back();
    return good;
}

bool qvMaterialLoader::checkSignature(Reader& in) {
    constexpr int byteOrderMark[] = {0xef, 0xbb, 0xbf};
    for (const int wanted : byteOrderMark) {
        if (std::getc(in.file()) == wanted) continue;
        in.goTo(0);
        break;
    }
    in.atEnd();
    const std::int64_t start = in.position();
    std::string line;
    in.restOfLine(line);
    return checksig(line.c_str(), signature, in.path().c_str()) == 0 || in.failAt(start, "");
}

bool qvMaterialLoader::readItems(Reader& in) {
    while (!in.atEnd())
        if (!readItem(in)) return false;
    return true;
}

bool qvMaterialLoader::readItem(Reader& in) {
    const std::int64_t start = in.position();
    std::string line;
    in.restOfLine(line);
    std::string_view rest = line;
    const std::string_view keyword = takeWord(rest);
    const std::string text(rest);
    if (sameWord(keyword, "BEGIN")) return readMaterial(in, start, text);
    if (sameWord(keyword, "BEGIN_DATABLOCK")) return readDataBlock(in, start, text);
    if (sameWord(keyword, "INCLUDE")) return include(in, start, text);
    return true;
}

bool qvMaterialLoader::readMaterial(Reader& in, std::int64_t start, const std::string& line) {
    std::string name;
    std::string base;
    const std::string_view header = withoutComment(line);
    const char* wrong =
        line.size() > longestHeader ? "%s :the line is too long" : parseHeader(header, name, base);
    if (wrong) {
        qverr().setf(wrong, ("BEGIN " + quotedForMessage(header)).c_str());
        in.failAt(start, "");
        return goOnAfterItem(in);
    }
    MaterB* material = beginMaterial(in, name, base);
    if (!material) {
        in.failAt(start, name);
        return goOnAfterItem(in);
    }
    const Place place{in.path(), in.lineOf(start)};
    const auto at = std::find_if(contents_.materials.begin(), contents_.materials.end(),
                                 [&](const auto& m) { return m.get() == material; });
    places_.resize(contents_.materials.size());
    places_[static_cast<std::size_t>(at - contents_.materials.begin())] = place;
    return readBody(in, *material);
}

MaterB* qvMaterialLoader::beginMaterial(Reader& in, const std::string& name,
                                        const std::string& base) {
    MaterB* material = contents_.find(name);
    const MaterB* from = base.empty() ? nullptr : contents_.find(base);
    if (!material) {
        if (contents_.materials.size() >= Materbase::maxMaterials) {
            qverr().setf("Too many materials in %s (max %d)\n", in.path().c_str(),
                         Materbase::maxMaterials);
            return nullptr;
        }
        std::unique_ptr<MaterB> made(qvmaterial::newMaterial(name.c_str()));
        if (!made) {
            qverr().setf("Material \"%s\" could not be made\n", name.c_str());
            return nullptr;
        }
        made->setName(name.c_str());
        made->setOwner(&base_);
        material = contents_.materials.emplace_back(std::move(made)).get();
    }
    if (from != material) material->Init();
    if (from) material->Copy(*from);
    if (!from && !base.empty())
        wlprintf("WARNING: material \"%.99s\" starts from \"%.99s\", which is not defined\n",
                 name.c_str(), base.c_str());
    return material;
}

bool qvMaterialLoader::readBody(Reader& in, MaterB& material) {
    std::string word;
    for (;;) {
        const std::int64_t before = in.position();
        if (!in.word(word)) {
            in.fail("Error in material \"%s\"\nUnexpected end-of-file", material.getName());
            return goOnAfterItem(in);
        }
        if (sameWord(word, "END")) return true;
        const std::int64_t after = in.position();
        if (readParameter(in, material, word)) continue;
        if (!goOnAfterItem(in)) return false;
        if (sameWord(word, "BEGIN") || sameWord(word, "BEGIN_DATABLOCK")) {
            // The END of this one is missing.
            in.goTo(before);
            return true;
        }
        // The word that was no value may be the next keyword, or END.
        in.goTo(after);
        skipToKeyword(in);
    }
}

bool qvMaterialLoader::readParameter(Reader& in, MaterB& material, const std::string& keyword) {
    readingState().hasMistake = false;
    const std::int64_t start = in.position() - static_cast<std::int64_t>(keyword.size());
    if (material.ReadDef(keyword.c_str(), in.file()) && !qverr()) return true;
    if (qverr()) {
        if (!readingState().hasMistake) in.failAt(start, keyword);
        return false;
    }
    std::string message = "Error in material \"" + std::string(material.getName()) +
                          "\"\nunrecognised parameter name \"" + quotedForMessage(keyword) + "\" ";
    if (sameWord(keyword, "BEGIN") || sameWord(keyword, "BEGIN_DATABLOCK"))
        message += "\nthe END of the material is missing";
    if (keyword.size() < longestName) {
        QVNearestNames nearest(keyword);
        for (const qvmaterial::KeywordRow& row : qvmaterial::keywordRows())
            nearest.offer(row.keyword);
        const std::vector<std::string> names = nearest.names();
        if (!names.empty()) message += "\ndid you mean " + names.front() + "?";
    }
    qverr().set(message.c_str());
    return in.failAt(start, "");
}

/// Steps over values up to what is, or looks like, the next keyword.
void qvMaterialLoader::skipToKeyword(Reader& in) {
    std::string word;
    for (std::int64_t before = in.position(); in.word(word); before = in.position()) {
        const bool stops = sameWord(word, "END") || sameWord(word, "BEGIN") ||
                           sameWord(word, "BEGIN_DATABLOCK") || word[0] == '<' ||
                           (in.beganLine() && word[0] >= 'A' && word[0] <= 'Z') ||
                           qvmaterial::findKeyword(word);
        if (!stops) continue;
        in.goTo(before);
        return;
    }
}

bool qvMaterialLoader::readDataBlock(Reader& in, std::int64_t start, const std::string& line) {
    const std::string_view header = withoutComment(line);
    const auto refuse = [&](const char* fmt) {
        qverr().setf(fmt, quotedForMessage(header).c_str());
        in.failAt(start, "");
        return goOnAfterItem(in);
    };
    std::string_view rest = header;
    std::string_view type = takeWord(rest);
    const std::string_view name = takeWord(rest);
    const bool wrong = type.size() < 3 || type.front() != '<' || type.back() != '>' || name.empty();
    const bool tooLong = header.size() > longestBlockHeader;
    auto block = std::make_unique<Materbase::Contents::Block>();
    block->text = std::string(header) + " ";
    std::string word;
    for (;;) {
        if (!in.word(word))
            return refuse("Error in datablock. Unexpected end-of-file after line %s");
        if (sameWord(word, "END_DATABLOCK")) break;
        block->text += word;
        block->text += ' ';
    }
    if (tooLong) return refuse("Error in datablock. The line is too long: %s");
    if (wrong) return refuse("Error in datablock. Expected <TYPE> and a name in line %s");
    if (contents_.blocks.size() >= Materbase::maxDataBlocks)
        return refuse("Error in datablock. A file may have 20 of them: %s");
    type = type.substr(1, type.size() - 2);
    if (contents_.findBlock(type, name, false))
        return refuse("Error in datablock. There is one of this name already: %s");
    contents_.blocks.push_back(std::move(block));
    const bool known = type == "POLY2D" || type == "SPLINE2D";
    // A table that no material uses is still to be checked.
    if (mistakes_ && known && !function(&base_, type, name)) {
        in.failAt(start, "");
        return goOn();
    }
    return true;
}

bool qvMaterialLoader::include(Reader& in, std::int64_t start, const std::string& line) {
    std::string_view rest = line;
    std::string name(takeWord(rest));
    if (!name.empty() && name.front() == '"') name = line.substr(1, line.find('"', 1) - 1);
    if (name.substr(0, 2) == "//") name.clear();
    const std::string path = findIncluded(in, name);
    const std::int64_t after = in.position();
    if (name.empty()) {
        qverr().set("INCLUDE without a file name\n");
    } else if (std::find(including_.begin(), including_.end(), path) != including_.end()) {
        qverr().setf("Material file %s includes itself\n", path.c_str());
    } else if (including_.size() >= Materbase::maxIncludeDepth) {
        qverr().setf("Material files include one another deeper than %d: %s\n",
                     Materbase::maxIncludeDepth, path.c_str());
    } else if (loadFile(path, name)) {
        return true;
    } else if (qverr() != 500) {
        return false;
    }
    in.goTo(after);
    in.failAt(start, "");
    return goOn();
}

/// Beside the file that includes it, else wherever a file of this name would be found.
std::string qvMaterialLoader::findIncluded(const Reader& in, const std::string& name) const {
    qvplatform::FileSystem& files = qvplatform::fileSystem();
    const std::string absolute = qvmaterial::absolutePath(name);
    if (absolute == name) return name;
    std::size_t end = in.path().size();
    while (end > 0 && !qvplatform::isPathSeparator(in.path()[end - 1])) --end;
    const std::string beside = in.path().substr(0, end) + name;
    if (files.status(beside).isFile()) return beside;
    const std::string shipped = qvFindMaterialFile(name);
    return shipped.empty() ? beside : qvmaterial::absolutePath(shipped);
}

bool qvMaterialLoader::completeMaterials() {
    places_.resize(contents_.materials.size());
    for (std::size_t i = 0; i < contents_.materials.size(); ++i) {
        contents_.materials[i]->Complete();
        if (!qverr()) continue;
        const Place& place = places_[i];
        qvmaterial::ReadingState& state = readingState();
        state.mistake = {place.path, place.line, qverr().chars()};
        state.hasMistake = true;
        qverr().append(("line " + std::to_string(place.line) + " of " + place.path + "\n").c_str());
        if (!goOn()) return false;
    }
    return true;
}
