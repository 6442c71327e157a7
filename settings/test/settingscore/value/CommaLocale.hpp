#pragma once

#include <clocale>
#include <locale>
#include <string>

namespace settingscore::test {

/// While it lives, the process is in a country that writes 1.234.567,5: the global locale of the
/// streams is, and that of the C library as well where one is installed.
class CommaLocale {
public:
    CommaLocale()
        : streams_(std::locale::global(std::locale(std::locale::classic(), new Comma))),
          c_(std::setlocale(LC_ALL, nullptr)) {
        for (char const* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "de_DE", "fr_FR"}) {
            if (std::setlocale(LC_ALL, name)) break;
        }
    }
    ~CommaLocale() {
        std::locale::global(streams_);
        std::setlocale(LC_ALL, c_.c_str());
    }
    CommaLocale(CommaLocale const&) = delete;
    CommaLocale& operator=(CommaLocale const&) = delete;

private:
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    std::locale streams_;
    std::string c_;
};

}  // namespace settingscore::test
