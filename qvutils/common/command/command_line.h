#pragma once
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "qvutils/common/object/qvobject.h"

class qvCommandGlobals;
struct qvPathStep;

/// What can stand where the user stopped typing.
struct qvCompletions {
    int start = 0;                   ///< where in the text the name to complete begins
    std::vector<std::string> names;  ///< sorted; a method ends in "(", a list in "["
};

/// Runs command text: splits it into statements, follows paths through published objects, calls
/// methods, sets values, and keeps global variables. An application derives its command object
/// and supplies the root objects of paths.
///
///     app.subnodes[1].rename("wg2")      calls a method and shows its result
///     app.subnodes[1].width = 2.5        sets a value
///     Ref& wg = app.findnode("a/wg2")    names an object
///     Set n = wg.numsubnodes()           keeps a copy of a value
///     Del wg                             forgets a name
///     help wg                            lists what an object offers
///
/// A failing statement leaves its error in qverr(); the next statement begins by clearing it.
class QVCORE_API QVCommandBase {
public:
    /// The flags given to OnParseCommand.
    static constexpr int aboutToRun = 1;
    static constexpr int hasRun = 2;
    /// How deep texts may run texts. A script that runs itself ends with an error, and with it all
    /// texts that led there.
    static constexpr int maxNesting = 64;

    QVCommandBase();
    QVCommandBase(const QVCommandBase&) = delete;
    QVCommandBase& operator=(const QVCommandBase&) = delete;
    virtual ~QVCommandBase();
    /// The object at the root of a path, null for an unknown name.
    virtual QVObject* FindInApp(const char* /*name*/) { return nullptr; }
    /// A name that no global variable may take.
    virtual bool IsKeyword(const char* /*name*/) { return false; }
    /// Called before a statement (flags 1, empty result) and after it (flags 2, result text, empty
    /// after an error, which is in qverr()). The command is the statement with its comment, if
    /// any. False stops the text.
    virtual bool OnParseCommand(const char* /*command*/, const char* /*result*/, int /*flags*/) {
        return true;
    }
    /// A statement failed; called before OnParseCommand hears of it. `line` counts from 1.
    virtual void OnCommandError(int /*line*/, const char* /*statement*/, const char* /*message*/) {}
    /// Adds the names that FindInApp knows, for completion and hints.
    virtual void OnListRoots(std::vector<std::string>& /*names*/) {}

    /// Runs a text of statements, separated by ';' or line ends. True when all of them were run
    /// and none failed.
    bool Execute(const char* text);
    /// How many texts are being run inside one another; 0 when none is.
    int getNesting() const { return nesting_; }
    /// The last statement has a value, though perhaps an empty text.
    bool gaveValue() const { return gaveValue_; }

    /// The element that a path names; empty, with an error posted, when there is none. Methods in
    /// the path are called; the last one only when its brackets are there.
    QVCommandElt getPublishedElt(const char* path, bool withTexts = false);
    /// Sets what the path `lhs` names to the text `rhs`.
    void SetParam(const char* lhs, const char* rhs);

    /// The element of a global variable; null when there is none of that name.
    QVCommandElt* getGvar(const QVString& name);
    /// Defines a global, replacing one of that name: a reference to an object, or a value that the
    /// element owns. False, with an error posted, for a name that is not allowed.
    bool AddGvar(const QVString& name, const QVCommandElt& element);
    bool RemoveGvar(const QVString& name);
    /// Removes all of them.
    void RemoveGvars();
    /// A name that no global has had before: "var1", "var2", ...
    QVString getNewGVARName();
    /// The name of the global that refers to the object, empty when there is none.
    QVString getGVARCommandName(const void* object);
    /// False for "help" and for a keyword.
    bool IsVarNameAllowed(const QVString& name);
    /// Removes every global that refers to the object.
    void RemoveFromRefList(void* object);

    /// The names that complete a partial statement; nothing is called.
    qvCompletions completions(const char* partial);
    /// The part of the statement being reported to OnCommandError at which it failed; empty, and
    /// without a place, when it failed as a whole.
    std::string_view getFaultyPart() const { return fault_; }
    /// The known names nearest to the one that the last failing statement did not find.
    const std::vector<std::string>& getHints() const { return hints_; }
    /// At most three of the candidates, nearest first, that are likely to be meant by `name`.
    static std::vector<std::string> nearestNames(std::string_view name,
                                                 const std::vector<std::string>& candidates);

private:
    enum class Form { empty, reference, copy, deletion, help, assignment, path };
    /// Whether a method that ends a path is called although no brackets follow it.
    enum class lastMethod { asWritten, called };

    bool ParseCommand(const char* command, const char* comment, int flags);
    bool tell(const char* command, const char* comment, const char* result, int flags);
    bool runStatement(std::string_view statement, QVString& result);
    static Form classify(std::string_view firstWord, bool hasAssignment);
    void defineReference(std::string_view name, std::string_view path);
    void defineCopy(std::string_view name, std::string_view path);
    void assign(std::string_view path, const char* value);
    void deleteReference(std::string_view name);
    bool help(std::string_view path, QVString& result);
    bool resolve(std::string_view text, lastMethod last, bool withTexts, QVCommandElt& element,
                 bool* called = nullptr);
    bool enterRoot(std::string_view name, std::string_view path, QVCommandElt& element);
    bool enterChild(std::string_view name, bool withTexts, QVCommandElt& element);
    bool enterEntry(const qvPathStep& step, QVCommandElt& element);
    bool callMethod(const qvPathStep& step, bool isLast, QVCommandElt& element);
    bool checkName(std::string_view name);
    void listRoots(std::vector<std::string>& names);

    std::unique_ptr<qvCommandGlobals> globals_;
    std::vector<std::string> hints_;
    std::string_view fault_;
    std::string buffer_;  ///< for the next text to run
    int line_ = 0;
    int nesting_ = 0;
    bool failed_ = false;
    bool gaveValue_ = false;
    bool unwinding_ = false;  ///< texts ran each other too deep: all of them end
};
