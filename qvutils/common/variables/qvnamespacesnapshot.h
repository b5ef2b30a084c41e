#pragma once
#include <complex>
#include <cstdint>
#include <memory>
#include <vector>

#include "qvutils/common/text/qvstring.h"
#include "qvutils/common/variables/qvpagedarray.h"

class qvNameSpace;

/// What one variable was.
struct qvNamedVariableSnapshot {
    QVString name;
    bool plain = true;
    QVString expression;
    std::complex<double> value;
    int nameTime = 0, definitionTime = 0, valueTime = 0;
    std::uint64_t serial = 0;  ///< which variable it was
};

/// The variables of a namespace as they were when it was made, so that a run can put them back.
/// Restore and Unrestore deal with the variables that are in the namespace both then and now: those
/// added in between stay as they are, those removed stay removed. A name that an added variable
/// has taken meanwhile is not taken back (a warning says so). After the namespace is destroyed they
/// do nothing.
class QVCORE_API qvNameSpaceSnapshot {
public:
    explicit qvNameSpaceSnapshot(const qvNameSpace* space);
    ~qvNameSpaceSnapshot();
    qvNameSpaceSnapshot(const qvNameSpaceSnapshot&) = delete;
    qvNameSpaceSnapshot& operator=(const qvNameSpaceSnapshot&) = delete;

    /// Puts the recorded names, definitions and values back and keeps what they replace.
    void Restore();
    /// Returns to what the last Restore replaced; nothing when there was none.
    void Unrestore();

    int Size() const { return records_.list.Size(); }
    const qvNamedVariableSnapshot& operator[](int index) const { return *records_.list[index]; }

private:
    struct Records {
        std::vector<std::unique_ptr<qvNamedVariableSnapshot>> owned;
        qvNamedVariableSnapshotArray list;
    };
    Records record() const;
    void putBack(const Records& records);

    std::weak_ptr<qvNameSpace> space_;
    Records records_;
    Records replaced_;
};
