#pragma once

#include <clocale>
#include <locale>
#include <string>

namespace qbtest {

/// While it lives, the process is in a country that writes 1.234.567,5: the global locale of the
/// streams is, and that of the C library as well where one is installed.
class CommaLocale {
public:
    CommaLocale() {
        std::locale::global(std::locale(streams_, new Comma));
        for (char const* name : {"fr_FR.UTF-8", "de_DE.utf8", "de_DE.UTF-8"})
            std::setlocale(LC_ALL, name);
    }
    CommaLocale(CommaLocale const&) = delete;
    ~CommaLocale() {
        std::locale::global(streams_);
        std::setlocale(LC_ALL, c_.c_str());
    }

private:
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    std::string const c_ = std::setlocale(LC_ALL, nullptr);
    std::locale const streams_;
};

}  // namespace qbtest
