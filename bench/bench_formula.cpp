// Formulas beside muParser, beside the same formulas compiled by hand, and over arrays beside
// hand-written loops.
#include <muParser.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#ifdef __x86_64__
#include <immintrin.h>
#endif
#ifdef __linux__
#include <malloc.h>
#endif

#include "bench/qvbench.h"
#include "qvutils/common/formula/qvfnparserComm.h"
#include "qvutils/common/platform/vectormath.h"

namespace {

using Complex = std::complex<double>;

double processorNs() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) * 1e9 + double(t.tv_nsec);
}

/// The least time per call of each function, tried in turns in slices so short that most of them
/// are not disturbed by other programs.
std::vector<double> leastTimes(const std::vector<std::function<void(int)>>& functions,
                               int calls = 5000, int slices = 200) {
    std::vector<double> best(functions.size(), HUGE_VAL);
    for (int slice = 0; slice < slices; ++slice) {
        for (std::size_t i = 0; i < functions.size(); ++i) {
            const double begin = processorNs();
            functions[i](calls);
            best[i] = std::min(best[i], (processorNs() - begin) / calls);
        }
    }
    return best;
}

/// A few variables that all contenders read; x moves, so that nothing can be worked out once.
template <class T>
struct Variables {
    T a = 1.1, b = 2.2, c = 3.3, d = 4.4, x = 0.7;
};
Variables<double> real;
Variables<Complex> complex{{1.1, 0.2}, {2.2, -0.3}, {3.3, 0.5}, {4.4, 0.1}, {0.7, 0.4}};

template <class T>
QVExpression<T> compiled(const std::string& formula, const Variables<T>& v) {
    QVExpression<T> e;
    const T values[] = {v.a, v.b, v.c, v.d, v.x};
    int i = 0;
    for (const char* name : {"a", "b", "c", "d", "x"}) {
        e.DeclareParam(name, "");
        e.getNameSpace()[i + 1].value[0] = values[i];
        ++i;
    }
    e.setExpression(std::string_view(formula));
    Error error;
    if (!e.Compile(error)) std::fprintf(stderr, "%s: %s\n", formula.c_str(), error.chars());
    return e;
}

const char* const sellmeier =
    "sqrt(1+1.03961212*x**2/(x**2-0.00600069867)+0.231792344*x**2/(x**2-0.0200179144)"
    "+1.01046945*x**2/(x**2-103.560653))";

/// 30 terms c + x*(...): 60 operations.
std::string polynomial() {
    std::string text = "1";
    for (int i = 1; i <= 30; ++i) text = "0." + std::to_string(i) + "+x*(" + text + ")";
    return text;
}

double handPolynomial(double x) {
    static const double k[] = {.1,  .2,  .3,  .4,  .5,  .6,  .7,  .8,  .9,  .10,
                               .11, .12, .13, .14, .15, .16, .17, .18, .19, .20,
                               .21, .22, .23, .24, .25, .26, .27, .28, .29, .30};
    double y = 1;
    for (double coefficient : k) y = coefficient + x * y;
    return y;
}

struct RealFormula {
    std::string ours;
    std::string theirs;  // in muParser's language, where it differs
    double (*hand)(const Variables<double>&);
};

#define QV_HAND [](const Variables<double>& v) -> double
const RealFormula realFormulas[] = {{"a+b", "", QV_HAND{return v.a + v.b;
}  // namespace
}
, {"a*x+b", "", QV_HAND{return v.a * v.x + v.b;
}
}
, {"a*b+c*d", "", QV_HAND{return v.a * v.b + v.c * v.d;
}
}
, {"(a+b)*(c-d)/(a+x)", "", QV_HAND{return (v.a + v.b) * (v.c - v.d) / (v.a + v.x);
}
}
, {"sqrt(a*a+b*b)", "", QV_HAND{return std::sqrt(v.a * v.a + v.b * v.b);
}
}
, {"1.5+0.004/x**2+0.0001/x**4", "1.5+0.004/x^2+0.0001/x^4",
   QV_HAND{return 1.5 + 0.004 / (v.x * v.x) + 0.0001 / (v.x * v.x * v.x * v.x);
}
}
, {sellmeier,
   "sqrt(1+1.03961212*x^2/(x^2-0.00600069867)+0.231792344*x^2/(x^2-0.0200179144)"
   "+1.01046945*x^2/(x^2-103.560653))",
   QV_HAND{const double s = v.x * v.x;
return std::sqrt(1 + 1.03961212 * s / (s - 0.00600069867) + 0.231792344 * s / (s - 0.0200179144) +
                 1.01046945 * s / (s - 103.560653));
}
}
, {"if(x<1,a*x,b/x)", "x<1 ? a*x : b/x", QV_HAND{return v.x < 1 ? v.a * v.x : v.b / v.x;
}
}
, {"exp(-a*x)*cos(b*x)", "", QV_HAND{return std::exp(-v.a * v.x) * std::cos(v.b * v.x);
}
}
, {"a*exp(-(x-b)**2/(2*c**2))", "a*exp(-(x-b)^2/(2*c^2))", QV_HAND{const double u = v.x - v.b;
return v.a * std::exp(-(u * u) / (2 * v.c * v.c));
}
}
, {"sin(x)**2+cos(x)**2", "sin(x)^2+cos(x)^2",
   QV_HAND{const double s = std::sin(v.x), c = std::cos(v.x);
return s * s + c * c;
}
}
, {
    polynomial(), "", QV_HAND {
        return handPolynomial(v.x);
    }
}
}
;
#undef QV_HAND

template <class T>
using Hand = T (*)(const Variables<T>&);

/// Calls through a pointer that the compiler cannot see through.
template <class T>
void callHand(Hand<T> f, Variables<T>& v, int calls) {
    benchmark::DoNotOptimize(f);
    T sum = 0;
    for (int i = 0; i < calls; ++i) {
        v.x += 1e-9;
        sum += f(v);
    }
    benchmark::DoNotOptimize(sum);
}

template <class T>
void callOurs(QVExpression<T>& e, int calls) {
    T& x = e.getNameSpace()[5].value[0];
    T sum = 0;
    Error error;
    for (int i = 0; i < calls; ++i) {
        x += 1e-9;
        sum += e.Evaluate(error);
    }
    benchmark::DoNotOptimize(sum);
}

void measureReal() {
    double ours = 0, theirs = 0, hand = 0;
    for (const RealFormula& f : realFormulas) {
        QVExpressionR expression = compiled(f.ours, real);
        mu::Parser parser;
        parser.DefineVar("a", &real.a);
        parser.DefineVar("b", &real.b);
        parser.DefineVar("c", &real.c);
        parser.DefineVar("d", &real.d);
        parser.DefineVar("x", &real.x);
        parser.SetExpr(f.theirs.empty() ? f.ours : f.theirs);
        const auto callTheirs = [&](int calls) {
            double sum = 0;
            for (int i = 0; i < calls; ++i) {
                real.x += 1e-9;
                sum += parser.Eval();
            }
            benchmark::DoNotOptimize(sum);
        };
        const std::vector<double> times =
            leastTimes({[&](int n) { callOurs(expression, n); }, callTheirs,
                        [&](int n) { callHand<double>(f.hand, real, n); }});
        std::printf("%-50.50s %6.2f ns, muParser %6.2f ns, by hand %6.2f ns\n", f.ours.c_str(),
                    times[0], times[1], times[2]);
        ours += std::log(times[0]);
        theirs += std::log(times[1]);
        hand += std::log(times[2]);
    }
    const double n = std::size(realFormulas);
    qvAddRow("formula, mean of 12", std::exp(ours / n), std::exp(theirs / n), "muParser", 1, "ns");
    qvAddRow("formula, mean of 12", std::exp(ours / n), std::exp(hand / n), "compiled by hand", 4.1,
             "ns");
}

#define QV_HAND [](const Variables<Complex>& v) -> Complex
const struct {
    const char* ours;
    Hand<Complex> hand;
} complexFormulas[] = {{"a+b", QV_HAND{return v.a + v.b;
}
}
, {"a*x+b", QV_HAND{return v.a * v.x + v.b;
}
}
, {"(a+b)*(c-d)/(a+x)", QV_HAND{return (v.a + v.b) * (v.c - v.d) / (v.a + v.x);
}
}
, {"2*x**2-3*x+1", QV_HAND{return 2.0 * (v.x * v.x) - 3.0 * v.x + 1.0;
}
}
, {"(a-b)/(a+b)*exp(-x)", QV_HAND{return (v.a - v.b) / (v.a + v.b) * std::exp(-v.x);
}
}
, {"sqrt(a*a-x*x)", QV_HAND{return std::sqrt(v.a * v.a - v.x * v.x);
}
}
, {
    sellmeier, QV_HAND {
        const Complex s = v.x * v.x;
        return std::sqrt(1.0 + 1.03961212 * s / (s - 0.00600069867) +
                         0.231792344 * s / (s - 0.0200179144) + 1.01046945 * s / (s - 103.560653));
    }
}
}
;
#undef QV_HAND

void measureComplex() {
    double ours = 0, hand = 0;
    for (const auto& f : complexFormulas) {
        QVExpressionC expression = compiled<Complex>(f.ours, complex);
        const std::vector<double> times =
            leastTimes({[&](int n) { callOurs(expression, n); },
                        [&](int n) { callHand<Complex>(f.hand, complex, n); }});
        std::printf("%-50.50s %6.2f ns, by hand %6.2f ns\n", f.ours, times[0], times[1]);
        ours += std::log(times[0]);
        hand += std::log(times[1]);
    }
    const double n = std::size(complexFormulas);
    qvAddRow("complex formula, mean of 7", std::exp(ours / n), std::exp(hand / n),
             "std::complex by hand", 2, "ns");
}

double compileTime(const std::string& formula, int calls) {
    QVExpressionR e = compiled(formula, real);
    const auto compile = [&](int n) {
        Error error;
        for (int i = 0; i < n; ++i) e.Compile(error);
    };
    return leastTimes({compile}, calls, 50)[0];
}

std::string repeated(const std::string& first, const std::string& piece, int times,
                     const std::string& close = "") {
    std::string text = first;
    for (int i = 0; i < times; ++i) text += piece;
    for (int i = 0; i < times && !close.empty(); ++i) text += close;
    return text;
}

void measureCompiling() {
    const auto theirs = [&](int n) {
        for (int i = 0; i < n; ++i) {
            mu::Parser parser;
            parser.DefineVar("x", &real.x);
            parser.SetExpr(realFormulas[6].theirs);
            benchmark::DoNotOptimize(parser.Eval());
        }
    };
    const double ours = compileTime(sellmeier, 100) / 1e3;
    qvAddRow("compile a Sellmeier formula", ours, leastTimes({theirs}, 10, 50)[0] / 1e3, "muParser",
             5.0 / 32, "µs");
    qvAddRow("compile a Sellmeier formula", ours, 5, "allowed", 1, "µs");
    const struct {
        const char* what;
        std::string first, piece, close;
    } shapes[] = {{"compile a sum of 2400 terms", "x", "+a", ""},
                  {"compile 2400 nested brackets", "", "(a+", "x)"},
                  {"compile 2400 powers in a row", "x", "**a", ""},
                  {"compile 2400 comparisons in a row", "x", "<a", ""},
                  {"compile 1600 nested calls", "", "sin(a+", "x)"}};
    for (const auto& s : shapes) {
        const auto time = [&](int n) {
            std::string close = s.close;
            std::string text = repeated(s.first, s.piece, n, "");
            if (!close.empty()) text += "x" + repeated("", ")", n);
            return compileTime(text, 240000 / (n * 50)) / 1e3;
        };
        const bool calls = s.piece == "sin(a+";
        const int most = calls ? 1600 : 2400;
        qvAddRow(s.what, time(most), 10 * time(most / 10), "a tenth of it, times 10", 1.1, "µs");
    }
}

constexpr int rows = 10000;

/// Hand-written loops; those of arithmetic are made vector code by the compiler.
#ifdef __x86_64__
#define QV_CLONES __attribute__((target_clones("avx512f", "avx2", "default"), optimize("O3")))
#else
#define QV_CLONES
#endif

QV_CLONES void handLine(const double* x, double* out, int n) {
    const double a = real.a, b = real.b;
    for (int i = 0; i < n; ++i) out[i] = a * x[i] + b;
}
QV_CLONES void handCubic(const double* x, double* out, int n) {
    for (int i = 0; i < n; ++i) out[i] = ((0.1 * x[i] + 0.2) * x[i] + 0.3) * x[i] - 0.4;
}
QV_CLONES void handSellmeier(const double* x, double* out, int n) {
    for (int i = 0; i < n; ++i) {
        const double s = x[i] * x[i];
        out[i] = 1 + 1.03961212 * s / (s - 0.00600069867) + 0.231792344 * s / (s - 0.0200179144) +
                 1.01046945 * s / (s - 103.560653);
    }
}
QV_CLONES void handProduct(const double* x, double* out, int n) {
    const double a = real.a, b = real.b, c = real.c;
    for (int i = 0; i < n; ++i) out[i] = (x[i] + a) * (x[i] - b) * (c - x[i]) / (x[i] + 2);
}

using ArrayLoop = void (*)(const double* x, double* out, int n);

void addArrayRow(const char* what, const char* formula, ArrayLoop hand, const char* rival,
                 double goal) {
    QVExpressionR e = compiled<double>(formula, real);
    std::vector<double> x(rows), results(rows);
    for (int i = 0; i < rows; ++i) x[std::size_t(i)] = 0.4 + i * 1e-4;
    const QVArraySource<double> source{5, x};
    const auto ours = [&](int n) {
        Error error;
        for (int i = 0; i < n; ++i) e.EvaluateArray({&source, 1}, results, error);
    };
    const auto theirs = [&](int n) {
        for (int i = 0; i < n; ++i) {
            hand(x.data(), results.data(), rows);
            benchmark::DoNotOptimize(results.data());
        }
    };
    const std::vector<double> times = leastTimes({ours, theirs}, 5, 200);
    qvAddRow(what, times[0] / rows, times[1] / rows, rival, goal, "ns");
}

void measureArithmeticArrays() {
    const char* rival = "vectorised loop by hand";
    addArrayRow("array: a*x+b", "a*x+b", handLine, rival, 3);
    addArrayRow("array: a cubic", "((0.1*x+0.2)*x+0.3)*x-0.4", handCubic, rival, 3);
    addArrayRow("array: (x+a)*(x-b)*(c-x)/(x+2)", "(x+a)*(x-b)*(c-x)/(x+2)", handProduct, rival, 3);
    addArrayRow("array: a Sellmeier sum",
                "1+1.03961212*x**2/(x**2-0.00600069867)+0.231792344*x**2/(x**2-0.0200179144)"
                "+1.01046945*x**2/(x**2-103.560653)",
                handSellmeier, rival, 3);
}

#if defined(__x86_64__) && defined(__GLIBC__)
// The vector functions of the C library by their names in the vector function ABI.
extern "C" {
__m256d _ZGVdN4v_sin(__m256d);
__m256d _ZGVdN4v_cos(__m256d);
__m256d _ZGVdN4v_exp(__m256d);
__m256d _ZGVdN4v_log(__m256d);
__m512d _ZGVeN8v_sin(__m512d);
__m512d _ZGVeN8v_cos(__m512d);
__m512d _ZGVeN8v_exp(__m512d);
__m512d _ZGVeN8v_log(__m512d);
}

// `rows` is a multiple of every width.
#define QV_HAND_LOOPS(isa, name, Vector, width, load, store, set, mul, add, sin, cos, exp, log) \
    __attribute__((target(isa))) void handWave##name(const double* x, double* out, int n) {     \
        const Vector a = set(-real.a), b = set(real.b);                                         \
        for (int i = 0; i < n; i += width) {                                                    \
            const Vector v = load(x + i);                                                       \
            store(out + i, mul(exp(mul(a, v)), cos(mul(b, v))));                                \
        }                                                                                       \
    }                                                                                           \
    __attribute__((target(isa))) void handSine##name(const double* x, double* out, int n) {     \
        for (int i = 0; i < n; i += width) store(out + i, sin(load(x + i)));                    \
    }                                                                                           \
    __attribute__((target(isa))) void handLog##name(const double* x, double* out, int n) {      \
        const Vector a = set(real.a), b = set(real.b);                                          \
        for (int i = 0; i < n; i += width)                                                      \
            store(out + i, add(mul(a, log(load(x + i))), mul(b, sin(load(x + i)))));            \
    }
QV_HAND_LOOPS("avx2", Avx2, __m256d, 4, _mm256_loadu_pd, _mm256_storeu_pd, _mm256_set1_pd,
              _mm256_mul_pd, _mm256_add_pd, _ZGVdN4v_sin, _ZGVdN4v_cos, _ZGVdN4v_exp, _ZGVdN4v_log)
QV_HAND_LOOPS("avx512f", Avx512, __m512d, 8, _mm512_loadu_pd, _mm512_storeu_pd, _mm512_set1_pd,
              _mm512_mul_pd, _mm512_add_pd, _ZGVeN8v_sin, _ZGVeN8v_cos, _ZGVeN8v_exp, _ZGVeN8v_log)

void measureTranscendentalArrays() {
    const char* rival = "loop over libmvec by hand";
    const int width = qvplatform::vectorWidth();
    if (width < 4) return;
    const bool wide = width == 8;
    addArrayRow("array: sin(x)", "sin(x)", wide ? handSineAvx512 : handSineAvx2, rival, 1.3);
    addArrayRow("array: exp(-a*x)*cos(b*x)", "exp(-a*x)*cos(b*x)",
                wide ? handWaveAvx512 : handWaveAvx2, rival, 1.3);
    addArrayRow("array: a*ln(x)+b*sin(x)", "a*ln(x)+b*sin(x)", wide ? handLogAvx512 : handLogAvx2,
                rival, 1.3);
}
#else
void measureTranscendentalArrays() {}
#endif

/// Keeps freed memory in the program. A benchmark loop frees the last memory of the heap each time,
/// which else goes back to the system and has to be cleared anew: that would be measured here, and
/// is rare in a program with more to it.
void keepMemory() {
#ifdef __GLIBC__
    mallopt(M_TRIM_THRESHOLD, 64 << 20);
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
#endif
}

}  // namespace

int main(int argc, char** argv) {
    keepMemory();
    measureReal();
    measureComplex();
    measureCompiling();
    measureArithmeticArrays();
    measureTranscendentalArrays();
    return qvRunBenchmarks(argc, argv, {});
}
