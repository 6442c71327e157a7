#include <qbsettings/check/Findings.hpp>

#include <qbsettings/output/Output.hpp>
#include <qbsettings/text/Text.hpp>

namespace qbsettings {

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
                  {"line", isPlaced ? Cell::number(fault.line) : Cell::orNothing("-")},
                  {"column", isPlaced ? Cell::number(fault.column) : Cell::orNothing("-")},
                  {"message", fault.message},
                  {"code", code}});
    Fault shown = fault;
    shown.message = mark + fault.message;
    output_.line(asLine(shown.toText()));
}

}  // namespace qbsettings
