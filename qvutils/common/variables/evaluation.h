#pragma once
#include <complex>
#include <cstdint>
#include <memory>
#include <vector>

#include "qvutils/common/text/qvstring.h"

class qvNamedVariable;

/// One reading: computes a variable and, before it, whatever it uses that is out of date. Chains of
/// any length are followed on a stack of its own, and what refers to itself in a circle is found as
/// a whole (a strongly connected component, by R. Tarjan, SIAM J. Comput. 1 (1972) 146): all of it
/// is 0, whichever member is read first.
class qvEvaluation {
public:
    static std::complex<double> read(qvNamedVariable& variable);

private:
    struct Frame {
        qvNamedVariable* variable;
        std::uint64_t time;  ///< at which its value will be dated
        std::size_t next;    ///< the first use not yet looked at
        int low;             ///< the first variable of this reading that it is known to lead to
    };

    void run(qvNamedVariable& variable);
    void enter(qvNamedVariable& variable);
    void look(Frame& frame, qvNamedVariable& used);
    void finish(const Frame& frame);
    std::complex<double> evaluate(qvNamedVariable& variable);
    std::complex<double> calculate(qvNamedVariable& variable);
    std::shared_ptr<const QVString> warningsSince(int before) const;
    void closeCircle(const std::vector<qvNamedVariable*>& members);
    void store(qvNamedVariable& variable, const std::complex<double>& value, std::uint64_t time);
    void warnUsesItself(const qvNamedVariable& variable);
    void warnCircular(const qvNamedVariable& variable);
    void warnFailure(qvNamedVariable& variable, const char* message);

    std::vector<Frame> path_;
    std::vector<qvNamedVariable*> pending_;  ///< entered, and not known to be in no circle
    std::vector<qvNamedVariable*> stopped_;  ///< whose values hold for this reading only
    int entered_ = 0;
    QVString warnings_;
};
