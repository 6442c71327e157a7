#pragma once

#include <string>

#include <qbsettings/errors/Fault.hpp>

namespace qbsettings {

class Cell;
class Output;

/// Takes what is found in settings files, and puts each finding out as it comes.
class Findings {
public:
    /// Begins a list.
    explicit Findings(Output& output);

    void add(Fault const& fault);
    void add(Warning const& warning);
    /// True if there was no fault.
    bool areGood() const { return good_; }

private:
    void put(Fault const& fault, std::string const& mark, char const* kind, Cell const& code);

    Output& output_;
    bool good_ = true;
};

}  // namespace qbsettings
