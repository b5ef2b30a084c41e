#pragma once
#include <atomic>
#include <complex>
#include <cstdint>
#include <memory>

#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/checksum.h"
#include "qvutils/common/text/qvstring.h"
#include "qvutils/common/variables/qvpseudoclock.h"

class qvEvaluation;
class qvNameSpace;
class qvNameSpaceSnapshot;
struct qvDefinition;

/// A name with a value or with a formula over the other variables of its namespace.
///
/// Threads: any thread may read and change it. Destroying it, or its namespace, while another
/// thread uses it is the caller's mistake, and so is destroying it inside a function that a formula
/// calls or in an event about it.
class QVCORE_API qvNamedVariable {
public:
    enum Flags { temporary = 1, property = 2, unregistered = 4 };

    /// Without `temporary` and `property` it is entered in the namespace, at the end, and belongs
    /// to it: make it by new. A temporary or property variable belongs to the caller; other
    /// formulas cannot refer to it. A property variable gets the index given, a temporary one -1.
    qvNamedVariable(qvNameSpace* space, int flags, int index);
    /// Leaves the namespace.
    virtual ~qvNamedVariable();
    qvNamedVariable(const qvNamedVariable&) = delete;
    qvNamedVariable& operator=(const qvNamedVariable&) = delete;

    /// False, and nothing changes, for a name that is not valid or not unique. An empty name is
    /// always allowed. A name that formulas read as a number (inf, nan) gives a warning.
    bool SetName(const QVString& name);
    static bool IsNameValid(const QVString& name);
    bool IsNameUnique(const QVString& name) const;
    static bool IsStartCharacter(char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    }
    static bool IsContinuationCharacter(char c) {
        return IsStartCharacter(c) || (c >= '0' && c <= '9') || c == '_';
    }

    void SetValue(const std::complex<double>& value);
    void SetValue(double value) { SetValue(std::complex<double>(value)); }
    /// False, and nothing changes, when the text is not a number.
    bool SetValue(const QVString& text);
    /// Line breaks become blanks. A text with a double quote is refused: an error is posted and
    /// nothing changes. Any other text is accepted; what is wrong with it shows at GetValue.
    bool SetExpression(const QVString& text);
    bool SetValueOrExpression(const QVString& text);

    /// The value now. What cannot be evaluated reads 0, and a warning has been written at the first
    /// reading after a change. Reading what has not changed takes no lock.
    std::complex<double> GetValue() {
        std::complex<double> value;
        return readPublished(value) ? value : compute();
    }
    /// Why the value now is none: the warning about it, or about a variable that it uses. Empty
    /// when all of them could be evaluated.
    QVString GetFlaw();
    /// The value with the fewest digits that read back the same; "(re,im)" unless it is real.
    QVString GetValueString();
    /// The formula; of a plain value, its text.
    QVString GetExpression() const;
    QVString GetName() const;
    bool IsValue() const;

    /// Null once the namespace is destroyed; the variable then keeps the value it had when it was
    /// last read, and a formula given to it reads 0.
    qvNameSpace* GetNameSpace() const { return space_; }
    int GetNameSpaceIndex() const;
    bool IsProperty() const { return flags_ & property; }
    bool IsTemporary() const { return flags_ & temporary; }

    /// Marks a variable that the first pass over a project has entered.
    void SetPreloaded() { preloaded_.store(true, std::memory_order_relaxed); }
    void ResetPreloaded() { preloaded_.store(false, std::memory_order_relaxed); }
    bool IsPreloaded() const { return preloaded_.load(std::memory_order_relaxed); }

    /// Adds the name and the definition; with `withValue` other than 0 the value as well, so that
    /// the sum also changes with what the definition refers to.
    void AppendCheckSum(CheckSum& sum, int withValue);

    /// The formula with the formulas and values that it uses below it, indented, a line each.
    QVString Explain();

private:
    friend class qvEvaluation;
    friend class qvExplanation;
    friend class qvNameSpace;
    friend class qvNameSpaceSnapshot;
    friend class qvReferences;
    friend class qvRestoration;
    friend struct qvDefinition;

    struct Locked;

    /// A plain value has an odd stamp, counted up at each change; a computed one twice the time at
    /// which it was computed. 0: to be computed, or just being written. Equal stamps before and
    /// after reading the two halves mean that they belong together.
    bool readPublished(std::complex<double>& value) const {
        const std::uint64_t stamp = stamp_.load(std::memory_order_acquire);
        if (!(stamp & 1) && (stamp == 0 || stamp != 2 * clock_->now())) return false;
        value = {real_.load(std::memory_order_acquire), imag_.load(std::memory_order_acquire)};
        return stamp_.load(std::memory_order_relaxed) == stamp;
    }
    void publish(const std::complex<double>& value, std::uint64_t stamp);
    void publishPlain(const std::complex<double>& value);
    std::complex<double> published() const;
    std::complex<double> compute();
    void storeName(const QVString& name);
    void storeValue(const std::complex<double>& value);
    void storeExpression(const QVString& text);
    void noteNewDefinition();
    QVString definitionText() const;
    bool announcesBefore() const { return !(flags_ & (temporary | property | unregistered)); }
    bool announcesAfter() const { return !(flags_ & temporary); }
    template <class Change>
    void change(Change store);
    void detach();

    std::atomic<std::uint64_t> stamp_;
    std::atomic<double> real_ = 0;
    std::atomic<double> imag_ = 0;
    const qvPseudoClock* clock_;
    qvNameSpace* space_;
    int flags_;
    int index_;
    bool plain_ = true;
    std::atomic<bool> preloaded_ = false;
    std::uint64_t plainChanges_ = 0;
    std::uint64_t serial_;  ///< tells it from a later variable at the same address
    int nameTime_;
    int definitionTime_;
    QVString name_;
    QVString expression_;
    std::unique_ptr<qvDefinition> definition_;
    // While it is being computed: by whom, and its place there.
    qvEvaluation* evaluation_ = nullptr;
    int order_ = 0;
    int place_ = 0;  ///< in the list of uses to which it was added last
    // The other variables of the namespace that are not entered in it.
    qvNamedVariable* next_ = nullptr;
    qvNamedVariable* previous_ = nullptr;
};
