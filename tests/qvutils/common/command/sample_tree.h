#pragma once
#include <complex>
#include <memory>
#include <string>
#include <utility>

#include "qvutils/common/command/command_line.h"
#include "qvutils/common/error/qverror.h"

/// A waveguide with parts, publishing one thing of every kind.
class Guide : public QVObject {
public:
    QV_CLASS_INFO(Guide)

    explicit Guide(const char* guideName = "", Guide* guideParent = nullptr)
        : name(guideName), parent(guideParent) {
        profile.alloc(-1, 1);
        for (int i = -1; i <= 1; ++i) profile[i] = i * 0.5;
        modes.alloc(1, 2, 0, 2);
        for (int i = 1; i <= 2; ++i) {
            for (int j = 0; j <= 2; ++j) modes[i][j] = 10 * i + j;
        }
    }
    Guide(const Guide& other)
        : QVObject(other), name(other.name), commands(other.commands), width(other.width) {}
    ~Guide() override {
        for (Guide* part : parts) delete part;
    }
    QVObject* Clone() const override { return new Guide(*this); }

    void OnPublish() override {
        PublishVar("width", width, "width in micrometres");
        PublishVar("index", index, "refractive index");
        PublishVar("count", count, "number of guides");
        PublishVar("order", order, "mode order");
        PublishVar("lossy", lossy, "whether there is loss");
        PublishVar("axis", axis, "x or y");
        PublishVar("field", field, "complex amplitude");
        PublishVar("label", label, sizeof label, "short label");
        PublishVar("name", name, "the name", true);
        PublishVar("note", note, "free text");
        PublishVar("profile", profile, "index profile");
        PublishVar("modes", modes, "mode numbers");
        PublishVar("empty", empty, "a matrix without entries");
        PublishVar("stub", stub, "an object that publishes nothing");
        PublishList("parts", parts, "the parts", true);
        PublishFn("rename", &Guide::Rename, "( newname ): rename the guide");
        PublishFn("add", &Guide::Add, "( name[, width] ): add a part", qvRequiredArgs(1));
        PublishFn("find", &Guide::Find, "( name ): find a part");
        PublishFn("remove", &Guide::Remove, "(): remove this part");
        PublishFn(
            "area", [](Guide& guide, double scale) { return guide.width * scale; },
            "( scale ): scaled width");
        PublishFn(
            "copyof", [](Guide& guide) { return std::make_unique<Guide>(guide); },
            "(): an independent copy");
        PublishFn(
            "fail", [](Guide&) { qverr().set("it failed\n"); }, "(): fails");
        PublishFn("run", &Guide::Run, "( text ): run commands");
        PublishFn(
            "runnote", [](Guide& guide) { return guide.Run(guide.note); }, "(): runs note");
        PublishFn(
            "each", [](Guide&, const QVCommandArgList& args) { return args.nargs(); },
            [this] { return "(...): counts arguments of " + name; });
    }

    void Rename(const QVString& newName) { name = newName; }
    Guide* Add(const QVString& partName, double partWidth) {
        parts.append(new Guide(partName, this));
        parts.last_cpt()->width = partWidth;
        parts.last_cpt()->commands = commands;
        return parts.last_cpt();
    }
    Guide* Find(const char* partName) {
        for (Guide* part : parts) {
            if (part->name == partName) return part;
        }
        return nullptr;
    }
    void Remove() {
        if (!parent) return qverr().set("the root stays\n");
        for (int i = 1;; ++i) {
            if (parent->parts[i] != this) continue;
            parent->parts.erase(i);
            delete this;
            return;
        }
    }
    bool Run(const char* text) { return commands->Execute(text); }

    QVString name;
    Guide* parent = nullptr;
    QVCommandBase* commands = nullptr;
    List<Guide*> parts;
    double width = 1;
    float index = 1.5f;
    int count = 0;
    short order = 0;
    bool lossy = false;
    char axis = 'x';
    std::complex<double> field;
    char label[8] = "";
    QVString note;
    Array1d<double> profile;
    Array2d<int> modes;
    Array2d<double> empty;
    QVObject stub;
};

inline const qvClassInfo Guide::cinfo_Guide("Guide", QVObject::getStaticClassInfo(), nullptr,
                                            qvCreateObject<Guide>);

/// A command session whose root object "app" is a guide. What happens is kept as a transcript:
/// results and, after a "!", messages.
class SampleSession : public QVCommandBase {
public:
    SampleSession() { root.commands = this; }

    QVObject* FindInApp(const char* name) override {
        return std::string(name) == "app" ? &root : nullptr;
    }
    bool IsKeyword(const char* name) override { return std::string(name) == "app"; }
    void OnListRoots(std::vector<std::string>& names) override { names.push_back("app"); }
    void OnCommandError(int line, const char*, const char* message) override {
        errorLine = line;
        faultyPart = getFaultyPart();
        transcript += std::string("!") + message;
        if (transcript.back() != '\n') transcript += '\n';
    }
    bool OnParseCommand(const char* command, const char* result, int flags) override {
        if (flags == aboutToRun) {
            commandsSeen += std::string("<") + command + ">";
            return true;
        }
        transcript += result;
        if (*result && transcript.back() != '\n') transcript += '\n';
        return !(stopOnError && qverr());
    }

    /// Runs a text and returns what it gave.
    std::string run(const std::string& text) {
        transcript.clear();
        commandsSeen.clear();
        succeeded = Execute(text.c_str());
        qverr().reset();
        return std::exchange(transcript, "");
    }

    Guide root{"root"};
    std::string transcript;
    std::string commandsSeen;
    std::string faultyPart;
    int errorLine = 0;
    bool stopOnError = false;
    bool succeeded = false;
};
