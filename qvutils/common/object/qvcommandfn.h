#pragma once
#include <memory>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/object/qvcommandelt.h"
#include "qvutils/common/object/qvsmallarray.h"
#include "qvutils/common/text/qvstring.h"

/// A text without the blanks around it; when it is longer than one character and double quotes
/// stand at both ends, these go, and each backslash is replaced by what it escapes: \n, \r and \t
/// are line feed, carriage return and tab, every other character is itself.
QVCORE_API QVString qvUnquote(std::string_view text);

/// One argument of a method call, converted to what the method asks for. A text that is no number
/// posts "argument %d is not a number: \"%s\"\n".
class QVCORE_API QVCommandArg {
public:
    QVCommandArg() = default;
    void Init(std::string_view text, int position) {
        text_ = qvUnquote(text);
        position_ = position;
    }

    operator int() const;
    operator float() const;
    operator double() const;
    operator bool() const;  ///< a number, or true or false
    operator const char*() const { return text_.Chars(); }
    operator const QVString&() const { return text_; }
    const QVString& getText() const { return text_; }

    template <class T>
    T as() const {
        if constexpr (std::is_same_v<T, QVString> || std::is_same_v<T, const QVString>)
            return text_;
        else
            return this->operator T();
    }

private:
    template <class T>
    T number() const;

    QVString text_;
    int position_ = 0;  ///< from 1; 0 for an argument that was left out, which reads as 0 or ""
};

/// The arguments of a method call, cut from their text at each comma outside double quotes.
class QVCORE_API QVCommandArgList {
public:
    explicit QVCommandArgList(const QVString& args) : QVCommandArgList(args.Chars()) {}
    explicit QVCommandArgList(const char* args);

    int nargs() const { return static_cast<int>(args_.size()); }
    /// The i-th argument, from 0. Beyond the list it posts "insufficient arguments\n" and the
    /// argument is empty.
    const QVCommandArg& operator[](int i) const;
    /// The same without the error: what an optional argument gives that was left out.
    const QVCommandArg& optional(int i) const;
    /// Posts an error and answers false unless there are between `least` and `most` arguments.
    bool checkCount(int least, int most) const;

private:
    qvSmallArray<QVCommandArg, 3> args_;
};

/// The callable behind a kind-15 element.
class QVCORE_API QVCommandFNClass : public PublishContainer {
public:
    /// Parses the argument text and runs the method on `object`, a QVObject; the value that the
    /// method returns, if any, goes to `result`. False after an error, which is in qverr().
    virtual bool Resolve(QVCommandElt& result, void* object, const char* args, void* extra) = 0;
};

/// Makes a method's return value the value of an element: numbers and texts are copied, a pointer
/// to a QVObject is a reference (empty when null), a unique_ptr hands the object over.
template <class T>
void qvSetResult(QVCommandElt& result, T&& value) {
    using V = std::remove_cvref_t<T>;
    if constexpr (std::is_pointer_v<V> && std::is_base_of_v<QVObject, std::remove_pointer_t<V>>) {
        if (value)
            result.Init(static_cast<QVObject*>(value), qvKindObject, false, false, 0, nullptr);
    } else if constexpr (std::is_same_v<V, const char*> || std::is_same_v<V, char*>) {
        result.InitOwned(std::make_shared<QVString>(value), qvKindString);
    } else if constexpr (std::is_integral_v<V> && qvKindOf<V>() == qvKindNone) {
        qvSetResult(result, static_cast<int>(value));
    } else if constexpr (qvKindOf<V>() != qvKindNone) {
        result.InitOwned(std::make_shared<V>(std::forward<T>(value)), qvKindOf<V>());
    } else {
        using Object = typename V::element_type;  // a unique_ptr or shared_ptr to a QVObject
        std::shared_ptr<Object> object = std::forward<T>(value);
        if (object) result.InitOwned(std::shared_ptr<QVObject>(std::move(object)), qvKindObject);
    }
}

/// A published method: arguments are converted to the types of the function's parameters, and its
/// return value becomes the result. F is a member function pointer of C, or a function pointer
/// that takes a C& first.
template <class F, class C, class R, class... A>
class qvMethod final : public QVCommandFNClass {
public:
    qvMethod(F function, int required) : function_(function), required_(required) {}

    bool Resolve(QVCommandElt& result, void* object, const char* args, void*) override {
        C& self = static_cast<C&>(*static_cast<QVObject*>(object));
        const QVCommandArgList list(args);
        if constexpr (takesList) {
            call(result, self, list);
        } else {
            if (!list.checkCount(required_, static_cast<int>(sizeof...(A)))) return false;
            convertAndCall(result, self, list, std::index_sequence_for<A...>());
        }
        return !qverr();
    }
    PublishContainer* copyTo(void* storage, std::size_t capacity) const override {
        return copyInto(*this, storage, capacity);
    }

private:
    static constexpr bool takesList =
        sizeof...(A) == 1 && (std::is_same_v<std::remove_cvref_t<A>, QVCommandArgList> && ...);

    template <std::size_t... I>
    void convertAndCall(QVCommandElt& result, C& self, const QVCommandArgList& list,
                        std::index_sequence<I...>) {
        // A parameter of type const QVString& refers to the argument's own text.
        std::tuple<A...> values{list.optional(static_cast<int>(I)).template as<A>()...};
        if (qverr()) return;
        std::apply([&](auto&... value) { call(result, self, static_cast<A>(value)...); }, values);
    }

    // Nothing here may touch the object after the call: the method may have deleted it.
    template <class... V>
    void call(QVCommandElt& result, C& self, V&&... values) {
        if constexpr (std::is_void_v<R>) {
            invoke(self, std::forward<V>(values)...);
        } else {
            qvSetResult(result, invoke(self, std::forward<V>(values)...));
        }
    }
    template <class... V>
    R invoke(C& self, V&&... values) {
        if constexpr (std::is_member_function_pointer_v<F>)
            return (self.*function_)(std::forward<V>(values)...);
        else
            return function_(self, std::forward<V>(values)...);
    }

    F function_;
    int required_;
};

/// How many arguments a method needs at least, when trailing ones may be left out: they are then
/// 0, false or the empty text.
struct qvRequiredArgs {
    explicit constexpr qvRequiredArgs(int n) : count(n) {}
    int count;
};
