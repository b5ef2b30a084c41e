#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdint>
#include <limits>

#include "qvutils/common/materials/materquery.h"
#include "qvutils/common/tasks/qvtask.h"

// Queries for many wavelengths. What does not depend on the wavelength is worked out once, and the
// common models have loops that the compiler can turn into vector code. Such a loop does not look
// at single values; when something is wrong with any, all are done again one by one.

using qvmaterial::Complex;
using qvmaterial::Dual;
using qvmaterial::Optics;
using qvmaterial::SellmeierTerms;
using Query = qvMaterialQuery;

namespace {

/// Parts of the arrays, each small enough for the first-level cache. Fewer points than these parts
/// take for two threads are not worth the start of a task.
constexpr std::size_t partSize = 1024;
constexpr std::size_t worthTasks = 32 * partSize;

constexpr double infinity = std::numeric_limits<double>::infinity();
/// Below this wavelength in um, polynomials with coefficients of common size do not overflow.
constexpr double longest = 1e12;

// These look at bits and do not leave early: such loops become vector code.
constexpr std::uint64_t exponentBits = 0x7ff0'0000'0000'0000;
constexpr std::uint64_t exponentUnit = 0x0010'0000'0000'0000;
constexpr std::uint64_t signBit = 0x8000'0000'0000'0000;

bool allFinite(const double* values, std::size_t count) {
    std::uint64_t bad = 0;  // the sign bit, once an exponent has been the largest
    for (std::size_t i = 0; i < count; ++i)
        bad |= (std::bit_cast<std::uint64_t>(values[i]) & exponentBits) + exponentUnit;
    return (bad & signBit) == 0;
}
bool allFinite(const Complex* values, std::size_t count) {
    return allFinite(reinterpret_cast<const double*>(values), 2 * count);
}
/// All are above 0 and below `limit`, which is at most infinity.
bool allWithin(const double* values, std::size_t count, double limit) {
    const std::uint64_t toSign = signBit - std::bit_cast<std::uint64_t>(limit);
    std::uint64_t bad = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const auto bits = std::bit_cast<std::uint64_t>(values[i]);
        bad |= (bits - 1) | (bits + toSign);
    }
    return (bad & signBit) == 0;
}

/// Calls f with a constant that equals n, from 1 to 8, so that its loops have a known length.
template <class F>
bool withConstant(int n, F&& f) {
    switch (n) {
        case 1: return f(std::integral_constant<std::size_t, 1>()), true;
        case 2: return f(std::integral_constant<std::size_t, 2>()), true;
        case 3: return f(std::integral_constant<std::size_t, 3>()), true;
        case 4: return f(std::integral_constant<std::size_t, 4>()), true;
        case 5: return f(std::integral_constant<std::size_t, 5>()), true;
        case 6: return f(std::integral_constant<std::size_t, 6>()), true;
        case 7: return f(std::integral_constant<std::size_t, 7>()), true;
        case 8: return f(std::integral_constant<std::size_t, 8>()), true;
        default: return false;
    }
}

/// The index of the pole models, plus a constant.
void sellmeier(const SellmeierTerms& terms, double added, const double* lambda, double* n,
               std::size_t count) {
    const bool done = withConstant(terms.count, [=](auto known) {
        const SellmeierTerms t = terms;
        for (std::size_t i = 0; i < count; ++i) {
            const double lambda2 = lambda[i] * lambda[i];
            double sum = 1;
            for (std::size_t k = 0; k < known(); ++k)
                sum += t.strength[k] * lambda2 / (lambda2 - t.pole[k]);
            n[i] = std::sqrt(sum) + added;
        }
    });
    if (done) return;
    for (std::size_t i = 0; i < count; ++i)
        n[i] = std::sqrt(squareOf(terms, lambda[i] * lambda[i])) + added;
}

template <std::size_t size>
void poles(const std::array<double, size>& given, double added, const double* lambda, double* n,
           std::size_t count) {
    const std::array<double, size> c = given;
    for (std::size_t i = 0; i < count; ++i)
        n[i] = std::sqrt(qvmaterial::squareOf(c, lambda[i] * lambda[i])) + added;
}

void polynomial(const std::vector<double>& c, double start, double added, const double* lambda,
                double* n, std::size_t count) {
    const bool done = withConstant(static_cast<int>(c.size()), [=, &c](auto known) {
        std::array<double, known()> own;
        std::copy(c.begin(), c.end(), own.begin());
        own[0] += added;
        for (std::size_t i = 0; i < count; ++i) {
            const double x = lambda[i] - start;
            double sum = own[known() - 1];
            for (std::size_t k = known() - 1; k-- > 0;) sum = sum * x + own[k];
            n[i] = sum;
        }
    });
    if (done) return;
    std::fill(n, n + count, 0.0);
    for (std::size_t k = c.size(); k-- > 0;)
        for (std::size_t i = 0; i < count; ++i) n[i] = n[i] * (lambda[i] - start) + c[k];
    for (std::size_t i = 0; i < count; ++i) n[i] += added;
}

/// A formula takes all its parameters from arrays, because what an expression itself holds is
/// shared by all threads.
bool formula(const QVExpressionR& expression, const Query& q, const double* lambda, double* n,
             std::size_t count) {
    std::vector<double> constants(3 * count);
    const std::span<double> all = constants;
    const std::span<double> mx = all.subspan(0, count);
    const std::span<double> my = all.subspan(count, count);
    const std::span<double> T = all.subspan(2 * count, count);
    std::fill(mx.begin(), mx.end(), q.point.mx);
    std::fill(my.begin(), my.end(), q.point.my);
    std::fill(T.begin(), T.end(), q.point.T);
    const QVArraySource<double> sources[] = {{qvmaterial::paramLambda, {lambda, count}},
                                             {qvmaterial::paramMx, mx},
                                             {qvmaterial::paramMy, my},
                                             {qvmaterial::paramT, T}};
    Error error;
    return expression.EvaluateArray(sources, {n, count}, error);
}

/// The real index along x of the models that have a loop of their own; false for the others.
class IndexLoop {
public:
    explicit IndexLoop(const Query& q) : q_(q), index_(q.m.index), optics_(q.m, q.point, 1) {
        const auto& poly = index_.poly;
        added_ = optics_.indexDifference(0);
        if (poly.x[0].defined()) added_ += poly.x[0].value(q.point.mx);
        if (poly.t[0].defined()) added_ += poly.t[0].value(q.point.T - q.m.tempRef);
        const auto* function = std::get_if<qvmaterial::FuncXYModel>(&index_.model);
        if (function) added_ += qvmaterial::functionXY(*function, q.point, failed_);
    }

    bool possible() const {
        return !failed_ && index_.defined() && !q_.m.permittivity.defined() &&
               !optics_.needsTensor();
    }

    /// No polynomial overflows below the longest wavelength.
    bool bounded() const {
        double sum = std::abs(added_);
        for (const double c : index_.poly.l[0].c) sum = sum * 2 * longest + std::abs(c);
        return possible() && (index_.model.index() == 0 || index_.model.index() == 5) &&
               std::abs(q_.m.lambdaRef) < longest && sum < infinity;
    }

    bool run(const double* lambda, double* n, std::size_t count) const {
        switch (index_.model.index()) {
            case 1:
                sellmeier(std::get_if<1>(&index_.model)->terms[0], added_, lambda, n, count);
                return true;
            case 2:
                poles(std::get_if<2>(&index_.model)->c[0], added_, lambda, n, count);
                return true;
            case 3:
                poles(std::get_if<3>(&index_.model)->c[0], added_, lambda, n, count);
                return true;
            case 4:
                return formula(std::get_if<4>(&index_.model)->formula[0], q_, lambda, n, count) &&
                       add(n, count);
            case 6:
                std::get_if<6>(&index_.model)
                    ->row->realIndices(q_.point.mx, q_.point.my, q_.point.T, {lambda, count},
                                       {n, count});
                return add(n, count);
            default:
                polynomial(index_.poly.l[0].c, q_.m.lambdaRef, added_, lambda, n, count);
                return true;
        }
    }

private:
    bool add(double* n, std::size_t count) const {
        if (added_ != 0)
            for (std::size_t i = 0; i < count; ++i) n[i] += added_;
        return true;
    }

    const Query& q_;
    const qvmaterial::RefractiveIndex& index_;
    Optics<double> optics_;
    double added_ = 0;
    bool failed_ = false;
};

/// A loop over parts of the arrays, for the worker threads. Run of a part is true when all went
/// well; what it posts is dropped, since the value that failed first is found out afterwards.
template <class Part>
class PartsTask : public qvTask {
public:
    PartsTask(const Part& part, std::size_t count) : qvTask("material"), part_(part), count_(count) {}

    void Run(int first, int last, int) override {
        const qvmaterial::PendingErrorAside aside;
        for (int i = first; i <= last && good_; ++i)
            if (!runPart(static_cast<std::size_t>(i))) good_ = false;
        qverr().reset();
    }
    int parts() const { return static_cast<int>((count_ + partSize - 1) / partSize); }
    bool good() const { return good_; }

private:
    bool runPart(std::size_t i) const {
        return part_(i * partSize, std::min(partSize, count_ - i * partSize));
    }

    const Part& part_;
    std::size_t count_;
    std::atomic<bool> good_ = true;
};

template <class Part>
bool runParts(std::size_t count, const Part& part) {
    PartsTask<Part> task(part, count);
    const int last = task.parts() - 1;
    if (count < worthTasks || qvTask::getNumWorkerThreads() < 1) {
        task.Run(0, last, 1);
        return task.good();
    }
    Error error;
    return qvTask::SpawnLoopSync(&task, 0, last, 1, error) && task.good();
}

/// Looks at the ends of the wavelengths where the material cares.
bool checkRange(Query& q, std::span<const double> lambda) {
    if (!q.caresForLambda()) return true;
    if (!allWithin(lambda.data(), lambda.size(), infinity)) return false;
    const auto [low, high] = std::minmax_element(lambda.begin(), lambda.end());
    return q.checkLambda(*high) && q.checkLambda(*low);
}

/// `loop` fills a part and tells whether it could; `single` answers for one wavelength, with all
/// messages. They give the same. `bounded`: below the longest wavelength the loop's results are
/// finite, and need not be looked at.
template <class T, class Loop, class Single>
bool queryAll(Query& q, std::span<const double> lambda, std::span<T> results, const Loop& loop,
              const Single& single, bool bounded = false) {
    if (results.size() != lambda.size())
        return q.fail("there have to be as many places for results as wavelengths");
    if (lambda.empty()) return !qverr();
    const bool good = q && checkRange(q, lambda) &&
                      runParts(lambda.size(), [&](std::size_t first, std::size_t count) {
                          const double* from = lambda.data() + first;
                          T* to = results.data() + first;
                          return allWithin(from, count, bounded ? longest : infinity) &&
                                 loop(from, to, count) && (bounded || allFinite(to, count));
                      });
    if (good) return true;
    qverr().reset();
    for (std::size_t i = 0; i < lambda.size(); ++i) results[i] = single(lambda[i]);
    return !qverr();
}

double firstOr(std::span<const double> lambda, double otherwise) {
    return lambda.empty() ? otherwise : lambda[0];
}

}  // namespace

bool MaterB::nr(double mx, double my, std::span<const double> lambda, double T,
                std::span<double> results) const {
    const qvmaterial::PendingErrorAside aside;
    Query q(*this, Query::index, mx, my, firstOr(lambda, 1), T);
    const IndexLoop index(q);
    const auto loop = [&](const double* part, double* n, std::size_t count) {
        if (index.possible()) return index.run(part, n, count);
        bool good = true;
        for (std::size_t i = 0; i < count && good; ++i) {
            Optics<double> optics(q.m, q.point, part[i]);
            n[i] = optics.indexAlongX().real();
            good = !optics.failed();
        }
        return good;
    };
    return queryAll(
        q, lambda, results, loop, [&](double one) { return nr(mx, my, one, T); }, index.bounded());
}

bool MaterB::ng(double mx, double my, std::span<const double> lambda, double T,
                std::span<double> results) const {
    const qvmaterial::PendingErrorAside aside;
    Query q(*this, Query::groupIndex, mx, my, firstOr(lambda, 1), T);
    const qvmaterial::GroupIndex& given = q.m.groupIndex;
    const auto loop = [&](const double* part, double* n, std::size_t count) {
        if (given.expression) return formula(given.expression->formula[0], q, part, n, count);
        if (given.polyL.defined()) {
            polynomial(given.polyL.c, q.m.lambdaRef, 0, part, n, count);
            return true;
        }
        bool good = true;
        for (std::size_t i = 0; i < count && good; ++i) {
            Optics<Dual> optics(q.m, q.point, Dual(part[i], 1));
            const Dual value = qvmaterial::realPart(optics.indexAlongX());
            n[i] = value.value - part[i] * value.slope;
            good = !optics.failed();
        }
        return good;
    };
    return queryAll(q, lambda, results, loop, [&](double one) { return ng(mx, my, one, T); });
}

bool MaterB::alpha(double mx, double my, std::span<const double> lambda, double T,
                   std::span<double> results) const {
    const qvmaterial::PendingErrorAside aside;
    Query q(*this, Query::loss, mx, my, firstOr(lambda, 1), T);
    const auto loop = [&](const double* part, double* values, std::size_t count) {
        bool good = true;
        for (std::size_t i = 0; i < count && good; ++i) {
            Optics<double> optics(q.m, q.point, part[i]);
            values[i] = optics.alphaAlong(0);
            good = !optics.failed();
        }
        return good;
    };
    return queryAll(q, lambda, results, loop, [&](double one) { return alpha(mx, my, one, T); });
}

bool MaterB::eps(double mx, double my, std::span<const double> lambda, double T,
                 std::span<Complex> results) const {
    const qvmaterial::PendingErrorAside aside;
    Query q(*this, Query::permittivity, mx, my, firstOr(lambda, 1), T);
    const auto loop = [&](const double* part, Complex* values, std::size_t count) {
        bool good = true;
        for (std::size_t i = 0; i < count && good; ++i) {
            Optics<double> optics(q.m, q.point, part[i]);
            values[i] = optics.needsTensor() ? optics.epsDiagonal()[0] : optics.principalEps(0);
            good = !optics.failed();
        }
        return good;
    };
    return queryAll(q, lambda, results, loop,
                    [&](double one) { return eps(mx, my, one, T).xx; });
}
