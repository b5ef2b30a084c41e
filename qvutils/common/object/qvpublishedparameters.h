#pragma once
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"

class QVCommandElt;
class QVObject;
class qvNamedVariable;
struct qvParameterRow;

/// A parameter that an object publishes, whatever the type of its value; for use at once.
class QVCORE_API qvPublishedParameter {
public:
    /// The element is a scalar of kind 11 to 14.
    explicit qvPublishedParameter(const QVCommandElt& element);

    /// What evaluates its expression; null when it has none.
    qvNamedVariable* getVariable() const;
    /// The text of its expression or value, empty when undefined.
    QVString getExpression() const;
    /// How the value comes about: a line with the definition, and below it what a formula uses.
    QVString Explain(const QVString& name) const;
    /// The saved form, and back: see qvParameter. Expressions are those of the namespace of the
    /// object that published it.
    QVString Write() const;
    bool Read(QVString& text) const;
    /// Writes the warnings about an expression that cannot be evaluated.
    void TellFlaws() const;

private:
    const qvParameterRow* row_;
    void* parameter_;
    QVObject* parent_;
};

/// All parameters that an object publishes, in their order, entries of lists and matrices included:
/// "width", "gaps[1]", "gaps[2]".
class QVCORE_API qvPublishedParameters {
public:
    struct Named {
        QVString name;
        qvPublishedParameter parameter;
    };
    explicit qvPublishedParameters(QVObject& object);
    qvPublishedParameters(const qvPublishedParameters&) = delete;
    qvPublishedParameters& operator=(const qvPublishedParameters&) = delete;

    std::vector<Named>::const_iterator begin() const { return all_.begin(); }
    std::vector<Named>::const_iterator end() const { return all_.end(); }
    /// Null when there is none of that name.
    const qvPublishedParameter* find(std::string_view name) const;

    /// The line `name = <saved form>` in which a block keeps a parameter, without line end.
    static QVString line(const Named& named) {
        return named.name + " = " + named.parameter.Write();
    }
    /// Reads such a line, which may have blanks around it and end in a comment. False, with nothing
    /// changed, when it is none or names no parameter here.
    bool readLine(std::string_view line) const;

private:
    void addEntries(const QVCommandElt& element);
    void add(const QVCommandElt& element, const QVString& name);

    std::vector<Named> all_;
    std::unordered_map<std::string_view, std::size_t> indices_;  ///< names as all_ has them
};

/// The answers of the methods "why" and "uses" of every object that publishes parameters.
QVCORE_API QVString qvExplainParameter(QVObject& object, const QVString& name);
QVCORE_API QVString qvParametersThatUse(QVObject& object, const QVString& variable);
