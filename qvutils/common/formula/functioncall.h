#pragma once
#include <exception>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/formula/funcparser.h"

/// The value of a registered function. What the code of a plug-in throws comes out as an Error.
template <class T>
T qvCallFunction(const FuncDataElt<T>& f, const ParList<T>& arguments) {
    try {
        return f.function(arguments);
    } catch (const Error&) {
        throw;
    } catch (const std::exception& thrown) {
        qvThrowError("function \"%s\": %s\n", f.name.Chars(), thrown.what());
    } catch (...) {
        qvThrowError("function \"%s\" threw an exception\n", f.name.Chars());
    }
}
