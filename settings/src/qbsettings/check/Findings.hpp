#pragma once

#include <optional>

#include <qbsettings/check/Finding.hpp>
#include <qbsettings/check/SarifReport.hpp>

namespace qbsettings {

class Output;

/// How findings are put out.
struct FindingsForm {
    bool sarif = false;
    bool strict = false;  ///< Every finding is a fault.
};

/// Takes what is found in settings files, and puts each finding out as it comes.
class Findings {
public:
    /// Begins a list.
    Findings(Output& output, FindingsForm const& form);

    void add(Finding const& finding);
    /// True if there was no fault.
    bool areGood() const { return good_; }
    /// To be called behind the last one.
    void finish();

private:
    Output& output_;
    bool const strict_;
    std::optional<SarifReport> sarif_;
    bool good_ = true;
};

}  // namespace qbsettings
