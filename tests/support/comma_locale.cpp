#include "tests/support/comma_locale.h"

#include <clocale>
#include <cstdlib>
#include <cstring>

CommaLocale::CommaLocale() : before_(std::setlocale(LC_ALL, nullptr)) {
#ifdef QV_TEST_LOCALES
    setenv("LOCPATH", QV_TEST_LOCALES, 1);
#endif
    for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "German_Germany.1252"}) {
        active_ = active_ || std::setlocale(LC_ALL, name) != nullptr;
    }
    active_ = active_ && std::strcmp(std::localeconv()->decimal_point, ",") == 0;
}

CommaLocale::~CommaLocale() { std::setlocale(LC_ALL, before_.c_str()); }
