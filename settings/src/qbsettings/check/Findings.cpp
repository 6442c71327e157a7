#include <qbsettings/check/Findings.hpp>

#include <nlohmann/json.hpp>
#include <qbsettings/output/Output.hpp>
#include <qbsettings/text/Text.hpp>

namespace qbsettings {

Findings::Findings(Output& output, FindingsForm const& form)
    : output_(output), strict_(form.strict) {
    if (form.sarif) {
        sarif_.emplace();
    } else {
        output_.beginList();
    }
}

void Findings::add(Finding const& finding) {
    bool const isFault = strict_ || findingKinds()[placeOfKind(finding.id)].isFault;
    good_ = good_ && !isFault;
    if (sarif_) {
        sarif_->add(finding, isFault);
        return;
    }
    bool const isPlaced = finding.line != 0;
    output_.note({{"kind", isFault ? "fault" : "warning"},
                  {"file", finding.file.empty() ? Cell::orNothing("-") : pathText(finding.file)},
                  {"line", isPlaced ? Cell::number(finding.line) : Cell::orNothing("-")},
                  {"column", isPlaced ? Cell::number(finding.column) : Cell::orNothing("-")},
                  {"message", finding.message},
                  {"code", finding.id},
                  {"key", finding.key.empty() ? Cell::orNothing("-") : Cell(finding.key)}});
    Fault shown = finding;
    if (!isFault) shown.message = "warning: " + shown.message;
    output_.line(asLine(shown.toText() + " [" + finding.id + "]"));
}

void Findings::finish() {
    if (sarif_) output_.show(sarif_->document());
}

}  // namespace qbsettings
