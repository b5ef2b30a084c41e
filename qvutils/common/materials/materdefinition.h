#pragma once
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "qvutils/common/materials/materb.h"
#include "qvutils/common/materials/materkeywords.h"
#include "qvutils/common/materials/materreader.h"

namespace qvmaterial {

/// i and j of the last two letters, each x, y or z, of a name that begins with the prefix (in any
/// letter case) and has nothing else.
bool componentOf(std::string_view name, std::string_view prefix, int& i, int& j);

bool hasPrefix(std::string_view text, std::string_view prefix);

/// The reading of one keyword's values into a material's data. All that reads returns false with an
/// error posted when the text is wrong.
class Definition {
public:
    Definition(MaterB& owner, MaterialData& target, std::string_view keywordText,
               const KeywordRow& keywordRow, FILE* file)
        : in(file), material(owner), m(target), keyword(keywordText), row(keywordRow) {}

    MaterReader in;
    MaterB& material;
    MaterialData& m;
    std::string keyword;
    const KeywordRow& row;

    /// May the keyword stand beside those that the same definition gave before (one flag per row)?
    bool fitsWith(const std::vector<bool>& given);
    /// Removes what was inherited and cannot stay beside the keyword.
    void makeRoom();
    bool checkTensorConflicts();

    /// "syntax error in WHAT in material NAME", and what should stand there.
    bool syntaxError(const char* expected);

    /// A count from `least` to `most`.
    bool count(int least, int most, int& value);
    template <class T>
    bool number(T& value, const char* expected = "expected a number");
    bool positive(double& value);
    template <class T>
    bool list(int least, int most, std::vector<T>& values);
    template <class T>
    bool polynomial(Polynomial<T>& p) {
        return list(1, maxCoefficients, p.c);
    }
    bool fixedList(int least, double* values, int most);
    bool range(std::optional<std::array<double, 2>>& values);
    bool constant(std::optional<Constant>& value);
    template <class T>
    bool formula(QVExpression<T>& expression);
    /// A formula that has to be there: "expected quotes in KEYWORD".
    template <class T>
    bool quotedFormula(QVExpression<T>& expression);
    bool function(FuncXYModel& model);
    /// One model, or one after each of xx, yy (may be left out: as xx) and zz.
    template <class Model, class Read>
    bool perAxis(PerAxis<Model>& models, Read&& read);

    /// Entries "name = value": as long as `isName` takes the next word, or an "=" follows it.
    /// `read` reads a value after its "=", which may be left out unless `needsEquals`.
    struct EntryRules {
        const char* message;
        std::function<bool(std::string_view name)> isName;
        std::function<bool(std::string_view name)> read;
        bool needsEquals = false;
        bool mayBeEmpty = false;
    };
    bool entries(const EntryRules& rules);

    static constexpr int maxCoefficients = 100;

private:
    bool conflict(const char* with);
    template <class T>
    bool compile(QVExpression<T>& expression, const std::string& text);
};

template <class Model, class Read>
bool Definition::perAxis(PerAxis<Model>& models, Read&& read) {
    PerAxis<Model> result;
    bool given[3] = {};
    std::string tag;
    int i = 0;
    int j = 0;
    while (in.peek(tag) && componentOf(tag, "", i, j) && i == j) {
        in.word(tag);
        if (given[i]) return syntaxError("this component is given twice");
        if (!read(result.axis[static_cast<unsigned>(i)])) return false;
        given[i] = true;
        result.isotropic = false;
    }
    if (result.isotropic) {
        if (!read(result.axis[0])) return false;
    } else if (!given[0] || !given[2]) {
        return syntaxError("xx and zz have to be given");
    } else if (!given[1]) {
        result.axis[1] = result.axis[0];
    }
    models = std::move(result);
    return true;
}

}  // namespace qvmaterial
