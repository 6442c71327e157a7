#pragma once

#include <memory>

#include <qbsettings/text/Json.hpp>

namespace qbsettings {

struct Finding;

/// Findings as a document of SARIF 2.1.0, which code hosts and editors show beside the lines.
class SarifReport {
public:
    SarifReport();
    ~SarifReport();
    SarifReport(SarifReport const&) = delete;
    SarifReport& operator=(SarifReport const&) = delete;

    void add(Finding const& finding, bool isFault);
    Json document() const;

private:
    std::unique_ptr<Json> results_;
};

}  // namespace qbsettings
