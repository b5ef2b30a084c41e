#include "qvutils/common/command/command_line.h"

#include <atomic>
#include <exception>
#include <functional>

#include "qvutils/common/command/commandglobals.h"
#include "qvutils/common/command/commandpath.h"
#include "qvutils/common/command/commandtext.h"
#include "qvutils/common/command/commandvalue.h"
#include "qvutils/common/error/qverror.h"

namespace {

/// Texts up to this size leave their buffer for the next one.
constexpr std::size_t mostBuffered = 4096;

int size(std::string_view text) {
    return static_cast<int>(text.size());
}

bool isPartOf(std::string_view part, std::string_view text) {
    const std::less_equal<const char*> before;
    return before(text.data(), part.data()) && before(part.data(), text.data() + text.size());
}

/// The object that a kind-10 element refers to.
QVObject* SafeCast(const QVCommandElt& element) {
    QVObject* object = element.getObject();
    if (!object) CodeError("SafeCast", "command_line", __LINE__);
    return object;
}

}  // namespace

QVCommandBase::QVCommandBase() : globals_(std::make_unique<qvCommandGlobals>()) {}

QVCommandBase::~QVCommandBase() = default;

// Running text.

bool QVCommandBase::Execute(const char* text) {
    if (nesting_ == maxNesting) {
        unwinding_ = true;
        qverr().setf("command texts run each other more than %d deep\n", maxNesting);
        return false;
    }
    const int outerLine = line_;
    const bool outerFailed = failed_;
    ++nesting_;
    failed_ = false;
    bool completed = true;
    // A statement may change or delete the text that it is a part of, so a copy is run.
    std::string own, copy, comment;
    own.swap(buffer_);
    own = text;
    qvStatementReader reader(own);
    qvStatement statement;
    while (completed && !unwinding_ && reader.next(statement)) {
        line_ = statement.line;
        qverr().reset();
        const char* command = statement.text.data();
        if (command[statement.text.size()] != '\0') {  // not the end of the text
            copy = statement.text;
            command = copy.c_str();
        }
        comment.clear();
        if (!statement.comment.empty()) comment.append("  ").append(statement.comment);
        completed = tell(command, comment.c_str(), "", aboutToRun) &&
                    ParseCommand(command, comment.c_str(), hasRun);
    }
    if (own.size() < mostBuffered) buffer_.swap(own);
    const bool succeeded = completed && !failed_;
    if (--nesting_ == 0) unwinding_ = false;
    line_ = outerLine;
    failed_ = outerFailed;
    return succeeded;
}

bool QVCommandBase::ParseCommand(const char* command, const char* comment, int flags) {
    hints_.clear();
    fault_ = {};
    QVString result;
    gaveValue_ = false;
    // A plug-in may throw what it likes; that is an error of the statement, not the program's end.
    try {
        gaveValue_ = runStatement(command, result);
    } catch (const Error& thrown) {
        qverr().set(thrown.chars());
    } catch (const std::exception& thrown) {
        qverr().setf("exception: %s\n", thrown.what());
    } catch (...) {
        qverr().set("exception of an unknown type\n");
    }
    if (qverr()) {
        result = QVString();
        failed_ = true;
        if (!isPartOf(fault_, command)) fault_ = {};  // of a text that a method ran
        OnCommandError(line_, command, qverr().chars());
    }
    return tell(command, comment, result, flags);
}

bool QVCommandBase::tell(const char* command, const char* comment, const char* result, int flags) {
    if (!*comment) return OnParseCommand(command, result, flags);
    return OnParseCommand((std::string(command) + comment).c_str(), result, flags);
}

/// statement := "Ref&" name "=" path | "Set" name "=" path | "Del" name | "help" [ path ]
///            | path "=" text | path | nothing
/// True when it has a value.
bool QVCommandBase::runStatement(std::string_view statement, QVString& result) {
    const std::size_t assignment = qvFindAssignment(statement);
    std::string_view rest = statement;
    const std::string_view word = qvTakeWord(rest);
    switch (classify(word, assignment != statement.npos)) {
        case Form::empty:
            return false;
        case Form::reference:
        case Form::copy: {
            const std::string_view name =
                qvTrimmed(statement.substr(word.size(), assignment - word.size()));
            const std::string_view path = qvTrimmed(statement.substr(assignment + 1));
            word == "Set" ? defineCopy(name, path) : defineReference(name, path);
            return false;
        }
        case Form::deletion:
            deleteReference(rest);
            return false;
        case Form::help:
            return help(rest, result);
        case Form::assignment: {
            assign(qvTrimmed(statement.substr(0, assignment)),
                   qvUnquote(statement.substr(assignment + 1)));
            return false;
        }
        case Form::path: {
            QVCommandElt element;
            const bool found = resolve(statement, lastMethod::called, false, element);
            if (found) result = qvValueText(element);
            globals_->noteShown(element);
            return found && !element.IsNull();
        }
    }
    CodeError("QVCommandBase::ParseCommand", "command_line", __LINE__);
    return false;
}

QVCommandBase::Form QVCommandBase::classify(std::string_view firstWord, bool hasAssignment) {
    if (firstWord.empty()) return Form::empty;
    if (hasAssignment && firstWord == "Ref&") return Form::reference;
    if (hasAssignment && firstWord == "Set") return Form::copy;
    if (firstWord == "Del") return Form::deletion;
    if (firstWord == "help") return Form::help;
    return hasAssignment ? Form::assignment : Form::path;
}

void QVCommandBase::defineReference(std::string_view name, std::string_view path) {
    QVCommandElt element;
    bool called = false;
    if (!checkName(name) || !resolve(path, lastMethod::called, false, element, &called)) return;
    if (called && element.IsNull()) {
        return qverr().setf("%.*s returns NULL\n", size(path), path.data());
    }
    if (called && element.IsCopy()) {
        return qverr().setf("%.*s returns a COPY\n", size(path), path.data());
    }
    if (!element.IsKindOf(qvKindObject) || element.getNdims() > 0 || element.IsNull()) {
        return qverr().set("only allowed to reference a qvobject!");
    }
    QVCommandEltRef reference(*SafeCast(element));
    reference.keepAlive(element);
    globals_->set(name, reference);
}

void QVCommandBase::defineCopy(std::string_view name, std::string_view path) {
    QVCommandElt element;
    bool called = false;
    if (!checkName(name) || !resolve(path, lastMethod::called, false, element, &called)) return;
    if (!called) return qverr().setf("%.*s is not a function\n", size(path), path.data());
    if (element.IsNull()) return qverr().setf("%.*s returns NULL\n", size(path), path.data());
    if (!element.IsCopy()) {
        return qverr().setf("%.*s returns a REFERENCE\n", size(path), path.data());
    }
    globals_->set(name, element);
}

void QVCommandBase::deleteReference(std::string_view name) {
    const QVCommandElt* global = globals_->find(name);
    if (global && qvCommandGlobals::isReference(*global)) {
        globals_->remove(name);
    } else {
        qverr().setf("could not find \"%.*s\"\n or this is not a reference", size(name),
                     name.data());
    }
}

bool QVCommandBase::help(std::string_view path, QVString& result) {
    if (path.empty()) {
        result =
            "Statements:\n path  path(arguments)  path = value  Ref& name = path\n"
            " Set name = path(arguments)  Del name  help path\nPaths begin with:\n";
        std::vector<std::string> names;
        listRoots(names);
        for (const std::string& name : names) result += QVString(" ") + name.c_str() + "\n";
        return true;
    }
    QVCommandElt element;
    if (!resolve(path, lastMethod::asWritten, true, element)) return false;
    result = qvHelpText(element);
    return true;
}

void QVCommandBase::SetParam(const char* lhs, const char* rhs) {
    if (!qverr()) assign(lhs, rhs);
}

void QVCommandBase::assign(std::string_view path, const char* value) {
    QVCommandElt element;
    if (!resolve(path, lastMethod::asWritten, false, element)) return;
    const std::string name(path);
    if (element.IsReadOnly()) return qverr().setf("\"%s\" is read only!\n", name.c_str());
    QVObject* parent = element.getParent();
    if (parent && !element.IsKindOf(qvKindObject)) {
        parent->SetParam(element, value, name.c_str());
    } else {
        element.Assign(value, name.c_str());
    }
}

// Following paths.

QVCommandElt QVCommandBase::getPublishedElt(const char* path, bool withTexts) {
    QVCommandElt element;
    if (!qverr()) resolve(path, lastMethod::asWritten, withTexts, element);
    return element;
}

/// Follows a path. It has been read whole before the first step, so that a mistake at its end is
/// found before a method in its middle is called.
bool QVCommandBase::resolve(std::string_view text, lastMethod last, bool withTexts,
                            QVCommandElt& element, bool* called) {
    text = qvTrimmed(text);
    const qvPath path(text);
    if (path.size() == 0) {
        if (!qverr()) qverr().set("could not find item \"\"\n");
        fault_ = path.fault();
        return false;
    }
    for (std::size_t i = 0; i < path.size(); ++i) {
        const qvPathStep& step = path[i];
        const bool isLast = i + 1 == path.size();
        bool found = i == 0 ? enterRoot(step.name, path.withoutCall(text), element)
                            : enterChild(step.name, withTexts, element);
        if (found && step.nIndices > 0) found = enterEntry(step, element);
        const bool calls =
            step.hasArgs || (isLast && last == lastMethod::called && element.IsFunction());
        if (found && calls) found = callMethod(step, isLast, element);
        if (!found) {
            fault_ = step.name;
            element = QVCommandElt();
            return false;
        }
        if (called) *called = calls;
    }
    return true;
}

bool QVCommandBase::enterRoot(std::string_view name, std::string_view path, QVCommandElt& element) {
    if (const QVCommandElt* global = globals_->find(name)) {
        element = *global;
        return true;
    }
    if (QVObject* root = FindInApp(std::string(name).c_str())) {
        element.Init(root, qvKindObject, false, false, 0, nullptr);
        return true;
    }
    qverr().setf("could not find item \"%.*s\"\n", size(path), path.data());
    std::vector<std::string> known;
    listRoots(known);
    hints_ = nearestNames(name, known);
    return false;
}

bool QVCommandBase::enterChild(std::string_view name, bool withTexts, QVCommandElt& element) {
    QVObject* object = element.getObject();
    const std::shared_ptr<void> owner = element.getOwner();
    element.clear();
    if (object && object->findPublishedElt(name, withTexts, element)) {
        element.keepAlive(owner);
        return true;
    }
    qverr().setf("could not find item \"%.*s\"\n", size(name), name.data());
    std::vector<std::string> known;
    if (object) {
        for (const QVCommandElt& other : qvSortedChildren(QVCommandEltRef(*object), false)) {
            known.push_back(other.getName());
        }
    }
    hints_ = nearestNames(name, known);
    return false;
}

bool QVCommandBase::enterEntry(const qvPathStep& step, QVCommandElt& element) {
    const int ndims = element.getNdims();
    if (ndims == 0) {
        qverr().setf("%.*s is not an array!\n", size(step.name), step.name.data());
        return false;
    }
    if (step.nIndices != ndims) {
        qverr().setf(
            step.nIndices > ndims ? "too many indices in %.*s!\n" : "too few indices in %.*s!\n",
            size(step.name), step.name.data());
        return false;
    }
    for (int dimension = 1; dimension <= ndims; ++dimension) {
        const auto range = element.getRange(dimension);
        const int index = step.indices[dimension - 1];
        if (index < range.first || index > range.last) {
            qverr().setf("index %d out of bounds\n", index);
            return false;
        }
    }
    element.enterEntry(step.indices[0], step.indices[1]);
    return true;
}

bool QVCommandBase::callMethod(const qvPathStep& step, bool isLast, QVCommandElt& element) {
    if (!element.IsFunction()) {
        qverr().setf("%.*s is not a function\n", size(step.name), step.name.data());
        return false;
    }
    QVCommandElt result = element.ExecuteFn(std::string(step.args).c_str());
    if (!qverr() && !isLast && result.IsNull()) {
        qverr().setf("%.*s returns NULL\n", size(step.name), step.name.data());
    }
    if (qverr()) return false;
    result.keepAlive(element);
    element = std::move(result);
    return true;
}

// Global variables.

bool QVCommandBase::checkName(std::string_view name) {
    if (name.empty() || name.find_first_of(" \t.,;=()[]\"") != name.npos) {
        qverr().setf("invalid name \"%.*s\"\n", size(name), name.data());
    } else if (!IsVarNameAllowed(QVString(name))) {
        qverr().setf("cannot use key word %.*s\n", size(name), name.data());
    }
    return !qverr();
}

QVCommandElt* QVCommandBase::getGvar(const QVString& name) {
    return globals_->find(name.view());
}

bool QVCommandBase::AddGvar(const QVString& name, const QVCommandElt& element) {
    if (qverr() || !checkName(name.view())) return false;
    globals_->set(name.view(), element);
    return true;
}

bool QVCommandBase::RemoveGvar(const QVString& name) {
    return globals_->remove(name.view());
}

void QVCommandBase::RemoveGvars() {
    globals_->clear();
}

QVString QVCommandBase::getNewGVARName() {
    static std::atomic<int> counter = 0;
    for (;;) {
        QVString name;
        name.sprintf("var%d", ++counter);
        if (!getGvar(name)) return name;
    }
}

QVString QVCommandBase::getGVARCommandName(const void* object) {
    const std::string* name = globals_->nameOf(object);
    return name ? QVString(name->c_str()) : QVString();
}

bool QVCommandBase::IsVarNameAllowed(const QVString& name) {
    return name != "help" && !IsKeyword(name);
}

void QVCommandBase::RemoveFromRefList(void* object) {
    globals_->removeReferences(object);
}
