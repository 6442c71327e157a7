#include <qbsettings/check/Findings.hpp>

#include <nlohmann/json.hpp>
#include <qbsettings/output/Output.hpp>
#include <qbsettings/text/Text.hpp>

namespace qbsettings {

namespace {

Cell number(unsigned long number, bool isKnown) {
    return {std::string(), isKnown ? Json(number) : Json()};
}

}  // namespace

Findings::Findings(Output& output) : output_(output) { output_.beginList(); }

void Findings::add(Fault const& fault) {
    good_ = false;
    put(fault, {}, "fault", Cell::orNothing("-"));
}

void Findings::add(Warning const& warning) { put(warning, "warning: ", "warning", warning.code); }

void Findings::put(Fault const& fault, std::string const& mark, char const* kind,
                   Cell const& code) {
    bool const isPlaced = fault.line != 0;
    output_.note({{"kind", kind},
                  {"file", fault.file.empty() ? Cell::orNothing("-") : pathText(fault.file)},
                  {"line", number(fault.line, isPlaced)},
                  {"column", number(fault.column, isPlaced)},
                  {"message", fault.message},
                  {"code", code}});
    Fault shown = fault;
    shown.message = mark + fault.message;
    output_.line(asLine(shown.toText()));
}

}  // namespace qbsettings
