#pragma once
#include <memory>
#include <vector>

#include "qvutils/common/formula/qvfnparserComm.h"

class qvNamedVariable;
class qvNameSpace;

/// The compiled formula of a variable, and which variables its names mean. Used under the lock of
/// the namespace.
struct qvDefinition final : QVNameSource {
    struct Use {
        QVString name;
        qvNamedVariable* variable;
    };

    /// Brings it up to date: compiles after the formula has changed, and resolves the names again
    /// after a name has changed.
    void prepare(qvNamedVariable& owner);

    bool findName(QVText name, QVNameHandle& handle) override;
    bool readName(const QVNameHandle& handle, std::complex<double>& value) override;
    void listNames(std::vector<QVString>& names) override;
    qvNameSpace* asNameSpace() override { return space_; }

    QVExpressionC expression;
    bool stale = true;      ///< the formula has changed
    Error error;            ///< of the compilation
    std::vector<Use> uses;  ///< each variable once
    std::vector<QVString> unknown;
    bool usesItself = false;
    /// Why the value that was computed last is none; null when it is one.
    std::shared_ptr<const QVString> flaw;

private:
    bool stillMeansTheSame() const;
    void compile(const QVString& formula);
    void scan(const QVString& formula);
    int use(QVText name, qvNamedVariable* variable);

    qvNameSpace* space_ = nullptr;
    qvNamedVariable* owner_ = nullptr;
    std::uint64_t namesTime_ = 0;
};
